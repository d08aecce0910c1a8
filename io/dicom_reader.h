#pragma once

#include <cstdint>
#include <string>

#include "dicom_elements.h"

/// One frame as it was stored, decompressed: interleaved little-endian samples in 1, 2 or 4 bytes each.
struct StoredFrame {
    int rows = 0;
    int columns = 0;
    int samples = 0;
    int sampleBytes = 0;
    int bitsAllocated = 0;
    int bitsStored = 0;
    int highBit = 0;
    bool isSigned = false;
    /// Colour model of these samples: MONOCHROME1, MONOCHROME2, PALETTE COLOR, RGB or YBR_FULL.
    std::string photometric;
    std::string data;

    std::size_t Pixels() const { return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns); }
    /// Sample i as unsigned bits, nothing shifted or masked. i is below Pixels() * samples.
    std::uint32_t Bits(std::size_t i) const {
        std::uint32_t value = 0;
        for (int b = sampleBytes - 1; b >= 0; --b) {
            value = (value << 8) |
                    static_cast<unsigned char>(
                        data[i * static_cast<std::size_t>(sampleBytes) + static_cast<std::size_t>(b)]);
        }
        return value;
    }
};

struct DicomFileContent {
    /// Every element but the pixel data.
    DicomDataSet dataSet;
    std::string transferSyntax;
    int frames = 0;
    StoredFrame frame;
};

/// Reads a DICOM file and decodes one of its frames, counted from 0. Works in a process of its own, so that
/// no file can bring this one down. Throws PresentError.
DicomFileContent ReadDicomFile(const std::string& path, int frame);

/// Reads a DICOM file that need not hold an image, in the same way: every element but the pixel data. Throws
/// PresentError.
DicomDataSet ReadDicomDataSet(const std::string& path);
