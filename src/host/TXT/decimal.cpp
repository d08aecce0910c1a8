#include <TXT/Locale_DecimalConvertUtils.h>

#include <fast_float/fast_float.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

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
    fast_float::from_chars(at, end, value);
    value = std::min(value, std::numeric_limits<float>::max());
    return negative ? -value : value;
}
