#pragma once

#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_Export.h>

class GFX_GraphicContext;
class KIT_BaseParamsVec;
class KIT_Raster;

/// What a table is built for. Passed by value; owns nothing. BuildTable gives null where the context or a
/// raster is null.
class ZEV_API ZEV_TableParams {
public:
    ZEV_TableParams(KIT_BaseParamsVec* paramsVec, GFX_GraphicContext* context, KIT_Raster* source,
                    KIT_Raster* target, KIT_Rect outputRect)
        : m_pParamsVec(paramsVec),
          m_pGraphicContext(context),
          m_pSourceRaster(source),
          m_pTargetRaster(target),
          m_OutputRect(outputRect) {}

    KIT_BaseParamsVec* m_pParamsVec;        ///< all parameter objects of the view; null: no mask is drawn
    GFX_GraphicContext* m_pGraphicContext;  ///< the drawing target: palette and number of output levels
    KIT_Raster* m_pSourceRaster;            ///< holds the pixel values: the table's input depth and sign
    KIT_Raster* m_pTargetRaster;  ///< receives the display values: the table's output depth and mode
    KIT_Rect m_OutputRect;        ///< the output rectangle in screen pixels, right and bottom excluded
};
