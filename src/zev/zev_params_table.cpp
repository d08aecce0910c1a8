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

/// m_PixelFormat of a true colour raster.
constexpr int kTrueColorFormat = 1;

/// Levels of a graphic context that names none.
constexpr int kDefaultLevels = 256;

/// Entries that a fill writes. Beyond 16 bits no table holds them; such depths are refused before one is
/// filled, and the 1 only keeps them from passing for an empty raster.
int table_size_of(int depth) {
    if (depth < 0) return 0;
    return depth <= zev::kWordBits ? 1 << depth : 1;
}

/// A stored value through rescale the other way, in 32-bit float.
int to_stored(int value, int intercept, float slope) {
    return zev::TruncToInt(static_cast<float>(zev::Subtract(value, intercept)) / slope);
}

}  // namespace

/// The selected entry; null for none, with a log line for a selection from before the present manager.
const Mapper_WindowingEntry* ZEV_Params::entry_to_draw() const {
    if (!m_pVoiLutManager || m_VoiLutSelection < 0) return nullptr;
    const Mapper_WindowingEntry* const entry = selected_entry();
    if (static_cast<std::size_t>(m_VoiLutSelection) >= m_pVoiLutManager->m_Entries.size()) {
        ZEV_LOG("ZEV_Params::BuildTable", zev::kLogUnusual,
                "BuildTable: m_VoiLutSelection has illegal value. pEntry stays NULL. \n");
    }
    return entry;
}

ZEV_AbstractWindowingTable* ZEV_Params::BuildTable(ZEV_TableParams tableParams) {
    TableCreator creator;
    TableSource from;
    if (!prepare_table(tableParams, creator, from)) return nullptr;
    return make_table(tableParams, creator, from);
}

ZEV_AbstractWindowingTable* ZEV_Params::make_table(const ZEV_TableParams& tableParams, TableCreator& creator,
                                                   const TableSource& from) {
    const bool isSigned = tableParams.m_pSourceRaster->m_bSigned;
    return from.isWindow
               ? creator.PrepareWindowingTable(from.first, from.second, from.inverse, isSigned, m_pColorMap)
               : creator.CopyWindowingTable(from.lut, from.first, from.second, from.inverse, isSigned,
                                            m_pColorMap);
}

ZEV_TableSource ZEV_Params::DescribeTable(const ZEV_TableParams& tableParams) {
    TableCreator creator;
    TableSource from;
    ZEV_TableSource source;
    if (!prepare_table(tableParams, creator, from) || creator.m_TableSize == 0 ||
        !creator.CanMake(from.isWindow))
        return source;
    source.inverse = from.inverse;
    if (from.isWindow) {
        const bool isSigned = tableParams.m_pSourceRaster->m_bSigned;
        const zev::Ramp ramp =
            creator.ResolveWindow(from.first, from.second, from.inverse, isSigned, m_pColorMap);
        const int origin = isSigned ? creator.m_TableSize / 2 : 0;
        source.low = zev::Subtract(ramp.a, origin);
        source.high = zev::Subtract(ramp.b, origin);
        source.kind = creator.m_Pval && creator.m_Pval->HasPvalLut() ? ZEV_TableSource::kPresentationLut
                                                                     : ZEV_TableSource::kRamp;
    } else {
        source.center = from.first;
        source.width = from.second;
        source.kind = entry_to_draw()->m_FunctionCode == zev::kFunctionSigmoid ? ZEV_TableSource::kSigmoid
                                                                               : ZEV_TableSource::kVoiLut;
    }
    return source;
}

/// Reads everything that a table depends on. False without rasters or a context.
bool ZEV_Params::prepare_table(const ZEV_TableParams& tableParams, TableCreator& creator, TableSource& from) {
    KIT_Raster* const source = tableParams.m_pSourceRaster;
    KIT_Raster* const target = tableParams.m_pTargetRaster;
    GFX_GraphicContext* const context = tableParams.m_pGraphicContext;
    if (source == nullptr || target == nullptr || context == nullptr) return false;

    const int outputDepth = target->m_BitsPerPixel;
    const int targetFormat = target->m_PixelFormat;
    const int inputDepth = source->m_BitsPerPixel;

    const int intercept = GetRescaleIntercept();
    const float slope = GetRescaleSlope();
    const int center = GetCenter();
    const int width = GetWidth();
    const int windowMin = GetWindowMin();
    const int windowMax = GetWindowMax();

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
    const Mapper_WindowingEntry* const entry = hasPvalLut ? nullptr : entry_to_draw();
    if (entry != nullptr && creator.m_Pval) creator.m_Pval->SetWindowingType(*m_pVoiLutManager, entry);
    // A linear entry is drawn by the ramp below, from this object's own window, which the user may have
    // moved; the linear fill that a Mapper_VOILut has of its own is never asked.
    if (entry != nullptr &&
        (entry->m_FunctionCode == zev::kFunctionSigmoid || entry->m_FunctionCode == zev::kFunctionTable)) {
        const int levels = context->GetOutputLevels() < 1 ? kDefaultLevels : context->GetOutputLevels();
        Mapper_VOILut* const lut =
            m_pVoiLutManager->CreateDicomVOILut(entry, levels - 1, zev::kVoiLutKeptByManager);
        // The LUT knows the rescale: centre and width go to it unconverted.
        from = {false, lut, center, width, IsInverse()};
        return true;
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
    from = {true, nullptr, storedMin, storedMax, inverse};
    return true;
}
