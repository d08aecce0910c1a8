#include <HST/HST_AutoWindow.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "pixel_counts.h"

namespace {

constexpr int kNoPadding = -100000;

struct Settings {
    int bits;
    bool isSigned;
    bool fullRange;
    /// Values that are left out, from first to last; none when first is above last.
    std::int64_t firstPadding;
    std::int64_t lastPadding;
};

/// The smallest and the largest value of the window.
struct Ends {
    int low;
    int high;
};

enum class Outcome { kMeasured, kOnlyPadding, kBeyondDepth };

/// Counts only the pixels that can matter. The window's ends lie far out among the values, so that a few
/// samples show a range in between whose pixels need no counting. The counts of the others prove that the
/// ends lie among them; if they do not, all are counted.
template <class Word, class Count>
class Measurement {
public:
    Measurement(const hst::PixelRegion<Word>& region, const Settings& settings)
        : m_Region(region),
          m_Lowest(settings.isSigned ? -(1 << (settings.bits - 1)) : 0),
          m_Rule{static_cast<Word>(m_Lowest), 1u << settings.bits},
          m_FullRange(settings.fullRange),
          m_PaddingBegin(key_within(settings.firstPadding)),
          m_PaddingEnd(std::max(key_within(settings.lastPadding + 1), m_PaddingBegin)),
          m_Bins(m_Rule.values + 1) {}

    Outcome Run(Ends& ends) {
        hst::QuietKeys quiet = find_quiet();
        for (;;) {
            hst::CountRegion(m_Region, m_Rule, quiet, m_Bins.data());
            if (m_Bins[m_Rule.values] != 0) return Outcome::kBeyondDepth;
            const std::uint64_t padding = sum(m_PaddingBegin, m_PaddingEnd);
            const std::uint64_t total = pixels() - padding;
            if (total == 0) return Outcome::kOnlyPadding;
            std::fill(m_Bins.begin() + m_PaddingBegin, m_Bins.begin() + m_PaddingEnd, Count{0});

            const std::uint64_t cut = m_FullRange ? 0 : (total - 1) / 100;
            if (quiet.None() || (cut < sum(0, quiet.first) && cut < sum(quiet.last + 1, m_Rule.values))) {
                ends = {value_at(cut, false), value_at(cut, true)};
                if (ends.low == ends.high) ends = {value_at(0, false), value_at(0, true)};
                return Outcome::kMeasured;
            }
            quiet = {};
            std::fill(m_Bins.begin(), m_Bins.end(), Count{0});
        }
    }

private:
    static constexpr int kSamples = 2048;

    unsigned key_within(std::int64_t value) const {
        return static_cast<unsigned>(std::clamp<std::int64_t>(value - m_Lowest, 0, m_Rule.values));
    }
    std::uint64_t pixels() const {
        return static_cast<std::uint64_t>(m_Region.columns) * static_cast<std::uint64_t>(m_Region.rows);
    }
    bool is_padding(unsigned key) const { return key >= m_PaddingBegin && key < m_PaddingEnd; }

    std::uint64_t sum(unsigned first, unsigned end) const {
        std::uint64_t sum = 0;
        for (unsigned i = first; i < end; ++i) sum += m_Bins[i];
        return sum;
    }

    /// The value of the pixel at `rank`, from 0, in ascending or descending order. Far fewer than all bins
    /// may have counts, so whole steps are added up first.
    int value_at(std::uint64_t rank, bool descending) const {
        const unsigned step = std::min(m_Rule.values, 256u);
        unsigned first = descending ? m_Rule.values - step : 0;
        for (std::uint64_t counted; (counted = sum(first, first + step)) <= rank;) {
            rank -= counted;
            first = descending ? first - step : first + step;
        }
        unsigned key = descending ? first + step - 1 : first;
        for (; m_Bins[key] <= rank; key = descending ? key - 1 : key + 1) rank -= m_Bins[key];
        return m_Lowest + static_cast<int>(key);
    }

    /// Samples that lie an odd number of pixels apart, so that they come from all columns. Of n samples, 1%
    /// and three standard deviations are left on each side. The bins are 0 again afterwards.
    hst::QuietKeys find_quiet() {
        const auto step = static_cast<std::ptrdiff_t>(pixels() / kSamples) | 1;
        if (step < 8) return {};
        std::array<std::uint16_t, kSamples> keys;
        std::size_t n = 0;
        unsigned lowest = m_Rule.values, highest = 0;
        for (std::ptrdiff_t x = 0, y = 0; y < m_Region.rows && n < keys.size();) {
            const unsigned key = m_Rule.Key(m_Region.first[y * m_Region.rowLength + x]);
            if (key < m_Rule.values && !is_padding(key)) {
                keys[n++] = static_cast<std::uint16_t>(key);
                ++m_Bins[key];
                lowest = std::min(lowest, key);
                highest = std::max(highest, key);
            }
            x += step % m_Region.columns;
            y += step / m_Region.columns;
            if (x >= m_Region.columns) x -= m_Region.columns, ++y;
        }
        const double percent = static_cast<double>(n) / 100;
        const auto wanted = m_FullRange ? 1 : static_cast<std::size_t>(percent + 3 * std::sqrt(percent)) + 1;
        hst::QuietKeys quiet;
        if (n >= 2 * wanted) {
            quiet = {lowest, highest};
            for (Count seen = 0; seen < wanted;) seen += m_Bins[quiet.first++];
            for (Count seen = 0; seen < wanted && !quiet.None();) seen += m_Bins[quiet.last--];
        }
        for (std::size_t i = 0; i < n; ++i) m_Bins[keys[i]] = 0;
        const bool meetsPadding = m_PaddingBegin <= quiet.last && m_PaddingEnd > quiet.first;
        return meetsPadding ? hst::QuietKeys{} : quiet;
    }

    const hst::PixelRegion<Word> m_Region;
    const int m_Lowest;
    const hst::KeyRule<Word> m_Rule;
    const bool m_FullRange;
    const unsigned m_PaddingBegin;  ///< as keys
    const unsigned m_PaddingEnd;
    std::vector<Count> m_Bins;  ///< and one for pixels beyond the depth
};

template <class Word, class Count>
bool measure(const hst::PixelRegion<Word>& region, Settings settings, Ends& ends) {
    Outcome outcome = Measurement<Word, Count>(region, settings).Run(ends);
    if (outcome == Outcome::kBeyondDepth) {
        settings.bits = 8 * sizeof(Word);
        outcome = Measurement<Word, Count>(region, settings).Run(ends);
    }
    return outcome == Outcome::kMeasured;
}

template <class Word>
bool measure(const void* pixels, int x0, int y0, int x1, int y1, int rowLength, const Settings& settings,
             Ends& ends) {
    hst::PixelRegion<Word> region = {static_cast<const Word*>(pixels) + std::ptrdiff_t{y0} * rowLength + x0,
                                     rowLength, x1 - x0, y1 - y0};
    if (region.columns == rowLength) region = {region.first, rowLength, region.columns * region.rows, 1};
    // Every count may be that of all pixels.
    return region.columns <= std::numeric_limits<std::uint32_t>::max() / region.rows
               ? measure<Word, std::uint32_t>(region, settings, ends)
               : measure<Word, std::uint64_t>(region, settings, ends);
}

}  // namespace

int HST_AutoWindow::AutoWindowing(void* pixels, int x0, int y0, int x1, int y1, int rowLength,
                                  const Dicom_CS&, bool, int bitsPerPixel, int paddingValue, int paddingLimit,
                                  bool bSigned, bool bFullRange) {
    if (pixels == nullptr || bitsPerPixel < 1 || bitsPerPixel > 16) return -1;
    if (x0 < 0 || y0 < 0 || x0 >= x1 || y0 >= y1 || x1 > rowLength) return -1;

    Settings settings = {bitsPerPixel, bSigned, bFullRange, 0, -1};
    if (paddingValue != kNoPadding) {
        settings.firstPadding = std::min(paddingValue, paddingLimit);
        settings.lastPadding = std::max(paddingValue, paddingLimit);
    }
    const auto run = bitsPerPixel > 8 ? measure<std::uint16_t> : measure<std::uint8_t>;
    Ends ends;
    if (!run(pixels, x0, y0, x1, y1, rowLength, settings, ends)) return -1;

    const int low = ends.low, high = ends.high;
    m_bConstant = low == high;
    m_Width = std::max(high - low, 1);
    // Half a width of 1 truncates to 0, so that the centre itself is white: it belongs on the upper of two
    // neighbours, and above a constant.
    m_Center = high - low > 1 ? (low + high) / 2.0 : low + 1;
    return 0;
}
