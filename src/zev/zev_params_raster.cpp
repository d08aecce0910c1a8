// The reference raster and its lock.

#include <ZEV/ZEV_Params.h>

void ZEV_Params::SetReferenceRaster(KIT_Raster* raster, bool takeOwnership) {
    ZEV_Params* const live = static_cast<ZEV_Params*>(m_pLiveParams);
    // A null raster is passed on only after a real one has been.
    if (live != nullptr && (raster != nullptr || m_bRasterPassedToLive)) {
        m_bRasterPassedToLive = true;
        live->SetReferenceRaster(raster, takeOwnership);
    }
    m_pReferenceRaster = nullptr;
    m_OwnedRaster = nullptr;
    if (takeOwnership) {
        if (live != nullptr && raster != nullptr && live->m_OwnedRaster.get() == raster) {
            // One duty to delete, shared by both.
            m_OwnedRaster = live->m_OwnedRaster;
        } else {
            m_OwnedRaster = raster;
        }
    } else if (live == nullptr) {
        m_RasterLock.lock();
        m_pReferenceRaster = raster;
        m_RasterLock.unlock();
    } else {
        m_pReferenceRaster = raster;
    }
}

KIT_Raster* ZEV_Params::GetReferenceRaster() {
    KIT_Raster* const raster = LockReferenceRaster();
    UnlockReferenceRaster();
    return raster;
}

KIT_Raster* ZEV_Params::LockReferenceRaster() {
    m_RasterLock.lock();
    return m_OwnedRaster ? m_OwnedRaster.get() : m_pReferenceRaster;
}

void ZEV_Params::UnlockReferenceRaster() { m_RasterLock.unlock(); }

int ZEV_Params::GetPixelRange() { return m_PixelRange; }
