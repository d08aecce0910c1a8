#include "text_codec.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>
#include <type_traits>

namespace dicom_text {

namespace {

const std::uint32_t REPLACEMENT = 0xFFFD;

bool IsSurrogate(std::uint32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

void AppendWide(std::wstring& text, std::uint32_t code) {
    if (sizeof(wchar_t) == 2 && code >= 0x10000) {
        text += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
        text += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
        text += static_cast<wchar_t>(code);
    }
}

/// The character at `position`, which moves behind it.
std::uint32_t NextCode(const std::wstring& text, std::size_t& position) {
    std::uint32_t code = static_cast<std::uint32_t>(text[position++]);
    if (sizeof(wchar_t) == 2) code &= 0xFFFF;
    if (sizeof(wchar_t) == 2 && code >= 0xD800 && code < 0xDC00 && position < text.size()) {
        const std::uint32_t low = static_cast<std::uint32_t>(text[position]) & 0xFFFF;
        if (low >= 0xDC00 && low <= 0xDFFF) {
            ++position;
            return 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        }
    }
    return code > 0x10FFFF || IsSurrogate(code) ? REPLACEMENT : code;
}

bool IsPadding(wchar_t character) { return character == L' ' || character == L'\0'; }

/// Whether a number that is written with these characters but lies outside double is too large; else it is
/// too small. Decided by the power of ten of its first digit that is not 0.
bool IsTooLarge(const std::string& digits) {
    const std::size_t mantissaEnd = std::min(digits.find_first_of("eE"), digits.size());
    const std::size_t point = std::min(digits.find('.'), mantissaEnd);
    const std::size_t leading = digits.find_first_of("123456789");
    if (leading >= mantissaEnd) return false;
    long long power =
        leading < point ? static_cast<long long>(point - leading) : -static_cast<long long>(leading - point);
    if (mantissaEnd < digits.size()) {
        const bool negative = digits[mantissaEnd + 1] == '-';
        long long exponent = 0;
        for (std::size_t i = mantissaEnd + 1; i < digits.size(); ++i) {
            if (digits[i] < '0' || digits[i] > '9') continue;
            exponent = std::min(exponent * 10 + (digits[i] - '0'), 1000000000000LL);
        }
        power += negative ? -exponent : exponent;
    }
    return power > 0;
}

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
    text.clear();
    for (std::size_t i = 0; i < length;) {
        const unsigned char lead = bytes[i];
        const std::size_t extra = lead < 0x80 ? 0 : lead < 0xC2 ? 4 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        if (extra > 3 || lead > 0xF4 || length - i <= extra) return false;
        std::uint32_t code = extra == 0 ? lead : lead & (0x3Fu >> extra);
        for (std::size_t k = 1; k <= extra; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
            code = (code << 6) | (bytes[i + k] & 0x3Fu);
        }
        const bool overlong = (extra == 2 && code < 0x800) || (extra == 3 && code < 0x10000);
        if (overlong || IsSurrogate(code) || code > 0x10FFFF) return false;
        AppendWide(text, code);
        i += extra + 1;
    }
    return true;
}

std::wstring DecodeLatin1(const unsigned char* bytes, std::size_t length) {
    return std::wstring(bytes, bytes + length);
}

std::string EncodeUtf8(const std::wstring& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size();) {
        const std::uint32_t code = NextCode(text, i);
        if (code < 0x80) {
            bytes += static_cast<char>(code);
            continue;
        }
        const int extra = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        const std::uint32_t mark = extra == 1 ? 0xC0 : extra == 2 ? 0xE0 : 0xF0;
        bytes += static_cast<char>(mark | (code >> (6 * extra)));
        for (int k = extra - 1; k >= 0; --k) bytes += static_cast<char>(0x80 | ((code >> (6 * k)) & 0x3F));
    }
    return bytes;
}

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
    const std::wstring trimmed = Trim(text, true);
    std::string digits;
    for (wchar_t character : trimmed) {
        // Keeps out what from_chars takes beyond decimal numbers: "inf", "nan".
        const bool allowed = (character >= L'0' && character <= L'9') || character == L'+' ||
                             character == L'-' || character == L'.' || character == L'e' || character == L'E';
        if (!allowed) return false;
        digits += static_cast<char>(character);
    }
    const char* first = digits.data();
    const char* const last = first + digits.size();
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') ++first;
    double parsed = 0.0;
    const std::from_chars_result result = std::from_chars(first, last, parsed);
    if (result.ptr != last || result.ec == std::errc::invalid_argument) return false;
    if (result.ec == std::errc::result_out_of_range) {
        const double magnitude = IsTooLarge(digits) ? std::numeric_limits<double>::max() : 0.0;
        parsed = digits[0] == '-' ? -magnitude : magnitude;
    }
    number = parsed;
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
