// Freezing, merging, comparing, finishing, and the colour-map pointers.

#include <KIT/KIT_BaseParamsVec.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Masks.h>
#include <ZEV/ZEV_Params.h>

#include <algorithm>
#include <cmath>

#include "zev_numeric.h"
#include "zev_table_creator.h"

void ZEV_Params::Freeze() {
    if (m_pLiveParams == nullptr) return;
    const ZEV_Params& live = *static_cast<const ZEV_Params*>(m_pLiveParams);
    // The copy keeps its own raster, whatever raster the live object has.
    KIT_Raster* const ownReference = m_pReferenceRaster;
    const Mir_AutoPtr<KIT_Raster> ownOwned(m_OwnedRaster);
    copy_data(live);
    m_pReferenceRaster = ownReference;
    if (m_OwnedRaster != ownOwned) m_OwnedRaster = ownOwned;
    // Plain numbers: running the selection would put the entry's window in.
    m_pVoiLutManager = live.m_pVoiLutManager;
    m_VoiLutSelection = live.m_VoiLutSelection;
    m_DefaultVoiLutSelection = live.m_DefaultVoiLutSelection;
    m_Count = live.m_Count;
}

void ZEV_Params::Defrost() {
    m_Pval = Mir_AutoPtrThread<Mapper_Pval>();
    if (m_pLiveParams == nullptr) return;
    ZEV_Params& live = *static_cast<ZEV_Params*>(m_pLiveParams);
    if (m_pReferenceRaster == nullptr && !m_OwnedRaster) {
        live.m_OutputRect = KIT_Rect();
    } else {
        live.m_OutputRect = m_OutputRect;
    }
}

void ZEV_Params::Update(KIT_BaseParams* other) {
    if (other == nullptr) return;
    const ZEV_Params& source = *static_cast<const ZEV_Params*>(other);
    m_Width.Absorb(source.m_Width);
    m_Center.Absorb(source.m_Center);
    m_WindowMax.Absorb(source.m_WindowMax);
    m_WindowMin.Absorb(source.m_WindowMin);
    m_WindowMaxScale.Absorb(source.m_WindowMaxScale);
    m_WindowMinScale.Absorb(source.m_WindowMinScale);
    m_Inverse.Absorb(source.m_Inverse);
}

bool ZEV_Params::Interpolate(KIT_BaseParams** params, int count, KIT_BaseParamsVec*) {
    if (params == nullptr || count < 1) return false;
    ZEV_Params* const end = static_cast<ZEV_Params*>(params[count - 1]);
    if (end == nullptr) return false;
    const int n = count - 1;
    const float steps = static_cast<float>(n);
    const float widthStep = static_cast<float>(zev::Subtract(end->GetWidth(), GetWidth())) / steps;
    const float centerStep = static_cast<float>(zev::Subtract(end->GetCenter(), GetCenter())) / steps;
    // The comparison is in double precision. NaN (one element that differs from this one) passes.
    const double tooSmall = 0.001;
    if (std::fabs(static_cast<double>(widthStep)) < tooSmall &&
        std::fabs(static_cast<double>(centerStep)) < tooSmall) {
        return false;
    }
    if (n <= 1) return true;
    if (params[0] == nullptr) return false;
    float width = static_cast<float>(GetWidth());
    float center = static_cast<float>(GetCenter());
    for (int i = 1; i <= count - 2; ++i) {
        // The sums accumulate; they are not worked out anew from i.
        width += widthStep;
        center += centerStep;
        ZEV_Params* const between = new ZEV_Params(*static_cast<const ZEV_Params*>(params[i - 1]));
        params[i] = between;
        between->SetWidth(zev::TruncToInt(static_cast<double>(width)));
        between->SetCenter(zev::TruncToInt(static_cast<double>(center)));
    }
    return true;
}

bool ZEV_Params::IsChanged(KIT_BaseParams* other) {
    if (other == nullptr) return false;
    ZEV_Params& second = *static_cast<ZEV_Params*>(other);
    return second.GetWidth() != GetWidth() || second.GetCenter() != GetCenter();
}

bool ZEV_Params::IsBurnToRasterNeeded() { return GammaExistAndNotNaturalValue(); }

void ZEV_Params::ConvertToMasks(ZEV_Masks* masks, KIT_BaseParamsVec*) {
    masks->UpdateMaskFromParam("ZEV", this, nullptr, true, true, false);
}

void ZEV_Params::Finalize(ZEV_TableParams tableParams) {
    SetOutputRect(tableParams.m_OutputRect);
    TableCreator creator;
    const KIT_Rect& rect = tableParams.m_OutputRect;
    creator.ApplyPrinterLUT(tableParams.m_pGraphicContext, tableParams.m_pTargetRaster,
                            std::min(rect.left, rect.right), std::max(rect.left, rect.right),
                            std::min(rect.top, rect.bottom), std::max(rect.top, rect.bottom));
}

void ZEV_Params::SetOutputRect(KIT_Rect& rect) { m_OutputRect = rect; }
void ZEV_Params::GetOutputRect(KIT_Rect& rect) { rect = m_OutputRect; }

// ---- colour map

ZEV_ColorMap* ZEV_Params::GetColorMap() { return m_pColorMap; }
ZEV_ColorMap* ZEV_Params::GetDicomColorMap() { return m_pDicomColorMap; }

void ZEV_Params::SetColorMap(ZEV_ColorMap* map) {
    m_pColorMap = map;
    MarkTableChange();
}

void ZEV_Params::SetDPColorMap(ZEV_ColorMap* map) {
    m_pDPColorMap = map;
    m_pColorMap = map;
    MarkTableChange();
}

void ZEV_Params::AddDicomColorMap(ZEV_ColorMap* map) {
    // One of the earlier maps may come back.
    m_ReplacedDicomColorMaps.erase(
        std::remove(m_ReplacedDicomColorMaps.begin(), m_ReplacedDicomColorMaps.end(), map),
        m_ReplacedDicomColorMaps.end());
    if (m_bOwnsDicomColorMap && m_pDicomColorMap != nullptr && m_pDicomColorMap != map) {
        // Copies may point at it.
        m_ReplacedDicomColorMaps.push_back(m_pDicomColorMap);
    }
    m_pDicomColorMap = map;
    m_bOwnsDicomColorMap = true;
    if (m_pDPColorMap == nullptr && m_bAutoSetDicomColormap) SetColorMapToDicomColorMap();
}

void ZEV_Params::SetColorMapToDicomColorMap() {
    m_pColorMap = m_pDicomColorMap;
    MarkTableChange();
}
