#include <TXT/Locale_DecimalConvertUtils.h>

#include <charconv>
#include <cstring>
#include <limits>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Of a number that no float can hold: whether it is too large rather than too small. What counts is the
/// place of its first digit that is not 0, moved by the exponent.
bool IsTooLarge(const char* text, const char* end) {
    long place = 0;  // of the digit in front of the point: 0 for the ones
    bool behindPoint = false;
    bool found = false;
    const char* at = text;
    for (; at != end && (IsDigit(*at) || *at == '.'); ++at) {
        if (*at == '.') {
            behindPoint = true;
        } else if (behindPoint) {
            if (!found) --place;
            found = found || *at != '0';
        } else {
            if (found) ++place;
            found = found || *at != '0';
        }
    }
    if (at == end) return place > 0;
    ++at;  // the letter of the exponent
    const bool negative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+')) ++at;
    constexpr long kBeyondAll = 100000000;
    long exponent = 0;
    for (; at != end && IsDigit(*at); ++at) {
        if (exponent < kBeyondAll) exponent = exponent * 10 + (*at - '0');
    }
    return place + (negative ? -exponent : exponent) > 0;
}

}  // namespace

float Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(const _bstr_t& text) {
    const char* at = text;
    if (at == nullptr) return 0.0F;
    const char* const end = at + std::strlen(at);
    while (at != end && (*at == ' ' || (*at >= '\t' && *at <= '\r'))) ++at;
    const bool negative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+')) ++at;
    // A digit must come next, here or behind the point: from_chars would take a second sign, "inf" and "nan"
    // too.
    const char* const first = at != end && *at == '.' ? at + 1 : at;
    if (first == end || !IsDigit(*first)) return 0.0F;

    float value = 0.0F;
    const std::from_chars_result result = std::from_chars(at, end, value);
    if (result.ec == std::errc::result_out_of_range) {
        value = IsTooLarge(at, result.ptr) ? std::numeric_limits<float>::max() : 0.0F;
    }
    return negative ? -value : value;
}
