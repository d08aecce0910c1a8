#include "zev_step_multiplier.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "zev_table_fill.h"

namespace {

/// Bits 0 to 31 the multiplier, above them the form; 0 before it is known.
std::atomic<std::uint64_t> g_Known[zev::kWidestSteps + 1];

constexpr double kTwo16 = 65536.0, kTwo24 = 16777216.0, kTwo32 = 4294967296.0;

/// The least multiplier with floor((x * m + added) / scale) equal to the step at every x from 0 to the width;
/// 0 for none. Both sides rise with x, so it is enough that each step k begins where it should:
/// starts[k] * m + added reaches k * scale, and (starts[k] - 1) * m + added does not. Step 256 must not begin
/// by the width. The quotients are at least 1 / 65535 from the next whole number, or on it, so that their
/// rounding cannot move the bounds.
std::uint32_t multiplier_between(const int* starts, int width, double scale, double added) {
    double low = 1.0, high = kTwo32;
    for (int k = 1; k < zev::kMaxSteps; ++k) {
        const double wanted = k * scale - added;
        low = std::max(low, wanted / starts[k]);
        if (starts[k] > 1) high = std::min(high, wanted / (starts[k] - 1));
    }
    high = std::min(high, (zev::kMaxSteps * scale - added) / width);
    low = std::ceil(low);
    return low < high ? static_cast<std::uint32_t>(low) : 0;
}

zev::StepMultiplier find(int width) {
    using zev::StepMultiplier;
    const float r = 1.0f / static_cast<float>(width);
    const zev::ProductSteps steps{r, zev::kTrueColorFactor};
    int starts[zev::kMaxSteps];
    zev::FindStarts(steps, 0, zev::kMaxSteps - 1, 0, width, static_cast<double>(r) * steps.factor, 0.0,
                    starts);
    if (const std::uint32_t narrow = multiplier_between(starts, width, kTwo24, 0.0))
        return {StepMultiplier::kNarrow, narrow};
    if (const std::uint32_t wide = multiplier_between(starts, width, kTwo32, kTwo16))
        return {StepMultiplier::kWide, wide};
    return {StepMultiplier::kNone, 0};
}

}  // namespace

zev::StepMultiplier zev::StepMultiplierOf(int width) {
    std::atomic<std::uint64_t>& known = g_Known[width];
    std::uint64_t packed = known.load(std::memory_order_relaxed);
    if (packed == 0) {
        const StepMultiplier found = find(width);
        packed = std::uint64_t{found.form} << 32 | found.multiplier;
        known.store(packed, std::memory_order_relaxed);
    }
    return {static_cast<StepMultiplier::Form>(packed >> 32), static_cast<std::uint32_t>(packed)};
}
