#include "explanation.h"

#include <DICOM/Dicom_Dictionary.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Painter.h>

#include <refhost/Unicode.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "io/dicom_tags.h"
#include "io/number.h"
#include "io/present_error.h"
#include "io/real_world_values.h"
#include "renderer.h"

namespace {

constexpr std::size_t kLongestValue = 64;

/// "0.15625" for 0.15625, and no more than 10 digits.
std::string text_of(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string hex(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%06X", colour & 0xFFFFFF);
    return text;
}

std::uint32_t colour_at(const Picture& picture, int x, int y) {
    const std::uint8_t* const pixel = picture.At(x, y);
    switch (picture.form) {
        case Picture::kGrey8:
            return pixel[0] * 0x010101U;
        case Picture::kGrey16: {
            std::uint16_t level;
            std::memcpy(&level, pixel, sizeof level);
            return (level >> 8) * 0x010101U;
        }
        case Picture::kRgb:
            break;
    }
    return std::uint32_t{pixel[0]} << 16 | std::uint32_t{pixel[1]} << 8 | pixel[2];
}

std::string place_of(ImagePoint point) {
    return "column " + std::to_string(point.x) + ", row " + std::to_string(point.y);
}

class Explainer {
public:
    /// `image` is that of the region which shows the point, or the image itself. `cell` is the frame as it is
    /// stored.
    Explainer(OpenedImage& image, const StoredFrame& cells)
        : m_Image(image), m_Cells(cells), m_Own(image.File().OwnDataSet()), m_Source(DescribeTable(image)) {}

    std::vector<ExplainedStep> Take() { return std::move(m_Steps); }

    void Add(const char* name, std::string text, const std::vector<std::uint32_t>& tags = {},
             std::optional<double> value = std::nullopt) {
        ExplainedStep step{name, std::move(text), {}, value};
        for (const std::uint32_t tag : tags) {
            if (m_Own.Has(tag)) step.attributes.push_back(attribute(tag));
        }
        m_Steps.push_back(std::move(step));
    }

    /// Whether the file has the pixel; says so where it lacks it.
    bool HasPixel(ImagePoint point) {
        if (Index(point) < m_Cells.present) return true;
        Add("stored", place_of(point) + ": the file is cut short before this pixel, which is drawn black");
        return false;
    }

    std::size_t Index(ImagePoint point) const {
        return static_cast<std::size_t>(point.y) * static_cast<std::size_t>(m_Image.File().Columns()) +
               static_cast<std::size_t>(point.x);
    }

    void Stored(ImagePoint point) {
        const std::size_t at = Index(point);
        const std::int32_t pixel = m_Image.File().Mono().Get(at);
        if (m_Cells.isReal) {
            const double value = m_Cells.Real(at);
            Add("stored",
                place_of(point) + ": a floating-point number of " + std::to_string(m_Cells.bitsAllocated) +
                    " bits, " + NumberText(value),
                {tag::kBitsAllocated}, value);
            Add("pixel", "as presented: " + std::to_string(pixel), {}, pixel);
            return real_world(value);
        }
        const int size = 8 * m_Cells.sampleBytes;
        char bits[16];
        std::snprintf(bits, sizeof bits, "0x%0*X", size / 4, m_Cells.Bits(at));
        const std::int64_t value = SampleValue(m_Cells, at);
        Add("stored",
            place_of(point) + ": cell " + bits + ", of which " + std::to_string(m_Cells.bitsStored) +
                " bits up to bit " + std::to_string(m_Cells.highBit) + ", " +
                (m_Cells.isSigned ? "signed" : "unsigned") + ": " + std::to_string(value),
            {tag::kBitsAllocated, tag::kBitsStored, tag::kHighBit, tag::kPixelRepresentation},
            static_cast<double>(value));
        if (m_Own.FirstItem(tag::kModalityLutSequence) != nullptr || pixel != value) {
            Add("pixel", "as presented: " + std::to_string(pixel), {tag::kModalityLutSequence}, pixel);
        }
        real_world(static_cast<double>(value));
    }

    void StoredColour(ImagePoint point) {
        const auto samples = static_cast<std::size_t>(m_Cells.samples);
        std::string values;
        for (std::size_t i = 0; i < samples; ++i)
            values += (i == 0 ? "" : ", ") + std::to_string(SampleValue(m_Cells, Index(point) * samples + i));
        Add("stored", place_of(point) + ": " + values + " as " + m_Cells.photometric,
            {tag::kPhotometricInterpretation, tag::kBitsStored});
    }

    /// False where the pixel is drawn as padding or has no value: no window counts for it.
    bool Padding(ImagePoint point) {
        ZEV_Params& params = m_Image.Params();
        const int value = params.GetPixelPaddingValue(), limit = params.GetPixelPaddingValueLimit();
        const int pixel = pixel_at(point);
        const bool hasValue = m_Image.File().HasValue(Index(point)),
                   isDefined = value != ZEV_Params::kNoPadding;
        const bool isInside = isDefined && pixel >= std::min(value, limit) && pixel <= std::max(value, limit);
        const bool isReal = m_Own.Has(tag::kFloatPixelPadding) || m_Own.Has(tag::kDoubleFloatPixelPadding);
        Add("padding",
            !hasValue ? "is padding or not a number, and shown below the lowest value"
            : isInside && params.GetUsePadding() ? "is padding, and drawn black"
            : isInside            ? "is padding, which this modality draws like any other value"
            : isDefined || isReal ? "is not padding"
            : m_Own.Has(tag::kPixelPaddingValue)
                ? "the padding value does not count after a Modality LUT or a "
                  "reduction to 16 bits"
                : "the image defines no padding",
            {tag::kPixelPaddingValue, tag::kPixelPaddingRangeLimit, tag::kFloatPixelPadding,
             tag::kFloatPixelPaddingLimit, tag::kDoubleFloatPixelPadding,
             tag::kDoubleFloatPixelPaddingLimit});
        return hasValue && !(isInside && params.GetUsePadding());
    }

    void Modality(ImagePoint point) {
        const Rescale& rescale = m_Image.GetRescale();
        const double value = rescale.Value(pixel_at(point));
        const std::string units = m_Image.UnitsText();
        std::string text = text_of(value) + (units.empty() ? "" : " " + units);
        if (rescale.slope != 1.0 || rescale.intercept != 0.0) {
            text += " = " + std::to_string(pixel_at(point)) + " x " + text_of(rescale.slope) +
                    (rescale.intercept < 0.0 ? " - " : " + ") + text_of(std::fabs(rescale.intercept));
        }
        Add("modality", text,
            {tag::kRescaleSlope, tag::kRescaleIntercept, tag::kRescaleType, tag::kModalityLutSequence},
            value);
        if (const std::optional<double> one = m_Image.OneSuv())
            Add("suv", text_of(value / *one) + " SUV by body weight", {}, value / *one);
    }

    void Windows() {
        const std::vector<WindowStep>& windows = m_Image.WindowSteps();
        Mapper_WindowingManager* const manager = m_Image.Params().GetVoiLutManager();
        const std::size_t entries = manager == nullptr ? 0 : manager->m_Entries.size();
        for (std::size_t i = 0; i < windows.size(); ++i) {
            const bool isChosen = i + 1 == windows.size();
            const WindowStep& window = windows[i];
            Add(isChosen ? "window" : "window-rejected",
                window.what + ": centre " + text_of(window.window.center) + ", width " +
                    text_of(window.window.width) +
                    (isChosen ? ", chosen" : ", gave way to " + windows[i + 1].what),
                window.source == WindowSource::kVoiLutEntry || window.source == WindowSource::kRawAttributes
                    ? std::vector<std::uint32_t>{tag::kWindowCenter, tag::kWindowWidth,
                                                 tag::kWindowExplanation, tag::kVoiLutFunction}
                    : std::vector<std::uint32_t>{});
        }
        for (std::size_t i = 0; i < entries && m_Image.State() == nullptr; ++i) {
            const Mapper_WindowingEntry& entry = *manager->m_Entries[i];
            if (static_cast<int>(i) == m_Image.AsOpened().voiLutSelection ||
                static_cast<int>(i) == m_Image.Params().GetVoiLutSelection())
                continue;
            const Dicom_LO name = entry.GetWindowingExplanation();
            Add("window-rejected", "windowing entry " + std::to_string(i) + " of " + std::to_string(entries) +
                                       ", '" + refhost::ToUtf8(name.GetText(0).c_str()) + "': centre " +
                                       text_of(entry.GetCenter()) + ", width " + text_of(entry.GetWidth()) +
                                       ", not selected: --voi " + std::to_string(i) + " does");
        }
        if (windows.empty() || windows.front().source == WindowSource::kAutomatic ||
            windows.back().source == WindowSource::kAutomatic)
            return;
        Add("window-rejected", windows.front().source != WindowSource::kFallback
                                   ? "automatic windowing: not measured, since " + windows.front().what +
                                         " is there; --auto does"
                               : m_Own.Has(tag::kModality)
                                   ? std::string("automatic windowing: the pixels give no window")
                                   : "automatic windowing: not measured without a Modality; --auto does");
    }

    /// The window that is shown, before whole numbers cut it.
    ModalityWindow AskedWindow() const { return m_Image.WindowSteps().back().window; }

    void StoredWindow() {
        const std::string ends = std::to_string(m_Source.low) + " to " + std::to_string(m_Source.high);
        switch (m_Source.kind) {
            case ZEV_TableSource::kRamp:
            case ZEV_TableSource::kPresentationLut: {
                const auto [center, width] = AskedWindow();
                const auto [low, high] =
                    m_Image.GetRescale().StoredRange({center - width / 2.0, center + width / 2.0});
                if (const auto& window = m_Image.WindowInLevels()) {
                    return Add("stored-window",
                               (window->isSigmoid ? "a sigmoid about the stored values "
                                                  : "in stored values exactly ") +
                                   text_of(low) + " to " + text_of(high) +
                                   ": a table has the level of each value",
                               {}, 0.0);
                }
                const double cost = std::max(std::fabs(low - m_Source.low), std::fabs(high - m_Source.high));
                return Add("stored-window",
                           "in stored values " + ends +
                               (cost < 1e-6 ? ", exactly"
                                            : ", exactly " + text_of(low) + " to " + text_of(high) +
                                                  ": rounding moves an end by " + text_of(cost)),
                           {}, cost);
            }
            case ZEV_TableSource::kSigmoid:
                return Add("stored-window", "a sigmoid in modality units, centre " +
                                                std::to_string(m_Source.center) + ", width " +
                                                std::to_string(m_Source.width));
            case ZEV_TableSource::kVoiLut:
                return Add("stored-window",
                           "a VOI LUT in modality units, centre " + std::to_string(m_Source.center) +
                               ", width " + std::to_string(m_Source.width),
                           {tag::kVoiLutSequence});
            case ZEV_TableSource::kNone:
                return;
        }
    }

    void Curve() {
        ZEV_Params& params = m_Image.Params();
        if (has_presentation_lut()) {
            Add("presentation-lut", "shapes the ramp; gamma does not count", {tag::kPresentationLutSequence});
        } else if (m_Source.kind != ZEV_TableSource::kRamp && !is_ramp_in_levels()) {
            Add("gamma", "does not apply to a curve of the image");
        } else {
            Add("gamma",
                params.GammaExistAndNotNaturalValue() ? text_of(double{params.GetGamma()})
                                                      : std::string("natural"),
                {}, double{params.GetGamma()});
        }
        const bool isInverse = m_Image.ModalityInverse();
        std::string text = isInverse ? "low values are bright" : "low values are dark";
        if (isInverse != m_Image.AsOpened().modalityInverse) {
            text += ", by choice of the user";
        } else if (m_Image.State() != nullptr) {
            text += ", by the presentation state";
        } else if (isInverse) {
            text += ", by the image";
        }
        Add("inversion", text, {tag::kPhotometricInterpretation, tag::kPresentationLutShape});
    }

    void ColourMap() {
        const ZEV_ColorMap* const map = m_Image.Params().GetColorMap();
        Add("colour-map", map == nullptr   ? std::string("none")
                          : map->IsDummy() ? refhost::ToUtf8(map->GetName()) + ", which is grey"
                                           : refhost::ToUtf8(map->GetName()));
    }

    void Supplement(ImagePoint point) {
        const SupplementalPalette* const palette = m_Image.Supplement();
        if (palette == nullptr) return;
        const int pixel = pixel_at(point), first = palette->first;
        Add("palette",
            palette->Has(pixel)
                ? hex(palette->At(pixel)) + " by the image's palette, whose first value is " +
                      std::to_string(first)
                : "below " + std::to_string(first) + ", the first value of the image's palette: grey",
            {tag::kPixelPresentation, tag::kPaletteDescriptor});
    }

    /// The level of a grey table without a colour map, by the painter that draws.
    int Level(ImagePoint point, bool isByWindow) {
        const int pixel = pixel_at(point);
        const int level = PaintedLevel(m_Image, pixel);
        const bool isRamp =
            m_Source.kind == ZEV_TableSource::kRamp || m_Source.kind == ZEV_TableSource::kPresentationLut;
        if (isByWindow && isRamp) {
            const auto& window = m_Image.WindowInLevels();
            const auto [low, high] = window ? m_Image.GetRescale().StoredRange({window->low, window->high})
                                            : std::pair<double, double>(m_Source.low, m_Source.high);
            const double span = high - low, position = pixel - low;
            Add("ramp",
                position <= 0      ? std::string("at or below its first end")
                : position >= span ? std::string("at or above its last end")
                                   : text_of(position) + " of " + text_of(span) + " steps up, " +
                                         text_of(std::round(position / span * 1e4) / 1e2) + " %",
                {}, span > 0 ? std::clamp(position / span, 0.0, 1.0) : position > 0);
        }
        Add("level", std::to_string(level) + " of 255", {}, level);
        return level;
    }

    /// PS3.3 C.11.2.1 with the window as it was asked for, in double precision. Gamma is not of the standard.
    void Standard(ImagePoint point, int level) {
        const bool isUsual =
            (m_Source.kind == ZEV_TableSource::kRamp || m_Source.kind == ZEV_TableSource::kSigmoid ||
             (m_Image.WindowInLevels() && !has_presentation_lut())) &&
            !m_Image.Params().GammaExistAndNotNaturalValue();
        if (!isUsual) return;
        const double x = m_Image.GetRescale().Value(pixel_at(point));
        const auto [center, width] = AskedWindow();
        const auto& exact = m_Image.WindowInLevels();
        const bool isSigmoid = exact ? exact->isSigmoid : m_Source.kind == ZEV_TableSource::kSigmoid;
        double y = 0.0;
        const char* name = "LINEAR";
        if (isSigmoid) {
            name = "SIGMOID";
            y = 255.0 / (1.0 + std::exp(-4.0 * (x - center) / width));
        } else if (m_Own.Text(tag::kVoiLutFunction) == "LINEAR_EXACT" || m_Image.EndsCount() ||
                   m_Image.InStoredValues() || m_Image.File().IsReduced()) {
            // The ends of a state's window are those of the exact function. Of real numbers LINEAR is not
            // defined.
            name = "LINEAR_EXACT";
            y = std::clamp((x - center) / width + 0.5, 0.0, 1.0) * 255.0;
        } else if (width <= 1.0) {
            y = x > center - 0.5 ? 255.0 : 0.0;
        } else {
            y = std::clamp((x - (center - 0.5)) / (width - 1.0) + 0.5, 0.0, 1.0) * 255.0;
        }
        if (m_Image.ModalityInverse()) y = 255.0 - y;
        Add("standard",
            std::string(name) + " by PS3.3 C.11.2.1 gives " + text_of(y) + "; the level differs by " +
                text_of(level - y),
            {}, y);
    }

private:
    void real_world(double stored) {
        for (const RealWorldMapping& mapping : ReadRealWorldMappings(m_Own)) {
            const std::optional<double> value = mapping.Of(stored);
            if (!value) continue;
            const std::string& name = mapping.label.empty() ? mapping.explanation : mapping.label;
            Add("real-world",
                text_of(*value) + " " + mapping.unitsCode + (name.empty() ? "" : ", '" + name + "'"),
                {tag::kRealWorldValueMapping}, value);
        }
    }
    bool has_presentation_lut() const {
        return m_Source.kind == ZEV_TableSource::kPresentationLut &&
               m_Image.File().DataSet().FirstItem(tag::kPresentationLutSequence) != nullptr;
    }
    bool is_ramp_in_levels() const {
        return m_Image.WindowInLevels() && !m_Image.WindowInLevels()->isSigmoid;
    }
    int pixel_at(ImagePoint point) const { return m_Image.File().Mono().Get(Index(point)); }

    std::string attribute(std::uint32_t tag) const {
        char number[16];
        std::snprintf(number, sizeof number, "(%04X,%04X)", tag >> 16, tag & 0xFFFF);
        std::string text = number;
        if (const Dicom_DictionaryEntry* const entry = Dicom_Dictionary::Find(Dicom_Tag(tag)))
            text += std::string(" ") + entry->m_Keyword;
        const DicomElement& element = *m_Own.Find(tag);
        if (element.IsSequence()) return text + " with " + std::to_string(element.items.size()) + " items";
        std::string value;
        const bool isBinary =
            element.vr == "US" || element.vr == "SS" || element.vr == "FL" || element.vr == "FD";
        if (isBinary) {
            for (const double part : m_Own.Numbers(tag, 8))
                value += (value.empty() ? "" : "\\") + text_of(part);
        } else {
            value = m_Own.Text(tag);
        }
        if (value.size() > kLongestValue) value = value.substr(0, kLongestValue) + "...";
        return text + " = " + value;
    }

    OpenedImage& m_Image;
    const StoredFrame& m_Cells;
    DicomDataSet m_Own;
    ZEV_TableSource m_Source;
    std::vector<ExplainedStep> m_Steps;
};

/// What the picture shows at each point after every stage of drawing, and how the image itself came to it.
class Watcher : public DrawingObserver {
public:
    struct Stage {
        std::string layer;  ///< empty for the image
        std::uint32_t colour;
    };
    struct Seen {
        bool isOnScreen = false;
        int x = 0, y = 0;
        /// The image pixel that is drawn there: a neighbour where several share a pixel of the screen.
        ImagePoint drawn;
        std::vector<ExplainedStep> steps;
        /// The image, and the layers that cover it there.
        std::vector<Stage> stages;
    };

    Watcher(OpenedImage& image, const StoredFrame& cells, const std::vector<ImagePoint>& points)
        : m_Image(image), m_Cells(cells), m_Points(points), m_Seen(points.size()) {}

    void ImageDrawn(const Picture& picture, const Placement& placement, RegionView* regions) override {
        const SPC_Affine toImage = placement.space.GetScreen2Raster(), toScreen = toImage.Inverse();
        for (std::size_t i = 0; i < m_Points.size(); ++i) {
            Seen& seen = m_Seen[i];
            const double x = m_Points[i].x + 0.5, y = m_Points[i].y + 0.5;
            const double left = std::floor(toScreen.X(x, y)), top = std::floor(toScreen.Y(x, y));
            seen.isOnScreen = left >= 0 && top >= 0 && left < picture.width && top < picture.height;
            int region = 0;
            if (seen.isOnScreen) {
                seen.x = static_cast<int>(left), seen.y = static_cast<int>(top);
                seen.drawn = {static_cast<int>(std::floor(toImage.X(left + 0.5, top + 0.5))),
                              static_cast<int>(std::floor(toImage.Y(left + 0.5, top + 0.5)))};
                if (regions != nullptr) region = regions->RegionAt(seen.x, seen.y);
                seen.stages.push_back({"", colour_at(picture, seen.x, seen.y)});
            }
            // The objects of a region live only now.
            seen.steps = steps_of(region == 0 ? m_Image : regions->ImageOf(region), m_Points[i], region);
        }
    }
    void LayerDrawn(const Canvas& canvas, const Layer& layer) override {
        m_Layers.push_back(layer.Name());
        if (m_Seen.empty()) return;
        // It is drawn once more, over the inverse of what it left: what changes there is covered by it, also
        // where its colour is that of the pixel below.
        Picture inverse = canvas.picture;
        for (std::uint8_t& byte : inverse.bytes) byte = static_cast<std::uint8_t>(~byte);
        const Picture before = inverse;
        layer.Draw({inverse, canvas.toScreen, canvas.toImage, canvas.area});
        for (Seen& seen : m_Seen) {
            if (!seen.isOnScreen) continue;
            const auto colour_in = [&](const Picture& picture) { return colour_at(picture, seen.x, seen.y); };
            const std::uint32_t colour = colour_in(canvas.picture);
            if (colour != seen.stages.back().colour || colour_in(inverse) != colour_in(before))
                seen.stages.push_back({layer.Name(), colour});
        }
    }

    const Seen& At(std::size_t point) const { return m_Seen[point]; }
    const std::vector<std::string>& LayerNames() const { return m_Layers; }

private:
    std::vector<ExplainedStep> steps_of(OpenedImage& image, ImagePoint point, int region) const;

    OpenedImage& m_Image;
    const StoredFrame& m_Cells;
    const std::vector<ImagePoint>& m_Points;
    std::vector<Seen> m_Seen;
    std::vector<std::string> m_Layers;
};

std::vector<ExplainedStep> Watcher::steps_of(OpenedImage& image, ImagePoint point, int region) const {
    Explainer explainer(image, m_Cells);
    if (!explainer.HasPixel(point)) return explainer.Take();
    if (image.File().IsColour()) {
        explainer.StoredColour(point);
        explainer.Add("colour", "the image is in colour and drawn as it is");
        return explainer.Take();
    }
    explainer.Stored(point);
    const bool isByWindow = explainer.Padding(point);
    if (image.File().HasValue(explainer.Index(point))) explainer.Modality(point);
    if (region != 0) explainer.Add("region", "lies in region " + std::to_string(region));
    explainer.Windows();
    explainer.StoredWindow();
    explainer.Curve();
    const int level = explainer.Level(point, isByWindow);
    explainer.ColourMap();
    explainer.Supplement(point);
    if (isByWindow) explainer.Standard(point, level);
    return explainer.Take();
}

Explanation explain_point(ImagePoint point, const Watcher::Seen& seen) {
    Explanation explanation{point, seen.steps, std::nullopt};
    const auto add = [&](const char* name, std::string text) {
        explanation.steps.push_back({name, std::move(text), {}, std::nullopt});
    };
    if (!seen.isOnScreen) {
        add("screen", "is not on the screen");
        return explanation;
    }
    if (seen.drawn.x != point.x || seen.drawn.y != point.y) {
        add("screen", "the screen shows a neighbour in its place: " + place_of(seen.drawn));
    }
    std::uint32_t colour = seen.stages.front().colour;
    add("drawn", hex(colour) + " at column " + std::to_string(seen.x) + ", row " + std::to_string(seen.y) +
                     " of the picture");
    for (std::size_t i = 1; i < seen.stages.size(); ++i) {
        colour = seen.stages[i].colour;
        add("layer", seen.stages[i].layer + ": " + hex(colour));
    }
    add("display", hex(colour));
    explanation.display = colour;
    return explanation;
}

Explanation explain_whole(OpenedImage& image, const StoredFrame& cells, const Watcher& watcher,
                          const std::vector<Note>& notes) {
    Explainer explainer(image, cells);
    if (const PresentationState* const state = image.State()) {
        explainer.Add("presentation-state", state->path + ", '" + state->Label() + "'" +
                                                (state->Created().empty() ? "" : " of " + state->Created()));
    }
    if (image.File().IsColour()) {
        explainer.Add("colour", "the image is in colour and drawn as it is");
    } else {
        explainer.Windows();
        explainer.StoredWindow();
        explainer.Curve();
        explainer.ColourMap();
    }
    for (const std::string& layer : watcher.LayerNames()) explainer.Add("layer", layer);
    for (const Note& note : notes) explainer.Add("note", note.text);
    return {{}, explainer.Take(), std::nullopt};
}

}  // namespace

std::vector<Explanation> Explain(OpenedImage& image, const DrawingOptions& options,
                                 const std::vector<ImagePoint>& points) {
    const int columns = image.File().Columns(), rows = image.File().Rows();
    for (const ImagePoint& point : points) {
        if (point.x < 0 || point.y < 0 || point.x >= columns || point.y >= rows) {
            throw UsageError("--at: " + std::to_string(point.x) + "," + std::to_string(point.y) +
                             " is outside the image of " + std::to_string(columns) + " x " +
                             std::to_string(rows) + " pixels");
        }
    }
    const LoadOptions load{options.presentation.frame, options.presentation.partial};
    const StoredFrame cells = ReadDicomFile(image.File().Path(), load).frame;
    Watcher watcher(image, cells, points);
    std::vector<Note> notes = image.Notes();
    DrawImage(image, options, &notes, &watcher);
    std::vector<Explanation> explanations = {explain_whole(image, cells, watcher, notes)};
    for (std::size_t i = 0; i < points.size(); ++i)
        explanations.push_back(explain_point(points[i], watcher.At(i)));
    return explanations;
}
