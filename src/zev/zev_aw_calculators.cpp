// The calculators: checks, regions, and the choice of statistics.

#include "zev_aw_calculators.h"

#include <KIT/KIT_Raster.h>
#include <KIT/KIT_Rect.h>
#include <SYS/dynamic_library.h>
#include <TXT/TXT_Strings.h>
#include <ZEV/ZEV_AutoWindowing.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cwchar>

#include "zev_aw_histogram.h"
#include "zev_aw_statistics.h"
#include "zev_log.h"
#include "zev_raster_lock.h"

namespace {

constexpr int kPaletteFormat = 0;

const char* const kNullRaster = " The raster is NULL \n";
const char* const kWrongRaster = " Wrong raster \n";

bool is_none(const KIT_Rect* rect) { return rect == nullptr || *rect == KIT_Rect(); }

/// What lies inside the raster.
template <class Pixel>
zev::PixelRegion<Pixel> clip(KIT_Raster& raster, int x0, int y0, int x1, int y1) {
    x0 = std::max(x0, 0), y0 = std::max(y0, 0);
    x1 = std::min(x1, raster.m_Width), y1 = std::min(y1, raster.m_Height);
    if (x0 >= x1 || y0 >= y1) return {nullptr, 0, 0, 0};
    const std::ptrdiff_t rowLength = raster.m_Width;
    const Pixel* const pixels = static_cast<const Pixel*>(raster.GetPixels());
    return {pixels + y0 * rowLength + x0, rowLength, x1 - x0, y1 - y0};
}

/// Pixels of a region, cut to 32 bits.
template <class Pixel>
int count_of(const zev::PixelRegion<Pixel>& region) {
    return static_cast<int>(static_cast<unsigned>(region.columns) * static_cast<unsigned>(region.rows));
}

/// Fills a histogram in its own frame and has it measured.
template <class Pixel, class Measure>
void measure_region(const KIT_Raster& raster, const zev::PixelRegion<Pixel>& region, int* width, int* center,
                    Measure measure) {
    const zev::BinRule rule = zev::ResolveBinRule(raster.m_BitsPerPixel, raster.m_bSigned);
    zev::Histogram<Pixel> histogram;
    const zev::Bins bins = {histogram.Count(region, rule), zev::kBinsOf<Pixel>, static_cast<int>(rule.bias)};
    const zev::MeasuredWindow window = measure(bins);
    *width = window.width;
    *center = window.center;
}

template <class Pixel>
int measure_by_deviation(KIT_Raster& raster, const zev::PixelRegion<Pixel>& region, bool skipLow, int* width,
                         int* center) {
    // Without a pixel there is no mean.
    if (region.Empty()) return -1;
    measure_region(raster, region, width, center, [&](const zev::Bins& bins) {
        const float* const squares =
            raster.m_bSigned ? zev::g_SignedSquares + zev::kSquares / 2 - bins.bias : zev::g_UnsignedSquares;
        return zev::MeasureByDeviation(bins, squares, skipLow);
    });
    return 0;
}

template <class Pixel>
int measure_by_cuts(KIT_Raster& raster, const zev::PixelRegion<Pixel>& region, int* width, int* center) {
    measure_region(raster, region, width, center,
                   [&](const zev::Bins& bins) { return zev::MeasureByCuts(bins, count_of(region)); });
    return 0;
}

}  // namespace

// ---- Base ----

ZEV_AWBaseCalc::~ZEV_AWBaseCalc() = default;

int ZEV_AWBaseCalc::Calc(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                         int* center) {
    const char* const function = "ZEV_AWBaseCalc::Calc";
    if (raster == nullptr) {
        ZEV_LOG(function, zev::kLogError, kNullRaster);
        return -1;
    }
    if (raster->m_PixelFormat != kPaletteFormat) {
        ZEV_LOG(function, zev::kLogError,
                " Can not calcultae automatic widnowing if pixel format is not PALETTE \n");
        return -1;
    }
    if (width == nullptr || center == nullptr) return -1;
    const zev::RasterLock lock(raster);
    const int depth = raster->m_BitsPerPixel;
    // Pixels lie in one or two bytes.
    if (raster->m_Width <= 0 || raster->m_Height <= 0 || raster->GetPixels() == nullptr || depth < 1 ||
        depth > 16) {
        ZEV_LOG(function, zev::kLogError, kWrongRaster);
        return -1;
    }
    return depth > 8 ? Calc16(raster, x0, y0, x1, y1, bSkipLow, width, center)
                     : Calc8(raster, x0, y0, x1, y1, bSkipLow, width, center);
}

int ZEV_AWBaseCalc::Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect) {
    if (raster == nullptr) {
        ZEV_LOG("ZEV_AWBaseCalc::Calc", zev::kLogError, kNullRaster);
        return -1;
    }
    if (is_none(rect)) return Calc(raster, 0, 0, raster->m_Width, raster->m_Height, 1, width, center);
    return Calc(raster, rect->left, rect->top, rect->right, rect->bottom, 1, width, center);
}

// ---- Mean and deviation ----

int ZEV_AWCalc::Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect) {
    if (raster == nullptr) {
        ZEV_LOG("ZEV_AWCalc::Calc", zev::kLogError, kNullRaster);
        return -1;
    }
    if (!is_none(rect))
        return Calc(raster, rect->left, rect->top, rect->right, rect->bottom, 1, width, center);
    const auto threeQuarters = [](int size) { return static_cast<int>(std::int64_t{3} * size / 4); };
    return Calc(raster, raster->m_Width / 4, raster->m_Height / 4, threeQuarters(raster->m_Width),
                threeQuarters(raster->m_Height), 1, width, center);
}

int ZEV_AWCalc::Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                      int* center) {
    return measure_by_deviation(*raster, clip<std::uint8_t>(*raster, x0, y0, x1, y1), bSkipLow != 0, width,
                                center);
}

int ZEV_AWCalc::Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                       int* center) {
    return measure_by_deviation(*raster, clip<std::uint16_t>(*raster, x0, y0, x1, y1), bSkipLow != 0, width,
                                center);
}

// ---- Cuts without spikes ----

int ZEV_AWCalcCR::Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int, int* width, int* center) {
    return measure_by_cuts(*raster, clip<std::uint8_t>(*raster, x0, y0, x1, y1), width, center);
}

int ZEV_AWCalcCR::Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int, int* width, int* center) {
    return measure_by_cuts(*raster, clip<std::uint16_t>(*raster, x0, y0, x1, y1), width, center);
}

// ---- Occupied range ----

int ZEV_AWCalcNM::Calc8(KIT_Raster* raster, int x0, int y0, int x1, int y1, int, int* width, int* center) {
    measure_region(*raster, clip<std::uint8_t>(*raster, x0, y0, x1, y1), width, center,
                   zev::MeasureWholeRange);
    return 0;
}

int ZEV_AWCalcNM::Calc16(KIT_Raster* raster, int x0, int y0, int x1, int y1, int, int* width, int* center) {
    measure_region(*raster, clip<std::uint16_t>(*raster, x0, y0, x1, y1), width, center,
                   zev::MeasureMostOfRange);
    return 0;
}

// ---- The vendor's own ----

namespace {

const wchar_t* const kVendor = L"vexor";
const wchar_t* const kVendorLibrary = L"vexor_MRI_WL.dll";
const char* const kVendorEntryPoint = "?vexor_MRI_WL@@YAHPAGGGHAAH1AAG2@Z";

/// Null until it was loaded; never released.
std::atomic<HMODULE> g_VendorLibrary{nullptr};

using VendorFunction = int (*)(unsigned short* pixels, unsigned short width, unsigned short height, int one,
                               int& unused1, int& unused2, unsigned short& windowWidth,
                               unsigned short& windowCenter);

}  // namespace

int ZEV_AWCalcMR::Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect) {
    if (raster == nullptr) {
        ZEV_LOG("ZEV_AWCalcMR::Calc", zev::kLogError, kNullRaster);
        return -1;
    }
    if (width == nullptr || center == nullptr) return -1;
    const _bstr_t vendor = TxtGetVendorName();
    const wchar_t* const vendorName = vendor;
    const bool ours = vendorName != nullptr && std::wcscmp(vendorName, kVendor) == 0;
    const int depth = raster->m_BitsPerPixel;
    const bool fits = depth >= 9 && depth <= 16 && raster->m_Width >= 0 && raster->m_Height >= 0;
    if (!ours || !fits) return ZEV_AWCalc::Calc(raster, width, center, rect);

    // After a failure the next call tries again. Two first calls may both load; both get the same library.
    HMODULE library = g_VendorLibrary;
    if (library == nullptr) {
        library = LoadLibraryW(kVendorLibrary);
        if (library != nullptr) g_VendorLibrary = library;
    }
    const FARPROC entry = library == nullptr ? nullptr : GetProcAddress(library, kVendorEntryPoint);
    if (entry == nullptr) return ZEV_AWCalc::Calc(raster, width, center, rect);

    const zev::RasterLock lock(raster);
    void* const pixels = raster->GetPixels();
    if (pixels == nullptr) return -1;
    int unused1 = 0, unused2 = 0;
    unsigned short windowWidth = 0, windowCenter = 0;
    // The platform's type of a function has a result, which compilers warn of; one without has none.
    reinterpret_cast<VendorFunction>(reinterpret_cast<void (*)()>(entry))(
        static_cast<unsigned short*>(pixels), static_cast<unsigned short>(raster->m_Width),
        static_cast<unsigned short>(raster->m_Height), 1, unused1, unused2, windowWidth, windowCenter);
    *width = windowWidth;
    *center = windowCenter;
    return 0;
}
