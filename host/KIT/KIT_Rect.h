#pragma once

#include <HOST_Export.h>

/// A rectangle of pixels. All four at 0 stand for no rectangle. Mind the order: several operations elsewhere
/// take left, top, right, bottom.
class HOST_API KIT_Rect {
public:
    KIT_Rect() = default;
    KIT_Rect(int top_, int left_, int bottom_, int right_)
        : top(top_), left(left_), bottom(bottom_), right(right_) {}

    int top = 0;
    int left = 0;
    int bottom = 0;
    int right = 0;
};

inline bool operator==(const KIT_Rect& a, const KIT_Rect& b) {
    return a.top == b.top && a.left == b.left && a.bottom == b.bottom && a.right == b.right;
}
inline bool operator!=(const KIT_Rect& a, const KIT_Rect& b) { return !(a == b); }
