#include "cielab.h"

#include <algorithm>
#include <cmath>

Ink InkOfCieLab(double l, double a, double b) {
    const double lightness = std::clamp(l, 0.0, 65535.0) * 100.0 / 65535.0,
                 green = std::clamp(a, 0.0, 65535.0) * 255.0 / 65535.0 - 128.0,
                 blue = std::clamp(b, 0.0, 65535.0) * 255.0 / 65535.0 - 128.0;
    const auto inverse = [](double t) {
        constexpr double kDelta = 6.0 / 29.0;
        return t > kDelta ? t * t * t : 3.0 * kDelta * kDelta * (t - 4.0 / 29.0);
    };
    const double fy = (lightness + 16.0) / 116.0;
    const double x = 0.9642 * inverse(fy + green / 500.0), y = inverse(fy),
                 z = 0.8249 * inverse(fy - blue / 200.0);
    // From D50 to linear sRGB.
    const double linear[] = {3.1338561 * x - 1.6168667 * y - 0.4906146 * z,
                             -0.9787684 * x + 1.9161415 * y + 0.0334540 * z,
                             0.0719453 * x - 0.2289914 * y + 1.4052427 * z};
    std::uint16_t channels[3];
    for (int c = 0; c < 3; ++c) {
        const double u = std::clamp(linear[c], 0.0, 1.0);
        const double v = u <= 0.0031308 ? 12.92 * u : 1.055 * std::pow(u, 1.0 / 2.4) - 0.055;
        channels[c] = static_cast<std::uint16_t>(std::lround(v * 65535.0));
    }
    return {channels[0], channels[1], channels[2]};
}
