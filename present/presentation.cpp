#include "presentation.h"

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_Dictionary.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>

#include <refhost/Config.h>
#include <refhost/Unicode.h>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "catalogue.h"
#include "io/dicom_tags.h"
#include "io/pixel_conversion.h"
#include "io/present_error.h"
#include "level_table.h"
#include "message_elements.h"

namespace {

/// A window may lose this part of its width to whole numbers before it is told in stored values instead.
constexpr double kCoarsest = 0.01;

/// The scale of a colour map of SUV type.
constexpr float kSuvScaleTop = 10.0F;

/// What arithmetic with decimal numbers may add to a whole one.
constexpr double kNoise = 1e-6;

/// Fractions cut off, beyond the ends the end.
int truncated(double value) {
    if (!(value > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return value < std::numeric_limits<int>::max() ? static_cast<int>(value)
                                                   : std::numeric_limits<int>::max();
}

WindowSource source_of(ZEV_WindowSource source) {
    switch (source) {
        case ZEV_WindowSource::kVoiLutEntry:
            return WindowSource::kVoiLutEntry;
        case ZEV_WindowSource::kRawAttributes:
            return WindowSource::kRawAttributes;
        case ZEV_WindowSource::kAutomatic:
            return WindowSource::kAutomatic;
        case ZEV_WindowSource::kSaved:
            return WindowSource::kSaved;
        case ZEV_WindowSource::kPreset:
            return WindowSource::kPreset;
        case ZEV_WindowSource::kColorMapSuv:
            return WindowSource::kColourMapSuv;
        case ZEV_WindowSource::kNone:
        case ZEV_WindowSource::kFallback:
            break;
    }
    return WindowSource::kFallback;
}

int nearest(double value) { return truncated(std::floor(value + 0.5)); }

/// The preset that saved display parameters name, if it is configured for the modality.
std::string saved_preset(const OBJ_Msg& saved, const std::string& modality) {
    const Dicom_Type* const value = saved.Get(Dicom_Dictionary::MIREL_WINDOWING_PRESET);
    std::string found;
    if (value == nullptr) return found;
    const std::string wanted = refhost::ToUtf8(value->GetText(0).c_str());
    ForEachPreset([&](const std::string& procedure, const ZEV_PresetValue& preset) {
        if (procedure == modality && NameOf(preset) == wanted) found = wanted;
    });
    return found;
}

refhost::MemoryRaster make_raster(const DicomFile& file) {
    if (!file.IsColour()) {
        const MonoPixels& pixels = file.Mono();
        refhost::MemoryRaster raster(file.Columns(), file.Rows(), pixels.bits, pixels.isSigned);
        raster.Bytes() = pixels.bytes;
        return raster;
    }
    refhost::MemoryRaster raster = refhost::MemoryRaster::TrueColor(file.Columns(), file.Rows());
    const Picture& picture = file.Colour();
    for (std::size_t i = 0; i < picture.bytes.size() / 3; ++i) {
        const std::uint8_t* rgb = &picture.bytes[3 * i];
        const std::uint32_t pixel = (std::uint32_t{rgb[0]} << 16) | (std::uint32_t{rgb[1]} << 8) | rgb[2];
        std::memcpy(&raster.Bytes()[4 * i], &pixel, 4);
    }
    return raster;
}

}  // namespace

void LoadConfiguration(const std::string& path) {
    try {
        if (path.empty()) {
            refhost::EnsureConfig();
        } else {
            refhost::LoadConfigFile(path);
        }
    } catch (const refhost::ConfigError& error) {
        throw UsageError(error.what());
    }
    ReadCatalogue();
}

const char* NameOf(WindowSource source) {
    switch (source) {
        case WindowSource::kVoiLutEntry:
            return "voi-lut-entry";
        case WindowSource::kRawAttributes:
            return "raw-attributes";
        case WindowSource::kAutomatic:
            return "automatic";
        case WindowSource::kFallback:
            return "fallback";
        case WindowSource::kColourMapSuv:
            return "colormap-suv";
        case WindowSource::kPreset:
            return "preset";
        case WindowSource::kState:
            return "presentation-state";
        case WindowSource::kSaved:
            return "saved";
        case WindowSource::kOption:
            return "option";
    }
    return "";
}

std::pair<double, double> Rescale::Range(const std::pair<double, double>& stored) const {
    return std::minmax({Value(stored.first), Value(stored.second)});
}

std::pair<double, double> Rescale::StoredRange(const std::pair<double, double>& values) const {
    return std::minmax({(values.first - intercept) / slope, (values.second - intercept) / slope});
}

ModalityWindow Rescale::Window(const StoredWindow& stored) const {
    return {Value(stored.center), stored.width * std::fabs(slope)};
}

StoredWindow Rescale::Stored(const ModalityWindow& window) const {
    return {nearest((window.center - intercept) / slope),
            std::max(1, nearest(window.width / std::fabs(slope)))};
}

AttributeChanges ImageSource::choose_state(const DicomDataSet& image, const PresentationOptions& options) {
    const std::string instance = image.Text(tag::kSopInstance);
    const std::vector<const PresentationState*> found = states->For(instance, options.frame);
    const bool isForOtherFrames = !states->For(instance, PresentationState::kAnyFrame).empty();
    if (!found.empty()) {
        state = found.front();
    } else if (!states->IsFolder() && options.force) {
        state = &forced.emplace(states->All().front().ForAnyImage());
    } else if (!states->IsFolder()) {
        const std::string first = states->All().front().FirstImage();
        const std::string why = isForOtherFrames ? "is for other frames of this image"
                                : first.empty()  ? "refers to no image"
                                                 : "belongs to another image, " + first;
        throw PresentError(states->Path(), why + "; --force takes it all the same");
    } else {
        stateNotes.push_back({"gsps", "no presentation state in " + states->Path() + " is for this " +
                                          (isForOtherFrames ? "frame" : "image")});
        return {};
    }
    for (std::size_t i = 1; i < found.size(); ++i) {
        stateNotes.push_back({"gsps", "another presentation state for this image: " + found[i]->path + ", " +
                                          found[i]->Label() + ", " + found[i]->Created()});
    }
    if (state->set.Has(DicomTag(0x0028, 0x2000)))
        stateNotes.push_back({"icc", "the ICC profile of the presentation state is not applied"});
    if (state->set.Has(DicomTag(0x0028, 0x6100)))
        stateNotes.push_back({"mask", "the mask subtraction of the presentation state is not applied"});
    const std::string presentation = image.Text(tag::kPixelPresentation);
    if ((presentation == "COLOR" || presentation == "MIXED") && image.Has(tag::kPaletteDescriptor))
        stateNotes.push_back({"palette", "the presentation state leaves the supplemental palette out"});
    return ChangesBy(*state, image, options.frame);
}

ImageSource::ImageSource(const std::string& path, const PresentationOptions& options)
    : states(options.states),
      file(DicomFile::Load(
          path, LoadOptions{options.frame, options.partial},
          states == nullptr ? AttributeSource()
                            : [&](const DicomDataSet& image) { return choose_state(image, options); })),
      message(MakeMessage(file.DataSet())),
      raster(make_raster(file)) {
    if (state != nullptr) {
        for (const std::uint32_t tag : PrivatePresentation()) message->Remove(Dicom_Tag(tag));
    }
    // To the library these would be colours of grey levels.
    if (file.Supplement() && message->Get(Dicom_Dictionary::MIREL_COLOR_MAP_UID) == nullptr)
        message->Remove(Dicom_Tag(tag::kPixelPresentation));
    if (options.displayParameters.empty()) return;
    saved = ReadDisplayParameters(options.displayParameters, file.DataSet().Text(tag::kSopInstance),
                                  options.force);
}

OpenedImage::OpenedImage(const std::string& path, const PresentationOptions& options)
    : OpenedImage(std::make_shared<ImageSource>(path, options), options) {}

OpenedImage::OpenedImage(std::shared_ptr<ImageSource> source, const PresentationOptions& options)
    : m_Source(std::move(source)),
      m_Modality(refhost::FromUtf8(File().DataSet().Text(tag::kModality)).c_str()),
      m_Units(&Message()),
      m_View(L"zev"),
      m_Rescale{File().DataSet().Number(tag::kRescaleSlope, 1.0),
                File().DataSet().Number(tag::kRescaleIntercept, 0.0)} {
    m_View.Append(&m_Modality);
    m_View.Append(&m_Params);
    open();
    offer_maximal_range();
    m_Frozen.SetLiveParams(&m_Params);
    m_Frozen.SetReferenceRaster(&Raster(), false);
    keep_saved_window();
    note_missing_suv_scale();
    note_constant_pixels();
    use_stored_values_for_fractions();
    note_opening();
    if (State() != nullptr && !File().IsColour()) apply_state();
    m_AsOpened = {m_Params.GetCenter(), m_Params.GetWidth(), m_Params.GetVoiLutSelection(),
                  !m_bUseRescale,       m_WindowSource,      m_Params.GetColorMap(),
                  ModalityInverse()};
    if (m_Source->saved) {
        const WindowSource before = m_WindowSource;
        lay_display_parameters(*m_Source->saved);
        if (m_WindowSource != before) note_window("display parameters");
    }
    apply(options);
    use_center_and_width();
}

void OpenedImage::open() {
    // Units that cannot give SUV would have a map of SUV type set a window of 0 to 10 pixel values.
    if (can_show_suv()) m_View.Append(&m_Units);
    // A map that is chosen twice in a row sets no window the second time. Every image opens as if it were the
    // first.
    ZEV_ProcedureColorMapsList::ForgetPreviousColorMap();
    ZEV_Dicom opening;
    if (opening.UpdateFromDicom(&Message(), &Raster(), &m_Params, nullptr, false, false, &m_View) != 0)
        throw PresentError(File().Path(), "cannot be opened");
    if (!can_show_suv()) m_View.Append(&m_Units);
    m_WindowSource = source_of(opening.GetWindowSource());
    settle_width();
}

/// A measured width is multiplied by the slope, its sign included, and a width below 1 is cut to 0. No file
/// can say either; both are drawn like the width that stands here afterwards.
void OpenedImage::settle_width() {
    const int width = m_Params.GetWidth();
    if (width < 1) m_Params.InitWidth(std::max(1, width == std::numeric_limits<int>::min() ? 1 : -width));
}

/// With a negative slope the two ends of a window arrive exchanged in min-max mode, and the ramp becomes a
/// step.
void OpenedImage::use_center_and_width() {
    if (m_Rescale.slope < 0.0 && m_bUseRescale && m_Params.GetMinMaxScaleMode())
        m_Params.SetMinMaxScaleMode(false);
}

/// A measured window says nothing about an image of one value.
void OpenedImage::note_constant_pixels() {
    if (File().IsColour() || m_WindowSource != WindowSource::kAutomatic) return;
    const MonoPixels& pixels = File().Mono();
    const std::size_t count =
        static_cast<std::size_t>(File().Rows()) * static_cast<std::size_t>(File().Columns());
    for (std::size_t i = 1; i < count; ++i) {
        if (pixels.Get(i) != pixels.Get(0)) return;
    }
    m_Notes.push_back({"constant", "all pixels have the value " + std::to_string(pixels.Get(0)) +
                                       ": no window can show a difference"});
}

/// What the pixels of the image span is what 0 and 100 per cent stand for. It costs a look at every frame,
/// and so is left to the first percentage.
void OpenedImage::offer_maximal_range() {
    m_Units.SetMaximalRangeSource([this]() -> std::optional<std::pair<double, double>> {
        const auto stored = File().WholeImageRange();
        if (!stored) return ModalityRange();
        return m_Rescale.Range(*stored);
    });
}

std::optional<std::pair<double, double>> OpenedImage::ModalityRange() {
    const ValueRange range = File().Range();
    if (!range) return std::nullopt;
    return m_Rescale.Range({static_cast<double>(range->first), static_cast<double>(range->second)});
}

std::string OpenedImage::UnitsText() const {
    for (const std::uint32_t tag : {tag::kRescaleType, tag::kPetUnits}) {
        std::string text = File().DataSet().Text(tag);
        if (!text.empty() && text != "US") return text;
    }
    const bool isHounsfield =
        m_Modality.GetModality() == SPC_Modality::MODALITY_CT && File().DataSet().Has(tag::kRescaleSlope);
    return isHounsfield ? "HU" : "";
}

std::optional<double> OpenedImage::OneSuv() {
    if (!can_show_suv()) return std::nullopt;
    const auto one = static_cast<double>(m_Units.TranslateBackFromUnitsToPixel(1.0F, SPC_UNITS_SUV_BW));
    return one == 0.0 ? std::nullopt : std::optional(one);
}

bool OpenedImage::can_show_suv() const {
    return m_Modality.GetModality() == SPC_Modality::MODALITY_PT &&
           !m_Units.IsDataMissingForMeasurement(SPC_UNITS_SUV_BW);
}

ModalityWindow OpenedImage::suv_scale() const {
    const double top =
        static_cast<double>(m_Units.TranslateBackFromUnitsToPixel(kSuvScaleTop, SPC_UNITS_SUV_BW));
    return {top / 2.0, top};
}

/// A PT image that its map of SUV type cannot bring to the SUV scale says why.
void OpenedImage::note_missing_suv_scale() {
    const ZEV_ColorMap* map = m_Params.GetColorMap();
    if (m_Modality.GetModality() != SPC_Modality::MODALITY_PT || map == nullptr || !map->GetIsSUVType())
        return;
    if (const wchar_t* missing = m_Units.GetMissingDataText(SPC_UNITS_SUV_BW)) {
        m_Notes.push_back({"no-suv", "not on the SUV scale: it needs " + refhost::ToUtf8(missing) +
                                         ", which the image lacks"});
    }
}

std::vector<Note> OpenedImage::Notes() const {
    std::vector<Note> notes = File().Notes();
    notes.insert(notes.end(), m_Source->stateNotes.begin(), m_Source->stateNotes.end());
    notes.insert(notes.end(), m_Notes.begin(), m_Notes.end());
    if (m_WindowSource == WindowSource::kFallback && !File().IsColour() &&
        !File().DataSet().Has(tag::kModality)) {
        notes.push_back(
            {"fallback", "without a Modality no window is measured on opening; --auto measures one"});
    }
    return notes;
}

const SupplementalPalette* OpenedImage::Supplement() {
    const auto& palette = File().Supplement();
    const bool isFree = Message().Get(Dicom_Dictionary::MIREL_COLOR_MAP_UID) == nullptr &&
                        m_Params.GetColorMap() == m_AsOpened.colourMap;
    return palette && isFree ? &*palette : nullptr;
}

double OpenedImage::ModalityCenter() {
    if (m_WindowInLevels) return m_WindowInLevels->Center();
    const double center = m_bEndsCount
                              ? (static_cast<double>(m_Params.GetWindowMin()) + m_Params.GetWindowMax()) / 2.0
                              : m_Params.GetCenter();
    return m_bUseRescale ? center : m_Rescale.Value(center);
}

double OpenedImage::ModalityWidth() {
    if (m_WindowInLevels) return m_WindowInLevels->Width();
    const double width = m_bEndsCount ? static_cast<double>(m_Params.GetWindowMax()) - m_Params.GetWindowMin()
                                      : m_Params.GetWidth();
    return m_bUseRescale ? width : width * std::fabs(m_Rescale.slope);
}

bool OpenedImage::ModalityInverse() {
    const bool isTurned = !m_bUseRescale && m_Rescale.slope < 0.0;
    return m_Params.IsInverse() != isTurned;
}

bool OpenedImage::WindowIsAsInFile() {
    const bool isFromFile = m_AsOpened.windowSource == WindowSource::kVoiLutEntry ||
                            m_AsOpened.windowSource == WindowSource::kRawAttributes;
    return isFromFile && m_Params.GetCenter() == m_AsOpened.center &&
           m_Params.GetWidth() == m_AsOpened.width &&
           m_Params.GetVoiLutSelection() == m_AsOpened.voiLutSelection &&
           m_bUseRescale != m_AsOpened.inStoredValues;
}

bool OpenedImage::HasNaturalGammaInstead() {
    return Message().Get(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE) != nullptr &&
           !m_Params.IsGammaDisabled() && !m_Params.GammaExistAndNotNaturalValue();
}

bool OpenedImage::loses_fractions(const ModalityWindow& window) const {
    // The library takes a whole intercept and a float slope.
    if (File().IsReduced()) return true;
    if (m_Rescale.slope == 0.0 || !(std::fabs(m_Rescale.slope) < 1.0)) return false;
    const double lost = std::fabs(window.center - std::trunc(window.center)) +
                        std::fabs(window.width - std::trunc(window.width));
    return lost > kCoarsest * window.width;
}

/// Without rescale, which would turn the ramp round for a negative slope, the object's own inversion has to
/// do it.
void OpenedImage::change_to_stored_values() {
    if (!m_bUseRescale) return;
    m_bUseRescale = false;
    m_Params.SetUseRescale(false);
    if (m_Rescale.slope < 0.0) m_Params.InitInverse(!m_Params.IsInverse());
}

void OpenedImage::change_to_modality_values() {
    if (m_bUseRescale || File().IsReduced()) return;
    m_bUseRescale = true;
    m_Params.SetUseRescale(true);
    if (m_Rescale.slope < 0.0) m_Params.InitInverse(!m_Params.IsInverse());
}

ModalityWindow OpenedImage::on_stored_grid(const ModalityWindow& window) const {
    const ModalityWindow nearest = m_Rescale.Window(m_Rescale.Stored(window));
    // As a decimal string gives it back.
    return {static_cast<double>(Dicom_DS(nearest.center)), static_cast<double>(Dicom_DS(nearest.width))};
}

/// The window that counts is the one on the grid: written to a file and opened again, it is told in the same
/// units.
void OpenedImage::choose_units(ModalityWindow& window) {
    m_Asked = window;
    if (loses_fractions(window)) {
        window = on_stored_grid(window);
        if (loses_fractions(window)) {
            change_to_stored_values();
            return;
        }
    }
    change_to_modality_values();
}

/// A map of SUV type would bring its scale also to an image into which a window was saved.
void OpenedImage::keep_saved_window() {
    const bool isSaved = Message().Get(Dicom_Dictionary::ORNEL1_INVERSE_WINDOW) != nullptr;
    if (m_WindowSource != WindowSource::kColourMapSuv || !isSaved || m_Params.GetVoiLutSelection() < 0)
        return;
    m_Params.SetVoiLutSelection(m_Params.GetVoiLutSelection(), false);
    m_WindowSource = WindowSource::kVoiLutEntry;
}

void OpenedImage::note_window(const std::string& what) {
    if (File().IsColour()) return;
    m_WindowSteps.push_back(
        {m_WindowSource, what, m_Asked.value_or(ModalityWindow{ModalityCenter(), ModalityWidth()})});
    m_Asked.reset();
}

/// With a presentation state the message has the window of the state already; what it took the place of is
/// only named.
void OpenedImage::note_opening() {
    if (State() != nullptr) {
        const DicomDataSet own = File().OwnDataSet();
        if (own.Has(tag::kWindowCenter)) {
            m_WindowSteps.push_back(
                {WindowSource::kRawAttributes,
                 "the image's own window",
                 {own.Number(tag::kWindowCenter, 0.0), own.Number(tag::kWindowWidth, 0.0)}});
        }
        m_Asked.reset();
        return;
    }
    switch (m_WindowSource) {
        case WindowSource::kVoiLutEntry:
            return note_window(selected_entry());
        case WindowSource::kColourMapSuv:
            return note_window("the scale of the modality's colour map");
        case WindowSource::kAutomatic:
            return note_window(File().DataSet().Has(tag::kWindowWidth)
                                   ? "measured: the image's own, of width " +
                                         File().DataSet().Text(tag::kWindowWidth) + ", is not a window"
                                   : "measured: the image has none");
        case WindowSource::kFallback:
            return note_window("the fixed window");
        default:
            m_Asked = ModalityWindow{File().DataSet().Number(tag::kWindowCenter, 0.0),
                                     File().DataSet().Number(tag::kWindowWidth, 0.0)};
            return note_window("the image's window attributes");
    }
}

std::string OpenedImage::selected_entry() {
    const int selection = m_Params.GetVoiLutSelection();
    const auto& entries = m_Params.GetVoiLutManager()->m_Entries;
    std::string text =
        "windowing entry " + std::to_string(selection) + " of " + std::to_string(entries.size());
    if (selection >= 0 && static_cast<std::size_t>(selection) < entries.size()) {
        const Dicom_LO name = entries[static_cast<std::size_t>(selection)]->GetWindowingExplanation();
        text += ", '" + refhost::ToUtf8(name.GetText(0).c_str()) + "'";
    }
    return text;
}

/// The message has the tables of the state already. What no message holds is put here: the direction of the
/// table, its colours, and the exact ends of the window.
void OpenedImage::apply_state() {
    const PresentationState& state = *State();
    const DicomDataSet& set = File().DataSet();
    const std::string instance = set.Text(tag::kSopInstance);
    change_to_modality_values();
    m_bOwnMinMaxMode = m_Params.GetMinMaxScaleMode();
    m_WindowSource = WindowSource::kState;
    m_Params.SetColorMap(nullptr);
    if (state.kind == PresentationState::Kind::kPseudoColour) {
        auto map = std::make_unique<ZEV_ColorMap>();
        const std::vector<std::uint32_t> colours = PaletteOf(state);
        for (std::size_t i = 0; i < colours.size(); ++i) {
            KIT_Color& colour = map->GetTable()[i];
            colour.m_Red = static_cast<int>(colours[i] >> 16 & 0xFF);
            colour.m_Green = static_cast<int>(colours[i] >> 8 & 0xFF);
            colour.m_Blue = static_cast<int>(colours[i] & 0xFF);
        }
        map->SetName(L"presentation state");
        m_Params.AddDicomColorMap(map.release());
        m_Params.SetColorMapToDicomColorMap();
    }
    // A table that falls is drawn as it is only by an inverted one.
    const Mir_AutoPtrThread<Mapper_Pval> pval = m_Params.GetMapperPvLut();
    const bool hasTable = pval.get() != nullptr && pval->HasPvalLut();
    m_Params.InitInverse(hasTable ? pval->IsLutReversing()
                                  : set.Text(tag::kPresentationLutShape) == "INVERSE");

    std::string what = "presentation state " + state.Label();
    if (ExactWindowOf(state, instance, File().Frame())) {
        const DicomDataSet& own = *state.VoiLut(instance, File().Frame());
        const std::string function = own.Text(tag::kVoiLutFunction);
        what += (function == "SIGMOID" ? ", " : ", the ends of ") + (function.empty() ? "LINEAR" : function) +
                " with centre " + own.Text(tag::kWindowCenter) + " and width " + own.Text(tag::kWindowWidth);
    }
    show_state_window();
    note_window(what);
}

void OpenedImage::show_state_window() {
    std::optional<ExactWindow> window =
        ExactWindowOf(*State(), File().DataSet().Text(tag::kSopInstance), File().Frame());
    const bool hasCurve = !window && m_Params.GetVoiLutEntryCount() > 0;
    if (!window) {
        const double first = FirstValue();
        const auto [low, high] = m_Rescale.Range({first, first + ValueCount() - 1.0});
        window = ExactWindow{low, high};
    }
    const bool hasTable = File().DataSet().FirstItem(tag::kPresentationLutSequence) != nullptr;
    if (!hasCurve && (hasTable || !shows_as_whole(*window))) {
        show_levels(*window);
    } else if (hasCurve || window->isSigmoid) {
        m_Params.SetVoiLutSelection(0, false);
    } else {
        set_ends(window->low, window->high);
    }
}

/// Whether a window of whole numbers is within a level of it everywhere.
bool OpenedImage::shows_as_whole(const ExactWindow& window) const {
    const auto is_whole = [](double value) { return std::fabs(value - std::round(value)) <= kNoise; };
    if (window.isSigmoid)
        return m_bUseRescale && is_whole(window.Center()) && is_whole(window.Width()) &&
               is_whole(m_Rescale.intercept);
    const auto [from, to] = m_Rescale.StoredRange({window.low, window.high});
    return to == from || (is_whole(from) && is_whole(to));
}

/// Draws through a presentation LUT with the level of each stored value on the ramp, or of all of them where
/// it does not lead from black to white. Its first and last entry are beyond these, and give it the direction
/// in which it is drawn as it is. Of 65,536 stored values two have the level of their neighbour.
void OpenedImage::show_levels(const ExactWindow& window) {
    const bool isInverse = m_Params.IsInverse();
    change_to_stored_values();
    const DicomDataSet* const item = File().DataSet().FirstItem(tag::kPresentationLutSequence);
    StoredTable own;
    if (item != nullptr) own = ReadStoredTable(*item, tag::kLutDescriptor, tag::kLutData, false);
    constexpr int kTop = 65535;
    const auto level = [&](int pixel) {
        const double y = window.At(m_Rescale.Value(pixel));
        if (own.entries.empty()) {
            const int rising = static_cast<int>(std::lround(y * kTop));
            return static_cast<std::uint16_t>(isInverse ? kTop - rising : rising);
        }
        const auto last = static_cast<double>(own.entries.size() - 1);
        const double entry = own.entries[static_cast<std::size_t>(std::lround(y * last))];
        return static_cast<std::uint16_t>(std::lround(std::min(entry / ((1 << own.bits) - 1), 1.0) * kTop));
    };

    const int before = FirstValue() - 1, after = FirstValue() + ValueCount();
    int low = before, high = after;
    if (own.entries.empty() && !window.isSigmoid) {
        const auto [from, to] = m_Rescale.StoredRange({window.low, window.high});
        low = std::clamp(truncated(std::ceil(from) - 1.0), before, after - 1);
        high = std::clamp(truncated(std::floor(to) + 1.0), low + 1, after);
    }
    const bool isTurned = m_Params.IsInverse();
    std::vector<std::uint16_t> levels{static_cast<std::uint16_t>(isTurned ? kTop : 0)};
    for (int pixel = low + 1; pixel < high; ++pixel) levels.push_back(level(pixel));
    levels.push_back(static_cast<std::uint16_t>(isTurned ? 0 : kTop));
    // With two entries less than steps, rounding leaves out those behind a quarter and three quarters.
    if (high - low > kTop) {
        levels.erase(levels.begin() + 49153);
        levels.erase(levels.begin() + 16385);
    }

    DicomDataSet table;
    table.elements[tag::kPresentationLutSequence] = LevelTable(levels, "window");
    init_ends(low, high);
    m_Params.SetMapperPvLut(new Mapper_Pval(MakeMessage(table).get()));
    m_WindowInLevels = window;
    m_Asked = ModalityWindow{window.Center(), window.Width()};
}

/// The ramp from `low` to `high` in modality units. Where these, or the stored values that they stand for,
/// are not whole, the ends are the next whole stored values.
void OpenedImage::set_ends(double low, double high) {
    const auto is_whole = [](double value) { return value == std::floor(value); };
    auto [from, to] = m_Rescale.StoredRange({low, high});
    m_Asked = ModalityWindow{low / 2.0 + high / 2.0, high - low};
    const bool isExact = !File().IsReduced() && m_Rescale.slope > 0.0 && from >= FirstValue() &&
                         is_whole(low) && is_whole(high) && is_whole(from) && is_whole(to) &&
                         is_whole(m_Rescale.intercept) &&
                         m_Rescale.slope == static_cast<double>(static_cast<float>(m_Rescale.slope));
    if (isExact) {
        from = low, to = high;
    } else {
        change_to_stored_values();
        const bool isAtPixel = std::fabs(from - std::round(from)) <= kNoise;
        from = std::ceil(from - kNoise), to = std::ceil(to - kNoise);
        // A step: black up to and with its value, white from the next one on; where the values fall, white
        // below its value.
        if (to <= from) {
            if (low == high && isAtPixel && m_Rescale.slope > 0.0) to += 1.0;
            from = to - 1.0;
        }
    }
    // The value of a step is still black.
    if (to <= from) to = from + 1.0;
    init_ends(from, to);
}

void OpenedImage::init_ends(double from, double to) {
    // In stored values a table moves ends below its first entry up by one.
    for (double* const end : {&from, &to}) *end -= !m_bUseRescale && *end < FirstValue() ? 1.0 : 0.0;
    m_Params.SetVoiLutSelection(-1, false);
    m_Params.InitCenter(truncated((from + to) / 2.0));
    m_Params.InitWidth(truncated(to - from));
    m_Params.SetMinMaxScaleMode(true);
    m_Params.SetWindowMin(truncated(from));
    m_Params.SetWindowMax(truncated(to));
    m_bEndsCount = true;
}

/// A presentation LUT knows no gamma: the ends become whole.
void OpenedImage::show_gamma() {
    if (!m_WindowInLevels || File().DataSet().Has(tag::kPresentationLutSequence)) return;
    const ExactWindow window = *m_WindowInLevels;
    leave_ends();
    change_to_modality_values();
    if (window.isSigmoid) {
        m_Params.SetVoiLutSelection(0, false);
    } else {
        set_ends(window.low, window.high);
    }
}

void OpenedImage::leave_ends() {
    if (!m_bEndsCount) return;
    m_bEndsCount = false;
    m_Params.SetMinMaxScaleMode(m_bOwnMinMaxMode);
    if (!m_WindowInLevels) return;
    m_WindowInLevels.reset();
    m_Params.SetMapperPvLut(new Mapper_Pval(&Message()));
}

void OpenedImage::lay_display_parameters(const SavedPresentation& file) {
    OBJ_Msg saved(*file.msg);
    m_SavedRegions = file.regions;
    // A preset that is configured is applied here, since the library has no way to show it in stored values.
    const std::string modality = refhost::ToUtf8(m_Modality.GetModalityName());
    const std::string preset = saved_preset(saved, modality);
    if (!preset.empty()) saved.Remove(Dicom_Dictionary::MIREL_WINDOWING_PRESET);
    ModalityWindow before{ModalityCenter(), ModalityWidth()};
    const bool hasStateWindow = m_bEndsCount;
    leave_ends();
    // Display parameters are saved with rescale in use.
    change_to_modality_values();
    KIT_BaseParamsVec view(L"zev");
    view.Append(&m_Modality);
    view.Append(&m_Params);
    if (can_show_suv()) view.Append(&m_Units);
    ZEV_Dicom().UpdateFromDDP(&Message(), &Raster(), &m_Params, &saved, &view);
    settle_width();

    const Dicom_Tag centerTag(tag::kWindowCenter), widthTag(tag::kWindowWidth), slopeTag(tag::kRescaleSlope),
        interceptTag(tag::kRescaleIntercept);
    const auto has = [&](const Dicom_Tag& tag) { return saved.Get(tag) != nullptr; };
    const ZEV_ColorMap* map = m_Params.GetColorMap();
    if (has(centerTag) && has(widthTag)) {
        ModalityWindow window{saved.GetDouble(centerTag, 0.0), saved.GetDouble(widthTag, 0.0)};
        m_SavedWindow = window;
        const double slope = saved.GetDouble(slopeTag, 1.0);
        if (has(interceptTag) && has(slopeTag) && slope != 0.0) {
            window.center = m_Rescale.Value((window.center - saved.GetDouble(interceptTag, 0.0)) / slope);
            window.width = std::fabs(window.width / slope * m_Rescale.slope);
        }
        m_WindowSource = WindowSource::kSaved;
        if (m_SavedWindow->center == 0.0 && m_SavedWindow->width == 0.0) {
            m_WindowSource = WindowSource::kAutomatic;
            use_stored_values_for_fractions();
        } else {
            show_saved_window(window);
        }
    } else if (map != nullptr && map != m_AsOpened.colourMap && map->GetIsSUVType() && can_show_suv()) {
        m_WindowSource = WindowSource::kColourMapSuv;
        use_stored_values_for_fractions();
    } else if (hasStateWindow && m_Params.GetVoiLutSelection() <= 0 &&
               !has(Dicom_Dictionary::MIREL_WINDOWING_PRESET)) {
        show_state_window();
        if (m_Params.GammaExistAndNotNaturalValue()) show_gamma();
    } else if (has(Dicom_Dictionary::MIREL_SELECTED_WINDOWING)) {
        m_WindowSource = WindowSource::kSaved;
        use_stored_values_for_fractions();
    } else if (has(Dicom_Dictionary::MIREL_WINDOWING_PRESET) && m_Params.GetVoiLutSelection() < 0) {
        m_WindowSource = WindowSource::kSaved;
    } else if (m_AsOpened.inStoredValues) {
        show_saved_window(before);
    }
    if (!preset.empty()) apply_preset(preset);
}

/// The selection of an entry stays, unless it has a curve that is told in modality units only.
void OpenedImage::show_saved_window(ModalityWindow window) {
    choose_units(window);
    const int selection = m_Params.GetVoiLutSelection();
    const bool isCurve =
        selection >= 0 &&
        m_Params.GetVoiLutManager()->m_Entries[static_cast<std::size_t>(selection)]->m_FunctionCode !=
            Mapper_WindowingEntry::FUNCTION_LINEAR;
    if (!m_bUseRescale && isCurve) {
        set_window(window);
    } else {
        set_numbers(window);
    }
}

/// An image whose rescaled values are fractions would come out black, since windows are whole numbers: a
/// window of 0.21 has a width of 0. It is presented in stored values instead.
void OpenedImage::use_stored_values_for_fractions() {
    ModalityWindow window;
    int storedWidth = 0, storedCenter = 0;
    const int selection = m_Params.GetVoiLutSelection();
    const Mapper_WindowingEntry* entry = nullptr;
    if (selection >= 0) entry = m_Params.GetVoiLutManager()->m_Entries[static_cast<std::size_t>(selection)];
    if (m_WindowSource == WindowSource::kColourMapSuv) {
        window = suv_scale();
    } else if (entry != nullptr) {
        window = {entry->GetCenter(), entry->GetWidth()};
    } else if (ZEV_Dicom::GetAutoWinValuesForImage(&Message(), &storedWidth, &storedCenter)) {
        window = m_Rescale.Window({storedCenter, storedWidth});
    } else if (File().IsReduced()) {
        window = m_Rescale.Window({32768, 65536});
    } else {
        return;
    }
    if (m_WindowSource != WindowSource::kFallback) m_Asked = window;
    if (!loses_fractions(window)) return;
    // A window that whole numbers made 0 and 0 gave way to the fixed one.
    if (m_WindowSource == WindowSource::kFallback && (entry != nullptr || storedWidth != 0)) {
        m_WindowSource = entry != nullptr ? WindowSource::kVoiLutEntry : WindowSource::kAutomatic;
    }
    choose_units(window);
    if (m_bUseRescale) {
        m_Params.InitCenter(truncated(window.center));
        m_Params.InitWidth(std::max(1, truncated(window.width)));
        return;
    }
    if (entry != nullptr && entry->m_FunctionCode != Mapper_WindowingEntry::FUNCTION_LINEAR) {
        m_Params.SetVoiLutSelection(-1, false);
    }
    const StoredWindow stored = m_Rescale.Stored(window);
    m_Params.InitCenter(stored.center);
    m_Params.InitWidth(stored.width);
}

void OpenedImage::set_window(const ModalityWindow& window) {
    // An entry's curve, if it is none of the linear ones, would win over the numbers. Gamma is the image's or
    // the user's and stays.
    const float gamma = m_Params.GetGamma();
    m_Params.SetVoiLutSelection(-1, false);
    m_Params.SetGamma(gamma);
    set_numbers(window);
}

void OpenedImage::set_numbers(const ModalityWindow& window) {
    leave_ends();
    if (m_bUseRescale) {
        m_Params.SetCenter(truncated(window.center));
        m_Params.SetWidth(std::max(1, truncated(window.width)));
    } else {
        const StoredWindow stored = m_Rescale.Stored(window);
        m_Params.SetCenter(stored.center);
        m_Params.SetWidth(stored.width);
    }
}

void ReadStates(PresentationOptions& options) {
    if (!options.statesPath.empty())
        options.states = std::make_shared<PresentationStates>(options.statesPath);
}

std::optional<StoredWindow> MeasureWindow(OpenedImage& image) {
    // Opened as an image without a window, so that both are measured in the same way. One without a modality,
    // which opening does not measure, is measured as an image of another kind.
    OBJ_Msg bare(image.Message());
    int status = 0;
    if (bare.Get(Dicom_Tag(tag::kModality)) == nullptr)
        bare.Put(Dicom_Tag(tag::kModality), Dicom_CS("OT", &status));
    for (const std::uint32_t tag : {tag::kWindowCenter, tag::kWindowWidth, tag::kVoiLutSequence})
        bare.Remove(Dicom_Tag(tag));
    ZEV_Params measured;
    KIT_BaseParamsVec view(L"zev auto");
    view.Append(&image.Modality());
    ZEV_Dicom().UpdateFromDicom(&bare, &image.Raster(), &measured, nullptr, false, true, &view);
    StoredWindow window;
    if (!ZEV_Dicom::GetAutoWinValuesForImage(&bare, &window.width, &window.center)) return std::nullopt;
    return window;
}

void OpenedImage::measure_window() {
    const std::optional<StoredWindow> window = MeasureWindow(*this);
    if (!window) throw PresentError(File().Path(), "no window can be measured from its pixels");
    ModalityWindow measured = m_Rescale.Window(*window);
    choose_units(measured);
    set_window(measured);
    m_WindowSource = WindowSource::kAutomatic;
}

void OpenedImage::apply_colour_map(const std::string& uidOrName) {
    ZEV_ColorMap& map = FindColourMap(uidOrName, refhost::ToUtf8(m_Modality.GetModalityName()));
    m_Params.SetColorMap(&map);
    m_Params.SetColormapChangedByUser(true);
    if (!map.GetIsSUVType() || !can_show_suv()) return;
    ModalityWindow scale = suv_scale();
    choose_units(scale);
    set_window(scale);
    m_WindowSource = WindowSource::kColourMapSuv;
}

void OpenedImage::apply_preset(const std::string& name) {
    const ZEV_PresetValue& preset = FindPreset(name, refhost::ToUtf8(m_Modality.GetModalityName()));
    const std::string what = "preset '" + name + "' ";
    m_Asked.reset();
    const SPC_MEASUREMENT_UNITS units = ZEV_WindowingUnits::ConvertFromZevWindowingUnits(preset.GetUnits());
    if (const wchar_t* missing = m_Units.GetMissingDataText(units)) {
        throw PresentError(File().Path(),
                           what + "needs " + refhost::ToUtf8(missing) + ", which the image lacks");
    }
    // Presets are in modality units.
    leave_ends();
    change_to_modality_values();
    const float gamma = m_Params.GetGamma();
    if (!ZEV_Dicom::SetWindowingPresetValues(&m_Params, &m_View, preset.GetMin(), preset.GetMax(),
                                             preset.GetCenter(), preset.GetWidth(), preset.GetUnits())) {
        throw PresentError(File().Path(), what + "cannot be applied");
    }
    m_Params.SetGamma(gamma);
    ModalityWindow exact;
    if (ZEV_Dicom::TranslatePresetValues(&m_Params, &m_View, preset.GetMin(), preset.GetMax(),
                                         preset.GetCenter(), preset.GetWidth(), preset.GetUnits(),
                                         &exact.center, &exact.width)) {
        m_Asked = exact;
        if (loses_fractions(exact)) {
            choose_units(exact);
            set_window(exact);
        }
    }
    m_WindowSource = WindowSource::kPreset;
    m_Preset = NameOf(preset);
}

void OpenedImage::apply(const PresentationOptions& options) {
    // First, since the scale that a map brings gives way to a window that is asked for.
    if (options.colourMap) {
        apply_colour_map(*options.colourMap);
        if (m_WindowSource == WindowSource::kColourMapSuv) note_window("the scale of --colormap");
    }
    if (options.voi) {
        const unsigned count = m_Params.GetVoiLutEntryCount();
        if (static_cast<unsigned>(*options.voi) >= count) {
            throw PresentError(
                File().Path(),
                "has no windowing entry " + std::to_string(*options.voi) +
                    (count == 0 ? ": it has none" : ": its entries are 0 to " + std::to_string(count - 1)));
        }
        leave_ends();
        change_to_modality_values();
        m_Params.SetVoiLutSelection(*options.voi, false);
        m_WindowSource = WindowSource::kVoiLutEntry;
        use_stored_values_for_fractions();
        note_window("--voi: " + selected_entry());
    }
    if (options.preset) {
        apply_preset(*options.preset);
        note_window("--preset " + *options.preset);
    }
    if (options.automatic) {
        measure_window();
        note_window("--auto");
    }
    if (options.center && options.width) {
        ModalityWindow window{*options.center, *options.width};
        choose_units(window);
        set_window(window);
        m_WindowSource = WindowSource::kOption;
        note_window("--center and --width");
    }
    if (options.gamma) {
        if (!ZEV_Params::IsValidGamma(*options.gamma)) throw UsageError("--gamma: not from 0.1 to 5");
        show_gamma();
        m_Params.SetGamma(*options.gamma);
    }
    if (options.invert) m_Params.SetInverse(!m_Params.IsInverse());
}
