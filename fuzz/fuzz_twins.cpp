// Every fast path against its plain twin: the fill of a ramp, painting against the table, the count of pixels.

#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "input.h"
#include "zev_aw_histogram.h"
#include "zev_table_fill.h"

namespace {

template <class Out, class Steps>
void compare_fills(const zev::Ramp& ramp, const Steps& steps, double scale, double offset) {
    Out values[zev::kMaxSteps];
    for (int k = 0; k < zev::kMaxSteps; ++k)
        values[k] = static_cast<Out>(static_cast<unsigned>(k) * 0x01020304u + 1u);
    std::vector<Out> plain(static_cast<std::size_t>(ramp.S), Out{0});
    std::vector<Out> fast(plain);
    zev::FillBelow(plain.data(), ramp, Out{7}), zev::FillBelow(fast.data(), ramp, Out{7});
    zev::FillRampPlain(plain.data(), ramp, steps, [&](int k) { return values[k < 255 ? k : 255]; });
    zev::FillRampBySteps(fast.data(), ramp, steps, values, scale, offset);
    // The fast one may write into what lies above.
    zev::FillAbove(plain.data(), ramp, Out{9}), zev::FillAbove(fast.data(), ramp, Out{9});
    fuzz::Require(plain == fast);
}

void fills(fuzz::Input& input) {
    const int S = 1 << input.ConsumeIntegralInRange(1, 16);
    const auto bound = [&] {
        const int kind = input.ConsumeIntegralInRange(0, 2);
        if (kind == 0) return input.ConsumeFloatingPoint<float>();
        const int number = kind == 1 ? input.ConsumeIntegralInRange(-S, 2 * S) : input.ConsumeIntegral<int>();
        return static_cast<float>(number) / static_cast<float>(S);
    };
    const float low = bound();
    const zev::Ramp ramp = zev::ResolveRamp(S, low, bound());
    const double r = static_cast<double>(ramp.r);
    const zev::ProductSteps grey{ramp.r, 255.999};
    compare_fills<unsigned char>(ramp, grey, r * grey.factor, 0.0);
    const zev::ProductSteps palette{ramp.r, input.ConsumeIntegralInRange(1, 256) - 0.01};
    compare_fills<unsigned int>(ramp, palette, r * palette.factor, 0.0);
    const zev::LevelSteps levels{ramp.r, static_cast<float>(input.ConsumeIntegralInRange(0, 255))};
    compare_fills<unsigned short>(ramp, levels, r * static_cast<double>(levels.span), 0.5);
}

template <class In, class Out>
bool compare_painted(ZEV_AbstractWindowingTable* table, const ZEV_Painter& painter, int depth) {
    auto* const typed = dynamic_cast<ZEV_WindowingTable<In, Out>*>(table);
    if (typed == nullptr) return false;
    const int first = std::is_signed<In>::value ? -(1 << depth) / 2 : 0;
    std::vector<In> pixels;
    for (int i = 0; i < 1 << depth; ++i) pixels.push_back(static_cast<In>(first + i));
    std::vector<Out> painted(pixels.size());
    painter.Paint(pixels.data(), 0, static_cast<int>(pixels.size()), 1, painted.data(), 0);
    for (std::size_t i = 0; i < pixels.size(); ++i) fuzz::Require(painted[i] == typed->GetTable()[pixels[i]]);
    return true;
}

template <class In>
bool compare_painted(ZEV_AbstractWindowingTable* table, const ZEV_Painter& painter, int depth) {
    return compare_painted<In, unsigned char>(table, painter, depth) ||
           compare_painted<In, unsigned short>(table, painter, depth) ||
           compare_painted<In, unsigned int>(table, painter, depth);
}

void paints(fuzz::Input& input) {
    ZEV_Params params;
    params.InitCenter(input.ConsumeIntegral<short>()), params.InitWidth(input.ConsumeIntegral<short>());
    params.SetMinMaxScaleMode(input.ConsumeBool());
    params.SetUseRescale(input.ConsumeBool());
    if (input.ConsumeBool()) {
        const int low = input.ConsumeIntegral<short>();
        params.SetWindowMin(low), params.SetWindowMax(low + input.ConsumeIntegral<std::uint16_t>());
    }
    fuzz::ChangeAny(input, params);
    refhost::MemoryRaster raster(1, 1, input.ConsumeIntegralInRange(1, 16), input.ConsumeBool());
    const fuzz::AnyTarget target(input, raster);
    const std::unique_ptr<ZEV_AbstractWindowingTable> table(params.BuildTable(target.Params()));
    const ZEV_Painter painter(params, target.Params());
    fuzz::Require(painter.IsReady() == (table != nullptr));
    if (table == nullptr) return;
    const int depth = raster.m_BitsPerPixel;
    fuzz::Require(compare_painted<signed char>(table.get(), painter, depth) ||
                  compare_painted<unsigned char>(table.get(), painter, depth) ||
                  compare_painted<short>(table.get(), painter, depth) ||
                  compare_painted<unsigned short>(table.get(), painter, depth));
}

template <class Pixel>
void counts(fuzz::Input& input) {
    const int columns = input.ConsumeIntegralInRange(1, 300), gap = input.ConsumeIntegralInRange(0, 5);
    const int rows = input.ConsumeIntegralInRange(1, 8),
              bits = input.ConsumeIntegralInRange(1, 8 * int{sizeof(Pixel)});
    const zev::BinRule rule = zev::ResolveBinRule(bits, input.ConsumeBool());
    std::vector<Pixel> pixels(static_cast<std::size_t>((columns + gap) * rows),
                              input.ConsumeIntegral<Pixel>());
    const std::string some = input.ConsumeBytesAsString(pixels.size() * sizeof(Pixel));
    std::memcpy(pixels.data(), some.data(), some.size());
    const zev::PixelRegion<Pixel> region{pixels.data(), columns + gap, columns, rows};
    const auto fast = std::make_unique<zev::Histogram<Pixel>>();
    std::vector<std::uint32_t> plain(zev::kBinsOf<Pixel>);
    zev::CountPlain(region, rule, plain.data());
    const std::uint32_t* const bins = fast->Count(region, rule);
    fuzz::Require(std::vector<std::uint32_t>(bins, bins + plain.size()) == plain);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            fills(input);
            break;
        case 1:
            paints(input);
            break;
        case 2:
            counts<std::uint8_t>(input);
            break;
        default:
            counts<std::uint16_t>(input);
            break;
    }
    return 0;
}
