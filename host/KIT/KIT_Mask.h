#pragma once

#include <HOST_Export.h>

/// The shape of a region.
class HOST_API KIT_Mask {
public:
    /// What a run of a mask can carry: an empty marker that the owner's class derives from.
    class HOST_API Data {};

    KIT_Mask() = default;
    virtual ~KIT_Mask();
    virtual void Clear() = 0;
    /// Whether the mask covers a pixel.
    virtual bool HitTest(int x, int y) const = 0;
    /// True if the mask holds nothing.
    bool IsEmpty() const { return is_empty(); }

protected:
    virtual void init() = 0;
    virtual bool is_empty() const = 0;
};

/// The step between a mask and its run list.
class HOST_API KIT_Mask_proxy : public KIT_Mask {
public:
    ~KIT_Mask_proxy() override;
};
