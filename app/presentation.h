#pragma once

#include <KIT/KIT_BaseParamsVec.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Params.h>

#include <refhost/MemoryRaster.h>
#include <CLI/App.hpp>
#include <memory>
#include <optional>
#include <string>

#include "dicom_file.h"

/// What the user asks of the picture, over what the image says. Every command that shows an image takes the
/// same options.
struct PresentationOptions {
    /// In modality units.
    std::optional<double> center;
    std::optional<double> width;
    /// Measure the window from the pixels, whatever the image says.
    bool automatic = false;
    std::optional<float> gamma;
    bool invert = false;
    std::optional<int> voi;
    int frame = 0;
    std::string config;
};

void AddPresentationOptions(CLI::App& command, PresentationOptions& options);

/// An image that is open for presentation: the pixels, its message and the parameter objects of its view.
class OpenedImage {
public:
    /// Opens a frame and lays the options over it. Throws PresentError and UsageError.
    OpenedImage(const std::string& path, const PresentationOptions& options);
    OpenedImage(const OpenedImage&) = delete;
    OpenedImage& operator=(const OpenedImage&) = delete;

    const DicomFile& File() const { return m_File; }
    OBJ_Msg& Message() { return *m_Message; }
    /// The pixel values; of an image in colour the finished picture, in true colour.
    refhost::MemoryRaster& Raster() { return m_Raster; }
    SPC_Modality& Modality() { return m_Modality; }
    /// The live object, which the options change. What draws is Frozen().
    ZEV_Params& Params() { return m_Params; }
    /// The frozen copy. Freeze takes the live object's state, Defrost hands the rectangle that was drawn back.
    ZEV_Params& Frozen() { return m_Frozen; }
    KIT_BaseParamsVec& View() { return m_View; }
    /// Where the window comes from: "voi-lut-entry", "raw-attributes", "automatic", "fallback" or "option".
    const std::string& WindowSource() const { return m_WindowSource; }

    /// Window values are stored pixel values, since whole numbers in modality units would be too coarse: a slope of 0.000006
    /// makes fractions of every value.
    bool InStoredValues() const { return !m_bUseRescale; }
    /// The window in modality units, as exactly as it is known.
    double ModalityCenter();
    double ModalityWidth();

private:
    void note_window_source();
    void use_stored_values_for_fractions();
    void measure_window();
    void set_window(double center, double width);
    void apply(const PresentationOptions& options);

    DicomFile m_File;
    std::unique_ptr<OBJ_Msg> m_Message;
    refhost::MemoryRaster m_Raster;
    SPC_Modality m_Modality;
    KIT_BaseParamsVec m_View;
    // The live object outlives its frozen copy, which passes its raster on.
    ZEV_Params m_Params;
    ZEV_Params m_Frozen;
    std::string m_WindowSource;
    double m_Slope = 1.0;
    double m_Intercept = 0.0;
    bool m_bUseRescale = true;
};

/// A window in stored pixel values.
struct StoredWindow {
    int center = 0;
    int width = 0;
};

/// What opening would measure from the pixels if the image brought no window; nothing where they give none.
std::optional<StoredWindow> MeasureWindow(OpenedImage& image);

/// Reads the configuration: `path`, or when it is empty what ZEV_CONFIG names, or the built-in one. Throws
/// UsageError.
void LoadConfiguration(const std::string& path);
