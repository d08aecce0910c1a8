#pragma once

#include <HOST_Export.h>

/// The shape of a region.
class HOST_API KIT_Mask {
public:
    /// What a run of a mask can carry: an empty marker that the owner's class derives from.
    class HOST_API Data {};

    KIT_Mask() = default;
    virtual ~KIT_Mask();
    /// True if the mask holds nothing.
    virtual bool IsEmpty() const = 0;

protected:
    virtual void init() = 0;
};

/// The step between a mask and its run list.
class HOST_API KIT_Mask_proxy : public KIT_Mask {
public:
    ~KIT_Mask_proxy() override;
};
