#include <TXT/Locale_DecimalConvertUtils.h>
#include <ZEV/ZEV_ColorMap.h>

#include <algorithm>
#include <cmath>

#include "zev_log.h"
#include "zev_numeric.h"

namespace {

/// 1 / 256, which a float holds exactly.
constexpr float kPerEntry = 0.00390625f;
constexpr int kColorTextMax = 0x7FFFFFFF;

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Base 16 by the rules of strtol with a 32-bit long, whatever the width of this system's long: leading
/// blanks, a sign, "0x", then digits up to the first other character. Saturates; no digits give 0.
int parse_color(const char* text) {
    if (text == nullptr) return 0;
    while (is_blank(*text)) ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && hex_digit(text[2]) >= 0) text += 2;
    std::int64_t value = 0;
    for (int digit = hex_digit(*text); digit >= 0; digit = hex_digit(*++text)) {
        value = std::min<std::int64_t>(value * 16 + digit, std::int64_t{kColorTextMax} + 1);
    }
    return zev::SaturateToInt(negative ? -value : value);
}

/// One component at t between two colours, in 32-bit float, truncated.
int mix(int from, int to, float t) {
    return zev::TruncToInt(static_cast<float>(from) * (1.0f - t) + static_cast<float>(to) * t);
}

}  // namespace

ZEV_ColorMap::ZEV_ColorMap() : m_name(L""), m_uid(L""), m_thresholdUnits(L"") {}
ZEV_ColorMap::ZEV_ColorMap(const ZEV_ColorMap& other) = default;
ZEV_ColorMap& ZEV_ColorMap::operator=(const ZEV_ColorMap& other) = default;
ZEV_ColorMap::~ZEV_ColorMap() = default;

void ZEV_ColorMap::AddEntry(_bstr_t position, _bstr_t color) {
    const KIT_Color parsed(parse_color(static_cast<const char*>(color)));
    const float at = Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(position);
    if (std::isnan(at)) {
        // It would have no place in the order of the points.
        ZEV_LOG("ZEV_ColorMap::AddEntry", zev::kLogError, "Control point at no number is left out\n");
        return;
    }
    m_controlPoints[at] = parsed;
}

void ZEV_ColorMap::CreateTable() {
    const char* const function = "ZEV_ColorMap::CreateTable";
    if (m_controlPoints.count(1.0f) == 0 || m_controlPoints.count(0.0f) == 0) {
        ZEV_LOG(function, zev::kLogError, "Bad color map. No value for 1.0 or 0.0\n");
        return;
    }
    const auto begin = m_controlPoints.find(0.0f);
    const auto end = std::next(m_controlPoints.find(1.0f));
    if (begin != m_controlPoints.begin() || end != m_controlPoints.end()) {
        ZEV_LOG(function, zev::kLogError, "Control points outside 0.0 to 1.0 are left out\n");
    }
    const int resolution =
        m_outputResolution >= 1 && m_outputResolution <= kTableSize ? m_outputResolution : kTableSize;

    KIT_Color work[kTableSize];
    const float scale = static_cast<float>(resolution - 1);
    for (auto a = begin, b = std::next(begin); b != end; a = b, ++b) {
        const int ia = zev::TruncToInt(scale * a->first);
        const int ib = zev::TruncToInt(scale * b->first);
        if (ia == ib) {
            work[ia] = b->second;
        } else if (m_isSmooth) {
            for (int i = ia; i <= ib; ++i) {
                const float t = static_cast<float>(i - ia) / static_cast<float>(ib - ia);
                KIT_Color mixed;
                mixed.m_Blue = mix(a->second.m_Blue, b->second.m_Blue, t);
                mixed.m_Green = mix(a->second.m_Green, b->second.m_Green, t);
                mixed.m_Red = mix(a->second.m_Red, b->second.m_Red, t);
                work[i] = mixed;
            }
        } else {
            std::fill(work + ia, work + ib + 1, a->second);
        }
    }

    const float step = static_cast<float>(resolution) * kPerEntry;
    for (int i = 0; i < kTableSize; ++i) m_table[i] = work[zev::TruncToInt(static_cast<float>(i) * step)];
    m_table[0] = begin->second;
}

const wchar_t* ZEV_ColorMap::GetName() const { return m_name; }
void ZEV_ColorMap::SetName(_bstr_t name) { m_name = name; }
_bstr_t ZEV_ColorMap::GetUID() const { return m_uid; }
void ZEV_ColorMap::SetUID(_bstr_t uid) { m_uid = uid; }
int ZEV_ColorMap::GetCustomButtonId() const { return m_customButtonId; }
void ZEV_ColorMap::SetCustomButtonId(int id) { m_customButtonId = id; }

void ZEV_ColorMap::SetDummy(bool dummy) { m_isDummy = dummy; }
bool ZEV_ColorMap::GetIsSUVType() const { return m_isSUVType; }
void ZEV_ColorMap::SetIsSUVType(bool suv) { m_isSUVType = suv; }
bool ZEV_ColorMap::GetIsSmooth() const { return m_isSmooth; }
void ZEV_ColorMap::SetIsSmooth(bool smooth) { m_isSmooth = smooth; }
int ZEV_ColorMap::GetOutputResolution() const { return m_outputResolution; }
void ZEV_ColorMap::SetOutputResolution(int resolution) { m_outputResolution = resolution; }

_bstr_t ZEV_ColorMap::GetThresholdUnits() const { return m_thresholdUnits; }
void ZEV_ColorMap::SetThresholdUnits(_bstr_t units) { m_thresholdUnits = units; }
float ZEV_ColorMap::GetThresholdMin() const { return m_thresholdMin; }
void ZEV_ColorMap::SetThresholdMin(float threshold) { m_thresholdMin = threshold; }
float ZEV_ColorMap::GetThresholdMax() const { return m_thresholdMax; }
void ZEV_ColorMap::SetThresholdMax(float threshold) { m_thresholdMax = threshold; }
