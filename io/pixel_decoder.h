#pragma once

#include <cstdint>
#include <string>

#include "pixel_source.h"
#include "stored_frame.h"

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

/// Whether decoding takes the DICOM library.
bool NeedsLibrary(const PixelSource& source, const std::string& transferSyntax);

/// JPEG, JPEG-LS and JPEG 2000.
bool IsStream(const std::string& transferSyntax);

/// Decodes frame `index`, which is below header.frames. Sizes are compared with the bytes that are there
/// before anything is allocated. A frame that is cut short is refused unless `partial`. Throws Refusal.
/// Where it needs the library it may also abort or run for long: call it where that does no harm.
StoredFrame DecodePixels(const PixelSource& source, const std::string& syntax, const PixelHeader& header,
                         int index, bool partial);
