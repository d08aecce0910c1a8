#include "layer.h"

#include <cmath>
#include <cstring>

namespace {

/// `level` of 16 bits mixed into a sample whose full value is `top`.
template <class Sample>
Sample mixed(Sample below, std::uint16_t level, double coverage, double top) {
    const double above = level * top / 0xFFFF;
    return static_cast<Sample>(std::lround(below + (above - below) * coverage));
}

}  // namespace

void Canvas::Blend(int x, int y, const Ink& ink, double coverage) const {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height || !(coverage > 0.0)) return;
    if (coverage > 1.0) coverage = 1.0;
    std::uint8_t* const pixel = picture.At(x, y);
    if (picture.form == Picture::kRgb) {
        const std::uint16_t channels[] = {ink.red, ink.green, ink.blue};
        for (int c = 0; c < 3; ++c) pixel[c] = mixed(pixel[c], channels[c], coverage, 255.0);
        return;
    }
    const auto brightness =
        ink.IsGrey()
            ? ink.red
            : static_cast<std::uint16_t>(std::lround(0.299 * ink.red + 0.587 * ink.green + 0.114 * ink.blue));
    if (picture.form == Picture::kGrey8) {
        *pixel = mixed(*pixel, brightness, coverage, 255.0);
        return;
    }
    std::uint16_t level;
    std::memcpy(&level, pixel, sizeof level);
    level = mixed(level, brightness, coverage, 65535.0);
    std::memcpy(pixel, &level, sizeof level);
}
