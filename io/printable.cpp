#include "printable.h"

#include <cstdint>

namespace {

struct CodePoint {
    std::uint32_t value = 0;
    std::size_t bytes = 0;  ///< 0: not UTF-8
};

CodePoint code_point(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(at);
    if (first < 0x80) return {first, 1};
    const std::size_t count = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || at + count > text.size()) return {};
    std::uint32_t value = first & (0xFFU >> (count + 1));
    for (std::size_t i = 1; i < count; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return {};
        value = (value << 6) | (byte(at + i) & 0x3F);
    }
    const bool isOverlong = value < (count == 4 ? 0x10000U : count == 3 ? 0x800U : 0x80U);
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    if (isOverlong || isSurrogate || value > 0x10FFFF) return {};
    return {value, count};
}

bool commands_a_terminal(std::uint32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace

std::string Printable(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint c = code_point(text, i);
        if (c.bytes == 0 || commands_a_terminal(c.value)) {
            result += '?';
        } else {
            result.append(text, i, c.bytes);
        }
        i += c.bytes == 0 ? 1 : c.bytes;
    }
    return result;
}
