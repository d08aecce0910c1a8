#pragma once

#include <SPC/SPC_SpaceInfo.h>

#include <optional>
#include <string>
#include <vector>

#include "layer.h"

class OpenedImage;

/// Where the image lies on the screen, and the regions drawn on it. What the user does not ask for is as the
/// presentation state has it.
struct ViewOptions {
    std::vector<std::string> regions;
    std::optional<double> zoom;
    std::vector<double> pan;       ///< x,y in screen pixels
    std::optional<double> rotate;  ///< degrees clockwise
    std::string flip;              ///< "h", "v", "hv" or empty
    std::string size;              ///< WxH; when empty that of what is shown
    bool smooth = false;           ///< bilinear instead of the nearest pixel
    /// One screen pixel per image pixel, also where these are not square.
    bool pixels = false;
    /// Screen pixels per inch, for a presentation in true size.
    double resolution = 96.0;
};

/// The picture of an image: its size, and where the image lies in it.
struct Placement {
    int width = 0;
    int height = 0;
    SPC_SpaceInfo space;
    /// Where the displayed area lies, and which part of the image it is, in image coordinates.
    Canvas::Area area{};
    Canvas::Area shown{};
    /// How large a presentation state wants it: fitted, or at the zoom of `space`.
    enum SizeMode { kFit, kTrueSize, kMagnify };
    SizeMode mode = kFit;
    /// The picture shows that part and nothing else.
    bool isFilled = true;
    /// One picture pixel per image pixel, in the order of the image.
    bool isPlain = true;
    /// Height of an image pixel by its width, whether it is drawn so or not.
    double pixelRatio = 1.0;
};

/// The picture shows the whole image or, where a presentation state has one and the user asks for neither
/// zoom nor pan, its displayed area: as large as the area has pixels ("SCALE TO FIT"), magnified, or in true
/// size; within --size, if that is given, fitted or centred. Pixels that are not square are stretched until
/// they are. A quarter turn exchanges width and height. Throws UsageError for a size that is none and for a
/// zoom, pan or rotation that is not finite or out of all proportion, and PresentError for a displayed area
/// that cannot be shown and for a picture of more than 16384 pixels a side, or of more than 2^26 and than the
/// image has, that --size does not ask for.
Placement PlaceImage(const OpenedImage& image, const ViewOptions& options);
