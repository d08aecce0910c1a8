#pragma once

#include <optional>
#include <string>
#include <vector>

#include "drawing.h"

/// One step on the way from a stored pixel to the screen.
struct ExplainedStep {
    std::string name;  ///< "stored", "modality", ...; docs/json.md lists them
    std::string text;
    /// The attributes that the step rests on, as the file has them: "(0028,1053) RescaleSlope = 1".
    std::vector<std::string> attributes;
    /// What comes out of the step, where that is a number.
    std::optional<double> value;
};

/// Image column and row, from 0.
struct ImagePoint {
    int x = 0;
    int y = 0;
};

struct Explanation {
    ImagePoint point;
    std::vector<ExplainedStep> steps;
    /// 0xRRGGBB of the picture's pixel; nothing where the point is not on the screen.
    std::optional<std::uint32_t> display;
};

/// How an image comes to look as it does: why this window, and for each point every step from the stored cell
/// to the colour on the screen. The picture is drawn once, and what is reported is taken from the objects
/// that draw it; the last step compares the level with PS3.3 C.11.2.1 in double precision.
///
/// The first explanation is of the image as a whole; one follows for each point. Throws PresentError for a
/// point outside the image.
std::vector<Explanation> Explain(OpenedImage& image, const DrawingOptions& options,
                                 const std::vector<ImagePoint>& points);
