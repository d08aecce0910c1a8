#include <ZEV/ZEV_Presets.h>

_bstr_t ZEV_Presets::GetGrayscaleColormapUID() { return L"Grayscale"; }
_bstr_t ZEV_Presets::GetInverseGrayscaleColormapUID() { return L"Inversed Grayscale"; }
