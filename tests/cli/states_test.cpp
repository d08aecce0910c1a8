#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <set>

#include "io/dicom_reader.h"
#include "io/number.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "present/explanation.h"
#include "present/state_file.h"
#include "program_support.h"

namespace {

using support::Outcome;

/// A number from the environment, for longer runs by hand.
unsigned setting(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

class States : public support::ProgramTest {
protected:
    static void SetUpTestSuite() { LoadConfiguration(""); }

    /// Small images of every rescale that makes a difference.
    std::vector<std::string> WriteRamps() {
        const struct {
            const char *name, *slope, *intercept, *photometric;
            int bits, sign;
        } kinds[] = {
            {"signed8", "1", "0", "MONOCHROME2", 8, 1},
            {"signed16", "1", "-1024", "MONOCHROME1", 16, 1},
            {"falling", "-1", "100", "MONOCHROME2", 8, 0},
            {"falling-signed", "-2", "0", "MONOCHROME1", 12, 1},
            {"steep", "2.5", "-0.5", "MONOCHROME2", 12, 0},
            {"half", "0.5", "0.25", "MONOCHROME2", 12, 0},
            {"fine", "0.001", "0.5", "MONOCHROME1", 8, 0},
            {"fine-falling", "-0.00003", "0.5", "MONOCHROME2", 16, 1},
            {"odd", "1.23456789012", "-10.5", "MONOCHROME2", 12, 0},
        };
        std::vector<std::string> paths;
        for (const auto& kind : kinds) {
            DicomDataSet set = support::Ramp(
                "MR", {{tag::kRescaleSlope, kind.slope}, {tag::kRescaleIntercept, kind.intercept}}, 16,
                kind.bits);
            set.PutText(tag::kPhotometricInterpretation, "CS", kind.photometric);
            set.PutWord(tag::kPixelRepresentation, "US", kind.sign);
            PutStudy(set);
            paths.push_back(m_Directory / (std::string(kind.name) + ".dcm"));
            support::WriteImage(paths.back(), set);
        }
        return paths;
    }
    /// The UIDs by which a state refers to an image.
    static void PutStudy(DicomDataSet& set) {
        set.PutText(DicomTag(0x0020, 0x000D), "UI", "2.25.1");
        set.PutText(DicomTag(0x0020, 0x000E), "UI", "2.25.2");
    }

    /// The built-in samples and the real images that are in grey and sound.
    std::vector<std::string> MonochromeImages() {
        std::vector<std::string> paths;
        const auto take = [&](const std::string& path) {
            try {
                if (!DicomFile::Load(path).IsColour()) paths.push_back(path);
            } catch (const PresentError&) {
            }
        };
        for (const std::string& path : WriteSamples(m_Directory / "samples")) take(path);
        for (const std::string& path : WriteRamps()) take(path);
        if (support::TestData().empty()) return paths;
        for (const auto& row : support::Manifest()) take(support::TestData() + "/" + row.at("file"));
        return paths;
    }
};

// ---- Presentations at random

class Chance {
public:
    explicit Chance(unsigned seed) : m_Random(seed) {}

    bool Of(double share) { return Between(0.0, 1.0) < share; }
    double Between(double low, double high) {
        return low + (high - low) * static_cast<double>(m_Random()) / 4294967295.0;
    }
    int Whole(int low, int high) {
        return static_cast<int>(std::min(std::floor(Between(low, high + 1.0)), double(high)));
    }
    template <class Value, std::size_t count>
    Value One(const Value (&values)[count]) {
        return values[static_cast<std::size_t>(Whole(0, static_cast<int>(count) - 1))];
    }

private:
    std::mt19937 m_Random;
};

constexpr const char* kMaps[] = {"Hot Iron", "PET 20 Step", "Inverted grayscale"};

/// A choice that a presentation state can hold.
DrawingOptions any_presentation(Chance& chance, OpenedImage& image) {
    DrawingOptions options;
    PresentationOptions& shown = options.presentation;
    const auto range = image.ModalityRange().value_or(std::make_pair(0.0, 100.0));
    const double span = range.second > range.first ? range.second - range.first : 1.0;
    const int entries = static_cast<int>(image.Params().GetVoiLutEntryCount());
    const int kind = span < 60.0 ? chance.Whole(3, 5) : chance.Whole(0, 5);
    if (kind == 4 && entries > 0) shown.voi = chance.Whole(0, entries - 1);
    if (kind == 5) {
        shown.center = chance.Between(range.first, range.second);
        shown.width = span * chance.Between(0.001, 0.1);
    }
    if (kind == 1 || kind == 2) {
        shown.center = std::round(chance.Between(range.first, range.second));
        shown.width = kind == 1 ? std::max(1.0, std::round(span * chance.Between(0.05, 1.2)))
                                : double(chance.Whole(1, 60));
    }
    shown.automatic = kind == 3;
    shown.invert = chance.Of(0.4);
    if (chance.Of(0.3))
        shown.gamma = static_cast<float>(std::round(chance.Between(0.3, 3.0) * 100.0) / 100.0);
    if (chance.Of(0.2)) shown.colourMap = chance.One(kMaps);
    ViewOptions& view = options.view;
    if (chance.Of(0.3)) view.rotate = chance.One({90.0, 180.0, 270.0, -90.0});
    if (chance.Of(0.3)) view.flip = chance.One({"h", "v", "hv"});
    if (chance.Of(0.2)) view.zoom = chance.One({0.5, 2.0, 1.7});
    return options;
}

std::string as_text(const DrawingOptions& options) {
    const PresentationOptions& shown = options.presentation;
    const ViewOptions& view = options.view;
    std::string text;
    if (shown.center)
        text += " --center " + NumberText(*shown.center) + " --width " + NumberText(*shown.width);
    if (shown.automatic) text += " --auto";
    if (shown.voi) text += " --voi " + std::to_string(*shown.voi);
    if (shown.frame > 0) text += " --frame " + std::to_string(shown.frame);
    if (shown.invert) text += " --invert";
    if (shown.gamma) text += " --gamma " + NumberText(double{*shown.gamma});
    if (shown.colourMap) text += " --colormap '" + *shown.colourMap + "'";
    if (view.rotate) text += " --rotate " + NumberText(*view.rotate);
    if (!view.flip.empty()) text += " --flip " + view.flip;
    if (view.zoom) text += " --zoom " + NumberText(*view.zoom);
    for (const std::string& region : view.regions) text += " --region '" + region + "'";
    return text;
}

std::vector<std::uint8_t> in_colour(const Picture& picture) {
    if (picture.form == Picture::kRgb) return picture.bytes;
    std::vector<std::uint8_t> bytes;
    for (const std::uint8_t level : picture.bytes) bytes.insert(bytes.end(), 3, level);
    return bytes;
}

/// "" for pictures that are equal in every pixel.
std::string difference(const Picture& a, const Picture& b) {
    if (a.width != b.width || a.height != b.height) {
        return std::to_string(a.width) + " x " + std::to_string(a.height) + " against " +
               std::to_string(b.width) + " x " + std::to_string(b.height);
    }
    const std::vector<std::uint8_t> first = in_colour(a), second = in_colour(b);
    int most = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < first.size(); ++i) {
        most = std::max(most, std::abs(first[i] - second[i]));
        count += first[i] != second[i] ? 1 : 0;
    }
    return count == 0 ? "" : std::to_string(count) + " samples, by up to " + std::to_string(most);
}

std::shared_ptr<const PresentationStates> states_in(const std::string& path) {
    return std::make_shared<PresentationStates>(path);
}

TEST_F(States, SavedAndAppliedTheyShowTheSamePicture) {
    const unsigned seed = setting("ZEV_TEST_SEED", 20261123), rounds = setting("ZEV_TEST_ROUNDS", 2);
    Chance chance(seed);
    const std::string saved = m_Directory / "state.dcm";
    for (const std::string& path : MonochromeImages()) {
        const int frames = DicomFile::Load(path).Frames();
        for (unsigned round = 0; round < rounds; ++round) {
            PresentationOptions plain;
            plain.frame = chance.Whole(0, frames - 1);
            OpenedImage opened(path, plain);
            DrawingOptions options = any_presentation(chance, opened), again;
            options.presentation.frame = again.presentation.frame = plain.frame;
            SCOPED_TRACE("seed " + std::to_string(seed) + ": " + path + as_text(options));
            try {
                OpenedImage image(path, options.presentation);
                // What a state cannot hold, the command does not save without --force.
                if (!FindLostInState(image, options.presentation, options.view).lost.empty()) continue;
                // A Presentation LUT has no more entries.
                const double span = image.ModalityWidth() / std::fabs(image.GetRescale().slope);
                if (options.presentation.gamma && span > 65535.0) continue;
                support::WriteFile(saved, EncodePresentationState(image, options.view, {}, saved));
            } catch (const PresentError& error) {
                const std::string reason = error.what();
                EXPECT_NE(reason.find("no window can be measured"), std::string::npos) << reason;
                continue;
            }
            again.presentation.states = states_in(saved);
            EXPECT_EQ(difference(DrawFrame(path, options, plain.frame).picture,
                                 DrawFrame(path, again, plain.frame).picture),
                      "");
        }
    }
}

// ---- States put together by hand

constexpr const char* kInstance = "2.25.4711";

DicomElement sequence(std::vector<DicomDataSet> items) { return {"SQ", "", std::move(items)}; }

template <class Number>
DicomElement binary(const char* vr, std::initializer_list<Number> numbers) {
    std::string bytes;
    for (const Number number : numbers) bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    return {vr, bytes, {}};
}

DicomElement decimal(const std::string& text) { return {"DS", text, {}}; }

DicomDataSet reference(const std::string& instance, const char* frames = "") {
    DicomDataSet image;
    image.PutText(tag::kReferencedSopClass, "UI", "1.2.840.10008.5.1.4.1.1.4");
    image.PutText(tag::kReferencedSopInstance, "UI", instance);
    if (*frames != '\0') image.PutText(tag::kReferencedFrameNumber, "IS", frames);
    return image;
}

/// An item of the Softcopy VOI LUT Sequence.
DicomDataSet voi(const char* center, const char* width, const char* frames = "",
                 const char* function = "LINEAR", const char* instance = kInstance) {
    DicomDataSet item;
    item.elements[tag::kReferencedImages] = sequence({reference(instance, frames)});
    item.elements[tag::kWindowCenter] = decimal(center);
    item.elements[tag::kWindowWidth] = decimal(width);
    item.PutText(tag::kVoiLutFunction, "CS", function);
    return item;
}

/// An item of the Displayed Area Selection Sequence.
DicomDataSet area(std::initializer_list<std::int32_t> first, std::initializer_list<std::int32_t> last,
                  const char* mode = "SCALE TO FIT", float ratio = 1.0F) {
    DicomDataSet item;
    item.elements[tag::kDisplayedAreaTopLeft] = binary("SL", first);
    item.elements[tag::kDisplayedAreaBottomRight] = binary("SL", last);
    item.PutText(tag::kPresentationSizeMode, "CS", mode);
    item.PutText(tag::kPresentationPixelAspectRatio, "IS", "1\\1");
    item.elements[tag::kMagnificationRatio] = binary("FL", {ratio});
    return item;
}

DicomDataSet table(int entries, int bits, std::size_t bytes) {
    DicomDataSet item;
    item.elements[tag::kLutDescriptor] = binary<std::uint16_t>(
        "US", {static_cast<std::uint16_t>(entries), 0, static_cast<std::uint16_t>(bits)});
    item.elements[tag::kLutData] = {"OW", std::string(bytes, '\x7F'), {}};
    return item;
}

/// A Grayscale state for the image of support::Ramp.
DicomDataSet state(const char* label = "TEST", const char* time = "120000", int kind = 1) {
    DicomDataSet set;
    set.PutText(tag::kSopClass, "UI", "1.2.840.10008.5.1.4.1.1.11." + std::to_string(kind));
    set.PutText(tag::kSopInstance, "UI", std::string("2.25.9") + time);
    set.PutText(tag::kModality, "CS", "PR");
    set.PutText(tag::kContentLabel, "CS", label);
    set.PutText(tag::kPresentationCreationDate, "DA", "20260101");
    set.PutText(tag::kPresentationCreationTime, "TM", time);
    DicomDataSet series;
    series.elements[tag::kReferencedImages] = sequence({reference(kInstance)});
    set.elements[tag::kReferencedSeries] = sequence({series});
    set.PutText(tag::kPresentationLutShape, "CS", "IDENTITY");
    return set;
}

/// A picture's levels along the 256 stored values of a ramp of 8 bits.
std::vector<std::uint8_t> levels_of(const std::string& image, const DrawingOptions& options) {
    std::vector<std::uint8_t> levels, samples = in_colour(DrawFrame(image, options, 0).picture);
    for (std::size_t i = 0; i < samples.size(); i += 3) levels.push_back(samples[i]);
    return levels;
}

TEST_F(States, TheOneForTheImageAndFrameIsChosen) {
    const std::string image = m_Directory / "image.dcm", other = m_Directory / "other.dcm";
    const std::string colour = m_Directory / "colour.dcm", folder = m_Directory / "states";
    DicomDataSet set = support::Ramp("MR", {{tag::kWindowCenter, "128"}, {tag::kWindowWidth, "256"}});
    set.PutText(DicomTag(0x0028, 0x0008), "IS", "2");
    set.elements[tag::kPixelData].bytes += set.elements[tag::kPixelData].bytes;
    support::WriteImage(image, set);
    set.PutText(tag::kSopInstance, "UI", "2.25.5");
    support::WriteImage(other, set);
    set.PutText(tag::kSopInstance, "UI", kInstance);
    set.PutText(tag::kPhotometricInterpretation, "CS", "RGB");
    set.PutWord(tag::kSamplesPerPixel, "US", 3);
    set.PutText(DicomTag(0x0028, 0x0008), "IS", "1");
    set.elements[tag::kPixelData].bytes.resize(3 * 256);
    support::WriteImage(colour, set);

    std::filesystem::create_directories(folder + "/deep");
    DicomDataSet older = state("OLDER", "110000"), newer = state("NEWER", "120000");
    older.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi("30", "20")});
    newer.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi("50", "40", "1"), voi("70", "60", "2")});
    support::WriteImage(folder + "/a.dcm", older);
    support::WriteImage(folder + "/deep/b.dcm", newer);
    support::WriteImage(folder + "/image.dcm", set);
    support::WriteFile(folder + "/notes.txt", "nothing");
    const std::string colourState = m_Directory / "colour-state.dcm", other5 = m_Directory / "other5.dcm",
                      second = m_Directory / "second";
    DicomDataSet ofSecond = state();
    ofSecond.elements[tag::kReferencedSeries].items[0].elements[tag::kReferencedImages] =
        sequence({reference(kInstance, "2")});
    ofSecond.elements[DicomTag(0x0028, 0x6100)] = sequence({});
    std::filesystem::create_directory(second);
    support::WriteImage(second + "/a.dcm", ofSecond);
    support::WriteImage(colourState, state("COLOUR", "120000", 2));
    support::WriteImage(other5, state("BLEND", "120000", 4));
    const struct {
        const char* name;
        std::string arguments;
        int status;
        std::string low, says;
    } cases[] = {
        {"newest", image + " --gsps " + folder, 0, "30", "another presentation state for this image"},
        {"item of the frame", image + " --frame 1 --gsps " + folder, 0, "40", "OLDER"},
        {"none in the folder", other + " --gsps " + folder, 0, "0", "is for this image"},
        {"another image's", other + " --gsps " + folder + "/a.dcm", 1, "", "belongs to another image"},
        {"another image's, forced", other + " --force --gsps " + folder + "/a.dcm", 0, "20", ""},
        {"other frames'", image + " --gsps " + second + "/a.dcm", 1, "", "is for other frames of this image"},
        {"other frames', of a folder", image + " --gsps " + second, 0, "0", "is for this frame"},
        {"of the frame alone", image + " --frame 1 --gsps " + second, 0, "0", "the mask subtraction of"},
        {"an image", image + " --force --gsps " + image, 1, "", "is not a presentation state"},
        {"of another kind", image + " --force --gsps " + other5, 1, "", "Blending"},
        {"not there", image + " --gsps none.dcm", 1, "", "No such file"},
        {"no state in the folder", image + " --gsps " + m_Logs.Path(), 1, "", "holds no presentation state"},
        {"of colour on grey", image + " --gsps " + colourState, 1, "", "is for images in colour"},
        {"of grey on colour", colour + " --gsps " + folder + "/a.dcm", 1, "", "is for images in grey"},
        {"of colour on colour", colour + " --gsps " + colourState, 0, "", ""},
        {"window of the user", image + " --center 9 --width 8 --gsps " + folder, 0, "5", ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const Outcome outcome = Run("info --json " + row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_NE((outcome.out + outcome.err).find(row.says), std::string::npos)
            << outcome.out << outcome.err;
        if (row.status == 0 && !row.low.empty()) {
            EXPECT_EQ(nlohmann::json::parse(outcome.out)["windowMin"], std::stoi(row.low));
        } else if (row.status != 0) {
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        }
    }
}

/// PS3.3 C.11.2.1: what is drawn for each stored value, within a level. With "LUT" as its shape a state has a
/// Presentation LUT that leads neither from black nor to white.
TEST_F(States, WindowsAreThoseOfTheStandard) {
    const std::vector<std::uint8_t> lut = {9, 50, 20, 200, 100};
    const struct {
        const char *name, *center, *width, *function, *slope, *intercept, *shape;
    } cases[] = {
        {"linear", "100", "50", "LINEAR", "1", "0", "IDENTITY"},
        {"inverse", "100", "50", "LINEAR", "1", "0", "INVERSE"},
        {"exact", "100", "50", "LINEAR_EXACT", "1", "0", "IDENTITY"},
        {"two levels", "100", "2", "LINEAR", "1", "0", "IDENTITY"},
        {"step between values", "100", "1", "LINEAR", "1", "0", "IDENTITY"},
        {"step at a value", "100.5", "1", "LINEAR", "1", "0", "IDENTITY"},
        {"step at a value, in halves", "100.5", "1", "LINEAR", "0.5", "50.25", "IDENTITY"},
        {"step at a value, falling", "100.5", "1", "LINEAR", "-1", "200", "IDENTITY"},
        {"falling", "100", "50", "LINEAR", "-1", "200", "IDENTITY"},
        {"fractions", "0.25", "1.1", "LINEAR", "0.001", "0.1", "IDENTITY"},
        {"beyond the pixels", "-40", "100", "LINEAR", "1", "0", "IDENTITY"},
        {"wide, ends between values", "100", "201", "LINEAR", "1", "0", "IDENTITY"},
        {"sigmoid", "100", "50", "SIGMOID", "1", "0", "IDENTITY"},
        {"narrow", "100.3", "2.3", "LINEAR", "1", "0", "IDENTITY"},
        {"narrow, falling, inverse", "100.3", "3.1", "LINEAR_EXACT", "-1", "200", "INVERSE"},
        {"narrow, beyond the pixels", "-3.2", "5.5", "LINEAR", "1", "0", "IDENTITY"},
        {"narrow, before the pixels", "300.5", "5", "LINEAR", "1", "0.25", "INVERSE"},
        {"narrow fractions", "0.2503", "0.0117", "LINEAR_EXACT", "0.001", "0.1", "IDENTITY"},
        {"sigmoid in fractions", "0.25", "0.1", "SIGMOID", "-0.001", "0.4", "INVERSE"},
        {"table", "100", "50", "LINEAR", "1", "0", "LUT"},
        {"table, narrow", "100.3", "4.7", "LINEAR", "-1", "200", "LUT"},
        {"table, beyond the pixels", "-40", "300", "LINEAR_EXACT", "1", "0", "LUT"},
    };
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm";
    support::WriteImage(image, support::Ramp("MR", {{tag::kWindowCenter, "1"}, {tag::kRescaleSlope, "7"}}));
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = state();
        set.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi(row.center, row.width, "", row.function)});
        set.elements[tag::kRescaleSlope] = decimal(row.slope);
        set.elements[tag::kRescaleIntercept] = decimal(row.intercept);
        const bool hasLut = row.shape == std::string("LUT");
        if (hasLut) {
            DicomDataSet item = table(5, 8, 5);
            item.elements[tag::kLutData].bytes.assign(lut.begin(), lut.end());
            set.elements[tag::kPresentationLutSequence] = sequence({item});
        } else {
            set.PutText(tag::kPresentationLutShape, "CS", row.shape);
        }
        support::WriteImage(path, set);
        DrawingOptions options;
        options.presentation.states = states_in(path);
        const std::vector<std::uint8_t> levels = levels_of(image, options);
        ASSERT_EQ(levels.size(), 256U);
        // Turned over, and with a window of the user's, which leaves nothing of the state's.
        options.presentation.invert = true;
        const std::vector<std::uint8_t> turned = levels_of(image, options);
        options.presentation.invert = false;
        options.presentation.center = 0.2, options.presentation.width = 0.1;
        const std::vector<std::uint8_t> other = levels_of(image, options);
        set.elements.erase(tag::kSoftcopyVoiLutSequence);
        support::WriteImage(path, set);
        options.presentation.states = states_in(path);
        EXPECT_EQ(other, levels_of(image, options));
        const double c = std::stod(row.center), w = std::stod(row.width);
        for (int v = 0; v < 256; ++v) {
            const double x = v * std::stod(row.slope) + std::stod(row.intercept);
            const std::string function = row.function;
            double y = 0.0;
            if (function == "SIGMOID") {
                y = 1.0 / (1.0 + std::exp(-4.0 * (x - c) / w));
            } else if (function == "LINEAR_EXACT") {
                y = x <= c - w / 2 ? 0.0 : x > c + w / 2 ? 1.0 : (x - c) / w + 0.5;
            } else {
                y = x <= c - 0.5 - (w - 1) / 2  ? 0.0
                    : x > c - 0.5 + (w - 1) / 2 ? 1.0
                                                : (x - (c - 0.5)) / (w - 1) + 0.5;
            }
            if (row.shape == std::string("INVERSE")) y = 1.0 - y;
            if (hasLut) y = lut[static_cast<std::size_t>(std::lround(y * 4))] / 255.0;
            EXPECT_NEAR(levels[static_cast<std::size_t>(v)], 255.0 * y, 1.65) << v;
            EXPECT_EQ(turned[static_cast<std::size_t>(v)], 255 - levels[static_cast<std::size_t>(v)]) << v;
        }
    }
}

/// Of a table for all of 65,536 stored values two take the level of the one before.
TEST_F(States, ATableForEveryWord) {
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm";
    DicomDataSet pixels = support::Ramp("MR", {});
    std::string words, levels;
    for (unsigned v = 0; v < 65536; ++v) {
        for (const unsigned byte : {v & 0xFF, v >> 8}) words += static_cast<char>(byte);
        for (const unsigned byte : {0U, v * 7919 % 251}) levels += static_cast<char>(byte);
    }
    pixels.elements[tag::kPixelData] = {"OW", words, {}};
    for (const std::uint32_t tag : {tag::kRows, tag::kColumns}) pixels.PutWord(tag, "US", 256);
    for (const std::uint32_t tag : {tag::kBitsAllocated, tag::kBitsStored}) pixels.PutWord(tag, "US", 16);
    pixels.PutWord(tag::kHighBit, "US", 15);
    support::WriteImage(image, pixels);
    DicomDataSet set = state(), item = table(0, 16, 0);
    item.elements[tag::kLutData].bytes = levels;
    set.elements[tag::kPresentationLutSequence] = sequence({item});
    set.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi("32767.5", "65535", "", "LINEAR_EXACT")});
    support::WriteImage(path, set);
    DrawingOptions options;
    options.presentation.states = states_in(path);
    const std::vector<std::uint8_t> shown = levels_of(image, options);
    ASSERT_EQ(shown.size(), 65536U);
    std::vector<unsigned> wrong;
    for (unsigned v = 0; v < 65536; ++v) {
        const double wanted = static_cast<double>(v * 7919 % 251 * 256) * 255 / 65535;
        if (std::fabs(shown[v] - wanted) > 0.51) wrong.push_back(v);
    }
    EXPECT_EQ(wrong, (std::vector<unsigned>{16384, 49152}));
}

TEST_F(States, HostileOnesGetOneLine) {
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm";
    DicomDataSet pixels = support::Ramp("MR", {});
    PutStudy(pixels);
    support::WriteImage(image, pixels);
    const auto with = [](std::uint32_t tag, DicomElement element) {
        DicomDataSet set = state();
        set.elements[tag] = std::move(element);
        return set;
    };
    const auto with_voi = [&](const char* center, const char* width, const char* function = "LINEAR") {
        return with(tag::kSoftcopyVoiLutSequence, sequence({voi(center, width, "", function)}));
    };
    const auto with_area = [&](const DicomDataSet& item) {
        return with(tag::kDisplayedAreaSequence, sequence({item}));
    };
    const auto with_table = [&](std::uint32_t tag, const DicomDataSet& item) {
        if (tag != tag::kVoiLutSequence) return with(tag, sequence({item}));
        DicomDataSet softcopy = item;
        softcopy.elements = {{tag::kVoiLutSequence, sequence({item})}};
        return with(tag::kSoftcopyVoiLutSequence, sequence({softcopy}));
    };
    DicomDataSet nested;
    for (int depth = 0; depth < 60; ++depth) {
        DicomDataSet outer;
        outer.elements[tag::kSoftcopyVoiLutSequence] = sequence({nested});
        nested = outer;
    }
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        const char* name;
        DicomDataSet set;
        /// Empty where it is to be applied.
        const char* says;
    } cases[] = {
        {"sound", with_voi("40", "80"), ""},
        {"width 0", with_voi("40", "0"), "is not one"},
        {"width 0, exact", with_voi("40", "0", "LINEAR_EXACT"), "is not one"},
        {"width 0, sigmoid", with_voi("40", "0", "SIGMOID"), "is not one"},
        {"negative width", with_voi("40", "-5"), "is not one"},
        {"width of words", with_voi("40", "wide"), "is not one"},
        {"not a number", with_voi("nan", "80"), "is not one"},
        {"endless width", with_voi("40", "1e300"), "is not one"},
        {"no width", with_voi("40", ""), "is not one"},
        {"slope 0", with(tag::kRescaleSlope, decimal("0")), "rescale slope"},
        {"slope of words", with(tag::kRescaleSlope, decimal("steep")), "rescale slope"},
        {"slope of another form", with(tag::kRescaleSlope, {"LO", "0 ", {}}), "rescale slope"},
        {"vanishing slope", with(tag::kRescaleSlope, decimal("1e-300")), "rescale slope"},
        {"intercept", with(tag::kRescaleIntercept, decimal("1e300")), "rescale"},
        {"rotation", with(tag::kImageRotation, binary<std::uint16_t>("US", {45})), "quarter turns"},
        {"area of 2^31", with_area(area({-kMost, -kMost}, {kMost, kMost})), "beyond all reason"},
        {"area without corners", with_area(area({}, {})), "no corners"},
        {"area of one number", with_area(area({1}, {16})), "no corners"},
        {"magnification 0", with_area(area({1, 1}, {16, 16}, "MAGNIFY", 0.0F)), "magnification"},
        {"magnification 1000", with_area(area({1, 1}, {16, 16}, "MAGNIFY", 1000.0F)), "--size shows a part"},
        {"magnification 1e30", with_area(area({1, 1}, {16, 16}, "MAGNIFY", 1e30F)), "magnification"},
        {"magnification NaN", with_area(area({1, 1}, {16, 16}, "MAGNIFY", kNan)), "magnification"},
        {"true size", with_area(area({1, 1}, {16, 16}, "TRUE SIZE")), "pixel spacing"},
        {"modality table of a byte", with_table(tag::kModalityLutSequence, table(256, 16, 1)),
         "Modality LUT"},
        {"VOI table of a byte", with_table(tag::kVoiLutSequence, table(256, 8, 1)), "VOI LUT"},
        {"VOI table of 0 bits", with_table(tag::kVoiLutSequence, table(256, 0, 512)), "VOI LUT"},
        {"VOI table of 65536", with_table(tag::kVoiLutSequence, table(0, 16, 512)), "VOI LUT"},
        {"levels of a byte", with_table(tag::kPresentationLutSequence, table(4, 16, 1)), "Presentation LUT"},
        {"empty table", with(tag::kModalityLutSequence, sequence({})), "Modality LUT"},
        {"empty item", with(tag::kPresentationLutSequence, sequence({DicomDataSet()})), "Presentation LUT"},
        {"empty windows", with(tag::kSoftcopyVoiLutSequence, sequence({})), ""},
        {"empty areas", with(tag::kDisplayedAreaSequence, sequence({})), ""},
        {"nested", with(tag::kSoftcopyVoiLutSequence, sequence({nested})), ""},
        {"sequence as text", with(tag::kSoftcopyVoiLutSequence, {"UN", "text", {}}), ""},
        {"references of no one", with(tag::kReferencedSeries, sequence({DicomDataSet()})),
         "refers to no image"},
        {"pseudo-colour without palette", state("PSEUDO", "120000", 3), "palette"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        support::WriteImage(path, row.set);
        const Outcome outcome =
            Run("render " + image + " --gsps " + path + " -o " + m_Directory / "picture.png");
        const bool isGood = *row.says == '\0';
        EXPECT_EQ(outcome.status, isGood ? 0 : 1);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), isGood ? 0 : 1) << outcome.err;
        EXPECT_NE(outcome.err.find(row.says), std::string::npos) << outcome.err;
    }

    // Cut anywhere: applied or refused.
    support::WriteImage(path, with_voi("40", "80"));
    const std::string whole = support::ReadFile(path);
    DrawingOptions options;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        support::WriteFile(path, whole.substr(0, size));
        try {
            options.presentation.states = states_in(path);
            DrawFrame(image, options, 0);
        } catch (const PresentError&) {
        }
    }
}

// ---- What is saved

DicomDataSet saved_state(OpenedImage& image, const ViewOptions& view, const StateTexts& texts,
                         const std::string& path) {
    support::WriteFile(path, EncodePresentationState(image, view, texts, path));
    return ReadDicomDataSet(path);
}

/// Corners are those on the screen, in pixels of the image, of which the parts that are shown count as whole.
TEST_F(States, DisplayedAreasAreInWholePixels) {
    DicomDataSet pixels = support::Ramp("MR", {});
    PutStudy(pixels);
    support::WriteImage(m_Directory / "image.dcm", pixels);
    const struct {
        const char* name;
        double zoom, pan, rotate;
        const char *flip, *size;
        std::vector<double> first, last;
        int rotation;
    } cases[] = {
        {"whole", 1, 0, 0, "", "", {1, 1}, {16, 16}, 0},
        {"beyond the image", 1, 0, 0, "", "18x20", {0, -1}, {17, 18}, 0},
        {"a quarter", 2, -16, 0, "", "16x16", {13, 13}, {20, 20}, 0},
        {"turned", 1, 0, 90, "", "", {1, 16}, {16, 1}, 90},
        {"flipped downward", 1, 2, 0, "v", "16x16", {-1, 18}, {14, 3}, 180},
        {"part of one pixel", 100, 20, 0, "", "30x30", {8, 8}, {8, 8}, 0},
        {"part of one pixel, flipped", 100, 20, 0, "h", "30x30", {9, 8}, {9, 8}, 0},
        {"to the next quarter turn", 1, 0, 80, "", "16x16", {1, 16}, {16, 1}, 90},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        ViewOptions view;
        view.zoom = row.zoom, view.rotate = row.rotate, view.flip = row.flip, view.size = row.size;
        if (row.pan != 0) view.pan = {row.pan, row.pan};
        OpenedImage image(m_Directory / "image.dcm", {});
        const DicomDataSet set = saved_state(image, view, {}, m_Directory / "state.dcm");
        const DicomDataSet& item = *set.FirstItem(tag::kDisplayedAreaSequence);
        EXPECT_EQ(item.Numbers(tag::kDisplayedAreaTopLeft), row.first);
        EXPECT_EQ(item.Numbers(tag::kDisplayedAreaBottomRight), row.last);
        EXPECT_EQ(set.Word(tag::kImageRotation, 0), row.rotation);
    }
    OpenedImage image(m_Directory / "image.dcm", {});
    ViewOptions view;
    view.zoom = 2.0, view.smooth = true;
    EXPECT_EQ(FindLostInState(image, {}, view).lost.size(), 1U);
    // A very large area is shown as large as a picture may be.
    DicomDataSet large = state();
    large.elements[tag::kDisplayedAreaSequence] = sequence({area({-499999, -499999}, {500000, 500000})});
    support::WriteImage(m_Directory / "large.dcm", large);
    PresentationOptions options;
    options.states = states_in(m_Directory / "large.dcm");
    EXPECT_EQ(PlaceImage(OpenedImage(m_Directory / "image.dcm", options), {}).width, 8192);
}

/// A window of one frame is not saved for the others, nor an annotation of another image.
TEST_F(States, WhatIsOfOneFrameRefersToIt) {
    const std::string path = m_Directory / "image.dcm";
    DicomDataSet pixels = support::Ramp("MR", {}), set = state();
    PutStudy(pixels);
    pixels.PutText(DicomTag(0x0028, 0x0008), "IS", "2");
    pixels.elements[tag::kPixelData].bytes += pixels.elements[tag::kPixelData].bytes;
    support::WriteImage(path, pixels);
    const std::uint32_t annotations = DicomTag(0x0070, 0x0001);
    for (const char* frames : {"1", "1\\2", ""}) {
        SCOPED_TRACE(frames);
        set.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi("50", "40", frames)});
        set.elements[annotations] = sequence({voi("", ""), voi("", "", "", "", "2.25.5"), DicomDataSet()});
        support::WriteImage(m_Directory / "state.dcm", set);
        PresentationOptions options;
        options.states = states_in(m_Directory / "state.dcm");
        OpenedImage image(path, options);
        const DicomDataSet saved = saved_state(image, {}, {}, m_Directory / "again.dcm");
        ASSERT_TRUE(saved.Has(annotations));
        EXPECT_EQ(saved.Find(annotations)->items.size(), 2U);
        EXPECT_EQ(ReadPresentationState(m_Directory / "again.dcm").RefersTo(kInstance, 1),
                  frames != std::string("1"));
    }
}

/// The display-parameter file beside a state keeps that the window is to be measured, the state the window.
TEST_F(States, AutomaticWindowsStayAutomatic) {
    const std::string image = m_Directory / "image.dcm", saved = m_Directory / "state.dcm",
                      parameters = m_Directory / "parameters.dcm";
    DicomDataSet pixels = support::Ramp("MR", {{tag::kWindowCenter, "40"}, {tag::kWindowWidth, "9"}});
    PutStudy(pixels);
    support::WriteImage(image, pixels);
    const std::string save = "save " + image + " --auto --gsps-out " + saved;
    EXPECT_EQ(Run(save).status, 2);
    ASSERT_EQ(Run(save + " --ddp-out " + parameters).status, 0);
    const std::string measured = Ask("info --json --auto " + image)["windowMin"].dump();
    for (const auto& [options, source] :
         {std::make_pair(" --ddp " + parameters, "automatic"), {" --gsps " + saved, "presentation-state"}}) {
        const auto info = Ask("info --json " + image + options);
        EXPECT_EQ(info["windowSource"], source);
        EXPECT_EQ(info["windowMin"].dump(), measured);
    }
}

/// Where the file has no window, but a windowing entry by its name, the state's is not touched.
TEST_F(States, DisplayParametersWithoutAWindowLeaveIt) {
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm",
                      parameters = m_Directory / "parameters.dcm";
    support::WriteImage(image, support::Ramp("MR", {{tag::kWindowCenter, "40"}, {tag::kWindowWidth, "9"}}));
    ASSERT_EQ(Run("save " + image + " --mode 4 --ddp-out " + parameters).status, 0);
    for (const auto& [center, width] : {std::make_pair("100", "51"), {"100.3", "2.3"}, {"100", "50"}}) {
        DicomDataSet set = state();
        set.elements[tag::kSoftcopyVoiLutSequence] = sequence({voi(center, width, "", "LINEAR_EXACT")});
        support::WriteImage(path, set);
        DrawingOptions options;
        options.presentation.states = states_in(path);
        const std::vector<std::uint8_t> levels = levels_of(image, options);
        options.presentation.displayParameters = parameters;
        EXPECT_EQ(levels_of(image, options), levels) << center;
    }
}

/// Texts of the image, the state that was applied and the user come from three character sets.
TEST_F(States, TextsAreSavedInOneCharacterSet) {
    const std::uint32_t name = DicomTag(0x0010, 0x0010), explanation = DicomTag(0x0028, 0x3003);
    const std::string path = m_Directory / "image.dcm";
    DicomDataSet pixels = support::Ramp("MR", {}), set = state(), curve = table(256, 8, 256), softcopy;
    PutStudy(pixels);
    curve.PutText(explanation, "LO", "gr\xC3\xBCn");
    softcopy.elements[tag::kVoiLutSequence] = sequence({curve});
    set.elements[tag::kSoftcopyVoiLutSequence] = sequence({softcopy});
    set.elements[tag::kModalityLutSequence] = sequence({curve});
    set.PutText(tag::kSpecificCharacterSet, "CS", "ISO_IR 192");
    support::WriteImage(m_Directory / "state.dcm", set);
    pixels.PutText(tag::kSpecificCharacterSet, "CS", "ISO_IR 100");
    pixels.PutText(name, "PN", "M\xFCller");
    support::WriteImage(path, pixels);
    PresentationOptions options;
    options.states = states_in(m_Directory / "state.dcm");
    OpenedImage image(path, options);
    StateTexts texts;
    texts.description = "gr\xC3\xBC\xC3\x9F";
    const DicomDataSet saved = saved_state(image, {}, texts, m_Directory / "again.dcm");
    EXPECT_EQ(saved.Text(tag::kSpecificCharacterSet), "ISO_IR 192");
    EXPECT_EQ(saved.Text(name), "M\xC3\xBCller");
    EXPECT_EQ(saved.Text(tag::kContentDescription), texts.description);
    EXPECT_EQ(saved.FirstItem(tag::kModalityLutSequence)->Text(explanation), "gr\xC3\xBCn");
    EXPECT_EQ(
        saved.FirstItem(tag::kSoftcopyVoiLutSequence)->FirstItem(tag::kVoiLutSequence)->Text(explanation),
        "gr\xC3\xBCn");

    // 64 characters, whatever their bytes; and none that are not UTF-8.
    for (const auto& [count, sign, isGood] :
         {std::make_tuple(64, "\xC3\xBC", true), {65, "a", false}, {1, "\xFC", false}}) {
        texts.description.clear();
        for (int i = 0; i < count; ++i) texts.description += sign;
        if (isGood) {
            EXPECT_NO_THROW(EncodePresentationState(image, {}, texts, path));
        } else {
            EXPECT_THROW(EncodePresentationState(image, {}, texts, path), UsageError);
        }
    }
    // Without other than ASCII nothing is declared.
    pixels.PutText(name, "PN", "Mueller");
    support::WriteImage(path, pixels);
    OpenedImage plain(path, {});
    EXPECT_FALSE(saved_state(plain, {}, {}, m_Directory / "again.dcm").Has(tag::kSpecificCharacterSet));
}

// ---- Explanations

std::uint32_t colour_of(const Picture& picture, int x, int y) {
    const std::vector<std::uint8_t> samples = in_colour(picture);
    const std::size_t at = 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                                static_cast<std::size_t>(x));
    return std::uint32_t{samples[at]} << 16 | std::uint32_t{samples[at + 1]} << 8 | samples[at + 2];
}

const ExplainedStep* step_of(const Explanation& explanation, const std::string& name) {
    for (const ExplainedStep& step : explanation.steps) {
        if (step.name == name) return &step;
    }
    return nullptr;
}

/// The last step of an explanation is the pixel of the picture.
TEST_F(States, ExplanationsEndInThePicture) {
    const unsigned seed = setting("ZEV_TEST_SEED", 20261123), rounds = setting("ZEV_TEST_ROUNDS", 3);
    Chance chance(seed);
    std::vector<std::string> paths = MonochromeImages();
    for (const std::string& path : WriteSamples(m_Directory / "samples")) paths.push_back(path);
    const std::string saved = m_Directory / "state.dcm";
    int compared = 0;
    for (const std::string& path : paths) {
        for (unsigned round = 0; round < rounds; ++round) {
            OpenedImage opened(path, PresentationOptions());
            const bool isColour = opened.File().IsColour();
            const int columns = opened.File().Columns(), rows = opened.File().Rows();
            DrawingOptions options = any_presentation(chance, opened);
            if (isColour) options.presentation = PresentationOptions();
            if (!isColour && chance.Of(0.4)) {
                options.view.regions.push_back("rect:0,0," + std::to_string(columns / 2) + "," +
                                               std::to_string(rows / 2) + ";center=40;width=300;invert");
            }
            if (chance.Of(0.2)) options.overlayColour = "red";
            SCOPED_TRACE("seed " + std::to_string(seed) + ": " + path + as_text(options));
            try {
                if (chance.Of(0.3)) {
                    support::WriteFile(saved, EncodePresentationState(opened, ViewOptions(), {}, saved));
                    options.presentation.states = states_in(saved);
                    options.presentation.voi.reset();
                }
                OpenedImage image(path, options.presentation);
                std::vector<ImagePoint> points;
                for (int i = 0; i < 20; ++i)
                    points.push_back({chance.Whole(0, columns - 1), chance.Whole(0, rows - 1)});
                const std::vector<Explanation> found = Explain(image, options, points);
                ASSERT_EQ(found.size(), points.size() + 1);
                OpenedImage again(path, options.presentation);
                const Picture picture = DrawImage(again, options, nullptr);
                const SPC_Affine toScreen =
                    PlaceImage(again, options.view).space.GetScreen2Raster().Inverse();
                for (std::size_t i = 0; i < points.size(); ++i) {
                    const Explanation& one = found[i + 1];
                    const double x = points[i].x + 0.5, y = points[i].y + 0.5;
                    const int sx = static_cast<int>(std::floor(toScreen.X(x, y))),
                              sy = static_cast<int>(std::floor(toScreen.Y(x, y)));
                    const bool isThere = sx >= 0 && sy >= 0 && sx < picture.width && sy < picture.height;
                    ASSERT_EQ(one.display.has_value(), isThere);
                    if (isThere) {
                        EXPECT_EQ(*one.display, colour_of(picture, sx, sy));
                    }
                    ++compared;
                    const ExplainedStep *const level = step_of(one, "level"),
                                               *const standard = step_of(one, "standard"),
                                               *const padding = step_of(one, "padding");
                    const bool isPadding = padding != nullptr && padding->text.rfind("is padding", 0) == 0;
                    // The width below is that of the image, not of a region.
                    const bool isInRegion = step_of(one, "region") != nullptr;
                    if (level == nullptr || standard == nullptr || isPadding || isInRegion) continue;
                    const double span = image.ModalityWidth() / std::fabs(image.GetRescale().slope);
                    // What rounding moved the ends by, and what LINEAR has less than the exact function.
                    const ExplainedStep* const ends = step_of(one, "stored-window");
                    const double cost = ends->value.value_or(1.0);
                    EXPECT_NEAR(*level->value, *standard->value,
                                1.5 + 255.0 * (cost / std::max(1.0, span - cost) +
                                               1.0 / std::max(1.0, image.ModalityWidth() - 1.0)))
                        << standard->text << ", " << ends->text;
                }
            } catch (const PresentError& error) {
                const std::string reason = error.what();
                EXPECT_NE(reason.find("no window can be measured"), std::string::npos) << reason;
            }
        }
    }
    EXPECT_GT(compared, 500);
}

TEST_F(States, ExplainNamesThePointThatItCannotTake) {
    const std::string image = m_Directory / "image.dcm";
    support::WriteImage(image, support::Ramp("MR", {}));
    for (const char* point : {"16,0", "0,16", "-1,0", "0", "a,b", "1,2,3", "0.5,0", "", ",", "1e30,0"}) {
        SCOPED_TRACE(point);
        const Outcome outcome = Run("explain " + image + " --at '" + point + "'");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find("--at"), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(Ask("explain --json --at 15,15 --at 0,0 " + image)["points"].size(), 2U);
    EXPECT_EQ(Ask("explain --json " + image)["points"].size(), 0U);
    // A pixel that the file lacks has no value and no level.
    DicomDataSet cut = support::Ramp("MR", {});
    cut.elements[tag::kPixelData].bytes.resize(cut.elements[tag::kPixelData].bytes.size() / 2);
    support::WriteImage(image, cut);
    const auto missing = Ask("explain --json --partial --at 15,15 " + image)["points"][0]["steps"];
    ASSERT_EQ(missing.size(), 3U);
    EXPECT_NE(missing[0]["text"].get<std::string>().find("cut short"), std::string::npos);
    DicomDataSet colour = support::Ramp("MR", {});
    colour.PutText(tag::kPhotometricInterpretation, "CS", "RGB");
    colour.PutWord(tag::kSamplesPerPixel, "US", 3);
    colour.elements[tag::kPixelData].bytes.resize(3 * 256, '\x07');
    support::WriteImage(image, colour);
    const auto steps = Ask("explain --json --at 0,0 --at 15,15 " + image)["points"];
    EXPECT_EQ(steps[0]["steps"][0]["text"], "column 0, row 0: 0, 1, 2 as RGB");
    EXPECT_EQ(steps[1]["steps"][0]["text"], "column 15, row 15: 7, 7, 7 as RGB");
}

/// Who inverted: the image, a state, or the user over either.
TEST_F(States, ExplainSaysWhoInverted) {
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm";
    const struct {
        const char *photometric, *shape, *options, *text;
    } cases[] = {
        {"MONOCHROME2", "", "", "low values are dark"},
        {"MONOCHROME1", "", "", "low values are bright, by the image"},
        {"MONOCHROME1", "", "--invert", "low values are dark, by choice of the user"},
        {"MONOCHROME2", "", "--invert", "low values are bright, by choice of the user"},
        {"MONOCHROME1", "IDENTITY", "", "low values are dark, by the presentation state"},
        {"MONOCHROME2", "INVERSE", "", "low values are bright, by the presentation state"},
        {"MONOCHROME2", "IDENTITY", "--invert", "low values are bright, by choice of the user"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.photometric) + " " + row.shape + " " + row.options);
        DicomDataSet pixels = support::Ramp("MR", {}), set = state();
        pixels.PutText(tag::kPhotometricInterpretation, "CS", row.photometric);
        set.PutText(tag::kPresentationLutShape, "CS", row.shape);
        support::WriteImage(image, pixels);
        support::WriteImage(path, set);
        const auto steps = Ask("explain --json " + image + " " + row.options +
                               (*row.shape == '\0' ? std::string() : " --gsps " + path))["image"];
        const auto found = std::find_if(steps.begin(), steps.end(),
                                        [](const auto& step) { return step["step"] == "inversion"; });
        ASSERT_NE(found, steps.end());
        EXPECT_EQ((*found)["text"], row.text);
    }
}

/// Overlays lie among the annotations, each in its graphic layer.
TEST_F(States, GraphicLayersComeInTheirOrder) {
    const std::string image = m_Directory / "image.dcm", path = m_Directory / "state.dcm";
    DicomDataSet pixels = support::Ramp("MR", {}), set = state();
    PutStudy(pixels);
    support::WriteImage(image, pixels);
    set.elements[DicomTag(0x0070, 0x0060)] = sequence({});
    for (const int order : {1, 2, 3}) {
        DicomDataSet layer;
        layer.PutText(DicomTag(0x0070, 0x0002), "CS", "L" + std::to_string(order));
        layer.PutText(DicomTag(0x0070, 0x0062), "IS", std::to_string(order));
        layer.PutWord(DicomTag(0x0070, 0x0066), "US", 0x4000);
        set.elements[DicomTag(0x0070, 0x0060)].items.push_back(layer);
    }
    for (const unsigned group : {0x6000U, 0x6002U}) {
        set.PutWord(DicomTag(group, 0x0010), "US", 4);
        set.PutWord(DicomTag(group, 0x0011), "US", 4);
        set.elements[DicomTag(group, 0x3000)] = {"OW", "\xFF\xFF", {}};
        set.PutText(DicomTag(group, 0x1001), "CS", group == 0x6000 ? "L3" : "L1");
    }
    DicomDataSet annotation, line;
    line.PutText(DicomTag(0x0070, 0x0005), "CS", "PIXEL");
    line.PutText(DicomTag(0x0070, 0x0023), "CS", "POLYLINE");
    line.elements[DicomTag(0x0070, 0x0022)] = binary<float>("FL", {0.0F, 1.5F, 8.0F, 1.5F});
    annotation.PutText(DicomTag(0x0070, 0x0002), "CS", "L2");
    annotation.elements[DicomTag(0x0070, 0x0009)] = sequence({line});
    set.elements[DicomTag(0x0070, 0x0001)] = sequence({annotation});
    support::WriteImage(path, set);
    std::vector<std::string> names;
    const auto answer = Ask("explain --json --at 1,1 --at 7,3 --gsps " + path + " " + image);
    for (const auto& steps : {answer["image"], answer["points"][0]["steps"], answer["points"][1]["steps"]}) {
        for (const auto& step : steps) {
            if (step["step"] == "layer") names.push_back(step["text"]);
        }
    }
    // Layers of one colour: each is named where it covers a pixel.
    EXPECT_EQ(names, (std::vector<std::string>{"overlay 6002", "annotations 'L2'", "overlay 6000",
                                               "overlay 6002: #404040", "annotations 'L2': #404040",
                                               "overlay 6000: #404040"}));
}

/// What whole numbers cut off a window is a cost, not a window of its own.
TEST_F(States, ExplainHasTheWindowThatWasAskedFor) {
    const std::string image = m_Directory / "image.dcm";
    const struct {
        const char *center, *width, *options, *text;
        double cost;
    } cases[] = {
        {"7.5", "10.7", "", "centre 7.5, width 10.7", 0.85},
        {"7.5", "10.7", "--center 8.25 --width 4", "centre 8.25, width 4", 0.25},
        {"8", "10", "", "centre 8, width 10", 0.0},
        {"8", "0", "", "the image's own, of width 0, is not a window", 0.5},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.center) + row.options);
        support::WriteImage(
            image, support::Ramp("MR", {{tag::kWindowCenter, row.center}, {tag::kWindowWidth, row.width}}));
        const auto steps = Ask("explain --json --at 9,0 " + image + " " + row.options)["points"][0]["steps"];
        for (const auto& step : steps) {
            if (step["step"] == "window") {
                EXPECT_NE(step["text"].get<std::string>().find(row.text), std::string::npos) << step;
            }
            if (step["step"] == "stored-window") {
                EXPECT_NEAR(step["value"].get<double>(), row.cost, 1e-9);
            }
            if (step["step"] == "standard" && *row.options == '\0' && row.cost > 0.8) {
                EXPECT_NEAR(step["value"].get<double>(), ((9.0 - 7.0) / 9.7 + 0.5) * 255.0, 1e-9);
            }
        }
    }
}

// ---- Other systems' tools

bool is_installed(const char* tool) {
    return std::system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
}

/// The levels of a binary PGM file of 8 bits.
std::vector<std::uint8_t> read_pgm(const std::string& path) {
    const std::string bytes = support::ReadFile(path);
    int width = 0, height = 0, length = 0;
    if (std::sscanf(bytes.c_str(), "P5 %d %d 255%*c%n", &width, &height, &length) != 2) return {};
    return {bytes.begin() + length, bytes.end()};
}

int farthest(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    int most = a.size() == b.size() && !a.empty() ? 0 : 256;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

TEST_F(States, OtherToolsDrawTheSame) {
    for (const char* tool : {"dcmp2pgm", "dcmpsmk"}) {
        if (!is_installed(tool)) GTEST_SKIP() << tool << " is not installed";
    }
    const std::string ours = m_Directory / "ours.dcm", theirs = m_Directory / "theirs.dcm",
                      pgm = m_Directory / "picture.pgm";
    const auto draws = [&](const std::string& state, const std::string& image) {
        const std::string line = "dcmp2pgm -q -p '" + state + "' '" + image + "' '" + pgm + "' 2>/dev/null";
        return std::system(line.c_str()) == 0 ? read_pgm(pgm) : std::vector<std::uint8_t>();
    };
    // That tool takes every function for LINEAR, and knows no padding.
    WriteSamples(m_Directory.Path());
    struct Choice {
        double center, width;
        bool invert;
        float gamma;
    };
    for (const char* name : {"ct", "mr", "cr", "nm"}) {
        const std::string image = m_Directory / name + ".dcm";
        for (const Choice& c : {Choice{100, 800, false, 1.0F},
                                {60, 31, true, 1.0F},
                                {90, 300, false, 0.5F},
                                {200, 2000, true, 2.2F}}) {
            DrawingOptions options;
            options.presentation.center = c.center, options.presentation.width = c.width;
            options.presentation.invert = c.invert, options.presentation.gamma = c.gamma;
            SCOPED_TRACE(image + as_text(options));
            OpenedImage opened(image, options.presentation);
            support::WriteFile(ours, EncodePresentationState(opened, options.view, {}, ours));
            EXPECT_LE(farthest(draws(ours, image), DrawFrame(image, options, 0).picture.bytes), 1);
            if (is_installed("dcmpschk")) {
                EXPECT_EQ(std::system(("dcmpschk -q '" + ours + "' >/dev/null 2>&1").c_str()), 0);
            }
            if (is_installed("dciodvfy")) {
                EXPECT_NE(std::system(("dciodvfy '" + ours + "' 2>&1 | grep -q ^Error").c_str()), 0);
            }
        }
        ASSERT_EQ(std::system(("dcmpsmk -q '" + image + "' '" + theirs + "'").c_str()), 0);
        DrawingOptions applied;
        applied.presentation.states = states_in(theirs);
        EXPECT_LE(farthest(draws(theirs, image), DrawFrame(image, applied, 0).picture.bytes), 1) << image;
    }
}

}  // namespace
