#include <gtest/gtest.h>

#include <regex>

#include "io/dicom_file.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "program_support.h"

namespace {

using Json = nlohmann::json;

using support::Outcome;
using Program = support::ProgramTest;

TEST_F(Program, ExitStatusAndOneLinePerFailure) {
    WriteSamples(m_Directory.Path());
    const std::string ct = m_Directory / "ct.dcm", png = m_Directory / "x.png";
    const std::string render = "render " + ct + " -o " + png;
    support::WriteFile(m_Directory / "text.dcm", "no image at all");
    support::WriteFile(m_Directory / "empty.dcm", "");
    support::WriteFile(m_Directory / "broken.json", "{ \"settings\": ");
    support::WriteFile(m_Directory / "bare.json",
                       R"({"settings": 5, "trees": {"windowing": [1], "colormaps": "x"}})");
    const std::string bare = " --config " + m_Directory / "bare.json";
    const struct {
        std::string arguments;
        int status;
        const char* says;
    } rows[] = {
        {"--version", 0, ""},
        {"help", 0, ""},
        {"help table", 0, ""},
        {"--help", 0, ""},
        {render, 0, ""},
        {render + " --center -600 --width 1600 --gamma 0.5 --invert --frame 0", 0, ""},
        {render + " --voi 0", 0, ""},
        {"", 0, ""},
        {"rendr " + ct, 2, "there is no command 'rendr'; did you mean 'render'?"},
        {"paint " + ct, 2, "no command 'paint'; see zev help"},
        {"render --centr 1", 2, "render has no option '--centr'; did you mean '--center'?"},
        {render + " --center nan --width 5", 2, "must be a number from -2147483648 to 2147483646, not 'nan'"},
        {render + " --center 0x20 --width 5", 2, "not '0x20'"},
        {render + " --brightness nan --contrast 1", 2, "must be a whole number from -100 to 100, not 'nan'"},
        {render + " --frame 1e1", 2, "is not a frame, FIRST-LAST or all"},
        {"--hlep", 2, "zev has no option '--hlep'; did you mean '--help'?"},
        {"-x render " + ct, 2, "zev has no option '-x'; see zev help"},
        {render + " --region rect:0,0,2e9,5", 2, "beyond a thousand million"},
        {render + " --centre 40 --width 400", 0, ""},
        {"render --region rect:0,0,9,9 --pan 1,2 " + ct + " -o " + m_Directory / "view.png", 0, ""},
        {"help paint", 2, "paint"},
        {"render " + ct, 2, "output"},
        {render + " --center 40", 2, "--width"},
        {render + " --width 40", 2, "--center"},
        {render + " --center 40 --width -1", 2, "--width"},
        {render + " --center 99999999999 --width 1", 2, "--center"},
        {render + " --gamma 7", 2, "gamma"},
        {render + " --gamma nan", 2, "gamma"},
        {render + " --frame -1", 2, "--frame"},
        {render + " --config " + m_Directory / "absent.json", 2, "absent.json"},
        {render + " --config " + m_Directory / "broken.json", 2, "broken.json"},
        {render + bare, 0, ""},
        {"presets" + bare, 2, "bare.json"},
        {"colormaps" + bare, 2, "bare.json"},
        {"table " + ct + " -o " + png + " --out-depth 12", 2, "--out-depth"},
        {"table " + ct + " -o " + png + " --target paper", 2, "--target"},
        {"table " + ct + " -o " + png + " --target levels --out-depth 32", 1, "ct.dcm"},
        {render + " --voi 1", 1, "windowing entry 1"},
        {render + " --frame 1", 1, "frame 1"},
        {"render " + m_Directory / "text.dcm" + " -o " + png, 1, "text.dcm: not a DICOM file"},
        {"info " + m_Directory / "empty.dcm", 1, "empty.dcm: not a DICOM file"},
        {"info " + m_Directory / "absent.dcm", 1, "absent.dcm"},
        {"info " + m_Directory.Path(), 1, ": not a file"},
        {"info /dev/zero", 1, "/dev/zero: not a file"},
        {"render " + ct + " -o " + m_Directory / "absent/x.png", 1, "absent/x.png"},
        {"sample " + ct + "/below", 1, "ct.dcm"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        const std::size_t files = m_Directory.Count();
        const bool hadPicture = !support::ReadFile(png).empty();
        const Outcome outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        if (row.status == 0) {
            EXPECT_EQ(outcome.err, "");
            continue;
        }
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("zev: ", 0), 0U) << outcome.err;
        EXPECT_NE(outcome.err.find(row.says), std::string::npos) << outcome.err;
        EXPECT_EQ(m_Directory.Count(), files) << "left something behind";
        EXPECT_EQ(!support::ReadFile(png).empty(), hadPicture);
    }
}

std::string without_backslashes(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\\'), text.end());
    return text;
}

TEST_F(Program, ManPagesAndCompletionsKnowEveryOption) {
    const std::string source = std::string(ZEV_SOURCE_DIR) + "/cli/";
    const std::string manual = without_backslashes(support::ReadFile(source + "zev.1"));
    const std::string built = support::ReadFile(source + "CMakeLists.txt");
    const std::string bash = Run("help --completion bash").out, zsh = Run("help --completion zsh").out,
                      fish = Run("help --completion fish").out;
    const std::string program = Run("help").out;
    const std::regex line("\n  ([a-z]+) +[A-Z]"), option("--[a-z-]+");
    int commands = 0;
    for (std::sregex_iterator it(program.begin(), program.end(), line), end; it != end; ++it, ++commands) {
        const std::string command = (*it)[1];
        SCOPED_TRACE(command);
        EXPECT_NE(built.find(" " + command), std::string::npos) << "its page is not installed";
        const std::string page = without_backslashes(Run("help --man " + command).out);
        EXPECT_EQ(page.rfind(".TH ZEV-", 0), 0U);
        const std::string help = Run("help " + command).out;
        for (std::sregex_iterator name(help.begin(), help.end(), option); name != end; ++name) {
            const std::string text = name->str();
            EXPECT_NE(page.find(text), std::string::npos) << text;
            EXPECT_NE(bash.find(text), std::string::npos) << text;
            EXPECT_NE(zsh.find(text), std::string::npos) << text;
            EXPECT_NE(fish.find("-l " + text.substr(2)), std::string::npos) << text;
            const bool isGeneral = text == "--help" || text == "--output";
            EXPECT_TRUE(isGeneral || manual.find(text) != std::string::npos) << text;
        }
    }
    EXPECT_GE(commands, 12);
}

TEST_F(Program, CompletionOffersTheWordsOfAnOption) {
    const std::string script = m_Directory / "completion.bash", offered = m_Directory / "offered";
    std::ofstream(script) << Run("help --completion bash").out
                          << "COMP_WORDS=(zev render --format p) COMP_CWORD=3\n_zev\n"
                             "echo \"${COMPREPLY[*]}\" >'"
                          << offered << "'\n";
    ASSERT_EQ(std::system(("bash '" + script + "'").c_str()), 0);
    EXPECT_EQ(support::ReadFile(offered), "png pgm ppm\n");
}

TEST_F(Program, DemoDrawsEverySampleAndAContactSheet) {
    const Outcome outcome = Run("demo " + m_Directory / "new/demo");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "") << "progress belongs on a terminal";
    for (const char* name : {"ct", "mr", "cr", "mg", "nm", "xa", "pt", "us", "contact"}) {
        SCOPED_TRACE(name);
        const Picture picture = ReadPng(m_Directory / ("new/demo/" + std::string(name) + ".png"));
        std::size_t levels[256] = {};
        for (std::uint8_t sample : picture.bytes) ++levels[sample];
        EXPECT_GT(std::count_if(levels, levels + 256, [](std::size_t n) { return n > 0; }), 90);
    }
    support::TemporaryDirectory again;
    WriteSamples(again.Path());
    for (const char* name : {"ct.dcm", "xa.dcm"}) {
        EXPECT_EQ(support::ReadFile(again / name), support::ReadFile(m_Directory / "new/demo/" + name))
            << name;
    }
}

/// Every pixel of the picture is the table's entry for it, read from the file that `zev table` writes.
void expect_picture_is_table(const std::string& name, const Picture& picture, const DicomFile& file,
                             const Json& about, const std::string& table) {
    SCOPED_TRACE(name);
    ASSERT_EQ(table.size(), about["size"].get<std::size_t>() * 4);
    ASSERT_EQ(picture.width, file.Columns());
    ASSERT_EQ(picture.height, file.Rows());
    const int origin = about["signed"].get<bool>() ? about["tableSize"].get<int>() / 2 : 0;
    for (int i = 0; i < file.Columns() * file.Rows(); ++i) {
        const auto index = static_cast<std::size_t>(file.Mono().Get(static_cast<std::size_t>(i)) + origin);
        for (int c = 0; c < 3; ++c) {  // the table is little-endian, blue first
            const int entry = static_cast<unsigned char>(table[index * 4 + static_cast<std::size_t>(2 - c)]);
            ASSERT_EQ(picture.bytes[static_cast<std::size_t>(3 * i + c)], entry) << "pixel " << i;
        }
    }
}

TEST_F(Program, PictureIsTheTableAtEveryPixel) {
    std::vector<std::string> paths = WriteSamples(m_Directory.Path());
    // An image in colour has no table.
    paths.erase(std::remove(paths.begin(), paths.end(), m_Directory / "us.dcm"), paths.end());
    if (!support::TestData().empty()) {
        for (auto& row : support::Manifest()) {
            const bool isMono =
                row["photometric"].rfind("MONOCHROME", 0) == 0 || row["photometric"] == "absent";
            if (isMono && row["stored_min"] != "-") paths.push_back(support::TestData() + "/" + row["file"]);
        }
    }
    const std::string png = m_Directory / "p.png", bin = m_Directory / "t.bin";
    for (const std::string& path : paths) {
        for (const char* options : {"", " --invert --center 300 --width 900"}) {
            const DicomFile file = DicomFile::Load(path);
            if (file.Supplement()) continue;
            const std::string plain = " --pixels --no-overlays";
            ASSERT_EQ(Run("render " + path + " -o " + png + options + plain).status, 0) << path;
            const Outcome table = Run("table " + path + " -o " + bin + " --out-depth 32" + options);
            ASSERT_EQ(table.status, 0) << table.err;
            expect_picture_is_table(path + options, ReadPng(png), file, Json::parse(table.out),
                                    support::ReadFile(bin));
        }
    }
}

TEST_F(Program, RealFilesOpenToTheirFirstWindow) {
    if (support::TestData().empty()) GTEST_SKIP() << "no test data";
    for (auto& row : support::Manifest()) {
        if (row["stored_min"] == "-" || row["photometric"].rfind("MONOCHROME", 0) != 0) continue;
        SCOPED_TRACE(row["file"]);
        // "450\200 / 790\443 (NAMES)", after "Shared[1]: " in an enhanced image
        std::string windows = row["window_centres_widths"];
        const std::size_t colon = windows.find(": ");
        if (colon != std::string::npos) windows = windows.substr(colon + 2);
        const std::size_t slash = windows.find(" / ");
        if (slash == std::string::npos) continue;
        // A PT image opens on the SUV scale instead.
        const Json info =
            Info(support::TestData() + "/" + row["file"] + (row["modality"] == "PT" ? " --voi 0" : ""));
        EXPECT_EQ(info["center"], static_cast<int>(std::stod(windows)));
        EXPECT_EQ(info["width"], static_cast<int>(std::stod(windows.substr(slash + 3))));
        EXPECT_EQ(info["photometricInverse"], row["photometric"] == "MONOCHROME1");
    }
}

TEST_F(Program, AutoTellsWhatIsMeasured) {
    const std::string ramp = m_Directory / "ramp.dcm";
    const auto write_ramp = [&ramp](const support::Texts& decimals) {
        support::WriteImage(ramp, support::Ramp("MR", decimals, 64, 12));
    };
    // In stored values, whose fractions would be lost.
    write_ramp({{tag::kRescaleSlope, "0.0001"}});
    EXPECT_NEAR(Info(ramp)["width"].get<int>(), 4014, 4);
    write_ramp({{tag::kWindowCenter, "7"}, {tag::kWindowWidth, "8"}});
    const auto measured = [&](const std::string& options) {
        const Outcome outcome = Run("auto --json " + ramp + options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return Json::parse(outcome.out);
    };
    const Json whole = measured("");
    EXPECT_EQ(whole["calculators"]["NM"], (Json{{"width", 4074}, {"center", 2038}}));
    EXPECT_NEAR(whole["host"]["width"].get<int>(), 4014, 4);
    const Json part = measured(" --rect 0,0,64,1");
    EXPECT_LE(part["host"]["width"].get<int>(), 64);
    EXPECT_EQ(measured(" --rect 5,5,5,9")["calculators"]["CT"], nullptr);
    EXPECT_EQ(Run("auto " + ramp + " --rect 1,2").status, 2);
    const Json info = Info(ramp + " --auto");
    EXPECT_EQ(info["windowSource"], "automatic");
    EXPECT_EQ(info["width"], whole["host"]["width"]);
    EXPECT_EQ(Run("info " + ramp + " --auto --center 1 --width 2").status, 2);
}

}  // namespace
