// The fast ramp fill against its plain twin.

#include <gtest/gtest.h>

#include <cmath>

#include <random>
#include <vector>

#include "zev_table_fill.h"

namespace {

template <class Out, class Steps>
bool same(const zev::Ramp& ramp, const Steps& steps, double scale, double offset) {
    static Out values[zev::kMaxSteps];
    for (int k = 0; k < zev::kMaxSteps; ++k)
        values[k] = static_cast<Out>(static_cast<unsigned>(k) * 0x01020304u + 1u);
    std::vector<Out> plain(static_cast<std::size_t>(ramp.S), Out{0});
    std::vector<Out> fast(plain);
    zev::FillBelow(plain.data(), ramp, Out{7}), zev::FillBelow(fast.data(), ramp, Out{7});
    zev::FillRampPlain(plain.data(), ramp, steps, [](int k) { return values[k < 255 ? k : 255]; });
    zev::FillRampBySteps(fast.data(), ramp, steps, values, scale, offset);
    zev::FillAbove(plain.data(), ramp, Out{9}), zev::FillAbove(fast.data(), ramp, Out{9});
    return plain == fast;
}

TEST(FastFill, EqualsThePlainFillOnRandomWindows) {
    const unsigned seed = 20261122;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 3000; ++round) {
        const int S = 1 << (8 + random() % 9);
        // Windows inside, across, and far wider than the table.
        const double reach = std::ldexp(1.0, 1 + static_cast<int>(random() % 30));
        std::uniform_real_distribution<double> bound(-reach, reach);
        float min = static_cast<float>(bound(random) / S), max = static_cast<float>(bound(random) / S);
        if (round % 4 == 0) max = min + static_cast<float>(static_cast<double>(random() % 70000) / S);
        const zev::Ramp ramp = zev::ResolveRamp(S, min, max);
        const zev::ProductSteps grey{ramp.r, 255.999};
        const zev::ProductSteps palette{ramp.r, static_cast<double>(1 + random() % 256) - 0.01};
        const zev::LevelSteps levels{ramp.r, static_cast<float>(random() % 256)};
        const double r = static_cast<double>(ramp.r);
        ASSERT_TRUE((same<unsigned char>(ramp, grey, r * grey.factor, 0.0))) << ramp.a << " " << ramp.b;
        ASSERT_TRUE((same<unsigned int>(ramp, palette, r * palette.factor, 0.0))) << ramp.a << " " << ramp.b;
        ASSERT_TRUE((same<unsigned short>(ramp, levels, r * static_cast<double>(levels.span), 0.5)))
            << ramp.a << " " << ramp.b << " " << levels.span;
    }
}

// A guess that is far off must be found out.
TEST(FastFill, SurvivesAWrongGuess) {
    // The second has steps of one entry.
    for (const zev::Ramp& ramp :
         {zev::ResolveRamp(65536, 0.0f, 1.0f), zev::ResolveRamp(512, 0.0f, 511.0f / 512)}) {
        const zev::ProductSteps steps{ramp.r, 255.999};
        for (const double scale : {1e-9, 0.01, 1.0, 1e9, -1.0}) {
            EXPECT_TRUE((same<unsigned char>(ramp, steps, scale, 100.0))) << scale;
        }
    }
}

}  // namespace
