#pragma once

#include <HOST_Export.h>

/// What is drawn on.
class HOST_API GFX_GraphicContext {
public:
    virtual ~GFX_GraphicContext();
    /// The number of output levels, one more than the highest level. May be 0 or less when unknown.
    virtual int GetOutputLevels() = 0;
    /// Writes the address of the palette, an array of ready 32-bit display values, or null; returns the
    /// number of colours. The palette stays the context's.
    virtual int GetPalette(void** palette) = 0;
    /// True if the object is a GFX_PrintRaster.
    virtual bool IsPrintRaster() = 0;
};
