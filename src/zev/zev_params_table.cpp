// Building a lookup table from the present state of a parameter object.

#include <GFX/GFX_GraphicContext.h>
#include <MAPPER/Mapper_VOILut.h>
#include <MAPPER/Mapper_WindowingEntry.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_table_creator.h"
#include "zev_table_types.h"
#include "zev_voi.h"

namespace {

/// True colour's factor: not 256 and not 255, so that the last ramp entry stays below the full level.
constexpr double kTrueColorFactor = 255.999;
/// What keeps the last palette colour from being passed.
constexpr double kPaletteMargin = 0.01;
/// m_PixelFormat of a true colour raster.
constexpr int kTrueColorFormat = 1;

/// Entries that a fill writes. Beyond 16 bits no table holds them; such depths are refused before one is
/// filled, and the 1 only keeps them from passing for an empty raster.
int table_size_of(int depth) {
    if (depth < 0) return 0;
    return depth <= 16 ? 1 << depth : 1;
}

/// A stored value through rescale the other way, in 32-bit float.
int to_stored(int value, int intercept, float slope) {
    return zev::TruncToInt(static_cast<float>(zev::Subtract(value, intercept)) / slope);
}

/// A table whose first `filled` entries the caller fills; only the others are zeroed.
ZEV_AbstractWindowingTable* create_table_to_fill(int inputDepth, int outputDepth, bool isSigned, int filled) {
    if (inputDepth >= 33 || outputDepth >= 33) {
        return ZEV_AbstractWindowingTable::CreateByDepthsAndSigns(inputDepth, outputDepth, isSigned);
    }
    return zev::VisitTableTypes<ZEV_AbstractWindowingTable*>(
        inputDepth, outputDepth, isSigned, nullptr, [filled](auto types) -> ZEV_AbstractWindowingTable* {
            using Out = typename decltype(types)::Out;
            using Table = ZEV_WindowingTable<typename decltype(types)::In, Out>;
            Table* table = new (std::nothrow) Table(Table::Storage::PrivateHeapUnset);
            if (table != nullptr && table->GetTable() != nullptr && filled < Table::kSize) {
                std::memset(table->GetTable() + filled, 0,
                            static_cast<std::size_t>(Table::kSize - filled) * sizeof(Out));
            }
            return table;
        });
}

}  // namespace

ZEV_AbstractWindowingTable* ZEV_Params::BuildTable(ZEV_TableParams tableParams) {
    KIT_Raster* const source = tableParams.m_pSourceRaster;
    KIT_Raster* const target = tableParams.m_pTargetRaster;
    GFX_GraphicContext* const context = tableParams.m_pGraphicContext;
    if (source == nullptr || target == nullptr || context == nullptr) return nullptr;

    const int outputDepth = target->m_BitsPerPixel;
    const int targetFormat = target->m_PixelFormat;
    const int inputDepth = source->m_BitsPerPixel;
    const bool isSigned = source->m_bSigned;

    const int intercept = GetRescaleIntercept();
    const float slope = GetRescaleSlope();
    const int center = GetCenter();
    const int width = GetWidth();
    const int windowMin = GetWindowMin();
    const int windowMax = GetWindowMax();

    TableCreator creator;
    void* palette = nullptr;
    creator.m_NumColors = context->GetPalette(&palette);
    creator.m_pColorTable = creator.m_NumColors > 0 ? static_cast<const std::uint32_t*>(palette) : nullptr;
    creator.m_InputDepth = inputDepth;
    creator.m_OutputDepth = outputDepth;
    creator.m_TableSize = table_size_of(inputDepth);
    creator.m_TrueColorTarget = targetFormat == kTrueColorFormat ? 1 : 0;
    creator.m_MinOutput = 0;
    creator.m_MaxOutput = zev::Subtract(context->GetOutputLevels(), 1);
    creator.m_Pval = m_Pval;
    creator.m_PaddingValue = GetPixelPaddingValue();
    creator.m_PaddingLimit = GetPixelPaddingValueLimit();
    creator.m_UsePadding = GetUsePadding();
    creator.m_Gamma = GetGamma();

    // A presentation LUT shapes the ramp, and the VOI LUT selection is ignored.
    const bool hasPvalLut = creator.m_Pval && creator.m_Pval->HasPvalLut();
    if (!hasPvalLut && m_pVoiLutManager && GetVoiLutSelection() >= 0) {
        const auto selection = static_cast<std::size_t>(GetVoiLutSelection());
        const Mapper_WindowingEntry* entry = nullptr;
        if (selection >= m_pVoiLutManager->m_Entries.size()) {
            ZEV_LOG("ZEV_Params::BuildTable", zev::kLogUnusual,
                    "BuildTable: m_VoiLutSelection has illegal value. pEntry stays NULL. \n");
        } else {
            entry = m_pVoiLutManager->m_Entries[selection];
        }
        if (entry != nullptr) {
            if (creator.m_Pval) creator.m_Pval->SetWindowingType(*m_pVoiLutManager, entry);
            if (entry->m_FunctionCode == zev::kFunctionSigmoid ||
                entry->m_FunctionCode == zev::kFunctionTable) {
                const int levels = context->GetOutputLevels() < 1 ? 256 : context->GetOutputLevels();
                Mapper_VOILut* const lut =
                    m_pVoiLutManager->CreateDicomVOILut(entry, levels - 1, zev::kVoiLutKeptByManager);
                // The LUT knows the rescale: centre and width go to it unconverted.
                return creator.CopyWindowingTable(lut, center, width, IsInverse(), isSigned, m_pColorMap);
            }
        }
    }

    int storedCenter = center;
    int storedWidth = width;
    int storedMin = windowMin;
    int storedMax = windowMax;
    bool inverse = IsInverse();
    if (GetUseRescale() && slope != 0.0f) {
        storedCenter = to_stored(center, intercept, slope);
        storedWidth = zev::TruncToInt(std::fabs(static_cast<float>(width) / slope));
        storedMin = to_stored(windowMin, intercept, slope);
        storedMax = to_stored(windowMax, intercept, slope);
        // Stored values run against modality values: the ramp is reversed in this build, the object stays as
        // it is.
        if (slope < 0.0f) inverse = !inverse;
    }
    if (!GetMinMaxScaleMode()) {
        const int half = storedWidth / 2;
        storedMax = zev::Add(half, storedCenter);
        storedMin = zev::Subtract(storedCenter, half);
    }
    return creator.PrepareWindowingTable(storedMin, storedMax, inverse, isSigned, m_pColorMap);
}

ZEV_Params::TableCreator::~TableCreator() = default;

ZEV_AbstractWindowingTable* ZEV_Params::TableCreator::PrepareWindowingTable(int windowMin, int windowMax,
                                                                            bool inverse, bool isSigned,
                                                                            ZEV_ColorMap* colorMap) {
    if (m_TableSize == 0) return nullptr;
    m_Signed = isSigned;
    m_Inverse = inverse;
    m_pColorMap = colorMap;
    m_NormalizedMin = static_cast<float>(windowMin) / static_cast<float>(m_TableSize);
    m_NormalizedMax = static_cast<float>(windowMax) / static_cast<float>(m_TableSize);
    std::unique_ptr<ZEV_AbstractWindowingTable> table;
    if (has_defined_table(true)) {
        table.reset(create_table_to_fill(m_InputDepth, m_OutputDepth, isSigned, m_TableSize));
        if (table == nullptr && m_InputDepth < 33 && m_OutputDepth < 33) return nullptr;
    }
    if (table == nullptr) {
        ZEV_LOG("ZEV_Params::TableCreator::PrepareWindowingTable", zev::kLogError,
                "Request for creating an unsupported table\n");
        return nullptr;
    }
    if (isSigned) {
        // Entry 0 of a signed table is the most negative pixel value.
        m_NormalizedMin += 0.5f;
        m_NormalizedMax += 0.5f;
    }
    m_pTable = table.get();
    zev::VisitTableTypes<int>(m_InputDepth, m_OutputDepth, isSigned, 0, [this](auto types) {
        FillFromWindow<typename decltype(types)::In, typename decltype(types)::Out>();
        return 0;
    });
    return table.release();
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
    std::unique_ptr<ZEV_AbstractWindowingTable> table;
    if (has_defined_table(false)) {
        // The LUT is the host's: what it does not write stays 0.
        table.reset(create_table_to_fill(m_InputDepth, m_OutputDepth, isSigned, 0));
        if (table == nullptr && m_InputDepth < 33 && m_OutputDepth < 33) return nullptr;
    }
    if (table == nullptr) {
        ZEV_LOG("ZEV_Params::TableCreator::CopyWindowingTable", zev::kLogError,
                "Request for creating an unsupported table\n");
        return nullptr;
    }
    m_pTable = table.get();
    zev::VisitTableTypes<int>(m_InputDepth, m_OutputDepth, isSigned, 0, [this](auto types) {
        FillFromVoiLut<typename decltype(types)::In, typename decltype(types)::Out>();
        return 0;
    });
    return table.release();
}

ZEV_Params::TableCreator::Mode ZEV_Params::TableCreator::mode() const {
    if (m_TrueColorTarget != 0) return Mode::TrueColor;
    return m_pColorTable != nullptr ? Mode::Palette : Mode::Levels;
}

bool ZEV_Params::TableCreator::has_pval_lut() const { return m_Pval && m_Pval->HasPvalLut(); }

/// A 32-bit input has no entries to fill. Levels go through a gamma table, which exists for 8 bits and for 9
/// to 16; a depth of 33 or more is left to the factory, which says so itself.
bool ZEV_Params::TableCreator::has_defined_table(bool byRamp) const {
    if (m_InputDepth >= 17) return m_InputDepth >= 33;
    const bool needsGammaOfDepth = byRamp && mode() == Mode::Levels && !has_pval_lut();
    return !needsGammaOfDepth || (m_OutputDepth >= 8 && (m_OutputDepth <= 16 || m_OutputDepth >= 33));
}

const ZEV_ColorMap* ZEV_Params::TableCreator::active_color_map() const {
    return m_pColorMap != nullptr && !m_pColorMap->IsDummy() ? m_pColorMap : nullptr;
}

/// The grey levels 0 to 255 as entries: the colour map's colour, or the level in every byte.
template <class Out>
void ZEV_Params::TableCreator::emit_all(Out* entries) const {
    if (const ZEV_ColorMap* const map = active_color_map()) {
        for (int level = 0; level < 256; ++level) {
            entries[level] = static_cast<Out>(static_cast<unsigned>(map->TransformColor(level).toRGB()));
        }
        return;
    }
    for (int level = 0; level < 256; ++level)
        entries[level] = zev::RepeatByte<Out>(static_cast<unsigned char>(level));
}

template <class In, class Out>
void ZEV_Params::TableCreator::FillFromWindow() {
    auto* const table = dynamic_cast<ZEV_WindowingTable<In, Out>*>(m_pTable);
    Out* const entries = table == nullptr ? nullptr : table->GetTable();
    if (entries == nullptr) return;
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
    if (m_Signed) m_pTable->SetOrigin(m_TableSize / 2);
    if (m_UsePadding) blank_padding(entries);
}

template <class Out>
void ZEV_Params::TableCreator::fill_true_color(Out* table, const zev::Ramp& ramp) {
    const bool pval = has_pval_lut();
    if (pval) m_Pval->UpdateWindowValues(ramp.a, ramp.b, 255);

    Out ready[256];
    emit_all(ready);
    zev::FillBelow(table, ramp, ready[m_Inverse ? 255 : 0]);
    if (pval) {
        const bool flip = m_Inverse != m_Pval->IsLutReversing();
        const unsigned short* const lut = m_Pval->m_pWindowLut;
        for (int i = ramp.lo; i < ramp.hi; ++i) table[i] = ready[(flip ? 255 - lut[i] : lut[i]) & 0xFF];
    } else {
        const auto* const gamma =
            static_cast<ZEV_WindowingTable<unsigned char, unsigned char>*>(GetGammaTable())->GetTable();
        Out values[zev::kMaxSteps];
        for (int k = 0; k < zev::kMaxSteps; ++k) values[k] = ready[m_Inverse ? 255 - gamma[k] : gamma[k]];
        const zev::ProductSteps steps{ramp.r, kTrueColorFactor};
        zev::FillRampBySteps(table, ramp, steps, values, static_cast<double>(ramp.r) * kTrueColorFactor, 0.0);
    }
    zev::FillAbove(table, ramp, ready[m_Inverse ? 0 : 255]);
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
        if (m_OutputDepth == 8) {
            fill(valueFrom(
                static_cast<ZEV_WindowingTable<unsigned char, unsigned char>*>(gammaTable)->GetTable()));
        } else {
            fill(valueFrom(
                static_cast<ZEV_WindowingTable<unsigned short, unsigned short>*>(gammaTable)->GetTable()));
        }
    }
    zev::FillAbove(table, ramp, static_cast<Out>(to));
}

/// Every entry of a padding pixel becomes a plain 0. Padding is told in pixel values; the range is cut to the
/// table first.
template <class Out>
void ZEV_Params::TableCreator::blank_padding(Out* table) const {
    const int first = m_Signed ? m_TableSize / 2 : 0;
    const std::int64_t lowest = std::int64_t{std::min(m_PaddingValue, m_PaddingLimit)} + first;
    const std::int64_t highest = std::int64_t{std::max(m_PaddingValue, m_PaddingLimit)} + first;
    const std::int64_t from = std::max<std::int64_t>(lowest, 0);
    const std::int64_t end =
        std::min<std::int64_t>(highest, std::int64_t{m_Signed ? 2 * first : m_TableSize} - 1);
    if (from <= end) std::fill(table + from, table + end + 1, Out{0});
}

template <class In, class Out>
void ZEV_Params::TableCreator::FillFromVoiLut() {
    auto* const table = dynamic_cast<ZEV_WindowingTable<In, Out>*>(m_pTable);
    Out* const entries = table == nullptr ? nullptr : table->GetTable();
    if (entries != nullptr && m_pVoiLut != nullptr) {
        const auto center = static_cast<double>(m_Center);
        const auto width = static_cast<double>(m_Width);
        if constexpr (sizeof(Out) == 1) {
            m_pVoiLut->FillWindowingTable8(entries, m_TableSize, center, width, m_VoiInverse);
        } else if constexpr (sizeof(Out) == 2) {
            m_pVoiLut->FillWindowingTable16(entries, m_TableSize, center, width, m_VoiInverse);
        } else {
            m_pVoiLut->FillWindowingTable32(entries, m_TableSize, center, width, m_VoiInverse);
        }
        if (active_color_map() != nullptr) {
            Out colors[256];
            emit_all(colors);
            for (int i = 0; i < m_TableSize; ++i) entries[i] = colors[entries[i] & 0xFF];
        }
    }
    if (m_Signed) m_pTable->SetOrigin(m_TableSize / 2);
}
