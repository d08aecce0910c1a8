#include <HST/HST_AutoWindow.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr int kNoPadding = -100000;

/// Pixels of a region by value; element 0 counts those of `lowest`.
struct Counts {
    int lowest;
    std::vector<std::uint64_t> pixels;
};

template <class Pixel>
Counts CountPixels(const void* pixels, int x0, int y0, int x1, int y1, std::ptrdiff_t rowLength) {
    constexpr int kValues = 1 << (8 * sizeof(Pixel));
    const int lowest = static_cast<Pixel>(-1) < 0 ? -kValues / 2 : 0;
    Counts counts = {lowest, std::vector<std::uint64_t>(kValues)};
    for (std::ptrdiff_t y = y0; y < y1; ++y) {
        const Pixel* const row = static_cast<const Pixel*>(pixels) + y * rowLength;
        for (std::ptrdiff_t x = x0; x < x1; ++x) ++counts.pixels[static_cast<std::size_t>(row[x] - lowest)];
    }
    return counts;
}

/// The value of the pixel at `rank`, from 0, among the counted ones in ascending order.
int ValueAt(const Counts& counts, std::uint64_t rank) {
    std::size_t i = 0;
    for (; rank >= counts.pixels[i]; ++i) rank -= counts.pixels[i];
    return counts.lowest + static_cast<int>(i);
}

}  // namespace

int HST_AutoWindow::AutoWindowing(void* pixels, int x0, int y0, int x1, int y1, int rowLength,
                                  const Dicom_CS&, bool, int bitsPerPixel, int paddingValue, int paddingLimit,
                                  bool bSigned, bool bFullRange) {
    if (pixels == nullptr || bitsPerPixel < 1 || bitsPerPixel > 16) return -1;
    if (x0 < 0 || y0 < 0 || x0 >= x1 || y0 >= y1 || x1 > rowLength) return -1;

    const auto count = bitsPerPixel > 8 ? (bSigned ? CountPixels<std::int16_t> : CountPixels<std::uint16_t>)
                                        : (bSigned ? CountPixels<std::int8_t> : CountPixels<std::uint8_t>);
    Counts counts = count(pixels, x0, y0, x1, y1, rowLength);
    if (paddingValue != kNoPadding) {
        const std::int64_t first = std::min(paddingValue, paddingLimit);
        const std::int64_t last = std::max(paddingValue, paddingLimit);
        const std::int64_t end = static_cast<std::int64_t>(counts.pixels.size());
        for (std::int64_t i = std::max<std::int64_t>(first - counts.lowest, 0);
             i < end && i <= last - counts.lowest; ++i) {
            counts.pixels[static_cast<std::size_t>(i)] = 0;
        }
    }
    std::uint64_t total = 0;
    for (const std::uint64_t n : counts.pixels) total += n;
    if (total == 0) return -1;

    const std::uint64_t cut = bFullRange ? 0 : (total - 1) / 100;
    int low = ValueAt(counts, cut);
    int high = ValueAt(counts, total - 1 - cut);
    if (low == high) {
        low = ValueAt(counts, 0);
        high = ValueAt(counts, total - 1);
    }
    m_bConstant = low == high;
    m_Width = std::max(high - low, 1);
    // Half a width of 1 truncates to 0, so that the centre itself is white: it belongs on the upper of two
    // neighbours, and above a constant.
    m_Center = high - low > 1 ? (low + high) / 2.0 : low + 1;
    return 0;
}
