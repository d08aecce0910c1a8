#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "brightness.h"
#include "io/picture.h"
#include "presentation.h"
#include "region_view.h"

/// What a picture is drawn with, whatever the image.
struct DrawingOptions {
    PresentationOptions presentation;
    BrightnessOptions brightness;
    ViewOptions view;
    int bits = 8;
    std::string fit;  ///< WxH, or empty
};

/// What is known of a picture that was drawn.
struct DrawnPicture {
    Picture picture;
    std::optional<int> center, width;
    std::string windowSource;
    std::vector<Note> notes;
};

/// Draws a frame with all that lies on it: its regions, shutters, overlays and annotations. Throws as opening
/// an image does.
DrawnPicture DrawFrame(const std::string& path, const DrawingOptions& options, int frame);

/// Two numbers from 1 on, "800x600".
std::optional<std::pair<int, int>> ParseSize(const std::string& text);
