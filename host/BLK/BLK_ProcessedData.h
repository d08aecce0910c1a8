#pragma once

#include <HOST_Export.h>

/// What an image's source computed from its pixels. Held in place by a BLK_Lock while it is read.
class HOST_API BLK_ProcessedData {
public:
    virtual ~BLK_ProcessedData();
    /// Spread of the pixel values, before rescale; 0 or less if it is unknown. `block` is -1 for the whole
    /// image.
    virtual int GetValueRange(int block) = 0;

private:
    friend class BLK_Lock;

    /// False if the data cannot be held now; then no release follows.
    virtual bool hold() = 0;
    virtual void release() = 0;
};
