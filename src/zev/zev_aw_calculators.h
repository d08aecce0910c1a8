#pragma once

#include <ZEV/ZEV_Export.h>

class KIT_Raster;
class KIT_Rect;

namespace zev {

/// Built by the first ZEV_AutoWindowing. Entry i is i squared; of the signed ones (i - 32768) squared.
constexpr int kSquares = 65536;
extern float g_UnsignedSquares[kSquares];
extern float g_SignedSquares[kSquares];

}  // namespace zev

/// What measures a window. Calculators hold no data. They need the tables that the first ZEV_AutoWindowing
/// builds. Results, outputs and regions are those of ZEV_AutoWindowing; the order of the virtual operations
/// is fixed.
class ZEV_AWBaseCalc {
public:
    virtual ~ZEV_AWBaseCalc();
    /// Checks and locks the raster, then Calc8 or Calc16.
    virtual int Calc(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                     int* center);
    /// No rectangle stands for the whole raster.
    virtual int Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect);
    /// A locked PALETTE raster with pixels, of at most 8 bits.
    virtual int Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                      int* center) = 0;
    /// The same with 9 to 16 bits.
    virtual int Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                       int* center) = 0;
};

/// Mean and three standard deviations.
class ZEV_AWCalc : public ZEV_AWBaseCalc {
public:
    using ZEV_AWBaseCalc::Calc;
    /// No rectangle stands for the middle half of each axis.
    int Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect) override;
    int Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
              int* center) override;
    int Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
               int* center) override;
};

/// Spikes taken out, then 1% cut off below and 2.5% above.
class ZEV_AWCalcCR : public ZEV_AWBaseCalc {
public:
    int Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
              int* center) override;
    int Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
               int* center) override;
};

/// 8 bits: all occupied values. 16 bits: without the lowest one, and 99.5% of what remains.
class ZEV_AWCalcNM : public ZEV_AWBaseCalc {
public:
    int Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
              int* center) override;
    int Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
               int* center) override;
};

/// As ZEV_AWCalc, unless the vendor's own library takes over.
class ZEV_AWCalcMR : public ZEV_AWCalc {
public:
    using ZEV_AWCalc::Calc;
    int Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect) override;
};
