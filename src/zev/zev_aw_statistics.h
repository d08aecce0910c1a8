#pragma once

#include <cmath>
#include <cstdint>

#include "zev_numeric.h"

/// What the calculators read from a histogram. Pure arithmetic; results in stored pixel values.
namespace zev {

struct MeasuredWindow {
    int width;
    int center;
};

/// A filled histogram. Bin b counts the value b - bias. Counts are 32-bit signed, and sums of counts
/// wrap.
struct Bins {
    std::uint32_t* counts;
    int size;
    int bias;

    int operator[](int b) const { return static_cast<int>(counts[b]); }
    /// Highest non-empty bin not below `from`; from - 1 when there is none.
    int Highest(int from) const {
        int b = size - 1;
        while (b >= from && counts[b] == 0) --b;
        return b;
    }
    /// Lowest non-empty bin of from up to but not including end; end when there is none.
    int Lowest(int from, int end) const {
        while (from < end && counts[from] == 0) ++from;
        return from;
    }
};

/// The sum of counts as a 32-bit number.
class CountSum {
public:
    void Add(int count) { m_Sum += static_cast<std::uint32_t>(count); }
    int Get() const { return static_cast<int>(m_Sum); }

private:
    std::uint32_t m_Sum = 0;
};

// ---- Mean and three standard deviations ----

/// `squares[b]` is the square of the value b - bias as a 32-bit float. The histogram must not be empty.
inline MeasuredWindow MeasureByDeviation(const Bins& bins, const float* squares, bool skipLow) {
    const auto total = [&bins](int from, int to, int& count, std::int64_t& sum) {
        CountSum counts;
        sum = 0;
        for (int b = from; b <= to; ++b) {
            counts.Add(bins[b]);
            sum += std::int64_t{bins[b]} * (b - bins.bias);
        }
        count = counts.Get();
    };
    const int top = bins.Highest(0);
    int count = 0;
    std::int64_t sum = 0;
    total(0, top, count, sum);
    const double mean = static_cast<double>(sum) / count;
    const MeasuredWindow onlyMean = {TruncToInt(mean), TruncToInt(mean)};
    int low = 0;
    if (skipLow) {
        // On the scale of the bins, from 0. Wrapped counts can give any mean.
        low = TruncToInt((bins.bias + mean) / 10.0);
        if (low > top) return onlyMean;
        if (low < 0) low = 0;
        total(low, top, count, sum);
    }
    // In single precision and in this order: on large regions low bits get lost, and the result depends on
    // it.
    float sumOfSquares = 0.0f;
    for (int b = low; b <= top; ++b) sumOfSquares += static_cast<float>(bins[b]) * squares[b];
    if (count == 0) return onlyMean;

    const double m = static_cast<double>(sum) / count;
    const double variance = static_cast<double>(sumOfSquares / static_cast<float>(count)) - m * m;
    // Rounding can make the variance of a nearly uniform region negative; its root is NaN, which gives 0.
    const int deviation = TruncToInt(std::sqrt(variance));
    return {static_cast<std::uint16_t>(deviation) * 3, TruncToInt(m)};
}

// ---- Cuts at both ends, without spikes ----

/// Takes bins far above the others out, with their neighbours, unless there are so many that they are the
/// picture, or nothing would remain.
inline void ClearSpikes(const Bins& bins) {
    constexpr int kTooMany = 20;
    int largest = 0;
    for (int b = 0; b < bins.size; ++b) {
        if (bins[b] > largest) largest = bins[b];
    }
    const int limit = TruncToInt(static_cast<float>(largest) * 0.5);
    int spikes[kTooMany];
    int found = 0;
    for (int b = 0; b < bins.size && found < kTooMany; ++b) {
        if (bins[b] > limit) spikes[found++] = b;
    }
    if (found == kTooMany) return;

    std::uint32_t kept[kTooMany][3];
    const auto each = [&](auto action) {
        for (int k = 0; k < found; ++k) {
            for (int n = 0; n < 3; ++n) {
                const int b = spikes[k] + n - 1;
                if (b >= 0 && b < bins.size) action(bins.counts[b], kept[k][n]);
            }
        }
    };
    each([](std::uint32_t& count, std::uint32_t& keep) { keep = count; });
    each([](std::uint32_t& count, std::uint32_t&) { count = 0; });
    if (bins.Highest(0) < 0) each([](std::uint32_t& count, std::uint32_t& keep) { count = keep; });
}

/// Parts of the pixels that fall off at the dark and at the bright end.
constexpr double kDarkPart = 0.01;
constexpr double kBrightPart = 0.025;

/// Cuts both parts off, of the region's `pixels` before the spikes went. Changes the histogram. An
/// empty one gives the width -size.
inline MeasuredWindow MeasureByCuts(const Bins& bins, int pixels) {
    ClearSpikes(bins);
    const int top = bins.Highest(0);
    const int bottom = bins.Lowest(0, bins.size);
    const int lowCut = TruncToInt(pixels * kDarkPart);
    const int highCut = TruncToInt(pixels * kBrightPart);
    int lo = bottom;
    for (CountSum sum; lo <= top; ++lo) {
        sum.Add(bins[lo]);
        if (sum.Get() >= lowCut) break;
    }
    int hi = top;
    for (CountSum sum; hi >= lo; --hi) {
        sum.Add(bins[hi]);
        if (sum.Get() >= highCut) break;
    }
    const int width = hi - lo + 1;
    return {width, width / 2 - bins.bias + lo};
}

// ---- Occupied range ----

/// The part of the occupied range that is shown.
constexpr double kShownPart = 0.995;

/// 16 bits: from above the lowest occupied bin up to where the shown part of the rest is reached.
inline MeasuredWindow MeasureMostOfRange(const Bins& bins) {
    const int last = bins.size - 1;
    const int first = bins.Lowest(0, bins.size);
    const int lo = first + 1 < last ? first + 1 : last;
    const int top = bins.Highest(lo);
    int hi = lo;
    if (lo <= top) {
        CountSum total;
        for (int b = lo; b <= top; ++b) total.Add(bins[b]);
        const double wanted = total.Get() * kShownPart;
        CountSum sum;
        for (; hi < top; ++hi) {
            sum.Add(bins[hi]);
            if (sum.Get() >= wanted) break;
        }
    }
    return {hi - lo, TruncToInt((static_cast<double>(lo) + hi) * 0.5 - bins.bias)};
}

/// 8 bits: all occupied bins and one to each side, bin 0 aside. The centre is a bin, also when pixels are
/// signed.
inline MeasuredWindow MeasureWholeRange(const Bins& bins) {
    const int last = bins.size - 1;
    const int first = bins.Lowest(1, last);
    const int lo = first - 1 > 1 ? first - 1 : 1;
    const int top = bins.Highest(lo);
    const int hi = top + 1 < last ? top + 1 : last;
    return {hi - lo, TruncToInt((lo + hi) * 0.5)};
}

}  // namespace zev
