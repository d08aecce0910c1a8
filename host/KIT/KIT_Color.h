#pragma once

#include <HOST_Export.h>

/// A colour of three components, 0 to 255 each.
/// The one packing used everywhere is 0x00RRGGBB: red in bits 16 to 23, green in 8 to 15, blue in 0 to 7. A
/// grey pixel of 32 bits may carry its level in the top byte as well; whoever reads a pixel looks at the low
/// three.
class HOST_API KIT_Color {
public:
    /// Black.
    KIT_Color() = default;
    /// From a packed value; the top byte is not looked at.
    KIT_Color(int rgb) : m_Blue(rgb & 0xFF), m_Green((rgb >> 8) & 0xFF), m_Red((rgb >> 16) & 0xFF) {}

    /// The packed value, with 0 in the top byte. Of each component the low byte counts.
    int toRGB() const { return ((m_Red & 0xFF) << 16) | ((m_Green & 0xFF) << 8) | (m_Blue & 0xFF); }

    int m_Blue = 0;
    int m_Green = 0;
    int m_Red = 0;
};
