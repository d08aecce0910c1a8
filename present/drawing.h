#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "brightness.h"
#include "io/picture.h"
#include "layer.h"
#include "presentation.h"
#include "region_view.h"

/// What a picture is drawn with, whatever the image.
struct DrawingOptions {
    PresentationOptions presentation;
    BrightnessOptions brightness;
    ViewOptions view;
    bool overlays = true;
    /// Those of a presentation state.
    bool annotations = true;
    std::string overlayColour = "white";
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

/// Looks on while an image is drawn. The picture is what has been drawn so far.
class DrawingObserver {
public:
    virtual ~DrawingObserver() = default;
    /// `regions` is null for an image without any.
    virtual void ImageDrawn(const Picture& picture, const Placement& placement, RegionView* regions) = 0;
    virtual void LayerDrawn(const Canvas& canvas, const Layer& layer) = 0;
};

/// What lies on the image, from the bottom: shutters, then overlays and annotations, those of a presentation
/// state in the order of its graphic layers. `pixelRatio` is that of a placement.
Layers LayersOf(const OpenedImage& image, const DrawingOptions& options, double pixelRatio,
                std::vector<Note>* notes);

/// Draws an image with all that lies on it: its regions, shutters, overlays and annotations.
Picture DrawImage(OpenedImage& image, const DrawingOptions& options, std::vector<Note>* notes,
                  DrawingObserver* observer = nullptr);

/// Opens a frame and draws it. Throws as opening an image does.
DrawnPicture DrawFrame(const std::string& path, const DrawingOptions& options, int frame);

/// Two numbers from 1 on, "800x600".
std::optional<std::pair<int, int>> ParseSize(const std::string& text);
