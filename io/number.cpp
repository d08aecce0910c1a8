#include "number.h"

#include <refhost/Decimal.h>
#include <charconv>
#include <cmath>

std::optional<double> ParseNumber(const std::string& text) {
    double value = 0.0;
    const char* const end = text.data() + text.size();
    if (refhost::ReadDecimal(text.data(), end, value) != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

namespace {

template <class Number>
std::string shortest(Number value) {
    char text[40];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace

std::string NumberText(double value) { return shortest(value); }
std::string NumberText(float value) { return shortest(value); }

std::string DecimalText(double value) {
    std::string whole = NumberText(value);
    char text[16];
    if (whole.size() <= sizeof text) return whole;
    for (int digits = 15; digits > 0; --digits) {
        const std::to_chars_result result =
            std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
        if (result.ec == std::errc()) return std::string(text, result.ptr);
    }
    return "0";
}
