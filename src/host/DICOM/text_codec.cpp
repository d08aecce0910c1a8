#include "text_codec.h"

#include <refhost/Decimal.h>
#include <refhost/Unicode.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>
#include <type_traits>

namespace dicom_text {

namespace {

bool IsPadding(wchar_t character) { return character == L' ' || character == L'\0'; }

/// Takes superfluous characters out of an exponent: "e-05" becomes "e-5", "e+20" becomes "e20".
std::string ShortenExponent(const std::string& text) {
    const std::size_t mark = text.find('e');
    if (mark == std::string::npos) return text;
    std::string result = text.substr(0, mark + 1);
    if (text[mark + 1] == '-') result += '-';
    std::size_t digit = mark + 2;
    while (digit + 1 < text.size() && text[digit] == '0') ++digit;
    return result + text.substr(digit);
}

template <typename T>
std::wstring Shortest(T number) {
    char buffer[64];
    char* const end = std::to_chars(buffer, buffer + sizeof(buffer), number).ptr;
    return std::wstring(buffer, end);
}

}  // namespace

bool DecodeUtf8(const unsigned char* bytes, std::size_t length, std::wstring& text) {
    // What is not UTF-8 comes back as other bytes.
    const std::string utf8(bytes, bytes + length);
    text = refhost::FromUtf8(utf8);
    return EncodeUtf8(text) == utf8;
}

std::wstring DecodeLatin1(const unsigned char* bytes, std::size_t length) {
    return std::wstring(bytes, bytes + length);
}

std::string EncodeUtf8(const std::wstring& text) { return refhost::ToUtf8(text.data(), text.size()); }

bool EncodeLatin1(const std::wstring& text, std::string& bytes) {
    bytes.clear();
    for (wchar_t character : text) {
        if (static_cast<std::uint32_t>(character) > 0xFF) return false;
        bytes += static_cast<char>(character);
    }
    return true;
}

std::wstring Trim(const std::wstring& text, bool leading) {
    std::size_t first = 0;
    std::size_t last = text.size();
    while (last > first && IsPadding(text[last - 1])) --last;
    while (leading && first < last && IsPadding(text[first])) ++first;
    return text.substr(first, last - first);
}

bool ParseDecimal(const std::wstring& text, double& number) {
    std::string digits;
    for (wchar_t character : Trim(text, true)) {
        if (character < L' ' || character > L'~') return false;
        digits += static_cast<char>(character);
    }
    const char* const last = digits.data() + digits.size();
    double parsed = 0.0;
    if (refhost::ReadDecimal(digits.data(), last, parsed) != last) return false;
    constexpr double most = std::numeric_limits<double>::max();
    number = std::clamp(parsed, -most, most);
    return true;
}

std::wstring FormatDecimal(double number) {
    const std::size_t longest = 16;
    if (std::isnan(number)) return std::wstring();
    const double finite =
        std::max(std::min(number, std::numeric_limits<double>::max()), std::numeric_limits<double>::lowest());
    char buffer[64];
    // A whole number below 2^53 is written as it stands.
    if (finite == std::trunc(finite) && std::fabs(finite) < 9007199254740992.0) {
        const std::to_chars_result whole =
            std::to_chars(buffer, buffer + sizeof(buffer), static_cast<long long>(finite));
        if (static_cast<std::size_t>(whole.ptr - buffer) <= longest) return std::wstring(buffer, whole.ptr);
    }
    const std::string exact =
        ShortenExponent(std::string(buffer, std::to_chars(buffer, buffer + sizeof(buffer), finite).ptr));
    if (exact.size() <= longest) return std::wstring(exact.begin(), exact.end());
    // As many significant digits as fit, with or without an exponent.
    for (int digits = 16; digits > 0; --digits) {
        for (std::chars_format format : {std::chars_format::general, std::chars_format::scientific}) {
            const int precision = format == std::chars_format::general ? digits : digits - 1;
            const char* const end =
                std::to_chars(buffer, buffer + sizeof(buffer), finite, format, precision).ptr;
            const std::string text = ShortenExponent(std::string(static_cast<const char*>(buffer), end));
            if (text.size() <= longest) return std::wstring(text.begin(), text.end());
        }
    }
    return std::wstring();
}

std::wstring FormatShortest(float number) { return Shortest(number); }
std::wstring FormatShortest(double number) { return Shortest(number); }

template <typename T>
T LimitTo(double number) {
    if (std::is_same<T, double>::value) return static_cast<T>(number);
    if (std::is_floating_point<T>::value && !std::isfinite(number)) return static_cast<T>(number);
    if (std::isnan(number)) return T(0);
    if (number <= static_cast<double>(std::numeric_limits<T>::lowest()))
        return std::numeric_limits<T>::lowest();
    if (number >= static_cast<double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
    return static_cast<T>(number);
}

template unsigned short LimitTo<unsigned short>(double);
template short LimitTo<short>(double);
template unsigned int LimitTo<unsigned int>(double);
template int LimitTo<int>(double);
template float LimitTo<float>(double);
template double LimitTo<double>(double);

}  // namespace dicom_text
