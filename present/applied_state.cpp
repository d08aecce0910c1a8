#include "applied_state.h"

#include <DICOM/Dicom_Dictionary.h>

#include <cmath>

#include "io/dicom_tags.h"
#include "io/number.h"
#include "io/present_error.h"
#include "message_elements.h"

namespace {

constexpr std::uint32_t kModality[] = {tag::kModalityLutSequence, tag::kRescaleIntercept, tag::kRescaleSlope,
                                       tag::kRescaleType};
constexpr std::uint32_t kWindow[] = {tag::kWindowCenter, tag::kWindowWidth, tag::kWindowExplanation,
                                     tag::kVoiLutFunction};
constexpr std::uint32_t kPresentation[] = {tag::kPresentationLutSequence, tag::kPresentationLutShape};

/// A lookup table that a state has must be whole: nothing else would show what it means.
void require_table(const PresentationState& state, const DicomDataSet& set, std::uint32_t sequence,
                   const char* name) {
    if (!set.Has(sequence)) return;
    const DicomDataSet* const item = set.FirstItem(sequence);
    const auto damaged = [&] { return PresentError(state.path, std::string("its ") + name + " is damaged"); };
    if (item == nullptr) throw damaged();
    const int count = item->Word(tag::kLutDescriptor, -1), bits = item->Word(tag::kLutDescriptor, 0, 2);
    const DicomElement* const data = item->Find(tag::kLutData);
    if (count < 0 || bits < 1 || bits > 16 || data == nullptr) throw damaged();
    const std::size_t entries = count == 0 ? 65536 : static_cast<std::size_t>(count);
    if (data->bytes.size() < entries * (bits > 8 ? 2 : 1)) throw damaged();
}

void require_kind(const PresentationState& state, const DicomDataSet& image) {
    const bool isMono = image.Text(tag::kPhotometricInterpretation).rfind("MONOCHROME", 0) == 0 ||
                        !image.Has(tag::kPhotometricInterpretation);
    const bool isColourState = state.kind == PresentationState::Kind::kColour;
    if (isMono && isColourState)
        throw PresentError(state.path, "is for images in colour, and the image is not");
    if (!isMono && !isColourState)
        throw PresentError(state.path, "is for images in grey, and the image is in colour");
}

}  // namespace

AttributeChanges ChangesBy(const PresentationState& state, const DicomDataSet& image, int frame) {
    AttributeChanges changes;
    require_kind(state, image);
    if (state.kind == PresentationState::Kind::kColour) return changes;
    const std::string ofState = state.set.Text(tag::kSpecificCharacterSet),
                      ofImage = image.Text(tag::kSpecificCharacterSet);
    const auto take = [&](const DicomDataSet* from, std::uint32_t tag) {
        const DicomElement* const element = from == nullptr ? nullptr : from->Find(tag);
        changes[tag] = element == nullptr ? std::nullopt : std::optional<DicomElement>(*element);
        if (element != nullptr) Recode(*changes[tag], ofState, ofImage);
    };
    require_table(state, state.set, tag::kModalityLutSequence, "Modality LUT");
    for (const std::uint32_t tag : kModality) take(&state.set, tag);
    constexpr double kSmallest = 1e-30, kLargest = 1e30;
    const double nothing = std::nan("");
    const double slope = std::fabs(
                     state.set.Has(tag::kRescaleSlope) ? state.set.Number(tag::kRescaleSlope, nothing) : 1.0),
                 intercept = std::fabs(state.set.Has(tag::kRescaleIntercept)
                                           ? state.set.Number(tag::kRescaleIntercept, nothing)
                                           : 0.0);
    if (!(slope >= kSmallest && slope <= kLargest))
        throw PresentError(state.path, "its rescale slope is not a number other than 0");
    if (!(intercept <= kLargest))
        throw PresentError(state.path, "its rescale intercept is beyond all reason");

    const DicomDataSet* const voi = state.VoiLut(image.Text(tag::kSopInstance), frame);
    if (voi != nullptr) require_table(state, *voi, tag::kVoiLutSequence, "VOI LUT");
    take(voi, tag::kVoiLutSequence);
    // A table is meant before a window.
    const bool hasTable = changes[tag::kVoiLutSequence].has_value();
    for (const std::uint32_t tag : kWindow) take(hasTable ? nullptr : voi, tag);

    require_table(state, state.set, tag::kPresentationLutSequence, "Presentation LUT");
    for (const std::uint32_t tag : kPresentation) take(&state.set, tag);
    // The palette is the state's, if it has one.
    changes[tag::kPixelPresentation] = std::nullopt;
    for (unsigned c = 0; c < 3; ++c) {
        for (const std::uint32_t tag :
             {tag::kPaletteDescriptor, tag::kPaletteData, tag::kSegmentedPaletteData})
            changes[tag + c] = std::nullopt;
    }
    return changes;
}

std::vector<std::uint32_t> PrivatePresentation() {
    return {Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE.GetTag(),
            Dicom_Dictionary::ORNEL1_INVERSE_WINDOW.GetTag(),
            Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE.GetTag(),
            Dicom_Dictionary::MIREL_COLOR_MAP_UID.GetTag()};
}

std::optional<ExactWindow> ExactWindowOf(const PresentationState& state, const std::string& instance,
                                         int frame) {
    const DicomDataSet* const voi = state.VoiLut(instance, frame);
    if (voi == nullptr || voi->FirstItem(tag::kVoiLutSequence) != nullptr) return std::nullopt;
    const std::vector<double> centers = voi->Numbers(tag::kWindowCenter, 1),
                              widths = voi->Numbers(tag::kWindowWidth, 1);
    if (centers.empty() && widths.empty()) return std::nullopt;
    const std::string function = voi->Text(tag::kVoiLutFunction);
    const bool isLinear = function.empty() || function == "LINEAR";
    constexpr double kLargest = 1e9;
    if (centers.empty() || widths.empty() || !(std::fabs(centers[0]) <= kLargest) ||
        !(widths[0] <= kLargest && (isLinear ? widths[0] >= 1.0 : widths[0] > 0.0))) {
        throw PresentError(state.path, "its window, centre " + voi->Text(tag::kWindowCenter) + " and width " +
                                           voi->Text(tag::kWindowWidth) + ", is not one");
    }
    const bool isSigmoid = function == "SIGMOID";
    if (!isLinear && !isSigmoid && function != "LINEAR_EXACT") return std::nullopt;
    // PS3.3 C.11.2.1.2.1, C.11.2.1.3.2
    const double center = isLinear ? centers[0] - 0.5 : centers[0],
                 width = isLinear ? widths[0] - 1.0 : widths[0];
    return ExactWindow{center - width / 2.0, center + width / 2.0, isSigmoid};
}

double ExactWindow::At(double value) const {
    if (isSigmoid) return 1.0 / (1.0 + std::exp(-4.0 * (value - Center()) / Width()));
    return value <= low ? 0.0 : value > high ? 1.0 : (value - low) / Width();
}

std::vector<std::uint32_t> PaletteOf(const PresentationState& state) {
    constexpr std::size_t kColours = 256;
    StoredTable tables[3];
    if (!ReadPalette(state.set, false, tables))
        throw PresentError(state.path, "its colour palette is missing or damaged");
    std::vector<std::uint32_t> colours(kColours);
    for (const StoredTable& table : tables) {
        const std::size_t last = table.entries.size() - 1;
        for (std::size_t i = 0; i < kColours; ++i) {
            // The palette spans the grey levels, whatever its number of entries.
            const std::size_t entry = (i * last + (kColours - 1) / 2) / (kColours - 1);
            colours[i] = colours[i] << 8 | table.ByteAt(table.first + static_cast<std::int64_t>(entry));
        }
    }
    return colours;
}
