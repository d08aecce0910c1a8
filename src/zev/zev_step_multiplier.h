#pragma once

#include <cstdint>

namespace zev {

/// A ramp of `width` positions in whole numbers: for x from 0 to width,
///
///     trunc(double(float(x) * (1 / float(width))) * 255.999)
///
/// is (x * multiplier) >> 24 (narrow) or (x * multiplier + 2^16) >> 32 (wide), and 255 at x = width.
struct StepMultiplier {
    enum Form : std::uint8_t { kUnknown, kNone, kNarrow, kWide };
    Form form;
    std::uint32_t multiplier;
};

/// Widest ramp that has a multiplier.
constexpr int kWidestSteps = 65535;

/// For a width of 1 to kWidestSteps. Worked out once for each width; some wide ones have none. Any thread may
/// ask.
StepMultiplier StepMultiplierOf(int width);

}  // namespace zev
