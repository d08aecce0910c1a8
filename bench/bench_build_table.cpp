// BuildTable for 16-bit pixels on a true colour target, against zeroing the same bytes and against the plain
// fill. Allocation is counted; the heap is warm.

#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_WindowingTable.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <cstring>
#include <memory>
#include <vector>

#include "ratio.h"
#include "zev_table_fill.h"

namespace {

using Table = std::unique_ptr<ZEV_AbstractWindowingTable>;

/// The rule as it is written down: one entry after the other, each with its zone. bench/CMakeLists.txt
/// compiles this file with -O2.
template <class Out>
void plain_fill(std::vector<Out>& table, int windowMin, int windowMax) {
    const zev::Ramp ramp = zev::ResolveRamp(65536, static_cast<float>(windowMin) / 65536.0f + 0.5f,
                                            static_cast<float>(windowMax) / 65536.0f + 0.5f);
    const zev::ProductSteps steps{ramp.r, 255.999};
    for (int i = 0; i < ramp.S; ++i) {
        const int level = i >= ramp.hi ? 255 : i < ramp.lo ? 0 : zev::TruncToInt(steps(i - ramp.a)) & 0xFF;
        table[static_cast<std::size_t>(i)] = zev::RepeatByte<Out>(static_cast<unsigned char>(level));
    }
}

template <class Out>
void build_table(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0));
    ZEV_Params params;
    params.InitCenter(0), params.InitWidth(width), params.InitInverse(false);
    refhost::MemoryContext context(256);
    refhost::MemoryRaster source, target;
    source.m_BitsPerPixel = 16, source.m_bSigned = true;
    target.m_PixelFormat = 1, target.m_BitsPerPixel = 8 * static_cast<int>(sizeof(Out));
    const ZEV_TableParams tableParams(nullptr, &context, &source, &target, KIT_Rect());
    const auto subject = [&] {
        Table table(params.BuildTable(tableParams));
        benchmark::DoNotOptimize(table.get());
    };
    std::vector<Out> zeros(65536), plain(65536);
    const auto zeroing = [&] {
        std::memset(zeros.data(), 0, zeros.size() * sizeof(Out));
        benchmark::DoNotOptimize(zeros.data());
        benchmark::ClobberMemory();
    };
    const auto plainly = [&] {
        plain_fill(plain, -(width / 2), width / 2);
        benchmark::DoNotOptimize(plain.data());
        benchmark::ClobberMemory();
    };

    plainly();
    Table check(params.BuildTable(tableParams));
    auto* typed = dynamic_cast<ZEV_WindowingTable<short, Out>*>(check.get());
    if (typed == nullptr ||
        std::memcmp(typed->GetTable() - 32768, plain.data(), plain.size() * sizeof(Out)) != 0) {
        state.SkipWithError("the table differs from the plain fill");
        return;
    }
    for (auto _ : state) subject();
    bench::Report(state, "x_memset", bench::Compare(subject, zeroing));
    bench::Report(state, "x_plain", bench::Compare(subject, plainly, 31, 5));
}

BENCHMARK(build_table<unsigned char>)->Arg(400)->Arg(4000)->Arg(40000)->Arg(65536);
BENCHMARK(build_table<unsigned short>)->Arg(400)->Arg(4000)->Arg(40000)->Arg(65536);
BENCHMARK(build_table<unsigned int>)->Arg(400)->Arg(4000)->Arg(40000)->Arg(65536);

}  // namespace

BENCHMARK_MAIN();
