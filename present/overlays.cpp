#include "overlays.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "io/present_error.h"

namespace {

constexpr double kLeastCoverage = 0.25;
constexpr double kMostSamples = 1024.0;

class OverlayLayer : public Layer {
public:
    OverlayLayer(OverlayPlane plane, const Ink& ink) : m_Plane(std::move(plane)), m_Ink(ink) {}

    std::string Name() const override {
        char number[8];
        std::snprintf(number, sizeof number, "%04X", m_Plane.group);
        const std::string& title = m_Plane.label.empty() ? m_Plane.description : m_Plane.label;
        return std::string("overlay ") + number + (title.empty() ? "" : " '" + title + "'");
    }
    bool IsColoured() const override { return !m_Ink.IsGrey(); }

    void Draw(const Canvas& canvas) const override {
        // One for each pixel of the plane that lies across, or down, one of the picture.
        const SPC_Affine& m = canvas.toImage;
        const auto samples = [](double pixels) {
            return static_cast<int>(std::clamp(std::ceil(pixels), 1.0, kMostSamples));
        };
        const int across = samples(std::hypot(m.a, m.d)), down = samples(std::hypot(m.b, m.e));
        const auto [left, top, right, bottom] = bounds(canvas);
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                int set = 0;
                for (int j = 0; j < down; ++j) {
                    for (int i = 0; i < across; ++i) {
                        const double sx = x + (i + 0.5) / across, sy = y + (j + 0.5) / down;
                        set += is_set(std::floor(m.X(sx, sy)), std::floor(m.Y(sx, sy))) ? 1 : 0;
                    }
                }
                if (set == 0) continue;
                canvas.Blend(x, y, m_Ink, std::max(kLeastCoverage, double(set) / (double(across) * down)));
            }
        }
    }

private:
    struct Bounds {
        int left, top, right, bottom;
    };

    bool is_set(double x, double y) const {
        const double column = x - m_Plane.left, row = y - m_Plane.top;
        return column >= 0 && row >= 0 && column < m_Plane.columns && row < m_Plane.rows &&
               m_Plane.IsSet(static_cast<int>(row), static_cast<int>(column));
    }

    /// The pixels of the picture that the plane can reach.
    Bounds bounds(const Canvas& canvas) const {
        double left = canvas.picture.width, top = canvas.picture.height, right = 0.0, bottom = 0.0;
        for (const double x : {double(m_Plane.left), double(m_Plane.left) + m_Plane.columns}) {
            for (const double y : {double(m_Plane.top), double(m_Plane.top) + m_Plane.rows}) {
                const double sx = canvas.toScreen.X(x, y), sy = canvas.toScreen.Y(x, y);
                left = std::min(left, sx - 1.0), right = std::max(right, sx + 2.0);
                top = std::min(top, sy - 1.0), bottom = std::max(bottom, sy + 2.0);
            }
        }
        const auto within = [](double value, int size) {
            return static_cast<int>(std::clamp(value, 0.0, double(size)));
        };
        return {within(left, canvas.picture.width), within(top, canvas.picture.height),
                within(right, canvas.picture.width), within(bottom, canvas.picture.height)};
    }

    OverlayPlane m_Plane;
    Ink m_Ink;
};

}  // namespace

Layers OverlayLayers(const std::vector<OverlayPlane>& planes, const Ink& ink) {
    Layers layers;
    for (const OverlayPlane& plane : planes) layers.push_back(std::make_unique<OverlayLayer>(plane, ink));
    return layers;
}

Ink ParseInk(const std::string& text, const char* option) {
    static constexpr std::pair<const char*, unsigned> kNames[] = {
        {"white", 0xFFFFFF}, {"black", 0x000000},   {"red", 0xFF0000},
        {"green", 0x00FF00}, {"blue", 0x0000FF},    {"yellow", 0xFFFF00},
        {"cyan", 0x00FFFF},  {"magenta", 0xFF00FF}, {"orange", 0xFFA500}};
    const auto ink = [](unsigned rgb) {
        const auto channel = [rgb](int shift) {
            return static_cast<std::uint16_t>((rgb >> shift & 0xFF) * 0x101);
        };
        return Ink{channel(16), channel(8), channel(0)};
    };
    for (const auto& [name, rgb] : kNames) {
        if (text == name) return ink(rgb);
    }
    const bool isCode = text.size() == 7 && text[0] == '#' &&
                        text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (!isCode)
        throw UsageError(std::string(option) + ": '" + text +
                         "' is not #RRGGBB or the name of a simple colour");
    return ink(static_cast<unsigned>(std::stoul(text.substr(1), nullptr, 16)));
}
