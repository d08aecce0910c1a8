#pragma once

#include <HOST_Export.h>

/// A picture in memory: rows follow each other without a gap.
class HOST_API KIT_Raster {
public:
    KIT_Raster() = default;

    virtual ~KIT_Raster();
    /// The pixel memory, or null if the raster has no data.
    virtual void* GetPixels() = 0;
    /// Makes the pixel memory stable until the matching Unlock. Locks nest.
    virtual int Lock() = 0;
    virtual void Unlock() = 0;

    /// 0: PALETTE, one value per pixel. 1: true colour, four samples of 8 bits per pixel.
    int m_PixelFormat = 0;
    /// For PALETTE the bits that a pixel uses: up to 8 lie in one byte per pixel, more in two.
    int m_BitsPerPixel = 0;
    int m_Width = 0;
    int m_Height = 0;
    /// Pixel values are two's complement.
    bool m_bSigned = false;
};
