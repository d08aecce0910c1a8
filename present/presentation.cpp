#include "presentation.h"

#include <DICOM/Dicom_Dictionary.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
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
#include "ddp_file.h"
#include "io/dicom_tags.h"
#include "io/present_error.h"
#include "message_elements.h"

namespace {

/// A window may lose this part of its width to whole numbers before it is told in stored values instead.
constexpr double kCoarsest = 0.01;

/// The scale that a colour map of SUV type brings.
constexpr float kSuvScaleTop = 10.0F;
const char* const kSuvScaleSource = "colormap-suv";

/// Fractions cut off, beyond the ends the end.
int truncated(double value) {
    if (!(value > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return value < std::numeric_limits<int>::max() ? static_cast<int>(value)
                                                   : std::numeric_limits<int>::max();
}

int nearest(double value) { return truncated(std::floor(value + 0.5)); }

refhost::MemoryRaster make_raster(const DicomFile& file) {
    if (!file.IsColour()) {
        const MonoPixels& pixels = file.Mono();
        refhost::MemoryRaster raster(file.Columns(), file.Rows(), pixels.bits, pixels.isSigned);
        raster.Bytes() = pixels.bytes;
        return raster;
    }
    refhost::MemoryRaster raster = refhost::MemoryRaster::TrueColor(file.Columns(), file.Rows());
    const Picture& picture = file.Colour();
    for (std::size_t i = 0; i < picture.rgb.size() / 3; ++i) {
        const std::uint8_t* rgb = &picture.rgb[3 * i];
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

OpenedImage::OpenedImage(const std::string& path, const PresentationOptions& options)
    : OpenedImage(DicomFile::Load(path, options.frame), options) {}

OpenedImage::OpenedImage(DicomFile file, const PresentationOptions& options)
    : m_File(std::move(file)),
      m_Message(MakeMessage(m_File.DataSet())),
      m_Raster(make_raster(m_File)),
      m_Modality(refhost::FromUtf8(m_File.DataSet().Text(tag::kModality)).c_str()),
      m_Units(m_Message.get()),
      m_View(L"zev"),
      m_Slope(m_File.DataSet().Number(tag::kRescaleSlope, 1.0)),
      m_Intercept(m_File.DataSet().Number(tag::kRescaleIntercept, 0.0)) {
    m_View.Append(&m_Modality);
    m_View.Append(&m_Params);
    measure_range();
    // Units that cannot tell SUV would have a map of SUV type set a window of 0 to 10 pixel values.
    if (can_show_suv()) m_View.Append(&m_Units);
    // The map of the image before sets no window when it is chosen again. Here every image opens as if it were the first.
    ZEV_ProcedureColorMapsList::m_pPreviousColorMap = nullptr;
    if (ZEV_Dicom().UpdateFromDicom(m_Message.get(), &m_Raster, &m_Params, nullptr, false, false, &m_View) !=
        0) {
        throw PresentError(m_File.Path(), "cannot be opened");
    }
    if (!can_show_suv()) m_View.Append(&m_Units);
    m_Frozen.SetLiveParams(&m_Params);
    m_Frozen.SetReferenceRaster(&m_Raster, false);
    note_window_source();
    keep_saved_window();
    note_missing_suv_scale();
    use_stored_values_for_fractions();
    m_AsOpened = {m_Params.GetCenter(), m_Params.GetWidth(), m_Params.GetVoiLutSelection(),
                  !m_bUseRescale,       m_WindowSource,      m_Params.GetColorMap()};
    if (!options.displayParameters.empty()) lay_display_parameters(options);
    apply(options);
}

/// What the pixels of the frame span, padding left out, is what 0 and 100 per cent stand for.
void OpenedImage::measure_range() {
    if (m_File.IsColour()) return;
    const MonoPixels& pixels = m_File.Mono();
    const auto padding = [&](std::uint32_t tag, int fallback) {
        if (!m_File.DataSet().Has(tag)) return fallback;
        const int word = m_File.DataSet().Word(tag, 0);
        return pixels.isSigned ? static_cast<int>(static_cast<std::int16_t>(word)) : word;
    };
    const int value = padding(tag::kPixelPaddingValue, ZEV_Params::kNoPadding);
    const auto [first, last] = std::minmax({value, padding(tag::kPixelPaddingRangeLimit, value)});
    int low = std::numeric_limits<int>::max(), high = std::numeric_limits<int>::min();
    const std::size_t count =
        static_cast<std::size_t>(m_File.Rows()) * static_cast<std::size_t>(m_File.Columns());
    for (std::size_t i = 0; i < count; ++i) {
        const int pixel = pixels.Get(i);
        if (pixel >= first && pixel <= last) continue;
        low = std::min(low, pixel);
        high = std::max(high, pixel);
    }
    if (low > high) return;
    const double a = low * m_Slope + m_Intercept, b = high * m_Slope + m_Intercept;
    m_Units.SetMaximalRange(std::min(a, b), std::max(a, b));
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
        m_Notes.push_back("not on the SUV scale: it needs " + refhost::ToUtf8(missing) +
                          ", which the image lacks");
    }
}

std::vector<std::string> OpenedImage::Notes() const {
    std::vector<std::string> notes = m_File.Notes();
    notes.insert(notes.end(), m_Notes.begin(), m_Notes.end());
    return notes;
}

void OpenedImage::note_window_source() {
    int width = 0, center = 0;
    const ZEV_ColorMap* chosen = ZEV_ProcedureColorMapsList::m_pPreviousColorMap;
    if (chosen != nullptr && chosen->GetIsSUVType() && can_show_suv()) {
        m_WindowSource = kSuvScaleSource;
    } else if (m_Params.GetVoiLutSelection() >= 0) {
        m_WindowSource = "voi-lut-entry";
    } else if (m_Params.GetVoiLutEntryCount() > 0 && m_File.DataSet().Has(tag::kWindowCenter) &&
               m_File.DataSet().Has(tag::kWindowWidth)) {
        m_WindowSource = "raw-attributes";
    } else if (ZEV_Dicom::GetAutoWinValuesForImage(m_Message.get(), &width, &center)) {
        m_WindowSource = "automatic";
    } else {
        m_WindowSource = "fallback";
    }
}

double OpenedImage::ModalityCenter() {
    return m_bUseRescale ? m_Params.GetCenter() : m_Params.GetCenter() * m_Slope + m_Intercept;
}

double OpenedImage::ModalityWidth() {
    return m_bUseRescale ? m_Params.GetWidth() : m_Params.GetWidth() * std::fabs(m_Slope);
}

bool OpenedImage::ModalityInverse() {
    const bool isTurned = !m_bUseRescale && m_Slope < 0.0;
    return m_Params.IsInverse() != isTurned;
}

bool OpenedImage::WindowIsAsInFile() {
    const bool isFromFile =
        m_AsOpened.windowSource == "voi-lut-entry" || m_AsOpened.windowSource == "raw-attributes";
    return isFromFile && m_Params.GetCenter() == m_AsOpened.center &&
           m_Params.GetWidth() == m_AsOpened.width &&
           m_Params.GetVoiLutSelection() == m_AsOpened.voiLutSelection &&
           m_bUseRescale != m_AsOpened.inStoredValues;
}

bool OpenedImage::HasNaturalGammaInstead() {
    return m_Message->Get(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE) != nullptr &&
           !m_Params.IsGammaDisabled() && !m_Params.GammaExistAndNotNaturalValue();
}

bool OpenedImage::loses_fractions(const ModalityWindow& window) const {
    if (m_Slope == 0.0 || !(std::fabs(m_Slope) < 1.0)) return false;
    const double lost = std::fabs(window.center - std::trunc(window.center)) +
                        std::fabs(window.width - std::trunc(window.width));
    return lost > kCoarsest * window.width;
}

/// Without rescale, which would turn the ramp round for a negative slope, the object's own inversion has to do it.
void OpenedImage::change_to_stored_values() {
    if (!m_bUseRescale) return;
    m_bUseRescale = false;
    m_Params.SetUseRescale(false);
    if (m_Slope < 0.0) m_Params.InitInverse(!m_Params.IsInverse());
}

void OpenedImage::change_to_modality_values() {
    if (m_bUseRescale) return;
    m_bUseRescale = true;
    m_Params.SetUseRescale(true);
    if (m_Slope < 0.0) m_Params.InitInverse(!m_Params.IsInverse());
}

ModalityWindow OpenedImage::on_stored_grid(const ModalityWindow& window) const {
    const int center = nearest((window.center - m_Intercept) / m_Slope);
    const int width = nearest(window.width / std::fabs(m_Slope));
    // As a decimal string gives it back.
    return {static_cast<double>(Dicom_DS(center * m_Slope + m_Intercept)),
            static_cast<double>(Dicom_DS(width * std::fabs(m_Slope)))};
}

/// The window that counts is the one on the grid: written to a file and opened again, it is told in the same units.
void OpenedImage::choose_units(ModalityWindow& window) {
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
    const bool isSaved = m_Message->Get(Dicom_Dictionary::ORNEL1_INVERSE_WINDOW) != nullptr;
    if (m_WindowSource != kSuvScaleSource || !isSaved || m_Params.GetVoiLutSelection() < 0) return;
    m_Params.SetVoiLutSelection(m_Params.GetVoiLutSelection(), false);
    m_WindowSource = "voi-lut-entry";
}

void OpenedImage::lay_display_parameters(const PresentationOptions& options) {
    const std::unique_ptr<OBJ_Msg> saved = ReadDisplayParameters(
        options.displayParameters, m_File.DataSet().Text(tag::kSopInstance), options.force);
    m_SavedRegions = ReadSavedRegions(options.displayParameters);
    ModalityWindow before{ModalityCenter(), ModalityWidth()};
    // What is saved is told with rescale in use.
    change_to_modality_values();
    KIT_BaseParamsVec view(L"zev");
    view.Append(&m_Modality);
    view.Append(&m_Params);
    if (can_show_suv()) view.Append(&m_Units);
    ZEV_Dicom().UpdateFromDDP(m_Message.get(), &m_Raster, &m_Params, saved.get(), &view);

    const Dicom_Tag centerTag(tag::kWindowCenter), widthTag(tag::kWindowWidth), slopeTag(tag::kRescaleSlope),
        interceptTag(tag::kRescaleIntercept);
    const auto has = [&](const Dicom_Tag& tag) { return saved->Get(tag) != nullptr; };
    const ZEV_ColorMap* map = m_Params.GetColorMap();
    if (has(centerTag) && has(widthTag)) {
        ModalityWindow window{saved->GetDouble(centerTag, 0.0), saved->GetDouble(widthTag, 0.0)};
        m_SavedWindow = window;
        const double slope = saved->GetDouble(slopeTag, 1.0);
        if (has(interceptTag) && has(slopeTag) && slope != 0.0) {
            window.center =
                (window.center - saved->GetDouble(interceptTag, 0.0)) / slope * m_Slope + m_Intercept;
            window.width = window.width / slope * m_Slope;
        }
        m_WindowSource = "saved";
        if (m_SavedWindow->center == 0.0 && m_SavedWindow->width == 0.0) {
            m_WindowSource = "automatic";
            use_stored_values_for_fractions();
        } else {
            show_saved_window(window);
        }
    } else if (map != nullptr && map != m_AsOpened.colourMap && map->GetIsSUVType() && can_show_suv()) {
        m_WindowSource = kSuvScaleSource;
        use_stored_values_for_fractions();
    } else if (has(Dicom_Dictionary::MIREL_SELECTED_WINDOWING)) {
        m_WindowSource = "saved";
        use_stored_values_for_fractions();
    } else if (has(Dicom_Dictionary::MIREL_WINDOWING_PRESET) && m_Params.GetVoiLutSelection() < 0) {
        m_WindowSource = "saved";
    } else if (m_AsOpened.inStoredValues) {
        show_saved_window(before);
    }
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

/// An image whose rescaled values are fractions would come out black, since windows are whole numbers: a window of 0.21 has a
/// width of 0. It is presented in stored values instead.
void OpenedImage::use_stored_values_for_fractions() {
    ModalityWindow window;
    int storedWidth = 0, storedCenter = 0;
    const int selection = m_Params.GetVoiLutSelection();
    const Mapper_WindowingEntry* entry = nullptr;
    if (selection >= 0) entry = m_Params.GetVoiLutManager()->m_Entries[static_cast<std::size_t>(selection)];
    if (m_WindowSource == kSuvScaleSource) {
        window = suv_scale();
    } else if (entry != nullptr) {
        window = {entry->GetCenter(), entry->GetWidth()};
    } else if (ZEV_Dicom::GetAutoWinValuesForImage(m_Message.get(), &storedWidth, &storedCenter)) {
        window = {storedCenter * m_Slope + m_Intercept, storedWidth * std::fabs(m_Slope)};
    } else {
        return;
    }
    if (!loses_fractions(window)) return;
    choose_units(window);
    if (m_bUseRescale) {
        m_Params.InitCenter(truncated(window.center));
        m_Params.InitWidth(truncated(window.width));
        return;
    }
    if (entry != nullptr && entry->m_FunctionCode != Mapper_WindowingEntry::FUNCTION_LINEAR) {
        m_Params.SetVoiLutSelection(-1, false);
    }
    m_Params.InitCenter(nearest((window.center - m_Intercept) / m_Slope));
    m_Params.InitWidth(std::max(1, nearest(window.width / std::fabs(m_Slope))));
}

void OpenedImage::set_window(const ModalityWindow& window) {
    // An entry's curve, if it is none of the linear ones, would win over the numbers. Gamma is the image's or the user's and stays.
    const float gamma = m_Params.GetGamma();
    m_Params.SetVoiLutSelection(-1, false);
    m_Params.SetGamma(gamma);
    set_numbers(window);
}

void OpenedImage::set_numbers(const ModalityWindow& window) {
    if (m_bUseRescale) {
        m_Params.SetCenter(truncated(window.center));
        m_Params.SetWidth(truncated(window.width));
    } else {
        m_Params.SetCenter(nearest((window.center - m_Intercept) / m_Slope));
        m_Params.SetWidth(nearest(window.width / std::fabs(m_Slope)));
    }
}

std::optional<StoredWindow> MeasureWindow(OpenedImage& image) {
    // Opened as an image that brings no window, so that the road is the same as for one.
    OBJ_Msg bare(image.Message());
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
    if (!window) throw PresentError(m_File.Path(), "its pixels give no window");
    ModalityWindow measured{window->center * m_Slope + m_Intercept, window->width * std::fabs(m_Slope)};
    choose_units(measured);
    set_window(measured);
    m_WindowSource = "automatic";
}

void OpenedImage::apply_colour_map(const std::string& uidOrName) {
    ZEV_ColorMap& map = FindColourMap(uidOrName, m_Modality.GetModalityName());
    m_Params.SetColorMap(&map);
    m_Params.SetColormapChangedByUser(true);
    if (!map.GetIsSUVType() || !can_show_suv()) return;
    ModalityWindow scale = suv_scale();
    choose_units(scale);
    set_window(scale);
    m_WindowSource = kSuvScaleSource;
}

/// The window that a preset means, without the rounding to whole numbers in modality units.
ModalityWindow OpenedImage::exact_window(const ZEV_PresetValue& preset) const {
    double ends[2] = {double(preset.GetMin()), double(preset.GetMax())};
    if (!HasEnds(preset)) {
        ends[0] = preset.GetCenter() - preset.GetWidth() / 2.0;
        ends[1] = preset.GetCenter() + preset.GetWidth() / 2.0;
    }
    PRM_ITreePtr root(CLSID_PRM_Tree);
    const bool inRealWorldValues =
        m_Units.HasRealWorldValidInfo() && root->GetIntDefault(L"gra\\apply_real_world_to_window", 0) != 0;
    const SPC_MEASUREMENT_UNITS units = ZEV_WindowingUnits::ConvertFromZevWindowingUnits(preset.GetUnits());
    for (double& end : ends) {
        if (units != SPC_UNITS_UNKNOWN) {
            end = static_cast<double>(m_Units.TranslateBackFromUnitsToPixel(static_cast<float>(end), units));
        }
        if (inRealWorldValues) {
            const float stored = m_Units.FindValueForRealWorldValue(static_cast<float>(end));
            end = static_cast<double>(stored) * m_Slope + m_Intercept;
        }
    }
    return {(ends[0] + ends[1]) / 2.0, std::fabs(ends[1] - ends[0])};
}

void OpenedImage::apply_preset(const std::string& name) {
    const ZEV_PresetValue& preset = FindPreset(name, m_Modality.GetModalityName());
    const std::string what = "preset '" + name + "' ";
    const SPC_MEASUREMENT_UNITS units = ZEV_WindowingUnits::ConvertFromZevWindowingUnits(preset.GetUnits());
    if (const wchar_t* missing = m_Units.GetMissingDataText(units)) {
        throw PresentError(m_File.Path(),
                           what + "needs " + refhost::ToUtf8(missing) + ", which the image lacks");
    }
    // Presets are told in modality units.
    change_to_modality_values();
    const float gamma = m_Params.GetGamma();
    if (!ZEV_Dicom::SetWindowingPresetValues(&m_Params, &m_View, preset.GetMin(), preset.GetMax(),
                                             preset.GetCenter(), preset.GetWidth(), preset.GetUnits())) {
        throw PresentError(m_File.Path(), what + "cannot be applied");
    }
    m_Params.SetGamma(gamma);
    ModalityWindow exact = exact_window(preset);
    if (loses_fractions(exact)) {
        choose_units(exact);
        set_window(exact);
    }
    m_WindowSource = "preset";
    m_Preset = name;
}

void OpenedImage::apply(const PresentationOptions& options) {
    // First, since the scale that a map brings gives way to a window that is asked for.
    if (options.colourMap) apply_colour_map(*options.colourMap);
    if (options.voi) {
        const unsigned count = m_Params.GetVoiLutEntryCount();
        if (static_cast<unsigned>(*options.voi) >= count) {
            throw PresentError(m_File.Path(),
                               "has no windowing entry " + std::to_string(*options.voi) +
                                   (count == 0 ? ": it brings none"
                                               : ": its entries are 0 to " + std::to_string(count - 1)));
        }
        change_to_modality_values();
        m_Params.SetVoiLutSelection(*options.voi, false);
        m_WindowSource = "voi-lut-entry";
        use_stored_values_for_fractions();
    }
    if (options.preset) apply_preset(*options.preset);
    if (options.automatic) measure_window();
    if (options.center && options.width) {
        ModalityWindow window{*options.center, *options.width};
        choose_units(window);
        set_window(window);
        m_WindowSource = "option";
    }
    if (options.gamma) {
        if (!ZEV_Params::IsValidGamma(*options.gamma)) throw UsageError("--gamma: not from 0.1 to 5");
        m_Params.SetGamma(*options.gamma);
    }
    if (options.invert) m_Params.SetInverse(!m_Params.IsInverse());
}
