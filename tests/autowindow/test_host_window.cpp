#include <DICOM/Dicom_CS.h>
#include <HST/HST_AutoWindow.h>
#include <KIT/KIT_Rect.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "rasters.h"

namespace {

using rasters::Histogram;
constexpr int kNone = -100000;

TEST(HostWindow, Percentiles) {
    // 1 to 200: the third pixel from either end is beyond 1% of 199.
    Histogram ramp;
    for (int value = 1; value <= 200; ++value) ramp.emplace_back(value, 1);
    const struct {
        const char* name;
        int bits;
        bool isSigned;
        Histogram histogram;
        int padding, limit;
        bool fullRange;
        double width, center;
    } cases[] = {
        {"1% off at each end", 16, false, ramp, kNone, kNone, false, 197, 100.5},
        {"full range", 16, false, ramp, kNone, kNone, true, 199, 100.5},
        {"constant: black", 12, true, {{-50, 9}}, kNone, kNone, false, 1, -49},
        {"0 black, 1 white", 1, false, {{0, 90}, {1, 10}}, kNone, kNone, false, 1, 1},
        {"neighbours below zero", 12, true, {{-2, 5}, {-1, 5}}, kNone, kNone, true, 1, -1},
        {"sparse: dark background",
         12,
         false,
         {{0, 996}, {400, 2}, {1000, 2}},
         kNone,
         kNone,
         false,
         1000,
         500},
        {"one padding value", 16, true, {{-2000, 500}, {0, 1}, {100, 1}}, -2000, -2000, false, 100, 50},
        {"padding range, ends swapped", 16, false, {{0, 9}, {5, 9}, {10, 9}, {40, 1}}, 10, 0, true, 1, 41},
        {"padding outside the pixels' range", 8, false, {{0, 1}, {255, 1}}, -30000, -5, true, 255, 127.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        refhost::MemoryRaster raster = rasters::Of(c.bits, c.isSigned, c.histogram);
        HST_AutoWindow window;
        const int n = raster.m_Width;
        window.AutoWindowing(raster.GetPixels(), 0, 0, n, 1, n, Dicom_CS("CT", nullptr), false, c.bits,
                             c.padding, c.limit, c.isSigned, c.fullRange);
        EXPECT_EQ(std::pair(window.m_Width, window.m_Center), std::pair(c.width, c.center));
        EXPECT_EQ(window.m_bConstant, c.center > c.histogram.back().first);
    }
}

TEST(HostWindow, RegionWithinRows) {
    refhost::MemoryRaster raster = rasters::Of(3, 3, 16, false, {9, 9, 9, 9, 20, 40, 9, 30, 25});
    HST_AutoWindow window;
    void* const pixels = raster.GetPixels();
    window.AutoWindowing(pixels, 1, 1, 3, 3, 3, Dicom_CS(), false, 16, kNone, kNone, false, true);
    EXPECT_EQ(std::pair(window.m_Width, window.m_Center), std::pair(20.0, 30.0));
}

/// Sorts the pixels.
std::array<double, 3> plain_window(refhost::MemoryRaster& raster, const KIT_Rect& rect, int first, int last,
                                   bool fullRange) {
    std::vector<int> values;
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x) {
            const int value = rasters::Get(raster, static_cast<std::size_t>(y * raster.m_Width + x));
            if (value < first || value > last) values.push_back(value);
        }
    }
    if (values.empty()) return {-1, -1, -1};
    std::sort(values.begin(), values.end());
    const std::size_t cut = fullRange ? 0 : (values.size() - 1) / 100;
    int low = values[cut], high = values[values.size() - 1 - cut];
    if (low == high) low = values.front(), high = values.back();
    return {std::max(high - low, 1) * 1.0, high - low > 1 ? (low + high) / 2.0 : low + 1.0,
            low == high ? 1. : 0.};
}

TEST(HostWindow, RandomRastersGiveThePlainWindow) {
    std::mt19937 random(1);
    const auto below = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    for (int run = 0; run < 600; ++run) {
        const int bits = 1 + below(16), width = 40 + below(200), height = 1 + below(250), kind = below(9);
        refhost::MemoryRaster raster(width, height, bits, below(2) != 0);
        const int values = 1 << bits, lowest = raster.m_bSigned ? -values / 2 : 0;
        const int level = lowest + below(values), other = lowest + below(values);
        std::normal_distribution<double> noise(level, values / 20.0);
        for (int i = 0; i < width * height; ++i) {
            const int any = lowest + below(values);
            const int calm = std::clamp(static_cast<int>(noise(random)), lowest, lowest + values - 1);
            const int levels[] = {any, calm, i % width < 50 ? other : calm, level, below(2) ? level : other,
                                  below(1000) ? level : other, level ^ (i / 100 & 1),
                                  // Samples at regular steps see something else than the rest.
                                  i % (width * height / 2048 | 1) == 0 ? any : level,
                                  // More bits than the depth has.
                                  below(5000) ? calm : 0x5a5a};
            rasters::Set(raster, static_cast<std::size_t>(i), levels[kind]);
        }
        KIT_Rect rect(0, 0, height, width);
        if (below(2)) rect.top = below(height), rect.left = below(width);
        const int paddings[][2] = {{kNone, kNone}, {other, other}, {lowest, level}, {level, lowest + values}};
        const int* const padding = paddings[below(4)];
        const bool fullRange = below(3) == 0;
        SCOPED_TRACE(testing::Message() << "run " << run << ", " << bits << " bits, kind " << kind);
        HST_AutoWindow window;
        const int failed =
            window.AutoWindowing(raster.GetPixels(), rect.left, rect.top, width, height, width, Dicom_CS(),
                                 false, bits, padding[0], padding[1], raster.m_bSigned, fullRange);
        const auto [plainWidth, center, constant] =
            plain_window(raster, rect, padding[0], padding[1], fullRange);
        ASSERT_EQ(failed != 0, plainWidth < 0);
        if (failed) continue;
        ASSERT_EQ(window.m_Width, plainWidth);
        ASSERT_EQ(window.m_Center, center);
        ASSERT_EQ(window.m_bConstant, constant != 0);
    }
}

TEST(HostWindow, Refusals) {
    unsigned short pixels[4] = {7, 7, 7, 7};
    const struct {
        const char* name;
        void* pixels;
        int x0, y0, x1, y1, rowLength, bits, padding;
    } cases[] = {
        {"null", nullptr, 0, 0, 2, 2, 2, 16, kNone},
        {"17 bits", pixels, 0, 0, 2, 2, 2, 17, kNone},
        {"no columns", pixels, 1, 0, 1, 2, 2, 16, kNone},
        {"before the row", pixels, -1, 0, 2, 2, 2, 16, kNone},
        {"nothing but padding", pixels, 0, 0, 2, 2, 2, 16, 7},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HST_AutoWindow window;
        window.m_Width = -7;
        EXPECT_NE(window.AutoWindowing(c.pixels, c.x0, c.y0, c.x1, c.y1, c.rowLength, Dicom_CS(), true,
                                       c.bits, c.padding, c.padding, false, false),
                  0);
        EXPECT_EQ(window.m_Width, -7);
    }
}

}  // namespace
