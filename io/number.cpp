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
