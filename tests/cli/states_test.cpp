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
    const double span = std::max(1.0, range.second - range.first);
    const int entries = static_cast<int>(image.Params().GetVoiLutEntryCount());
    // A window far wider than 65536 pixel values is beyond the tables of a state.
    const int kind = span < 60.0 ? 5 : chance.Whole(0, 5);
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

}  // namespace
