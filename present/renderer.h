#pragma once

#include <ZEV/ZEV_WindowingTable.h>

#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>
#include <memory>
#include <string>
#include <vector>

#include "io/picture.h"
#include "presentation.h"

/// What a table is made for.
struct TableTarget {
    enum Mode { kTrueColour, kLevels, kPalette };
    Mode mode = kTrueColour;
    /// 8, 16 or 32 bits per display value.
    int depth = 32;
};

/// What a table or a painter is made for: the arguments of both, for one image.
class TargetForm {
public:
    TargetForm(OpenedImage& image, const TableTarget& target, const KIT_Rect& outputRect);
    const ZEV_TableParams& Params() const { return m_Params; }

private:
    refhost::MemoryContext m_Context;
    refhost::MemoryRaster m_Raster;
    ZEV_TableParams m_Params;
};

/// The table that the image's parameters give for a target. Throws PresentError when none is defined for the
/// two.
std::unique_ptr<ZEV_AbstractWindowingTable> BuildTable(OpenedImage& image, const TableTarget& target);

/// What the tables of the image are made from.
ZEV_TableSource DescribeTable(OpenedImage& image);

/// The level of 256 grey ones that the painter gives a pixel value, before a colour map.
int PaintedLevel(OpenedImage& image, int pixel);

/// All entries of a table for the raster's pixels as raw little-endian numbers, in the order of the storage.
std::vector<std::uint8_t> TableBytes(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster,
                                     int outputDepth);

/// The target of a picture with 8 or 16 bits per sample: true colour, or 65,536 levels of grey.
TableTarget PictureTarget(int bits);

/// Puts the colours of a supplemental palette over painted pixels; in 16 bits of grey their brightness (ITU-R
/// BT.601). `pixels` are those of the raster, `painted` is not of 8 bits of grey.
void PaintSupplement(const SupplementalPalette& palette, const KIT_Raster& raster, const void* pixels,
                     std::size_t count, Picture::Form form, std::uint8_t* painted);

/// Throws PresentError for an image in colour that is to be drawn in 16 bits.
void RefuseColourIn16Bits(const OpenedImage& image, int bits);

/// One picture pixel per image pixel; pixels that the file lacks are black. In 8 bits, grey unless the image
/// or its colour map has colours, or in 16 bits of grey.
Picture Render(OpenedImage& image, int bits = 8);
