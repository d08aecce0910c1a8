#pragma once

#include <KIT/KIT_Raster.h>

namespace zev {

/// Holds a raster's lock; null holds nothing. Unlocks also when an exception passes.
class RasterLock {
public:
    explicit RasterLock(KIT_Raster* raster) : m_pRaster(raster) {
        if (m_pRaster != nullptr) m_pRaster->Lock();
    }
    ~RasterLock() {
        if (m_pRaster != nullptr) m_pRaster->Unlock();
    }
    RasterLock(const RasterLock&) = delete;
    RasterLock& operator=(const RasterLock&) = delete;

private:
    KIT_Raster* m_pRaster;
};

}  // namespace zev
