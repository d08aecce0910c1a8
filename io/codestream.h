#pragma once

#include <cstdint>
#include <string>

/// A compressed frame's own description, read before a decoder gets the frame.
struct CodestreamHeader {
    enum Kind { kNone, kJpeg, kJpegLs, kJpeg2000 };
    Kind kind = kNone;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int components = 0;
    int bits = 0;
    /// Only JPEG 2000 has signed samples.
    bool isSigned = false;
    /// The three components are luminance and two colour differences, or become red, green and blue on
    /// decoding.
    enum Colour { kUnknown, kYbr, kRgb };
    Colour colour = kUnknown;
};

/// Looks through the marker segments of a JPEG (ISO 10918-1), JPEG-LS (14495-1) or JPEG 2000 (15444-1) stream
/// up to the sizes. kind is kNone when there are none.
CodestreamHeader ReadCodestreamHeader(const std::string& bytes);

/// Decodes one frame of DICOM PS3.5 Annex G run-length coding: byte planes, most significant first, of
/// `samples` samples of `sampleBytes` bytes. The result is interleaved and little-endian. Returns how many
/// pixels are complete: fewer than `pixels` when a segment is damaged or too short.
std::size_t DecodeRle(const std::string& bytes, std::size_t pixels, int samples, int sampleBytes,
                      std::string* frame);
