#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_AutoWindowing.h>

#include "rasters.h"
#include "support.h"

namespace {

using rasters::Histogram;
using Modality = SPC_Modality::MODALITY;
constexpr Modality kMean = SPC_Modality::MODALITY_CT;
constexpr Modality kCuts = SPC_Modality::MODALITY_CR;
constexpr Modality kRange = SPC_Modality::MODALITY_NM;
constexpr bool kSigned = true;
constexpr bool kUnsigned = false;

/// The values first to last, `count` pixels each.
Histogram span_of(int first, int last, int count) {
    Histogram histogram;
    for (int value = first; value <= last; ++value) histogram.emplace_back(value, count);
    return histogram;
}
Histogram operator+(Histogram a, const Histogram& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct MeasureCase {
    const char* name;
    Modality modality;
    int bits;
    bool isSigned;
    Histogram histogram;
    int skipLow;
    int width, center;
};

const MeasureCase kMeasureCases[] = {
    // Mean m, deviation d: centre m, width 3 d.
    {"mean, zeros kept", kMean, 16, kUnsigned, {{0, 8}, {1000, 8}}, 0, 1500, 500},
    {"mean, zeros below 500 / 10 left out", kMean, 16, kUnsigned, {{0, 8}, {1000, 8}}, 1, 0, 1000},
    // low = (2048 + 250) / 10 = 229 in bins, and -2000 lies in bin 48.
    {"mean, signed, low values left out", kMean, 12, kSigned, {{-2000, 1}, {1000, 3}}, 1, 0, 1000},
    {"mean, signed, the lowest value counts", kMean, 12, kSigned, {{-2048, 1}, {2047, 1}}, 0, 6141, 0},
    {"mean, centre -3.5 truncated towards 0", kMean, 16, kSigned, {{-3, 1}, {-4, 1}}, 0, 0, -3},
    // 65535 squared is 65534 * 65536 as a float: the variance is -1.
    {"mean, negative variance", kMean, 16, kUnsigned, {{65535, 3}}, 0, 0, 65535},

    // 1212 pixels: 12 off below, 30 off above, once 99..101 are gone.
    {"cuts, a spike takes its neighbours along", kCuts, 8, kUnsigned,
     span_of(10, 29, 10) + Histogram{{99, 5}, {100, 995}, {101, 12}}, 1, 17, 19},
    {"cuts, 19 spikes go", kCuts, 8, kUnsigned, span_of(10, 28, 10) + Histogram{{50, 4}}, 1, 1, 50},
    {"cuts, 20 spikes stay", kCuts, 8, kUnsigned, span_of(10, 29, 10) + Histogram{{50, 4}}, 1, 20, 20},
    {"cuts, few pixels: nothing cut", kCuts, 16, kUnsigned, {{0, 1}, {20, 1}, {30, 1}}, 1, 31, 15},
    // 100 of 10020 pixels to go, and 20 left.
    {"cuts, everything cut", kCuts, 16, kUnsigned, {{50, 10000}, {100, 20}}, 1, 0, 101},
    {"cuts, zeros and a spike", kCuts, 8, kUnsigned, {{0, 5}, {100, 1000}}, 1, 0, 1},
    {"cuts, lower end", kCuts, 8, kUnsigned, {{0, 1000}, {1, 3}, {200, 10}, {201, 10}}, 1, 0, 200},
    {"cuts, upper end", kCuts, 16, kUnsigned, {{65535, 1000}, {65534, 3}, {200, 10}, {201, 10}}, 1, 0, 200},

    {"range, 16 bits: 99.5%", kRange, 16, kUnsigned, {{5, 10}, {100, 900}, {200, 95}, {300, 5}}, 1, 194, 103},
    {"range, 16 bits: at the top", kRange, 16, kUnsigned, {{65533, 1}, {65534, 1}, {65535, 1}}, 1, 1, 65534},
    {"range, 16 bits: centre -8.5 truncated", kRange, 12, kSigned, {{-10, 1}, {-8, 1}}, 1, 1, -8},
    {"range, 8 bits: one more to each side", kRange, 8, kUnsigned, {{10, 1}, {20, 1}}, 1, 12, 15},
    {"range, 8 bits: up to the end", kRange, 8, kUnsigned, {{10, 1}, {255, 1}}, 1, 246, 132},
    {"range, 8 bits: zeros only", kRange, 8, kUnsigned, {{0, 9}}, 1, 0, 254},
    {"range, 8 bits: a mask of 0 and 1", kRange, 8, kUnsigned, {{0, 5}, {1, 4}}, 1, 1, 1},
    {"range, 8 bits: zeros do not count", kRange, 8, kUnsigned, {{0, 5}, {100, 1}}, 1, 2, 100},
    {"range, 8 bits: signed, centre in bins", kRange, 8, kSigned, {{-28, 1}, {22, 1}}, 1, 52, 125},
};

TEST(Calculators, MeasureByHand) {
    ZEV_AutoWindowing windowing;
    for (const MeasureCase& c : kMeasureCases) {
        SCOPED_TRACE(c.name);
        refhost::MemoryRaster raster = rasters::Of(c.bits, c.isSigned, c.histogram);
        int width = -7, center = -7;
        windowing.Calc(&raster, 0, 0, raster.m_Width, 1, c.skipLow, &width, &center, c.modality);
        EXPECT_EQ(std::pair(width, center), std::pair(c.width, c.center));
    }
}

TEST(Calculators, ChosenByModality) {
    // Mean 20 and deviation 8.16; all of 10 to 30; from 11 on.
    const std::pair<int, int> cases[] = {{0, 21},  {1, 24},  {4, 19},  {9, 24},
                                         {10, 21}, {11, 24}, {-1, 24}, {15, 24}};
    refhost::MemoryRaster raster = rasters::Of(12, kUnsigned, Histogram{{10, 1}, {20, 1}, {30, 1}});
    for (const auto& [number, expected] : cases) {
        int width = -7, center = -7;
        KIT_Rect whole(0, 0, 1, 3);
        const auto modality = static_cast<Modality>(number);
        EXPECT_EQ(ZEV_AutoWindowing().Calc(&raster, &width, &center, &whole, modality), 0);
        EXPECT_EQ(std::pair(width, center), std::pair(expected, 20)) << number;
    }
}

TEST(Calculators, Regions) {
    // 8 by 8: the middle 4 by 4 pixels hold 50, the upper left one 40, the lower left one 210, the lower
    // right one 0, all others 200.
    std::vector<int> values(64, 200);
    for (std::size_t y = 2; y < 6; ++y) {
        for (std::size_t x = 2; x < 6; ++x) values[y * 8 + x] = 50;
    }
    values[0] = 40, values[56] = 210, values[63] = 0;
    refhost::MemoryRaster raster = rasters::Of(8, 8, 8, kUnsigned, values);
    const struct {
        const char* name;
        Modality modality;
        KIT_Rect rect;  // top, left, bottom, right
        int width, center;
    } cases[] = {
        {"range: whole raster", kRange, KIT_Rect(), 172, 125},
        {"mean: the low value left out", kMean, KIT_Rect(7, 6, 8, 8), 0, 200},
        {"mean: top and left apart", kMean, KIT_Rect(2, 0, 6, 2), 0, 200},
        {"cuts: clipped region counts", kCuts, KIT_Rect(INT_MIN, INT_MIN, 1, 2), 161, 120},
        {"cuts: nothing inside", kCuts, KIT_Rect(8, 0, 20, 8), -256, 128},
        {"range: nothing inside", kRange, KIT_Rect(3, 5, 4, 5), 0, 254},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        int width = -7, center = -7;
        KIT_Rect rect = c.rect;
        EXPECT_EQ(ZEV_AutoWindowing().Calc(&raster, &width, &center, &rect, c.modality), 0);
        EXPECT_EQ(std::pair(width, center), std::pair(c.width, c.center));
    }
    int width = 0, center = 0;
    EXPECT_EQ(ZEV_AutoWindowing().Calc(&raster, &width, &center, nullptr, kMean), 0);
    EXPECT_EQ(center, 50);

    // 3 by 3: three quarters of 3 are 2, a quarter is 0.
    refhost::MemoryRaster small = rasters::Of(3, 3, 8, kUnsigned, {10, 10, 200, 10, 10, 200, 200, 200, 200});
    EXPECT_EQ(ZEV_AutoWindowing().Calc(&small, &width, &center, nullptr, kMean), 0);
    EXPECT_EQ(center, 10);
    EXPECT_EQ(width, 0);
}

TEST(Calculators, Refusals) {
    refhost::MemoryRaster good(4, 4, 12, kUnsigned), trueColor = refhost::MemoryRaster::TrueColor(4, 4);
    refhost::MemoryRaster noPixels, deep(4, 4, 12, kUnsigned), flat(4, 4, 12, kUnsigned);
    noPixels.m_Width = noPixels.m_Height = 4, deep.m_BitsPerPixel = 17, flat.m_BitsPerPixel = 0;
    const std::string base = "3 ZEV_AWBaseCalc::Calc ";
    const std::string palette =
        base + " Can not calcultae automatic widnowing if pixel format is not PALETTE \n";
    const struct {
        const char* name;
        KIT_Raster* raster;
        Modality modality;
        bool byRect;
        std::string line;
    } cases[] = {
        {"null, rectangle, mean", nullptr, kMean, true, "3 ZEV_AWCalc::Calc  The raster is NULL \n"},
        {"null, MR", nullptr, SPC_Modality::MODALITY_MR, true, "3 ZEV_AWCalcMR::Calc  The raster is NULL \n"},
        {"true colour", &trueColor, kCuts, true, palette},
        {"no pixels", &noPixels, kMean, true, base + " Wrong raster \n"},
        {"17 bits", &deep, kMean, true, base + " Wrong raster \n"},
        {"0 bits", &flat, kMean, true, base + " Wrong raster \n"},
        {"mean of nothing", &good, kMean, false, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        support::LogCapture log;
        int width = -7, center = -8;
        KIT_Rect rect;
        EXPECT_EQ(c.byRect ? ZEV_AutoWindowing().Calc(c.raster, &width, &center, &rect, c.modality)
                           : ZEV_AutoWindowing().Calc(c.raster, 2, 0, 2, 4, 1, &width, &center, c.modality),
                  -1);
        EXPECT_EQ(std::pair(width, center), std::pair(-7, -8));
        EXPECT_TRUE(c.line.empty() ? log.lines.empty() : log.Has(c.line));
    }
    int width = 0;
    EXPECT_EQ(ZEV_AutoWindowing().Calc(&good, 0, 0, 4, 4, 1, &width, nullptr, kMean), -1);
}

}  // namespace
