#include "presentation.h"

#include <ZEV/ZEV_Dicom.h>

#include <refhost/Config.h>
#include <refhost/Unicode.h>
#include <cstring>
#include <limits>

#include "present_error.h"

namespace {

constexpr std::uint32_t kModality = DicomTag(0x0008, 0x0060);
constexpr std::uint32_t kWindowCenter = DicomTag(0x0028, 0x1050);
constexpr std::uint32_t kWindowWidth = DicomTag(0x0028, 0x1051);

/// What UpdateFromDicom falls back to.
constexpr int kFallbackCenter = 1000;
constexpr int kFallbackWidth = 4095;

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
    CLI::Option* center = command.add_option("--center", options.center, "Window centre, after rescale");
    CLI::Option* width = command.add_option("--width", options.width, "Window width, after rescale")
                             ->check(CLI::Range(0, std::numeric_limits<int>::max()));
    center->needs(width);
    width->needs(center);
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
    note_window_source();
    apply(options);
}

void OpenedImage::note_window_source() {
    const bool isFallback = m_Params.GetCenter() == kFallbackCenter && m_Params.GetWidth() == kFallbackWidth;
    if (m_Params.GetVoiLutSelection() >= 0) {
        m_WindowSource = "voi-lut-entry";
    } else if (m_Params.GetVoiLutEntryCount() > 0 && m_File.DataSet().Has(kWindowCenter) &&
               m_File.DataSet().Has(kWindowWidth)) {
        m_WindowSource = "raw-attributes";
    } else {
        m_WindowSource = isFallback || !m_Params.GetFlagValuesByDicom() ? "fallback" : "automatic";
    }
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
    }
    if (options.center && options.width) {
        // An entry's curve, if it is none of the linear ones, would win over the numbers.
        m_Params.SetVoiLutSelection(-1, false);
        m_Params.SetCenter(*options.center);
        m_Params.SetWidth(*options.width);
        m_WindowSource = "option";
    }
    if (options.gamma) {
        if (!ZEV_Params::IsValidGamma(*options.gamma)) throw UsageError("--gamma: not from 0.1 to 5");
        m_Params.SetGamma(*options.gamma);
    }
    if (options.invert) m_Params.SetInverse(!m_Params.IsInverse());
}
