// A drag step, that is a new window and the whole frame painted with it, against a table and a read of it for
// each pixel, and against the inexact scaling of a vision library where that is installed. One thread.

#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_WindowingTable.h>
#include <hwy/targets.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ratio.h"
#ifdef ZEV_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

/// Signed 16-bit pixels as of a CT, and a frame of 8 or 32 bits.
template <class Out>
struct Scene {
    explicit Scene(int side) : side(side) {
        source.m_BitsPerPixel = 16, source.m_bSigned = true;
        target.m_PixelFormat = 1, target.m_BitsPerPixel = 8 * static_cast<int>(sizeof(Out));
        const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
        pixels.resize(count), frame.resize(count), tabled.resize(count);
        std::uint32_t noise = 1;
        for (std::size_t i = 0; i < count; ++i) {
            noise = noise * 1664525u + 1013904223u;
            pixels[i] =
                static_cast<std::int16_t>(static_cast<int>(i % static_cast<std::size_t>(side)) * 3000 / side -
                                          1000 + static_cast<int>(noise >> 26));
        }
        params.InitCenter(40), params.InitInverse(false);
    }
    void Window(int width) { params.InitWidth(width); }
    void Move() { params.SetCenter(40 + (++steps & 63)); }

    void Painter() {
        Move();
        const ZEV_Painter painter(params, tableParams);
        painter.Paint(pixels.data(), 2 * side, side, side, frame.data(),
                      static_cast<int>(sizeof(Out)) * side);
        benchmark::ClobberMemory();
    }
    void Table() {
        Move();
        const std::unique_ptr<ZEV_AbstractWindowingTable> table(params.BuildTable(tableParams));
        const Out* const entries = static_cast<ZEV_WindowingTable<short, Out>&>(*table).GetTable();
        for (std::size_t i = 0; i < pixels.size(); ++i) tabled[i] = entries[pixels[i]];
        benchmark::ClobberMemory();
    }

    int side;
    int steps = 0;
    ZEV_Params params;
    refhost::MemoryContext context{256};
    refhost::MemoryRaster source, target;
    ZEV_TableParams tableParams{nullptr, &context, &source, &target, KIT_Rect()};
    std::vector<std::int16_t> pixels;
    std::vector<Out> frame, tabled;
};

/// The best instruction set up to one of 256 or 128 bits, or any.
void limit_target(int bits) {
    std::int64_t targets = hwy::SupportedTargets();
#if HWY_ARCH_X86
    if (bits == 256) targets &= ~(HWY_AVX2 - 1);
    if (bits == 128) targets &= ~(HWY_SSSE3 - 1);
#endif
    hwy::SetSupportedTargetsForTest(bits == 0 ? 0 : targets);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

template <class Out>
void drag(benchmark::State& state) {
    Scene<Out> scene(static_cast<int>(state.range(0)));
    scene.Window(static_cast<int>(state.range(1)));
    limit_target(static_cast<int>(state.range(2)));
    if (state.range(3) != 0) scene.params.SetGamma(static_cast<float>(state.range(3)) / 10.0f);
    scene.Painter(), --scene.steps, scene.Table();
    if (scene.frame != scene.tabled) state.SkipWithError("the frame differs from the table's");
    for (auto _ : state) scene.Painter();
    const int rounds = state.range(0) > 1000 ? 15 : 41, repeats = state.range(0) > 1000 ? 2 : 10;
    bench::Report(state, "x_table",
                  bench::Compare([&] { scene.Painter(); }, [&] { scene.Table(); }, rounds, repeats));
#ifdef ZEV_BENCH_OPENCV
    cv::setNumThreads(1);
    const cv::Mat in(scene.side, scene.side, CV_16S, scene.pixels.data());
    cv::Mat grey, wide;
    const auto scaled = [&] {
        const double width = static_cast<double>(state.range(1)), low = 40 + (++scene.steps & 63) - width / 2;
        in.convertTo(grey, CV_8U, 255.0 / width, -low * 255.0 / width);
        if (sizeof(Out) == 4) cv::cvtColor(grey, wide, cv::COLOR_GRAY2BGRA);
        benchmark::ClobberMemory();
    };
    bench::Report(state, "x_opencv", bench::Compare([&] { scene.Painter(); }, scaled, rounds, repeats));
#endif
    limit_target(0);
}
void cases(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"side", "width", "bits", "gamma"})->Unit(benchmark::kMicrosecond);
    for (int side : {512, 2048, 4096}) {
        for (int width : {400, 40000}) {
            for (int bits : {128, 256, 0}) bench->Args({side, width, bits, 0});
        }
    }
    bench->Args({512, 400, 256, 14});
}
BENCHMARK(drag<unsigned char>)->Apply(cases);
BENCHMARK(drag<unsigned int>)->Apply(cases);

/// A painter for a window that moved, and for one of a width that was never seen.
void set_up(benchmark::State& state) {
    Scene<unsigned char> scene(1);
    int width = 512;
    scene.Window(width);
    for (auto _ : state) {
        if (state.range(0) != 0) scene.params.InitWidth(++width);
        scene.Move();
        const ZEV_Painter painter(scene.params, scene.tableParams);
        benchmark::DoNotOptimize(painter.IsReady());
    }
}
BENCHMARK(set_up)->ArgName("new_width")->Arg(0)->Iterations(60000);
BENCHMARK(set_up)->ArgName("new_width")->Arg(1)->Iterations(60000);

}  // namespace

BENCHMARK_MAIN();
