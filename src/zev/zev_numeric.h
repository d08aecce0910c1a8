#pragma once

#include <cfloat>
#include <cstdint>
#include <limits>

/// The conversions that every number of the library goes through. docs/numeric.md says where each is used.
namespace zev {

// Every operation is rounded to its own type. The registers of x87 cannot do that: 32-bit x86 needs -msse2
// -mfpmath=sse.
static_assert(FLT_EVAL_METHOD == 0, "float is not worked out as float here");
#if defined(__FAST_MATH__)
#error "fast-math changes tables"
#endif

constexpr std::int64_t kIntMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kIntMax = std::numeric_limits<std::int32_t>::max();

/// A whole number of 64 bits as an int; beyond the ends it is the end.
constexpr int SaturateToInt(std::int64_t value) {
    return static_cast<int>(value < kIntMin ? kIntMin : value > kIntMax ? kIntMax : value);
}

/// Towards zero; NaN is 0, beyond the ends it is the end.
constexpr int TruncToInt(double value) {
    if (!(value == value)) return 0;
    if (value <= static_cast<double>(kIntMin)) return static_cast<int>(kIntMin);
    if (value >= static_cast<double>(kIntMax)) return static_cast<int>(kIntMax);
    return static_cast<int>(value);
}

/// a + b, a - b, saturating.
constexpr int Add(int a, int b) { return SaturateToInt(std::int64_t{a} + b); }
constexpr int Subtract(int a, int b) { return SaturateToInt(std::int64_t{a} - b); }

}  // namespace zev
