#pragma once

#include <COM/bstr.h>
#include <ZEV/ZEV_Export.h>

/// The configured windowing presets and colour maps.
class ZEV_API ZEV_Presets {
public:
    /// The identifiers of the two built-in colour maps.
    static _bstr_t GetGrayscaleColormapUID();
    static _bstr_t GetInverseGrayscaleColormapUID();
};
