#pragma once

/// Where the entries of a table come from: what ZEV_Params::BuildTable has resolved when it begins to fill.
struct ZEV_TableSource {
    enum Kind {
        kNone,             ///< no table is defined
        kRamp,             ///< levels rise from `low` to `high`, through gamma
        kPresentationLut,  ///< the same through the presentation LUT, without gamma
        kSigmoid,          ///< a VOI function with its centre and width
        kVoiLut            ///< a VOI LUT, stretched to centre and width
    };

    Kind kind = kNone;
    /// Of a ramp, in stored pixel values: the first level up to and with `low`, the last one from `high` on,
    /// after every rounding. They may lie outside the raster's range, and in the wrong order.
    int low = 0;
    int high = 0;
    /// Of the others, in modality units.
    int center = 0;
    int width = 0;
    /// Levels fall as stored values rise: the object's inversion, and for a ramp a negative rescale slope.
    bool inverse = false;
};
