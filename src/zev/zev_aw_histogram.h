#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Counting the pixels of a region by value. A bin holds 32 bits; counts beyond wrap.
namespace zev {

/// A pixel's bin is (pixel + bias) & mask, with bias 0 for unsigned pixels. Since the mask has at most 16
/// bits, the pixel's unsigned bits give the same bin as its signed value.
struct BinRule {
    unsigned bias;
    unsigned mask;
};

/// For a depth of 1 to 16 bits.
inline BinRule ResolveBinRule(int bitsPerPixel, bool isSigned) {
    return {isSigned ? 1u << (bitsPerPixel - 1) : 0u, (1u << bitsPerPixel) - 1u};
}

template <class Pixel>
struct PixelRegion {
    const Pixel* first;        ///< the region's upper left pixel
    std::ptrdiff_t rowLength;  ///< pixels from one row to the next
    int columns;
    int rows;

    bool Empty() const { return columns <= 0 || rows <= 0; }
    const Pixel* Row(int y) const { return first + y * rowLength; }
};

template <class Pixel>
constexpr int kBinsOf = 1 << (8 * sizeof(Pixel));

/// One pixel after the other.
template <class Pixel>
void CountPlain(const PixelRegion<Pixel>& region, BinRule rule, std::uint32_t* bins) {
    for (int y = 0; y < region.rows; ++y) {
        const Pixel* const row = region.Row(y);
        for (int x = 0; x < region.columns; ++x) ++bins[(row[x] + rule.bias) & rule.mask];
    }
}

// ---- The fast way ---- A counter that was just written cannot be read for several cycles, so counting equal
// neighbours one by one stalls. Eight equal pixels are counted at once, and other neighbours go to different
// copies of the histogram.

/// Equal bins of two copies must not share the low 12 bits of their address: the processor would take them
/// for one.
constexpr std::size_t kCopyPadding = 80;

/// Four copies of a histogram of up to Bins bins.
template <std::size_t Bins>
struct FourCopies {
    static constexpr std::size_t kStride = Bins + kCopyPadding;
    static constexpr std::size_t kSize = 4 * kStride;

    template <int Lane>
    void Add(unsigned bin) const {
        ++bins[bin + Lane * kStride];
    }
    void AddEight(unsigned bin) const { bins[bin] += 8; }
    /// Leaves the sums in the first copy, `size` bins of it, and 0 behind them.
    void Fold(std::size_t size) const {
        for (std::size_t b = 0; b < size; ++b) {
            bins[b] += bins[b + kStride] + bins[b + 2 * kStride] + bins[b + 3 * kStride];
        }
        std::memset(bins + size, 0, (kSize - size) * sizeof *bins);
    }

    std::uint32_t* bins;
};

/// A single histogram, for values that stay close together.
struct OneCopy {
    template <int>
    void Add(unsigned bin) const {
        ++bins[bin];
    }
    void AddEight(unsigned bin) const { bins[bin] += 8; }

    std::uint32_t* bins;
};

/// The low byte of each count lies apart, for values that lie so far apart that whole counts would not fit a
/// cache.
struct LowBytesApart {
    template <int>
    void Add(unsigned bin) const {
        if (++low[bin] == 0) bins[bin] += 256;
    }
    void AddEight(unsigned bin) const { bins[bin] += 8; }
    void Fold() const {
        for (std::size_t b = 0; b < kBinsOf<std::uint16_t>; ++b) bins[b] += low[b];
    }

    std::uint32_t* bins;
    std::uint8_t* low;
};

/// Counts `count` pixels. The order of the lanes in a word does not matter: all of them are counted.
template <class Table>
void CountRow(const std::uint16_t* pixels, int count, BinRule rule, Table table) {
    const auto bin = [rule](std::uint64_t bits) {
        return (static_cast<unsigned>(bits) + rule.bias) & rule.mask;
    };
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        std::uint64_t a, b;
        std::memcpy(&a, pixels + i, 8);
        std::memcpy(&b, pixels + i + 4, 8);
        if (a == b && a == (a << 16 | a >> 48)) {
            table.AddEight(bin(a));
            continue;
        }
        table.template Add<0>(bin(a)), table.template Add<1>(bin(a >> 16));
        table.template Add<2>(bin(a >> 32)), table.template Add<3>(bin(a >> 48));
        table.template Add<0>(bin(b)), table.template Add<1>(bin(b >> 16));
        table.template Add<2>(bin(b >> 32)), table.template Add<3>(bin(b >> 48));
    }
    for (; i < count; ++i) table.template Add<0>(bin(pixels[i]));
}

template <class Table>
void CountRow(const std::uint8_t* pixels, int count, BinRule rule, Table table) {
    const auto bin = [rule](std::uint64_t bits) {
        return (static_cast<unsigned>(bits) + rule.bias) & rule.mask;
    };
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        std::uint64_t a;
        std::memcpy(&a, pixels + i, 8);
        if (a == (a << 8 | a >> 56)) {
            table.AddEight(bin(a));
            continue;
        }
        table.template Add<0>(bin(a)), table.template Add<1>(bin(a >> 8));
        table.template Add<2>(bin(a >> 16)), table.template Add<3>(bin(a >> 24));
        table.template Add<0>(bin(a >> 32)), table.template Add<1>(bin(a >> 40));
        table.template Add<2>(bin(a >> 48)), table.template Add<3>(bin(a >> 56));
    }
    for (; i < count; ++i) table.template Add<0>(bin(pixels[i]));
}

/// Whether a row's values seem to lie far apart, judged by a few of them, since a wrong guess costs time
/// only.
inline bool LooksWide(const std::uint16_t* pixels, int count, BinRule rule) {
    constexpr int kSamples = 16;
    constexpr unsigned kWide = 8192;
    unsigned lowest = rule.mask, highest = 0;
    for (int k = 0; k < kSamples && count >= 8 * kSamples; ++k) {
        const unsigned bin =
            (pixels[static_cast<std::ptrdiff_t>(k) * count / kSamples] + rule.bias) & rule.mask;
        if (bin < lowest) lowest = bin;
        if (bin > highest) highest = bin;
    }
    return highest > lowest && highest - lowest > kWide;
}

/// The histogram of a region in memory of its own. Made for a call's own frame, so that no heap is touched.
template <class Pixel>
class Histogram;

template <>
class Histogram<std::uint8_t> {
public:
    std::uint32_t* Count(const PixelRegion<std::uint8_t>& region, BinRule rule) {
        const Copies copies{m_Bins};
        for (int y = 0; y < region.rows; ++y) CountRow(region.Row(y), region.columns, rule, copies);
        copies.Fold(kBinsOf<std::uint8_t>);
        return m_Bins;
    }

private:
    using Copies = FourCopies<kBinsOf<std::uint8_t>>;
    std::uint32_t m_Bins[Copies::kSize] = {};
};

template <>
class Histogram<std::uint16_t> {
public:
    /// The bins, 65536 whatever the mask. Once per object.
    std::uint32_t* Count(const PixelRegion<std::uint16_t>& region, BinRule rule) {
        if (rule.mask < kCopyBins) {
            // The copies share the room of the deepest histogram.
            const Copies copies{m_Bins};
            for (int y = 0; y < region.rows; ++y) CountRow(region.Row(y), region.columns, rule, copies);
            copies.Fold(rule.mask + 1);
        } else {
            count_deep(region, rule);
        }
        return m_Bins;
    }

private:
    static constexpr std::size_t kCopyBins = 16384;
    using Copies = FourCopies<kCopyBins>;
    static_assert(Copies::kSize >= kBinsOf<std::uint16_t>, "the copies' room holds all bins");

    void count_deep(const PixelRegion<std::uint16_t>& region, BinRule rule) {
        std::uint8_t low[kBinsOf<std::uint16_t>] = {};
        const LowBytesApart apart{m_Bins, low};
        for (int y = 0; y < region.rows; ++y) {
            const std::uint16_t* const row = region.Row(y);
            if (LooksWide(row, region.columns, rule)) {
                CountRow(row, region.columns, rule, apart);
            } else {
                CountRow(row, region.columns, rule, OneCopy{m_Bins});
            }
        }
        apart.Fold();
    }

    std::uint32_t m_Bins[Copies::kSize] = {};
};

}  // namespace zev
