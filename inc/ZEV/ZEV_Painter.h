#pragma once

#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_TableParams.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class ZEV_AbstractWindowingTable;
class ZEV_Params;

/// Turns rows of stored pixels into display values: exactly those of the table that ZEV_Params::BuildTable
/// makes from the same arguments, for which no table has to be built where the display values are a ramp
/// with 256 levels.
///
///     const ZEV_Painter painter(frozen, tableParams);               // one for each drag step
///     if (painter.IsReady()) painter.Paint(pixels, rowBytes, width, height, frame, frameRowBytes);
///
/// A ramp is worked out with vector instructions, chosen for this machine at run time. Everything else (VOI
/// and presentation LUTs, colour maps, palettes, display values of more than 8 bits) is read from a table
/// that the painter keeps. A subclass that builds tables of its own is not asked.
///
/// The parameter object and the rasters are looked at by the constructor alone. A painter is const, and
/// several threads may paint with it at once, each its own rows.
class ZEV_API ZEV_Painter {
public:
    /// The arguments of BuildTable, with the same log lines. Not ready where BuildTable would give null.
    ZEV_Painter(ZEV_Params& params, const ZEV_TableParams& tableParams);
    ~ZEV_Painter();
    /// The other is not ready afterwards.
    ZEV_Painter(ZEV_Painter&&) noexcept;
    ZEV_Painter& operator=(ZEV_Painter&&) noexcept;

    bool IsReady() const { return m_Plan.method != Plan::kNothing; }
    /// Whether pixels are looked up in a table.
    bool HasTable() const { return m_Table != nullptr; }

    /// Paints `width` times `height` pixels: 8-bit ones for source rasters of up to 8 bits per pixel, else
    /// 16-bit ones, in this machine's order. Display values have 8, 16 or 32 bits like the table's. A row
    /// follows the other after `pixelStride` or `outStride` bytes, which may be negative. Each row begins
    /// at a multiple of its pixels' or display values' size. Input and output must not overlap. A pixel
    /// outside the raster's depth, for which the table has no entry, becomes 0. Does nothing unless ready,
    /// with a null pointer, or without pixels.
    void Paint(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
               std::ptrdiff_t outStride) const;
    /// The same into three bytes per pixel: bits 16 to 23 of the display value, 8 to 15, 0 to 7; red, green
    /// and blue in true colour. For display values of 32 bits.
    void PaintRgb(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
                  std::ptrdiff_t outStride) const;

    /// How display values are found. Plain numbers, for the painting loops.
    struct Plan {
        enum Method : std::uint8_t { kNothing, kTable, kNarrow, kWide, kLevels };
        /// Pixels with table indices first to first + more, counted in 16 bits, are 0.
        struct Blank {
            std::uint16_t first, more;
        };

        Method method = kNothing;
        std::uint8_t pixelBytes = 0;
        std::uint8_t outBytes = 0;
        /// What every level is xored with: 0xFF turns the ramp over.
        std::uint8_t flip = 0;
        bool hasBlanks = false;
        Blank blanks[2] = {};
        /// The table index of pixel value 0: a pixel's index is the sum, in 16 bits.
        std::uint16_t origin = 0;
        /// The position on the ramp is the index + raise, at most 65535, - lower, at least 0.
        std::uint16_t raise = 0, lower = 0;
        /// See zev_step_multiplier.h.
        std::uint32_t multiplier = 0;
        /// Steps per position for levels.
        float reciprocal = 0.0f;
        /// Null, or 256 levels that take the place of the ramp's. Never freed.
        const unsigned char* map = nullptr;
        /// The table's first entry.
        const void* entries = nullptr;
    };

private:
    void paint(const void* pixels, std::ptrdiff_t pixelStride, int width, int height, void* out,
               std::ptrdiff_t outStride, int outBytes) const;

    Plan m_Plan;
    std::unique_ptr<ZEV_AbstractWindowingTable> m_Table;
};
