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

struct Measured {
    int width;
    int center;
    bool operator==(const Measured& other) const { return width == other.width && center == other.center; }
};
std::ostream& operator<<(std::ostream& out, const Measured& m) {
    return out << m.width << " at " << m.center;
}

/// Bins from true pixel values.
struct Twin {
    std::vector<int> h;
    int bias;
    int pixels;

    Twin(refhost::MemoryRaster& raster, const KIT_Rect& rect)
        : h(raster.m_BitsPerPixel > 8 ? 65536 : 256),
          bias(raster.m_bSigned ? 1 << (raster.m_BitsPerPixel - 1) : 0),
          pixels((rect.right - rect.left) * (rect.bottom - rect.top)) {
        for (int y = rect.top; y < rect.bottom; ++y) {
            for (int x = rect.left; x < rect.right; ++x) {
                const int value = rasters::Get(raster, static_cast<std::size_t>(y * raster.m_Width + x));
                const int modulus = 1 << raster.m_BitsPerPixel;
                ++h[static_cast<std::size_t>(((value + bias) % modulus + modulus) % modulus)];
            }
        }
    }
    int size() const { return static_cast<int>(h.size()); }
    int at(int b) const { return h[static_cast<std::size_t>(b)]; }
    int top(int from) const {
        for (int b = size(); b-- > from;) {
            if (at(b) != 0) return b;
        }
        return from - 1;
    }

    Measured mean(bool skipLow) const {
        const auto over = [this](int from, double& m, int& count) {
            long long sum = 0;
            float squares = 0;
            count = 0;
            for (int b = from; b < size(); ++b) {
                const float v = static_cast<float>(b - bias);
                const float square = v * v;
                const float product = static_cast<float>(at(b)) * square;
                squares = squares + product;
                sum += static_cast<long long>(at(b)) * (b - bias);
                count += at(b);
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
    Measured cuts() const {
        Twin t = *this;
        const int largest = *std::max_element(h.begin(), h.end());
        std::vector<int> spikes;
        for (int b = 0; b < size(); ++b) {
            if (at(b) > static_cast<int>(static_cast<float>(largest) * 0.5)) spikes.push_back(b);
        }
        if (spikes.size() < 20) {
            for (int s : spikes) {
                for (int b = std::max(s - 1, 0); b <= std::min(s + 1, size() - 1); ++b)
                    t.h[static_cast<std::size_t>(b)] = 0;
            }
            if (t.top(0) < 0) t.h = h;
        }
        const int top = t.top(0);
        int lo = 0, hi = top, sum = 0;
        while (t.at(lo) == 0) ++lo;
        while (lo <= top && (sum += t.at(lo)) < static_cast<int>(pixels * 0.01)) ++lo;
        sum = 0;
        while (hi >= lo && (sum += t.at(hi)) < static_cast<int>(pixels * 0.025)) --hi;
        return {hi - lo + 1, (hi - lo + 1) / 2 - bias + lo};
    }
    Measured range() const {
        if (size() == 256) {
            int f = 1;
            while (f < 255 && at(f) == 0) ++f;
            const int lo = std::max(f - 1, 1), hi = std::min(top(lo) + 1, 255);
            return {hi - lo, static_cast<int>((lo + hi) * 0.5)};
        }
        int f = 0;
        while (f < 65536 && at(f) == 0) ++f;
        const int lo = std::min(f + 1, 65535);
        int total = 0, sum = 0, hi = lo;
        for (int b = lo; b < 65536; ++b) total += at(b);
        if (total > 0) {
            while ((sum += at(hi)) < total * 0.995) ++hi;
        }
        return {hi - lo, static_cast<int>((lo + hi) * 0.5 - bias)};
    }
};

enum Kind { kUniform, kNarrow, kFlatWithSpots, kRamp, kTwoFarValues, kBitsAboveTheDepth, kKinds };

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
        if (kind == kRamp) offset = i / 5 % values;
        rasters::Set(raster, static_cast<std::size_t>(i), lowest + offset);
    }
    return raster;
}

TEST(PlainTwin, AgreesOnRandomRasters) {
    const unsigned seed = 20250703;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    ZEV_AutoWindowing windowing;
    for (const int bits : {1, 4, 8, 9, 12, 14, 15, 16}) {
        for (int kind = 0; kind < kKinds; ++kind) {
            for (int round = 0; round < 4; ++round) {
                const bool isSigned = round % 2 != 0;
                const int width = 260 + static_cast<int>(random() % 100),
                          height = 3 + static_cast<int>(random() % 40);
                refhost::MemoryRaster raster = random_raster(random, bits, isSigned, width, height, kind);
                const int left = static_cast<int>(random() % 100), top = static_cast<int>(random() % 3);
                KIT_Rect rect(top, left, height, width - static_cast<int>(random() % 25));
                SCOPED_TRACE(std::to_string(bits) + (isSigned ? " signed" : " unsigned") + " bits, kind " +
                             std::to_string(kind) + ", round " + std::to_string(round));
                const Twin twin(raster, rect);
                const auto calc = [&](SPC_Modality::MODALITY modality, int skipLow) {
                    Measured m = {-7, -7};
                    EXPECT_EQ(windowing.Calc(&raster, rect.left, rect.top, rect.right, rect.bottom, skipLow,
                                             &m.width, &m.center, modality),
                              0);
                    return m;
                };
                EXPECT_EQ(calc(SPC_Modality::MODALITY_CT, 1), twin.mean(true));
                EXPECT_EQ(calc(SPC_Modality::MODALITY_CT, 0), twin.mean(false));
                EXPECT_EQ(calc(SPC_Modality::MODALITY_MG, 1), twin.cuts());
                EXPECT_EQ(calc(SPC_Modality::MODALITY_NM, 1), twin.range());
            }
        }
    }
}

}  // namespace
