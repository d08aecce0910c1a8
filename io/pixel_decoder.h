#pragma once

#include <gdcmDataElement.h>
#include <gdcmTransferSyntax.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "dicom_reader.h"

/// Why a file cannot be presented. The file's name is put before it by whoever knows it.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "1 row", "2 rows".
std::string CountOf(std::uint64_t number, const char* noun);

/// What the data set says of the pixels, tested: sizes above 0, depths that fit each other.
struct PixelHeader {
    int frames = 1;
    /// 1: all of the first colour, then all of the second, ...
    int planar = 0;
    /// As the file gives it; a name such as YBR_FULL_422 tells how the samples lie.
    std::string photometric;
    /// Sizes and depths; sampleBytes and data are still to come.
    StoredFrame frame;
};

/// No decoded frame takes more.
constexpr std::uint64_t kMaxFrameBytes = std::uint64_t{1} << 30;

/// Decodes frame `index`, which is below header.frames. Sizes are held against the bytes that are there
/// before anything is allocated. Throws Refusal. May also abort or run for long: call it where that does no
/// harm.
StoredFrame DecodePixels(const gdcm::DataElement& pixels, const gdcm::TransferSyntax& syntax,
                         const PixelHeader& header, int index);
