#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A finished picture: rows from the top without a gap, three bytes per pixel, red first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    Picture() = default;
    /// Black.
    Picture(int w, int h)
        : width(w), height(h), rgb(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3) {}

    std::uint8_t* At(int x, int y) {
        return &rgb[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)) *
                    3];
    }
    const std::uint8_t* At(int x, int y) const { return const_cast<Picture*>(this)->At(x, y); }
};
