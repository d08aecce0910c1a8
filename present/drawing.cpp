#include "drawing.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "io/picture_scale.h"
#include "overlays.h"
#include "renderer.h"

std::optional<std::pair<int, int>> ParseSize(const std::string& text) {
    int width = 0, height = 0, length = 0;
    constexpr int kMost = 65535;
    if (std::sscanf(text.c_str(), "%5dx%5d%n", &width, &height, &length) != 2 ||
        static_cast<std::size_t>(length) != text.size() || width < 1 || height < 1 || width > kMost ||
        height > kMost) {
        return std::nullopt;
    }
    return std::make_pair(width, height);
}

namespace {

/// What lies on the image, from the bottom: shutters, overlays, annotations.
Layers layers_of(const OpenedImage& image, const DrawingOptions& options) {
    Layers layers;
    const auto add = [&layers](Layers more) {
        std::move(more.begin(), more.end(), std::back_inserter(layers));
    };
    const Ink ink = ParseInk(options.overlayColour, "--overlay-color");
    if (options.overlays) add(OverlayLayers(image.File().Overlays(), ink));
    return layers;
}

Picture in_colour(const Picture& grey) {
    Picture picture(grey.width, grey.height);
    for (std::size_t i = 0; i < grey.bytes.size(); ++i)
        std::fill_n(picture.bytes.begin() + static_cast<std::ptrdiff_t>(3 * i), 3, grey.bytes[i]);
    return picture;
}

}  // namespace

Picture DrawImage(OpenedImage& image, const DrawingOptions& options, std::vector<Note>* notes,
                  DrawingObserver* observer) {
    static_cast<void>(notes);
    const std::vector<RegionSpec> specs = AllRegions(image, options.view);
    const Placement placement = PlaceImage(image, options.view);
    std::optional<RegionView> regions;
    if (!specs.empty() || !placement.isPlain)
        regions.emplace(image, options.presentation, specs, placement, options.view.smooth);
    Picture picture = regions ? regions->Draw(options.bits) : Render(image, options.bits);
    if (observer != nullptr) observer->ImageDrawn(picture, placement, regions ? &*regions : nullptr);

    const Layers layers = layers_of(image, options);
    const bool isColoured =
        std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return layer->IsColoured(); });
    if (isColoured && picture.form == Picture::kGrey8) picture = in_colour(picture);
    const SPC_Affine toImage = placement.space.GetScreen2Raster();
    const Canvas canvas{picture, toImage.Inverse(), toImage, placement.area};
    for (const auto& layer : layers) {
        layer->Draw(canvas);
        if (observer != nullptr) observer->LayerDrawn(picture, *layer);
    }
    return picture;
}

DrawnPicture DrawFrame(const std::string& path, const DrawingOptions& options, int frame) {
    PresentationOptions presentation = options.presentation;
    presentation.frame = frame;
    OpenedImage image(path, presentation);
    ZEV_RGBParams rgb;
    ReadBrightness(image, options.brightness, rgb);
    BurnBrightness(image, rgb);
    DrawnPicture drawn;
    DrawingOptions here = options;
    here.presentation = presentation;
    drawn.notes = image.Notes();
    drawn.picture = DrawImage(image, here, &drawn.notes);
    if (const auto size = ParseSize(options.fit))
        drawn.picture = Fit(drawn.picture, size->first, size->second);
    if (!image.File().IsColour()) {
        drawn.center = image.Params().GetCenter();
        drawn.width = image.Params().GetWidth();
        drawn.windowSource = NameOf(image.GetWindowSource());
    }
    return drawn;
}
