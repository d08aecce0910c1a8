#include "view_service.h"

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>

#include "io/atomic_file.h"
#include "io/dicom_tags.h"
#include "io/picture_file.h"
#include "io/present_error.h"
#include "page_files.h"
#include "present/catalogue.h"
#include "present/ddp_file.h"
#include "present/drawing.h"
#include "present/renderer.h"
#include "present/state_file.h"

namespace {

constexpr int kBadRequest = 400, kForbidden = 403, kNotFound = 404, kCannotPresent = 422;
constexpr std::string_view kApi = "api/";
constexpr int kThumbSide = 128;
constexpr int kBins = 256;
constexpr std::size_t kMostPoints = 1000, kMostRegions = 254;
/// Frames that are kept, whichever is reached first; the one in use is kept in any case.
constexpr std::size_t kMostOpened = 16, kMostOpenedBytes = std::size_t{512} << 20;
/// Thumbnails that are kept; beyond it they begin anew.
constexpr std::size_t kMostThumbBytes = std::size_t{64} << 20;
constexpr double kMostScreenPixels = 1 << 25;

/// A request that cannot be answered, for a reason that is not the image's.
struct Rejected {
    int status;
    std::string reason;
};

WebReply error_reply(int status, const std::string& reason) {
    const Json body = {{"error", reason}};
    return {status, "application/json", body.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

WebReply json_reply(const Json& body) {
    return {200, "application/json", body.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

WebReply binary_reply(std::string body) { return {200, "application/octet-stream", std::move(body)}; }

std::string random_token() {
    std::random_device device;
    std::string token;
    char digits[9];
    for (int i = 0; i < 4; ++i) {
        std::snprintf(digits, sizeof digits, "%08x", device());
        token += digits;
    }
    return token;
}

/// The same time for any two texts of one length.
bool is_same(const std::string& a, const std::string& b) {
    unsigned difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
    return difference == 0;
}

const char* type_of(const std::string& name) {
    const std::string suffix = std::filesystem::path(name).extension().string();
    return suffix == ".html"  ? "text/html; charset=utf-8"
           : suffix == ".css" ? "text/css; charset=utf-8"
           : suffix == ".js"  ? "text/javascript; charset=utf-8"
           : suffix == ".svg" ? "image/svg+xml"
                              : "application/octet-stream";
}

// ---- Members of a request

double number_in(const Json& body, const char* key) {
    const Json& value = body.at(key);
    if (!value.is_number() || !std::isfinite(value.get<double>()))
        throw Rejected{kBadRequest, std::string(key) + " is not a number"};
    return value.get<double>();
}

int whole_in(const Json& body, const char* key, int fallback) {
    if (!body.contains(key)) return fallback;
    const double value = number_in(body, key);
    constexpr double kMost = 2e9;
    if (value != std::floor(value) || std::fabs(value) > kMost)
        throw Rejected{kBadRequest, std::string(key) + " is not a whole number"};
    return static_cast<int>(value);
}

std::string text_in(const Json& body, const char* key) {
    if (!body.at(key).is_string()) throw Rejected{kBadRequest, std::string(key) + " is not a text"};
    return body.at(key).get<std::string>();
}

bool flag_in(const Json& body, const char* key, bool fallback) {
    if (!body.contains(key)) return fallback;
    if (!body.at(key).is_boolean())
        throw Rejected{kBadRequest, std::string(key) + " is neither true nor false"};
    return body.at(key).get<bool>();
}

const Json& object_in(const Json& body, const char* key) {
    static const Json none = Json::object();
    if (!body.contains(key)) return none;
    if (!body.at(key).is_object()) throw Rejected{kBadRequest, std::string(key) + " is not an object"};
    return body.at(key);
}

/// 4 bytes for the length of the JSON, the JSON, which ends where the 4 bytes of a number may begin, and then
/// the rest.
WebReply framed_reply(const Json& head, const std::string& rest) {
    std::string text = head.dump(-1, ' ', false, Json::error_handler_t::replace);
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string reply;
    for (unsigned shift = 0; shift < 32; shift += 8) reply += static_cast<char>(text.size() >> shift & 0xFF);
    return binary_reply(reply + text + rest);
}

int number_in(const std::map<std::string, std::string>& query, const char* key, int fallback) {
    const auto found = query.find(key);
    if (found == query.end()) return fallback;
    Json body;
    body[key] = Json::parse(found->second, nullptr, false);
    return whole_in(body, key, fallback);
}

/// The options of a request over those of the program.
PresentationOptions options_of(const Json& asked, PresentationOptions options) {
    if (asked.contains("center") != asked.contains("width"))
        throw Rejected{kBadRequest, "center and width are given together"};
    if (asked.contains("center")) {
        options.center = number_in(asked, "center");
        options.width = number_in(asked, "width");
        if (!(*options.width > 0.0)) throw Rejected{kBadRequest, "width is not above 0"};
    }
    options.automatic = flag_in(asked, "auto", options.automatic);
    if (asked.contains("preset")) options.preset = text_in(asked, "preset");
    if (asked.contains("colormap")) options.colourMap = text_in(asked, "colormap");
    if (asked.contains("voi")) options.voi = whole_in(asked, "voi", 0);
    if (options.voi && *options.voi < 0) throw Rejected{kBadRequest, "voi is below 0"};
    if (asked.contains("gamma")) options.gamma = static_cast<float>(number_in(asked, "gamma"));
    options.invert = flag_in(asked, "invert", options.invert);
    return options;
}

/// A region as the text that --region takes.
std::string region_text(const Json& region) {
    if (!region.is_object()) throw Rejected{kBadRequest, "a region is not an object"};
    std::string text = text_in(region, "shape");
    // A mask would be a file of this machine.
    constexpr const char* kKinds[] = {"rect:", "ellipse:", "polygon:"};
    const bool isDrawn = std::any_of(std::begin(kKinds), std::end(kKinds),
                                     [&](const char* kind) { return text.rfind(kind, 0) == 0; });
    if (!isDrawn || text.find(';') != std::string::npos)
        throw Rejected{kBadRequest, "a region is a rect, an ellipse or a polygon"};
    const Json& options = object_in(region, "options");
    for (const char* key : {"center", "width", "gamma"}) {
        if (options.contains(key))
            text += std::string(";") + key + "=" + Json(number_in(options, key)).dump();
    }
    for (const char* key : {"preset", "colormap"}) {
        if (!options.contains(key)) continue;
        const std::string value = text_in(options, key);
        if (value.find(';') != std::string::npos)
            throw Rejected{kBadRequest, std::string(key) + " has a semicolon"};
        text += std::string(";") + key + "=" + value;
    }
    if (flag_in(options, "invert", false)) text += ";invert";
    return text;
}

std::vector<std::string> regions_of(const Json& body) {
    std::vector<std::string> regions;
    if (!body.contains("regions")) return regions;
    if (!body.at("regions").is_array() || body.at("regions").size() > kMostRegions)
        throw Rejected{kBadRequest, "regions is not a list of at most " + std::to_string(kMostRegions)};
    for (const Json& region : body.at("regions")) regions.push_back(region_text(region));
    return regions;
}

ViewOptions view_of(const Json& body) {
    const Json& asked = object_in(body, "view");
    ViewOptions view;
    view.regions = regions_of(body);
    if (asked.contains("zoom")) view.zoom = number_in(asked, "zoom");
    if (asked.contains("rotate")) view.rotate = number_in(asked, "rotate");
    // A text without a letter of a flip: not flipped, whatever a presentation state says.
    if (asked.contains("flip")) view.flip = text_in(asked, "flip").empty() ? "-" : text_in(asked, "flip");
    if (asked.contains("size")) {
        view.size = text_in(asked, "size");
        const auto size = ParseSize(view.size);
        if (!size || double(size->first) * size->second > kMostScreenPixels)
            throw Rejected{kBadRequest, "size is not WIDTHxHEIGHT of at most 2^25 pixels"};
    }
    view.pixels = flag_in(asked, "pixels", false);
    if (asked.contains("pan")) {
        if (!asked.at("pan").is_array() || asked.at("pan").size() != 2 || !asked.at("pan")[0].is_number() ||
            !asked.at("pan")[1].is_number())
            throw Rejected{kBadRequest, "pan is not two numbers"};
        view.pan = {asked.at("pan")[0].get<double>(), asked.at("pan")[1].get<double>()};
    }
    return view;
}

// ---- What an image gives

/// Red, green, blue and 255 for each pixel value of the raster.
std::string colours_of(OpenedImage& image) {
    const KIT_Raster& raster = image.Raster();
    const std::vector<std::uint8_t> entries = TableBytes(*BuildTable(image, PictureTarget(8)), raster, 32);
    const SupplementalPalette* const supplement = image.Supplement();
    const std::size_t count = static_cast<std::size_t>(image.ValueCount());
    std::string colours(4 * count, '\xFF');
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t colour =
            static_cast<std::uint32_t>(entries[4 * i] | entries[4 * i + 1] << 8 | entries[4 * i + 2] << 16);
        const int value = static_cast<int>(i) + image.FirstValue();
        if (supplement != nullptr && supplement->Has(value)) colour = supplement->At(value);
        for (unsigned c = 0; c < 3; ++c)
            colours[4 * i + c] = static_cast<char>(colour >> (16 - 8 * c) & 0xFF);
    }
    return colours;
}

Json window_of(OpenedImage& image) {
    const double center = image.ModalityCenter(), width = image.ModalityWidth();
    return {{"center", center},
            {"width", width},
            {"source", NameOf(image.GetWindowSource())},
            {"units", image.UnitsText()},
            {"low", center - width / 2.0},
            {"high", center + width / 2.0}};
}

/// The presentation state's place for the image, as the page understands it.
Json placement_of(const OpenedImage& image) {
    ViewOptions view;
    // The page knows what it fits to; an area in true size may be larger than any picture.
    view.size = "1x1";
    const Placement placement = PlaceImage(image, view);
    const SPC_SpaceInfo& space = placement.space;
    const int turns = static_cast<int>(std::lround(space.GetRotation() / 90.0)) % 4;
    constexpr const char* kModes[] = {"fit", "true", "magnify"};
    const Canvas::Area& shown = placement.shown;
    return {{"turns", (turns + 4) % 4},
            {"flip", space.IsFlippedHorizontally()},
            {"area", {shown.left, shown.top, shown.right, shown.bottom}},
            {"mode", kModes[placement.mode]},
            {"zoom", placement.mode == Placement::kFit ? Json(nullptr) : Json(space.GetZoom())},
            {"pixelRatio", placement.pixelRatio}};
}

/// The pixels of a picture that its layers touch, whatever their colours: those are drawn over the inverted
/// picture as well, and no colour leaves both as they are.
class TouchedPixels : public DrawingObserver {
public:
    void ImageDrawn(const Picture& picture, const Placement&, RegionView*) override {
        m_Below = m_Inverted = picture;
        for (std::uint8_t& sample : m_Inverted.bytes) sample = static_cast<std::uint8_t>(~sample);
        m_Changed = m_Inverted;
    }
    void LayerDrawn(const Canvas& canvas, const Layer& layer) override {
        layer.Draw({m_Changed, canvas.toScreen, canvas.toImage, canvas.area});
    }

    bool Has(const Picture& drawn, int x, int y) const {
        if (!std::equal(m_Changed.At(x, y), m_Changed.At(x, y) + m_Changed.form, m_Inverted.At(x, y)))
            return true;
        for (int c = 0; c < drawn.form; ++c) {
            if (drawn.At(x, y)[c] != m_Below.At(x, y)[m_Below.form == drawn.form ? c : 0]) return true;
        }
        return false;
    }
    /// What holds them all; empty where there is none.
    KIT_Rect Box(const Picture& drawn) const {
        KIT_Rect box{drawn.height, drawn.width, 0, 0};
        for (int y = 0; y < drawn.height; ++y) {
            for (int x = 0; x < drawn.width; ++x) {
                if (!Has(drawn, x, y)) continue;
                box.left = std::min(box.left, x), box.right = std::max(box.right, x + 1);
                box.top = std::min(box.top, y), box.bottom = y + 1;
            }
        }
        return box.right == 0 ? KIT_Rect{0, 0, 0, 0} : box;
    }

private:
    Picture m_Below, m_Inverted, m_Changed;
};

void require_grey(const OpenedImage& image) {
    if (image.File().IsColour())
        throw PresentError(image.File().Path(), "is in colour and has no windowing table");
}

}  // namespace

ViewService::ViewService(std::vector<ViewInput> inputs, ViewServiceOptions options)
    : m_Inputs(std::move(inputs)), m_Options(std::move(options)), m_Token(random_token()) {
    if (m_Options.presentation.states != nullptr) m_States = m_Options.presentation.states->All();
}

void ViewService::Start(int port) {
    for (const char* name : {"127.0.0.1:", "localhost:"}) m_Hosts.push_back(name + std::to_string(port));
}

/// Files take their numbers in the order in which they were found.
bool ViewService::ReadNext() {
    if (m_Images.size() < m_Inputs.size()) {
        const ViewInput& input = m_Inputs[m_Images.size()];
        m_Images.push_back(ReadListed(input.path, input.name));
        if (!m_Images.back().isImage) {
            try {
                m_States.push_back(ReadPresentationState(input.path));
                m_Images.back().isState = true;
            } catch (const PresentError&) {
            }
        }
        if (m_Images.size() == m_Inputs.size()) {
            for (const std::size_t id : OrderOf(m_Images)) {
                if (m_Images[id].error.empty()) m_ToDraw.push_back(id);
            }
        }
    } else if (m_Drawn < m_ToDraw.size()) {
        try {
            thumb_of(m_ToDraw[m_Drawn++]);
        } catch (const std::exception&) {
            // Who asks for it learns why.
        }
    }
    return m_Images.size() < m_Inputs.size() || m_Drawn < m_ToDraw.size();
}

std::optional<WebReply> ViewService::AnswerAtDoor(const WebRequest& request) const {
    const bool isOurs = std::find(m_Hosts.begin(), m_Hosts.end(), request.host) != m_Hosts.end() &&
                        (request.origin.empty() || request.origin == "http://" + request.host);
    if (!isOurs) return error_reply(kForbidden, "another host asks");
    const std::string home = "/" + m_Token + "/";
    const auto token = request.query.find("token");
    const bool isDoor =
        request.path == "/" && token != request.query.end() && is_same(token->second, m_Token);
    const bool isInside = is_same(request.path.substr(0, home.size()), home);
    if (!isDoor && !isInside) return error_reply(kForbidden, "the token is missing or wrong");
    if (request.method != "GET" && request.method != "POST")
        return error_reply(kBadRequest, "neither GET nor POST");

    const std::string name = isDoor ? "index.html" : request.path.substr(home.size());
    if (name.rfind(kApi, 0) == 0) return std::nullopt;
    const auto file = PageFiles().find(name);
    if (file == PageFiles().end()) return error_reply(kNotFound, "there is no " + name);
    std::string body(file->second);
    constexpr const char* kBase = "<!-- base -->";
    if (const std::size_t at = body.find(kBase); isDoor && at != std::string::npos)
        body.replace(at, std::char_traits<char>::length(kBase), "<base href=\"" + home + "\">");
    return WebReply{200, type_of(name), body};
}

WebReply ViewService::Answer(const WebRequest& request) {
    try {
        if (std::optional<WebReply> reply = AnswerAtDoor(request)) return *std::move(reply);
        return answer_api(request.path.substr(m_Token.size() + 2 + kApi.size()), request);
    } catch (const Rejected& rejected) {
        return error_reply(rejected.status, rejected.reason);
    } catch (const Json::exception&) {
        return error_reply(kBadRequest, "the request lacks a member");
    } catch (const PresentError& error) {
        return error_reply(kCannotPresent, error.what());
    } catch (const UsageError& error) {
        return error_reply(kCannotPresent, error.what());
    } catch (const std::exception& error) {
        return error_reply(500, error.what());
    } catch (...) {
        return error_reply(500, "unknown error");
    }
}

WebReply ViewService::answer_api(const std::string& name, const WebRequest& request) {
    const auto is = [&](const char* method, const char* wanted) {
        return request.method == method && name == wanted;
    };
    if (is("GET", "list")) return list();
    if (is("GET", "progress")) return json_reply(progress());
    if (is("GET", "thumb")) return thumb(request);
    if (is("GET", "colormaps")) return colour_maps();
    if (is("GET", "pixels")) return pixels(request);
    if (is("GET", "histogram")) return histogram(request);
    if (request.method != "POST") throw Rejected{kNotFound, "there is no " + name};
    // A form of a foreign page cannot have this type.
    if (request.contentType.rfind("application/json", 0) != 0)
        throw Rejected{kBadRequest, "the body is not JSON"};
    const Json body = Json::parse(request.body, nullptr, false);
    if (!body.is_object()) throw Rejected{kBadRequest, "the body is not a JSON object"};
    if (name == "open") return open(body);
    if (name == "table") return table(body);
    if (name == "layers") return layers(body);
    if (name == "explain") return explain(body);
    if (name == "save") return save(body);
    throw Rejected{kNotFound, "there is no " + name};
}

// ---- Images

const ListedImage& ViewService::image_of(std::size_t id) {
    if (id >= m_Images.size()) throw Rejected{kNotFound, "there is no image " + std::to_string(id)};
    return m_Images[id];
}

int ViewService::checked_state(int state) const {
    if (state < kProgramsState || (state >= 0 && static_cast<std::size_t>(state) >= m_States.size()))
        throw Rejected{kNotFound, "there is no presentation state " + std::to_string(state)};
    return state;
}

std::shared_ptr<const PresentationStates> ViewService::states_for(int state) const {
    if (state == kProgramsState) return m_Options.presentation.states;
    if (state == kNoState) return nullptr;
    return std::make_shared<PresentationStates>(
        std::vector<PresentationState>{m_States[static_cast<std::size_t>(state)]});
}

std::shared_ptr<ImageSource> ViewService::source_of(std::size_t id, int frame, int state) {
    const auto found = std::find_if(m_Opened.begin(), m_Opened.end(), [&](const Opened& opened) {
        return opened.id == id && opened.frame == frame && opened.state == state;
    });
    if (found != m_Opened.end()) {
        std::rotate(m_Opened.begin(), found, found + 1);
        return m_Opened.front().source;
    }
    PresentationOptions options = m_Options.presentation;
    options.frame = frame;
    options.states = states_for(state);
    m_Opened.push_front({id, frame, state, std::make_shared<ImageSource>(image_of(id).path, options)});
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < m_Opened.size(); ++i) {
        bytes += 2 * m_Opened[i].source->raster.Bytes().size();
        if (i > 0 && (i >= kMostOpened || bytes > kMostOpenedBytes)) m_Opened.resize(i);
    }
    return m_Opened.front().source;
}

std::unique_ptr<OpenedImage> ViewService::open_image(const Json& body, PresentationOptions* used) {
    const int id = whole_in(body, "id", -1), frame = whole_in(body, "frame", 0);
    if (id < 0 || frame < 0) throw Rejected{kBadRequest, "id and frame are numbers from 0"};
    const Json& asked = object_in(body, "options");
    PresentationOptions options = options_of(asked, m_Options.presentation);
    options.frame = frame;
    const bool isNone = asked.contains("state") && asked.at("state") == false;
    const int state = isNone ? kNoState : checked_state(whole_in(asked, "state", kProgramsState));
    auto source = source_of(static_cast<std::size_t>(id), frame, state);
    options.states = source->states;
    if (used != nullptr) *used = options;
    return std::make_unique<OpenedImage>(std::move(source), options);
}

std::shared_ptr<ImageSource> ViewService::source_of(const WebRequest& request) {
    const int id = number_in(request.query, "id", -1), frame = number_in(request.query, "frame", 0);
    if (id < 0 || frame < 0) throw Rejected{kBadRequest, "id and frame are numbers from 0"};
    const auto state = request.query.find("state");
    const bool isNone = state != request.query.end() && state->second == "none";
    return source_of(static_cast<std::size_t>(id), frame,
                     isNone ? kNoState : checked_state(number_in(request.query, "state", kProgramsState)));
}

// ---- Answers

Json ViewService::progress() const {
    return {{"done", m_Images.size() == m_Inputs.size()},
            {"found", m_Inputs.size()},
            {"read", m_Images.size()},
            {"states", m_States.size()},
            {"thumbs", m_Drawn}};
}

WebReply ViewService::list() {
    Json images = Json::array();
    for (const std::size_t id : OrderOf(m_Images)) {
        const ListedImage& image = m_Images[id];
        if (image.isState || (!image.isImage && m_Inputs[id].isFound)) continue;
        images.push_back({{"id", id},
                          {"name", image.name},
                          {"study", image.study},
                          {"series", image.series},
                          {"studyText", image.studyText},
                          {"seriesText", image.seriesText},
                          {"modality", image.modality},
                          {"frames", image.frames},
                          {"rows", image.rows},
                          {"columns", image.columns},
                          {"error", image.error.empty() ? Json(nullptr) : Json(image.error)}});
    }
    Json answer = progress();
    answer["canSave"] = !m_Options.saveFolder.empty();
    answer["images"] = std::move(images);
    return json_reply(answer);
}

const std::string& ViewService::thumb_of(std::size_t id) {
    const ListedImage& image = image_of(id);
    if (m_ThumbBytes > kMostThumbBytes) m_Thumbs.clear(), m_ThumbBytes = 0;
    std::string& thumb = m_Thumbs[id];
    if (!thumb.empty()) return thumb;
    DrawingOptions options;
    options.presentation = m_Options.presentation;
    options.fit = std::to_string(kThumbSide) + "x" + std::to_string(kThumbSide);
    const Picture picture = DrawFrame(image.path, options, image.frames / 2).picture;
    const std::vector<std::uint8_t> bytes = EncodePicture(picture, PictureFormat::kPng);
    m_ThumbBytes += bytes.size();
    return thumb.assign(bytes.begin(), bytes.end());
}

WebReply ViewService::thumb(const WebRequest& request) {
    const int id = number_in(request.query, "id", -1);
    if (id < 0) throw Rejected{kBadRequest, "id is a number from 0"};
    return {200, "image/png", thumb_of(static_cast<std::size_t>(id))};
}

WebReply ViewService::colour_maps() {
    Json maps = Json::array();
    std::vector<std::string> known;
    ForEachColourMap([&](const std::string&, const ZEV_ColorMap& map) {
        const std::string uid = UidOf(map);
        if (std::find(known.begin(), known.end(), uid) != known.end()) return;
        known.push_back(uid);
        Json colours = Json::array();
        for (int level = 0; level < ZEV_ColorMap::kTableSize; ++level)
            colours.push_back(map.IsDummy() ? level * 0x010101 : map.TransformColor(level).toRGB());
        maps.push_back({{"uid", uid}, {"name", NameOf(map)}, {"colours", std::move(colours)}});
    });
    return json_reply({{"maps", std::move(maps)}});
}

/// Those that refer to the frame, the newest first.
Json ViewService::states_of(const OpenedImage& image) const {
    const std::string instance = image.File().DataSet().Text(tag::kSopInstance);
    std::vector<std::size_t> ids;
    for (std::size_t id = 0; id < m_States.size(); ++id) {
        if (m_States[id].RefersTo(instance, image.File().Frame())) ids.push_back(id);
    }
    std::stable_sort(ids.begin(), ids.end(), [&](std::size_t a, std::size_t b) {
        return m_States[a].Created() > m_States[b].Created();
    });
    Json list = Json::array();
    for (const std::size_t id : ids) {
        const PresentationState& state = m_States[id];
        list.push_back({{"id", id},
                        {"label", state.Label()},
                        {"description", state.set.Text(tag::kContentDescription)},
                        {"created", state.Created()},
                        {"file", std::filesystem::path(state.path).filename().string()}});
    }
    return list;
}

Json ViewService::number_of_state(const OpenedImage& image) const {
    if (image.State() == nullptr) return nullptr;
    const auto found = std::find_if(m_States.begin(), m_States.end(), [&](const PresentationState& state) {
        return state.path == image.State()->path;
    });
    return found - m_States.begin();
}

WebReply ViewService::open(const Json& body) {
    PresentationOptions options;
    const std::unique_ptr<OpenedImage> image = open_image(body, &options);
    Json presets = Json::array();
    const Json info = DescribeImage(*image);
    const std::string modality = info["modality"].get<std::string>();
    ForEachPreset([&](const std::string& procedure, const ZEV_PresetValue& preset) {
        if (image->File().IsColour() || !SameName(procedure, modality)) return;
        PresentationOptions trial = m_Options.presentation;
        trial.states = options.states;
        trial.preset = NameOf(preset);
        Json reason = nullptr;
        try {
            const OpenedImage opened(image->Source(), trial);
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        presets.push_back({{"name", NameOf(preset)}, {"reason", std::move(reason)}});
    });
    DrawingOptions drawing;
    drawing.presentation = options;
    Json layers = Json::array();
    for (const auto& layer : LayersOf(*image, drawing, 1.0, nullptr)) layers.push_back(layer->Name());
    const refhost::MemoryRaster& raster = image->Raster();
    const bool isColour = image->File().IsColour();
    return json_reply({{"info", info},
                       {"presets", std::move(presets)},
                       {"entries", isColour ? Json::array() : info["voiLutEntries"]},
                       {"states", states_of(*image)},
                       {"state", number_of_state(*image)},
                       {"placement", placement_of(*image)},
                       {"layers", std::move(layers)},
                       {"values", isColour ? Json(nullptr) : DescribeValues(*image)},
                       {"pixels",
                        {{"width", raster.m_Width},
                         {"height", raster.m_Height},
                         {"bits", isColour ? 8 : raster.m_BitsPerPixel},
                         {"signed", !isColour && raster.m_bSigned},
                         {"colour", isColour}}}});
}

WebReply ViewService::pixels(const WebRequest& request) {
    const std::shared_ptr<ImageSource> source = source_of(request);
    if (source->file.IsColour()) {
        const std::vector<std::uint8_t>& bytes = source->file.Colour().bytes;
        return binary_reply(std::string(bytes.begin(), bytes.end()));
    }
    const auto& bytes = source->raster.Bytes();
    return binary_reply(std::string(bytes.begin(), bytes.end()));
}

WebReply ViewService::table(const Json& body) {
    PresentationOptions options;
    const std::unique_ptr<OpenedImage> image = open_image(body, &options);
    require_grey(*image);
    std::vector<std::string> texts = image->SavedRegions();
    for (std::string& text : regions_of(body)) texts.push_back(std::move(text));
    const bool hasLabels = flag_in(body, "labels", false);
    std::string tables = colours_of(*image), labels;
    Json windows = Json::array({window_of(*image)});
    const int width = image->Raster().m_Width, height = image->Raster().m_Height;
    if (!texts.empty()) {
        ViewOptions view;
        view.pixels = true;
        // Its own place, whatever a presentation state says.
        view.zoom = 1.0, view.rotate = 0.0, view.pan = {0.0, 0.0};
        RegionView regions(*image, options, ParseRegions(texts), PlaceImage(*image, view));
        for (std::size_t i = 1; i <= texts.size(); ++i) {
            OpenedImage& region = regions.ImageOf(static_cast<int>(i));
            tables += colours_of(region);
            windows.push_back(window_of(region));
        }
        if (hasLabels) {
            regions.Draw();
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) labels += static_cast<char>(regions.RegionAt(x, y));
            }
        }
    } else if (hasLabels) {
        labels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), '\0');
    }
    const ZEV_ColorMap* const map = image->Params().GetColorMap();
    const Json head = {{"entries", image->ValueCount()},
                       {"first", image->FirstValue()},
                       {"tables", texts.size() + 1},
                       {"labels", hasLabels},
                       {"windows", std::move(windows)},
                       {"gamma", image->Params().GetGamma()},
                       {"inverse", image->ModalityInverse()},
                       {"colormap", map == nullptr ? Json(nullptr) : Json(UidOf(*map))}};
    return framed_reply(head, tables + labels);
}

WebReply ViewService::layers(const Json& body) {
    DrawingOptions options;
    const std::unique_ptr<OpenedImage> image = open_image(body, &options.presentation);
    options.view = view_of(body);
    options.overlays = options.annotations = flag_in(body, "overlays", true);
    TouchedPixels touched;
    const Picture picture = DrawImage(*image, options, nullptr, &touched);
    const KIT_Rect box = touched.Box(picture);
    std::string colours;
    for (int y = box.top; y < box.bottom; ++y) {
        for (int x = box.left; x < box.right; ++x) {
            const std::uint8_t* const pixel = picture.At(x, y);
            const bool isTouched = touched.Has(picture, x, y);
            for (int c = 0; c < 3; ++c) {
                const std::uint8_t sample = pixel[picture.form == Picture::kRgb ? c : 0];
                colours += isTouched ? static_cast<char>(sample) : '\0';
            }
            colours += isTouched ? '\xFF' : '\0';
        }
    }
    const Json head = {
        {"x", box.left}, {"y", box.top}, {"width", box.right - box.left}, {"height", box.bottom - box.top}};
    return framed_reply(head, colours);
}

WebReply ViewService::explain(const Json& body) {
    PresentationOptions options;
    const std::unique_ptr<OpenedImage> image = open_image(body, &options);
    std::vector<ImagePoint> points;
    const Json& asked = body.at("at");
    if (!asked.is_array() || asked.size() > kMostPoints)
        throw Rejected{kBadRequest, "at is not a list of points"};
    for (const Json& point : asked) {
        if (!point.is_array() || point.size() != 2) throw Rejected{kBadRequest, "a point is [column, row]"};
        const Json named = {{"x", point[0]}, {"y", point[1]}};
        points.push_back({whole_in(named, "x", 0), whole_in(named, "y", 0)});
    }
    DrawingOptions drawing;
    drawing.presentation = options;
    drawing.view.regions = regions_of(body);
    return json_reply(DescribeExplanations(Explain(*image, drawing, points)));
}

WebReply ViewService::histogram(const WebRequest& request) {
    OpenedImage image(source_of(request), m_Options.presentation);
    require_grey(image);
    const auto range = image.ModalityRange();
    if (!range) throw PresentError(image.File().Path(), "has nothing but padding");
    std::vector<std::uint64_t> bins(kBins);
    const MonoPixels& pixels = image.File().Mono();
    const int padding = image.Params().GetPixelPaddingValue(),
              limit = image.Params().GetPixelPaddingValueLimit();
    const double span = range->second - range->first;
    for (std::size_t i = 0; i < pixels.Count(); ++i) {
        const int value = pixels.Get(i);
        if (padding != ZEV_Params::kNoPadding && value >= std::min(padding, limit) &&
            value <= std::max(padding, limit))
            continue;
        const double place =
            span > 0.0 ? (image.GetRescale().Value(value) - range->first) / span * kBins : 0.0;
        ++bins[static_cast<std::size_t>(std::clamp(place, 0.0, kBins - 1.0))];
    }
    return json_reply({{"low", range->first}, {"high", range->second}, {"bins", bins}});
}

std::string ViewService::free_name(const std::string& start, const std::string& end) const {
    namespace fs = std::filesystem;
    std::string name = start + end;
    for (int number = 2; fs::exists(fs::symlink_status(fs::path(m_Options.saveFolder) / name)); ++number)
        name.assign(start).append("-").append(std::to_string(number)).append(end);
    return name;
}

WebReply ViewService::save(const Json& body) {
    if (m_Options.saveFolder.empty()) throw Rejected{kForbidden, "nothing is saved without --save-dir"};
    PresentationOptions options;
    const std::unique_ptr<OpenedImage> image = open_image(body, &options);
    const ViewOptions view = view_of(body);
    const std::string kind = text_in(body, "kind");
    const std::string stem = std::filesystem::path(image->File().Path()).stem().string();
    std::string bytes, name;
    if (kind == "picture") {
        DrawingOptions drawing;
        drawing.presentation = options;
        drawing.view = view;
        drawing.overlays = drawing.annotations = flag_in(body, "overlays", true);
        name = free_name(stem, ".png");
        const std::vector<std::uint8_t> file =
            EncodePicture(DrawImage(*image, drawing, nullptr), PictureFormat::kPng);
        bytes.assign(file.begin(), file.end());
    } else if (kind == "parameters") {
        name = free_name(stem + "-parameters", ".dcm");
        std::vector<std::string> regions;
        for (const RegionSpec& region : AllRegions(*image, view)) regions.push_back(region.ToText());
        bytes = EncodeDisplayParameters(*image, SaveMode::kPresent, regions, name);
    } else if (kind == "state") {
        const LostInState lost = FindLostInState(*image, options, view);
        std::string list;
        for (const auto& part : {lost.keptInParameters, lost.lost}) {
            for (const std::string& what : part) list += (list.empty() ? "" : ", ") + what;
        }
        if (!list.empty()) throw Rejected{kCannotPresent, "a presentation state cannot hold " + list};
        name = free_name(stem + "-state", ".dcm");
        bytes = EncodePresentationState(*image, view, {}, name);
    } else {
        throw Rejected{kBadRequest, "kind is picture, parameters or state"};
    }
    WriteFileAtomically((std::filesystem::path(m_Options.saveFolder) / name).string(), bytes.data(),
                        bytes.size());
    return json_reply({{"saved", name}});
}
