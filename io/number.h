#pragma once

#include <optional>
#include <string>

/// A decimal number, as people write it: digits with a point and an exponent where need be, a sign before
/// them. Nothing for any other text, hexadecimal digits, "nan" and "inf" included, and nothing for a number
/// beyond a double. The locale has no say.
std::optional<double> ParseNumber(const std::string& text);

/// The shortest text that ParseNumber reads back as the same number.
std::string NumberText(double value);
std::string NumberText(float value);

/// The same in the 16 characters that a decimal string has at most, with as many digits as fit.
std::string DecimalText(double value);
