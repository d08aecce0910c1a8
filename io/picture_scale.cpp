#include "picture_scale.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

/// Sums of weighted samples stay below 2^17 x 2^17 x 2^16, which a double holds exactly.
constexpr int kLongestSide = 65535;

/// How the pixels along one axis are mixed. The weights of each new pixel are whole numbers, and their sum is
/// `total`.
struct Axis {
    struct Mix {
        int first;           ///< the first old pixel
        int count;           ///< of old pixels side by side
        std::size_t weight;  ///< index of the first one's weight
    };
    std::vector<Mix> mixes;
    std::vector<std::uint32_t> weights;
    std::int64_t total;
};

/// New pixel i covers the old ones from i * from / to to (i + 1) * from / to.
Axis area_average(std::int64_t from, std::int64_t to) {
    Axis axis = {{}, {}, from};
    for (std::int64_t i = 0; i < to; ++i) {
        const std::int64_t begin = i * from, end = begin + from;
        const std::size_t weight = axis.weights.size();
        const std::int64_t first = begin / to;
        std::int64_t old = first;
        for (; old * to < end; ++old) {
            axis.weights.push_back(
                static_cast<std::uint32_t>(std::min(end, (old + 1) * to) - std::max(begin, old * to)));
        }
        axis.mixes.push_back({static_cast<int>(first), static_cast<int>(old - first), weight});
    }
    return axis;
}

/// The centre of new pixel i lies at (i + 1/2) * from / to - 1/2, counted from the first old centre. Outside
/// the outermost centres the outermost pixel counts alone.
Axis linear(std::int64_t from, std::int64_t to) {
    Axis axis = {{}, {}, 2 * to};
    for (std::int64_t i = 0; i < to; ++i) {
        const std::int64_t place = std::clamp<std::int64_t>((2 * i + 1) * from - to, 0, 2 * to * (from - 1));
        const std::int64_t first = place / (2 * to), beyond = place % (2 * to);
        axis.mixes.push_back({static_cast<int>(first), beyond == 0 ? 1 : 2, axis.weights.size()});
        axis.weights.push_back(static_cast<std::uint32_t>(2 * to - beyond));
        if (beyond != 0) axis.weights.push_back(static_cast<std::uint32_t>(beyond));
    }
    return axis;
}

Axis resolve_axis(int from, int to) { return to < from ? area_average(from, to) : linear(from, to); }

template <class Sample>
Sample load(const std::uint8_t* bytes, std::size_t index) {
    Sample sample;
    std::memcpy(&sample, bytes + index * sizeof sample, sizeof sample);
    return sample;
}

/// Columns first, for whole rows at a time, then rows; rounded once, at the end, to the nearest, halves up.
template <class Sample, int Channels>
void scale(const Picture& picture, Picture& scaled) {
    const Axis columns = resolve_axis(picture.height, scaled.height);
    const Axis rows = resolve_axis(picture.width, scaled.width);
    const std::int64_t total = columns.total * rows.total;
    std::vector<std::int64_t> sums(static_cast<std::size_t>(picture.width) * Channels);
    for (int y = 0; y < scaled.height; ++y) {
        const Axis::Mix& column = columns.mixes[static_cast<std::size_t>(y)];
        std::fill(sums.begin(), sums.end(), 0);
        for (int k = 0; k < column.count; ++k) {
            const std::uint8_t* const row = picture.Row(column.first + k);
            const std::int64_t weight = columns.weights[column.weight + static_cast<std::size_t>(k)];
            for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += weight * load<Sample>(row, i);
        }
        std::uint8_t* to = scaled.Row(y);
        for (const Axis::Mix& mix : rows.mixes) {
            const std::int64_t* sum = &sums[static_cast<std::size_t>(mix.first) * Channels];
            const std::uint32_t* const weights = &rows.weights[mix.weight];
            std::int64_t mixed[Channels] = {};
            for (int k = 0; k < mix.count; ++k) {
                for (int c = 0; c < Channels; ++c) mixed[c] += weights[k] * *sum++;
            }
            for (int c = 0; c < Channels; ++c, to += sizeof(Sample)) {
                // A quotient just below a whole number is not rounded up to it: both numbers are exact, and
                // it differs by 1 / total at least, more than a double's last bit.
                const auto rounded = mixed[c] + total / 2;
                const auto level =
                    static_cast<Sample>(static_cast<double>(rounded) / static_cast<double>(total));
                std::memcpy(to, &level, sizeof level);
            }
        }
    }
}

}  // namespace

Picture Fit(const Picture& picture, int width, int height) {
    if (picture.width < 1 || picture.height < 1 || std::max(picture.width, picture.height) > kLongestSide) {
        throw std::length_error("a picture to be scaled has 1 to 65535 pixels a side");
    }
    width = std::clamp(width, 1, kLongestSide);
    height = std::clamp(height, 1, kLongestSide);
    // The side that limits is filled, the other one rounded to the nearest.
    const std::int64_t w = picture.width, h = picture.height;
    if (width * h <= height * w) {
        height = static_cast<int>(std::max<std::int64_t>((h * 2 * width + w) / (2 * w), 1));
    } else {
        width = static_cast<int>(std::max<std::int64_t>((w * 2 * height + h) / (2 * h), 1));
    }
    if (width == picture.width && height == picture.height) return picture;

    Picture scaled(width, height, picture.form);
    switch (picture.form) {
        case Picture::kGrey8:
            scale<std::uint8_t, 1>(picture, scaled);
            break;
        case Picture::kGrey16:
            scale<std::uint16_t, 1>(picture, scaled);
            break;
        case Picture::kRgb:
            scale<std::uint8_t, 3>(picture, scaled);
            break;
    }
    return scaled;
}
