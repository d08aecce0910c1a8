#pragma once

#include <ZEV/ZEV_WindowingTable.h>

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

/// The table that the image's parameters give for a target. Throws PresentError when none is defined for the
/// two.
std::unique_ptr<ZEV_AbstractWindowingTable> BuildTable(OpenedImage& image, const TableTarget& target);

/// All entries of a table for the raster's pixels as raw little-endian numbers, in the order of the storage.
std::vector<std::uint8_t> TableBytes(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster,
                                     int outputDepth);

/// One picture pixel per image pixel; pixels that the file lacks are black.
Picture Render(OpenedImage& image);
