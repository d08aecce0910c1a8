#include "text_codec.h"

#include <refhost/Decimal.h>
#include <refhost/Unicode.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "TXT/number_text.h"

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

std::wstring Widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

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
    // A whole number below 2^53 is written as it stands.
    if (finite == std::trunc(finite) && std::fabs(finite) < 9007199254740992.0) {
        std::wstring whole = std::to_wstring(static_cast<long long>(finite));
        if (whole.size() <= longest) return whole;
    }
    const std::string exact = ShortenExponent(refhost::ShortestText(finite));
    if (exact.size() <= longest) return Widen(exact);
    // As many significant digits as fit, with or without an exponent.
    for (int digits = 16; digits > 0; --digits) {
        for (const char conversion : {'g', 'e'}) {
            const int precision = conversion == 'g' ? digits : digits - 1;
            const std::string text = ShortenExponent(refhost::PreciseText(finite, conversion, precision));
            if (text.size() <= longest) return Widen(text);
        }
    }
    return std::wstring();
}

std::wstring FormatShortest(float number) { return Widen(refhost::ShortestText(number)); }
std::wstring FormatShortest(double number) { return Widen(refhost::ShortestText(number)); }

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
