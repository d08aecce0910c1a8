#include <DICOM/Dicom_Dictionary.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "io/dicom_editor.h"
#include "io/dicom_reader.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "present/brightness.h"
#include "present/message_elements.h"
#include "program_support.h"

namespace {

using Save = support::ProgramTest;
using Json = nlohmann::json;

DicomElement text(const char* vr, const std::string& value) { return {vr, value, {}}; }

/// Every test image that `zev table` takes: monochrome and sound.
std::vector<std::string> monochrome_images() {
    std::vector<std::string> paths;
    for (const auto& row : support::Manifest()) {
        const std::string path = support::TestData() + "/" + row.at("file");
        try {
            if (ReadDicomFile(path, 0).frame.photometric.rfind("MONOCHROME", 0) == 0) paths.push_back(path);
        } catch (const PresentError&) {
            continue;
        }
    }
    return paths;
}

// ---- Round trips

/// What must be the same in a picture that was saved and opened again.
Json presentation(const Json& info) {
    Json result;
    for (const char* key : {"center", "width", "windowUnits", "gamma", "inverse", "colorMap"})
        result[key] = info[key];
    return result;
}

/// Nothing but the window and the gamma differs.
void expect_rest_is_kept(const std::string& path, const std::string& copy) {
    DicomDataSet before = ReadDicomDataSet(path), after = ReadDicomDataSet(copy);
    EXPECT_NE(after.Text(tag::kSopInstance), before.Text(tag::kSopInstance));
    const std::string type = after.Text(tag::kImageType);
    EXPECT_TRUE(type.rfind("DERIVED", 0) == 0 || type.rfind("MIXED", 0) == 0) << type;
    EXPECT_NE(after.Text(tag::kDerivationDescription).find("saved"), std::string::npos);
    std::vector<std::uint32_t> mayChange = {
        tag::kSopInstance, tag::kImageType,         tag::kDerivationDescription, tag::kWindowCenter,
        tag::kWindowWidth, tag::kWindowExplanation, tag::kVoiLutFunction};
    for (const unsigned element : {0x10U, 0x1001U, 0x1002U}) mayChange.push_back(DicomTag(0x7B21, element));
    for (DicomDataSet* set : {&before, &after}) {
        for (const std::uint32_t tag : mayChange) set->Remove(tag);
        for (const std::uint32_t groups : {tag::kSharedFunctionalGroups, tag::kPerFrameFunctionalGroups}) {
            for (std::size_t i = 0; set->Has(groups) && i < set->Find(groups)->items.size(); ++i)
                set->elements[groups].items[i].Remove(tag::kFrameVoiLutSequence);
        }
    }
    ByteWriter first, second;
    first.DataSet(before);
    second.DataSet(after);
    EXPECT_EQ(first.Take(), second.Take());
    // From the pixel data on, to the last byte, unless all of it is deflated.
    const std::string bytes = support::ReadFile(path), saved = support::ReadFile(copy);
    const std::size_t pixels = std::max(bytes.rfind(std::string("\xE0\x7F\x10\x00", 4)) + 1,
                                        bytes.rfind(std::string("\x7F\xE0\x00\x10", 4)) + 1);
    if (pixels == 0) return;
    const std::string tail = bytes.substr(pixels - 1);
    ASSERT_LT(tail.size(), saved.size());
    EXPECT_EQ(saved.substr(saved.size() - tail.size()), tail);
}

class RoundTrip : public Save {
protected:
    /// What a checker of DICOM files finds wrong.
    std::ptrdiff_t errors_in(const std::string& path) {
        const std::string log = m_Directory / "log";
        EXPECT_TRUE(WIFEXITED(std::system(("dciodvfy '" + path + "' >" + log + " 2>&1").c_str())));
        const std::vector<std::string> lines = support::Split(support::ReadFile(log), '\n');
        return std::count_if(lines.begin(), lines.end(),
                             [](const std::string& line) { return line.rfind("Error", 0) == 0; });
    }
    /// Saves both ways and opens again.
    void Check(const std::string& path, const std::string& options) {
        const std::string shown = m_Directory / "shown.ppm", again = m_Directory / "again.ppm";
        const std::string copy = m_Directory / "copy.dcm", saved = m_Directory / "saved.dcm";
        const std::string chosen = "'" + path + "' " + options;
        ASSERT_EQ(Run("render " + chosen + " -o " + shown).status, 0) << chosen;
        const Json wanted = presentation(Info(chosen));
        const support::Outcome outcome = Run("save " + chosen + " -o " + copy + " --ddp-out " + saved);
        ASSERT_EQ(outcome.status, 0) << chosen << ": " << outcome.err;
        for (const std::string& input : {copy, "'" + path + "' --ddp " + saved}) {
            const Json info = Info(input);
            EXPECT_EQ(presentation(info), wanted) << chosen << " from " << input;
            EXPECT_EQ(info["windowSource"] == "saved", input != copy) << chosen;
            EXPECT_EQ(Run("render " + input + " -o " + again).status, 0);
            EXPECT_EQ(support::ReadFile(again), support::ReadFile(shown)) << chosen << " from " << input;
        }
    }
};

/// Each image with one choice of the three, since they repeat its kinds.
TEST_F(RoundTrip, EveryMonochromeImage) {
    if (support::TestData().empty()) GTEST_SKIP() << "no test images";
    const bool hasChecker = std::system("command -v dciodvfy >/dev/null") == 0;
    const std::string copy = m_Directory / "copy.dcm";
    std::size_t number = 0;
    for (const std::string& path : monochrome_images()) {
        SCOPED_TRACE(path);
        const Json info = Info("'" + path + "'");
        const double center = info.value("modalityCenter", info["center"].get<double>());
        const double width = info.value("modalityWidth", info["width"].get<double>());
        // Without a modality nothing is measured.
        const std::string automatic = path.find("no_modality") == std::string::npos ? "--auto " : "";
        std::vector<std::string> choices = {
            automatic + "--gamma 1.7", "--center " + std::to_string(center + 0.213 * width) + " --width " +
                                           std::to_string(0.777 * width) +
                                           " --invert --gamma 0.6 --colormap 'Hot Iron'"};
        if (!info["voiLutEntries"].empty())
            choices.push_back("--invert --voi " + std::to_string(info["voiLutEntries"].size() - 1));
        Check(path, choices[number++ % choices.size()]);
        // The checker cannot read a deflated file.
        if (hasChecker && path.find("deflated") == std::string::npos) {
            EXPECT_LE(errors_in(copy), errors_in(path));
        }
        ASSERT_EQ(Run("save '" + path + "' --gamma 1.5 --center 77 --width 99 -o " + copy).status, 0);
        expect_rest_is_kept(path, copy);
    }
}

TEST_F(RoundTrip, HardCases) {
    const struct {
        const char* name;
        support::Texts decimals;
        /// What was saved into the file before, and what is chosen then.
        const char *before, *options;
    } cases[] = {
        {"fractions",
         {{tag::kRescaleSlope, "0.001"}, {tag::kRescaleIntercept, "0.5"}},
         "",
         "--center 0.55 --width 0.1234"},
        {"fractions, upside down",
         {{tag::kRescaleSlope, "-0.001"}, {tag::kRescaleIntercept, "0.5"}},
         "",
         "--center 0.4 --width 0.1"},
        {"fractions beside whole numbers",
         {{tag::kRescaleSlope, "0.5"}, {tag::kRescaleIntercept, "0"}},
         "",
         "--center 49.9 --width 60"},
        {"whole numbers beside fractions",
         {{tag::kRescaleSlope, "0.5"}, {tag::kRescaleIntercept, "0"}},
         "",
         "--center 50.4 --width 30"},
        {"natural gamma after another one", {}, "--gamma 2", "--gamma 1"},
        {"away from the inverse grey map",
         {},
         "--colormap 'Inverted grayscale' --invert",
         "--colormap Hot\\ Iron"},
        {"inverse grey map turned", {}, "--colormap 'Inverted grayscale'", "--invert"},
        {"back to the dummy map", {}, "--colormap 'Hot Iron'", "--colormap Grayscale --invert"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const std::string path = m_Directory / "image.dcm", plain = m_Directory / "plain.dcm";
        support::WriteImage(plain, support::Ramp("MR", row.decimals));
        ASSERT_EQ(Run("save " + plain + " -o " + path + " " + row.before).status, 0);
        Check(path, row.options);
    }
}

/// A map of SUV type brings its scale with it when an image is opened; a window saved over it stays.
TEST_F(RoundTrip, SavedWindowHoldsAgainstSuvScale) {
    const DicomDataSet set = support::PetRamp({{tag::kRescaleSlope, "100"},
                                               {tag::kRescaleIntercept, "0"},
                                               {tag::kWindowCenter, "9000"},
                                               {tag::kWindowWidth, "18000"}});
    const std::string path = m_Directory / "pet.dcm";
    support::WriteImage(path, set);
    ASSERT_EQ(Info(path)["windowSource"], "colormap-suv");
    for (const char* options :
         {"", "--center 7000 --width 12000", "--colormap 'PET 20 Step' --center 5 --width 9"})
        Check(path, options);
}

// ---- What a copy changes

TEST_F(Save, WindowGoesDownAsEntryOrPair) {
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    DicomDataSet set = support::Ramp("MR", {{tag::kWindowCenter, "40\\80"}, {tag::kWindowWidth, "90\\30"}});
    set.PutText(tag::kWindowExplanation, "LO", "A\\B");
    DicomDataSet table;
    table.elements[DicomTag(0x0028, 0x3002)] = DicomElement{"US", std::string("\x02\0\x10\0\x08\0", 6), {}};
    table.PutText(DicomTag(0x0028, 0x3003), "LO", "STEP");
    table.elements[DicomTag(0x0028, 0x3006)] = DicomElement{"OW", std::string("\0\0\xFF\0", 4), {}};
    set.elements[tag::kVoiLutSequence] = DicomElement{"SQ", "", {table}};
    const struct {
        const char *name, *function, *options, *center, *width, *explanation, *functionAfter;
    } cases[] = {
        {"untouched", "LINEAR_EXACT", "--gamma 2", "40\\80", "90\\30", "A\\B", "LINEAR_EXACT"},
        {"own window", "", "--center 50 --width 60", "50", "60", "Window width and centre", "LINEAR"},
        {"too narrow", "", "--center 50 --width 0.5", "50", "1", "Window width and centre", "LINEAR"},
        {"second pair", "", "--voi 1", "80", "30", "Window width and centre", "LINEAR"},
        {"sigmoid", "SIGMOID", "--voi 1", "80", "30", "B", "SIGMOID"},
        {"table", "", "--voi 2", "", "", "", ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        set.Remove(tag::kVoiLutFunction);
        if (*row.function != '\0') set.PutText(tag::kVoiLutFunction, "CS", row.function);
        support::WriteImage(image, set);
        ASSERT_EQ(Run("save " + image + " -o " + copy + " " + row.options).status, 0);
        const DicomDataSet saved = ReadDicomDataSet(copy);
        EXPECT_EQ(saved.Text(tag::kWindowCenter), row.center);
        EXPECT_EQ(saved.Text(tag::kWindowWidth), row.width);
        EXPECT_EQ(saved.Text(tag::kWindowExplanation), row.explanation);
        EXPECT_EQ(saved.Text(tag::kVoiLutFunction), row.functionAfter);
        EXPECT_EQ(saved.Has(tag::kWindowCenter), *row.center != '\0');
        ASSERT_NE(saved.FirstItem(tag::kVoiLutSequence), nullptr);
        EXPECT_EQ(saved.FirstItem(tag::kVoiLutSequence)->Text(DicomTag(0x0028, 0x3003)), "STEP");
    }
}

/// The file's own rescale is kept, which the library knows in coarser numbers only.
TEST_F(Save, RescaleAndPaletteStayUnlessChosen) {
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    support::WriteImage(image, support::Ramp("MR", {{tag::kRescaleSlope, "1.23456789012"},
                                                    {tag::kRescaleIntercept, "-10.5"}}));
    ASSERT_EQ(Run("save " + image + " -o " + copy + " --center 30 --width 50").status, 0);
    DicomDataSet saved = ReadDicomDataSet(copy);
    EXPECT_EQ(saved.Text(tag::kRescaleSlope), "1.23456789012");
    EXPECT_EQ(saved.Text(tag::kRescaleIntercept), "-10.5");
    EXPECT_FALSE(saved.Has(DicomTag(0x0028, 0x1101)));
    ASSERT_EQ(Run("save " + image + " -o " + copy + " --colormap 'Hot Iron'").status, 0);
    saved = ReadDicomDataSet(copy);
    EXPECT_EQ(saved.Word(DicomTag(0x0028, 0x1101), 0), 256);
    EXPECT_EQ(saved.Find(DicomTag(0x0028, 0x1201))->bytes.size(), 256U);
    EXPECT_EQ(saved.Text(DicomTag(0x7B21, 0x1004)), "1.2.840.10008.1.5.1");
}

/// The window of an enhanced image goes where it came from, and no other frame's window moves.
TEST_F(Save, FunctionalGroupsGetTheirOwnWindow) {
    const auto group = [](const char* center) {
        DicomDataSet window, item;
        window.PutText(tag::kWindowCenter, "DS", center);
        window.PutText(tag::kWindowWidth, "DS", "100");
        item.elements[tag::kFrameVoiLutSequence] = DicomElement{"SQ", "", {window}};
        return item;
    };
    const auto window_of = [](const DicomDataSet& set, std::uint32_t groups, std::size_t item) {
        const DicomElement* element = set.Find(groups);
        if (element == nullptr || item >= element->items.size()) return std::string("none");
        const DicomDataSet* voi = element->items[item].FirstItem(tag::kFrameVoiLutSequence);
        return voi == nullptr ? std::string("none")
                              : voi->Text(tag::kWindowCenter) + "/" + voi->Text(tag::kWindowWidth);
    };
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    DicomDataSet set = support::Ramp("MR", {});
    set.PutText(DicomTag(0x0028, 0x0008), "IS", "2");
    set.elements[tag::kPixelData].bytes += set.elements[tag::kPixelData].bytes;
    const struct {
        const char* name;
        std::vector<DicomDataSet> shared, frames;
        const char *sharedAfter, *firstAfter, *secondAfter;
    } cases[] = {
        {"per frame", {DicomDataSet()}, {group("10"), group("20")}, "none", "10/100", "7/8"},
        {"shared", {group("30")}, {DicomDataSet(), DicomDataSet()}, "7/8", "none", "none"},
        {"nowhere", {DicomDataSet()}, {DicomDataSet(), DicomDataSet()}, "7/8", "none", "none"},
        {"nowhere, frames only", {}, {DicomDataSet(), DicomDataSet()}, "none", "none", "7/8"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        set.elements[tag::kSharedFunctionalGroups] = DicomElement{"SQ", "", row.shared};
        set.elements[tag::kPerFrameFunctionalGroups] = DicomElement{"SQ", "", row.frames};
        support::WriteImage(image, set);
        ASSERT_EQ(Run("save " + image + " -o " + copy + " --frame 1 --center 7 --width 8").status, 0);
        const DicomDataSet saved = ReadDicomDataSet(copy);
        EXPECT_EQ(window_of(saved, tag::kSharedFunctionalGroups, 0), row.sharedAfter);
        EXPECT_EQ(window_of(saved, tag::kPerFrameFunctionalGroups, 0), row.firstAfter);
        EXPECT_EQ(window_of(saved, tag::kPerFrameFunctionalGroups, 1), row.secondAfter);
        EXPECT_FALSE(saved.Has(tag::kWindowCenter));
        EXPECT_EQ(Info(copy + " --frame 1")["center"], 7);
    }
}

TEST_F(Save, PrivateBlockIsFoundOrMade) {
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    const std::uint32_t creator = DicomTag(0x7B21, 0x0010), foreign = DicomTag(0x7B21, 0x1002);
    DicomDataSet set = support::Ramp("MR", {});
    set.PutText(creator, "LO", "SOMEBODY ELSE");
    set.elements[foreign] = text("LO", "not a gamma ");
    support::WriteImage(image, set);
    ASSERT_EQ(Run("save " + image + " -o " + copy + " --gamma 2").status, 0);
    DicomDataSet saved = ReadDicomDataSet(copy);
    EXPECT_EQ(saved.Text(creator), "SOMEBODY ELSE");
    EXPECT_EQ(saved.Text(foreign), "not a gamma");
    EXPECT_EQ(saved.Text(DicomTag(0x7B21, 0x0011)), Dicom_Dictionary::PRIVATE_CREATOR_TEXT);
    EXPECT_TRUE(saved.Has(DicomTag(0x7B21, 0x1102)));
    EXPECT_EQ(Info(copy)["gamma"], 2.0);
    // A second time: the same block.
    ASSERT_EQ(Run("save " + copy + " --in-place --gamma 3").status, 0);
    EXPECT_FALSE(ReadDicomDataSet(copy).Has(DicomTag(0x7B21, 0x0012)));
    EXPECT_EQ(Info(copy)["gamma"], 3.0);
}

// ---- Display-parameter files

TEST_F(Save, RefusalsTakeOneLineAndLeaveNothing) {
    const std::string image = m_Directory / "image.dcm", other = m_Directory / "other.dcm";
    const std::string saved = m_Directory / "saved.dcm", longText = m_Directory / "long.dcm";
    const std::string nameless = m_Directory / "nameless.dcm", bare = m_Directory / "bare.dcm";
    DicomDataSet set = support::Ramp("MR", {{tag::kWindowCenter, "40"}, {tag::kWindowWidth, "90"}});
    support::WriteImage(image, set);
    ASSERT_EQ(Run("save " + image + " --center 1 --width 2 --ddp-out " + saved).status, 0);
    set.PutText(tag::kWindowExplanation, "LO", std::string(58, 'x'));
    set.PutText(tag::kSopInstance, "UI", "2.25.9");
    support::WriteImage(other, set);
    support::WriteImage(longText, set);
    support::WriteFile(bare, support::ReadFile(image).substr(132));
    const struct {
        std::string name, arguments;
        int status;
        std::string says;
    } cases[] = {
        {"no output", image, 2, "save needs an output"},
        {"both the same", image + " -o x.dcm --ddp-out ./x.dcm", 2, "are the same file"},
        {"onto itself", image + " -o " + m_Directory / "./image.dcm", 2, "is the same file as the input"},
        {"onto its input", image + " --ddp " + saved + " --ddp-out " + saved, 2, "same file as the input"},
        {"mode", image + " --ddp-out x.dcm --mode 3", 2, "--mode"},
        {"other image", other + " -o x.dcm --ddp " + saved, 1, "belongs to another image, 2.25.4711"},
        {"not such a file", image + " -o x.dcm --force --ddp " + image, 1, "is not a display-parameter file"},
        // "Linear " and 58 characters are one more than the attribute takes.
        {"too long", longText + " -o x.dcm --ddp-out y.dcm", 1, "65 characters"},
        {"no meta information", bare + " -o x.dcm", 1, "bare.dcm"},
        {"no folder", image + " -o none/x.dcm", 1, "cannot be written"},
    };
    const std::size_t files = m_Directory.Count();
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const support::Outcome outcome = Run("save " + row.arguments);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_NE(outcome.err.find(row.says), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_FALSE(std::filesystem::exists("x.dcm") || std::filesystem::exists("y.dcm"));
    }
    EXPECT_EQ(m_Directory.Count(), files);
    EXPECT_EQ(Info(other + " --force --ddp " + saved)["center"], 1);
    const std::string again =
        " --center 5 --width 6 --ddp " + saved + " --ddp-out " + m_Directory / "again.dcm";
    for (const auto& [mode, center] : {std::pair{" --mode 1", "1"}, {" --mode 2", "5"}, {" --mode 4", ""}}) {
        ASSERT_EQ(Run("save " + image + again + mode).status, 0);
        EXPECT_EQ(ReadDicomDataSet(m_Directory / "again.dcm").Text(tag::kWindowCenter), center) << mode;
    }
}

/// A limit on the size of files stands for a full disk.
TEST_F(Save, HalfFinishedSaveLeavesTheOldFile) {
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    DicomDataSet set = support::Ramp("MR", {});
    set.elements[DicomTag(0x0009, 0x1001)] = DicomElement{"OB", std::string(4096, 'x'), {}};
    support::WriteImage(image, set);
    support::WriteFile(copy, "old");
    for (const std::string& output : {copy, m_Directory / "new.dcm"}) {
        const std::string line = "ulimit -f 2; '" + std::string(ZEV_PROGRAM) + "' save " + image + " -o " +
                                 output + " 2>/dev/null";
        const int result = std::system(line.c_str());
        EXPECT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) == 1);
    }
    EXPECT_EQ(support::ReadFile(copy), "old");
    EXPECT_EQ(m_Directory.Count(), 2U);
}

// ---- Brightness and contrast

TEST_F(Save, BrightnessAndContrast) {
    const std::string image = m_Directory / "image.dcm", copy = m_Directory / "copy.dcm";
    const std::string picture = m_Directory / "picture.png";
    DicomDataSet set = support::Ramp("MR", {});
    set.PutText(DicomTag(0x0028, 0x0004), "CS", "RGB");
    set.PutWord(DicomTag(0x0028, 0x0002), "US", 3);
    set.PutWord(DicomTag(0x0028, 0x0006), "US", 1);
    set.elements[tag::kPixelData].bytes +=
        set.elements[tag::kPixelData].bytes + set.elements[tag::kPixelData].bytes;
    support::WriteImage(image, set);
    const struct {
        const char *name, *options;
        int brightness, contrast;
        bool isTold;
    } cases[] = {
        {"none", "", 0, 0, false},
        {"both", "--brightness 20 --contrast 50", 20, 50, false},
        {"limits", "--brightness=-100 --contrast 100", -100, 100, false},
        {"brightness alone", "--brightness 20", 0, 0, true},
        {"contrast alone", "--contrast 20 --brightness 0", 0, 0, true},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const support::Outcome outcome = Run("render " + image + " -o " + picture + " " + row.options);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), row.isTold ? 1 : 0)
            << outcome.err;
        const Picture shown = ReadPng(picture);
        for (int v = 0; v < 256; ++v) {
            const double exact =
                (v - 128) * (100.0 + row.contrast) / 100.0 + 128 + 255.0 * row.brightness / 200;
            const int wanted = static_cast<int>(std::clamp(exact + 1e-9, 0.0, 255.0));
            ASSERT_EQ(shown.bytes[static_cast<std::size_t>(3 * v)], wanted) << v;
        }
        // Saved, they come back without being asked for, and the pixels are as they were.
        ASSERT_EQ(Run("save " + image + " -o " + copy + " " + row.options).status, 0);
        ASSERT_EQ(Run("render " + copy + " -o " + picture).err, "");
        EXPECT_EQ(ReadPng(picture).bytes, shown.bytes);
        EXPECT_EQ(ReadDicomFile(copy, 0).frame.data, ReadDicomFile(image, 0).frame.data);
    }
    EXPECT_EQ(Run("save " + image + " --ddp-out " + copy).status, 1);
}

// ---- The editor

/// A file put together by hand, element by element.
class Bytes {
public:
    explicit Bytes(const std::string& syntax)
        : m_bExplicit(syntax != "1.2.840.10008.1.2"), m_bBig(syntax == "1.2.840.10008.1.2.2") {}

    std::string Element(std::uint32_t tag, const std::string& vr, const std::string& value,
                        bool isUndefined = false) const {
        std::string bytes = number(tag >> 16, 2) + number(tag & 0xFFFF, 2);
        const bool isLong = vr == "SQ" || vr == "OB" || vr == "OW" || vr == "UN";
        const std::size_t length = isUndefined ? 0xFFFFFFFF : value.size();
        if (m_bExplicit) bytes += vr + (isLong ? std::string(2, '\0') : "");
        bytes += number(length, m_bExplicit && !isLong ? 2 : 4) + value;
        return isUndefined ? bytes + number(0xFFFE, 2) + number(0xE0DD, 2) + number(0, 4) : bytes;
    }
    std::string Item(const std::string& content, bool isUndefined = false) const {
        const std::string head = number(0xFFFE, 2) + number(0xE000, 2);
        if (!isUndefined) return head + number(content.size(), 4) + content;
        return head + number(0xFFFFFFFF, 4) + content + number(0xFFFE, 2) + number(0xE00D, 2) + number(0, 4);
    }
    std::string Length(std::size_t value) const { return number(value, 4); }

private:
    std::string number(std::size_t value, unsigned size) const {
        std::string bytes;
        for (unsigned i = 0; i < size; ++i)
            bytes += static_cast<char>((value >> (8 * (m_bBig ? size - 1 - i : i))) & 0xFF);
        return bytes;
    }
    bool m_bExplicit, m_bBig;
};

std::string meta(std::string syntax, std::string uid) {
    for (std::string* text : {&syntax, &uid}) text->resize(text->size() + text->size() % 2, '\0');
    const Bytes plain("");
    const std::string rest = plain.Element(DicomTag(0x0002, 0x0003), "UI", uid) +
                             plain.Element(DicomTag(0x0002, 0x0010), "UI", syntax);
    return std::string(128, '\0') + "DICM" +
           plain.Element(DicomTag(0x0002, 0x0000), "UL", plain.Length(rest.size())) + rest;
}

/// Every kind of length that must go along with a change, in every byte order, and a file cut anywhere.
TEST_F(Save, EditorKeepsLengthsTrueAndSurvivesAnyCut) {
    const std::string path = m_Directory / "image.dcm";
    for (const char* syntax : {"1.2.840.10008.1.2", "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.2"}) {
        for (const bool isUndefined : {false, true}) {
            SCOPED_TRACE(std::string(syntax) + (isUndefined ? " undefined" : " defined"));
            const Bytes make(syntax);
            const auto file = [&](const std::string& uid, const std::string& window,
                                  const std::string& added) {
                const std::string voi = make.Element(
                    tag::kFrameVoiLutSequence, "SQ",
                    make.Item(make.Element(tag::kWindowCenter, "DS", window), isUndefined), isUndefined);
                const std::string identity = make.Element(tag::kSopInstance, "UI", uid);
                return meta(syntax, uid) +
                       make.Element(DicomTag(0x0008, 0x0000), "UL", make.Length(identity.size())) + identity +
                       make.Element(DicomTag(0x0009, 0x1001), "UN", "odd?") + added +
                       make.Element(tag::kPerFrameFunctionalGroups, "SQ",
                                    make.Item(make.Element(DicomTag(0x0020, 0x9056), "SH", "1 ")) +
                                        make.Item(voi, isUndefined),
                                    isUndefined) +
                       make.Element(tag::kPixelData, "OW", "12345678") + "fill";
            };
            support::WriteFile(path, file("2.25.1", "40", ""));
            DicomEditor editor(path);
            EXPECT_EQ(editor.Encode(), support::ReadFile(path));
            editor.PutInstance("2.25.1234");
            editor.Put(tag::kWindowCenter, text("DS", "-1234"),
                       {{tag::kPerFrameFunctionalGroups, 1}, {tag::kFrameVoiLutSequence, 0}});
            editor.Put(DicomTag(0x0028, 0x0103), {"US", std::string("\x01\x02", 2), {}});
            const std::string word = std::string(syntax) == "1.2.840.10008.1.2.2" ? "\x02\x01" : "\x01\x02";
            EXPECT_EQ(editor.Encode(), file("2.25.1234" + std::string(1, '\0'), "-1234 ",
                                            make.Element(DicomTag(0x0028, 0x0103), "US", word)));
            const std::string whole = support::ReadFile(path);
            for (std::size_t size = 0; size < whole.size(); ++size) {
                support::WriteFile(path, whole.substr(0, size));
                try {
                    DicomEditor cut(path);
                    cut.Put(tag::kWindowCenter, text("DS", "50"),
                            {{tag::kPerFrameFunctionalGroups, 1}, {tag::kFrameVoiLutSequence, 0}});
                    cut.Encode();
                } catch (const PresentError&) {
                }
            }
        }
    }
}

}  // namespace
