// The painting loops: one source for every instruction set, the best of which is chosen at run time.

#include "zev_paint_kernels.h"

// Every 64-bit ARM has NEON. The scalable vectors of version 1.0.3 of the library gave wrong levels (GCC 12,
// qemu).
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
// Version 1.0.3 stops where the compiler may use these instructions everywhere but nobody wants them.
#if defined(__AVX512VBMI__)
#define HWY_WANT_AVX3_DL
#endif
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "zev_paint_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace zev {
namespace HWY_NAMESPACE {
namespace {

using Plan = ZEV_Painter::Plan;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

// A machine without byte shuffles reads tables.
bool HasVectors() { return false; }
void PaintRamp(const Plan&, const void*, std::size_t, void*, int) {}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<std::uint16_t>;
/// As many bytes as there are words in a vector, and as the bytes fill one.
using WordBytes = hn::Rebind<std::uint8_t, Words>;
using Bytes = hn::ScalableTag<std::uint8_t>;
using Word = hn::Vec<Words>;

constexpr std::size_t kMostBytes = HWY_MAX_BYTES;
/// Pixels whose levels stay in the nearest cache.
constexpr std::size_t kBlock = 1024;

// ---- Pixels to levels ----

HWY_INLINE Word LoadIndices(const Plan& plan, const std::uint16_t* from) {
    const Words d;
    return hn::Add(hn::LoadU(d, from), hn::Set(d, plan.origin));
}
HWY_INLINE Word LoadIndices(const Plan& plan, const std::uint8_t* from) {
    const WordBytes d;
    return hn::PromoteTo(Words(),
                         hn::Add(hn::LoadU(d, from), hn::Set(d, static_cast<std::uint8_t>(plan.origin))));
}

/// All ones where an index lies in the range.
HWY_INLINE hn::Mask<Words> IsIn(const Plan::Blank& blank, Word index) {
    const Words d;
    return hn::Eq(hn::SaturatedSub(hn::Sub(index, hn::Set(d, blank.first)), hn::Set(d, blank.more)),
                  hn::Zero(d));
}
HWY_INLINE hn::Mask<Words> IsBlank(const Plan& plan, Word index) {
    return hn::Or(IsIn(plan.blanks[0], index), IsIn(plan.blanks[1], index));
}

/// x * multiplier >> 24, in 32 bits.
HWY_INLINE Word NarrowLevel(const Plan& plan, Word x) {
    const Words d;
    const Word high = hn::Mul(x, hn::Set(d, static_cast<std::uint16_t>(plan.multiplier >> 16)));
    const Word low = hn::MulHigh(x, hn::Set(d, static_cast<std::uint16_t>(plan.multiplier)));
    return hn::ShiftRight<8>(hn::Add(high, low));
}

/// (x * multiplier + 2^16) >> 32, in 48 bits. The average is the sum of both with the 1 and the carry,
/// halved.
HWY_INLINE Word WideLevel(const Plan& plan, Word x) {
    const Words d;
    const Word factor = hn::Set(d, static_cast<std::uint16_t>(plan.multiplier >> 16));
    const Word low = hn::MulHigh(x, hn::Set(d, static_cast<std::uint16_t>(plan.multiplier)));
    const Word carry = hn::ShiftRight<15>(hn::AverageRound(hn::Mul(x, factor), low));
    return hn::Add(hn::MulHigh(x, factor), carry);
}

template <class Half>
HWY_INLINE hn::Vec<hn::Rebind<std::uint16_t, Half> > NearestHalf(const Plan& plan, Half d32,
                                                                 hn::Vec<Half> x) {
    const hn::Rebind<float, Half> f;
    const auto up = hn::Mul(hn::Mul(hn::ConvertTo(f, x), hn::Set(f, plan.reciprocal)), hn::Set(f, 255.0f));
    // The largest float below a half: what lies just below a half must not be rounded up to the next level.
    const auto level = hn::ConvertTo(d32, hn::Add(up, hn::Set(f, 0.49999997f)));
    return hn::DemoteTo(hn::Rebind<std::uint16_t, Half>(), level);
}

/// Nearest of the levels.
HWY_INLINE Word NearestLevel(const Plan& plan, Word x) {
    const Words d;
    const hn::Half<Words> half;
    const hn::Rebind<std::int32_t, hn::Half<Words> > d32;
    const auto low = NearestHalf(plan, d32, hn::PromoteTo(d32, hn::LowerHalf(half, x)));
    const auto high = NearestHalf(plan, d32, hn::PromoteTo(d32, hn::UpperHalf(half, x)));
    return hn::Combine(d, high, low);
}

template <Plan::Method kMethod>
HWY_INLINE Word LevelOf(const Plan& plan, Word x) {
    if constexpr (kMethod == Plan::kNarrow) return NarrowLevel(plan, x);
    if constexpr (kMethod == Plan::kWide) return WideLevel(plan, x);
    return NearestLevel(plan, x);
}

// ---- Levels to display values ----

/// Puts a vector of levels into display values of so many bytes: the level in each of them, for 3 as red,
/// green and blue.
template <int kOutBytes>
HWY_INLINE void Put(Word level, std::uint8_t* out) {
    if constexpr (kOutBytes == 2) {
        hn::StoreU(hn::BitCast(Bytes(), hn::Or(level, hn::ShiftLeft<8>(level))), Bytes(), out);
    } else if constexpr (kOutBytes == 4) {
        // Four times the lowest byte of each number.
        alignas(16) static constexpr std::uint8_t kLowest[16] = {0, 0, 0, 0, 4,  4,  4,  4,
                                                                 8, 8, 8, 8, 12, 12, 12, 12};
        const hn::Half<Words> half;
        const hn::ScalableTag<std::uint32_t> d32;
        const auto lowest = hn::LoadDup128(Bytes(), kLowest);
        const auto put = [&](auto longs, std::uint8_t* to) HWY_ATTR {
            hn::StoreU(hn::TableLookupBytes(hn::BitCast(Bytes(), longs), lowest), Bytes(), to);
        };
        put(hn::PromoteTo(d32, hn::LowerHalf(half, level)), out);
        put(hn::PromoteTo(d32, hn::UpperHalf(half, level)), out + hn::Lanes(Bytes()));
    } else {
        const WordBytes bytes;
        const auto packed = hn::DemoteTo(bytes, hn::BitCast(hn::RebindToSigned<Words>(), level));
        if constexpr (kOutBytes == 1) {
            hn::StoreU(packed, bytes, out);
        } else {
            hn::StoreInterleaved3(packed, packed, packed, bytes, out);
        }
    }
}

/// Calls paint(pixels, out) for whole vectors of pixels that cover them all, the last two perhaps
/// overlapping; few pixels go through a buffer.
template <int kOutBytes, class In, class Paint>
HWY_INLINE void ForEachVector(const In* in, std::uint8_t* out, std::size_t count, const Paint& paint) {
    const std::size_t lanes = hn::Lanes(Words());
    if (count >= lanes) {
        std::size_t i = 0;
        for (; i + lanes <= count; i += lanes) paint(in + i, out + i * kOutBytes);
        if (i < count) paint(in + (count - lanes), out + (count - lanes) * kOutBytes);
        return;
    }
    In few[kMostBytes] = {};
    std::uint8_t painted[kOutBytes * kMostBytes];
    std::memcpy(few, in, count * sizeof(In));
    std::memcpy(painted, out, count * kOutBytes);
    paint(few, painted);
    std::memcpy(out, painted, count * kOutBytes);
}

template <Plan::Method kMethod, bool kBlanks, int kOutBytes, class In>
void PaintLevels(const Plan& given, const In* in, std::uint8_t* out, std::size_t count) {
    const Words d;
    // A copy, so that no store can change it.
    const Plan plan = given;
    // A map is to be laid over the levels first.
    const std::uint16_t flip = plan.map == nullptr ? plan.flip : 0;
    ForEachVector<kOutBytes>(in, out, count, [&](const In* from, std::uint8_t* to) HWY_ATTR {
        const Word index = LoadIndices(plan, from);
        const Word x =
            hn::SaturatedSub(hn::SaturatedAdd(index, hn::Set(d, plan.raise)), hn::Set(d, plan.lower));
        Word level = hn::Xor(LevelOf<kMethod>(plan, x), hn::Set(d, flip));
        if constexpr (kBlanks) level = hn::IfThenZeroElse(IsBlank(plan, index), level);
        Put<kOutBytes>(level, to);
    });
}

template <bool kBlanks, int kOutBytes, class In>
void PaintByMethod(const Plan& plan, const In* in, std::uint8_t* out, std::size_t count) {
    // Levels have 8 bits, and so have the pixels of no wide ramp.
    if constexpr (sizeof(In) > 1) {
        if (plan.method == Plan::kWide)
            return PaintLevels<Plan::kWide, kBlanks, kOutBytes>(plan, in, out, count);
    }
    if constexpr (kOutBytes == 1) {
        if (plan.method == Plan::kLevels)
            return PaintLevels<Plan::kLevels, kBlanks, kOutBytes>(plan, in, out, count);
    }
    PaintLevels<Plan::kNarrow, kBlanks, kOutBytes>(plan, in, out, count);
}

// ---- Levels to levels ----

/// Each level becomes map[level], xored with `flip`. The bytes up to the next whole vector change too.
void MapLevels(const unsigned char* map, std::uint8_t flip, std::uint8_t* levels, std::size_t count) {
    const Bytes d;
    const auto sixteen = hn::Set(d, std::uint8_t{16});
    const auto beyond = hn::Set(d, std::uint8_t{0x70});
    const auto turn = hn::Set(d, flip);
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        auto level = hn::LoadU(d, levels + i);
        auto mapped = turn;
        // Of each sixteenth of the map only levels 0 to 15, counted from its first, find an entry: the
        // others carry their top bit into the shuffle, which gives 0 for them.
        for (int part = 0; part < 16; ++part) {
            const auto entries = hn::LoadDup128(d, map + 16 * part);
            // From 16 on the top bit is set. Below, x86 looks at the low four bits alone.
            auto index = hn::SaturatedAdd(level, beyond);
            if constexpr (!HWY_ARCH_X86) index = hn::And(index, hn::Set(d, std::uint8_t{0x8F}));
            mapped = hn::Xor(mapped, hn::TableLookupBytesOr0(entries, index));
            level = hn::Sub(level, sixteen);
        }
        hn::StoreU(mapped, d, levels + i);
    }
}

template <class In>
void BlankLevels(const Plan& plan, const In* in, std::uint8_t* levels, std::size_t count) {
    ForEachVector<1>(in, levels, count, [&](const In* from, std::uint8_t* at) HWY_ATTR {
        const Word level = hn::PromoteTo(Words(), hn::LoadU(WordBytes(), at));
        Put<1>(hn::IfThenZeroElse(IsBlank(plan, LoadIndices(plan, from)), level), at);
    });
}

/// Through a map, in blocks.
template <int kOutBytes, class In>
void PaintMapped(const Plan& plan, const In* in, std::uint8_t* out, std::size_t count) {
    HWY_ALIGN std::uint8_t levels[kBlock + kMostBytes];
    for (std::size_t block = 0; block < count; block += kBlock) {
        const std::size_t pixels = std::min(kBlock, count - block);
        PaintByMethod<false, 1>(plan, in + block, levels, pixels);
        MapLevels(plan.map, plan.flip, levels, pixels);
        if (plan.hasBlanks) BlankLevels(plan, in + block, levels, pixels);
        ForEachVector<kOutBytes>(levels, out + block * kOutBytes, pixels,
                                 [](const std::uint8_t* from, std::uint8_t* to) HWY_ATTR {
                                     Put<kOutBytes>(hn::PromoteTo(Words(), hn::LoadU(WordBytes(), from)), to);
                                 });
    }
}

template <int kOutBytes, class In>
void PaintInto(const Plan& plan, const In* in, void* out, std::size_t count) {
    auto* const bytes = static_cast<std::uint8_t*>(out);
    if (plan.map != nullptr) return PaintMapped<kOutBytes>(plan, in, bytes, count);
    if (plan.hasBlanks) return PaintByMethod<true, kOutBytes>(plan, in, bytes, count);
    PaintByMethod<false, kOutBytes>(plan, in, bytes, count);
}

template <class In>
void PaintPixels(const Plan& plan, const void* pixels, void* out, std::size_t count, int outBytes) {
    const auto* const in = static_cast<const In*>(pixels);
    if (outBytes == 1) return PaintInto<1>(plan, in, out, count);
    if (outBytes == 2) return PaintInto<2>(plan, in, out, count);
    if (outBytes == 3) return PaintInto<3>(plan, in, out, count);
    PaintInto<4>(plan, in, out, count);
}

void PaintRamp(const Plan& plan, const void* pixels, std::size_t count, void* out, int outBytes) {
    if (plan.pixelBytes == 1) return PaintPixels<std::uint8_t>(plan, pixels, out, count, outBytes);
    PaintPixels<std::uint16_t>(plan, pixels, out, count, outBytes);
}

bool HasVectors() { return true; }

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zev
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zev {
namespace {

HWY_EXPORT(PaintRamp);
HWY_EXPORT(HasVectors);

template <class In, class Out, class Put>
void look_up(const ZEV_Painter::Plan& plan, const void* pixels, std::size_t count, const Put& put) {
    const auto* const in = static_cast<const In*>(pixels);
    const auto* const entries = static_cast<const Out*>(plan.entries);
    const std::uint16_t origin = plan.origin;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < count; ++i) put(i, entries[static_cast<In>(in[i] + origin)]);
}

template <class In>
void paint_by_table(const ZEV_Painter::Plan& plan, const void* pixels, std::size_t count, void* out,
                    int outBytes) {
    const auto into = [out](auto zero) {
        return
            [to = static_cast<decltype(zero)*>(out)](std::size_t i, decltype(zero) value) { to[i] = value; };
    };
    if (outBytes == 1) return look_up<In, std::uint8_t>(plan, pixels, count, into(std::uint8_t{0}));
    if (outBytes == 2) return look_up<In, std::uint16_t>(plan, pixels, count, into(std::uint16_t{0}));
    if (outBytes == 4) return look_up<In, std::uint32_t>(plan, pixels, count, into(std::uint32_t{0}));
    look_up<In, std::uint32_t>(plan, pixels, count, [out](std::size_t i, std::uint32_t value) {
        std::uint8_t* const rgb = static_cast<std::uint8_t*>(out) + 3 * i;
        rgb[0] = static_cast<std::uint8_t>(value >> 16);
        rgb[1] = static_cast<std::uint8_t>(value >> 8);
        rgb[2] = static_cast<std::uint8_t>(value);
    });
}

}  // namespace

bool CanPaintRamps() { return HWY_DYNAMIC_DISPATCH(HasVectors)(); }

void PaintRun(const ZEV_Painter::Plan& plan, const void* pixels, std::size_t count, void* out, int outBytes) {
    if (plan.method != ZEV_Painter::Plan::kTable) {
        HWY_DYNAMIC_DISPATCH(PaintRamp)(plan, pixels, count, out, outBytes);
    } else if (plan.pixelBytes == 1) {
        paint_by_table<std::uint8_t>(plan, pixels, count, out, outBytes);
    } else {
        paint_by_table<std::uint16_t>(plan, pixels, count, out, outBytes);
    }
}

}  // namespace zev
#endif  // HWY_ONCE
