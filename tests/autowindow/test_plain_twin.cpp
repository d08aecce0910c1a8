// The calculators against a plain twin of their rules, and the fast count against the plain one, on random
// rasters.

#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_AutoWindowing.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

#include "rasters.h"

namespace {

using Measured = std::pair<int, int>;  // width, centre

/// Bins from true pixel values.
struct Twin {
    std::vector<int> h;
    int bias;

    Twin(refhost::MemoryRaster& raster, const KIT_Rect& rect)
        : h(raster.m_BitsPerPixel > 8 ? 65536 : 256),
          bias(raster.m_bSigned ? 1 << (raster.m_BitsPerPixel - 1) : 0) {
        for (int y = rect.top; y < rect.bottom; ++y) {
            for (int x = rect.left; x < rect.right; ++x) {
                const int value = rasters::Get(raster, static_cast<std::size_t>(y * raster.m_Width + x));
                const int modulus = 1 << raster.m_BitsPerPixel;
                ++h[static_cast<std::size_t>(((value + bias) % modulus + modulus) % modulus)];
            }
        }
    }
    Measured mean(bool skipLow) const {
        const int size = static_cast<int>(h.size());
        const auto over = [&](int from, double& m, int& count) {
            long long sum = 0;
            float squares = 0;
            count = 0;
            for (int b = from; b < size; ++b) {
                const float v = static_cast<float>(b - bias);
                const float square = v * v;
                const int n = h[static_cast<std::size_t>(b)];
                const float product = static_cast<float>(n) * square;
                squares = squares + product;
                sum += static_cast<long long>(n) * (b - bias), count += n;
            }
            m = static_cast<double>(sum) / count;
            return squares;
        };
        double m = 0;
        int count = 0;
        float squares = over(0, m, count);
        if (skipLow) squares = over(static_cast<int>((bias + m) / 10.0), m, count);
        const double variance = static_cast<double>(squares / static_cast<float>(count)) - m * m;
        return {variance < 0 ? 0 : (static_cast<int>(std::sqrt(variance)) & 65535) * 3, static_cast<int>(m)};
    }
};

enum Kind { kUniform, kNarrow, kFlatWithSpots, kTwoFarValues, kBitsAboveTheDepth, kKinds };

refhost::MemoryRaster random_raster(std::mt19937& random, int bits, bool isSigned, int width, int height,
                                    int kind) {
    refhost::MemoryRaster raster(width, height, bits, isSigned);
    const int lowest = isSigned ? -(1 << (bits - 1)) : 0;
    const int values = 1 << bits;
    const int base = static_cast<int>(random() % static_cast<unsigned>(values));
    for (int i = 0; i < width * height; ++i) {
        int offset = static_cast<int>(random() % static_cast<unsigned>(values));
        if (kind == kNarrow) offset = (base + static_cast<int>(random() % 30)) % values;
        if (kind == kFlatWithSpots && random() % 50 != 0) offset = base;
        if (kind == kTwoFarValues) offset = i % 4 == 0 ? 0 : values - 1;
        if (kind == kBitsAboveTheDepth) offset = static_cast<int>(random() & 0xFFFF);
        rasters::Set(raster, static_cast<std::size_t>(i), lowest + offset);
    }
    return raster;
}

/// The same pixels in another order, in rows of `width`.
refhost::MemoryRaster rearranged(refhost::MemoryRaster& raster, const KIT_Rect& rect, int width,
                                 std::mt19937& random) {
    std::vector<int> values;
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x)
            values.push_back(rasters::Get(raster, static_cast<std::size_t>(y * raster.m_Width + x)));
    }
    std::shuffle(values.begin(), values.end(), random);
    return rasters::Of(width, static_cast<int>(values.size()) / width, raster.m_BitsPerPixel,
                       raster.m_bSigned, values);
}

TEST(PlainTwin, AgreesOnRandomRasters) {
    std::mt19937 random(20250703);
    ZEV_AutoWindowing windowing;
    const auto calc = [&](refhost::MemoryRaster& raster, const KIT_Rect& r, SPC_Modality::MODALITY modality,
                          int skipLow) {
        Measured m = {-7, -7};
        EXPECT_EQ(
            windowing.Calc(&raster, r.left, r.top, r.right, r.bottom, skipLow, &m.first, &m.second, modality),
            0);
        return m;
    };
    for (const int bits : {1, 4, 8, 9, 12, 14, 15, 16}) {
        for (int kind = 0; kind < kKinds; ++kind) {
            for (int round = 0; round < 4; ++round) {
                const bool isSigned = round % 2 != 0;
                SCOPED_TRACE(testing::Message() << bits << " bits, kind " << kind << ", round " << round);
                const int width = 260 + static_cast<int>(random() % 100),
                          height = 3 + static_cast<int>(random() % 40);
                refhost::MemoryRaster raster = random_raster(random, bits, isSigned, width, height, kind);
                const KIT_Rect rect(static_cast<int>(random() % 3), static_cast<int>(random() % 100), height,
                                    width - static_cast<int>(random() % 25));
                const Twin twin(raster, rect);
                EXPECT_EQ(calc(raster, rect, SPC_Modality::MODALITY_CT, 1), twin.mean(true));
                EXPECT_EQ(calc(raster, rect, SPC_Modality::MODALITY_CT, 0), twin.mean(false));
                // Neither the order of the pixels nor the length of the rows plays a part.
                const int length = round < 2 ? 1 : rect.bottom - rect.top;
                refhost::MemoryRaster other = rearranged(raster, rect, length, random);
                const KIT_Rect all(0, 0, other.m_Height, other.m_Width);
                for (const auto modality :
                     {SPC_Modality::MODALITY_CT, SPC_Modality::MODALITY_MG, SPC_Modality::MODALITY_NM})
                    EXPECT_EQ(calc(other, all, modality, 1), calc(raster, rect, modality, 1)) << modality;
            }
        }
    }
}

}  // namespace
