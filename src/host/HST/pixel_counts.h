#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Counting the pixels of a region by value, without those of a range that does not matter.
namespace hst {

/// A pixel's key is its value above `lowest`, in ascending order of the values. Keys from `values` on,
/// which the depth does not allow, are counted together in one more bin.
template <class Word>
struct KeyRule {
    Word lowest;
    unsigned values;

    unsigned Key(Word pixel) const { return static_cast<Word>(pixel - lowest); }
    unsigned Bin(Word pixel) const { return std::min(Key(pixel), values); }
};

template <class Word>
struct PixelRegion {
    const Word* first;         ///< the upper left pixel
    std::ptrdiff_t rowLength;  ///< pixels from one row to the next
    std::ptrdiff_t columns;
    std::ptrdiff_t rows;
};

/// Keys whose counts nobody reads; none when first is above last.
struct QuietKeys {
    unsigned first = 1;
    unsigned last = 0;

    bool None() const { return first > last; }
};

constexpr int kBlock = 64;

/// Bit j is set when pixel j of a block is not one of `span` + 1 values from `first` on, modulo the word's
/// size.
template <class Word>
std::uint64_t OutsidePlain(const Word* pixels, Word first, Word span) {
    std::uint64_t outside = 0;
    for (int j = 0; j < kBlock; ++j) {
        outside |= static_cast<std::uint64_t>(static_cast<Word>(pixels[j] - first) > span) << j;
    }
    return outside;
}

#if defined(__SSE2__)
// A saturated difference to the span is 0 inside.
inline __m128i BeyondSpan(const std::uint16_t* pixels, std::uint16_t first, std::uint16_t span) {
    const auto beyond = [=](const std::uint16_t* eight) {
        const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(eight));
        return _mm_subs_epu16(_mm_sub_epi16(words, _mm_set1_epi16(static_cast<short>(first))),
                              _mm_set1_epi16(static_cast<short>(span)));
    };
    return _mm_packs_epi16(beyond(pixels), beyond(pixels + 8));
}
inline __m128i BeyondSpan(const std::uint8_t* pixels, std::uint8_t first, std::uint8_t span) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    return _mm_subs_epu8(_mm_sub_epi8(bytes, _mm_set1_epi8(static_cast<char>(first))),
                         _mm_set1_epi8(static_cast<char>(span)));
}
#endif

template <class Word>
std::uint64_t Outside(const Word* pixels, Word first, Word span) {
#if defined(__SSE2__)
    std::uint64_t inside = 0;
    for (int j = 0; j < kBlock; j += 16) {
        const __m128i zeros = _mm_cmpeq_epi8(BeyondSpan(pixels + j, first, span), _mm_setzero_si128());
        inside |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(zeros))) << j;
    }
    return ~inside;
#else
    return OutsidePlain(pixels, first, span);
#endif
}

/// A run of equal neighbours is counted at once: a counter that was just written cannot be read for several
/// cycles.
template <class Word, class Count>
void CountAll(const Word* pixels, const Word* end, KeyRule<Word> rule, Count* bins) {
    constexpr unsigned kBits = 8 * sizeof(Word);
    while (end - pixels >= 8) {
        std::uint64_t head, tail;
        std::memcpy(&head, pixels, 8);
        std::memcpy(&tail, pixels + 8 - 8 / sizeof(Word), 8);
        if (head == tail && head == (head << kBits | head >> (64 - kBits))) {
            const Word* const start = pixels;
            pixels += 8;
            while (end - pixels >= kBlock && Outside(pixels, *start, Word{0}) == 0) pixels += kBlock;
            bins[rule.Bin(*start)] += static_cast<Count>(pixels - start);
        } else {
            for (int j = 0; j < 8; ++j) ++bins[rule.Bin(*pixels++)];
        }
    }
    for (; pixels != end; ++pixels) ++bins[rule.Bin(*pixels)];
}

/// Adds to `bins`, rule.values + 1 of them. Some quiet keys are counted too.
template <class Word, class Count>
void CountRow(const Word* pixels, const Word* end, KeyRule<Word> rule, QuietKeys quiet, Count* bins) {
    if (quiet.None()) return CountAll(pixels, end, rule, bins);
    const auto first = static_cast<Word>(quiet.first + rule.lowest);
    const auto span = static_cast<Word>(quiet.last - quiet.first);
    constexpr int kFound = 1024;
    Word found[kFound];
    int count = 0;
    for (; end - pixels >= kBlock; pixels += kBlock) {
        std::uint64_t outside = Outside(pixels, first, span);
        if (outside == 0) continue;
        if ((outside & outside >> 1 & outside >> 2 & outside >> 3) != 0) {
            CountAll(pixels, pixels + kBlock, rule, bins);
            continue;
        }
        // Where these are noise, their number cannot be predicted: up to four take no branch.
        do {
            for (int k = 0; k < 4; ++k) {
                found[count] = pixels[__builtin_ctzll(outside | std::uint64_t{1} << 63)];
                count += outside != 0;
                outside &= outside - 1;
            }
        } while (outside != 0);
        if (count > kFound - kBlock) {
            CountAll(found, found + count, rule, bins);
            count = 0;
        }
    }
    CountAll(found, found + count, rule, bins);
    CountAll(pixels, end, rule, bins);
}

template <class Word, class Count>
void CountRegion(const PixelRegion<Word>& region, KeyRule<Word> rule, QuietKeys quiet, Count* bins) {
    for (std::ptrdiff_t y = 0; y < region.rows; ++y) {
        const Word* const row = region.first + y * region.rowLength;
        CountRow(row, row + region.columns, rule, quiet, bins);
    }
}

}  // namespace hst
