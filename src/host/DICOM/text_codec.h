#pragma once

#include <cstddef>
#include <string>

/// Conversions between text, bytes and numbers that do not depend on the locale. Wide text is UTF-32 or
/// UTF-16, by the width of wchar_t.
namespace dicom_text {

/// False, with `text` unspecified, when the bytes are not valid UTF-8.
bool DecodeUtf8(const unsigned char* bytes, std::size_t length, std::wstring& text);
std::wstring DecodeLatin1(const unsigned char* bytes, std::size_t length);
/// A lone surrogate or a number beyond Unicode becomes U+FFFD.
std::string EncodeUtf8(const std::wstring& text);
/// False, with `bytes` unspecified, when a character lies above U+00FF.
bool EncodeLatin1(const std::wstring& text, std::string& bytes);

/// Cuts blanks and zero characters at the end, and with `leading` at the start.
std::wstring Trim(const std::wstring& text, bool leading);

/// The whole text, blanks around it allowed, as a decimal number: digits with an optional sign, point and
/// exponent. Beyond the range of double it becomes the nearest end or 0. False for anything else.
bool ParseDecimal(const std::wstring& text, double& number);
/// A decimal string of at most 16 characters that reads back as closely as these allow; empty for NaN.
std::wstring FormatDecimal(double number);
/// The shortest text that reads back as the same number.
std::wstring FormatShortest(float number);
std::wstring FormatShortest(double number);

/// Truncates towards zero and limits to the range of T; NaN gives 0.
template <typename T>
T LimitTo(double number);

}  // namespace dicom_text
