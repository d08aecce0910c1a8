#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "dicom_elements.h"
#include "stored_frame.h"

/// Smallest and largest of some values; nothing where there are none.
using ValueRange = std::optional<std::pair<std::int64_t, std::int64_t>>;

struct DicomFileContent {
    /// Every element but the pixel data.
    DicomDataSet dataSet;
    std::string transferSyntax;
    int frames = 0;
    StoredFrame frame;
};

struct LoadOptions {
    /// Counted from 0.
    int frame = 0;
    /// Take a frame that is cut short as far as it goes.
    bool partial = false;
};

/// Reads a DICOM file and decodes one of its frames. Works in a process of its own, so that no file can end
/// this one. Throws PresentError.
DicomFileContent ReadDicomFile(const std::string& path, LoadOptions options);
inline DicomFileContent ReadDicomFile(const std::string& path, int frame) {
    return ReadDicomFile(path, LoadOptions{frame});
}

/// Smallest and largest stored value over all frames, padding left out, in the same way; with `partial` over
/// the frames before the first one that cannot be read. Nothing for an image of nothing but padding. Throws
/// PresentError.
ValueRange ReadStoredRange(const std::string& path, bool partial);

/// Reads a DICOM file that need not hold an image, in the same way: every element but the pixel data. Throws
/// PresentError.
DicomDataSet ReadDicomDataSet(const std::string& path);
