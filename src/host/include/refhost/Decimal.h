#pragma once

#include <fast_float/fast_float.h>

namespace refhost {

/// Reads the decimal number that a text begins with, in every locale alike: an optional sign, digits with an
/// optional point, an optional exponent. Returns where it ends, or null, with `number` unchanged, when the
/// text begins with something else. Beyond the range of its type the number is infinite or 0.
template <typename Number>
const char* ReadDecimal(const char* first, const char* last, Number& number) {
    const bool hasSign = first != last && (*first == '-' || *first == '+');
    const char* const begin = first + (hasSign ? 1 : 0);
    // from_chars takes "inf", "nan" and one sign, but not a plus.
    const char* const digit = begin != last && *begin == '.' ? begin + 1 : begin;
    if (digit == last || *digit < '0' || *digit > '9') return nullptr;
    const char* const end = fast_float::from_chars(begin, last, number).ptr;
    if (*first == '-') number = -number;
    return end;
}

}  // namespace refhost
