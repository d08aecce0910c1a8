#pragma once

#include <gdcmTransferSyntax.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "dicom_reader.h"
#include "pixel_source.h"

/// Why a file cannot be presented. What catches it puts the file's name before it.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "1 row", "2 rows".
std::string CountOf(std::uint64_t number, const char* noun);

/// The data set's description of the pixels, tested: sizes above 0, depths that fit each other.
struct PixelHeader {
    int frames = 1;
    /// 1: all of the first colour, then all of the second, ...
    int planar = 0;
    /// As the file gives it; a name such as YBR_FULL_422 defines the layout of the samples.
    std::string photometric;
    /// Sizes and depths; sampleBytes and data are still to come.
    StoredFrame frame;
};

/// No decoded frame takes more.
constexpr std::uint64_t kMaxFrameBytes = std::uint64_t{1} << 30;

/// Decodes frame `index`, which is below header.frames. Sizes are compared with the bytes that are there
/// before anything is allocated. A frame that is cut short is refused unless `partial`. Throws Refusal. May
/// also abort or run for long: call it where that does no harm.
StoredFrame DecodePixels(const PixelSource& source, const gdcm::TransferSyntax& syntax,
                         const PixelHeader& header, int index, bool partial);

/// "is compressed with High-Throughput JPEG 2000 (1.2.840.10008.1.2.4.201), which cannot be read" or "has an
/// unknown transfer syntax (1.2.3)"; empty for one that can be read and for a file without any.
std::string WhyUnreadable(const std::string& transferSyntax);
