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
#include <utility>
#include <vector>

#include "applied_state.h"
#include "ddp_file.h"
#include "io/dicom_file.h"
#include "io/presentation_state.h"

class ZEV_PresetValue;

/// The user's choice of presentation, which goes over the image's own. Every command that shows an image
/// takes the same options.
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
    /// Draw a file that is cut short as far as it goes.
    bool partial = false;
    /// A display-parameter file to lay over the image before all that; empty for none.
    std::string displayParameters;
    /// A presentation state to apply before that, or a folder of them; empty for none.
    std::string statesPath;
    /// The same once it has been read, by ReadStates.
    std::shared_ptr<const PresentationStates> states;
    /// Take either though it belongs to another image.
    bool force = false;
    std::string config;
};

/// A window in modality units, as exactly as it is known.
struct ModalityWindow {
    double center = 0.0;
    double width = 0.0;
};

/// A window in stored pixel values.
struct StoredWindow {
    int center = 0;
    int width = 0;
};

/// The rescale of the file, modality value = stored * slope + intercept, in double precision: the library
/// takes a whole intercept and a float slope.
struct Rescale {
    double slope = 1.0;
    double intercept = 0.0;

    double Value(double stored) const { return stored * slope + intercept; }
    /// The smaller end first, whatever the sign of the slope.
    std::pair<double, double> Range(const std::pair<double, double>& stored) const;
    /// The other way, for a slope other than 0.
    std::pair<double, double> StoredRange(const std::pair<double, double>& values) const;
    ModalityWindow Window(const StoredWindow& stored) const;
    /// To the nearest whole numbers, the width at least 1. The slope is not 0.
    StoredWindow Stored(const ModalityWindow& window) const;
};

/// Where the window of an image comes from.
enum class WindowSource {
    kVoiLutEntry,    ///< a windowing entry of the image
    kRawAttributes,  ///< its window attributes, where the entry has no curve
    kAutomatic,      ///< measured from the pixels
    kFallback,       ///< the fixed window of an image that has none and cannot be measured
    kColourMapSuv,   ///< the scale of a colour map of SUV type
    kPreset,
    kState,  ///< a presentation state
    kSaved,  ///< a display-parameter file
    kOption  ///< centre and width of the user
};
/// As `info` prints it: "voi-lut-entry", "raw-attributes", "automatic", "fallback", "colormap-suv", "preset",
/// "presentation-state", "saved", "option".
const char* NameOf(WindowSource source);

/// A window that was in use for a while, in the order in which they were: the last one is shown.
struct WindowStep {
    WindowSource source = WindowSource::kFallback;
    /// "windowing entry 0 of 2, 'BONE'", "--preset Lung".
    std::string what;
    /// As it was asked for, before whole numbers cut it; middle and distance where the ends count.
    ModalityWindow window;
};

/// How an image opened, before the user's choice.
struct OpenedState {
    int center = 0;
    int width = 0;
    int voiLutSelection = -1;
    bool inStoredValues = false;
    WindowSource windowSource = WindowSource::kFallback;
    const ZEV_ColorMap* colourMap = nullptr;
    bool modalityInverse = false;
};

/// One frame of an image's file, read once and shared by all its openings: a region is the image opened once
/// more.
struct ImageSource {
    /// Reads a frame. Throws PresentError.
    ImageSource(const std::string& path, const PresentationOptions& options);

    /// The presentation state that is applied, or null. The states are kept for it.
    std::shared_ptr<const PresentationStates> states;
    const PresentationState* state = nullptr;
    /// The same where it belongs to another image and is taken all the same.
    std::optional<PresentationState> forced;
    /// What a user must know of the choice.
    std::vector<Note> stateNotes;
    DicomFile file;
    std::unique_ptr<OBJ_Msg> message;
    /// The pixel values; of an image in colour the finished picture, in true colour.
    refhost::MemoryRaster raster;
    /// The display parameters to lay over the image, read with `options`; empty without.
    std::optional<SavedPresentation> saved;

private:
    AttributeChanges choose_state(const DicomDataSet& image, const PresentationOptions& options);
};

/// An image that is open for presentation: the pixels, its message and the parameter objects of its view.
class OpenedImage {
public:
    /// Opens a frame and lays the options over it. Throws PresentError and UsageError.
    OpenedImage(const std::string& path, const PresentationOptions& options);
    /// Opens a frame that was read before, with its display parameters; the options only add the user's
    /// choice.
    OpenedImage(std::shared_ptr<ImageSource> source, const PresentationOptions& options);
    OpenedImage(const OpenedImage&) = delete;
    OpenedImage& operator=(const OpenedImage&) = delete;

    const std::shared_ptr<ImageSource>& Source() const { return m_Source; }
    const DicomFile& File() const { return m_Source->file; }
    OBJ_Msg& Message() { return *m_Source->message; }
    refhost::MemoryRaster& Raster() { return m_Source->raster; }
    /// The colours that stored values have of the image's own, where it is in colour in part and no other
    /// colours were chosen; or null. Our own UID of a colour map in the image counts as a choice.
    const SupplementalPalette* Supplement();
    /// The presentation state that is applied, or null.
    const PresentationState* State() const { return m_Source->state; }
    SPC_Modality& Modality() { return m_Modality; }
    /// The live object, which the options change. What draws is Frozen().
    ZEV_Params& Params() { return m_Params; }
    /// The frozen copy. Freeze takes the live object's state, Defrost hands the rectangle that was drawn
    /// back.
    ZEV_Params& Frozen() { return m_Frozen; }
    KIT_BaseParamsVec& View() { return m_View; }
    WindowSource GetWindowSource() const { return m_WindowSource; }
    /// Name of the preset that is applied.
    const std::optional<std::string>& Preset() const { return m_Preset; }
    /// What a user must know of the picture.
    std::vector<Note> Notes() const;
    SPC_MeasurementUnitsParams& Units() { return m_Units; }
    /// The pixel values that the raster can have: the least one, and how many.
    int FirstValue() const { return m_Source->raster.m_bSigned ? -ValueCount() / 2 : 0; }
    int ValueCount() const { return 1 << m_Source->raster.m_BitsPerPixel; }
    const Rescale& GetRescale() const { return m_Rescale; }
    const std::vector<WindowStep>& WindowSteps() const { return m_WindowSteps; }

    /// Window values are stored pixel values, since whole numbers in modality units would be too coarse: a
    /// slope of 0.000006 makes fractions of every value.
    bool InStoredValues() const { return !m_bUseRescale; }
    /// The window in modality units, as exactly as it is known.
    double ModalityCenter();
    double ModalityWidth();
    /// The ends of the window count, as a presentation state gives them, not centre and width.
    bool EndsCount() const { return m_bEndsCount; }
    /// The window of the presentation state, where levels are worked out from it for each stored value: the
    /// table is drawn through a presentation LUT that has them, in which the state's own is contained.
    const std::optional<ExactWindow>& WindowInLevels() const { return m_WindowInLevels; }
    /// The direction of the table as it is with rescale in use.
    bool ModalityInverse();

    /// Smallest and largest pixel value of the frame in modality units, padding left out. Nothing for an
    /// image in colour or of nothing but padding.
    std::optional<std::pair<double, double>> ModalityRange();
    /// The modality value of 1 SUV by body weight; nothing where it is not a PET image or lacks what SUV takes.
    std::optional<double> OneSuv();
    /// The units of the values after rescale: the file's Rescale Type, Modality LUT Type or PT Units, else HU
    /// for CT; empty where unknown.
    std::string UnitsText() const;

    const OpenedState& AsOpened() const { return m_AsOpened; }
    /// The window is one that the file has, and nobody has changed it.
    bool WindowIsAsInFile();
    /// The natural gamma was chosen for an image that has another one, which would come back if nothing were
    /// saved.
    bool HasNaturalGammaInstead();
    /// The regions of the display-parameter file, as texts.
    const std::vector<std::string>& SavedRegions() const { return m_SavedRegions; }
    /// The window as the display-parameter file gives it.
    const std::optional<ModalityWindow>& SavedWindow() const { return m_SavedWindow; }

private:
    void note_window(const std::string& what);
    void note_opening();
    std::string selected_entry();
    void offer_maximal_range();
    void open();
    void settle_width();
    void note_constant_pixels();
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
    /// Goes over to stored values if whole numbers in modality units are too coarse for this window, else to
    /// modality units.
    void choose_units(ModalityWindow& window);
    void keep_saved_window();
    void apply_state();
    void show_state_window();
    bool shows_as_whole(const ExactWindow& window) const;
    void show_levels(const ExactWindow& window);
    void set_ends(double low, double high);
    void init_ends(double from, double to);
    void show_gamma();
    void leave_ends();
    void show_saved_window(ModalityWindow window);
    void lay_display_parameters(const SavedPresentation& saved);
    void use_center_and_width();
    ModalityWindow suv_scale() const;
    void apply_colour_map(const std::string& uidOrName);
    void apply_preset(const std::string& name);
    void apply(const PresentationOptions& options);

    std::shared_ptr<ImageSource> m_Source;
    SPC_Modality m_Modality;
    SPC_MeasurementUnitsParams m_Units;
    KIT_BaseParamsVec m_View;
    // The live object outlives its frozen copy, which passes its raster on.
    ZEV_Params m_Params;
    ZEV_Params m_Frozen;
    WindowSource m_WindowSource = WindowSource::kFallback;
    std::optional<std::string> m_Preset;
    std::vector<WindowStep> m_WindowSteps;
    std::vector<Note> m_Notes;
    OpenedState m_AsOpened;
    /// The window that is being applied, before whole numbers cut it, until note_window takes it.
    std::optional<ModalityWindow> m_Asked;
    std::optional<ModalityWindow> m_SavedWindow;
    std::vector<std::string> m_SavedRegions;
    Rescale m_Rescale;
    bool m_bUseRescale = true;
    /// The ends of the window count, as the presentation state has them; the mode is the image's own else.
    bool m_bEndsCount = false;
    bool m_bOwnMinMaxMode = false;
    std::optional<ExactWindow> m_WindowInLevels;
};

/// Reads the presentation states that the options name, for all images that are opened with them. Throws
/// PresentError.
void ReadStates(PresentationOptions& options);

/// The window that opening would measure if the image had none; nothing where none can be measured.
std::optional<StoredWindow> MeasureWindow(OpenedImage& image);

/// Reads the configuration, its presets and colour maps included: `path`, or when it is empty what ZEV_CONFIG
/// names, or the built-in one. Throws UsageError.
void LoadConfiguration(const std::string& path);
