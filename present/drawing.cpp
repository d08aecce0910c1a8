#include "drawing.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "annotations.h"
#include "io/dicom_tags.h"
#include "io/picture_scale.h"
#include "overlays.h"
#include "renderer.h"
#include "shutters.h"

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

/// The overlay planes that a state shows: those of its own, and those of the image that it activates, each
/// with the colour of its graphic layer. The others are named in the notes.
Layers activated_overlays(const OpenedImage& image, const PresentationState& state,
                          std::vector<Note>* notes) {
    Layers layers;
    std::vector<std::string> problems;
    const std::vector<OverlayPlane> own =
        ReadOverlayPlanes(state.set, image.File().Frame(), nullptr, &problems);
    const std::vector<GraphicLayer> known = ReadGraphicLayers(state);
    const auto add = [&](const OverlayPlane& plane) {
        const std::string name = state.set.Text(DicomTag(plane.group, 0x1001));
        const bool isShutter = state.set.Word(DicomTag(0x0018, 0x1623), 0) == static_cast<int>(plane.group);
        if (name.empty() && !isShutter) {
            char group[8];
            std::snprintf(group, sizeof group, "%04X", plane.group);
            problems.push_back(std::string("overlay ") + group +
                               " is not shown: the presentation state does not activate it");
        }
        if (name.empty()) return;
        const auto layer = std::find_if(known.begin(), known.end(),
                                        [&](const GraphicLayer& one) { return one.name == name; });
        Layers one = OverlayLayers({plane}, layer == known.end() ? Ink() : layer->ink);
        one.front()->order = static_cast<std::size_t>(layer - known.begin());
        layers.push_back(std::move(one.front()));
    };
    for (const OverlayPlane& plane : own) add(plane);
    for (const OverlayPlane& plane : image.File().Overlays()) {
        const bool isReplaced = std::any_of(
            own.begin(), own.end(), [&](const OverlayPlane& other) { return other.group == plane.group; });
        if (!isReplaced) add(plane);
    }
    if (notes != nullptr) {
        for (std::string& problem : problems) notes->push_back({"overlay", std::move(problem)});
    }
    return layers;
}

Picture in_colour(const Picture& grey) {
    Picture picture(grey.width, grey.height);
    for (std::size_t i = 0; i < grey.bytes.size(); ++i)
        std::fill_n(picture.bytes.begin() + static_cast<std::ptrdiff_t>(3 * i), 3, grey.bytes[i]);
    return picture;
}

}  // namespace

Layers LayersOf(const OpenedImage& image, const DrawingOptions& options, double pixelRatio,
                std::vector<Note>* notes) {
    Layers layers;
    const auto add = [&layers](Layers more) {
        std::move(more.begin(), more.end(), std::back_inserter(layers));
    };
    const Ink ink = ParseInk(options.overlayColour, "--overlay-color");
    const PresentationState* const state = image.State();
    if (state == nullptr) {
        if (options.overlays) add(OverlayLayers(image.File().Overlays(), ink));
        return layers;
    }
    add(ShutterLayers(*state, image.File().Rows(), image.File().Columns(), pixelRatio));
    const auto shutters = static_cast<std::ptrdiff_t>(layers.size());
    if (options.overlays) add(activated_overlays(image, *state, notes));
    if (options.annotations) {
        add(AnnotationLayers(*state, image.File().DataSet().Text(tag::kSopInstance), image.File().Frame(),
                             notes));
    }
    std::stable_sort(layers.begin() + shutters, layers.end(),
                     [](const auto& a, const auto& b) { return a->order < b->order; });
    return layers;
}

Picture DrawImage(OpenedImage& image, const DrawingOptions& options, std::vector<Note>* notes,
                  DrawingObserver* observer) {
    const std::vector<RegionSpec> specs = AllRegions(image, options.view);
    const Placement placement = PlaceImage(image, options.view);
    std::optional<RegionView> regions;
    if (!specs.empty() || !placement.isPlain)
        regions.emplace(image, options.presentation, specs, placement, options.view.smooth);
    Picture picture = regions ? regions->Draw(options.bits) : Render(image, options.bits);
    if (observer != nullptr) observer->ImageDrawn(picture, placement, regions ? &*regions : nullptr);

    const Layers layers = LayersOf(image, options, placement.pixelRatio, notes);
    const bool isColoured =
        std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return layer->IsColoured(); });
    if (isColoured && picture.form == Picture::kGrey8) picture = in_colour(picture);
    const SPC_Affine toImage = placement.space.GetScreen2Raster();
    const Canvas canvas{picture, toImage.Inverse(), toImage, placement.area};
    for (const auto& layer : layers) {
        layer->Draw(canvas);
        if (observer != nullptr) observer->LayerDrawn(canvas, *layer);
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
