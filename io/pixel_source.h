#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "file_bytes.h"

/// Where the pixel data of a file are. Finding them reads no pixels: a frame costs what its own bytes cost.
struct PixelSource {
    bool isEncapsulated = false;
    /// Bytes of a pixel that is a floating-point number: 4 or 8; 0 for integers.
    int realBytes = 0;
    /// The file ends before the value does. The extents cover what is there.
    bool isCutShort = false;
    /// The length that the file gives the value; 0 when it is encapsulated.
    std::uint64_t claimed = 0;
    /// One per fragment; one for native pixels, which may be empty.
    std::vector<Extent> extents;
    /// As the file gives them: where frames begin, from the first fragment's header. Not tested.
    std::vector<std::uint64_t> frameOffsets;
    /// Reads within one of the extents.
    std::function<std::string(Extent)> read;
};

/// The numbers of an offset table, `size` bytes each.
std::vector<std::uint64_t> OffsetsOf(const std::string& table, std::size_t size);

/// PixelSource::realBytes for one of the three attributes that hold pixels; nothing for any other.
std::optional<int> RealBytesOf(std::uint32_t tag);

/// Pixel data whose value begins at `value` in a file of little-endian elements; lengths are tested against
/// the file's size. Nothing where the structure is not the standard's.
std::optional<PixelSource> FindPixels(const std::shared_ptr<const FileBytes>& file, std::uint64_t value);
