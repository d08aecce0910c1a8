#pragma once

#include <optional>
#include <string>
#include <vector>

/// A region of an image with a windowing of its own, as the user writes it down:
///
///     polygon:10,10 200,10 100,180;center=-600;width=1600
///     rect:10,20,110,80;preset=lung;negate
///     ellipse:64,64,30,20;colormap=1.2.840.10008.1.5.1;gamma=0.8;invert;inactive
///     mask:tumour.png;center=300;width=600
///     runs:12,40,60 13,38,62;center=300;width=600
///
/// Coordinates are image pixels; pixel (x, y) covers x to x + 1 and y to y + 1. A rectangle is told by two
/// corners, an ellipse by its centre and half axes. A mask is a PNG of the image's size, inside where it is
/// not black; runs are lines of it, row and first and end column, which is how a mask is stored.
struct RegionSpec {
    enum Shape { kPolygon, kRuns };
    struct Point {
        double x, y;
    };
    struct Run {
        int y, left, right;
    };

    Shape shape = kPolygon;
    std::vector<Point> outline;
    std::vector<Run> runs;
    /// In modality units.
    std::optional<double> center;
    std::optional<double> width;
    std::string preset;
    std::string colorMap;
    std::optional<float> gamma;
    bool invert = false;
    bool negate = false;
    bool inactive = false;

    /// The same as one text that reads back as this region, a mask as its runs.
    std::string ToText() const;
};

/// Throws UsageError, and PresentError for a mask picture that cannot be read.
RegionSpec ParseRegion(const std::string& text);
