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

std::string NumberText(double value) {
    char text[40];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::string DecimalText(double value) {
    const std::string shortest = NumberText(value);
    char text[16];
    if (shortest.size() <= sizeof text) return shortest;
    for (int digits = 15; digits > 0; --digits) {
        const std::to_chars_result result =
            std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
        if (result.ec == std::errc()) return std::string(text, result.ptr);
    }
    return "0";
}
