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
    std::optional<int> center;
    std::optional<int> width;
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
    ZEV_Params& Params() { return m_Params; }
    KIT_BaseParamsVec& View() { return m_View; }
    /// Where the window comes from: "voi-lut-entry", "raw-attributes", "automatic", "fallback" or "option".
    const std::string& WindowSource() const { return m_WindowSource; }

private:
    void note_window_source();
    void apply(const PresentationOptions& options);

    DicomFile m_File;
    std::unique_ptr<OBJ_Msg> m_Message;
    refhost::MemoryRaster m_Raster;
    SPC_Modality m_Modality;
    KIT_BaseParamsVec m_View;
    ZEV_Params m_Params;
    std::string m_WindowSource;
};

/// Reads the configuration: `path`, or when it is empty what ZEV_CONFIG names, or the built-in one. Throws
/// UsageError.
void LoadConfiguration(const std::string& path);
