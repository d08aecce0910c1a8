#pragma once

#include <string>

/// Numbers as text, the same with every standard library and locale.
namespace refhost {

/// The fewest characters that read back as the same number, plain ("0.001") or with an exponent ("1e-05"),
/// plain where both are as short: what std::to_chars gives, where a standard library has it for floating
/// point. "inf", "-inf", "nan" or "-nan" for what is not finite.
std::string ShortestText(double number);
std::string ShortestText(float number);

/// As printf's conversion 'f', 'e' or 'g' in the C locale, of a finite number.
std::string PreciseText(double number, char conversion, int precision);

}  // namespace refhost
