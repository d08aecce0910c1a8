#pragma once

#include <GFX/GFX_GraphicContext.h>
#include <HOST_Export.h>

class Mapper_PrinterLUT;

/// A drawing target that goes to a printer.
class HOST_API GFX_PrintRaster : public GFX_GraphicContext {
public:
    /// The LUT is not owned; it must outlive the raster. Null for none.
    explicit GFX_PrintRaster(int outputLevels, Mapper_PrinterLUT* printerLut = nullptr);

    int GetOutputLevels() override;
    /// No palette.
    int GetPalette(void** palette) override;
    bool IsPrintRaster() override;

    /// The LUT that finished pixels pass through, or null.
    Mapper_PrinterLUT* GetPrinterLUT();

private:
    int m_OutputLevels;
    Mapper_PrinterLUT* m_pPrinterLut;
};
