// Automatic windowing of a 2048 x 2048 raster of 16-bit words against reading the same bytes once, and
// opening a 512 x 512 CT from memory against copying its pixels once.

#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Tag.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_Rect.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_AutoWindowing.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>
#include <refhost/MemoryRaster.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include "ratio.h"
#include "zev_aw_histogram.h"

namespace {

using Random = std::mt19937;

struct Picture {
    const char* name;
    int bits;
    std::function<int(Random&)> pixel;
};

int gaussian(Random& random, double center, double deviation) {
    std::normal_distribution<double> distribution(center, deviation);
    return static_cast<int>(std::clamp(distribution(random), 0.0, 65535.0));
}

const Picture kPictures[] = {
    {"flat", 16, [](Random&) { return 500; }},
    {"noise_12_bits", 12, [](Random& r) { return std::min(gaussian(r, 1000, 20), 4095); }},
    {"noise_16_bits", 16, [](Random& r) { return gaussian(r, 30000, 20); }},
    {"wide_noise_16_bits", 16, [](Random& r) { return gaussian(r, 30000, 6000); }},
    {"all_values_12_bits", 12, [](Random& r) { return static_cast<int>(r() & 4095); }},
    {"all_values_16_bits", 16, [](Random& r) { return static_cast<int>(r() & 65535); }},
    {"two_values_12_bits", 12, [](Random& r) { return r() & 1 ? 100 : 101; }},
};

std::uint64_t read_once(const std::vector<unsigned char>& bytes) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + i, 8);
        sum += word;
    }
    return sum;
}

void measure(benchmark::State& state) {
    const Picture& picture = kPictures[state.range(0)];
    state.SetLabel(picture.name);
    constexpr int kSize = 2048;
    refhost::MemoryRaster raster(kSize, kSize, picture.bits, false);
    auto* const words = static_cast<std::uint16_t*>(raster.GetPixels());
    Random random(1);
    for (int i = 0; i < kSize * kSize; ++i) words[i] = static_cast<std::uint16_t>(picture.pixel(random));

    const zev::PixelRegion<std::uint16_t> region = {words, kSize, kSize, kSize};
    const zev::BinRule rule = zev::ResolveBinRule(picture.bits, false);
    std::vector<std::uint32_t> plain(65536);
    zev::CountPlain(region, rule, plain.data());
    zev::Histogram<std::uint16_t> fast;
    if (std::memcmp(fast.Count(region, rule), plain.data(), plain.size() * sizeof plain[0]) != 0) {
        state.SkipWithError("the histogram differs from the plain one");
        return;
    }
    ZEV_AutoWindowing windowing;
    const auto subject = [&] {
        int width = 0, center = 0;
        windowing.Calc(&raster, 0, 0, kSize, kSize, 1, &width, &center, SPC_Modality::MODALITY_CT);
        benchmark::DoNotOptimize(width);
    };
    const auto reading = [&] { benchmark::DoNotOptimize(read_once(raster.Bytes())); };
    for (auto _ : state) subject();
    bench::Report(state, "x_read", bench::Compare(subject, reading, 31, 4));
}
BENCHMARK(measure)->DenseRange(0, 6)->Unit(benchmark::kMicrosecond);

void put_text(OBJ_Msg& msg, unsigned tag, const char* vr, const std::string& text) {
    msg.PutBytes(Dicom_Tag(tag), vr, text.data(), text.size());
}
void put_word(OBJ_Msg& msg, unsigned tag, std::uint16_t word) {
    msg.PutBytes(Dicom_Tag(tag), "US", &word, 2);
}

/// 0: the message has a window. 1: the window was measured before. 2: it is measured, in noise; 3: in pixels
/// of all values; 4: in a flat image.
void open_image(benchmark::State& state) {
    constexpr int kSize = 512;
    const int bits = state.range(0) == 3 ? 16 : 12;
    const auto word = [](int value) { return static_cast<std::uint16_t>(value); };
    OBJ_Msg msg;
    put_text(msg, 0x00080008, "CS", "ORIGINAL\\PRIMARY\\AXIAL");
    put_text(msg, 0x00080060, "CS", "CT");
    put_word(msg, 0x00280002, 1);
    put_text(msg, 0x00280004, "CS", "MONOCHROME2 ");
    put_word(msg, 0x00280010, kSize), put_word(msg, 0x00280011, kSize);
    put_word(msg, 0x00280100, 16), put_word(msg, 0x00280101, word(bits));
    put_word(msg, 0x00280102, word(bits - 1)), put_word(msg, 0x00280103, 0);
    put_text(msg, 0x00281052, "DS", "-1024 ");
    put_text(msg, 0x00281053, "DS", "1 ");
    if (state.range(0) == 0) {
        put_text(msg, 0x00281050, "DS", "40");
        put_text(msg, 0x00281051, "DS", "400 ");
    }
    const OBJ_Msg untouched = msg;
    refhost::MemoryRaster raster(kSize, kSize, bits, false);
    auto* const words = static_cast<std::uint16_t*>(raster.GetPixels());
    Random random(1);
    for (int i = 0; i < kSize * kSize; ++i) {
        words[i] = state.range(0) == 4   ? word(1000)
                   : state.range(0) == 3 ? word(static_cast<int>(random() & 65535))
                                         : word(gaussian(random, 1000, 100));
    }
    SPC_Modality modality(SPC_Modality::MODALITY_CT);

    const auto subject = [&] {
        if (state.range(0) >= 2) msg = untouched;
        ZEV_Params params;
        KIT_BaseParamsVec vec(L"view");
        vec.Append(&modality);
        vec.Append(&params);
        ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, &vec);
        benchmark::DoNotOptimize(params.GetWidth());
    };
    std::vector<unsigned char> copy(raster.Bytes().size());
    const auto copying = [&] {
        std::memcpy(copy.data(), raster.Bytes().data(), copy.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    };
    for (auto _ : state) subject();
    bench::Report(state, "x_copy", bench::Compare(subject, copying));
}
BENCHMARK(open_image)
    ->ArgName("window_0_cached_1_noise_2_all_values_3_flat_4")
    ->DenseRange(0, 4)
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
