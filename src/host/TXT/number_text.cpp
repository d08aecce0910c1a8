#include "TXT/number_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace refhost {
namespace {

/// The digits of a number d.ddd * 10^exponent.
struct Digits {
    std::string sign;
    std::string digits;
    int exponent = 0;
};

/// From a text like "-12.5", "0.0001", "1.5e-07".
Digits Take(const std::string& text) {
    Digits result;
    std::size_t at = 0;
    if (text[0] == '-') result.sign = "-", at = 1;
    const std::size_t mark = text.find('e');
    const std::size_t end = mark == std::string::npos ? text.size() : mark;
    const std::size_t point = std::min(text.find('.'), end);
    result.exponent = static_cast<int>(point - at) - 1;
    if (mark != std::string::npos) result.exponent += std::atoi(text.c_str() + mark + 1);
    for (; at < end; ++at) {
        if (text[at] != '.') result.digits += text[at];
    }
    const std::size_t first = std::min(result.digits.find_first_not_of('0'), result.digits.size() - 1);
    result.digits.erase(0, first);
    result.exponent -= static_cast<int>(first);
    result.digits.erase(std::max(result.digits.find_last_not_of('0') + 1, std::size_t{1}));
    return result;
}

template <typename Number>
std::string Shortest(Number number) {
    std::string text = fmt::format("{}", number);
    if (!std::isfinite(number)) return text;
    const auto [sign, digits, exponent] = Take(text);
    if (digits == "0") return sign + "0";
    const std::string point = digits.size() > 1 ? "." + digits.substr(1) : "";
    const std::string scientific = fmt::format("{}{}{}e{:+03}", sign, digits[0], point, exponent);
    const int count = static_cast<int>(digits.size());
    std::string plain;
    if (exponent + 1 >= count) {
        // Beyond the digits that tell it apart a whole number is written as it is.
        if (static_cast<std::size_t>(exponent) < scientific.size()) plain = PreciseText(number, 'f', 0);
    } else if (exponent >= 0) {
        plain = sign + digits;
        plain.insert(sign.size() + static_cast<std::size_t>(exponent) + 1, ".");
    } else if (-exponent < static_cast<int>(scientific.size())) {
        plain = sign + "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
    }
    return plain.empty() || plain.size() > scientific.size() ? scientific : plain;
}

}  // namespace

std::string ShortestText(double number) { return Shortest(number); }
std::string ShortestText(float number) { return Shortest(number); }

std::string PreciseText(double number, char conversion, int precision) {
    return fmt::format(conversion == 'f'   ? "{:.{}f}"
                       : conversion == 'e' ? "{:.{}e}"
                                           : "{:.{}g}",
                       number, precision);
}

}  // namespace refhost
