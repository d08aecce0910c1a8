#include "state_file.h"

#include <ZEV/ZEV_ColorMap.h>

#include <refhost/Unicode.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <tuple>

#include "applied_state.h"
#include "identification.h"
#include "io/dicom_editor.h"
#include "io/dicom_tags.h"
#include "io/dicom_writer.h"
#include "io/number.h"
#include "io/present_error.h"
#include "io/srgb_profile.h"
#include "level_table.h"
#include "message_elements.h"
#include "region_view.h"
#include "renderer.h"

namespace {

constexpr const char* kGrayscaleClass = "1.2.840.10008.5.1.4.1.1.11.1";
constexpr const char* kColourClass = "1.2.840.10008.5.1.4.1.1.11.2";
constexpr const char* kPseudoColourClass = "1.2.840.10008.5.1.4.1.1.11.3";
constexpr int kGreys = 256;
constexpr int kTopGrey = 255;
constexpr std::size_t kMostEntries = 65536;
/// From this width on LINEAR and LINEAR_EXACT differ by less than one level of 256.
constexpr double kWideWindow = 256.0;
/// Below this rescale slope 16 characters do not hold one half and a pixel value together.
constexpr double kFinestLinear = 1e-4;

void put_longs(DicomDataSet& set, std::uint32_t tag, const std::vector<long>& longs) {
    std::string bytes;
    for (const long number : longs) {
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    }
    set.elements[tag] = DicomElement{"SL", bytes, {}};
}

/// A level of 8 bits in 16.
std::uint16_t wide(int level) { return static_cast<std::uint16_t>(level * 257); }

/// What gamma makes of each of the 256 levels, by the true colour table itself.
std::array<std::uint8_t, kGreys> gamma_levels(float gamma) {
    constexpr int kFine = 65536;
    refhost::MemoryContext context(kGreys, {});
    refhost::MemoryRaster source(1, 1, 16, false), target(1, 1, 8, false);
    target.m_PixelFormat = refhost::MemoryRaster::kTrueColor;
    ZEV_Params params;
    params.SetMinMaxScaleMode(true);
    params.SetWindowMin(0);
    params.SetWindowMax(kFine - 1);
    const auto levels_with = [&](float value) {
        params.SetGamma(value);
        std::unique_ptr<ZEV_AbstractWindowingTable> table(
            params.BuildTable(ZEV_TableParams(nullptr, &context, &source, &target, KIT_Rect())));
        if (table == nullptr) throw std::bad_alloc();
        return TableBytes(*table, source, 8);
    };
    const std::vector<std::uint8_t> natural = levels_with(ZEV_Params::kGammaNatural),
                                    curved = levels_with(gamma);
    std::array<std::uint8_t, kGreys> levels{};
    for (std::size_t i = 0; i < kFine; ++i) levels[natural[i]] = curved[i];
    return levels;
}

class Writer {
public:
    Writer(OpenedImage& image, const std::string& path)
        : m_Image(image), m_Path(path), m_Own(image.File().OwnDataSet()), m_Source(DescribeTable(image)) {
        // Texts of the image, of the state that was applied, and of the user meet in one character set.
        PutInUtf8(m_Own);
        m_From = image.State() == nullptr ? m_Own : image.State()->set;
        PutInUtf8(m_From);
        m_Set = IdentificationOf(m_Own);
    }

    std::string Encode(const ViewOptions& view, const StateTexts& texts) {
        put_identity(texts);
        put_references();
        put_area(view);
        if (m_Image.File().IsColour()) {
            m_Set.PutText(tag::kSopClass, "UI", kColourClass);
            put_profile();
        } else {
            put_modality();
            put_window();
            put_levels();
        }
        keep_drawings();
        m_Set.PutText(tag::kSpecificCharacterSet, "CS", "ISO_IR 192");
        PutInUtf8(m_Set);
        return EncodeDicomFile(m_Set);
    }

private:
    void put_identity(const StateTexts& texts) {
        m_Set.PutText(tag::kSopInstance, "UI", MakeUid());
        m_Set.PutText(tag::kModality, "CS", "PR");
        m_Set.PutText(DicomTag(0x0020, 0x000E), "UI", MakeUid());
        m_Set.PutText(DicomTag(0x0020, 0x0011), "IS", "1");
        m_Set.PutText(DicomTag(0x0020, 0x0013), "IS", "1");
        m_Set.PutText(DicomTag(0x0020, 0x0060), "CS", "");
        require_length("--label", texts.label, 16);
        require_length("--description", texts.description, 64);
        require_length("--creator", texts.creator, 64);
        const bool isCode =
            texts.label.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 _") == std::string::npos;
        if (!isCode)
            throw UsageError("--label: '" + texts.label + "' has other than capitals, digits, blanks and _");
        m_Set.PutText(tag::kContentLabel, "CS", texts.label.empty() ? "ZEV" : texts.label);
        m_Set.PutText(tag::kContentDescription, "LO", texts.description);
        m_Set.PutText(tag::kContentCreatorName, "PN", texts.creator);
        PutNow(m_Set, tag::kPresentationCreationDate, tag::kPresentationCreationTime);
    }

    static void require_length(const char* option, const std::string& text, std::size_t longest) {
        const std::wstring wide = refhost::FromUtf8(text);
        if (refhost::ToUtf8(wide.data(), wide.size()) != text)
            throw UsageError(std::string(option) + ": is not UTF-8");
        if (wide.size() > longest)
            throw UsageError(std::string(option) + ": has more than " + std::to_string(longest) +
                             " characters");
        for (const char sign : text) {
            if (static_cast<unsigned char>(sign) < ' ' || sign == '\\')
                throw UsageError(std::string(option) + ": has a sign that DICOM does not allow there");
        }
    }

    void put_references() {
        const std::string instance = m_Own.Text(tag::kSopInstance);
        if (instance.empty() || m_Own.Text(tag::kSopClass).empty() ||
            m_Own.Text(DicomTag(0x0020, 0x000E)).empty()) {
            throw PresentError(m_Image.File().Path(),
                               "lacks a UID by which a presentation state would refer to it");
        }
        DicomDataSet image;
        image.PutText(tag::kReferencedSopClass, "UI", m_Own.Text(tag::kSopClass));
        image.PutText(tag::kReferencedSopInstance, "UI", instance);
        // Other frames may have a window of their own.
        if (m_Own.Has(tag::kPerFrameFunctionalGroups) || state_varies())
            image.PutText(tag::kReferencedFrameNumber, "IS", std::to_string(m_Image.File().Frame() + 1));
        m_Reference = DicomElement{"SQ", "", {image}};
        DicomDataSet series;
        series.elements[tag::kReferencedImages] = m_Reference;
        series.PutText(DicomTag(0x0020, 0x000E), "UI", m_Own.Text(DicomTag(0x0020, 0x000E)));
        m_Set.elements[tag::kReferencedSeries] = DicomElement{"SQ", "", {series}};
    }

    /// The state that was applied does not say the same of every frame.
    bool state_varies() const {
        const PresentationState* const state = m_Image.State();
        const std::string instance = m_Own.Text(tag::kSopInstance);
        const auto of = [&](int frame) {
            return std::make_tuple(state->RefersTo(instance, frame), state->VoiLut(instance, frame),
                                   state->DisplayedArea(instance, frame));
        };
        for (int frame = 0; state != nullptr && frame < m_Image.File().Frames(); ++frame) {
            if (of(frame) != of(m_Image.File().Frame())) return true;
        }
        return false;
    }

    /// The part of the image on the screen, in whole pixels.
    void put_area(const ViewOptions& view) {
        Placement placement = PlaceImage(m_Image, view);
        int rotation = static_cast<int>(std::lround(placement.space.GetRotation() / 90.0)) * 90;
        placement.space.SetRotation(rotation);
        const SPC_Affine toImage = placement.space.GetScreen2Raster();
        double left = toImage.X(0.0, 0.0), top = toImage.Y(0.0, 0.0),
               right = toImage.X(placement.width, placement.height),
               bottom = toImage.Y(placement.width, placement.height);
        if (placement.isFilled) {
            const Canvas::Area& shown = placement.shown;
            std::tie(left, right) =
                left < right ? std::tie(shown.left, shown.right) : std::tie(shown.right, shown.left);
            std::tie(top, bottom) =
                top < bottom ? std::tie(shown.top, shown.bottom) : std::tie(shown.bottom, shown.top);
        }
        // The corners are those on the screen: of a flipped image the first has the larger number.
        const auto corners = [](double from, double to) {
            long low = std::lround(std::min(from, to)), high = std::lround(std::max(from, to));
            // Part of a pixel is that pixel.
            if (low == high) low = static_cast<long>(std::floor((from + to) / 2.0)), high = low + 1;
            return from < to ? std::make_pair(low + 1, high) : std::make_pair(high, low + 1);
        };
        const auto [firstX, lastX] = corners(left, right);
        const auto [firstY, lastY] = corners(top, bottom);
        DicomDataSet area;
        area.elements[tag::kReferencedImages] = m_Reference;
        put_longs(area, tag::kDisplayedAreaTopLeft, {firstX, firstY});
        put_longs(area, tag::kDisplayedAreaBottomRight, {lastX, lastY});
        const double zoom = placement.space.GetZoom();
        area.PutText(tag::kPresentationSizeMode, "CS", zoom == 1.0 ? "SCALE TO FIT" : "MAGNIFY");
        if (zoom != 1.0) {
            const auto ratio = static_cast<float>(zoom);
            std::string bytes(sizeof ratio, '\0');
            std::uint32_t bits;
            std::memcpy(&bits, &ratio, sizeof bits);
            for (std::size_t b = 0; b < sizeof bits; ++b)
                bytes[b] = static_cast<char>(bits >> (8 * b) & 0xFF);
            area.elements[tag::kMagnificationRatio] = DicomElement{"FL", bytes, {}};
        }
        put_pixel_size(view, area);
        m_Set.elements[tag::kDisplayedAreaSequence] = DicomElement{"SQ", "", {area}};

        const bool across = placement.space.IsFlippedHorizontally(),
                   down = placement.space.IsFlippedVertically();
        // A flip downward is one across and half a turn. A state turns first and flips then.
        if (down) rotation += 180;
        const bool isFlipped = across != down;
        if (isFlipped) rotation = -rotation;
        rotation = (rotation % 360 + 360) % 360;
        if (rotation == 0 && !isFlipped) return;
        m_Set.PutWord(tag::kImageRotation, "US", rotation);
        m_Set.PutText(tag::kImageHorizontalFlip, "CS", isFlipped ? "Y" : "N");
    }

    void put_pixel_size(const ViewOptions& view, DicomDataSet& area) {
        const DicomDataSet* const before =
            m_Image.State() == nullptr
                ? nullptr
                : m_Image.State()->DisplayedArea(m_Own.Text(tag::kSopInstance), m_Image.File().Frame());
        for (const DicomDataSet* from : {before, const_cast<const DicomDataSet*>(&m_Own)}) {
            if (from == nullptr || view.pixels) continue;
            for (const std::uint32_t tag :
                 {tag::kPresentationPixelSpacing, tag::kPixelSpacing, tag::kImagerPixelSpacing}) {
                const std::vector<double> pair = from->Numbers(tag, 2);
                if (pair.size() != 2 || !(pair[0] > 0) || !(pair[1] > 0)) continue;
                area.PutText(tag::kPresentationPixelSpacing, "DS",
                             DecimalText(pair[0]) + "\\" + DecimalText(pair[1]));
                return;
            }
            for (const std::uint32_t tag : {tag::kPresentationPixelAspectRatio, tag::kPixelAspectRatio}) {
                const std::vector<double> pair = from->Numbers(tag, 2);
                if (pair.size() != 2 || !(pair[0] > 0) || !(pair[1] > 0)) continue;
                area.PutText(tag::kPresentationPixelAspectRatio, "IS", from->Text(tag));
                return;
            }
        }
        area.PutText(tag::kPresentationPixelAspectRatio, "IS", "1\\1");
    }

    void put_modality() {
        if (const DicomElement* const table = m_From.Find(tag::kModalityLutSequence);
            table != nullptr && !table->items.empty()) {
            DicomDataSet item;
            for (const std::uint32_t tag :
                 {tag::kLutDescriptor, DicomTag(0x0028, 0x3003), DicomTag(0x0028, 0x3004), tag::kLutData}) {
                if (const DicomElement* const element = table->items.front().Find(tag))
                    item.elements[tag] = *element;
            }
            if (!item.Has(DicomTag(0x0028, 0x3004))) item.PutText(DicomTag(0x0028, 0x3004), "LO", "US");
            m_Set.elements[tag::kModalityLutSequence] = DicomElement{"SQ", "", {item}};
        } else if (m_From.Has(tag::kRescaleSlope) || m_From.Has(tag::kRescaleIntercept)) {
            const auto text = [&](std::uint32_t tag, const char* absent) {
                const std::string value = m_From.Text(tag);
                return value.empty() ? std::string(absent) : value;
            };
            m_Set.PutText(tag::kRescaleIntercept, "DS", text(tag::kRescaleIntercept, "0"));
            m_Set.PutText(tag::kRescaleSlope, "DS", text(tag::kRescaleSlope, "1"));
            const bool isHounsfield = m_Image.UnitsText() == "HU";
            m_Set.PutText(tag::kRescaleType, "LO", text(tag::kRescaleType, isHounsfield ? "HU" : "US"));
        }
    }

    void put_window() {
        DicomDataSet item;
        item.elements[tag::kReferencedImages] = m_Reference;
        ZEV_Params& params = m_Image.Params();
        const Mapper_WindowingEntry* const entry = curve();
        if (entry != nullptr && entry->m_FunctionCode == Mapper_WindowingEntry::FUNCTION_TABLE) {
            OBJ_Msg table;
            const Dicom_LO name = entry->GetWindowingExplanation();
            params.GetVoiLutManager()->SetVOILUT(&table, entry, params.GetCenter(), params.GetWidth(), name);
            const Dicom_Type* const sequence = table.Get(Dicom_Tag(tag::kVoiLutSequence));
            if (sequence == nullptr) throw PresentError(m_Path, "cannot be written: the VOI LUT is too wide");
            DicomElement& element = item.elements[tag::kVoiLutSequence];
            element = ToElement(tag::kVoiLutSequence, *sequence, m_Path);
            Recode(element, m_Image.File().DataSet().Text(tag::kSpecificCharacterSet), "");
        } else if (entry != nullptr) {
            put_numbers(item, m_Image.ModalityCenter(), m_Image.ModalityWidth(), "SIGMOID");
        } else {
            put_ramp(item);
        }
        m_Set.elements[tag::kSoftcopyVoiLutSequence] = DicomElement{"SQ", "", {item}};
    }

    /// The entry whose curve is drawn, or null where it is a ramp.
    const Mapper_WindowingEntry* curve() {
        ZEV_Params& params = m_Image.Params();
        const int selection = params.GetVoiLutSelection();
        if (selection < 0) return nullptr;
        const auto& entries = params.GetVoiLutManager()->m_Entries;
        if (static_cast<std::size_t>(selection) >= entries.size()) return nullptr;
        const Mapper_WindowingEntry* const entry = entries[static_cast<std::size_t>(selection)];
        return entry->m_FunctionCode == Mapper_WindowingEntry::FUNCTION_LINEAR ? nullptr : entry;
    }

    void put_ramp(DicomDataSet& item) {
        const Rescale& rescale = m_Image.GetRescale();
        if (const auto& window = m_Image.WindowInLevels()) {
            if (window->isSigmoid) return put_numbers(item, window->Center(), window->Width(), "SIGMOID");
            if (window->Width() == 0.0) return put_numbers(item, window->low + 0.5, 1.0, "LINEAR");
            return put_ends(item, window->low, window->high);
        }
        if (m_Source.high <= m_Source.low) {
            // A step: white from the second end on.
            const double step = rescale.Value(m_Source.high - 0.5);
            put_numbers(item, step + 0.5, 1.0, "LINEAR");
            return;
        }
        std::pair<double, double> ends(m_Source.low, m_Source.high);
        if (has_painted_table()) ends = table_ends();
        put_ends(item, rescale.Value(ends.first), rescale.Value(ends.second));
    }

    /// LINEAR counts in whole modality units, and loses small fractions of them.
    void put_ends(DicomDataSet& item, double from, double to) {
        const double center = (from + to) / 2.0, width = std::fabs(to - from);
        // A table behind the window is sensitive to the difference.
        const bool isFine =
            m_Image.File().IsReduced() || std::fabs(m_Image.GetRescale().slope) < kFinestLinear;
        if (isFine || (width >= kWideWindow && !has_level_table())) {
            put_numbers(item, center, width, "LINEAR_EXACT");
        } else {
            put_numbers(item, center + 0.5, width + 1.0, "LINEAR");
        }
    }

    static void put_numbers(DicomDataSet& item, double center, double width, const char* function) {
        item.PutText(tag::kWindowCenter, "DS", DecimalText(center));
        item.PutText(tag::kWindowWidth, "DS", DecimalText(width));
        item.PutText(tag::kVoiLutFunction, "CS", function);
    }

    bool has_colours() {
        const ZEV_ColorMap* const map = m_Image.Params().GetColorMap();
        return map != nullptr && !map->IsDummy();
    }
    bool has_gamma() {
        return m_Source.kind == ZEV_TableSource::kRamp && m_Image.Params().GammaExistAndNotNaturalValue();
    }
    bool has_own_table() {
        return m_Image.File().DataSet().FirstItem(tag::kPresentationLutSequence) != nullptr;
    }
    bool has_level_table() { return has_gamma() || has_own_table(); }
    /// A table of what is drawn: for gamma, and for a Presentation LUT of the image, outside whose window the
    /// library has black and white, a state the ends of the table.
    bool has_painted_table() {
        if (has_colours() || m_Image.WindowInLevels()) return false;
        return has_own_table() ? curve() == nullptr : has_gamma();
    }
    /// The ramp rises with the stored values, and these fall as the modality values of a state rise.
    bool is_falling() const {
        const bool isRamp =
            m_Source.kind == ZEV_TableSource::kRamp || m_Source.kind == ZEV_TableSource::kPresentationLut;
        return isRamp && m_Image.GetRescale().slope < 0.0;
    }
    std::uint8_t shown(std::uint8_t level) const {
        return m_Source.inverse ? static_cast<std::uint8_t>(kTopGrey - level) : level;
    }

    /// From the output of the window to what is seen.
    void put_levels() {
        if (has_colours()) {
            put_palette(*m_Image.Params().GetColorMap());
            return;
        }
        const bool isInverse = m_Source.inverse != is_falling();
        m_Set.PutText(tag::kSopClass, "UI", kGrayscaleClass);
        if (has_painted_table()) {
            put_painted_table();
        } else if (has_own_table()) {
            put_presentation_table(isInverse);
        } else {
            m_Set.PutText(tag::kPresentationLutShape, "CS", isInverse ? "INVERSE" : "IDENTITY");
        }
    }

    /// The table is drawn as it is when the inversion agrees with its direction, else with its outputs
    /// reversed.
    void put_presentation_table(bool isInverse) {
        const DicomDataSet& own = *m_From.FirstItem(tag::kPresentationLutSequence);
        DicomDataSet item;
        for (const std::uint32_t tag : {tag::kLutDescriptor, DicomTag(0x0028, 0x3003), tag::kLutData}) {
            if (const DicomElement* const element = own.Find(tag)) item.elements[tag] = *element;
        }
        const StoredTable table = ReadStoredTable(item, tag::kLutDescriptor, tag::kLutData, false);
        if (table.entries.empty())
            throw PresentError(m_Path, "cannot be written: the Presentation LUT is damaged");
        if (isInverse != (table.entries.back() < table.entries.front())) {
            const int top = (1 << table.bits) - 1;
            std::vector<std::uint16_t> reversed;
            for (const std::uint16_t entry : table.entries)
                reversed.push_back(static_cast<std::uint16_t>(top - entry));
            PutWords(item, tag::kLutDescriptor, "US",
                     {static_cast<std::uint16_t>(table.entries.size()), 0,
                      static_cast<std::uint16_t>(table.bits)});
            PutWords(item, tag::kLutData, "OW", reversed);
        }
        m_Set.elements[tag::kPresentationLutSequence] = DicomElement{"SQ", "", {item}};
    }

    /// The stored values from black to white; of a ramp that is wider than a table, the raster's.
    std::pair<std::int64_t, std::int64_t> table_ends() {
        const std::int64_t high = m_Source.high,
                           low = std::min<std::int64_t>(m_Source.low, high - 1) - (has_gamma() ? 0 : 1);
        if (high - low < static_cast<std::int64_t>(kMostEntries)) return {low, high};
        return {m_Image.FirstValue(), m_Image.FirstValue() + m_Image.ValueCount() - 1};
    }

    /// One entry for each stored value from end to end, and one between any two of them, so that it makes no
    /// difference whether a reader rounds or truncates.
    void put_painted_table() {
        const auto [low, high] = table_ends();
        const std::vector<std::uint8_t> painted =
            TableBytes(*BuildTable(m_Image, TableTarget{TableTarget::kTrueColour, 8}), m_Image.Raster(), 8);
        const std::int64_t last = high - low,
                           times = 2 * last < static_cast<std::int64_t>(kMostEntries) ? 2 : 1;
        const std::int64_t first = m_Image.FirstValue(), top = m_Image.ValueCount() - 1;
        std::vector<std::uint16_t> entries;
        for (std::int64_t i = 0; i <= times * last; ++i) {
            const std::int64_t step = (i + times - 1) / times,
                               pixel = is_falling() ? high - step : low + step;
            const std::int64_t index = std::clamp<std::int64_t>(pixel - first, 0, top);
            entries.push_back(wide(painted[static_cast<std::size_t>(index)]));
        }
        char text[40] = "levels";
        if (has_gamma()) std::snprintf(text, sizeof text, "gamma %.4g", double{m_Image.Params().GetGamma()});
        m_Set.elements[tag::kPresentationLutSequence] = LevelTable(entries, text);
    }

    void put_palette(const ZEV_ColorMap& map) {
        m_Set.PutText(tag::kSopClass, "UI", kPseudoColourClass);
        const std::array<std::uint8_t, kGreys> levels =
            gamma_levels(has_gamma() ? m_Image.Params().GetGamma() : ZEV_Params::kGammaNatural);
        std::vector<std::uint16_t> channels[3];
        for (std::size_t i = 0; i < levels.size(); ++i) {
            const std::uint8_t level = shown(levels[is_falling() ? levels.size() - 1 - i : i]);
            const int colour = map.TransformColor(level).toRGB();
            for (int c = 0; c < 3; ++c) channels[c].push_back(wide(colour >> (16 - 8 * c) & 0xFF));
        }
        for (unsigned c = 0; c < 3; ++c) {
            PutWords(m_Set, tag::kPaletteDescriptor + c, "US", {kGreys, 0, 16});
            PutWords(m_Set, tag::kPaletteData + c, "OW", channels[c]);
        }
        put_profile();
    }

    void put_profile() { m_Set.elements[DicomTag(0x0028, 0x2000)] = DicomElement{"OB", SrgbProfile(), {}}; }

    /// Shutters, overlays and annotations of the state that was applied; else the image's overlays, in a
    /// layer.
    void keep_drawings() {
        if (m_Image.State() == nullptr) {
            const std::vector<unsigned> groups = OverlayGroups(m_Own);
            if (groups.empty()) return;
            constexpr const char* kLayerName = "OVERLAYS";
            for (const unsigned group : groups) m_Set.PutText(DicomTag(group, 0x1001), "CS", kLayerName);
            DicomDataSet layer;
            layer.PutText(DicomTag(0x0070, 0x0002), "CS", kLayerName);
            layer.PutText(DicomTag(0x0070, 0x0062), "IS", "1");
            m_Set.elements[DicomTag(0x0070, 0x0060)] = DicomElement{"SQ", "", {layer}};
            return;
        }
        for (const auto& [tag, element] : m_From.elements) {
            const unsigned group = tag >> 16;
            const bool isShutter = tag >= DicomTag(0x0018, 0x1600) && tag <= DicomTag(0x0018, 0x1624);
            const bool isOverlay = group >= 0x6000 && group <= 0x601E;
            const bool isAnnotation = tag == DicomTag(0x0070, 0x0001) || tag == DicomTag(0x0070, 0x0060);
            if (isShutter || isOverlay || isAnnotation) m_Set.elements[tag] = element;
        }
        keep_own_annotations();
    }

    /// Those of other images, to which the new state does not refer, are left out.
    void keep_own_annotations() {
        const auto found = m_Set.elements.find(DicomTag(0x0070, 0x0001));
        if (found == m_Set.elements.end()) return;
        const std::string instance = m_Own.Text(tag::kSopInstance);
        const auto is_foreign = [&](const DicomDataSet& image) {
            return image.Text(tag::kReferencedSopInstance) != instance;
        };
        std::vector<DicomDataSet> own;
        for (DicomDataSet& item : found->second.items) {
            if (item.FirstItem(tag::kReferencedImages) != nullptr) {
                std::vector<DicomDataSet>& images = item.elements[tag::kReferencedImages].items;
                images.erase(std::remove_if(images.begin(), images.end(), is_foreign), images.end());
                if (images.empty()) continue;
            }
            own.push_back(item);
        }
        found->second.items = own;
        if (own.empty()) m_Set.elements.erase(found);
    }

    OpenedImage& m_Image;
    const std::string& m_Path;
    DicomDataSet m_Own;
    /// What has the tables and drawings: the state that was applied, else the image.
    DicomDataSet m_From;
    ZEV_TableSource m_Source;
    DicomDataSet m_Set;
    DicomElement m_Reference;
};

}  // namespace

std::string EncodePresentationState(OpenedImage& image, const ViewOptions& view, const StateTexts& texts,
                                    const std::string& path) {
    return Writer(image, path).Encode(view, texts);
}

LostInState FindLostInState(OpenedImage& image, const PresentationOptions& presentation,
                            const ViewOptions& view) {
    LostInState found;
    if (!AllRegions(image, view).empty()) found.keptInParameters.push_back("the regions");
    if (presentation.automatic) found.keptInParameters.push_back("that the window is to be measured");
    const Placement placement = PlaceImage(image, view);
    const double rotation = placement.space.GetRotation();
    if (std::remainder(rotation, 90.0) != 0.0)
        found.lost.push_back("the rotation by " + NumberText(rotation) + " degrees");
    if (view.smooth && !placement.isPlain) found.lost.push_back("the interpolation between pixels");
    const ZEV_ColorMap* const map = image.Params().GetColorMap();
    if (!image.File().IsColour() && map != nullptr && !map->IsDummy() &&
        image.File().DataSet().FirstItem(tag::kPresentationLutSequence) != nullptr)
        found.lost.push_back("the Presentation LUT under the colour map");
    if (image.Supplement() != nullptr) found.lost.push_back("the supplemental palette");
    return found;
}
