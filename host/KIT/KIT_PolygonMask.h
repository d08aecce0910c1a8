#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_Mask.h>
#include <KIT/KIT_Rect.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

class KIT_LinesMask;

/// A region defined by its outline, in pixel coordinates: pixel (x, y) covers x to x + 1 and y to y + 1, its
/// centre lies at (x + 0.5, y + 0.5). The outline may cross itself; what is enclosed an odd number of times
/// is inside.
///
///     KIT_PolygonMask square({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
///
/// Only Clear changes an object; several threads may read it.
class HOST_API KIT_PolygonMask : public KIT_Mask {
public:
    struct Point {
        double x;
        double y;
    };
    typedef std::vector<Point> Ring;

    KIT_PolygonMask();
    /// Most crossings of edges with the centres of lines that ConvertToLinesMask works through: at most the
    /// points of the outline times the lines it covers.
    static constexpr std::uint64_t kMostCrossings = std::uint64_t(1) << 28;

    /// An outline has more crossings than that.
    class HOST_API TooComplex : public std::length_error {
    public:
        TooComplex(std::size_t points, std::uint64_t crossings);
        ~TooComplex() override;
    };

    /// One closed outline; the last point need not repeat the first. A coordinate that is not finite, or
    /// beyond a thousand million, empties the mask.
    explicit KIT_PolygonMask(Ring outline);
    ~KIT_PolygonMask() override;

    void Clear() override;
    /// Whether the pixel's centre lies inside.
    bool HitTest(int x, int y) const override;
    /// A new polygon of the transformed points: column vectors (x, y, 0, 1) from the left, divided by the
    /// fourth component. The caller deletes it.
    KIT_PolygonMask* ApplyMatrix(float matrix[4][4]);
    /// A new polygon that is cut to the rectangle; empty where nothing lies inside, null for a rectangle
    /// without area. The outline stays as it is and the cut is kept beside it, so that cutting moves no edge.
    /// The caller deletes it. The rectangle is left, top, right, bottom, right and bottom excluded.
    KIT_PolygonMask* IntersectWithDisplayRect(int left, int top, int right, int bottom);
    /// A new run list of the pixels whose centres lie inside, by the rule of Contains; the caller deletes it.
    /// Raises TooComplex, before any work, beyond kMostCrossings. Needs memory for the points and the runs.
    KIT_LinesMask* ConvertToLinesMask();

    /// Whether a point lies inside. A point on an edge belongs to the region when the inside is on its right,
    /// or below it for a horizontal edge, so that regions side by side share no pixel.
    bool Contains(double x, double y) const;
    const Ring& GetOutline() const { return m_Outline; }

protected:
    void init() override;
    /// With fewer than three points there is no inside.
    bool is_empty() const override;

private:
    Ring m_Outline;
    bool m_bCut = false;
    KIT_Rect m_Cut;
};
