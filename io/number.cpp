#include "number.h"

#include <charconv>
#include <cmath>
#include <system_error>

std::optional<double> ParseNumber(const std::string& text) {
    // from_chars takes no plus sign, but words such as "nan".
    const bool hasPlus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    double value = 0.0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data() + (hasPlus ? 1 : 0), end, value);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string NumberText(double value) {
    char text[40];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}
