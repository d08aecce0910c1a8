#pragma once

#include <COM/bstr.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_WindowingUnits.h>

#include <atomic>
#include <map>
#include <utility>

class KIT_BaseParamsVec;
class KIT_Raster;
class OBJ_Msg;
class ZEV_ColorMap;
class ZEV_Params;

/// Where the window of an opened image came from.
enum class ZEV_WindowSource {
    kNone,           ///< the call left the window as it was
    kVoiLutEntry,    ///< a windowing entry of the image
    kRawAttributes,  ///< WindowCenter and WindowWidth, where the entry gives no curve
    kAutomatic,      ///< measured from the pixels, now or earlier
    kFallback,       ///< the fixed window of an image that has none
    kSaved,          ///< a window or a selected entry of the saved display parameters
    kPreset,         ///< the preset that the saved display parameters name
    kColorMapSuv     ///< the scale of a colour map of SUV type
};

/// Fills a ZEV_Params from an image's message.
///
///     KIT_BaseParamsVec vec(L"view");
///     SPC_Modality modality(L"CT");
///     ZEV_Params params;
///     vec.Append(&modality);
///     vec.Append(&params);
///     if (ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, &vec) != 0) ...;
///
/// Make one on the stack wherever it is needed: it only remembers where the last window came from. The first
/// object of the process reads the per-modality defaults from the configuration; if that fails, _com_error
/// passes out of that one constructor, and the reading is not tried again.
///
/// Threads: the defaults are guarded against two first objects. Objects on several threads may work on
/// different messages, rasters and parameter objects at once, except where a colour map is chosen by its UID:
/// the map chosen last is remembered for the process without a lock. Exceptions: _com_error and whatever a
/// host object throws pass through; the raster is unlocked first.
class ZEV_API ZEV_Dicom {
public:
    ZEV_Dicom();
    ~ZEV_Dicom();
    ZEV_Dicom(const ZEV_Dicom&) {}
    ZEV_Dicom& operator=(const ZEV_Dicom&) { return *this; }

    /// The source of the current window after the last UpdateFromDicom of this object, or after an
    /// UpdateFromDDP that followed it. Of several sources that set the window in turn, the last one.
    ZEV_WindowSource GetWindowSource() const { return m_WindowSource; }

    /// What a viewer calls when an image is opened: takes rescale, gamma, VOI entries, padding, inversion and
    /// the presentation LUT from the message, and the window from, in this order, VOI entry 0, the plain
    /// window attributes (where entry 0 gives no curve), automatic windowing, or centre 1000 and width 4095.
    ///
    /// - `raster`: may be null only with `bHeaderOnly`; it stays locked for the duration of the call.
    /// - `ddpMsg`: the saved display parameters, or null.
    /// - `bHeaderOnly`: automatic windowing is never run, even if a raster is given.
    /// - `bForce`: window and inversion are taken again though `params` has them, and the VOI manager is
    /// rebuilt.
    /// - `vec`: the view's parameters; the modality comes from it. Null counts as a view without parameters.
    ///
    /// `msg` must outlive `params`. Returns -1 with a log line when `msg` or `params` is null, or `raster` is
    /// null without `bHeaderOnly`; else 0, all fallbacks included.
    int UpdateFromDicom(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                        bool bHeaderOnly, bool bForce, KIT_BaseParamsVec* vec);

    /// Applies a preset as the window: `units` of the numbers, -1 for a number that is not given. If both
    /// ends and both centre and width are given, the ends count. SUV and percentages are converted to the
    /// units of the window by the view's SPC_MeasurementUnitsParams, and so are real-world values where the
    /// configuration says that presets hold them. A VOI LUT selection ends. False, with nothing changed, for
    /// null `params` or when the image lacks what the units need; true without a complete pair, when only the
    /// selection ends. `vec` may be null. The first call of the process reads the configuration; if that
    /// fails _com_error is raised, with the selection ended and the window as it was, and the next call tries
    /// again.
    static bool SetWindowingPresetValues(ZEV_Params* params, KIT_BaseParamsVec* vec, long min, long max,
                                         long center, long width, ZEV_WindowingUnits::Units units);

    /// The window that a preset means for this image, before it is rounded to whole numbers: in the units of
    /// the window, with the rescale of `params`, which nothing changes. The arguments are those of
    /// SetWindowingPresetValues; centre and width are translated by their two ends. False, with the outputs
    /// untouched, where that gives false, without a complete pair, or for a null output. _com_error as there.
    static bool TranslatePresetValues(ZEV_Params* params, KIT_BaseParamsVec* vec, long min, long max,
                                      long center, long width, ZEV_WindowingUnits::Units units,
                                      double* exactCenter, double* exactWidth);

    /// The automatic window that was put into the message, in stored pixel values, truncated. False, with the
    /// outputs untouched, unless width and centre are both there. A null argument gives false.
    static bool GetAutoWinValuesForImage(OBJ_Msg* msg, int* width, int* center);
    /// Puts an automatic window into the message. A null message is ignored.
    static void SetAutoWinValuesForImage(OBJ_Msg* msg, int width, int center);

    /// Lays saved display parameters over an opened image: window, inversion, VOI selection, colour map,
    /// gamma and preset, in this order. The window counts whether or not the user changed it; gamma and
    /// preset heed GetWindowingChangedByUser, the map GetColormapChangedByUser. A saved window of 0 and 0
    /// stands for automatic windowing; one saved in another rescale is converted to the image's. If `params`
    /// was last filled from another message, that one counts in place of `msg` and takes over the automatic
    /// window that `msg` holds. True for a null `ddpMsg`, else whether the message that counts is an image.
    /// `raster` may be null: then no automatic window is measured.
    bool UpdateFromDDP(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                       KIT_BaseParamsVec* vec);

    /// Writes window, gamma, inversion, rescale and colour map into a message. Returns -1 with a log line for
    /// null, else the status of the last code string that was made, 0 when all is well. A natural gamma
    /// leaves the attribute alone.
    int UpdateTheDicom(OBJ_Msg* msg, ZEV_Params* params);
    /// Writes the selected sigmoid or table entry, or for any other the plain window, into a message as its
    /// first windowing. -1 for null, else 0; without a VOI manager nothing is written.
    int UpdateDicomWithVoiLut(OBJ_Msg* msg, ZEV_Params* params);

private:
    class Opening;
    class SavedParameters;

    static void read_defaults_once();
    static bool windows_are_in_real_world_values();

    /// In stored pixel values, from the message or measured; both outputs are 0 when it fails.
    bool auto_win(KIT_Raster* raster, OBJ_Msg* msg, int* width, int* center, ZEV_Params* params);
    void apply_auto_windowing(KIT_Raster* raster, OBJ_Msg* msg, float slope, int intercept,
                              ZEV_Params* params);
    /// A window that holds against that of the selected VOI entry.
    void apply_windowing(int selection, int center, int width, ZEV_Params* params);
    static std::pair<float, float> translate_centerwidth_to_maxmin(std::pair<float, float> centerWidth);
    static std::pair<float, float> translate_maxmin_to_centerwidth(std::pair<float, float> maxMin);
    void set_default_colormap(_bstr_t uid, ZEV_Params* params, KIT_BaseParamsVec* vec);
    void set_default_windowing_preset(_bstr_t name, ZEV_Params* params, KIT_BaseParamsVec* vec);
    ZEV_ColorMap* read_color_map(OBJ_Msg* msg);
    void write_color_map(OBJ_Msg* msg, ZEV_Params* params);

    static std::map<SPC_Modality::MODALITY, bool> s_MinMaxScaleDefaults;
    static std::map<SPC_Modality::MODALITY, _bstr_t> s_DefaultColorMaps;
    ZEV_WindowSource m_WindowSource = ZEV_WindowSource::kNone;

    /// "gra\apply_real_world_to_window"; negative until it is read. Two threads may both read it.
    static std::atomic<int> s_ApplyRealWorld;
};
