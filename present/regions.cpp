#include "regions.h"

#include <algorithm>
#include <cmath>

#include "io/number.h"
#include "io/png_file.h"
#include "io/present_error.h"

namespace {

/// An ellipse is drawn as a polygon whose sides stay within a twentieth of a pixel of it.
constexpr double kEllipseTolerance = 0.05;
constexpr double kPi = 3.14159265358979323846;
/// A region is written by a person or by this program; more points or runs than this are neither.
constexpr std::size_t kMostParts = 1000000;
/// A polygon mask takes no point beyond this.
constexpr double kFarthest = 1e9;

[[noreturn]] void refuse(const std::string& text, const std::string& reason) {
    throw UsageError("--region '" + text.substr(0, 60) + (text.size() > 60 ? "...'" : "'") + ": " + reason);
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, from)) {
        parts.push_back(text.substr(from, at - from));
        from = at + 1;
    }
    parts.push_back(text.substr(from));
    return parts;
}

double number(const std::string& whole, const std::string& text) {
    const std::optional<double> value = ParseNumber(text);
    if (!value) refuse(whole, "'" + text + "' is not a number");
    return *value;
}

std::vector<double> numbers(const std::string& whole, const std::string& text, std::size_t count) {
    std::vector<double> values;
    for (const std::string& part : split(text, ',')) values.push_back(number(whole, part));
    if (values.size() != count) refuse(whole, "'" + text + "' is not " + std::to_string(count) + " numbers");
    return values;
}

std::vector<RegionSpec::Point> ellipse(double x, double y, double rx, double ry) {
    // The sagitta of a side of n is r (1 - cos(pi / n)).
    const double radius = std::max(rx, ry);
    const double needed = kPi / std::acos(std::max(0.0, 1.0 - kEllipseTolerance / std::max(radius, 1.0)));
    const int n = static_cast<int>(std::min(std::max(std::ceil(needed), 16.0), 4096.0));
    std::vector<RegionSpec::Point> outline;
    for (int i = 0; i < n; ++i) {
        const double angle = 2 * kPi * i / n;
        outline.push_back({x + rx * std::cos(angle), y + ry * std::sin(angle)});
    }
    return outline;
}

std::vector<RegionSpec::Run> runs_of(const Picture& mask) {
    std::vector<RegionSpec::Run> runs;
    for (int y = 0; y < mask.height; ++y) {
        int left = -1;
        for (int x = 0; x <= mask.width; ++x) {
            const bool inside =
                x < mask.width && (mask.At(x, y)[0] | mask.At(x, y)[1] | mask.At(x, y)[2]) != 0;
            if (inside && left < 0) left = x;
            if (!inside && left >= 0) {
                runs.push_back({y, left, x});
                left = -1;
            }
        }
    }
    return runs;
}

void parse_shape(const std::string& whole, const std::string& text, RegionSpec& region) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos)
        refuse(whole, "does not begin with a shape: polygon, rect, ellipse, mask or runs");
    const std::string shape = text.substr(0, colon);
    const std::string rest = text.substr(colon + 1);
    if (shape == "polygon") {
        for (const std::string& point : split(rest, ' ')) {
            if (point.empty()) continue;
            const std::vector<double> xy = numbers(whole, point, 2);
            region.outline.push_back({xy[0], xy[1]});
        }
        if (region.outline.size() < 3) refuse(whole, "a polygon has at least three points");
    } else if (shape == "rect") {
        const std::vector<double> c = numbers(whole, rest, 4);
        region.outline = {{c[0], c[1]}, {c[2], c[1]}, {c[2], c[3]}, {c[0], c[3]}};
    } else if (shape == "ellipse") {
        const std::vector<double> e = numbers(whole, rest, 4);
        if (!(e[2] > 0 && e[3] > 0)) refuse(whole, "the half axes of an ellipse are above 0");
        region.outline = ellipse(e[0], e[1], e[2], e[3]);
    } else if (shape == "mask") {
        region.shape = RegionSpec::kRuns;
        region.runs = runs_of(ReadPng(rest));
    } else if (shape == "runs") {
        region.shape = RegionSpec::kRuns;
        for (const std::string& run : split(rest, ' ')) {
            if (run.empty()) continue;
            const std::vector<double> n = numbers(whole, run, 3);
            for (const double value : n) {
                if (!(value >= 0 && value <= 65536)) refuse(whole, "a run lies outside any image");
            }
            region.runs.push_back({static_cast<int>(n[0]), static_cast<int>(n[1]), static_cast<int>(n[2])});
        }
    } else {
        refuse(whole, "there is no shape '" + shape + "': polygon, rect, ellipse, mask or runs");
    }
    if (region.outline.size() > kMostParts || region.runs.size() > kMostParts)
        refuse(whole, "too many parts");
    for (const RegionSpec::Point& p : region.outline) {
        if (std::fabs(p.x) > kFarthest || std::fabs(p.y) > kFarthest)
            refuse(whole, "a point lies beyond a thousand million pixels");
    }
}

void parse_setting(const std::string& whole, const std::string& text, RegionSpec& region) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
    const bool isFlag = name == "invert" || name == "negate" || name == "inactive";
    if (isFlag != (equals == std::string::npos)) refuse(whole, "'" + text + "' is not a setting");
    if (name == "center") {
        region.center = number(whole, value);
    } else if (name == "width") {
        region.width = number(whole, value);
        if (*region.width < 0) refuse(whole, "a width is not below 0");
    } else if (name == "gamma") {
        region.gamma = static_cast<float>(number(whole, value));
    } else if (name == "preset") {
        region.preset = value;
    } else if (name == "colormap") {
        region.colorMap = value;
    } else if (name == "invert") {
        region.invert = true;
    } else if (name == "negate") {
        region.negate = true;
    } else if (name == "inactive") {
        region.inactive = true;
    } else {
        refuse(whole, "there is no setting '" + name + "'");
    }
}

}  // namespace

RegionSpec ParseRegion(const std::string& text) {
    const std::vector<std::string> parts = split(text, ';');
    RegionSpec region;
    parse_shape(text, parts.front(), region);
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (!parts[i].empty()) parse_setting(text, parts[i], region);
    }
    if (region.center.has_value() != region.width.has_value()) refuse(text, "needs both center and width");
    if (region.center && !region.preset.empty()) refuse(text, "has a window and a preset");
    return region;
}

std::string RegionSpec::ToText() const {
    std::string text = shape == kPolygon ? "polygon:" : "runs:";
    for (const Point& p : outline) text += NumberText(p.x) + "," + NumberText(p.y) + " ";
    for (const Run& run : runs) {
        text +=
            std::to_string(run.y) + "," + std::to_string(run.left) + "," + std::to_string(run.right) + " ";
    }
    if (text.back() == ' ') text.pop_back();
    if (center) text += ";center=" + NumberText(*center) + ";width=" + NumberText(*width);
    if (!preset.empty()) text += ";preset=" + preset;
    if (!colorMap.empty()) text += ";colormap=" + colorMap;
    if (gamma) text += ";gamma=" + NumberText(static_cast<double>(*gamma));
    if (invert) text += ";invert";
    if (negate) text += ";negate";
    if (inactive) text += ";inactive";
    return text;
}
