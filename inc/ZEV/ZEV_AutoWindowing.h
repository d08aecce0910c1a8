#pragma once

#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Export.h>

class KIT_Raster;
class KIT_Rect;

/// Measures a window from the pixels of a grey raster, each modality in its own way. See
/// docs/autowindowing.md.
///
///     int width, center;
///     KIT_Rect none;
///     if (ZEV_AutoWindowing().Calc(&raster, &width, &center, &none, SPC_Modality::MODALITY_CT) == 0) ...;
///
/// Width and centre are in stored pixel values, before rescale. Every Calc returns 0, or -1 with a log line
/// and both outputs untouched: for a null raster, a raster that is not PALETTE, has no pixels or is deeper
/// than 16 bits, and, where the measure is a mean, for a region without pixels. A null output gives -1. The
/// raster is locked meanwhile.
///
/// The class has no data. The first object of the process builds the tables, guarded against two first
/// objects; from then on Calc may run on several threads at once.
class ZEV_API ZEV_AutoWindowing {
public:
    ZEV_AutoWindowing();
    ~ZEV_AutoWindowing();
    ZEV_AutoWindowing(const ZEV_AutoWindowing&) = default;
    ZEV_AutoWindowing& operator=(const ZEV_AutoWindowing&) = default;

    /// Over columns x0 up to but not including x1 and rows y0 up to but not including y1, clipped to the
    /// raster. Non-zero `bSkipLow` leaves out what lies below a tenth of the mean, where the modality's
    /// measure is a mean.
    int Calc(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width, int* center,
             SPC_Modality::MODALITY modality);
    /// Over a rectangle, low values left out. No rectangle (null, or four zeros) stands for the middle half
    /// of each axis where the measure is a mean, else for the whole raster. For MR of 9 to 16 bits and the
    /// vendor "vexor" the library vexor_MRI_WL.dll measures the whole raster, if it can be loaded.
    int Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect, SPC_Modality::MODALITY modality);
};
