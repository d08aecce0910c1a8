#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

/// One frame as it was stored, decompressed: interleaved little-endian samples in 1, 2 or 4 bytes each, or
/// one floating-point number of 4 or 8 bytes for each pixel.
struct StoredFrame {
    int rows = 0;
    int columns = 0;
    int samples = 0;
    int sampleBytes = 0;
    int bitsAllocated = 0;
    int bitsStored = 0;
    int highBit = 0;
    bool isSigned = false;
    bool isReal = false;
    /// Colour model of these samples: MONOCHROME1, MONOCHROME2, PALETTE COLOR, RGB or YBR_FULL.
    std::string photometric;
    std::string data;
    /// Of a frame that was cut short: its first pixels, in the order of rows. The others are 0.
    std::size_t present = 0;

    std::size_t Pixels() const { return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns); }
    /// Sample i as unsigned bits, nothing shifted or masked. i is below Pixels() * samples.
    std::uint32_t Bits(std::size_t i) const {
        const auto size = static_cast<std::size_t>(sampleBytes);
        std::uint32_t value = 0;
        for (std::size_t b = size; b-- > 0;) {
            value = (value << 8) | static_cast<unsigned char>(data[i * size + b]);
        }
        return value;
    }
    /// Pixel i of a frame of real numbers.
    double Real(std::size_t i) const {
        std::uint64_t bits = 0;
        for (int b = sampleBytes; b-- > 0;)
            bits = bits << 8 |
                   static_cast<unsigned char>(
                       data[i * static_cast<std::size_t>(sampleBytes) + static_cast<std::size_t>(b)]);
        if (sampleBytes == 8) {
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        const auto low = static_cast<std::uint32_t>(bits);
        float value;
        std::memcpy(&value, &low, sizeof value);
        return static_cast<double>(value);
    }
    void PutBits(std::size_t i, std::uint32_t value) {
        const auto size = static_cast<std::size_t>(sampleBytes);
        for (std::size_t b = 0; b < size; ++b)
            data[i * size + b] = static_cast<char>((value >> (8 * b)) & 0xFF);
    }
};
