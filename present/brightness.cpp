#include "brightness.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>

namespace {

/// To a number by a difference, which is what limits it.
template <typename Get, typename Update>
void change_to(int wanted, Get get, Update update) {
    update(0);
    update(wanted - get());
}

}  // namespace

void ReadBrightness(OpenedImage& image, const BrightnessOptions& options, ZEV_RGBParams& params) {
    const bool isAsked = options.brightness || options.contrast;
    if (!image.File().IsColour()) {
        if (isAsked) std::cerr << "zev: brightness and contrast have no effect on a monochrome image\n";
        return;
    }
    params.UpdateFromDicom(&image.Message());
    if (options.brightness) {
        change_to(
            *options.brightness, [&] { return params.GetBrightness(); },
            [&](int difference) { params.UpdateBrightness(difference); });
    }
    if (options.contrast) {
        change_to(
            *options.contrast, [&] { return params.GetContrast(); },
            [&](int difference) { params.UpdateContrast(difference); });
    }
    if (isAsked && (params.GetBrightness() == 0) != (params.GetContrast() == 0)) {
        std::cerr << "zev: " << (params.GetBrightness() == 0 ? "contrast" : "brightness")
                  << " alone has no effect: both must be other than 0\n";
    }
}

void BurnBrightness(OpenedImage& image, ZEV_RGBParams& params) {
    if (!image.File().IsColour() || !params.IsBurnToRasterNeeded()) return;
    const std::int64_t brightness = params.GetBrightness(), contrast = params.GetContrast();
    std::array<std::uint8_t, 256> table{};
    for (std::int64_t v = 0; v < 256; ++v) {
        const std::int64_t twoHundredths =
            2 * (v - 128) * (100 + contrast) + std::int64_t{200} * 128 + 255 * brightness;
        table[static_cast<std::size_t>(v)] =
            static_cast<std::uint8_t>(std::clamp<std::int64_t>(twoHundredths / 200, 0, 255));
    }
    for (std::uint8_t& sample : image.Raster().Bytes()) sample = table[sample];
}
