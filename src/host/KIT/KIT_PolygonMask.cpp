#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace {

using Point = KIT_PolygonMask::Point;
using Ring = KIT_PolygonMask::Ring;

/// No pixel lies further out: a hostile outline without a cut must not make a list of a billion runs.
constexpr int kFarthest = 1 << 16;

/// Beyond this a coordinate lies on no screen, and the arithmetic of crossings would leave the doubles.
constexpr double kLargest = 1e9;

bool is_usable(const Point& point) {
    return std::fabs(point.x) <= kLargest && std::fabs(point.y) <= kLargest;
}

/// A side of a cut, within what can be drawn.
int limited(int side) { return std::clamp(side, -kFarthest, kFarthest); }

/// The first pixel whose centre lies at or after a coordinate, limited to from..to.
int first_centre(double coordinate, int from, int to) {
    const double pixel = std::ceil(coordinate - 0.5);
    return pixel <= from ? from : pixel >= to ? to : static_cast<int>(pixel);
}

/// Where an edge crosses a horizontal line. The product comes before the quotient, so that a crossing at a
/// pixel's centre comes out exactly for outlines in whole pixels and simple fractions of them.
double crossing(const Point& upper, const Point& lower, double y) {
    return upper.x + (y - upper.y) * (lower.x - upper.x) / (lower.y - upper.y);
}

/// An edge that crosses the centres of lines first to end - 1.
struct Edge {
    int first;
    int end;
    Point upper;
    Point lower;
};

/// Calls visit(upper, lower) for every edge that is not horizontal.
template <class Visit>
void for_each_edge(const Ring& ring, const Visit& visit) {
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Point& a = ring[i];
        const Point& b = ring[i + 1 == ring.size() ? 0 : i + 1];
        if (a.y < b.y) visit(a, b);
        if (b.y < a.y) visit(b, a);
    }
}

}  // namespace

KIT_PolygonMask::TooComplex::TooComplex(std::size_t points, std::uint64_t crossings)
    : std::length_error("the outline of " + std::to_string(points) + " points crosses screen lines " +
                        std::to_string(crossings) + " times; at most " + std::to_string(kMostCrossings) +
                        " can be drawn") {}
KIT_PolygonMask::TooComplex::~TooComplex() = default;

KIT_PolygonMask::KIT_PolygonMask() = default;
KIT_PolygonMask::~KIT_PolygonMask() = default;

KIT_PolygonMask::KIT_PolygonMask(Ring outline) : m_Outline(std::move(outline)) {
    if (!std::all_of(m_Outline.begin(), m_Outline.end(), is_usable)) m_Outline.clear();
}

void KIT_PolygonMask::init() { m_Outline.clear(); }
void KIT_PolygonMask::Clear() { m_Outline.clear(); }
bool KIT_PolygonMask::is_empty() const { return m_Outline.size() < 3; }
bool KIT_PolygonMask::HitTest(int x, int y) const { return Contains(x + 0.5, y + 0.5); }

KIT_PolygonMask* KIT_PolygonMask::ApplyMatrix(float matrix[4][4]) {
    const auto row = [matrix](int r, const Point& p) {
        return static_cast<double>(matrix[r][0]) * p.x + static_cast<double>(matrix[r][1]) * p.y +
               static_cast<double>(matrix[r][3]);
    };
    Ring transformed;
    transformed.reserve(m_Outline.size());
    for (const Point& p : m_Outline) {
        const double w = row(3, p);
        transformed.push_back({row(0, p) / w, row(1, p) / w});
    }
    return new KIT_PolygonMask(std::move(transformed));  // of the whole outline: a cut is the screen's
}

KIT_PolygonMask* KIT_PolygonMask::IntersectWithDisplayRect(int left, int top, int right, int bottom) {
    if (left >= right || top >= bottom) return nullptr;
    std::unique_ptr<KIT_PolygonMask> cut(new KIT_PolygonMask);
    KIT_Rect rect(limited(top), limited(left), limited(bottom), limited(right));
    if (m_bCut) {
        rect = KIT_Rect(std::max(top, m_Cut.top), std::max(left, m_Cut.left), std::min(bottom, m_Cut.bottom),
                        std::min(right, m_Cut.right));
    }
    const auto [leftmost, rightmost] = std::minmax_element(
        m_Outline.begin(), m_Outline.end(), [](const Point& a, const Point& b) { return a.x < b.x; });
    const auto [topmost, lowest] = std::minmax_element(
        m_Outline.begin(), m_Outline.end(), [](const Point& a, const Point& b) { return a.y < b.y; });
    const bool apart = IsEmpty() || rect.left >= rect.right || rect.top >= rect.bottom ||
                       rightmost->x <= rect.left || leftmost->x >= rect.right || lowest->y <= rect.top ||
                       topmost->y >= rect.bottom;
    if (!apart) {
        cut->m_Outline = m_Outline;
        cut->m_bCut = true;
        cut->m_Cut = rect;
    }
    return cut.release();
}

KIT_LinesMask* KIT_PolygonMask::ConvertToLinesMask() {
    std::unique_ptr<KIT_LinesMask> lines(new KIT_LinesMask);
    if (IsEmpty()) return lines.release();
    const KIT_Rect rect = m_bCut ? m_Cut : KIT_Rect(-kFarthest, -kFarthest, kFarthest, kFarthest);

    // A line is crossed by the edges whose upper end lies at or above its centre and whose lower end lies
    // below.
    std::vector<Edge> edges;
    edges.reserve(m_Outline.size());
    std::uint64_t crossings = 0;
    for_each_edge(m_Outline, [&](const Point& upper, const Point& lower) {
        const int first = first_centre(upper.y, rect.top, rect.bottom);
        const int end = first_centre(lower.y, rect.top, rect.bottom);
        if (first < end) edges.push_back({first, end, upper, lower});
        crossings += static_cast<std::uint64_t>(end - first);
    });
    if (crossings > kMostCrossings) throw TooComplex(m_Outline.size(), crossings);
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.first < b.first; });

    std::vector<std::pair<double, const Edge*>>
        active;  // the edges that cross the line, with their crossings
    auto next = edges.cbegin();
    for (int y = rect.top; next != edges.cend() || !active.empty(); ++y) {
        if (active.empty()) y = next->first;
        for (; next != edges.cend() && next->first == y; ++next) active.push_back({0.0, &*next});
        for (auto& [x, edge] : active) x = crossing(edge->upper, edge->lower, y + 0.5);
        // Edges that do not cross each other keep their order from line to line.
        if (!std::is_sorted(active.begin(), active.end())) std::sort(active.begin(), active.end());
        // Between the first and the second crossing is inside, between the second and the third outside, and
        // so on.
        for (std::size_t i = 0; i + 1 < active.size(); i += 2) {
            lines->AddRun(y, first_centre(active[i].first, rect.left, rect.right),
                          first_centre(active[i + 1].first, rect.left, rect.right), nullptr);
        }
        active.erase(std::remove_if(active.begin(), active.end(),
                                    [y](const auto& crossed) { return crossed.second->end == y + 1; }),
                     active.end());
    }
    return lines.release();
}

bool KIT_PolygonMask::Contains(double x, double y) const {
    if (IsEmpty()) return false;
    if (m_bCut && (x < m_Cut.left || x >= m_Cut.right || y < m_Cut.top || y >= m_Cut.bottom)) return false;
    bool inside = false;
    for_each_edge(m_Outline, [&](const Point& upper, const Point& lower) {
        if (upper.y <= y && y < lower.y && crossing(upper, lower, y) <= x) inside = !inside;
    });
    return inside;
}
