#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_ReferenceRaster.h>

ZEV_ReferenceRaster::ZEV_ReferenceRaster(ZEV_Params* params) : m_pParams(params) {}

ZEV_ReferenceRaster::~ZEV_ReferenceRaster() {
    if (m_pRaster != nullptr) m_pParams->UnlockReferenceRaster();
}

ZEV_ReferenceRaster& ZEV_ReferenceRaster::operator=(const ZEV_ReferenceRaster& other) = default;

KIT_Raster* ZEV_ReferenceRaster::GetReferenceRaster(ZEV_Params* params) {
    if (params != nullptr && params != m_pParams) {
        if (m_pRaster != nullptr) {
            m_pRaster = nullptr;
            m_pParams->UnlockReferenceRaster();
        }
        m_pParams = params;
    }
    if (m_pParams != nullptr && m_pRaster == nullptr) {
        m_pRaster = m_pParams->LockReferenceRaster();
        if (m_pRaster == nullptr) m_pParams->UnlockReferenceRaster();
    }
    return m_pRaster;
}
