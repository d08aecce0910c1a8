#include "shutters.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "cielab.h"
#include "io/dicom_tags.h"
#include "io/overlay_planes.h"
#include "io/present_error.h"

namespace {

constexpr std::uint32_t kShape = DicomTag(0x0018, 0x1600), kLeft = DicomTag(0x0018, 0x1602),
                        kRight = DicomTag(0x0018, 0x1604), kUpper = DicomTag(0x0018, 0x1606),
                        kLower = DicomTag(0x0018, 0x1608), kCentre = DicomTag(0x0018, 0x1610),
                        kRadius = DicomTag(0x0018, 0x1612), kVertices = DicomTag(0x0018, 0x1620),
                        kValue = DicomTag(0x0018, 0x1622), kOverlayGroup = DicomTag(0x0018, 0x1623),
                        kCieLab = DicomTag(0x0018, 0x1624);
constexpr std::size_t kMostVertices = 65536;

/// What a shutter leaves visible. Columns and rows count from 1 in the file, from 0 here.
class ShutterLayer : public Layer {
public:
    ShutterLayer(const PresentationState& state, int rows, int columns, double pixelRatio)
        : m_Rows(rows),
          m_Columns(columns),
          m_Visible(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns), 1) {
        const DicomDataSet& set = state.set;
        const auto damaged = [&](const char* what) {
            return PresentError(state.path, std::string("its ") + what + " shutter is damaged");
        };
        const auto number = [&](std::uint32_t tag, const char* what) {
            const std::vector<double> numbers = set.Numbers(tag, 1);
            if (numbers.empty() || !std::isfinite(numbers[0])) throw damaged(what);
            return numbers[0];
        };
        const std::string shapes = set.Text(kShape);
        for (std::size_t at = 0; at <= shapes.size();) {
            const std::size_t end = std::min(shapes.find('\\', at), shapes.size());
            const std::string shape = Trimmed(shapes.substr(at, end - at));
            at = end + 1;
            if (shape == "RECTANGULAR") {
                const double left = number(kLeft, "rectangular"), right = number(kRight, "rectangular"),
                             upper = number(kUpper, "rectangular"), lower = number(kLower, "rectangular");
                // The pixels of the edges are visible.
                keep([=](int x, int y) {
                    return x + 1 >= left && x + 1 <= right && y + 1 >= upper && y + 1 <= lower;
                });
            } else if (shape == "CIRCULAR") {
                const std::vector<double> centre = set.Numbers(kCentre, 2);  // row, column
                const double radius = number(kRadius, "circular");
                if (centre.size() != 2 || !std::isfinite(centre[0]) || !std::isfinite(centre[1]) ||
                    radius < 0)
                    throw damaged("circular");
                // The radius counts pixels along a row.
                keep([&](int x, int y) {
                    return std::hypot(x + 1 - centre[1], (y + 1 - centre[0]) * pixelRatio) <= radius;
                });
            } else if (shape == "POLYGONAL") {
                keep_polygon(set.Numbers(kVertices, 2 * kMostVertices + 2), damaged);
            } else if (shape == "BITMAP") {
                keep_bitmap(state, damaged);
            }
        }
        const std::vector<double> lab = set.Numbers(kCieLab, 3);
        m_Ink = lab.size() == 3 ? InkOfCieLab(lab[0], lab[1], lab[2])
                                : Ink::Grey(static_cast<std::uint16_t>(set.Word(kValue, 0)));
    }

    std::string Name() const override { return "shutter"; }
    bool IsColoured() const override { return !m_Ink.IsGrey(); }

    void Draw(const Canvas& canvas) const override {
        for (int y = 0; y < canvas.picture.height; ++y) {
            for (int x = 0; x < canvas.picture.width; ++x) {
                const double column = canvas.toImage.X(x + 0.5, y + 0.5),
                             row = canvas.toImage.Y(x + 0.5, y + 0.5);
                const bool isInside = column >= 0 && row >= 0 && column < m_Columns && row < m_Rows;
                if (isInside && !visible(static_cast<int>(column), static_cast<int>(row)))
                    canvas.Blend(x, y, m_Ink, 1.0);
            }
        }
    }

private:
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_Columns) +
               static_cast<std::size_t>(x);
    }
    bool visible(int x, int y) const { return m_Visible[index(x, y)] != 0; }

    template <class Inside>
    void keep(Inside inside) {
        for (int y = 0; y < m_Rows; ++y) {
            for (int x = 0; x < m_Columns; ++x) {
                if (!inside(x, y)) m_Visible[index(x, y)] = 0;
            }
        }
    }

    /// Vertices as row, column; pixels whose centre lies inside by the even-odd rule, or on an edge. Row by
    /// row, since crossings of all rows at once would take memory without bounds.
    template <class Damaged>
    void keep_polygon(const std::vector<double>& vertices, Damaged damaged) {
        const std::size_t count = vertices.size() / 2;
        if (count < 3 || vertices.size() % 2 != 0 || count > kMostVertices) throw damaged("polygonal");
        for (const double vertex : vertices) {
            if (!(std::fabs(vertex) <= 1e6)) throw damaged("polygonal");
        }
        std::vector<double> crossings;
        std::vector<std::uint8_t> isInside(static_cast<std::size_t>(m_Columns));
        const auto show = [&](double from, double to) {
            const auto column = [&](double x) {
                return static_cast<std::ptrdiff_t>(std::clamp(x, 0.0, double(m_Columns)));
            };
            const auto first = column(std::ceil(from)), end = column(std::floor(to) + 1.0);
            if (first < end) std::fill(isInside.begin() + first, isInside.begin() + end, std::uint8_t{1});
        };
        for (int y = 0; y < m_Rows; ++y) {
            crossings.clear();
            std::fill(isInside.begin(), isInside.end(), std::uint8_t{0});
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t j = (i + 1) % count;
                double y0 = vertices[2 * i] - 1.0, x0 = vertices[2 * i + 1] - 1.0, y1 = vertices[2 * j] - 1.0,
                       x1 = vertices[2 * j + 1] - 1.0;
                if (y0 > y1) std::swap(y0, y1), std::swap(x0, x1);
                if (y0 <= y && y < y1) crossings.push_back(x0 + (y - y0) / (y1 - y0) * (x1 - x0));
                // What the half-open edges leave out.
                if (y1 == y) y0 == y ? show(std::min(x0, x1), std::max(x0, x1)) : show(x1, x1);
            }
            std::sort(crossings.begin(), crossings.end());
            for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) show(crossings[i], crossings[i + 1]);
            for (int x = 0; x < m_Columns; ++x)
                m_Visible[index(x, y)] &= isInside[static_cast<std::size_t>(x)];
        }
    }

    template <class Damaged>
    void keep_bitmap(const PresentationState& state, Damaged damaged) {
        const auto group = static_cast<unsigned>(state.set.Word(kOverlayGroup, 0));
        std::vector<std::string> problems;
        for (const OverlayPlane& plane : ReadOverlayPlanes(state.set, 0, nullptr, &problems)) {
            if (plane.group != group) continue;
            // A set bit covers its pixel.
            for (int row = 0; row < plane.rows; ++row) {
                for (int column = 0; column < plane.columns; ++column) {
                    const int x = plane.left + column, y = plane.top + row;
                    if (x >= 0 && y >= 0 && x < m_Columns && y < m_Rows && plane.IsSet(row, column))
                        m_Visible[index(x, y)] = 0;
                }
            }
            return;
        }
        throw damaged("bitmap");
    }

    int m_Rows, m_Columns;
    std::vector<std::uint8_t> m_Visible;
    Ink m_Ink;
};

}  // namespace

Layers ShutterLayers(const PresentationState& state, int rows, int columns, double pixelRatio) {
    Layers layers;
    if (!state.set.Text(kShape).empty())
        layers.push_back(std::make_unique<ShutterLayer>(state, rows, columns, pixelRatio));
    return layers;
}
