#pragma once

/// What a pixel value can be measured in. The numbers are a contract; 1 and 5 are not in use here.
enum SPC_MEASUREMENT_UNITS : int {
    SPC_UNITS_UNKNOWN = -1,
    /// The units of the modality, as the image's rescale gives them.
    SPC_UNITS_RAW = 0,
    /// Standardised uptake by body weight in g/ml, by body surface in cm2/ml, by lean body mass in g/ml.
    SPC_UNITS_SUV_BW = 2,
    SPC_UNITS_SUV_BSA = 3,
    SPC_UNITS_SUV_LBM = 4,
    /// Per cent of the way from the lowest to the highest value that the image can hold.
    SPC_UNITS_PERCENTAGE_MAX_RANGE = 6
};
