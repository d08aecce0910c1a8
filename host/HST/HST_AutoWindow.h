#pragma once

#include <HOST_Export.h>

class Dicom_CS;

/// Measures a window from the pixels of an image without one. Made on the stack for each use.
///
///     HST_AutoWindow window;
///     const int failed = window.AutoWindowing(pixels, 0, 0, columns, rows, columns, modality, false, 12,
///                                             -100000, -100000, false, false);
///     if (failed == 0) use(window.m_Center, window.m_Width);
class HOST_API HST_AutoWindow {
public:
    /// In stored pixel values; set by a call that succeeds. They come first in the object, in this order.
    double m_Center = 0.0;
    double m_Width = 0.0;
    /// All pixels but the padding have one value: they are drawn black; worth a note to the user.
    bool m_bConstant = false;

    /// Over columns x0 up to but not including x1 and rows y0 up to but not including y1. Pixels lie in bytes
    /// up to 8 bits, in 16-bit words above. The window spans the values that 1% and 99% of the pixels reach,
    /// or the extremes with `bFullRange` or where those two meet (an image of few values, a sparse one). It
    /// draws the smallest value black and the largest white whenever they differ, also after truncation to
    /// whole numbers: two neighbours have width 1 and the upper one as centre. A constant has width 1 and the
    /// centre one above it. Pixels from `paddingValue` to `paddingLimit`, in either order, are left out;
    /// -100000 as the value means no padding. Neither modality nor photometric interpretation matters.
    ///
    /// 0 on success. -1, with the members unchanged, for null pixels, a depth outside 1..16, a region that is
    /// empty or does not lie within the rows, or one of nothing but padding. Any thread.
    int AutoWindowing(void* pixels, int x0, int y0, int x1, int y1, int rowLength, const Dicom_CS& modality,
                      bool bMonochrome1, int bitsPerPixel, int paddingValue, int paddingLimit, bool bSigned,
                      bool bFullRange);
};
