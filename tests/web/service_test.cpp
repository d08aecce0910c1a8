#include "web/view_service.h"

#include <gtest/gtest.h>

#include <random>

#include "../cli/app_test_support.h"
#include "cli/sample_state.h"
#include "cli/samples.h"
#include "io/picture_file.h"
#include "io/png_file.h"
#include "present/drawing.h"

namespace {

constexpr int kPort = 4711;

std::vector<std::uint8_t> in_colour(const Picture& picture) {
    if (picture.form == Picture::kRgb) return picture.bytes;
    std::vector<std::uint8_t> bytes;
    for (const std::uint8_t level : picture.bytes) bytes.insert(bytes.end(), 3, level);
    return bytes;
}

class View : public testing::Test {
protected:
    void SetUp() override { LoadConfiguration(""); }

    /// The images of the folder, read.
    ViewService& Serve(const std::vector<std::string>& paths, const std::string& saveFolder = "") {
        std::vector<ViewInput> inputs;
        for (const std::string& path : paths)
            inputs.push_back({path, std::filesystem::path(path).filename().string(), true});
        ViewServiceOptions options;
        options.saveFolder = saveFolder;
        m_Service = std::make_unique<ViewService>(inputs, options);
        m_Service->Start(kPort);
        while (m_Service->ReadNext()) continue;
        return *m_Service;
    }
    WebReply Get(const std::string& name, std::map<std::string, std::string> query = {}) {
        return m_Service->Answer(
            {"GET", "/" + m_Service->Token() + "/api/" + name, std::move(query), m_Host, "", "", ""});
    }
    WebReply Post(const std::string& name, const std::string& body,
                  const std::string& type = "application/json") {
        return m_Service->Answer(
            {"POST", "/" + m_Service->Token() + "/api/" + name, {}, m_Host, "", type, body});
    }
    WebReply Post(const std::string& name, const Json& body) { return Post(name, body.dump()); }

    static Json HeadOf(const std::string& reply, std::size_t* length = nullptr) {
        std::size_t size = 0;
        for (unsigned i = 0; i < 4; ++i) size |= std::size_t{static_cast<unsigned char>(reply[i])} << (8 * i);
        if (length != nullptr) *length = size;
        return Json::parse(reply.substr(4, size));
    }

    /// What the page makes of the answers: each pixel by its table.
    std::vector<std::uint8_t> Painted(const Json& request) {
        const std::string table = Post("table", request).body;
        const std::string pixels = Get("pixels", {{"id", request["id"].dump()}, {"frame", "0"}}).body;
        std::size_t size = 0;
        const Json head = HeadOf(table, &size);
        const auto entries = head["entries"].get<std::size_t>(), tables = head["tables"].get<std::size_t>();
        const char* const colours = table.data() + 4 + size;
        const char* const labels = colours + 4 * entries * tables;
        const std::size_t bytes = entries <= 256 ? 1 : 2, count = pixels.size() / bytes;
        EXPECT_EQ(table.size(), 4 + size + 4 * entries * tables + count);
        std::vector<std::uint8_t> painted;
        for (std::size_t i = 0; i < count; ++i) {
            int value = static_cast<unsigned char>(pixels[bytes * i]);
            if (bytes == 2) value |= static_cast<unsigned char>(pixels[2 * i + 1]) << 8;
            const int first = head["first"].get<int>();
            if (first < 0)
                value = bytes == 2 ? static_cast<std::int16_t>(value) : static_cast<std::int8_t>(value);
            const std::size_t entry =
                entries * static_cast<unsigned char>(labels[i]) + static_cast<std::size_t>(value - first);
            for (std::size_t c = 0; c < 3; ++c)
                painted.push_back(static_cast<std::uint8_t>(colours[4 * entry + c]));
        }
        return painted;
    }

    /// What lies on the image, over the picture below it.
    std::vector<std::uint8_t> Covered(const Json& request, const Picture& below) {
        const std::string reply = Post("layers", request).body;
        const Json head = HeadOf(reply);
        const std::size_t size =
            reply.size() - 4 * head["width"].get<std::size_t>() * head["height"].get<std::size_t>();
        std::vector<std::uint8_t> covered = in_colour(below);
        const char* pixel = reply.data() + size;
        for (int y = head["y"]; y < head["y"].get<int>() + head["height"].get<int>(); ++y) {
            for (int x = head["x"]; x < head["x"].get<int>() + head["width"].get<int>(); ++x, pixel += 4) {
                if (pixel[3] == 0) continue;
                for (int c = 0; c < 3; ++c)
                    covered[static_cast<std::size_t>(3 * (y * below.width + x) + c)] =
                        static_cast<std::uint8_t>(pixel[c]);
            }
        }
        return covered;
    }

    support::TemporaryDirectory m_Directory;
    std::string m_Host = "127.0.0.1:" + std::to_string(kPort);
    std::unique_ptr<ViewService> m_Service;
};

/// The page draws what the program draws.
TEST_F(View, TablesPaintWhatIsRendered) {
    const std::vector<std::string> paths = WriteSamples(m_Directory.Path());
    Serve(paths);
    std::mt19937 random(12);
    const auto any = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
    for (std::size_t id = 0; id < paths.size(); ++id) {
        for (int round = 0; round < 6; ++round) {
            DrawingOptions drawing;
            drawing.overlays = false;
            drawing.view.pixels = true;
            Json options = Json::object(), regions = Json::array();
            if (any(0, 1) == 0) {
                options["center"] = any(-200, 3000), options["width"] = any(1, 3000);
                drawing.presentation.center = options["center"].get<double>();
                drawing.presentation.width = options["width"].get<double>();
            }
            if (any(0, 2) == 0) options["invert"] = drawing.presentation.invert = true;
            if (any(0, 2) == 0) options["gamma"] = 1.7, drawing.presentation.gamma = 1.7F;
            if (any(0, 2) == 0) options["colormap"] = "Hot Iron", drawing.presentation.colourMap = "Hot Iron";
            if (any(0, 1) == 0) {
                regions = {
                    {{"shape", "rect:10,20,90,70"}, {"options", {{"center", 300}, {"width", 500}}}},
                    {{"shape", "ellipse:80,60,30,40"}, {"options", {{"invert", true}, {"gamma", 0.5}}}}};
                drawing.view.regions = {"rect:10,20,90,70;center=300;width=500",
                                        "ellipse:80,60,30,40;invert;gamma=0.5"};
            }
            const Json request = {{"id", id}, {"options", options}, {"regions", regions}, {"labels", true}};
            SCOPED_TRACE(paths[id] + " " + request.dump());
            const WebReply reply = Post("table", request);
            if (reply.status != 200) {
                EXPECT_TRUE(paths[id].find("us.dcm") != std::string::npos ||
                            paths[id].find("state") != std::string::npos)
                    << reply.body;
                continue;
            }
            EXPECT_EQ(Painted(request), in_colour(DrawFrame(paths[id], drawing, 0).picture));
        }
    }
}

/// The picture before anything was laid on it.
struct Below : DrawingObserver {
    void ImageDrawn(const Picture& drawn, const Placement&, RegionView*) override { picture = drawn; }
    void LayerDrawn(const Canvas&, const Layer&) override {}
    Picture picture;
};

TEST_F(View, WhatLiesOnTheImageIsAsRendered) {
    WriteSamples(m_Directory.Path());
    WriteSampleState(m_Directory.Path());
    const std::string ct = m_Directory / "ct.dcm", state = m_Directory / "ct-state.dcm";
    Serve({state, ct, m_Directory / "mr-overlay.dcm", m_Directory / "us.dcm"});
    const Json opened = Json::parse(Post("open", Json{{"id", 1}}).body);
    EXPECT_EQ(opened["states"][0]["label"], "LUNGS");
    EXPECT_EQ(opened["states"][0]["file"], "ct-state.dcm");
    EXPECT_EQ(opened["state"], nullptr) << "offered, not applied";
    EXPECT_EQ(Json::parse(Post("open", Json{{"id", 2}}).body)["states"].size(), 0U) << "another image's";
    const Json applied = Json::parse(Post("open", Json{{"id", 1}, {"options", {{"state", 0}}}}).body);
    EXPECT_EQ(applied["state"], 0);
    EXPECT_EQ(applied["layers"], Json({"shutter", "annotations 'MARKS'", "annotations 'NOTES'"}));
    EXPECT_EQ(
        applied["placement"].dump(),
        R"({"turns":1,"flip":false,"area":[0.0,0.0,512.0,512.0],"mode":"fit","zoom":null,"pixelRatio":1.0})");

    const struct {
        const char* name;
        int id;
        Json options, view;
        int covered;  ///< parts per thousand of the picture, about
    } rows[] = {
        {"a state's own place", 1, {{"state", 0}}, {{"size", "600x400"}}, 670},
        {"the user's",
         1,
         {{"state", 0}},
         {{"size", "500x300"}, {"zoom", 1.37}, {"pan", {20.5, -7}}, {"rotate", 180}, {"flip", ""}},
         320},
        {"with a window",
         1,
         {{"state", 0}, {"center", 40}, {"width", 400}, {"invert", true}},
         {{"size", "512x512"}, {"zoom", 1}, {"pan", {0, 0}}, {"rotate", 270}, {"flip", "h"}},
         340},
        {"without the state", 1, Json::object(), {{"size", "512x512"}}, 0},
        {"overlays", 2, Json::object(), {{"size", "300x300"}, {"zoom", 1}}, 10},
        {"in colour", 3, Json::object(), {{"size", "300x300"}, {"zoom", 1}}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DrawingOptions drawing;
        if (row.options.contains("state"))
            drawing.presentation.states = std::make_shared<PresentationStates>(state);
        if (row.options.contains("center")) {
            drawing.presentation.center = 40.0, drawing.presentation.width = 400.0;
            drawing.presentation.invert = true;
        }
        drawing.view.size = row.view["size"].get<std::string>();
        if (row.view.contains("zoom")) drawing.view.zoom = row.view["zoom"].get<double>();
        if (row.view.contains("pan")) drawing.view.pan = row.view["pan"].get<std::vector<double>>();
        if (row.view.contains("rotate")) drawing.view.rotate = row.view["rotate"].get<double>();
        drawing.view.flip = row.view.value("flip", "");
        OpenedImage image(std::vector<std::string>{"", ct, m_Directory / "mr-overlay.dcm",
                                                   m_Directory / "us.dcm"}[static_cast<std::size_t>(row.id)],
                          drawing.presentation);
        Below below;
        const std::vector<std::uint8_t> wanted = in_colour(DrawImage(image, drawing, nullptr, &below));
        const Json request = {{"id", row.id}, {"options", row.options}, {"view", row.view}};
        EXPECT_EQ(Covered(request, below.picture), wanted);
        const Json head = HeadOf(Post("layers", request).body);
        EXPECT_EQ(row.covered == 0, head["width"] == 0);
    }
    EXPECT_EQ(Post("open", Json{{"id", 1}, {"options", {{"state", 1}}}}).status, 404);
    EXPECT_EQ(Post("layers", Json{{"id", 1}, {"view", {{"size", "99999x99999"}}}}).status, 400);
}

/// What the pointer shows are the values that explain gives.
TEST_F(View, PixelValuesAreWhatTheyAreExplainedAs) {
    const std::vector<std::string> paths = WriteSamples(m_Directory.Path());
    Serve(paths);
    for (std::size_t id = 0; id < paths.size(); ++id) {
        const Json values = Json::parse(Post("open", Json{{"id", id}}).body)["values"];
        if (values.is_null()) continue;
        const Json answer = Json::parse(Post("explain", Json{{"id", id}, {"at", {{60, 50}}}}).body);
        std::map<std::string, double> explained;
        for (const Json& step : answer["points"][0]["steps"]) {
            if (!step["value"].is_null()) explained[step["step"].get<std::string>()] = step["value"];
        }
        if (!explained.count("modality")) continue;
        const double pixel = explained.count("pixel") ? explained["pixel"] : explained["stored"];
        EXPECT_EQ(values["stored"], explained.count("pixel") == 0) << paths[id];
        for (const Json& value : values["list"]) {
            const std::string name = value["name"].get<std::string>();
            const char* const step = name == "modality"        ? "modality"
                                     : value["units"] == "SUV" ? "suv"
                                                               : "real-world";
            EXPECT_NEAR(value["slope"].get<double>() * pixel + value["intercept"].get<double>(),
                        explained[step], 1e-9 * std::fabs(explained[step]))
                << paths[id] << " " << name;
        }
    }
}

TEST_F(View, WhatIsNotAllowedIsRefused) {
    WriteSamples(m_Directory.Path());
    const std::string cut = m_Directory / "cut.dcm",
                      token = Serve({m_Directory / "ct.dcm", m_Directory / "us.dcm"}).Token();
    const std::string home = "/" + token + "/";
    const struct {
        const char* name;
        WebRequest request;
        int status;
    } requests[] = {
        {"the page", {"GET", "/", {{"token", token}}, m_Host, "", "", ""}, 200},
        {"from itself", {"GET", home + "api/list", {}, m_Host, "http://" + m_Host, "", ""}, 200},
        {"by name", {"GET", home + "api/list", {}, "localhost:4711", "", "", ""}, 200},
        {"no token", {"GET", "/", {}, m_Host, "", "", ""}, 403},
        {"a wrong one", {"GET", "/", {{"token", token + "0"}}, m_Host, "", "", ""}, 403},
        {"part of it", {"GET", "/" + token.substr(1) + "/api/list", {}, m_Host, "", "", ""}, 403},
        {"another host", {"GET", home + "api/list", {}, "evil.example:4711", "", "", ""}, 403},
        {"no host", {"GET", home + "api/list", {}, "", "", "", ""}, 403},
        {"another port", {"GET", home + "api/list", {}, "127.0.0.1:80", "", "", ""}, 403},
        {"another origin", {"GET", home + "api/list", {}, m_Host, "http://evil.example", "", ""}, 403},
        {"no origin of its own", {"GET", home + "api/list", {}, m_Host, "null", "", ""}, 403},
        {"a path of the machine", {"GET", home + "../../etc/passwd", {}, m_Host, "", "", ""}, 404},
        {"another method", {"PUT", home + "api/list", {}, m_Host, "", "", ""}, 400},
        {"a form", {"POST", home + "api/open", {}, m_Host, "", "text/plain", "{\"id\": 0}"}, 400},
    };
    for (const auto& row : requests) EXPECT_EQ(m_Service->Answer(row.request).status, row.status) << row.name;

    std::string deep(100000, '[');
    const struct {
        const char *name, *api;
        std::string body;
        int status;
    } bodies[] = {
        {"no JSON", "open", "{", 400},
        {"nested without end", "open", deep, 400},
        {"no object", "open", "[1]", 400},
        {"no number", "open", R"({"id": "0"})", 400},
        {"a fraction", "open", R"({"id": 0.5})", 400},
        {"beyond all numbers", "open", R"({"id": 1e300})", 400},
        {"no such image", "open", R"({"id": 7})", 404},
        {"no such frame", "open", R"({"id": 0, "frame": 9})", 422},
        {"half a window", "table", R"({"id": 0, "options": {"center": 1}})", 400},
        {"a width of 0", "table", R"({"id": 0, "options": {"center": 1, "width": 0}})", 400},
        {"no such preset", "table", R"({"id": 0, "options": {"preset": "x"}})", 422},
        {"in colour", "table", R"({"id": 1})", 422},
        {"a file as a region", "table", R"({"id": 0, "regions": [{"shape": "mask:/etc/passwd"}]})", 400},
        {"settings in a shape", "table", R"({"id": 0, "regions": [{"shape": "rect:1,2,3,4;negate"}]})", 400},
        {"a shape of nothing", "table", R"({"id": 0, "regions": [{"shape": "rect:"}]})", 422},
        {"outside", "explain", R"({"id": 0, "at": [[5000, 1]]})", 422},
        {"no list", "explain", R"({"id": 0, "at": 5})", 400},
        {"read-only", "save", R"({"id": 0, "kind": "picture"})", 403},
        {"unknown", "delete", R"({"id": 0})", 404},
    };
    for (const auto& row : bodies) {
        const WebReply reply = Post(row.api, row.body);
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_TRUE(Json::parse(reply.body)["error"].is_string()) << row.name;
    }
    for (const char* id : {"", "-1", "7", "0x0", "1e9", "[]"})
        EXPECT_GE(Get("pixels", {{"id", id}}).status, 400) << id;
}

TEST_F(View, BrokenAndForeignFilesAreEntriesOrLeftOut) {
    WriteSamples(m_Directory.Path());
    WriteSampleState(m_Directory.Path());
    support::WriteFile(m_Directory / "cut.dcm", support::ReadFile(m_Directory / "ct.dcm").substr(0, 20000));
    Serve({m_Directory / "cut.dcm", m_Directory / "ct-state.dcm", m_Directory / "mr.dcm"});
    std::filesystem::remove(m_Directory / "mr.dcm");
    const Json list = Json::parse(Get("list").body), &images = list["images"];
    ASSERT_EQ(images.size(), 2U);
    EXPECT_EQ(list["read"], 3) << "of 3 files, one a presentation state";
    EXPECT_EQ(list["thumbs"], 1);
    EXPECT_EQ(Post("open", Json{{"id", images[0]["id"]}}).status, 422);
    EXPECT_EQ(Post("open", Json{{"id", images[1]["id"]}}).status, 422);
    EXPECT_EQ(Get("thumb", {{"id", images[1]["id"].dump()}}).status, 200) << "made before it vanished";
    EXPECT_EQ(Get("thumb", {{"id", "9"}}).status, 404);
    EXPECT_EQ(Get("list").status, 200);
}

TEST_F(View, WhatIsSavedIsShownAgain) {
    WriteSamples(m_Directory.Path());
    const std::string path = m_Directory / "ct.dcm", folder = m_Directory / "saved";
    std::filesystem::create_directory(folder);
    Serve({path}, folder);
    Json request = {{"id", 0}, {"options", {{"preset", "Bone"}, {"invert", true}}}};
    for (const auto& [kind, name] : {std::make_pair("picture", "ct.png"),
                                     {"picture", "ct-2.png"},
                                     {"parameters", "ct-parameters.dcm"},
                                     {"state", "ct-state.dcm"}}) {
        request["kind"] = kind;
        EXPECT_EQ(Post("save", request).body, Json({{"saved", name}}).dump());
    }
    DrawingOptions drawing;
    drawing.presentation.preset = "Bone";
    drawing.presentation.invert = true;
    const std::vector<std::uint8_t> wanted = in_colour(DrawFrame(path, drawing, 0).picture);
    EXPECT_EQ(ReadPng(folder + "/ct-2.png").bytes, wanted);
    drawing.presentation = {};
    drawing.presentation.displayParameters = folder + "/ct-parameters.dcm";
    EXPECT_EQ(in_colour(DrawFrame(path, drawing, 0).picture), wanted);
    request["regions"] = {{{"shape", "rect:1,1,9,9"}}};
    EXPECT_EQ(Post("save", request).status, 422);
}

}  // namespace
