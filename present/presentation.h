#pragma once

#include <KIT/KIT_BaseParamsVec.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Params.h>

#include <refhost/MemoryRaster.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/dicom_file.h"

class ZEV_PresetValue;

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
    /// UID or name of a configured colour map, and name of a configured preset.
    std::optional<std::string> colourMap;
    std::optional<std::string> preset;
    int frame = 0;
    /// A display-parameter file to lay over the image before all that; empty for none.
    std::string displayParameters;
    /// Take it though it belongs to another image.
    bool force = false;
    std::string config;
};

/// A window in modality units, as exactly as it is known.
struct ModalityWindow {
    double center = 0.0;
    double width = 0.0;
};

/// What an image brought along, before the user's choice.
struct OpenedState {
    int center = 0;
    int width = 0;
    int voiLutSelection = -1;
    bool inStoredValues = false;
    std::string windowSource;
    const ZEV_ColorMap* colourMap = nullptr;
};

/// An image that is open for presentation: the pixels, its message and the parameter objects of its view.
class OpenedImage {
public:
    /// Opens a frame and lays the options over it. Throws PresentError and UsageError.
    OpenedImage(const std::string& path, const PresentationOptions& options);
    /// Opens a frame that was read before; the options' frame plays no part.
    OpenedImage(DicomFile file, const PresentationOptions& options);
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
    /// Where the window comes from: "voi-lut-entry", "raw-attributes", "automatic", "fallback", "colormap-suv" (a map
    /// of SUV type brought its scale), "preset", "saved" (a display-parameter file) or "option".
    const std::string& WindowSource() const { return m_WindowSource; }
    /// Name of the preset that was asked for.
    const std::optional<std::string>& Preset() const { return m_Preset; }
    /// What a user must know of the picture, one sentence each.
    std::vector<std::string> Notes() const;

    /// Window values are stored pixel values, since whole numbers in modality units would be too coarse: a slope of 0.000006
    /// makes fractions of every value.
    bool InStoredValues() const { return !m_bUseRescale; }
    /// The window in modality units, as exactly as it is known.
    double ModalityCenter();
    double ModalityWidth();
    /// The direction of the table as it is with rescale in use.
    bool ModalityInverse();

    const OpenedState& AsOpened() const { return m_AsOpened; }
    /// The window is one that the file has, and nobody has changed it.
    bool WindowIsAsInFile();
    /// The natural gamma was chosen for an image that brings another one, which it would have again if nothing were saved.
    bool HasNaturalGammaInstead();
    /// The regions that the display-parameter file brings, as texts.
    const std::vector<std::string>& SavedRegions() const { return m_SavedRegions; }
    /// The window that the display-parameter file gives, as it says.
    const std::optional<ModalityWindow>& SavedWindow() const { return m_SavedWindow; }

private:
    void measure_range();
    void note_window_source();
    bool can_show_suv() const;
    void note_missing_suv_scale();
    void use_stored_values_for_fractions();
    bool loses_fractions(const ModalityWindow& window) const;
    void change_to_stored_values();
    void change_to_modality_values();
    void measure_window();
    void set_numbers(const ModalityWindow& window);
    void set_window(const ModalityWindow& window);
    /// In whole numbers of stored values.
    ModalityWindow on_stored_grid(const ModalityWindow& window) const;
    /// Tells windows in stored values if whole numbers in modality units are too coarse for this one, else in modality units.
    void choose_units(ModalityWindow& window);
    void keep_saved_window();
    void show_saved_window(ModalityWindow window);
    void lay_display_parameters(const PresentationOptions& options);
    ModalityWindow suv_scale() const;
    ModalityWindow exact_window(const ZEV_PresetValue& preset) const;
    void apply_colour_map(const std::string& uidOrName);
    void apply_preset(const std::string& name);
    void apply(const PresentationOptions& options);

    DicomFile m_File;
    std::unique_ptr<OBJ_Msg> m_Message;
    refhost::MemoryRaster m_Raster;
    SPC_Modality m_Modality;
    SPC_MeasurementUnitsParams m_Units;
    KIT_BaseParamsVec m_View;
    // The live object outlives its frozen copy, which passes its raster on.
    ZEV_Params m_Params;
    ZEV_Params m_Frozen;
    std::string m_WindowSource;
    std::optional<std::string> m_Preset;
    std::vector<std::string> m_Notes;
    OpenedState m_AsOpened;
    std::optional<ModalityWindow> m_SavedWindow;
    std::vector<std::string> m_SavedRegions;
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

/// Reads the configuration, its presets and colour maps included: `path`, or when it is empty what ZEV_CONFIG names, or the
/// built-in one. Throws UsageError.
void LoadConfiguration(const std::string& path);
