#pragma once

#include <HOST_Export.h>
#include <MAPPER/Mapper_Point.h>

#include <cstddef>
#include <vector>

/// A printer's characteristic curve, applied to finished pixels. It does not change after construction.
class HOST_API Mapper_PrinterLUT {
public:
    /// Copies `count` entries of `bits` bits (1 to 16; others are limited to that). The entries span the
    /// whole range of a sample, whatever their number: a sample takes the nearest one. Null or a count of 0
    /// gives a curve that changes nothing.
    Mapper_PrinterLUT(const unsigned short* entries, std::size_t count, int bits);

    /// Changes, in place, the pixels of an image of `width` columns that lie between the two points, both
    /// included and in any order, clipped to width, height and `count` pixels; a null point stands for its
    /// corner of the image. Samples of up to 8 bits lie in bytes, others in 16-bit words, `samplesPerPixel`
    /// of them side by side, each going through the curve by itself. `bitsStored` is limited to 1 ..
    /// bitsAllocated. Returns the number of pixels changed: 0 for null pixels or other than 8 or 16 bits
    /// allocated.
    unsigned long ApplyPrinterLUT(void* pixels, unsigned long count, unsigned short bitsAllocated,
                                  unsigned short bitsStored, unsigned short samplesPerPixel, int width,
                                  int height, Mapper_Point* topLeft, Mapper_Point* bottomRight) const;

private:
    /// The output of every sample value of `bits` bits.
    std::vector<unsigned short> curve_for(int bits) const;

    std::vector<unsigned short> m_Entries;
    int m_Bits;
};
