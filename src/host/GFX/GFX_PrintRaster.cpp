#include <GFX/GFX_PrintRaster.h>

GFX_PrintRaster::GFX_PrintRaster(int outputLevels, Mapper_PrinterLUT* printerLut)
    : m_OutputLevels(outputLevels), m_pPrinterLut(printerLut) {}

int GFX_PrintRaster::GetOutputLevels() { return m_OutputLevels; }

int GFX_PrintRaster::GetPalette(void** palette) {
    *palette = nullptr;
    return 0;
}

bool GFX_PrintRaster::IsPrintRaster() { return true; }
Mapper_PrinterLUT* GFX_PrintRaster::GetPrinterLUT() { return m_pPrinterLut; }
