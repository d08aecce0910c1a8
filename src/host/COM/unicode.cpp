#include <refhost/Unicode.h>

#include <cwchar>
#include <type_traits>

namespace refhost {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsLead(char32_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsTrail(char32_t c) { return c >= 0xDC00 && c < 0xE000; }

char32_t Unit(wchar_t c) {
    // wchar_t is signed on some systems; a negative one is no character.
    return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
}

/// Takes the character at `i` and moves `i` behind it. Pairs of surrogates count as one character in wide
/// text of either width.
char32_t NextWide(const wchar_t* text, std::size_t length, std::size_t& i) {
    const char32_t c = Unit(text[i++]);
    if (IsLead(c) && i < length && IsTrail(Unit(text[i]))) {
        return 0x10000 + ((c - 0xD800) << 10) + (Unit(text[i++]) - 0xDC00);
    }
    if (IsLead(c) || IsTrail(c) || c > 0x10FFFF) return kReplacement;
    return c;
}

void AppendUtf8(std::string& out, char32_t c) {
    const auto tail = [&out, c](int shift) { out += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        tail(0);
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

/// Takes the character at `i`; a malformed sequence costs one byte.
char32_t NextUtf8(const char* text, std::size_t length, std::size_t& i) {
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(i++);
    if (lead < 0x80) return lead;
    std::size_t tails = 0;
    char32_t c = 0;
    char32_t least = 0;
    if (lead >= 0xC2 && lead < 0xE0) {
        tails = 1, c = lead & 0x1Fu, least = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        tails = 2, c = lead & 0x0Fu, least = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF5) {
        tails = 3, c = lead & 0x07u, least = 0x10000;
    } else {
        return kReplacement;
    }
    if (length - i < tails) return kReplacement;
    for (std::size_t k = 0; k < tails; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return kReplacement;
        c = (c << 6) | (byte(i + k) & 0x3Fu);
    }
    if (c < least || c > 0x10FFFF || IsLead(c) || IsTrail(c)) return kReplacement;
    i += tails;
    return c;
}

/// Hands out UTF-16 code units one by one; -1 at the end.
class Units {
public:
    Units(const wchar_t* text, std::size_t length) : m_Text(text), m_End(text + length) {}
    int Next() {
        if (m_Trail != 0) {
            const int trail = m_Trail;
            m_Trail = 0;
            return trail;
        }
        if (m_Text == m_End) return -1;
        const char32_t c = Unit(*m_Text++);
        if (c < 0x10000) return static_cast<int>(c);
        if (c > 0x10FFFF) return static_cast<int>(kReplacement);
        m_Trail = static_cast<int>(0xDC00 + ((c - 0x10000) & 0x3FF));
        return static_cast<int>(0xD800 + ((c - 0x10000) >> 10));
    }

private:
    const wchar_t* m_Text;
    const wchar_t* m_End;
    int m_Trail = 0;
};

}  // namespace

std::string ToUtf8(const wchar_t* text, std::size_t length) {
    std::string out;
    out.reserve(length);
    for (std::size_t i = 0; i < length;) AppendUtf8(out, NextWide(text, length, i));
    return out;
}

std::string ToUtf8(const wchar_t* text) {
    return text == nullptr ? std::string() : ToUtf8(text, std::wcslen(text));
}

std::wstring FromUtf8(const char* text, std::size_t length) {
    std::wstring out;
    out.reserve(length);
    for (std::size_t i = 0; i < length;) {
        const char32_t c = NextUtf8(text, length, i);
        if (sizeof(wchar_t) == 2 && c >= 0x10000) {
            out += static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out += static_cast<wchar_t>(c);
        }
    }
    return out;
}

std::wstring FromUtf8(const std::string& text) { return FromUtf8(text.data(), text.size()); }

int CompareUtf16(const wchar_t* a, std::size_t aLength, const wchar_t* b, std::size_t bLength) {
    Units left(a, aLength);
    Units right(b, bLength);
    for (;;) {
        const int l = left.Next();
        const int r = right.Next();
        if (l != r) return l < r ? -1 : 1;
        if (l < 0) return 0;
    }
}

}  // namespace refhost
