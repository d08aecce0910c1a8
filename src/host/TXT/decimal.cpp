#include <TXT/Locale_DecimalConvertUtils.h>

#include <refhost/Decimal.h>

#include <algorithm>
#include <cstring>
#include <limits>

float Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(const _bstr_t& text) {
    const char* at = text;
    if (at == nullptr) return 0.0F;
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    float value = 0.0F;
    refhost::ReadDecimal(at, at + std::strlen(at), value);
    constexpr float most = std::numeric_limits<float>::max();
    return std::clamp(value, -most, most);
}
