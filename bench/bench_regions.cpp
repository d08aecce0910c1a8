// A drag of one window among many regions on a 2048 x 2048 screen: UpdateMasks against copying the frame
// once, and painting the frame by the combined mask against painting it without regions.

#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_PolygonMask.h>
#include <SPC/SPC_SpaceInfo.h>
#include <ZEV/ZEV_Masks.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <cmath>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "ratio.h"

namespace {

constexpr int kSide = 2048;

template <class In>
struct Scene {
    explicit Scene(int regions) : regions(static_cast<std::size_t>(regions)) {
        masks.SetLiveParams(&live);
        space.SetRasterSize(kSide, kSide), space.SetScreenSize(kSide, kSide);
        vec.Append(&space);
        base.InitCenter(128), base.InitWidth(256), base.InitInverse(false);
        base.ConvertToMasks(&masks, &vec);
        const int perRow = static_cast<int>(std::ceil(std::sqrt(regions)));
        const double cell = static_cast<double>(kSide) / perRow;
        for (int i = 0; i < regions; ++i) {
            ZEV_Params& params = this->regions[static_cast<std::size_t>(i)];
            params.InitCenter(100 + i % 50), params.InitWidth(60), params.InitInverse(false);
            KIT_PolygonMask::Ring ring;
            for (int k = 0; k < 32; ++k) {
                const double angle = k * 3.14159265358979 / 16;
                ring.push_back({(i % perRow + 0.5 + 0.4 * std::cos(angle)) * cell,
                                (i / perRow + 0.5 + 0.4 * std::sin(angle)) * cell});
            }
            masks.UpdateMaskFromParam(std::to_string(i), &params, new KIT_PolygonMask(std::move(ring)), false,
                                      true, false);
        }
        auto* pixels = static_cast<In*>(raster.GetPixels());
        for (int i = 0; i < kSide * kSide; ++i) pixels[i] = static_cast<In>((i * 7 + i / kSide) & 0xFF);
    }
    void Update() { masks.UpdateMasks(tableParams); }
    void Drag() {
        regions.front().UpdateCenter(++drags % 2 == 0 ? 1 : -1);
        Update();
    }
    void Draw() {
        const auto* source = static_cast<const In*>(raster.GetPixels());
        const ZEV_Painter standard(base, tableParams);
        std::unordered_map<const KIT_Mask::Data*, ZEV_Painter> painters;
        const auto stretch = [&](int y, int from, int to, const ZEV_Painter& painter) {
            const std::size_t at = static_cast<std::size_t>(y) * kSide + static_cast<std::size_t>(from);
            painter.Paint(source + at, 0, to - from, 1, &frame[at], 0);
        };
        const auto& runs = masks.GetCombinedMask()->GetRuns();
        auto run = runs.begin();
        for (int y = 0; y < kSide; ++y) {
            int x = 0;
            for (; run != runs.end() && run->y == y; ++run) {
                stretch(y, x, run->left, standard);
                auto painter = painters.find(run->data);
                if (painter == painters.end()) {
                    auto& params = dynamic_cast<ZEV_Params&>(*masks.GetParamOf(run->data));
                    painter = painters.try_emplace(run->data, params, tableParams).first;
                }
                stretch(y, run->left, run->right, painter->second);
                x = run->right;
            }
            stretch(y, x, kSide, standard);
        }
    }
    void DrawWithoutRegions() {
        ZEV_Painter(base, tableParams)
            .Paint(raster.GetPixels(), kSide * static_cast<int>(sizeof(In)), kSide, kSide, frame.data(),
                   kSide * 4);
    }

    ZEV_Masks live, masks;
    SPC_SpaceInfo space;
    KIT_BaseParamsVec vec{L"view"};
    ZEV_Params base;
    std::vector<ZEV_Params> regions;
    refhost::MemoryContext context{256};
    refhost::MemoryRaster raster{kSide, kSide, 8 * static_cast<int>(sizeof(In)), false};
    refhost::MemoryRaster target = refhost::MemoryRaster::TrueColor(1, 1);
    ZEV_TableParams tableParams{&vec, &context, &raster, &target, KIT_Rect(0, 0, kSide, kSide)};
    std::vector<unsigned int> frame = std::vector<unsigned int>(kSide * kSide);
    int drags = 0;
};

template <class In>
void drag(benchmark::State& state) {
    Scene<In> scene(static_cast<int>(state.range(0)));
    scene.Update();
    const int builds = scene.regions.back().GetTableCC();
    for (auto _ : state) scene.Drag();
    if (scene.regions.size() > 1 && scene.regions.back().GetTableCC() != builds)
        state.SkipWithError("another region changed");
    std::vector<unsigned int> copy(scene.frame.size());
    const auto copying = [&] {
        std::memcpy(copy.data(), scene.frame.data(), copy.size() * sizeof(unsigned int));
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    };
    bench::Report(state, "update_x_copy", bench::Compare([&] { scene.Drag(); }, copying, 15, 3));
    bench::Report(state, "draw_x_without",
                  bench::Compare([&] { scene.Draw(); }, [&] { scene.DrawWithoutRegions(); }, 61, 3));
    state.counters["runs"] = static_cast<double>(scene.masks.GetCombinedMask()->GetRuns().size());
}

BENCHMARK(drag<unsigned char>)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(drag<unsigned short>)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
