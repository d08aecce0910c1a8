// The entries of a table: a ramp from a window, or a copy of a VOI LUT.

#include "zev_table_creator.h"

#include <MAPPER/Mapper_VOILut.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_paint_kernels.h"
#include "zev_step_multiplier.h"
#include "zev_table_types.h"

namespace {

/// What keeps the last palette colour from being passed.
constexpr double kPaletteMargin = 0.01;
/// Grey levels of a true colour pixel, and the highest.
constexpr int kGreys = 256;
constexpr int kTopGrey = 255;

/// A gamma table that changes nothing.
const std::array<unsigned char, kGreys> kNaturalLevels = [] {
    std::array<unsigned char, kGreys> levels{};
    for (int level = 0; level < kGreys; ++level)
        levels[static_cast<std::size_t>(level)] = static_cast<unsigned char>(level);
    return levels;
}();

}  // namespace

ZEV_Params::TableCreator::~TableCreator() = default;

ZEV_Params::TableCreator::Mode ZEV_Params::TableCreator::mode() const {
    if (m_TrueColorTarget != 0) return Mode::TrueColor;
    return m_pColorTable != nullptr ? Mode::Palette : Mode::Levels;
}

bool ZEV_Params::TableCreator::has_pval_lut() const { return m_Pval && m_Pval->HasPvalLut(); }

/// A 32-bit input has no entries to fill, and levels go through a gamma table, which exists for 8 to 16 bits.
bool ZEV_Params::TableCreator::has_defined_table(bool byRamp) const {
    if (m_InputDepth > zev::kWordBits) return false;
    const bool readsGamma = byRamp && mode() == Mode::Levels && !has_pval_lut();
    return !readsGamma || (m_OutputDepth >= zev::kByteBits && m_OutputDepth <= zev::kWordBits);
}

const ZEV_ColorMap* ZEV_Params::TableCreator::active_color_map() const {
    return m_pColorMap != nullptr && !m_pColorMap->IsDummy() ? m_pColorMap : nullptr;
}

/// The grey levels 0 to 255 as entries: the colour map's colour, or the level in every byte.
template <class Out>
void ZEV_Params::TableCreator::emit_all(Out* entries) const {
    if (const ZEV_ColorMap* const map = active_color_map()) {
        for (int level = 0; level < kGreys; ++level) {
            entries[level] = static_cast<Out>(static_cast<unsigned>(map->TransformColor(level).toRGB()));
        }
        return;
    }
    for (int level = 0; level < kGreys; ++level)
        entries[level] = zev::RepeatByte<Out>(static_cast<unsigned char>(level));
}

template <class Out>
void ZEV_Params::TableCreator::FillFromWindow(Out* entries) {
    const zev::Ramp ramp = zev::ResolveRamp(m_TableSize, m_NormalizedMin, m_NormalizedMax);
    switch (mode()) {
        case Mode::TrueColor:
            fill_true_color(entries, ramp);
            break;
        case Mode::Palette:
            fill_palette(entries, ramp);
            break;
        case Mode::Levels:
            fill_levels(entries, ramp);
            break;
    }
    if (m_UsePadding) blank_padding(entries);
}

template <class Out>
void ZEV_Params::TableCreator::fill_true_color(Out* table, const zev::Ramp& ramp) {
    const bool pval = has_pval_lut();
    if (pval) m_Pval->UpdateWindowValues(ramp.a, ramp.b, kTopGrey);

    Out ready[kGreys];
    emit_all(ready);
    zev::FillBelow(table, ramp, ready[m_Inverse ? kTopGrey : 0]);
    if (pval) {
        const bool flip = m_Inverse != m_Pval->IsLutReversing();
        const unsigned short* const lut = m_Pval->m_pWindowLut;
        for (int i = ramp.lo; i < ramp.hi; ++i)
            table[i] = ready[(flip ? kTopGrey - lut[i] : lut[i]) & kTopGrey];
    } else {
        const auto* const gamma =
            static_cast<ZEV_WindowingTable<unsigned char, unsigned char>*>(GetGammaTable())->GetTable();
        Out values[zev::kMaxSteps];
        for (int k = 0; k < zev::kMaxSteps; ++k)
            values[k] = ready[m_Inverse ? kTopGrey - gamma[k] : gamma[k]];
        const zev::ProductSteps steps{ramp.r, zev::kTrueColorFactor};
        zev::FillRampBySteps(table, ramp, steps, values, static_cast<double>(ramp.r) * steps.factor, 0.0);
    }
    zev::FillAbove(table, ramp, ready[m_Inverse ? 0 : kTopGrey]);
}

template <class Out>
void ZEV_Params::TableCreator::fill_palette(Out* table, const zev::Ramp& ramp) {
    const bool pval = has_pval_lut();
    const int n = m_NumColors;
    if (pval) m_Pval->UpdateWindowValues(ramp.a, ramp.b, n - 1);

    const bool flip = pval ? m_Inverse != m_Pval->IsLutReversing() : m_Inverse;
    const auto color = [this, n, flip](int k) {
        const int limited = std::min(k, n - 1);
        return static_cast<Out>(m_pColorTable[flip ? n - 1 - limited : limited]);
    };
    const auto first = static_cast<Out>(m_pColorTable[0]);
    const auto last = static_cast<Out>(m_pColorTable[n - 1]);
    zev::FillBelow(table, ramp, m_Inverse ? last : first);
    if (pval) {
        const unsigned short* const lut = m_Pval->m_pWindowLut;
        for (int i = ramp.lo; i < ramp.hi; ++i) table[i] = color(lut[i]);
    } else {
        const zev::ProductSteps steps{ramp.r, static_cast<double>(n) - kPaletteMargin};
        if (n <= zev::kMaxSteps) {
            Out values[zev::kMaxSteps];
            for (int k = 0; k < zev::kMaxSteps; ++k) values[k] = color(k);
            zev::FillRampBySteps(table, ramp, steps, values, static_cast<double>(ramp.r) * steps.factor, 0.0);
        } else {
            zev::FillRampPlain(table, ramp, steps, color);
        }
    }
    zev::FillAbove(table, ramp, m_Inverse ? first : last);
}

template <class Out>
void ZEV_Params::TableCreator::fill_levels(Out* table, const zev::Ramp& ramp) {
    const bool pval = has_pval_lut();
    if (pval) m_Pval->UpdateWindowValues(ramp.a, ramp.b, std::max(m_MinOutput, m_MaxOutput));

    if (m_Inverse) std::swap(m_MinOutput, m_MaxOutput);
    const int from = m_MinOutput;
    const int to = m_MaxOutput;
    zev::FillBelow(table, ramp, static_cast<Out>(from));
    if (pval) {
        const bool flip = m_Inverse != m_Pval->IsLutReversing();
        const int low = std::min(from, to);
        const int high = std::max(from, to);
        const unsigned short* const lut = m_Pval->m_pWindowLut;
        for (int i = ramp.lo; i < ramp.hi; ++i) {
            // In the width of the entry.
            const unsigned level = lut[i];
            table[i] =
                static_cast<Out>(flip ? static_cast<unsigned>(high) - level + static_cast<unsigned>(low)
                                      : static_cast<unsigned>(low) + level);
        }
    } else if constexpr (sizeof(Out) <= 2) {
        // Upwards the levels are added from the bottom, downwards taken from the top, with the same rounding.
        // The product with a negative span differs from the other only in its sign.
        const bool down = to < from;
        const int span = zev::SaturateToInt(std::abs(std::int64_t{to} - from));
        ZEV_AbstractWindowingTable* const gammaTable = GetGammaTable();
        const auto valueFrom = [from, down](const auto* gamma) {
            return [from, down, gamma](int k) {
                const unsigned level = gamma[static_cast<Out>(k)];
                const auto base = static_cast<unsigned>(from);
                return static_cast<Out>(down ? base - level : base + level);
            };
        };
        const auto fill = [&](const auto& value) {
            const zev::LevelSteps steps{ramp.r, static_cast<float>(span)};
            if (span < zev::kMaxSteps) {
                Out values[zev::kMaxSteps];
                for (int k = 0; k < zev::kMaxSteps; ++k) values[k] = value(k);
                zev::FillRampBySteps(table, ramp, steps, values,
                                     static_cast<double>(ramp.r) * static_cast<double>(span), 0.5);
            } else {
                zev::FillRampPlain(table, ramp, steps, value);
            }
        };
        if (m_OutputDepth == zev::kByteBits) {
            fill(valueFrom(
                static_cast<ZEV_WindowingTable<unsigned char, unsigned char>*>(gammaTable)->GetTable()));
        } else {
            fill(valueFrom(
                static_cast<ZEV_WindowingTable<unsigned short, unsigned short>*>(gammaTable)->GetTable()));
        }
    }
    zev::FillAbove(table, ramp, static_cast<Out>(to));
}

/// The range is in pixel values, and cut to the table first.
std::pair<std::int64_t, std::int64_t> ZEV_Params::TableCreator::padding_entries() const {
    const int first = m_Signed ? m_TableSize / 2 : 0;
    const std::int64_t lowest = std::int64_t{std::min(m_PaddingValue, m_PaddingLimit)} + first;
    const std::int64_t highest = std::int64_t{std::max(m_PaddingValue, m_PaddingLimit)} + first;
    return {std::max<std::int64_t>(lowest, 0),
            std::min<std::int64_t>(highest, std::int64_t{m_Signed ? 2 * first : m_TableSize} - 1)};
}

/// Every entry of a padding pixel becomes a plain 0.
template <class Out>
void ZEV_Params::TableCreator::blank_padding(Out* table) const {
    const auto [from, last] = padding_entries();
    if (from <= last) std::fill(table + from, table + last + 1, Out{0});
}

/// The LUT writes every entry it knows; the others stay 0. Neither gamma nor padding applies.
template <class Out>
void ZEV_Params::TableCreator::FillFromVoiLut(Out* entries) {
    if (m_pVoiLut == nullptr) return;
    const auto center = static_cast<double>(m_Center);
    const auto width = static_cast<double>(m_Width);
    if constexpr (sizeof(Out) == 1) {
        m_pVoiLut->FillWindowingTable8(entries, m_TableSize, center, width, m_VoiInverse);
    } else if constexpr (sizeof(Out) == 2) {
        m_pVoiLut->FillWindowingTable16(entries, m_TableSize, center, width, m_VoiInverse);
    } else {
        m_pVoiLut->FillWindowingTable32(entries, m_TableSize, center, width, m_VoiInverse);
    }
    if (active_color_map() == nullptr) return;
    Out colors[kGreys];
    emit_all(colors);
    for (int i = 0; i < m_TableSize; ++i) entries[i] = colors[entries[i] & kTopGrey];
}

/// A table whose first `filled` entries `fill` writes; only the others are zeroed. Null with a log line for
/// depths or modes without a defined table, null alone when there is no memory for it.
template <class Fill>
ZEV_AbstractWindowingTable* ZEV_Params::TableCreator::make_table(const char* function, bool byRamp,
                                                                 int filled, Fill fill) {
    if (m_InputDepth > zev::kLongBits || m_OutputDepth > zev::kLongBits) {
        // Says so in a line of its own.
        ZEV_AbstractWindowingTable::CreateByDepthsAndSigns(m_InputDepth, m_OutputDepth, m_Signed);
    } else if (has_defined_table(byRamp)) {
        return zev::VisitTableTypes<zev::kWordBits, ZEV_AbstractWindowingTable*>(
            m_InputDepth, m_OutputDepth, m_Signed, nullptr, [&](auto types) -> ZEV_AbstractWindowingTable* {
                using Out = typename decltype(types)::Out;
                using Table = ZEV_WindowingTable<typename decltype(types)::In, Out>;
                std::unique_ptr<Table> table(new (std::nothrow) Table(Table::Storage::PrivateHeapUnset));
                if (table == nullptr) return nullptr;
                if (Out* const entries = table->GetTable()) {
                    std::memset(entries + filled, 0,
                                static_cast<std::size_t>(Table::kSize - filled) * sizeof(Out));
                    fill(entries);
                }
                if (m_Signed) table->SetOrigin(m_TableSize / 2);
                return table.release();
            });
    }
    ZEV_LOG(function, zev::kLogError, "Request for creating an unsupported table\n");
    return nullptr;
}

void ZEV_Params::TableCreator::set_window(int windowMin, int windowMax, bool inverse, bool isSigned,
                                          ZEV_ColorMap* colorMap) {
    m_Signed = isSigned;
    m_Inverse = inverse;
    m_pColorMap = colorMap;
    // The window travels as fractions of the table, in float, and ResolveRamp makes it whole again. That is
    // the rule, not a detour: it decides what becomes of windows that a float cannot hold, and of negative
    // ends.
    m_NormalizedMin = static_cast<float>(windowMin) / static_cast<float>(m_TableSize);
    m_NormalizedMax = static_cast<float>(windowMax) / static_cast<float>(m_TableSize);
    if (isSigned) {
        // Entry 0 of a signed table is the most negative pixel value.
        m_NormalizedMin += 0.5f;
        m_NormalizedMax += 0.5f;
    }
}

zev::Ramp ZEV_Params::TableCreator::ResolveWindow(int windowMin, int windowMax, bool inverse, bool isSigned,
                                                  ZEV_ColorMap* colorMap) {
    set_window(windowMin, windowMax, inverse, isSigned, colorMap);
    return zev::ResolveRamp(m_TableSize, m_NormalizedMin, m_NormalizedMax);
}

ZEV_AbstractWindowingTable* ZEV_Params::TableCreator::PrepareWindowingTable(int windowMin, int windowMax,
                                                                            bool inverse, bool isSigned,
                                                                            ZEV_ColorMap* colorMap) {
    if (m_TableSize == 0) return nullptr;
    set_window(windowMin, windowMax, inverse, isSigned, colorMap);
    return make_table("ZEV_Params::TableCreator::PrepareWindowingTable", true, m_TableSize,
                      [this](auto* entries) { FillFromWindow(entries); });
}

ZEV_AbstractWindowingTable* ZEV_Params::TableCreator::CopyWindowingTable(Mapper_VOILut* lut, int center,
                                                                         int width, bool inverse,
                                                                         bool isSigned,
                                                                         ZEV_ColorMap* colorMap) {
    if (m_TableSize == 0) return nullptr;
    m_Center = center;
    m_Width = width;
    m_VoiInverse = inverse;
    m_pVoiLut = lut;
    m_pColorMap = colorMap;
    m_Signed = isSigned;
    return make_table("ZEV_Params::TableCreator::CopyWindowingTable", false, 0,
                      [this](auto* entries) { FillFromVoiLut(entries); });
}

bool ZEV_Params::TableCreator::PlanRamp(int windowMin, int windowMax, bool inverse, bool isSigned,
                                        ZEV_ColorMap* colorMap, ZEV_Painter::Plan& plan) {
    using Plan = ZEV_Painter::Plan;
    if (!zev::CanPaintRamps() || m_TableSize == 0 || !CanMake(true)) return false;
    const zev::Ramp ramp = ResolveWindow(windowMin, windowMax, inverse, isSigned, colorMap);
    const bool isTrueColor = mode() == Mode::TrueColor;
    const bool hasGreyLevels =
        isTrueColor ? active_color_map() == nullptr
                    : mode() == Mode::Levels && m_OutputDepth == zev::kByteBits && m_MaxOutput == kTopGrey;
    if (!hasGreyLevels || has_pval_lut()) return false;

    // A window without a ramp is a step, as of a ramp of one position: the above zone starts at its end.
    const bool isStep = ramp.b <= ramp.a;
    const int a = isStep ? ramp.hi - 1 : ramp.a;
    const int b = isStep ? ramp.hi : ramp.b;
    const std::int64_t width = std::int64_t{b} - a;
    if (width > zev::kWidestSteps) return false;
    if (isTrueColor) {
        const zev::StepMultiplier steps = zev::StepMultiplierOf(static_cast<int>(width));
        const bool isWide = steps.form == zev::StepMultiplier::kWide;
        if (steps.form == zev::StepMultiplier::kNone || (isWide && m_InputDepth <= zev::kByteBits))
            return false;
        plan.method = isWide ? Plan::kWide : Plan::kNarrow;
        plan.multiplier = steps.multiplier;
    } else {
        plan.method = Plan::kLevels;
        plan.reciprocal = 1.0f / static_cast<float>(width);
    }

    const auto* const gamma =
        static_cast<ZEV_WindowingTable<unsigned char, unsigned char>*>(GetGammaTable())->GetTable();
    if (std::memcmp(gamma, kNaturalLevels.data(), kGreys) != 0) {
        // The zones outside the ramp know no gamma: the ends of its table have to agree with them.
        if (gamma[0] != 0 || gamma[kTopGrey] != kTopGrey) return false;
        plan.map = gamma;
    }
    plan.flip = inverse ? kTopGrey : 0;

    // Index i is limited to the ramp's end, or to the last index, which lies on the ramp still when that ends
    // at 65,536; then a is taken away.
    constexpr int kLastIndex = 65535;
    int raise = kLastIndex, lower = kLastIndex;
    if (b <= 0) {
        lower -= static_cast<int>(width);
    } else if (a >= m_TableSize) {
        raise = 0;
    } else {
        raise -= std::min({b, m_TableSize, kLastIndex});
        lower = raise + a;
    }
    plan.raise = static_cast<std::uint16_t>(raise);
    plan.lower = static_cast<std::uint16_t>(lower);

    int blanks = 0;
    const auto blank = [&](std::int64_t first, std::int64_t last) {
        plan.blanks[blanks++] = {static_cast<std::uint16_t>(first), static_cast<std::uint16_t>(last - first)};
        plan.blanks[1] = plan.blanks[blanks - 1];
        plan.hasBlanks = true;
    };
    if (m_InputDepth != zev::kByteBits && m_InputDepth != zev::kWordBits) blank(m_TableSize, kLastIndex);
    if (const auto [from, last] = padding_entries(); m_UsePadding && from <= last) blank(from, last);
    return true;
}
