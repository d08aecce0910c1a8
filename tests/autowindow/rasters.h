#pragma once

#include <refhost/MemoryRaster.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace rasters {

inline void Set(refhost::MemoryRaster& raster, std::size_t index, int value) {
    if (raster.BytesPerPixel() == 1) {
        static_cast<std::uint8_t*>(raster.GetPixels())[index] = static_cast<std::uint8_t>(value);
    } else {
        static_cast<std::uint16_t*>(raster.GetPixels())[index] = static_cast<std::uint16_t>(value);
    }
}

inline int Get(refhost::MemoryRaster& raster, std::size_t index) {
    if (raster.BytesPerPixel() == 1) {
        const std::uint8_t value = static_cast<std::uint8_t*>(raster.GetPixels())[index];
        return raster.m_bSigned ? static_cast<std::int8_t>(value) : value;
    }
    const std::uint16_t value = static_cast<std::uint16_t*>(raster.GetPixels())[index];
    return raster.m_bSigned ? static_cast<std::int16_t>(value) : value;
}

inline refhost::MemoryRaster Of(int width, int height, int bits, bool isSigned,
                                const std::vector<int>& values) {
    refhost::MemoryRaster raster(width, height, bits, isSigned);
    for (std::size_t i = 0; i < values.size(); ++i) Set(raster, i, values[i]);
    return raster;
}

/// Value and number of pixels.
using Histogram = std::vector<std::pair<int, int>>;

/// One row that holds just these pixels.
inline refhost::MemoryRaster Of(int bits, bool isSigned, const Histogram& histogram) {
    std::vector<int> values;
    for (const auto& [value, count] : histogram)
        values.insert(values.end(), static_cast<std::size_t>(count), value);
    return Of(static_cast<int>(values.size()), 1, bits, isSigned, values);
}

}  // namespace rasters
