#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// A finished picture: rows from the top without a gap.
struct Picture {
    /// Bytes per pixel: grey in one or in two (a 16-bit word of this machine), or red, green and blue.
    enum Form { kGrey8 = 1, kGrey16 = 2, kRgb = 3 };

    int width = 0;
    int height = 0;
    Form form = kRgb;
    std::vector<std::uint8_t> bytes;

    Picture() = default;
    /// Black.
    Picture(int w, int h, Form f = kRgb) : width(w), height(h), form(f), bytes(RowBytes() * Rows()) {}

    std::size_t Rows() const { return static_cast<std::size_t>(height); }
    std::size_t RowBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(form); }
    std::uint8_t* Row(int y) { return bytes.data() + static_cast<std::size_t>(y) * RowBytes(); }
    const std::uint8_t* Row(int y) const { return const_cast<Picture*>(this)->Row(y); }
    std::uint8_t* At(int x, int y) { return Row(y) + static_cast<std::ptrdiff_t>(x) * form; }
    const std::uint8_t* At(int x, int y) const { return const_cast<Picture*>(this)->At(x, y); }

    enum class ByteOrder { kLittle, kBig };
    /// A row as files hold it: words in the given order, whatever the machine's.
    void CopyRow(int y, ByteOrder order, std::uint8_t* to) const {
        const std::uint8_t* const row = Row(y);
        if (form != kGrey16) {
            std::memcpy(to, row, RowBytes());
            return;
        }
        const int first = order == ByteOrder::kBig ? 8 : 0;
        for (std::size_t i = 0; i < RowBytes(); i += 2) {
            std::uint16_t level;
            std::memcpy(&level, row + i, 2);
            to[i] = static_cast<std::uint8_t>(level >> first);
            to[i + 1] = static_cast<std::uint8_t>(level >> (8 - first));
        }
    }
};
