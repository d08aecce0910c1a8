#include "drawing.h"

#include <cstdio>

#include "io/picture_scale.h"
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

DrawnPicture DrawFrame(const std::string& path, const DrawingOptions& options, int frame) {
    PresentationOptions presentation = options.presentation;
    presentation.frame = frame;
    OpenedImage image(path, presentation);
    ZEV_RGBParams rgb;
    ReadBrightness(image, options.brightness, rgb);
    BurnBrightness(image, rgb);
    const std::vector<RegionSpec> regions = AllRegions(image, options.view);
    const Placement placement = PlaceImage(image, options.view);
    DrawnPicture drawn;
    drawn.picture =
        regions.empty() && placement.isPlain
            ? Render(image, options.bits)
            : RegionView(image, presentation, regions, placement, options.view.smooth).Draw(options.bits);
    if (const auto size = ParseSize(options.fit))
        drawn.picture = Fit(drawn.picture, size->first, size->second);
    if (!image.File().IsColour()) {
        drawn.center = image.Params().GetCenter();
        drawn.width = image.Params().GetWidth();
        drawn.windowSource = NameOf(image.GetWindowSource());
    }
    drawn.notes = image.Notes();
    return drawn;
}
