#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "dicom_elements.h"
#include "dicom_reader.h"
#include "picture.h"

inline void Widen(ValueRange& range, std::int64_t value) {
    if (!range) range.emplace(value, value);
    range->first = std::min(range->first, value);
    range->second = std::max(range->second, value);
}

/// The values from PixelPaddingValue to PixelPaddingRangeLimit, one way or the other.
struct Padding {
    int value = 0;
    int limit = 0;

    bool Has(std::int64_t pixel) const {
        return pixel >= std::min(value, limit) && pixel <= std::max(value, limit);
    }
};
/// The attributes' 16 bits are read with the sign of the pixels. Nothing without PixelPaddingValue.
std::optional<Padding> ReadPadding(const DicomDataSet& dataSet, bool isSigned);

/// Pixel values as the reference host's rasters take them: in bytes up to 8 bits, else in 16-bit words of
/// this machine; shifted down, masked and, when signed, sign-extended.
struct MonoPixels {
    int bits = 0;
    bool isSigned = false;
    std::vector<std::uint8_t> bytes;

    void Resize(std::size_t pixels) { bytes.resize(bits <= 8 ? pixels : 2 * pixels); }
    void Put(std::size_t pixel, std::int32_t value);
    std::int32_t Get(std::size_t pixel) const;
    std::size_t Count() const { return bits <= 8 ? bytes.size() : bytes.size() / 2; }
};

/// How pixels of more than 16 bits were reduced: stored = (original - offset) / divisor, truncated.
struct DeepReduction {
    std::int64_t offset = 0;
    std::int64_t divisor = 1;
    bool isSigned = false;
};

/// The reduction to 16 bits for pixels from `low` to `high`. It is exact where the range allows.
DeepReduction ReduceDeepPixels(std::int64_t low, std::int64_t high);

/// How real numbers were reduced to unsigned ones of 16 bits: stored = (original - offset) / step, rounded to
/// nearest. What is not a number, or padding, is 0 and lies below all others.
struct RealReduction {
    double offset = 0.0;
    double step = 1.0;
    std::size_t absent = 0;
};
/// Reduces the pixels that are there over their range; whole numbers exactly where the range allows.
RealReduction ReduceRealPixels(const StoredFrame& frame, const DicomDataSet& dataSet, MonoPixels* pixels);

/// A table of the image's own: a Modality LUT (PS3.3 C.11.1) or one colour of a palette (C.7.6.3.1.5). A
/// value below the first mapped one takes the first entry, one beyond the end the last.
struct StoredTable {
    std::int32_t first = 0;
    int bits = 16;
    std::vector<std::uint16_t> entries;

    std::uint16_t At(std::int64_t value) const;
    /// The same as a level of 8 bits, nearest.
    std::uint8_t ByteAt(std::int64_t value) const;
};

/// From a descriptor of three values and its data, which may hold a byte or a word per entry, or segments
/// (C.7.9.2). The first mapped value is signed where the pixels are. Without entries when the data do not
/// make a table.
StoredTable ReadStoredTable(const DicomDataSet& dataSet, std::uint32_t descriptor, std::uint32_t data,
                            bool isSigned);
StoredTable ReadSegmentedTable(const DicomDataSet& dataSet, std::uint32_t descriptor, std::uint32_t data,
                               bool isSigned);

/// The red, green and blue table of a palette, plain or in segments. False where one of them makes no table.
bool ReadPalette(const DicomDataSet& dataSet, bool isSigned, StoredTable (&tables)[3]);

/// The colours, 0xRRGGBB, of pixel values from the first one on; those beyond the end have the last one.
/// Pixel values below are grey.
struct SupplementalPalette {
    std::int32_t first = 0;
    std::vector<std::uint32_t> colours;

    bool Has(std::int32_t pixel) const { return pixel >= first; }
    /// Of a pixel that it has.
    std::uint32_t At(std::int32_t pixel) const {
        const auto index = static_cast<std::size_t>(pixel - first);
        return colours[std::min(index, colours.size() - 1)];
    }
};

/// Sample i of a frame as a number: shifted down by the high bit, masked, sign-extended.
std::int64_t SampleValue(const StoredFrame& frame, std::size_t i);

/// The samples of the pixels that are there, unchanged: up to 16 bits, one sample per pixel. The pixels have
/// their size and depth.
void ConvertSamples(const StoredFrame& frame, MonoPixels* pixels);

/// Includes the samples of the pixels that are there in a range, padding left out. One sample per pixel.
void WidenBySamples(const StoredFrame& frame, const std::optional<Padding>& padding, ValueRange* range);
/// The range of the first `count` pixels, padding left out.
ValueRange RangeOfPixels(const MonoPixels& pixels, std::size_t count, const std::optional<Padding>& padding);

/// RGB, YBR_FULL (PS3.3 C.7.6.3.1.2) or PALETTE COLOR to 8 bits per colour. `palette` has the three tables,
/// red first, and is looked at for PALETTE COLOR only.
Picture ConvertToTrueColour(const StoredFrame& frame, const StoredTable* palette);
