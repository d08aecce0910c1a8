// Window, scale ends, rescale, padding and highlight.

#include <ZEV/ZEV_Params.h>

#include "zev_log.h"
#include "zev_numeric.h"

using zev::Add;
using zev::Subtract;

// Half a width truncates towards zero, so for an odd width the two ends are one less than the width apart.

int ZEV_Params::GetCenter() { return m_Center.m_Value; }
int ZEV_Params::GetWidth() { return m_Width.m_Value; }
int ZEV_Params::GetWindowMin() { return m_WindowMin.m_Value; }
int ZEV_Params::GetWindowMax() { return m_WindowMax.m_Value; }
int ZEV_Params::GetWindowMinScale() { return m_WindowMinScale.m_Value; }
int ZEV_Params::GetWindowMaxScale() { return m_WindowMaxScale.m_Value; }
int ZEV_Params::GetInitialCenter() { return m_Center.m_Initial; }
int ZEV_Params::GetInitialWidth() { return m_Width.m_Initial; }
bool ZEV_Params::IsCenterInitialized() { return m_Center.m_bInitialized; }
bool ZEV_Params::IsWidthInitialized() { return m_Width.m_bInitialized; }

void ZEV_Params::set_window(int lo, int hi) {
    m_WindowMin.Set(lo);
    m_WindowMax.Set(hi);
}

// The scale ends only widen, and are compared whether or not they are initialised.
void ZEV_Params::widen_scale(int lo, int hi) {
    if (lo < m_WindowMinScale.m_Value) m_WindowMinScale.Set(lo);
    if (hi > m_WindowMaxScale.m_Value) m_WindowMaxScale.Set(hi);
}

void ZEV_Params::init_window_and_scale(int lo, int hi) {
    m_WindowMin.Init(lo);
    m_WindowMax.Init(hi);
    m_WindowMaxScale.Init(hi);
    m_WindowMinScale.Init(lo);
}

void ZEV_Params::InitCenter(int center) {
    m_Center.Init(center);
    // From the argument, not from the centre after differences were replayed.
    const int half = m_Width.m_Value / 2;
    init_window_and_scale(Subtract(center, half), Add(center, half));
    MarkTableChange();
}

void ZEV_Params::InitWidth(int width) {
    m_Width.Init(width);
    const int half = width / 2;
    init_window_and_scale(Subtract(m_Center.m_Value, half), Add(m_Center.m_Value, half));
    MarkTableChange();
}

void ZEV_Params::follow_moved_center_or_width() {
    const int half = m_Width.m_Value / 2;
    const int lo = Subtract(m_Center.m_Value, half);
    const int hi = Add(m_Center.m_Value, half);
    set_window(lo, hi);
    widen_scale(lo, hi);
    MarkTableChange();
}

void ZEV_Params::SetCenter(int center) {
    if (m_Center.Set(center)) follow_moved_center_or_width();
}

void ZEV_Params::SetWidth(int width) {
    if (m_Width.Set(width)) follow_moved_center_or_width();
}

void ZEV_Params::UpdateCenter(int difference) {
    if (!m_Center.Update(difference)) return;
    const int half = m_Width.m_Value / 2;
    const int lo = Subtract(m_Center.m_Value, half);
    const int hi = Add(m_Center.m_Value, half);
    set_window(lo, hi);
    // Listeners are called before the scale ends move.
    MarkTableChange();
    widen_scale(lo, hi);
}

void ZEV_Params::UpdateWidth(int difference) {
    if (m_Width.Update(difference)) follow_moved_center_or_width();
}

void ZEV_Params::set_center_and_width_from(int lo, int hi) {
    const std::int64_t width = std::int64_t{hi} - lo;
    m_Center.Set(zev::SaturateToInt(lo + width / 2));
    m_Width.Set(zev::SaturateToInt(width));
}

void ZEV_Params::SetWindowMin(int windowMin) {
    const int hi = m_WindowMax.m_Value;
    set_center_and_width_from(windowMin, hi);
    m_WindowMin.Set(windowMin);
    widen_scale(windowMin, hi);
    MarkTableChange();
}

void ZEV_Params::SetWindowMax(int windowMax) {
    const int lo = m_WindowMin.m_Value;
    set_center_and_width_from(lo, windowMax);
    m_WindowMax.Set(windowMax);
    widen_scale(lo, windowMax);
    MarkTableChange();
}

void ZEV_Params::UpdateWindowMax(int difference) {
    const int lo = m_WindowMin.m_Value;
    if (!m_WindowMax.Update(difference)) return;
    // More than once only where the ends lie further apart than an int can say.
    while (m_WindowMax.m_Value < lo) m_WindowMax.Update(Subtract(lo, m_WindowMax.m_Value));
    const int hi = m_WindowMax.m_Value;
    set_center_and_width_from(lo, hi);
    widen_scale(lo, hi);
    MarkTableChange();
}

void ZEV_Params::UpdateWindowMin(int difference) {
    const int hi = m_WindowMax.m_Value;
    if (!m_WindowMin.Update(difference)) return;
    while (m_WindowMin.m_Value > hi) m_WindowMin.Update(Subtract(hi, m_WindowMin.m_Value));
    const int lo = m_WindowMin.m_Value;
    set_center_and_width_from(lo, hi);
    widen_scale(lo, hi);
    MarkTableChange();
}

void ZEV_Params::SetMinMax(int, int) {}

bool ZEV_Params::GetMinMaxScaleMode() { return m_bMinMaxScaleMode; }

void ZEV_Params::SetMinMaxScaleMode(bool minMaxScaleMode) {
    m_bMinMaxScaleMode = minMaxScaleMode;
    MarkTableChange();
}

// ---- what the saved presentation said

template <class T>
void ZEV_Params::set_original_from_dp(ZEV_ParamValue<T>& holder, T value) {
    if (holder.m_bInitialized) {
        if (holder.m_Value == value) return;
        holder.Set(value);
    } else {
        holder.Init(value);
    }
    MarkTableChange();
}

void ZEV_Params::SetOriginalCenterFromDP(int center) { set_original_from_dp(m_OriginalCenterFromDP, center); }
void ZEV_Params::SetOriginalWidthFromDP(int width) { set_original_from_dp(m_OriginalWidthFromDP, width); }
void ZEV_Params::SetOriginalInverseFromDP(bool inverse) {
    set_original_from_dp(m_OriginalInverseFromDP, inverse);
}

bool ZEV_Params::IsOriginalParamFromDP() const {
    const char* const function = "ZEV_Params::IsOriginalParamFromDP";
    if (m_OriginalCenterFromDP.m_bInitialized && m_OriginalWidthFromDP.m_bInitialized) {
        ZEV_LOG(function, zev::kLogTrace, "Original values from DP were initialized.\n");
        return true;
    }
    ZEV_LOG(function, zev::kLogTrace, "Original values from DP are uninitialized.\n");
    return false;
}

// ---- rescale

int ZEV_Params::GetRescaleIntercept() { return m_RescaleIntercept; }
float ZEV_Params::GetRescaleSlope() { return m_RescaleSlope; }
bool ZEV_Params::IsRescaleInitialized() { return m_bRescaleInitialized; }

void ZEV_Params::SetRescaleIntercept(int intercept) {
    m_RescaleIntercept = intercept;
    m_bRescaleInitialized = true;
    MarkTableChange();
}

void ZEV_Params::SetRescaleSlope(float slope) {
    m_RescaleSlope = slope;
    m_PixelRange = -1;
    m_bRescaleInitialized = true;
    MarkTableChange();
}

bool ZEV_Params::GetUseRescale() { return m_bUseRescale; }
void ZEV_Params::SetUseRescale(bool useRescale) { m_bUseRescale = useRescale; }

// ---- padding and highlight

int ZEV_Params::GetPixelPaddingValue() { return m_PixelPaddingValue; }
int ZEV_Params::GetPixelPaddingValueLimit() { return m_PixelPaddingValueLimit; }

void ZEV_Params::SetPixelPaddingValues(int value, int limit) {
    m_PixelPaddingValue = value;
    m_PixelPaddingValueLimit = limit;
}

bool ZEV_Params::GetUsePadding() { return m_bUsePadding; }
void ZEV_Params::SetUsePadding(bool usePadding) { m_bUsePadding = usePadding; }

void ZEV_Params::SetHighlight(int value1, int value2) {
    m_HighlightValue1 = value1;
    m_HighlightValue2 = value2;
    m_bHighlight = true;
}

bool ZEV_Params::GetHighlight(int* value1, int* value2) {
    if (value1 != nullptr) *value1 = m_HighlightValue1;
    if (value2 != nullptr) *value2 = m_HighlightValue2;
    return m_bHighlight;
}
