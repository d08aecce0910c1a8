#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Painter.h>
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <random>
#include <thread>

#include "support.h"
#include "zev_step_multiplier.h"
#include "zev_table_fill.h"

namespace {

using support::Build;
using Random = std::mt19937;

// Without a choice of instruction sets at run time there is nothing to ask.
#if HWY_TARGETS == HWY_STATIC_TARGET
const bool kVectors = HWY_STATIC_TARGET != HWY_SCALAR;
#else
const bool kVectors = hwy::SupportedTargets() != HWY_SCALAR;
#endif

/// Calls visit for every instruction set of this machine, with that alone in use.
template <class Visit>
void for_each_target(const Visit& visit) {
#if HWY_TARGETS == HWY_STATIC_TARGET
    visit();
#else
    const std::int64_t all = hwy::SupportedTargets();
    for (std::int64_t left = all; left != 0; left &= left - 1) {
        hwy::SetSupportedTargetsForTest(left & -left);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        SCOPED_TRACE(hwy::TargetName(left & -left));
        visit();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
#endif
}

std::vector<std::uint16_t> all_words() {
    std::vector<std::uint16_t> words(65536);
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(i);
    return words;
}

/// Each step of a ramp of every width: its first position and the one before, on both sides of the ramp.
TEST(Painter, EveryStepOfEveryWidth) {
    int tables = 0;
    ZEV_Params params;
    params.SetUseRescale(false), params.SetMinMaxScaleMode(true);
    Build build;
    build.inputDepth = 16;
    std::vector<std::uint16_t> pixels;
    std::vector<unsigned char> wanted, painted;
    for (int width = 1; width <= 65535; ++width) {
        const int a = width == 65535 ? width % 2 : width * 7919 % (65536 - width);
        params.SetWindowMin(0), params.SetWindowMax(a + width), params.SetWindowMin(a);
        const float r = 1.0f / static_cast<float>(width);
        const zev::ProductSteps steps{r, zev::kTrueColorFactor};
        int starts[zev::kMaxSteps];
        zev::FindStarts(steps, 0, 255, 0, width, static_cast<double>(r) * steps.factor, 0.0, starts);
        pixels.clear(), wanted.clear();
        const auto add = [&](int i) {
            if (i < 0 || i > 65535) return;
            pixels.push_back(static_cast<std::uint16_t>(i));
            const int level = i < a ? 0 : i >= a + width ? 255 : zev::TruncToInt(steps(i - a));
            wanted.push_back(static_cast<unsigned char>(level));
        };
        for (int i : {0, a - 1, a, a + width - 1, a + width, a + width + 1, 65535}) add(i);
        for (int k = 1; k < 256; ++k) add(a + starts[k] - 1), add(a + starts[k]);
        const ZEV_Painter painter = build.Painter(params);
        tables += painter.HasTable() ? 1 : 0;
        painted.assign(pixels.size(), 1);
        painter.Paint(pixels.data(), 0, static_cast<int>(pixels.size()), 1, painted.data(), 0);
        ASSERT_EQ(painted, wanted) << "width " << width << " from " << a;
    }
    EXPECT_LT(tables, kVectors ? 600 : 65536);
}

/// A parameter object with anything that a table can depend on.
void randomize(ZEV_Params& params, Build& build, Random& random) {
    const auto any = [&random](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    const auto chance = [&](int percent) { return any(0, 99) < percent; };
    build.inputDepth = chance(50) ? 16 : any(1, 16);
    build.isSigned = chance(50);
    const int out = any(0, 5);
    build.trueColor = out < 4;
    build.outputDepth = out == 1 ? 16 : out >= 2 && out < 4 ? 32 : 8;
    build.levels = chance(80) ? 256 : any(2, 300);
    if (!build.trueColor && chance(30)) build.palette = {0x01020304, 5, 0xFFFFFFFF, 77};
    const int range = 1 << build.inputDepth;
    params.SetUseRescale(chance(50));
    params.SetRescaleIntercept(chance(50) ? 0 : any(-2000, 2000));
    params.SetRescaleSlope(chance(50) ? 1.0f : static_cast<float>(any(-30, 30)) / 10.0f);
    params.SetMinMaxScaleMode(chance(50));
    const int width = chance(10) ? any(-3, 3) : chance(10) ? any(0, 3 * range) : any(1, range);
    const int low = chance(3)   ? INT_MIN + any(3, 1 << 20)
                    : chance(3) ? INT_MAX - any(3, 1 << 20) - std::max(width, 0)
                                : any(-range, range);
    params.InitCenter(low + width / 2), params.InitWidth(width), params.InitInverse(chance(50));
    if (params.GetMinMaxScaleMode()) params.SetWindowMin(low), params.SetWindowMax(low + width);
    if (chance(40)) params.SetGamma(static_cast<float>(any(1, 50)) / 10.0f);
    params.SetUsePadding(chance(40));
    const int padding = chance(20) ? ZEV_Params::kNoPadding : any(-range, range);
    params.SetPixelPaddingValues(padding, chance(50) ? padding : padding + any(-range / 4, range / 4));
}

template <class Out>
void expect_table(const Build& build, ZEV_Params& params, Random& random) {
    const ZEV_Painter painter = build.Painter(params);
    const auto table = build(params);
    ASSERT_EQ(painter.IsReady(), table != nullptr);
    if (table == nullptr) return;
    // A pixel without an entry is 0.
    const std::vector<Out> entries = support::Entries<Out>(table.get(), build.isSigned, build.inputDepth);
    const int origin = build.isSigned ? (1 << build.inputDepth) / 2 : 0;
    const bool isByte = build.inputDepth <= 8;
    const std::vector<std::uint16_t> words = all_words();
    // A few pixels, or a few rows, from anywhere, with gaps between the rows and guards around the output.
    const int width = std::uniform_int_distribution<int>(1, 40)(random) *
                      (std::uniform_int_distribution<int>(0, 1)(random) == 0 ? 1 : 700);
    const int height = 65536 / width < 3 ? 1 : 3, gap = width % 3;
    std::vector<unsigned char> pixels(static_cast<std::size_t>((width + gap) * height * 2 + 1));
    const auto first = std::uniform_int_distribution<unsigned>(0, 65535)(random);
    const int size = isByte ? 1 : 2;
    std::vector<Out> wanted;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto pixel = static_cast<std::uint16_t>(first + static_cast<unsigned>(y * width + x) * 7u);
            std::memcpy(&pixels[static_cast<std::size_t>((y * (width + gap) + x) * size)], &pixel,
                        static_cast<std::size_t>(size));
            const unsigned index = isByte ? static_cast<unsigned char>(pixel + origin)
                                          : static_cast<std::uint16_t>(pixel + origin);
            wanted.push_back(index < entries.size() ? entries[index] : Out{0});
        }
    }
    constexpr Out kGuard = static_cast<Out>(0xA5A5A5A5);
    const int outRow = width + gap;
    std::vector<Out> out(static_cast<std::size_t>(outRow * height + 2), kGuard);
    painter.Paint(pixels.data(), (width + gap) * size, width, height, out.data() + 1,
                  outRow * static_cast<int>(sizeof(Out)));
    for (int y = 0; y < height; ++y) {
        const auto from = out.begin() + 1 + y * outRow;
        ASSERT_TRUE(std::equal(from, from + width, wanted.begin() + y * width)) << "row " << y;
        ASSERT_TRUE(std::all_of(from + width, std::min(from + outRow, out.end()),
                                [](Out value) { return value == kGuard; }));
    }
    ASSERT_EQ(out[0], kGuard);
    if (sizeof(Out) < 4) return;
    std::vector<unsigned char> rgb(static_cast<std::size_t>(width * height) * 3 + 1, 0xA5);
    painter.PaintRgb(pixels.data(), (width + gap) * size, width, height, rgb.data(), width * 3);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const unsigned value = static_cast<unsigned>(wanted[i]);
        ASSERT_EQ(rgb[3 * i] << 16 | rgb[3 * i + 1] << 8 | rgb[3 * i + 2],
                  static_cast<int>(value & 0xFFFFFF));
    }
    ASSERT_EQ(rgb.back(), 0xA5);
}

TEST(Painter, AnyObjectGivesTheBytesOfItsTable) {
    for_each_target([] {
        Random random(20);
        for (int i = 0; i < 1500; ++i) {
            ZEV_Params params;
            Build build;
            randomize(params, build, random);
            ZEV_ColorMap map;
            if (i % 10 == 0) params.SetColorMap(&map);
            SCOPED_TRACE(i);
            if (build.outputDepth == 8) {
                expect_table<unsigned char>(build, params, random);
            } else if (build.outputDepth == 16) {
                expect_table<unsigned short>(build, params, random);
            } else {
                expect_table<unsigned int>(build, params, random);
            }
            if (testing::Test::HasFatalFailure()) return;
        }
    });
}

/// Frames of more than 8 MiB, whatever the alignment of their display values.
TEST(Painter, LargeFrames) {
    const int width = 3001, height = 2999;
    std::vector<std::uint16_t> pixels(static_cast<std::size_t>(width * height));
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint16_t>(i * 31);
    ZEV_Params params;
    params.InitCenter(30000), params.InitWidth(41000), params.InitInverse(true);
    for (int depth : {8, 32}) {
        Build build;
        build.inputDepth = 16, build.outputDepth = depth;
        const int bytes = depth / 8;
        Build words = build;
        words.outputDepth = 32;
        const std::vector<unsigned int> wide = words.Read<unsigned int>(params);
        for (int shift : {0, 3}) {
            std::vector<unsigned char> out(pixels.size() * static_cast<std::size_t>(bytes) + 8, 0xA5);
            unsigned char* const first = out.data() + shift;
            build.Painter(params).Paint(pixels.data(), width * 2, width, height, first, width * bytes);
            std::size_t wrong = 0;
            for (std::size_t i = 0; i < pixels.size(); ++i)
                wrong += std::memcmp(first + i * static_cast<std::size_t>(bytes), &wide[pixels[i]],
                                     static_cast<std::size_t>(bytes)) != 0;
            EXPECT_EQ(wrong, 0u) << depth << " bits, shift " << shift;
            EXPECT_EQ(first[pixels.size() * static_cast<std::size_t>(bytes)], 0xA5);
        }
    }
}

/// Bands of one frame, and painters for widths that several threads meet for the first time.
TEST(Painter, ThreadsPaintSideBySide) {
    const std::vector<std::uint16_t> pixels = all_words();
    Build build;
    build.inputDepth = 16;
    ZEV_Params params;
    params.InitCenter(30000), params.InitWidth(3001), params.InitInverse(false);
    const ZEV_Painter shared = build.Painter(params);
    std::vector<unsigned char> bands(pixels.size());
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int band = 0; band < 4; ++band) {
        threads.emplace_back([&, band] {
            shared.Paint(&pixels[static_cast<std::size_t>(band) * 16384], 0, 16384, 1,
                         &bands[static_cast<std::size_t>(band) * 16384], 0);
            ZEV_Params own;
            std::vector<unsigned char> frame(pixels.size());
            for (int width = 20000; width < 20050; ++width) {
                own.InitCenter(30000), own.InitWidth(width), own.InitInverse(false);
                build.Painter(own).Paint(pixels.data(), 0, 65536, 1, frame.data(), 0);
                if (frame != build.Read<unsigned char>(own)) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(bands, build.Read<unsigned char>(params));
    EXPECT_EQ(wrong, 0);
}

TEST(Painter, NothingIsPaintedWithoutATable) {
    ZEV_Params params;
    Build build;
    build.inputDepth = 32;
    const ZEV_Painter painter = build.Painter(params);
    EXPECT_FALSE(painter.IsReady());
    unsigned char pixel = 7, out = 9;
    painter.Paint(&pixel, 1, 1, 1, &out, 1);
    EXPECT_FALSE(
        ZEV_Painter(params, ZEV_TableParams(nullptr, nullptr, nullptr, nullptr, KIT_Rect())).IsReady());
    ZEV_Painter moved = Build().Painter(params);
    const ZEV_Painter grey = std::move(moved);
    EXPECT_TRUE(grey.IsReady());
    EXPECT_FALSE(moved.IsReady());
    grey.Paint(nullptr, 1, 1, 1, &out, 1), grey.Paint(&pixel, 1, 0, 1, &out, 1),
        grey.Paint(&pixel, 1, 1, -1, &out, 1);
    grey.PaintRgb(&pixel, 1, 1, 1, &out, 3);
    EXPECT_EQ(out, 9);
}

}  // namespace
