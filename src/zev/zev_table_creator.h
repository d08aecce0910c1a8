#pragma once

#include <MAPPER/Mapper_Pval.h>
#include <MIR/Mir_AutoPtrThread.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>

#include <cstdint>
#include <utility>

#include "zev_table_fill.h"
#include "zev_table_types.h"

class GFX_GraphicContext;
class Mapper_VOILut;
class ZEV_AbstractWindowingTable;

/// What a table is made from: a window in stored pixel values, or a VOI LUT, which may be null, with centre
/// and width in modality units.
struct ZEV_Params::TableSource {
    bool isWindow = true;
    Mapper_VOILut* lut = nullptr;
    int first = 0;   ///< the window's lower end, or the centre
    int second = 0;  ///< the upper end, or the width
    bool inverse = false;
};

/// What one BuildTable or Finalize call works with. It lives on the stack of that call.
class ZEV_API ZEV_Params::TableCreator {
public:
    TableCreator() = default;
    TableCreator(const TableCreator&) = delete;
    TableCreator& operator=(const TableCreator&) = delete;
    virtual ~TableCreator();

    /// A table from a window in stored pixel values, or null. The caller owns it.
    ZEV_AbstractWindowingTable* PrepareWindowingTable(int windowMin, int windowMax, bool inverse,
                                                      bool isSigned, ZEV_ColorMap* colorMap);
    /// A table from a VOI LUT; zeros with the origin set when there is no LUT.
    ZEV_AbstractWindowingTable* CopyWindowingTable(Mapper_VOILut* lut, int center, int width, bool inverse,
                                                   bool isSigned, ZEV_ColorMap* colorMap);
    /// Whether there are tables of these depths and modes: one of a ramp, or one of a VOI LUT.
    bool CanMake(bool byRamp) const { return m_OutputDepth <= zev::kLongBits && has_defined_table(byRamp); }
    /// The window as PrepareWindowingTable has it, in table indices.
    zev::Ramp ResolveWindow(int windowMin, int windowMax, bool inverse, bool isSigned,
                            ZEV_ColorMap* colorMap);
    /// How to paint what PrepareWindowingTable would make, where that is a ramp with 256 levels of grey; else
    /// false, and a table is needed.
    bool PlanRamp(int windowMin, int windowMax, bool inverse, bool isSigned, ZEV_ColorMap* colorMap,
                  ZEV_Painter::Plan& plan);
    /// The process-wide gamma table for m_Gamma: unsigned 8 to 8 bits for a true colour target or an output
    /// depth of exactly 8, else 16 to 16 bits, of the depth of the first caller. Built on first use, never
    /// freed, not the caller's. A gamma outside the valid range is logged and gets the table of the nearest
    /// valid one, the disabled marker and NaN the identity.
    ZEV_AbstractWindowingTable* GetGammaTable();
    /// Passes a print raster's LUT over the target raster, in place, inside the two points.
    void ApplyPrinterLUT(GFX_GraphicContext* context, KIT_Raster* raster, int xMin, int xMax, int yMin,
                         int yMax);

    int m_InputDepth = 0;                          ///< bits per pixel of the source raster
    int m_OutputDepth = 0;                         ///< bits per pixel of the target raster
    int m_TableSize = 0;                           ///< 1 << input depth: entries that a fill writes
    const std::uint32_t* m_pColorTable = nullptr;  ///< the palette, or null
    int m_NumColors = 0;
    int m_TrueColorTarget = 0;  ///< the target raster is true colour
    int m_MinOutput = 0;
    int m_MaxOutput = 0;
    Mir_AutoPtrThread<Mapper_Pval> m_Pval;
    int m_PaddingValue = 0;
    int m_PaddingLimit = 0;
    float m_Gamma = 1.0f;
    bool m_UsePadding = false;
    // For CopyWindowingTable only.
    Mapper_VOILut* m_pVoiLut = nullptr;
    int m_Center = 0;
    int m_Width = 0;
    bool m_VoiInverse = false;
    // For PrepareWindowingTable only: the window as a fraction of the table.
    float m_NormalizedMin = 0.0f;
    float m_NormalizedMax = 0.0f;
    bool m_Signed = false;
    bool m_Inverse = false;
    ZEV_ColorMap* m_pColorMap = nullptr;

private:
    enum class Mode { TrueColor, Palette, Levels };

    void set_window(int windowMin, int windowMax, bool inverse, bool isSigned, ZEV_ColorMap* colorMap);
    Mode mode() const;
    bool has_pval_lut() const;
    bool has_defined_table(bool byRamp) const;
    const ZEV_ColorMap* active_color_map() const;
    template <class Out>
    void emit_all(Out* entries) const;

    template <class Fill>
    ZEV_AbstractWindowingTable* make_table(const char* function, bool byRamp, int filled, Fill fill);
    template <class Out>
    void FillFromWindow(Out* entries);
    template <class Out>
    void FillFromVoiLut(Out* entries);
    template <class Out>
    void fill_true_color(Out* table, const zev::Ramp& ramp);
    template <class Out>
    void fill_palette(Out* table, const zev::Ramp& ramp);
    template <class Out>
    void fill_levels(Out* table, const zev::Ramp& ramp);
    template <class Out>
    void blank_padding(Out* table) const;
    /// The table entries of padding pixels; an empty range where the first is beyond the last.
    std::pair<std::int64_t, std::int64_t> padding_entries() const;
};
