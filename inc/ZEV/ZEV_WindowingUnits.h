#pragma once

#include <COM/bstr.h>
#include <SPC/SPC_MeasurementUnits.h>
#include <ZEV/ZEV_Export.h>

/// The units that a windowing preset can be stated in, with their texts in the configuration and their
/// counterparts in the host. What has no counterpart is -1.
class ZEV_API ZEV_WindowingUnits {
public:
    enum Units : int {
        UNITS_UNINITIALIZED = -1,
        UNITS_RAW = 0,
        UNITS_SUV_BW = 1,
        UNITS_SUV_BSA = 2,
        UNITS_SUV_LBM = 3,
        UNITS_PERCENTAGE_MAX_RANGE = 4
    };

    /// By the whole text, upper and lower case being different: "raw", "suv_bw", "suv_bsa", "suv_lbm",
    /// "percentage_max_range".
    static Units ConvertFromString(_bstr_t text);
    /// "Uninitialized", which is not read back, for any other number.
    static _bstr_t ConvertToString(Units units);
    static SPC_MEASUREMENT_UNITS ConvertFromZevWindowingUnits(Units units);
    static Units ConvertSpcUnitsToZevUnits(SPC_MEASUREMENT_UNITS units);
};
