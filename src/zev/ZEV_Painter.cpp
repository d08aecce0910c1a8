#include <GFX/GFX_GraphicContext.h>
#include <KIT/KIT_Raster.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <utility>

#include "zev_paint_kernels.h"
#include "zev_table_creator.h"
#include "zev_table_types.h"

namespace {

std::uint8_t bytes_of(int depth) { return depth <= zev::kByteBits ? 1 : depth <= zev::kWordBits ? 2 : 4; }

}  // namespace

ZEV_Painter::ZEV_Painter(ZEV_Params& params, const ZEV_TableParams& tableParams) {
    ZEV_Params::TableCreator creator;
    ZEV_Params::TableSource from;
    if (!params.prepare_table(tableParams, creator, from)) return;
    const bool isSigned = tableParams.m_pSourceRaster->m_bSigned;
    m_Plan.pixelBytes = bytes_of(creator.m_InputDepth);
    m_Plan.outBytes = bytes_of(creator.m_OutputDepth);
    m_Plan.origin = static_cast<std::uint16_t>(isSigned ? creator.m_TableSize / 2 : 0);
    if (from.isWindow &&
        creator.PlanRamp(from.first, from.second, from.inverse, isSigned, params.GetColorMap(), m_Plan)) {
        return;
    }
    m_Plan.method = Plan::kNothing;
    m_Table.reset(params.make_table(tableParams, creator, from));
    if (m_Table == nullptr) return;
    m_Plan.entries = zev::VisitTableTypes<zev::kWordBits, const void*>(
        creator.m_InputDepth, creator.m_OutputDepth, isSigned, nullptr, [this](auto types) -> const void* {
            using Types = decltype(types);
            const auto* const origin =
                static_cast<ZEV_WindowingTable<typename Types::In, typename Types::Out>&>(*m_Table)
                    .GetTable();
            return origin == nullptr ? nullptr : origin - m_Plan.origin;
        });
    if (m_Plan.entries != nullptr) m_Plan.method = Plan::kTable;
}

ZEV_Painter::~ZEV_Painter() = default;
ZEV_Painter::ZEV_Painter(ZEV_Painter&& other) noexcept
    : m_Plan(std::exchange(other.m_Plan, Plan())), m_Table(std::move(other.m_Table)) {}
ZEV_Painter& ZEV_Painter::operator=(ZEV_Painter&& other) noexcept {
    m_Table = std::move(other.m_Table);
    m_Plan = std::exchange(other.m_Plan, Plan());
    return *this;
}

void ZEV_Painter::Paint(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
                        std::ptrdiff_t outStride) const {
    paint(pixels, pixelStride, width, height, out, outStride, m_Plan.outBytes);
}

void ZEV_Painter::PaintRgb(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
                           std::ptrdiff_t outStride) const {
    if (m_Plan.outBytes == 4) paint(pixels, pixelStride, width, height, out, outStride, 3);
}

void ZEV_Painter::paint(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
                        std::ptrdiff_t outStride, int outBytes) const {
    if (!IsReady() || pixels == nullptr || out == nullptr || width <= 0 || height <= 0) return;
    auto count = static_cast<std::size_t>(width);
    if (pixelStride == std::ptrdiff_t{width} * m_Plan.pixelBytes &&
        outStride == std::ptrdiff_t{width} * outBytes) {
        count *= static_cast<std::size_t>(height);
        height = 1;
    }
    const auto* from = static_cast<const unsigned char*>(pixels);
    auto* to = static_cast<unsigned char*>(out);
    for (int y = 0; y < height; ++y, from += pixelStride, to += outStride)
        zev::PaintRun(m_Plan, from, count, to, outBytes);
}
