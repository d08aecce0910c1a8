#include "pixel_conversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

std::optional<Padding> ReadPadding(const DicomDataSet& dataSet, bool isSigned) {
    constexpr int kAbsent = -1;
    const int value = dataSet.Word(tag::kPixelPaddingValue, kAbsent);
    if (value == kAbsent) return std::nullopt;
    const int limit = dataSet.Word(tag::kPixelPaddingRangeLimit, value);
    if (!isSigned) return Padding{value, limit};
    return Padding{static_cast<std::int16_t>(value), static_cast<std::int16_t>(limit)};
}

void MonoPixels::Put(std::size_t pixel, std::int32_t value) {
    if (bits <= 8) {
        bytes[pixel] = static_cast<std::uint8_t>(value);
        return;
    }
    const auto word = static_cast<std::uint16_t>(value);
    std::memcpy(&bytes[2 * pixel], &word, 2);
}

std::int32_t MonoPixels::Get(std::size_t pixel) const {
    if (bits <= 8) return isSigned ? static_cast<std::int8_t>(bytes[pixel]) : bytes[pixel];
    std::uint16_t word = 0;
    std::memcpy(&word, &bytes[2 * pixel], 2);
    return isSigned ? static_cast<std::int16_t>(word) : word;
}

DeepReduction ReduceDeepPixels(std::int64_t low, std::int64_t high) {
    DeepReduction reduction;
    if (low >= 0 && high <= 65535) return reduction;
    reduction.isSigned = low < 0 && low >= -32768 && high <= 32767;
    if (reduction.isSigned) return reduction;
    reduction.offset = low;
    reduction.divisor = std::max<std::int64_t>(1, (high - low + 65534) / 65535);
    return reduction;
}

RealReduction ReduceRealPixels(const StoredFrame& frame, const DicomDataSet& dataSet, MonoPixels* pixels) {
    const auto number = [&dataSet](std::uint32_t single, std::uint32_t wide) -> std::optional<double> {
        for (const std::uint32_t tag : {wide, single}) {
            const std::vector<double> numbers = dataSet.Numbers(tag, 1);
            if (!numbers.empty()) return numbers[0];
        }
        return std::nullopt;
    };
    const std::optional<double> padding = number(tag::kFloatPixelPadding, tag::kDoubleFloatPixelPadding),
                                limit =
                                    number(tag::kFloatPixelPaddingLimit, tag::kDoubleFloatPixelPaddingLimit);
    // What lies farther out counts as the end of the range, the width of which would overflow.
    constexpr double kFarthest = 8.5e307;
    const auto is_absent = [&](double value) {
        if (!std::isfinite(value)) return true;
        if (!padding) return false;
        const double other = limit.value_or(*padding);
        return value >= std::min(*padding, other) && value <= std::max(*padding, other);
    };
    RealReduction reduction;
    double low = 0.0, high = 0.0;
    bool isAny = false, areWhole = true;
    for (std::size_t i = 0; i < frame.present; ++i) {
        const double value = frame.Real(i);
        if (is_absent(value)) {
            ++reduction.absent;
            continue;
        }
        const double near = std::clamp(value, -kFarthest, kFarthest);
        low = isAny ? std::min(low, near) : near;
        high = isAny ? std::max(high, near) : near;
        areWhole = areWhole && value == std::floor(value);
        isAny = true;
    }
    const double first = reduction.absent > 0 ? 1.0 : 0.0, last = 65535.0 - first;
    reduction.step = areWhole && high - low <= last ? 1.0 : (high - low) / last;
    if (!(reduction.step > std::numeric_limits<double>::min())) reduction.step = 1.0;
    for (std::size_t i = 0; i < frame.present; ++i) {
        const double value = frame.Real(i);
        const double level = std::round((value - low) / reduction.step) + first;
        pixels->Put(i, is_absent(value) ? 0 : static_cast<std::int32_t>(std::clamp(level, first, 65535.0)));
    }
    reduction.offset = low - first * reduction.step;
    return reduction;
}

namespace {

/// A level of `bits` bits as one of 8, the full range kept, nearest.
std::uint8_t to_8_bits(std::uint64_t value, int bits) {
    if (bits == 8) return static_cast<std::uint8_t>(value);
    const std::uint64_t top = (std::uint64_t{1} << bits) - 1;
    return static_cast<std::uint8_t>((value * 255 + top / 2) / top);
}

}  // namespace

std::uint8_t StoredTable::ByteAt(std::int64_t value) const { return to_8_bits(At(value), bits); }

std::uint16_t StoredTable::At(std::int64_t value) const {
    const std::int64_t last = static_cast<std::int64_t>(entries.size()) - 1;
    const std::int64_t index = value - first;
    return entries[static_cast<std::size_t>(std::clamp<std::int64_t>(index, 0, last))];
}

namespace {

struct Descriptor {
    std::size_t entries = 0;
    std::int32_t first = 0;
    int bits = 0;
};

Descriptor read_descriptor(const DicomDataSet& dataSet, std::uint32_t tag, bool isSigned) {
    Descriptor descriptor;
    const int entries = dataSet.Word(tag, -1, 0);
    if (entries < 0) return descriptor;
    descriptor.entries = entries == 0 ? 65536 : static_cast<std::size_t>(entries);
    const int first = dataSet.Word(tag, 0, 1);
    descriptor.first = isSigned ? static_cast<std::int16_t>(first) : first;
    descriptor.bits = dataSet.Word(tag, 16, 2);
    if (descriptor.bits < 1 || descriptor.bits > 16) descriptor.bits = 16;
    return descriptor;
}

std::vector<std::uint16_t> units(const std::string& bytes, bool inWords) {
    std::vector<std::uint16_t> values;
    const std::size_t step = inWords ? 2 : 1;
    values.reserve(bytes.size() / step);
    for (std::size_t i = 0; i + step <= bytes.size(); i += step) {
        const unsigned low = static_cast<unsigned char>(bytes[i]);
        const unsigned high = inWords ? static_cast<unsigned char>(bytes[i + 1]) : 0U;
        values.push_back(static_cast<std::uint16_t>(low | (high << 8)));
    }
    return values;
}

/// Limits the entries to what the descriptor says; entries too large for 8 bits show that it means 16.
StoredTable finish(const Descriptor& descriptor, std::vector<std::uint16_t> entries) {
    StoredTable table;
    if (entries.size() > descriptor.entries) entries.resize(descriptor.entries);
    table.first = descriptor.first;
    table.bits = descriptor.bits;
    const int top = (1 << table.bits) - 1;
    for (std::uint16_t& entry : entries) {
        if (entry > top && table.bits == 8) table.bits = 16;
        if (table.bits != 16) entry = static_cast<std::uint16_t>(std::min<int>(entry, top));
    }
    table.entries = std::move(entries);
    return table;
}

/// Appends what one discrete or linear segment describes (PS3.3 C.7.9.2.1, C.7.9.2.2). False at the end of
/// the data or where they make no sense.
bool expand_segment(const std::vector<std::uint16_t>& data, std::size_t& at, std::size_t limit,
                    std::vector<std::uint16_t>& entries) {
    if (data.size() - at < 2) return false;
    const unsigned opcode = data[at];
    if (data[at + 1] == 0) return false;
    const std::size_t length = std::min<std::size_t>(data[at + 1], limit - entries.size());
    if (opcode == 0) {
        if (data.size() - at - 2 < length) return false;
        entries.insert(entries.end(), data.begin() + static_cast<std::ptrdiff_t>(at) + 2,
                       data.begin() + static_cast<std::ptrdiff_t>(at + 2 + length));
        at += 2 + static_cast<std::size_t>(data[at + 1]);
        return at <= data.size();
    }
    if (opcode == 1) {
        if (data.size() - at < 3 || entries.empty()) return false;
        const std::int64_t from = entries.back(), to = data[at + 2], steps = data[at + 1];
        for (std::size_t i = 1; i <= length; ++i) {
            const std::int64_t step = static_cast<std::int64_t>(i);
            entries.push_back(static_cast<std::uint16_t>(from + (to - from) * step / steps));
        }
        at += 3;
        return true;
    }
    return false;
}

}  // namespace

StoredTable ReadStoredTable(const DicomDataSet& dataSet, std::uint32_t descriptorTag, std::uint32_t dataTag,
                            bool isSigned) {
    const Descriptor descriptor = read_descriptor(dataSet, descriptorTag, isSigned);
    const DicomElement* data = dataSet.Find(dataTag);
    if (descriptor.entries == 0 || data == nullptr) return StoredTable();
    const bool inWords = descriptor.bits > 8 || data->bytes.size() >= 2 * descriptor.entries;
    return finish(descriptor, units(data->bytes, inWords));
}

StoredTable ReadSegmentedTable(const DicomDataSet& dataSet, std::uint32_t descriptorTag,
                               std::uint32_t dataTag, bool isSigned) {
    const Descriptor descriptor = read_descriptor(dataSet, descriptorTag, isSigned);
    const DicomElement* element = dataSet.Find(dataTag);
    if (descriptor.entries == 0 || element == nullptr) return StoredTable();
    const std::size_t unit = descriptor.bits > 8 ? 2 : 1;
    const std::vector<std::uint16_t> data = units(element->bytes, unit == 2);
    std::vector<std::uint16_t> entries;
    for (std::size_t at = 0; at < data.size() && entries.size() < descriptor.entries;) {
        if (data[at] != 2) {
            if (!expand_segment(data, at, descriptor.entries, entries)) break;
            continue;
        }
        // An indirect segment copies a number of earlier segments, given by their place in bytes (C.7.9.2.3).
        if (data.size() - at < 4) break;
        const unsigned shift = unit == 2 ? 16 : 8;
        std::size_t from = (data[at + 2] | (static_cast<std::size_t>(data[at + 3]) << shift)) / unit;
        for (unsigned left = data[at + 1]; left > 0; --left) {
            if (from >= at || !expand_segment(data, from, descriptor.entries, entries)) break;
        }
        at += 4;
    }
    return finish(descriptor, std::move(entries));
}

bool ReadPalette(const DicomDataSet& dataSet, bool isSigned, StoredTable (&tables)[3]) {
    for (unsigned c = 0; c < 3; ++c) {
        const std::uint32_t descriptor = tag::kPaletteDescriptor + c;
        tables[c] = ReadStoredTable(dataSet, descriptor, tag::kPaletteData + c, isSigned);
        if (tables[c].entries.empty())
            tables[c] = ReadSegmentedTable(dataSet, descriptor, tag::kSegmentedPaletteData + c, isSigned);
        if (tables[c].entries.empty()) return false;
    }
    return true;
}

namespace {

/// From the bits of a sample to its value.
struct SampleForm {
    int shift;
    std::int64_t mask;
    std::int64_t sign;

    explicit SampleForm(const StoredFrame& frame)
        : shift(frame.highBit + 1 - frame.bitsStored),
          mask((std::int64_t{1} << frame.bitsStored) - 1),
          sign(frame.isSigned ? std::int64_t{1} << (frame.bitsStored - 1) : 0) {}
    std::int64_t Value(std::uint32_t bits) const {
        return (((std::int64_t{bits} >> shift) & mask) ^ sign) - sign;
    }
};

/// Calls take(i, value) for the first `count` samples.
template <typename Take>
void for_samples(const StoredFrame& frame, std::size_t count, Take take) {
    const SampleForm form(frame);
    const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data.data());
    if (frame.sampleBytes == 1) {
        for (std::size_t i = 0; i < count; ++i) take(i, form.Value(bytes[i]));
    } else if (frame.sampleBytes == 2) {
        for (std::size_t i = 0; i < count; ++i)
            take(i, form.Value(bytes[2 * i] | static_cast<std::uint32_t>(bytes[2 * i + 1]) << 8));
    } else {
        for (std::size_t i = 0; i < count; ++i) take(i, form.Value(frame.Bits(i)));
    }
}

/// Smallest and largest of the values that it sees.
class Extremes {
public:
    explicit Extremes(const std::optional<Padding>& padding) : m_bPadding(padding) {
        if (padding) m_Padding = *padding;
    }
    void See(std::int64_t value) {
        if (m_bPadding && m_Padding.Has(value)) return;
        m_Low = std::min(m_Low, value);
        m_High = std::max(m_High, value);
    }
    void Widen(ValueRange* range) const {
        if (m_Low > m_High) return;
        ::Widen(*range, m_Low);
        ::Widen(*range, m_High);
    }

private:
    bool m_bPadding;
    Padding m_Padding;
    std::int64_t m_Low = std::numeric_limits<std::int64_t>::max();
    std::int64_t m_High = std::numeric_limits<std::int64_t>::min();
};

/// A number of a little-endian file in this machine's order.
template <typename Number>
Number from_file(Number number) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    auto* bytes = reinterpret_cast<unsigned char*>(&number);
    std::reverse(bytes, bytes + sizeof number);
#endif
    return number;
}

/// Samples of type Stored as pixels of type Pixel, block by block: loops of known length become vector
/// instructions.
template <typename Stored, typename Pixel>
void put_samples(const char* from, std::size_t count, const SampleForm& form, std::uint8_t* to) {
    constexpr std::size_t kBlock = 64;
    Stored stored[kBlock] = {};
    Pixel pixels[kBlock];
    const auto mask = static_cast<std::uint16_t>(form.mask), sign = static_cast<std::uint16_t>(form.sign);
    const int shift = form.shift;
    for (std::size_t done = 0; done < count; done += kBlock) {
        const std::size_t size = std::min(kBlock, count - done);
        std::memcpy(stored, from + done * sizeof(Stored), size * sizeof(Stored));
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto bits = static_cast<std::uint16_t>((from_file(stored[i]) >> shift) & mask);
            pixels[i] = static_cast<Pixel>((bits ^ sign) - sign);
        }
        std::memcpy(to + done * sizeof(Pixel), pixels, size * sizeof(Pixel));
    }
}

template <typename Pixel>
void see_pixels(const MonoPixels& pixels, std::size_t count, bool isPadded, Extremes* extremes) {
    constexpr std::size_t kBlock = 64;
    Pixel block[kBlock];
    for (std::size_t done = 0; done < count;) {
        const std::size_t size = std::min(kBlock, count - done);
        std::memcpy(block, &pixels.bytes[done * sizeof(Pixel)], size * sizeof(Pixel));
        done += size;
        if (isPadded || size < kBlock) {
            for (std::size_t i = 0; i < size; ++i) extremes->See(block[i]);
            continue;
        }
        Pixel low = block[0], high = block[0];
        for (std::size_t i = 0; i < kBlock; ++i) {
            low = std::min(low, block[i]);
            high = std::max(high, block[i]);
        }
        extremes->See(low);
        extremes->See(high);
    }
}

}  // namespace

std::int64_t SampleValue(const StoredFrame& frame, std::size_t i) {
    return SampleForm(frame).Value(frame.Bits(i));
}

void ConvertSamples(const StoredFrame& frame, MonoPixels* pixels) {
    const SampleForm form(frame);
    const char* from = frame.data.data();
    std::uint8_t* to = pixels->bytes.data();
    if (frame.sampleBytes == 1) {
        put_samples<std::uint8_t, std::uint8_t>(from, frame.present, form, to);
    } else if (frame.sampleBytes == 2) {
        pixels->bits <= 8 ? put_samples<std::uint16_t, std::uint8_t>(from, frame.present, form, to)
                          : put_samples<std::uint16_t, std::uint16_t>(from, frame.present, form, to);
    } else {
        for_samples(frame, frame.present, [pixels](std::size_t i, std::int64_t value) {
            pixels->Put(i, static_cast<std::int32_t>(value));
        });
    }
}

void WidenBySamples(const StoredFrame& frame, const std::optional<Padding>& padding, ValueRange* range) {
    Extremes extremes(padding);
    for_samples(frame, frame.present, [&](std::size_t, std::int64_t value) { extremes.See(value); });
    extremes.Widen(range);
}

ValueRange RangeOfPixels(const MonoPixels& pixels, std::size_t count, const std::optional<Padding>& padding) {
    Extremes extremes(padding);
    if (pixels.bits <= 8) {
        pixels.isSigned ? see_pixels<std::int8_t>(pixels, count, padding.has_value(), &extremes)
                        : see_pixels<std::uint8_t>(pixels, count, padding.has_value(), &extremes);
    } else {
        pixels.isSigned ? see_pixels<std::int16_t>(pixels, count, padding.has_value(), &extremes)
                        : see_pixels<std::uint16_t>(pixels, count, padding.has_value(), &extremes);
    }
    ValueRange range;
    extremes.Widen(&range);
    return range;
}

namespace {

/// Rounded from 16 fraction bits and limited.
std::uint8_t from_fixed(std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp((value + 32768) >> 16, 0, 255));
}

/// PS3.3 C.7.6.3.1.2, with the factors 1.402, 0.344136, 0.714136 and 1.772 in 16 fraction bits.
void ybr_to_rgb(std::uint8_t* pixel) {
    const std::int32_t y = pixel[0] * 65536, cb = pixel[1] - 128, cr = pixel[2] - 128;
    pixel[0] = from_fixed(y + 91881 * cr);
    pixel[1] = from_fixed(y - 22553 * cb - 46802 * cr);
    pixel[2] = from_fixed(y + 116130 * cb);
}

}  // namespace

Picture ConvertToTrueColour(const StoredFrame& frame, const StoredTable* palette) {
    Picture picture(frame.columns, frame.rows);
    const std::size_t pixels = frame.Pixels();
    if (frame.photometric == "PALETTE COLOR") {
        for_samples(frame, pixels, [&](std::size_t i, std::int64_t value) {
            for (std::size_t c = 0; c < 3; ++c) picture.bytes[3 * i + c] = palette[c].ByteAt(value);
        });
        return picture;
    }
    const std::uint64_t mask = (std::uint64_t{1} << frame.bitsStored) - 1;
    for_samples(frame, 3 * pixels, [&](std::size_t i, std::int64_t value) {
        picture.bytes[i] = to_8_bits(static_cast<std::uint64_t>(value) & mask, frame.bitsStored);
    });
    if (frame.photometric == "YBR_FULL") {
        for (std::size_t i = 0; i < pixels; ++i) ybr_to_rgb(&picture.bytes[3 * i]);
    }
    return picture;
}
