#pragma once

#include <KIT/KIT_ChangeCounter.h>
#include <KIT/KIT_Raster.h>
#include <KIT/KIT_Rect.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <MIR/Mir_AutoPtr.h>
#include <MIR/Mir_AutoPtrThread.h>
#include <SYS/critical_section.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_MaskableParam.h>
#include <ZEV/ZEV_ParamValue.h>
#include <ZEV/ZEV_TableSource.h>

#include <boost/shared_ptr.hpp>

#include <vector>

class DDPInfoVector;
class OBJ_Msg;
class SRC_IImageDataSource;
class ZEV_ColorMap;

/// How one monochrome image is to be presented: window, rescale, gamma, inversion, VOI LUT, padding, colour
/// map.
///
///     ZEV_Params params;
///     ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, &vec);
///     params.UpdateCenter(-10);                                      // the user drags
///     std::unique_ptr<ZEV_AbstractWindowingTable> table(
///         params.BuildTable(ZEV_TableParams(&vec, &context, &raster, &target, KIT_Rect())));
///
/// Window values are whole numbers in modality units, that is after rescale; rescale is applied only when a
/// table is built. `Init...` takes a value from the image and makes it the value to reset to, `Set...` is an
/// absolute change, `Update...` a change by a difference. Arithmetic on window values saturates at the 32-bit
/// ends. Whatever can change a table calls MarkTableChange; the keeper of a table compares GetTableCC() with
/// the count at which it was built. A new object's counters are above zero.
///
/// An object is used by one thread at a time. Only the raster members have a lock. Copies share the VOI
/// manager, which several threads may use, and the Pval, which they may not: copying, SetVoiLutSelection,
/// BuildTable, DescribeTable and the constructor of ZEV_Painter write to it without a lock. An object that
/// goes to another thread gets a Pval of its own by CopyMyPval first, while its source is at rest. See
/// docs/numeric.md for every rounding rule.
class ZEV_API ZEV_Params : public ZEV_MaskableParam {
public:
    // ---- construction, copying, reset ----
    /// The first object of the process reads two configuration keys, and other threads wait for that. If it
    /// fails, _com_error passes out of that one constructor, and later ones use the defaults without a
    /// further try; so does an object that is made while the keys are read, on the same thread.
    ZEV_Params();
    /// A VOI LUT selection is run anew on the copy, so that its centre and width are the entry's.
    ZEV_Params(const ZEV_Params& other);
    ~ZEV_Params() override;

    using ZEV_MaskableParam::operator=;
    /// The other object must be a ZEV_Params. Keeps the source's window, whatever its VOI LUT selection says,
    /// and ends the highlight. `p = p` changes nothing at all.
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    /// Takes the other's data without the VOI LUT members, and marks a table change. It must be a ZEV_Params.
    void SetData(const KIT_BaseParams& other) override;
    /// A new default-constructed object; nothing is copied.
    KIT_BaseParams* Clone() override;
    /// Releases the reference raster, then ResetExceptRaster(true, true).
    void Reset();
    /// Window, scale and inversion go back to their initial values, the output rectangle to 0. Gamma, rescale
    /// and padding stay. With the first flag the colour map goes back to that of the saved presentation, else
    /// the image's own, else none; with the second the default VOI LUT entry is selected, if the image has
    /// entries.
    void ResetExceptRaster(bool bResetColorMap, bool bResetVoiLutSelection);
    /// Inversion, width and centre have all had their Init.
    bool IsInitialized();

    // ---- window ----
    int GetCenter();
    int GetWidth();
    int GetWindowMin();
    int GetWindowMax();
    /// Ends of the widest window since the last Init or reset.
    int GetWindowMinScale();
    int GetWindowMaxScale();
    int GetInitialCenter();
    int GetInitialWidth();
    bool IsCenterInitialized();
    bool IsWidthInitialized();
    void InitCenter(int center);
    /// Not limited: a negative width is kept, unless differences were waiting.
    void InitWidth(int width);
    /// Nothing happens when the value stays.
    void SetCenter(int center);
    void SetWidth(int width);
    /// Both mark a table change also when nothing moved. Crossed ends are kept: width 0, centre between them.
    void SetWindowMin(int windowMin);
    void SetWindowMax(int windowMax);
    void UpdateCenter(int difference);
    void UpdateWidth(int difference);
    /// The moved end stops at the other one.
    void UpdateWindowMin(int difference);
    void UpdateWindowMax(int difference);
    /// Does nothing.
    void SetMinMax(int windowMin, int windowMax);
    /// Which pair BuildTable trusts: the two ends, or centre and width.
    bool GetMinMaxScaleMode();
    /// Marks a table change, also when the mode stays.
    void SetMinMaxScaleMode(bool minMaxScaleMode);

    // ---- what the saved presentation said when the image was opened ----
    void SetOriginalCenterFromDP(int center);
    void SetOriginalWidthFromDP(int width);
    void SetOriginalInverseFromDP(bool inverse);
    bool IsOriginalParamFromDP() const;

    // ---- rescale ----
    /// Modality value = slope * stored pixel value + intercept; slope 1 and intercept 0 at first. Any numbers
    /// are taken; with a slope of 0 a table uses the window unconverted. Both setters mark a table change.
    int GetRescaleIntercept();
    float GetRescaleSlope();
    bool IsRescaleInitialized();
    void SetRescaleIntercept(int intercept);
    /// Also makes the pixel range unknown.
    void SetRescaleSlope(float slope);
    /// False: window values are stored pixel values already.
    bool GetUseRescale();
    void SetUseRescale(bool useRescale);

    // ---- gamma and inversion ----
    /// Lowest and highest valid gamma, natural gamma, and half the width of the band in which two gammas
    /// count as equal. The disabled marker is the smallest normal float.
    static constexpr float kGammaLowest = 0.1f;
    static constexpr float kGammaHighest = 5.0f;
    static constexpr float kGammaNatural = 1.0f;
    static constexpr float kGammaTolerance = 0.005f;
    static constexpr float kGammaDisabled = 1.17549435e-38f;

    /// Not clearly smaller: true for equals.
    static bool IsGamma1LargerThanGamma2(float gamma1, float gamma2);
    /// Not clearly larger: true for equals.
    static bool IsGamma1SmallerThanGamma2(float gamma1, float gamma2);
    static bool IsValidGamma(float gamma);
    float GetGamma();
    float GetInitialGamma();
    bool IsGammaInitialized();
    /// Compares the argument with the stored gamma.
    bool GammaLargerThan(float gamma);
    bool GammaSmallerThan(float gamma);
    bool GammaIsEqualTo(float gamma);
    bool IsGammaDisabled();
    bool GammaExistAndNotNaturalValue();
    /// Takes any value, also one that SetGamma would refuse, and marks nothing.
    void InitGamma(float gamma);
    /// An invalid gamma (NaN among them) is dropped without a message; a valid one marks a table change.
    void SetGamma(float gamma);
    void UpdateGamma(float difference);
    /// True: gamma goes back to its initial value, without a mark. False: nothing changes. Tables from a VOI
    /// LUT or a presentation LUT never read gamma, so there is nothing to switch off.
    void EnableGamma(bool enable);

    /// The table's ramp runs downward.
    bool IsInverse();
    bool GetInverse();
    void InitInverse(bool inverse);
    void SetInverse(bool inverse);
    /// The image looks inverted: the ramp's direction against that of the photometric interpretation.
    bool GetVisibleInverse();
    bool GetPhotometricInverse();
    void SetPhotometricInverse(bool inverse);
    /// Whether the last selected table LUT runs downward. Stored for the host.
    bool GetLutInverse();
    KIT_ChangeCounter GetInverseChangeCounter();

    // ---- VOI LUT ----
    /// Takes a share of the manager; the object and its copies own it together. Null releases it. The
    /// selection stays.
    void SetVoiLutManager(Mapper_WindowingManager* manager);
    Mapper_WindowingManager* GetVoiLutManager();
    /// 0 without a manager.
    unsigned int GetVoiLutEntryCount();
    /// -1 for none.
    int GetVoiLutSelection() const;
    /// Selects an entry of the manager and takes over its window, or none with -1, which puts gamma back to
    /// its initial value. A selection out of range, or any without a manager, is ignored. Selecting the
    /// selected entry again applies its window again.
    void SetVoiLutSelection(int selection, bool bMakeDefault);
    /// Takes ownership; null empties. The Pval already held stays as it is.
    void SetMapperPvLut(Mapper_Pval* pval);
    Mir_AutoPtrThread<Mapper_Pval> GetMapperPvLut();
    /// Gives the object a Pval that no other object shares.
    void CopyMyPval();
    /// Rebuilds manager, window and Pval for another message of the same image. A bogus message leaves no
    /// Pval.
    void ReplaceOBJMessage(OBJ_Msg* msg);
    /// Not owned; the caller keeps the message alive.
    OBJ_Msg* GetLastUpdatedMsg();
    void SetLastUpdatedMsg(OBJ_Msg* msg);

    // ---- padding and highlight ----
    static constexpr int kNoPadding = -100000;

    int GetPixelPaddingValue();
    int GetPixelPaddingValueLimit();
    /// In stored pixel values, in either order; -100000 for none. Marks nothing.
    void SetPixelPaddingValues(int value, int limit);
    bool GetUsePadding();
    void SetUsePadding(bool usePadding);
    /// Two stored pixel values for the host to mark. Marks nothing; no copy takes them over.
    void SetHighlight(int value1, int value2);
    /// Writes both values whatever the answer; returns whether they were set. No table depends on them.
    bool GetHighlight(int* value1, int* value2);

    // ---- colour map ----
    /// The map in use, or null. Not owned.
    ZEV_ColorMap* GetColorMap();
    ZEV_ColorMap* GetDicomColorMap();
    void SetColorMap(ZEV_ColorMap* map);
    /// The map that the saved presentation names; it becomes the one in use.
    void SetDPColorMap(ZEV_ColorMap* map);
    /// The map that the image contains; this object owns it from here on. It comes into use unless the saved
    /// presentation named one or the configuration says otherwise. Called again, the earlier maps live on
    /// until the object dies, so that no copy points at a deleted one.
    void AddDicomColorMap(ZEV_ColorMap* map);
    void SetColorMapToDicomColorMap();
    /// Whether the host is to apply a chosen map to all views; stored for the host, false at first.
    bool GetChangeColorMapsOnAllDSTypes();
    void SetChangeColorMapsOnAllDSTypes(bool change);

    // ---- raster ----
    /// A frozen copy passes a raster on to its live object first, so a live object must outlive its copies.
    /// With ownership the object deletes the raster; copies share that duty.
    void SetReferenceRaster(KIT_Raster* raster, bool takeOwnership);
    /// The owned raster if there is one, else the one referred to; may be null.
    KIT_Raster* GetReferenceRaster();
    /// The same with the raster lock held until UnlockReferenceRaster, also when the result is null.
    KIT_Raster* LockReferenceRaster();
    void UnlockReferenceRaster();
    /// Works the pixel range out, unless it is known: from the source's processed data, or, for a source that
    /// has no such interface or is null, from samples of the reference raster between the columns `from` and
    /// `to` (the whole width if they do not lie in it). Without a PALETTE raster of more than 12 bits the
    /// range stays -1. _com_error when the source fails to answer.
    void CalcPixelRange(SRC_IImageDataSource* source, int from, int to);
    /// Spread of the pixel values after rescale; -1 while it is not known, negative also for a negative
    /// slope.
    int GetPixelRange();
    /// Whether automatic windowing is to show the full range: "windowing\always_window_full_range", read once
    /// per process. A read that fails raises _com_error; later calls answer false without a further try.
    bool ShouldUseFullRange();

    // ---- freezing, drawing, comparing ----
    /// Takes the live object's state; raster, output rectangle and highlight stay this copy's own. Does
    /// nothing without a live object. The live object must not change meanwhile.
    void Freeze() override;
    /// Releases the Pval and hands the output rectangle to the live object: 0 for a copy without a raster.
    void Defrost() override;
    /// Takes over what the other ZEV_Params has or was given, holder by holder: window, scale and inversion.
    /// Marks nothing. Null is ignored.
    void Update(KIT_BaseParams* other) override;
    /// Makes the objects between this one and params[count - 1], which the caller owns: params[0] is their
    /// pattern, width and centre go in equal steps. False, with nothing made, when there is nothing to
    /// interpolate, a count below 1, or either end is null.
    bool Interpolate(KIT_BaseParams** params, int count, KIT_BaseParamsVec* vec) override;
    /// Whether width or centre differ; false for null.
    bool IsChanged(KIT_BaseParams* other) override;
    /// Only gamma forces the effect into the raster.
    bool IsBurnToRasterNeeded() override;
    void ConvertToMasks(ZEV_Masks* masks, KIT_BaseParamsVec* vec) override;
    /// A new table for the source raster's pixels and the target raster's display values; the caller owns it.
    /// Null for rasters, depths or modes that have no defined table. The object itself does not change.
    ZEV_AbstractWindowingTable* BuildTable(ZEV_TableParams tableParams) override;
    /// What BuildTable makes a table from, without making one; kNone where it gives null. Depths and modes
    /// without a table are not logged.
    ZEV_TableSource DescribeTable(const ZEV_TableParams& tableParams);
    /// Records the output rectangle as it is given and passes the target raster through a print raster's LUT
    /// inside it.
    void Finalize(ZEV_TableParams tableParams) override;
    void SetOutputRect(KIT_Rect& rect);
    void GetOutputRect(KIT_Rect& rect);

    /// Lays saved display parameters over the object, see ZEV_Dicom::UpdateFromDDP. Mind the order of the two
    /// messages.
    bool UpdateFromDDP(OBJ_Msg* ddpMsg, OBJ_Msg* msg, KIT_Raster* raster, KIT_BaseParamsVec* vec) override;

    // ---- plain storage for callers ----
    /// The window came from the image's message; from then on only a forced opening takes it anew.
    bool GetFlagValuesByDicom();
    void SetFlagValuesByDicom(bool byDicom);
    void SetIsLocalizer();
    bool IsLocalizer();
    /// Ends of the data, in units that the host chooses; 0 at first.
    float GetMinDataValue();
    void SetMinDataValue(float value);
    float GetMaxDataValue();
    void SetMaxDataValue(float value);

    // ---- virtual operations that this class adds, in slot order ----
    virtual ZEV_Params& operator=(const ZEV_Params& other);
    virtual bool GetWindowingChangedByUser();
    virtual void SetWindowingChangedByUser(bool changed);
    virtual bool GetColormapChangedByUser();
    virtual void SetColormapChangedByUser(bool changed);

    class TableCreator;

protected:
    /// Adds what is to be saved to the record: the selected entry, the colour map and gamma, then by mode the
    /// window: 2 the present one; 1 the present one if the record has the entry "SAVE_WINDOW_LEVEL", which
    /// is taken out, else the one that was saved before, else the preset "Normal"; any other mode none.
    void RecordDDPInfo(DDPInfoVector& record, long mode) override;

    using ZEV_MaskableParam::copy_data;
    /// What every way of copying takes over. Not taken: the LUT's direction, the output rectangle, the
    /// highlight, the VOI manager and the selection. Marks nothing.
    void copy_data(const ZEV_Params& other);
    void SetLutInverse(bool inverse);

    static bool m_bDefaultMinMaxScaleMode;  ///< "GRA\zev_scale_presentation\min_max_scale"
    static bool m_bAutoSetDicomColormap;    ///< "colormaps\auto_set_dicom_colormap"

private:
    friend class ZEV_Painter;
    struct TableSource;
    static void read_defaults_once();
    bool prepare_table(const ZEV_TableParams& tableParams, TableCreator& creator, TableSource& from);
    ZEV_AbstractWindowingTable* make_table(const ZEV_TableParams& tableParams, TableCreator& creator,
                                           const TableSource& from);
    void set_window(int lo, int hi);
    void widen_scale(int lo, int hi);
    void init_window_and_scale(int lo, int hi);
    void follow_moved_center_or_width();
    void set_center_and_width_from(int lo, int hi);
    template <class T>
    void set_original_from_dp(ZEV_ParamValue<T>& holder, T value);
    const Mapper_WindowingEntry* selected_entry() const;
    const Mapper_WindowingEntry* entry_to_draw() const;

    ZEV_ParamValue<int> m_OriginalWidthFromDP;     ///< width of the saved presentation
    ZEV_ParamValue<int> m_OriginalCenterFromDP;    ///< centre of the saved presentation
    ZEV_ParamValue<bool> m_OriginalInverseFromDP;  ///< inversion of the saved presentation
    ZEV_ParamValue<int> m_Width;  ///< the only holder with limits: never negative once it was set
    ZEV_ParamValue<int> m_Center;
    ZEV_ParamValue<int> m_WindowMin;
    ZEV_ParamValue<int> m_WindowMax;
    ZEV_ParamValue<float> m_Gamma;   ///< initialised from the start, 1.0
    ZEV_ParamValue<bool> m_Inverse;  ///< the table's ramp runs downward
    ZEV_ParamValue<int> m_WindowMinScale;
    ZEV_ParamValue<int> m_WindowMaxScale;
    int m_RescaleIntercept = 0;
    float m_RescaleSlope = 1.0f;
    bool m_bRescaleInitialized = false;
    bool m_bFlagValuesByDicom = false;  ///< the window came from the image's message
    int m_PixelPaddingValue = kNoPadding;
    int m_PixelPaddingValueLimit = kNoPadding;
    bool m_bIsLocalizer = false;
    KIT_ChangeCounter m_InverseChangeCounter;
    Mir_AutoPtr<KIT_Raster> m_OwnedRaster;
    KIT_Raster* m_pReferenceRaster = nullptr;  ///< not owned
    critical_section m_RasterLock;             ///< guards the two raster members; recursive
    bool m_bRasterPassedToLive = false;
    bool m_bHighlight = false;
    int m_HighlightValue1 = 0;
    int m_HighlightValue2 = 0;
    Mir_AutoPtrThread<Mapper_Pval> m_Pval;  ///< shared with copies
    int m_PixelRange = -1;
    KIT_Rect m_OutputRect;               ///< the rectangle last finalised
    bool m_bPhotometricInverse = false;  ///< the photometric interpretation is itself inverted
    bool m_bLutInverse = false;          ///< the selected table LUT runs downward
    bool m_bUsePadding = false;          ///< tables treat padding pixels apart
    boost::shared_ptr<Mapper_WindowingManager> m_pVoiLutManager;  ///< shared with copies
    int m_VoiLutSelection = -1;
    int m_DefaultVoiLutSelection = 0;
    ZEV_ColorMap* m_pColorMap = nullptr;       ///< in use; not owned
    ZEV_ColorMap* m_pDicomColorMap = nullptr;  ///< the image's own; owned if the flag below says so
    ZEV_ColorMap* m_pDPColorMap = nullptr;     ///< the saved presentation's; not owned
    bool m_bOwnsDicomColorMap = false;
    bool m_bChangeColorMapsOnAllDSTypes = false;
    bool m_bMinMaxScaleMode;
    bool m_bUseRescale = true;
    OBJ_Msg* m_pLastUpdatedMsg = nullptr;  ///< the message that last filled this object; not owned
    bool m_bWindowingChangedByUser = false;
    bool m_bColormapChangedByUser = false;
    float m_MinDataValue = 0.0f;
    float m_MaxDataValue = 0.0f;
    std::vector<ZEV_ColorMap*> m_ReplacedDicomColorMaps;  ///< owned; earlier arguments of AddDicomColorMap
};
