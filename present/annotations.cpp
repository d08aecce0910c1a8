#include "annotations.h"

#include <DICOM/Dicom_Dictionary.h>
#include <OBJ/OBJ_Msg.h>

#include <refhost/Unicode.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>

#include "cielab.h"
#include "io/dicom_tags.h"
#include "text.h"

namespace {

constexpr std::uint32_t kAnnotations = DicomTag(0x0070, 0x0001), kLayer = DicomTag(0x0070, 0x0002),
                        kBoxUnits = DicomTag(0x0070, 0x0003), kAnchorUnits = DicomTag(0x0070, 0x0004),
                        kGraphicUnits = DicomTag(0x0070, 0x0005), kText = DicomTag(0x0070, 0x0006),
                        kTexts = DicomTag(0x0070, 0x0008), kGraphics = DicomTag(0x0070, 0x0009),
                        kBoxTopLeft = DicomTag(0x0070, 0x0010), kBoxBottomRight = DicomTag(0x0070, 0x0011),
                        kJustification = DicomTag(0x0070, 0x0012), kAnchor = DicomTag(0x0070, 0x0014),
                        kAnchorVisible = DicomTag(0x0070, 0x0015), kDimensions = DicomTag(0x0070, 0x0020),
                        kPointCount = DicomTag(0x0070, 0x0021), kPoints = DicomTag(0x0070, 0x0022),
                        kType = DicomTag(0x0070, 0x0023), kFilled = DicomTag(0x0070, 0x0024),
                        kLayers = DicomTag(0x0070, 0x0060), kOrder = DicomTag(0x0070, 0x0062),
                        kGrey = DicomTag(0x0070, 0x0066), kCieLab = DicomTag(0x0070, 0x0401);

/// What the number of points can say.
constexpr std::size_t kMostPoints = 65535;
constexpr double kLineWidth = 1.5;
constexpr double kPointSize = 4.0;
constexpr double kFarthest = 1e7;
constexpr double kPi = 3.14159265358979323846;

struct Point {
    double x, y;
};

enum class Units { kPixel, kDisplay };

/// What the layer draws, in its own coordinates.
struct Graphic {
    std::string type;
    Units units = Units::kPixel;
    bool isFilled = false;
    std::vector<Point> points;
};
struct TextObject {
    std::string text;  ///< UTF-8, lines separated by \n
    std::optional<std::array<Point, 2>> box;
    Units boxUnits = Units::kPixel;
    std::string justification;
    std::optional<Point> anchor;
    Units anchorUnits = Units::kPixel;
    bool isAnchorVisible = false;
};

/// Nothing for units of another kind: MATRIX refers to an image of many tiles.
std::optional<Units> units_of(const DicomDataSet& item, std::uint32_t tag) {
    const std::string units = item.Text(tag);
    if (units == "DISPLAY") return Units::kDisplay;
    return units.empty() || units == "PIXEL" ? std::optional<Units>(Units::kPixel) : std::nullopt;
}

std::optional<Point> point_of(const DicomDataSet& item, std::uint32_t tag) {
    const std::vector<double> pair = item.Numbers(tag, 2);
    if (pair.size() != 2 || !(std::fabs(pair[0]) <= kFarthest) || !(std::fabs(pair[1]) <= kFarthest))
        return std::nullopt;
    return Point{pair[0], pair[1]};
}

/// Nothing for a damaged one.
std::optional<Graphic> read_graphic(const DicomDataSet& item) {
    Graphic graphic;
    graphic.type = item.Text(kType);
    const auto units = units_of(item, kGraphicUnits);
    if (!units) return std::nullopt;
    graphic.units = *units;
    graphic.isFilled = item.Text(kFilled) == "Y";
    const std::vector<double> data = item.Numbers(kPoints, 2 * kMostPoints + 2);
    if (item.Word(kDimensions, 2) != 2 || data.size() % 2 != 0) return std::nullopt;
    const std::size_t count = data.size() / 2;
    const int claimed = item.Word(kPointCount, static_cast<int>(count));
    if (count > kMostPoints || static_cast<std::size_t>(claimed) != count) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
        if (!(std::fabs(data[2 * i]) <= kFarthest) || !(std::fabs(data[2 * i + 1]) <= kFarthest))
            return std::nullopt;
        graphic.points.push_back({data[2 * i], data[2 * i + 1]});
    }
    static const std::map<std::string, std::size_t> s_Fewest = {
        {"POINT", 1}, {"POLYLINE", 2}, {"INTERPOLATED", 2}, {"CIRCLE", 2}, {"ELLIPSE", 4}};
    const auto fewest = s_Fewest.find(graphic.type);
    if (fewest == s_Fewest.end() || count < fewest->second) return std::nullopt;
    return graphic;
}

/// Texts are read by the state's character set.
std::string decoded(const DicomDataSet& state, const std::string& bytes) {
    OBJ_Msg msg;
    if (const DicomElement* const set = state.Find(tag::kSpecificCharacterSet))
        msg.PutBytes(Dicom_Tag(tag::kSpecificCharacterSet), "CS", set->bytes.data(), set->bytes.size());
    msg.PutBytes(Dicom_Tag(DicomTag(0x0040, 0xA160)), "UT", bytes.data(), bytes.size());
    const Dicom_Type* const value = msg.Get(Dicom_Tag(DicomTag(0x0040, 0xA160)));
    return value == nullptr || value->GetVM() == 0 ? bytes : refhost::ToUtf8(value->GetText(0).c_str());
}

std::optional<TextObject> read_text(const DicomDataSet& state, const DicomDataSet& item) {
    TextObject text;
    constexpr std::size_t kMostBytes = 16384;
    const DicomElement* const value = item.Find(kText);
    if (value == nullptr || value->bytes.empty()) return std::nullopt;
    const std::string decodedText = decoded(state, value->bytes.substr(0, kMostBytes));
    for (std::size_t i = 0; i < decodedText.size(); ++i) {
        const char sign = decodedText[i];
        if (sign == '\r' && i + 1 < decodedText.size() && decodedText[i + 1] == '\n') continue;
        text.text += sign == '\r' || sign == '\f' ? '\n' : sign;
    }
    const auto topLeft = point_of(item, kBoxTopLeft), bottomRight = point_of(item, kBoxBottomRight);
    const auto boxUnits = units_of(item, kBoxUnits), anchorUnits = units_of(item, kAnchorUnits);
    if (topLeft && bottomRight && boxUnits) text.box = {*topLeft, *bottomRight};
    text.boxUnits = boxUnits.value_or(Units::kPixel);
    text.justification = item.Text(kJustification);
    if (anchorUnits) text.anchor = point_of(item, kAnchor);
    text.anchorUnits = anchorUnits.value_or(Units::kPixel);
    text.isAnchorVisible = item.Text(kAnchorVisible) == "Y";
    if (!text.box && !text.anchor) return std::nullopt;
    return text;
}

/// How much of a pixel lies within half a line's width of a segment.
double coverage(double distance) { return std::clamp(kLineWidth / 2.0 + 0.5 - distance, 0.0, 1.0); }

/// Draws lines. Of those of one stroke a pixel gets the largest coverage that any of its segments gives it,
/// so that joints do not show.
class Stroke {
public:
    explicit Stroke(const Canvas& canvas)
        : m_Canvas(canvas),
          m_Cover(static_cast<std::size_t>(canvas.picture.width) *
                  static_cast<std::size_t>(canvas.picture.height)) {}

    void Line(Point from, Point to) {
        if (!clip(from, to)) return;
        const double dx = to.x - from.x, dy = to.y - from.y, length = std::hypot(dx, dy);
        const double reach = kLineWidth / 2.0 + 1.0;
        const bool isSteep = std::fabs(dy) > std::fabs(dx);
        // Along the longer axis; across it the pixels within reach of the line.
        const double low = isSteep ? std::min(from.y, to.y) : std::min(from.x, to.x),
                     high = isSteep ? std::max(from.y, to.y) : std::max(from.x, to.x);
        const double along = isSteep ? dy : dx, across = isSteep ? dx : dy;
        const double slope = along == 0.0 ? 0.0 : across / along;
        const double width = reach * std::sqrt(1.0 + slope * slope);
        const int size = isSteep ? m_Canvas.picture.height : m_Canvas.picture.width;
        const int first = static_cast<int>(std::clamp(std::floor(low - reach), 0.0, double(size))),
                  last = static_cast<int>(std::clamp(std::ceil(high + reach), 0.0, double(size)));
        for (int i = first; i < last; ++i) {
            const double at = std::clamp(i + 0.5, low, high);
            const double middle = isSteep ? from.x + (at - from.y) * slope : from.y + (at - from.x) * slope;
            for (int j = static_cast<int>(std::floor(middle - width));
                 j <= static_cast<int>(std::ceil(middle + width)); ++j)
                dot(isSteep ? j : i, isSteep ? i : j, from, dx, dy, length);
        }
    }

    void Finish(const Ink& ink) {
        const auto width = static_cast<std::size_t>(m_Canvas.picture.width);
        for (const std::size_t place : m_Touched) {
            m_Canvas.Blend(static_cast<int>(place % width), static_cast<int>(place / width), ink,
                           static_cast<double>(m_Cover[place]));
            m_Cover[place] = 0.0F;
        }
        m_Touched.clear();
    }

private:
    void dot(int x, int y, Point from, double dx, double dy, double length) {
        if (x < 0 || y < 0 || x >= m_Canvas.picture.width || y >= m_Canvas.picture.height) return;
        const double px = x + 0.5 - from.x, py = y + 0.5 - from.y;
        const double t = length > 0.0 ? std::clamp((px * dx + py * dy) / (length * length), 0.0, 1.0) : 0.0;
        const double cover = coverage(std::hypot(px - t * dx, py - t * dy));
        if (cover <= 0.0) return;
        const std::size_t place =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(m_Canvas.picture.width) +
            static_cast<std::size_t>(x);
        float& kept = m_Cover[place];
        if (kept == 0.0F) m_Touched.push_back(place);
        kept = std::max(kept, static_cast<float>(cover));
    }

    /// To the picture and a little around it (Liang and Barsky). False where nothing is left.
    bool clip(Point& from, Point& to) const {
        const double margin = kLineWidth + 2.0;
        const double dx = to.x - from.x, dy = to.y - from.y;
        double enter = 0.0, leave = 1.0;
        const auto edge = [&](double p, double q) {
            if (p == 0.0) return q >= 0.0;
            const double t = q / p;
            if (p < 0.0) {
                enter = std::max(enter, t);
            } else {
                leave = std::min(leave, t);
            }
            return enter <= leave;
        };
        if (!edge(-dx, from.x + margin) || !edge(dx, m_Canvas.picture.width + margin - from.x) ||
            !edge(-dy, from.y + margin) || !edge(dy, m_Canvas.picture.height + margin - from.y))
            return false;
        const Point start = from;
        from = {start.x + enter * dx, start.y + enter * dy};
        to = {start.x + leave * dx, start.y + leave * dy};
        return std::isfinite(from.x) && std::isfinite(from.y) && std::isfinite(to.x) && std::isfinite(to.y);
    }

    const Canvas& m_Canvas;
    std::vector<float> m_Cover;
    std::vector<std::size_t> m_Touched;
};

/// The inside of a closed outline by the even-odd rule, pixel centres. Row by row, since crossings of all
/// rows at once would take memory without bounds.
void fill(const Canvas& canvas, const std::vector<Point>& outline, const Ink& ink) {
    std::vector<double> crossings;
    const auto column = [&](double x) {
        return static_cast<int>(std::clamp(std::ceil(x - 0.5), 0.0, double(canvas.picture.width)));
    };
    for (int y = 0; y < canvas.picture.height; ++y) {
        const double middle = y + 0.5;
        crossings.clear();
        for (std::size_t i = 0; i < outline.size(); ++i) {
            Point a = outline[i], b = outline[(i + 1) % outline.size()];
            if (a.y > b.y) std::swap(a, b);
            if (a.y <= middle && middle < b.y)
                crossings.push_back(a.x + (middle - a.y) / (b.y - a.y) * (b.x - a.x));
        }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            for (int x = column(crossings[i]); x < column(crossings[i + 1]); ++x)
                canvas.Blend(x, y, ink, 1.0);
        }
    }
}

/// A closed curve around a centre, by two half axes.
std::vector<Point> ellipse(Point centre, Point a, Point b) {
    constexpr int kSteps = 360;
    std::vector<Point> points;
    for (int i = 0; i <= kSteps; ++i) {
        const double angle = 2.0 * kPi * i / kSteps;
        points.push_back({centre.x + a.x * std::cos(angle) + b.x * std::sin(angle),
                          centre.y + a.y * std::cos(angle) + b.y * std::sin(angle)});
    }
    return points;
}

/// A smooth curve through the points (Catmull and Rom); closed where the last is the first.
std::vector<Point> interpolated(const std::vector<Point>& points) {
    const std::size_t count = points.size();
    const bool isClosed =
        count > 3 && points.front().x == points.back().x && points.front().y == points.back().y;
    // Long curves have steps enough of their own.
    const int steps = count > 10000 ? 1 : 16;
    const auto at = [&](std::ptrdiff_t i) {
        const auto last = static_cast<std::ptrdiff_t>(count) - 1;
        if (isClosed) i = (i + last) % last;
        return points[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(i, 0, last))];
    };
    std::vector<Point> curve = {points.front()};
    for (std::size_t segment = 0; segment + 1 < count; ++segment) {
        const auto i = static_cast<std::ptrdiff_t>(segment);
        const Point p0 = at(i - 1), p1 = at(i), p2 = at(i + 1), p3 = at(i + 2);
        for (int step = 1; step <= steps; ++step) {
            const double t = double(step) / steps, t2 = t * t, t3 = t2 * t;
            const auto mix = [&](double a, double b, double c, double d) {
                return 0.5 * (2.0 * b + (c - a) * t + (2.0 * a - 5.0 * b + 4.0 * c - d) * t2 +
                              (3.0 * b - a - 3.0 * c + d) * t3);
            };
            curve.push_back({mix(p0.x, p1.x, p2.x, p3.x), mix(p0.y, p1.y, p2.y, p3.y)});
        }
    }
    return curve;
}

class AnnotationLayer : public Layer {
public:
    explicit AnnotationLayer(GraphicLayer layer) : m_Layer(std::move(layer)) {}
    void SetPainter(std::shared_ptr<const TextPainter> painter) { m_pPainter = std::move(painter); }

    std::vector<Graphic> graphics;
    std::vector<TextObject> texts;

    std::string Name() const override { return "annotations '" + m_Layer.name + "'"; }
    bool IsColoured() const override { return !m_Layer.ink.IsGrey(); }

    void Draw(const Canvas& canvas) const override {
        Stroke stroke(canvas);
        for (const Graphic& graphic : graphics) draw(canvas, graphic, stroke);
        for (const TextObject& text : texts) draw(canvas, text, stroke);
    }

private:
    static Point on_screen(const Canvas& canvas, Point point, Units units) {
        const Canvas::Area& area = canvas.area;
        if (units == Units::kDisplay)
            return {area.left + point.x * (area.right - area.left),
                    area.top + point.y * (area.bottom - area.top)};
        return {canvas.toScreen.X(point.x, point.y), canvas.toScreen.Y(point.x, point.y)};
    }

    /// The outline in the coordinates of the points.
    static std::vector<Point> outline_of(const Graphic& graphic, const std::vector<Point>& p) {
        if (graphic.type == "CIRCLE") {
            const double radius = std::hypot(p[1].x - p[0].x, p[1].y - p[0].y);
            return ellipse(p[0], {radius, 0.0}, {0.0, radius});
        }
        if (graphic.type == "ELLIPSE") {
            return ellipse({(p[0].x + p[1].x) / 2.0, (p[0].y + p[1].y) / 2.0},
                           {(p[1].x - p[0].x) / 2.0, (p[1].y - p[0].y) / 2.0},
                           {(p[3].x - p[2].x) / 2.0, (p[3].y - p[2].y) / 2.0});
        }
        return graphic.type == "INTERPOLATED" ? interpolated(p) : p;
    }

    void draw(const Canvas& canvas, const Graphic& graphic, Stroke& stroke) const {
        const auto placed = [&](std::vector<Point> points) {
            for (Point& point : points) point = on_screen(canvas, point, graphic.units);
            return points;
        };
        // A circle of image pixels follows the view; one in fractions of the displayed area is round on it.
        const std::vector<Point> outline = graphic.units == Units::kDisplay
                                               ? outline_of(graphic, placed(graphic.points))
                                               : placed(outline_of(graphic, graphic.points));
        if (graphic.type == "POINT") {
            for (const Point& p : outline) {
                stroke.Line({p.x - kPointSize, p.y}, {p.x + kPointSize, p.y});
                stroke.Line({p.x, p.y - kPointSize}, {p.x, p.y + kPointSize});
            }
        } else {
            const bool isClosed = outline.size() > 2 && outline.front().x == outline.back().x &&
                                  outline.front().y == outline.back().y;
            if (graphic.isFilled && (isClosed || graphic.type == "CIRCLE" || graphic.type == "ELLIPSE"))
                fill(canvas, outline, m_Layer.ink);
            for (std::size_t i = 0; i + 1 < outline.size(); ++i) stroke.Line(outline[i], outline[i + 1]);
        }
        stroke.Finish(m_Layer.ink);
    }

    void draw(const Canvas& canvas, const TextObject& text, Stroke& stroke) const {
        if (m_pPainter == nullptr || !m_pPainter->IsReady()) return;
        constexpr double kUsual = 14.0, kLeast = 9.0;
        const double most = std::max(kLeast, canvas.picture.height / 12.0);
        double size = std::clamp(canvas.picture.height / 40.0, kUsual, std::max(kUsual, most));
        TextPainter::Extent extent = m_pPainter->Measure(text.text, size);
        Point at{0.0, 0.0};
        double width = extent.width;
        TextPainter::Align align = TextPainter::Align::kLeft;
        std::optional<Point> anchor;
        if (text.anchor) anchor = on_screen(canvas, *text.anchor, text.anchorUnits);
        if (text.box) {
            const Point a = on_screen(canvas, (*text.box)[0], text.boxUnits),
                        b = on_screen(canvas, (*text.box)[1], text.boxUnits);
            at = {std::min(a.x, b.x), std::min(a.y, b.y)};
            width = std::fabs(a.x - b.x);
            const double height = std::fabs(a.y - b.y);
            if (extent.width > 0.0 && extent.height > 0.0)
                size =
                    std::clamp(size * std::min(width / extent.width, height / extent.height), kLeast, most);
            extent = m_pPainter->Measure(text.text, size);
            align = text.justification == "RIGHT"    ? TextPainter::Align::kRight
                    : text.justification == "CENTER" ? TextPainter::Align::kCentre
                                                     : TextPainter::Align::kLeft;
            if (anchor && text.isAnchorVisible) {
                // From the nearest point of the box.
                stroke.Line({std::clamp(anchor->x, at.x, at.x + width),
                             std::clamp(anchor->y, at.y, at.y + std::max(height, extent.height))},
                            *anchor);
                stroke.Finish(m_Layer.ink);
            }
        } else {
            constexpr double kGap = 6.0;
            at = {anchor->x + kGap, anchor->y - size};
        }
        m_pPainter->Draw(canvas, text.text, at.x, at.y, width, size, align, m_Layer.ink);
    }

    GraphicLayer m_Layer;
    std::shared_ptr<const TextPainter> m_pPainter;
};

}  // namespace

std::vector<GraphicLayer> ReadGraphicLayers(const PresentationState& state) {
    std::vector<GraphicLayer> layers;
    const DicomElement* const sequence = state.set.Find(kLayers);
    if (sequence == nullptr) return layers;
    for (const DicomDataSet& item : sequence->items) {
        GraphicLayer layer{item.Text(kLayer), item.Number(kOrder, 0.0), {}};
        const std::vector<double> lab = item.Numbers(kCieLab, 3);
        if (lab.size() == 3) {
            layer.ink = InkOfCieLab(lab[0], lab[1], lab[2]);
        } else if (item.Has(kGrey)) {
            layer.ink = Ink::Grey(static_cast<std::uint16_t>(item.Word(kGrey, 0xFFFF)));
        }
        layers.push_back(std::move(layer));
    }
    std::stable_sort(layers.begin(), layers.end(),
                     [](const GraphicLayer& a, const GraphicLayer& b) { return a.order < b.order; });
    return layers;
}

Layers AnnotationLayers(const PresentationState& state, const std::string& instance, int frame,
                        std::vector<Note>* notes) {
    Layers layers;
    const DicomElement* const sequence = state.set.Find(kAnnotations);
    if (sequence == nullptr) return layers;
    std::vector<GraphicLayer> known = ReadGraphicLayers(state);
    std::vector<std::unique_ptr<AnnotationLayer>> drawn(known.size());
    std::shared_ptr<TextPainter> painter;
    std::size_t damaged = 0;
    for (const DicomDataSet& item : sequence->items) {
        if (!AppliesTo(item, instance, frame)) continue;
        const std::string name = item.Text(kLayer);
        std::size_t at = 0;
        while (at < known.size() && known[at].name != name) ++at;
        if (at == known.size()) {
            known.push_back({name, 0.0, {}});
            drawn.emplace_back();
        }
        const auto layer = [&]() -> AnnotationLayer& {
            if (drawn[at] == nullptr) {
                drawn[at] = std::make_unique<AnnotationLayer>(known[at]);
                drawn[at]->order = at;
            }
            return *drawn[at];
        };
        if (const DicomElement* const texts = item.Find(kTexts)) {
            if (painter == nullptr && !texts->items.empty()) {
                painter = std::make_shared<TextPainter>();
                if (!painter->IsReady() && notes != nullptr)
                    notes->push_back(
                        {"no-font", "its texts are not drawn: no font was found; ZEV_FONT names one"});
            }
            for (const DicomDataSet& text : texts->items) {
                if (auto object = read_text(state.set, text)) {
                    layer().SetPainter(painter);
                    layer().texts.push_back(std::move(*object));
                } else {
                    ++damaged;
                }
            }
        }
        if (const DicomElement* const graphics = item.Find(kGraphics)) {
            for (const DicomDataSet& graphic : graphics->items) {
                if (auto object = read_graphic(graphic)) {
                    layer().graphics.push_back(std::move(*object));
                } else {
                    ++damaged;
                }
            }
        }
    }
    if (damaged > 0 && notes != nullptr) {
        notes->push_back({"annotation", std::to_string(damaged) +
                                            (damaged == 1 ? " annotation" : " annotations") +
                                            " of the presentation state cannot be drawn"});
    }
    for (auto& layer : drawn) {
        if (layer != nullptr) layers.push_back(std::move(layer));
    }
    return layers;
}
