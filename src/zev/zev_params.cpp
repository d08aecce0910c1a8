// Construction, copying and reset.

#include <COM/com_ptr.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Params.h>

#include "zev_once.h"

bool ZEV_Params::m_bDefaultMinMaxScaleMode = false;
bool ZEV_Params::m_bAutoSetDicomColormap = true;

ZEV_Params::ZEV_Params() {
    SetName("ZEV_Params");
    m_Width.m_Min = 0;
    m_Width.m_Max = std::numeric_limits<int>::max();
    m_Width.m_bHasLimits = true;
    m_Gamma.Init(kGammaNatural);
    Reset();
    m_Inverse.m_Value = false;
    m_Inverse.m_bHasPending = false;
    m_Inverse.ClearPending();
    SetRescaleIntercept(0);
    SetRescaleSlope(1.0f);
    SetPixelPaddingValues(kNoPadding, kNoPadding);
    m_PixelRange = -1;
    read_defaults_once();
    m_bMinMaxScaleMode = m_bDefaultMinMaxScaleMode;
    m_bUseRescale = true;
    // The setters above do not count: a new object has no rescale.
    m_bRescaleInitialized = false;
}

void ZEV_Params::read_defaults_once() {
    static zev::OnlyOnce once;
    once.Run([] {
        PRM_ITreePtr tree(CLSID_PRM_Tree);
        m_bDefaultMinMaxScaleMode =
            tree->GetIntDefault(L"GRA\\zev_scale_presentation\\min_max_scale", 0) != 0;
        m_bAutoSetDicomColormap = tree->GetIntDefault(L"colormaps\\auto_set_dicom_colormap", 1) != 0;
    });
}

ZEV_Params::ZEV_Params(const ZEV_Params& other) : ZEV_MaskableParam(other), m_bMinMaxScaleMode(false) {
    copy_data(other);
    m_OutputRect = KIT_Rect();
    m_pVoiLutManager = other.m_pVoiLutManager;
    SetVoiLutSelection(other.m_VoiLutSelection, false);
    m_bRasterPassedToLive = false;
}

ZEV_Params::~ZEV_Params() {
    m_Pval = Mir_AutoPtrThread<Mapper_Pval>();
    if (m_bOwnsDicomColorMap && m_pDicomColorMap != nullptr) delete m_pDicomColorMap;
    for (ZEV_ColorMap* map : m_ReplacedDicomColorMaps) delete map;
    SetReferenceRaster(nullptr, false);
}

KIT_BaseParams* ZEV_Params::Clone() { return new ZEV_Params; }

KIT_BaseParams& ZEV_Params::operator=(const KIT_BaseParams& other) {
    if (this == &other) return *this;
    const ZEV_Params& source = static_cast<const ZEV_Params&>(other);
    copy_data(source);
    m_pVoiLutManager = source.m_pVoiLutManager;
    SetVoiLutSelection(source.GetVoiLutSelection(), false);
    // The selection has put the entry's window in; the source's values win.
    m_Center = source.m_Center;
    m_Width = source.m_Width;
    m_WindowMax = source.m_WindowMax;
    m_WindowMin = source.m_WindowMin;
    m_WindowMaxScale = source.m_WindowMaxScale;
    m_WindowMinScale = source.m_WindowMinScale;
    m_bHighlight = false;
    KIT_BaseParams::operator=(other);
    return *this;
}

ZEV_Params& ZEV_Params::operator=(const ZEV_Params& other) {
    *this = static_cast<const KIT_BaseParams&>(other);
    return *this;
}

void ZEV_Params::SetData(const KIT_BaseParams& other) {
    copy_data(static_cast<const ZEV_Params&>(other));
    MarkTableChange();
}

void ZEV_Params::copy_data(const ZEV_Params& other) {
    if (this == &other) return;
    ZEV_MaskableParam::copy_data(other);

    m_Width = other.m_Width;
    m_Center = other.m_Center;
    m_Gamma = other.m_Gamma;
    m_WindowMax = other.m_WindowMax;
    m_WindowMin = other.m_WindowMin;
    m_WindowMaxScale = other.m_WindowMaxScale;
    m_WindowMinScale = other.m_WindowMinScale;
    m_Inverse = other.m_Inverse;

    m_RescaleIntercept = other.m_RescaleIntercept;
    m_RescaleSlope = other.m_RescaleSlope;
    m_pReferenceRaster = other.m_pReferenceRaster;
    m_OwnedRaster = other.m_OwnedRaster;
    m_Pval = other.m_Pval;
    m_InverseChangeCounter = other.m_InverseChangeCounter;
    m_PixelRange = other.m_PixelRange;
    m_bIsLocalizer = other.m_bIsLocalizer;
    m_PixelPaddingValue = other.m_PixelPaddingValue;
    m_PixelPaddingValueLimit = other.m_PixelPaddingValueLimit;
    m_bPhotometricInverse = other.m_bPhotometricInverse;
    m_bUsePadding = other.m_bUsePadding;
    m_bFlagValuesByDicom = other.m_bFlagValuesByDicom;

    m_pColorMap = other.m_pColorMap;
    m_pDicomColorMap = other.m_pDicomColorMap;
    // A copy never owns the map, and a target that owned one loses the duty to delete it.
    m_bOwnsDicomColorMap = false;
    m_pDPColorMap = other.m_pDPColorMap;

    m_bChangeColorMapsOnAllDSTypes = other.m_bChangeColorMapsOnAllDSTypes;
    m_bMinMaxScaleMode = other.m_bMinMaxScaleMode;
    m_bRescaleInitialized = other.m_bRescaleInitialized;
    m_bUseRescale = other.m_bUseRescale;
    m_pLastUpdatedMsg = other.m_pLastUpdatedMsg;
    m_DefaultVoiLutSelection = other.m_DefaultVoiLutSelection;

    m_OriginalWidthFromDP = other.m_OriginalWidthFromDP;
    m_OriginalCenterFromDP = other.m_OriginalCenterFromDP;
    m_OriginalInverseFromDP = other.m_OriginalInverseFromDP;

    m_bWindowingChangedByUser = other.m_bWindowingChangedByUser;
    m_bColormapChangedByUser = other.m_bColormapChangedByUser;
    m_MinDataValue = other.m_MinDataValue;
    m_MaxDataValue = other.m_MaxDataValue;
}

void ZEV_Params::Reset() {
    SetReferenceRaster(nullptr, false);
    ResetExceptRaster(true, true);
}

void ZEV_Params::ResetExceptRaster(bool bResetColorMap, bool bResetVoiLutSelection) {
    m_Center.Reset();
    m_Width.Reset();
    m_WindowMax.Reset();
    m_WindowMin.Reset();
    m_Inverse.Reset();
    m_WindowMaxScale.Reset();
    m_WindowMinScale.Reset();
    m_OutputRect = KIT_Rect();
    if (bResetVoiLutSelection && GetVoiLutEntryCount() != 0)
        SetVoiLutSelection(m_DefaultVoiLutSelection, false);
    MarkTableChange();
    m_InverseChangeCounter.MarkChange();
    if (bResetColorMap) {
        if (m_pDPColorMap != nullptr) {
            m_pColorMap = m_pDPColorMap;
        } else if (m_pDicomColorMap != nullptr && m_bAutoSetDicomColormap) {
            m_pColorMap = m_pDicomColorMap;
        } else {
            m_pColorMap = nullptr;
        }
    }
}

bool ZEV_Params::IsInitialized() {
    return m_Inverse.m_bInitialized && m_Width.m_bInitialized && m_Center.m_bInitialized;
}

// ---- plain storage for callers

bool ZEV_Params::GetFlagValuesByDicom() { return m_bFlagValuesByDicom; }
void ZEV_Params::SetFlagValuesByDicom(bool byDicom) { m_bFlagValuesByDicom = byDicom; }
void ZEV_Params::SetIsLocalizer() { m_bIsLocalizer = true; }
bool ZEV_Params::IsLocalizer() { return m_bIsLocalizer; }
float ZEV_Params::GetMinDataValue() { return m_MinDataValue; }
void ZEV_Params::SetMinDataValue(float value) { m_MinDataValue = value; }
float ZEV_Params::GetMaxDataValue() { return m_MaxDataValue; }
void ZEV_Params::SetMaxDataValue(float value) { m_MaxDataValue = value; }
bool ZEV_Params::GetWindowingChangedByUser() { return m_bWindowingChangedByUser; }
void ZEV_Params::SetWindowingChangedByUser(bool changed) { m_bWindowingChangedByUser = changed; }
bool ZEV_Params::GetColormapChangedByUser() { return m_bColormapChangedByUser; }
void ZEV_Params::SetColormapChangedByUser(bool changed) { m_bColormapChangedByUser = changed; }
bool ZEV_Params::GetChangeColorMapsOnAllDSTypes() { return m_bChangeColorMapsOnAllDSTypes; }
void ZEV_Params::SetChangeColorMapsOnAllDSTypes(bool change) { m_bChangeColorMapsOnAllDSTypes = change; }
