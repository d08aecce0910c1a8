#pragma once

#include <ZEV/ZEV_Export.h>

class KIT_Raster;
class ZEV_Params;

/// Holds the raster lock of a ZEV_Params for as long as it has a raster in hand.
///
///     ZEV_ReferenceRaster guard(&params);
///     if (KIT_Raster* raster = guard.GetReferenceRaster()) ...;      // the lock goes with the guard
///
/// A guard is used by one thread, and its ZEV_Params must outlive it.
class ZEV_API ZEV_ReferenceRaster {
public:
    /// Takes no lock yet.
    explicit ZEV_ReferenceRaster(ZEV_Params* params = nullptr);
    ~ZEV_ReferenceRaster();
    ZEV_ReferenceRaster(const ZEV_ReferenceRaster&) = delete;
    /// Takes both members over as they are, and takes or releases no lock: of use only between guards without
    /// a raster in hand. Any other lock is released twice, or never.
    ZEV_ReferenceRaster& operator=(const ZEV_ReferenceRaster& other);

    /// Turns to another object if one is given, letting the former one's lock go, and takes the lock unless
    /// it is held. The reference raster, or null, with no lock held, when there is none. Asked twice it locks
    /// once.
    KIT_Raster* GetReferenceRaster(ZEV_Params* params = nullptr);

private:
    ZEV_Params* m_pParams;            ///< not owned
    KIT_Raster* m_pRaster = nullptr;  ///< in hand; null means that no lock is held
};
