// Passing a finished raster through the printer's LUT.

#include <GFX/GFX_PrintRaster.h>
#include <MAPPER/Mapper_Point.h>
#include <MAPPER/Mapper_PrinterLUT.h>

#include "zev_log.h"
#include "zev_table_creator.h"

void ZEV_Params::TableCreator::ApplyPrinterLUT(GFX_GraphicContext* context, KIT_Raster* raster, int xMin,
                                               int xMax, int yMin, int yMax) {
    if (context == nullptr || raster == nullptr || !context->IsPrintRaster()) return;
    Mapper_PrinterLUT* const lut = static_cast<GFX_PrintRaster*>(context)->GetPrinterLUT();
    if (lut == nullptr) return;
    Mapper_Point topLeft(xMin, yMin);
    Mapper_Point bottomRight(xMax, yMax);

    constexpr int kPaletteFormat = 0;
    constexpr int kTrueColorFormat = 1;
    const char* const function = "ZEV_Params::TableCreator::ApplyPrinterLUT";
    const int depth = raster->m_BitsPerPixel;
    unsigned short bitsAllocated = 8;
    unsigned short bitsStored = 8;
    unsigned short samplesPerPixel = 1;
    if (raster->m_PixelFormat == kPaletteFormat) {
        bitsStored = static_cast<unsigned short>(depth);
        if (depth >= 9 && depth <= 16) {
            bitsAllocated = 16;
        } else if (depth != 8) {
            ZEV_LOG(function, zev::kLogError, "Unsupported output format, Cannot convert input\n");
        }
    } else if (raster->m_PixelFormat == kTrueColorFormat) {
        samplesPerPixel = 4;
    } else {
        ZEV_LOG(function, zev::kLogError, "Unsupported output format, Cannot convert input\n");
        return;
    }
    const unsigned long count = static_cast<unsigned long>(static_cast<unsigned>(raster->m_Width)) *
                                static_cast<unsigned>(raster->m_Height);
    lut->ApplyPrinterLUT(raster->GetPixels(), count, bitsAllocated, bitsStored, samplesPerPixel,
                         raster->m_Width, raster->m_Height, &topLeft, &bottomRight);
}
