#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zev_numeric.h"

/// The arithmetic of a table's ramp: pointer, count, resolved numbers. Every fast path has its plain twin
/// beside it and equals it bit for bit.
namespace zev {

// ---- The window in table indices ----

/// A ramp within a table of S entries. Entry i has the position x = i - a, worked out from the bound before
/// it is limited, so that limiting never changes the slope.
struct Ramp {
    int S;    ///< entries of the table
    int a;    ///< lower bound, may lie outside the table
    int b;    ///< upper bound, may lie outside or below a
    float r;  ///< 1 / (b - a); infinite when they are equal, and then read by no entry
    int lo;   ///< first ramp entry: a limited to 0..S
    int hi;   ///< first entry above the ramp: b limited to 0..S; may be below lo
};

/// From the window's ends as fractions of the table. S times a fraction is rounded to float, 0.5 is added in
/// double and the sum truncated towards zero: a bound of -3 comes back as -2.
inline Ramp ResolveRamp(int S, float normalizedMin, float normalizedMax) {
    Ramp ramp;
    ramp.S = S;
    ramp.a = TruncToInt(static_cast<double>(static_cast<float>(S) * normalizedMin) + 0.5);
    ramp.b = TruncToInt(static_cast<double>(static_cast<float>(S) * normalizedMax) + 0.5);
    ramp.r = 1.0f / static_cast<float>(Subtract(ramp.b, ramp.a));
    const auto limited = [S](int bound) { return bound < 0 ? 0 : bound > S ? S : bound; };
    ramp.lo = limited(ramp.a);
    ramp.hi = limited(ramp.b);
    return ramp;
}

// ---- Step functions: how far up the ramp a position lies ----

/// True colour's factor: not 256 and not 255, so that the last ramp entry stays below the full level.
constexpr double kTrueColorFactor = 255.999;

/// u * factor for u = float(x) * r: the position among `factor` steps, truncated by the caller.
struct ProductSteps {
    float r;
    double factor;
    double operator()(int x) const { return static_cast<double>(static_cast<float>(x) * r) * factor; }
};

/// u * span + 0.5, the product with the span rounded to float: the nearest of `span` levels.
struct LevelSteps {
    float r;
    float span;
    double operator()(int x) const { return static_cast<double>(static_cast<float>(x) * r * span) + 0.5; }
};

// ---- Stores ----

/// Bytes that a wide store writes.
constexpr std::size_t kWide = 16;

template <class Out>
struct WideValue {
    explicit WideValue(Out value) {
        for (std::size_t i = 0; i < kWide / sizeof(Out); ++i) values[i] = value;
    }
    alignas(kWide) Out values[kWide / sizeof(Out)];
};

/// A byte in every byte of an entry.
template <class Out>
constexpr Out RepeatByte(unsigned char value) {
    return static_cast<Out>(value * (static_cast<Out>(~Out{0}) / 0xFFu));
}

/// Sets [from, to) to one value.
template <class Out>
void FillBlock(Out* from, Out* to, Out value) {
    if (from >= to) return;
    if (value == RepeatByte<Out>(static_cast<unsigned char>(value))) {
        std::memset(from, static_cast<int>(value & 0xFF), static_cast<std::size_t>(to - from) * sizeof(Out));
        return;
    }
    const WideValue<Out> wide(value);
    constexpr std::ptrdiff_t kStep = kWide / sizeof(Out);
    for (; to - from >= kStep; from += kStep) std::memcpy(from, wide.values, kWide);
    for (; from < to; ++from) *from = value;
}

/// Sets [from, to) to one value, and may write beyond `to` as far as `limit`: what lies there is written
/// later.
template <class Out>
inline void FillRun(Out* from, Out* to, Out* limit, Out value) {
    constexpr std::ptrdiff_t kStep = kWide / sizeof(Out);
    if (limit - to < kStep) {
        for (; from < to; ++from) *from = value;
        return;
    }
    const WideValue<Out> wide(value);
    for (; from < to; from += kStep) std::memcpy(from, wide.values, kWide);
}

// ---- The ramp ----

/// Most steps that the fast path takes.
constexpr int kMaxSteps = 256;

/// Entries lo..hi-1: value(k) with k = trunc(steps(i - a)). The reference for every faster way.
template <class Out, class Steps, class Value>
void FillRampPlain(Out* table, const Ramp& ramp, const Steps& steps, const Value& value) {
    for (int i = ramp.lo; i < ramp.hi; ++i) {
        table[i] = value(TruncToInt(steps(SaturateToInt(std::int64_t{i} - ramp.a))));
    }
}

/// The first position x in (below, reached] with steps(x) >= k, by bisection; steps(reached) >= k holds.
template <class Steps>
int FirstPositionOfStep(const Steps& steps, int k, int below, int reached) {
    while (std::int64_t{reached} - below > 1) {
        const int middle = static_cast<int>(below + (std::int64_t{reached} - below) / 2);
        (steps(middle) >= static_cast<double>(k) ? reached : below) = middle;
    }
    return reached;
}

/// starts[k] becomes the first position of step k, for kFirst < k <= kLast, within xFirst..xLast. Guessed
/// from `scale`, about the rise of `steps` per position, and `offset`, its value at 0; then proved with the
/// very arithmetic of the rule, and found by bisection where a guess was more than one off. The loops are
/// apart so that the compiler takes several steps at once.
template <class Steps>
void FindStarts(const Steps& steps, int kFirst, int kLast, int xFirst, int xLast, double scale, double offset,
                int* starts) {
    const int count = kLast - kFirst;
    if (count <= 0) return;
    int* const x = starts + kFirst + 1;
    double reached[kMaxSteps];
    const double perStep = 1.0 / scale;
    const double lowest = static_cast<double>(xFirst);
    const double highest = static_cast<double>(xLast);
    const double first = static_cast<double>(kFirst + 1) - offset;
    for (int i = 0; i < count; ++i) {
        double guess = (static_cast<double>(i) + first) * perStep;
        guess = guess > lowest ? guess : lowest;
        guess = guess < highest ? guess : highest;
        x[i] = static_cast<int>(guess);
    }
    for (int i = 0; i < count; ++i) reached[i] = steps(x[i]) - static_cast<double>(i + kFirst + 1);
    for (int i = 0; i < count; ++i) x[i] += reached[i] < 0.0 ? 1 : 0;
    int wrong = 0;
    for (int i = 0; i < count; ++i) {
        const double step = static_cast<double>(i + kFirst + 1);
        wrong |= (steps(x[i]) < step ? 1 : 0) | (steps(x[i] - 1) >= step ? 1 : 0);
    }
    if (wrong == 0) return;
    for (int k = kFirst + 1; k <= kLast; ++k) {
        starts[k] = FirstPositionOfStep(steps, k, k == kFirst + 1 ? xFirst : starts[k - 1] - 1, xLast);
    }
}

/// The same entries as FillRampPlain, from at most 256 ready values. The steps never fall with i, so each
/// value fills one run. `scale` and `offset` help to guess where the runs start.
template <class Out, class Steps>
void FillRampBySteps(Out* table, const Ramp& ramp, const Steps& steps, const Out* values, double scale,
                     double offset) {
    if (ramp.hi <= ramp.lo) return;
    const auto position = [&ramp](int i) { return SaturateToInt(std::int64_t{i} - ramp.a); };
    const int xFirst = position(ramp.lo);
    const int xLast = position(ramp.hi - 1);
    const int kFirst = static_cast<int>(steps(xFirst));
    const int kLast = static_cast<int>(steps(xLast));
    const int length = ramp.hi - ramp.lo;

    // Few entries to a step: the search would cost more than it saves. Positions beyond an int's exact reach,
    // or steps out of range, are left to the plain way too.
    if (length < 2 * (kLast - kFirst) || kFirst < 0 || kLast >= kMaxSteps ||
        std::int64_t{ramp.hi} - 1 - ramp.a > kIntMax) {
        FillRampPlain(table, ramp, steps,
                      [values](int k) { return values[k < kMaxSteps ? k : kMaxSteps - 1]; });
        return;
    }

    int starts[kMaxSteps];
    FindStarts(steps, kFirst, kLast, xFirst, xLast, scale, offset, starts);

    Out* at = table + ramp.lo;
    Out* const end = table + ramp.hi;
    Out* const limit = table + ramp.S;
    for (int k = kFirst; k < kLast; ++k) {
        Out* const next = table + (static_cast<std::ptrdiff_t>(starts[k + 1]) + ramp.a);
        FillRun(at, next, limit, values[k]);
        at = next;
    }
    FillRun(at, end, limit, values[kLast]);
}

/// The zones outside the ramp. The above zone starts at hi even if that lies below lo.
template <class Out>
void FillBelow(Out* table, const Ramp& ramp, Out value) {
    FillBlock(table, table + ramp.lo, value);
}
template <class Out>
void FillAbove(Out* table, const Ramp& ramp, Out value) {
    FillBlock(table + ramp.hi, table + ramp.S, value);
}

}  // namespace zev
