#include "placement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "io/dicom_tags.h"
#include "io/number.h"
#include "io/present_error.h"
#include "io/presentation_state.h"
#include "presentation.h"

namespace {

/// A screen of more pixels than this is a mistyped size.
constexpr int kLongestSide = 16384;
/// A picture of more pixels than this, and than the image has, costs hundreds of megabytes.
constexpr double kMostPixels = 1 << 26;
/// A displayed area reaches no farther from the image's first pixel.
constexpr double kFarthest = 1e6;
/// Beyond it one pixel of the image would be a line.
constexpr double kMostAspect = 100.0;
constexpr double kMillimetresPerInch = 25.4;
/// Beyond these nothing is to be seen, and sizes and distances would leave the numbers that hold them.
constexpr double kLeastZoom = 1e-6, kMostZoom = 1e6, kFarthestPan = 1e9, kMostDegrees = 1e6;

/// One side of a screen; 0 for a text that is not one.
int side_of(const std::string& text) {
    const std::optional<double> side = ParseNumber(text);
    const bool isSide = side && *side >= 1 && *side <= kLongestSide && *side == std::floor(*side);
    return isSide ? static_cast<int>(*side) : 0;
}

int rounded_side(double side) { return static_cast<int>(std::max(std::round(side), 1.0)); }

struct Size {
    double width, height;
};

/// Height first, as DICOM gives spacing and aspect ratio.
std::optional<Size> size_of_pixel(const DicomDataSet& set, std::initializer_list<std::uint32_t> tags) {
    for (const std::uint32_t tag : tags) {
        const std::vector<double> pair = set.Numbers(tag, 2);
        if (pair.size() == 2 && pair[0] > 0 && pair[1] > 0 && std::isfinite(pair[0]) &&
            std::isfinite(pair[1]))
            return Size{pair[1], pair[0]};
    }
    return std::nullopt;
}

/// What a presentation state says of where the image lies; the area in image coordinates.
struct Wanted {
    Canvas::Area area{};
    /// The state's own, also where the user's zoom or pan goes over it: annotations refer to it.
    Canvas::Area annotated{};
    bool isWhole = true;
    /// Millimetres, where they are known; else only the ratio counts.
    std::optional<Size> pixel;
    bool isInMillimetres = false;
    Placement::SizeMode mode = Placement::kFit;
    double magnification = 1.0;
    double rotation = 0.0;
    bool flip = false;
};

void take_area(const PresentationState& state, const DicomDataSet& item, Wanted& wanted) {
    const std::vector<double> first = item.Numbers(tag::kDisplayedAreaTopLeft, 2),
                              last = item.Numbers(tag::kDisplayedAreaBottomRight, 2);
    if (first.size() != 2 || last.size() != 2)
        throw PresentError(state.path, "its displayed area has no corners");
    // The corners are those on the screen, after rotation and flip: either may come first in the image.
    const Canvas::Area area{std::min(first[0], last[0]) - 1.0, std::min(first[1], last[1]) - 1.0,
                            std::max(first[0], last[0]), std::max(first[1], last[1])};
    for (const double side : {area.left, area.top, area.right, area.bottom}) {
        if (!(std::fabs(side) <= kFarthest)) {
            throw PresentError(state.path, "its displayed area, " + NumberText(first[0]) + "," +
                                               NumberText(first[1]) + " to " + NumberText(last[0]) + "," +
                                               NumberText(last[1]) + ", is beyond all reason");
        }
    }
    const Canvas::Area& whole = wanted.area;
    wanted.isWhole = area.left == whole.left && area.top == whole.top && area.right == whole.right &&
                     area.bottom == whole.bottom;
    wanted.area = area;
    const std::string mode = item.Text(tag::kPresentationSizeMode);
    if (mode == "TRUE SIZE") {
        if (!wanted.isInMillimetres)
            throw PresentError(state.path, "asks for the true size and has no pixel spacing");
        wanted.mode = Placement::kTrueSize;
    } else if (mode == "MAGNIFY") {
        const std::vector<double> ratio = item.Numbers(tag::kMagnificationRatio, 1);
        if (ratio.empty() || !(ratio[0] >= 0.001 && ratio[0] <= 1000.0))
            throw PresentError(state.path, "its magnification is not from 0.001 to 1000");
        wanted.mode = Placement::kMagnify;
        // The number that was meant, without the tail of a float.
        wanted.magnification = ParseNumber(NumberText(static_cast<float>(ratio[0]))).value_or(ratio[0]);
    }
}

Wanted wanted_of(const OpenedImage& image, const ViewOptions& options) {
    const DicomDataSet& set = image.File().DataSet();
    Wanted wanted;
    wanted.area = {0.0, 0.0, double(image.File().Columns()), double(image.File().Rows())};
    wanted.annotated = wanted.area;
    wanted.pixel = size_of_pixel(set, {tag::kPixelSpacing, tag::kImagerPixelSpacing});
    wanted.isInMillimetres = wanted.pixel.has_value();
    if (!wanted.pixel) wanted.pixel = size_of_pixel(set, {tag::kPixelAspectRatio});
    const PresentationState* const state = image.State();
    if (state == nullptr) return wanted;

    wanted.rotation = state->set.Word(tag::kImageRotation, 0);
    if (std::fmod(wanted.rotation, 90.0) != 0.0)
        throw PresentError(state->path, "its rotation is not by quarter turns");
    wanted.flip = state->set.Text(tag::kImageHorizontalFlip) == "Y";
    const DicomDataSet* const area = state->DisplayedArea(set.Text(tag::kSopInstance), image.File().Frame());
    if (area == nullptr) return wanted;
    if (const auto spacing = size_of_pixel(*area, {tag::kPresentationPixelSpacing})) {
        wanted.pixel = spacing;
        wanted.isInMillimetres = true;
    } else if (const auto ratio = size_of_pixel(*area, {tag::kPresentationPixelAspectRatio})) {
        wanted.pixel = ratio;
        wanted.isInMillimetres = false;
    }
    const bool isAsked = options.zoom || !options.pan.empty();
    Wanted own = wanted;
    try {
        take_area(*state, *area, own);
        wanted.annotated = own.annotated = own.area;
    } catch (const PresentError&) {
        if (!isAsked) throw;
    }
    return isAsked ? wanted : own;
}

/// Width and height of a pixel, the smaller side 1. Where no row and no column would be added they stay
/// square.
Size stretched(const OpenedImage& image, const Wanted& wanted, const ViewOptions& options) {
    Size size{1.0, 1.0};
    if (options.pixels || !wanted.pixel) return size;
    const double ratio = wanted.pixel->height / wanted.pixel->width;
    if (!(ratio >= 1.0 / kMostAspect && ratio <= kMostAspect)) return size;
    (ratio > 1.0 ? size.height : size.width) = std::max(ratio, 1.0 / ratio);
    const bool isVisible = std::round(size.width * image.File().Columns()) != image.File().Columns() ||
                           std::round(size.height * image.File().Rows()) != image.File().Rows();
    return isVisible ? size : Size{1.0, 1.0};
}

void refuse_unreasonable(const ViewOptions& options) {
    const auto require = [](const char* option, double value, double least, double most) {
        if (!(value >= least && value <= most))
            throw UsageError(std::string(option) + ": " + NumberText(value) + " is beyond all reason");
    };
    if (options.zoom) require("--zoom", *options.zoom, kLeastZoom, kMostZoom);
    if (options.rotate) require("--rotate", *options.rotate, -kMostDegrees, kMostDegrees);
    for (const double pan : options.pan) require("--pan", pan, -kFarthestPan, kFarthestPan);
}

}  // namespace

Placement PlaceImage(const OpenedImage& image, const ViewOptions& options) {
    refuse_unreasonable(options);
    const Wanted wanted = wanted_of(image, options);
    const Size pixel = stretched(image, wanted, options);
    const int columns = image.File().Columns(), rows = image.File().Rows();
    // The state turns first and flips then. Flipped first, it turns the other way.
    const bool flipsAcross = options.flip.empty() ? wanted.flip : options.flip.find('h') != std::string::npos;
    const double rotation = options.rotate.value_or(wanted.flip ? -wanted.rotation : wanted.rotation);
    const bool isQuarterTurn = std::fabs(std::remainder(rotation, 180.0)) == 90.0;
    Size extent{(wanted.area.right - wanted.area.left) * pixel.width,
                (wanted.area.bottom - wanted.area.top) * pixel.height};
    if (isQuarterTurn) std::swap(extent.width, extent.height);

    Placement placement;
    if (wanted.pixel) placement.pixelRatio = wanted.pixel->height / wanted.pixel->width;
    if (!options.size.empty()) {
        const std::size_t by = options.size.find('x');
        placement.width = side_of(options.size.substr(0, by));
        placement.height = by == std::string::npos ? 0 : side_of(options.size.substr(by + 1));
        if (placement.width == 0 || placement.height == 0) {
            throw UsageError("--size: '" + options.size + "' is not WIDTHxHEIGHT, each 1 to " +
                             std::to_string(kLongestSide));
        }
    }
    const auto fit = [&extent](double width, double height) {
        return std::min(width / extent.width, height / extent.height);
    };
    const double most = std::max(kMostPixels, columns * pixel.width * rows * pixel.height);
    double zoom = options.zoom.value_or(1.0);
    if (!options.zoom && wanted.mode == Placement::kMagnify) {
        zoom = wanted.magnification;
    } else if (!options.zoom && wanted.mode == Placement::kTrueSize) {
        zoom = wanted.pixel->width * options.resolution / kMillimetresPerInch / pixel.width;
    } else if (!options.zoom && image.State() != nullptr && !options.size.empty()) {
        zoom = fit(placement.width, placement.height);
    } else if (!options.zoom) {
        zoom =
            std::min({1.0, fit(kLongestSide, kLongestSide), std::sqrt(most / extent.width / extent.height)});
    }
    if (options.size.empty()) {
        const double width = extent.width * zoom, height = extent.height * zoom;
        constexpr double kNoise = 1e-9;
        if (std::max(std::round(width), std::round(height)) > kLongestSide ||
            width * height > most * (1.0 + kNoise)) {
            throw PresentError(image.File().Path(), "a picture of " + std::to_string(std::llround(width)) +
                                                        " x " + std::to_string(std::llround(height)) +
                                                        " pixels is too large: --size shows a part of it");
        }
        placement.width = rounded_side(width);
        placement.height = rounded_side(height);
    }

    SPC_SpaceInfo& space = placement.space;
    space.SetRasterSize(columns, rows);
    space.SetScreenSize(placement.width, placement.height);
    space.SetZoom(zoom);
    space.SetPixelSize(pixel.width, pixel.height);
    space.SetRotation(rotation);
    space.SetFlip(flipsAcross, options.flip.find('v') != std::string::npos);
    double panX = options.pan.size() == 2 ? options.pan[0] : 0.0,
           panY = options.pan.size() == 2 ? options.pan[1] : 0.0;
    if (!wanted.isWhole) {
        const SPC_Affine toScreen = space.GetRaster2Screen();
        const double x = (wanted.area.left + wanted.area.right) / 2.0,
                     y = (wanted.area.top + wanted.area.bottom) / 2.0;
        panX += placement.width / 2.0 - toScreen.X(x, y);
        panY += placement.height / 2.0 - toScreen.Y(x, y);
    }
    space.SetPan(panX, panY);
    const bool isTurned = std::remainder(rotation, 360.0) != 0.0 || flipsAcross || !options.flip.empty();
    placement.isPlain = wanted.isWhole && zoom == 1.0 && pixel.width == 1.0 && pixel.height == 1.0 &&
                        !isTurned && panX == 0.0 && panY == 0.0 && placement.width == columns &&
                        placement.height == rows;

    placement.shown = wanted.area;
    placement.mode = wanted.mode;
    placement.isFilled = options.size.empty() && options.pan.empty();
    const SPC_Affine toScreen = space.GetRaster2Screen();
    Canvas::Area& area = placement.area;
    constexpr double kMost = std::numeric_limits<double>::max();
    area = {kMost, kMost, -kMost, -kMost};
    for (const double x : {wanted.annotated.left, wanted.annotated.right}) {
        for (const double y : {wanted.annotated.top, wanted.annotated.bottom}) {
            area.left = std::min(area.left, toScreen.X(x, y));
            area.right = std::max(area.right, toScreen.X(x, y));
            area.top = std::min(area.top, toScreen.Y(x, y));
            area.bottom = std::max(area.bottom, toScreen.Y(x, y));
        }
    }
    return placement;
}
