#include "presentation.h"

#include <ZEV/ZEV_Dicom.h>

#include <refhost/Config.h>
#include <refhost/Unicode.h>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "present_error.h"

namespace {

constexpr std::uint32_t kModality = DicomTag(0x0008, 0x0060);
constexpr std::uint32_t kWindowCenter = DicomTag(0x0028, 0x1050);
constexpr std::uint32_t kWindowWidth = DicomTag(0x0028, 0x1051);
constexpr std::uint32_t kIntercept = DicomTag(0x0028, 0x1052);
constexpr std::uint32_t kSlope = DicomTag(0x0028, 0x1053);
constexpr std::uint32_t kVoiLutSequence = DicomTag(0x0028, 0x3010);

/// A window may lose this part of its width to whole numbers before it is told in stored values instead.
constexpr double kCoarsest = 0.01;

int nearest(double value) {
    const double rounded = std::floor(value + 0.5);
    if (!(rounded > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return rounded < std::numeric_limits<int>::max() ? static_cast<int>(rounded)
                                                     : std::numeric_limits<int>::max();
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
    for (std::size_t i = 0; i < picture.rgb.size() / 3; ++i) {
        const std::uint8_t* rgb = &picture.rgb[3 * i];
        const std::uint32_t pixel = (std::uint32_t{rgb[0]} << 16) | (std::uint32_t{rgb[1]} << 8) | rgb[2];
        std::memcpy(&raster.Bytes()[4 * i], &pixel, 4);
    }
    return raster;
}

}  // namespace

void AddPresentationOptions(CLI::App& command, PresentationOptions& options) {
    using Limits = std::numeric_limits<int>;
    CLI::Option* center = command.add_option("--center", options.center, "Window centre, after rescale")
                              ->check(CLI::Range(double(Limits::min()), double(Limits::max())).description(""));
    CLI::Option* width = command.add_option("--width", options.width, "Window width, after rescale")
                             ->check(CLI::Range(0.0, double(Limits::max())).description(""));
    center->needs(width);
    width->needs(center);
    CLI::Option* automatic =
        command.add_flag("--auto", options.automatic, "Measure the window from the pixels");
    automatic->excludes(center);
    command.add_option("--gamma", options.gamma, "Gamma, 0.1 to 5");
    command.add_flag("--invert", options.invert, "Turn the greys round");
    command.add_option("--voi", options.voi, "Windowing entry of the image, from 0")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--frame", options.frame, "Frame, from 0")->check(CLI::NonNegativeNumber);
    command.add_option("--config", options.config, "Configuration in place of the built-in one");
}

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
}

OpenedImage::OpenedImage(const std::string& path, const PresentationOptions& options)
    : m_File(DicomFile::Load(path, options.frame)),
      m_Message(m_File.MakeMessage()),
      m_Raster(make_raster(m_File)),
      m_Modality(refhost::FromUtf8(m_File.DataSet().Text(kModality)).c_str()),
      m_View(L"zev") {
    m_View.Append(&m_Modality);
    m_View.Append(&m_Params);
    if (ZEV_Dicom().UpdateFromDicom(m_Message.get(), &m_Raster, &m_Params, nullptr, false, false, &m_View) !=
        0) {
        throw PresentError(path, "cannot be opened");
    }
    m_Frozen.SetLiveParams(&m_Params);
    m_Frozen.SetReferenceRaster(&m_Raster, false);
    m_Slope = m_File.DataSet().Number(kSlope, 1.0);
    m_Intercept = m_File.DataSet().Number(kIntercept, 0.0);
    note_window_source();
    use_stored_values_for_fractions();
    apply(options);
}

void OpenedImage::note_window_source() {
    int width = 0, center = 0;
    if (m_Params.GetVoiLutSelection() >= 0) {
        m_WindowSource = "voi-lut-entry";
    } else if (m_Params.GetVoiLutEntryCount() > 0 && m_File.DataSet().Has(kWindowCenter) &&
               m_File.DataSet().Has(kWindowWidth)) {
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

/// An image whose rescaled values are fractions would come out black, since windows are whole numbers: a window of 0.21 has a
/// width of 0. It is presented in stored values instead.
void OpenedImage::use_stored_values_for_fractions() {
    if (m_Slope == 0.0 || !(std::fabs(m_Slope) < 1.0)) return;
    double center = 0.0, width = 0.0;
    int storedWidth = 0, storedCenter = 0;
    const int selection = m_Params.GetVoiLutSelection();
    bool isCurve = false;
    if (selection >= 0) {
        const Mapper_WindowingEntry& entry =
            *m_Params.GetVoiLutManager()->m_Entries[static_cast<std::size_t>(selection)];
        isCurve = entry.m_FunctionCode != Mapper_WindowingEntry::FUNCTION_LINEAR;
        center = entry.GetCenter();
        width = entry.GetWidth();
    } else if (ZEV_Dicom::GetAutoWinValuesForImage(m_Message.get(), &storedWidth, &storedCenter)) {
        center = storedCenter * m_Slope + m_Intercept;
        width = storedWidth * std::fabs(m_Slope);
    } else {
        return;
    }
    const double lost = std::fabs(center - std::trunc(center)) + std::fabs(width - std::trunc(width));
    if (lost <= kCoarsest * width) return;
    m_bUseRescale = false;
    m_Params.SetUseRescale(false);
    if (isCurve) m_Params.SetVoiLutSelection(-1, false);
    // Rescale, which would turn the ramp round for a negative slope, is out of use.
    if (m_Slope < 0.0) m_Params.InitInverse(!m_Params.IsInverse());
    m_Params.InitCenter(nearest((center - m_Intercept) / m_Slope));
    m_Params.InitWidth(std::max(1, nearest(width / std::fabs(m_Slope))));
}

void OpenedImage::set_window(double center, double width) {
    // An entry's curve, if it is none of the linear ones, would win over the numbers. Gamma is the image's or the user's and stays.
    const float gamma = m_Params.GetGamma();
    m_Params.SetVoiLutSelection(-1, false);
    m_Params.SetGamma(gamma);
    if (m_bUseRescale) {
        m_Params.SetCenter(static_cast<int>(center));
        m_Params.SetWidth(static_cast<int>(width));
    } else {
        m_Params.SetCenter(nearest((center - m_Intercept) / m_Slope));
        m_Params.SetWidth(nearest(width / std::fabs(m_Slope)));
    }
}

std::optional<StoredWindow> MeasureWindow(OpenedImage& image) {
    // Opened as an image that brings no window, so that the road is the same as for one.
    OBJ_Msg bare(image.Message());
    for (const std::uint32_t tag : {kWindowCenter, kWindowWidth, kVoiLutSequence}) bare.Remove(Dicom_Tag(tag));
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
    set_window(window->center * m_Slope + m_Intercept, window->width * std::fabs(m_Slope));
    m_WindowSource = "automatic";
}

void OpenedImage::apply(const PresentationOptions& options) {
    if (options.voi) {
        const unsigned count = m_Params.GetVoiLutEntryCount();
        if (static_cast<unsigned>(*options.voi) >= count) {
            throw PresentError(m_File.Path(),
                               "has no windowing entry " + std::to_string(*options.voi) +
                                   (count == 0 ? ": it brings none"
                                               : ": its entries are 0 to " + std::to_string(count - 1)));
        }
        m_Params.SetVoiLutSelection(*options.voi, false);
        m_WindowSource = "voi-lut-entry";
        if (!m_bUseRescale) {
            m_bUseRescale = true;
            m_Params.SetUseRescale(true);
            use_stored_values_for_fractions();
        }
    }
    if (options.automatic) measure_window();
    if (options.center && options.width) {
        set_window(*options.center, *options.width);
        m_WindowSource = "option";
    }
    if (options.gamma) {
        if (!ZEV_Params::IsValidGamma(*options.gamma)) throw UsageError("--gamma: not from 0.1 to 5");
        m_Params.SetGamma(*options.gamma);
    }
    if (options.invert) m_Params.SetInverse(!m_Params.IsInverse());
}
