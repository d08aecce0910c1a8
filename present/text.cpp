#include "text.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_STROKER_H

#include <refhost/Unicode.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr const char* kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/dejavu-sans-fonts/DejaVuSans.ttf",
                                  "/usr/share/fonts/TTF/DejaVuSans.ttf",
                                  "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf",
                                  "/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf",
                                  "/usr/share/fonts/truetype/freefont/FreeSans.ttf"};
constexpr double kLineHeight = 1.25;
constexpr double kFraction = 64.0;  // FreeType's positions have 6 fraction bits
constexpr double kEdge = 1.2;
constexpr std::size_t kMostCharacters = 4096;

std::vector<std::wstring> lines_of(const std::string& utf8) {
    std::vector<std::wstring> lines(1);
    std::size_t count = 0;
    for (const wchar_t sign : refhost::FromUtf8(utf8)) {
        if (++count > kMostCharacters) break;
        if (sign == L'\n') {
            lines.emplace_back();
        } else if (sign >= L' ') {
            lines.back() += sign;
        }
    }
    return lines;
}

}  // namespace

struct TextPainter::Font {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Stroker stroker = nullptr;

    ~Font() {
        if (stroker != nullptr) FT_Stroker_Done(stroker);
        if (face != nullptr) FT_Done_Face(face);
        if (library != nullptr) FT_Done_FreeType(library);
    }
    bool Open() {
        if (FT_Init_FreeType(&library) != 0) return false;
        std::vector<std::string> paths(std::begin(kFonts), std::end(kFonts));
        if (const char* const chosen = std::getenv("ZEV_FONT")) paths.insert(paths.begin(), chosen);
        for (const std::string& path : paths) {
            if (FT_New_Face(library, path.c_str(), 0, &face) == 0) break;
        }
        return face != nullptr && FT_Stroker_New(library, &stroker) == 0;
    }
    bool SetSize(double size) const {
        return FT_Set_Char_Size(face, 0, static_cast<FT_F26Dot6>(std::lround(size * kFraction)), 72, 72) == 0;
    }
    double Advance(const std::wstring& line) const {
        double width = 0.0;
        for (const wchar_t sign : line) {
            if (FT_Load_Char(face, static_cast<FT_ULong>(sign), FT_LOAD_NO_BITMAP) == 0)
                width += static_cast<double>(face->glyph->advance.x) / kFraction;
        }
        return width;
    }
    /// One glyph with its origin at (x, y), or the edge around it.
    void DrawGlyph(const Canvas& canvas, wchar_t sign, double x, double y, bool isEdge,
                   const Ink& ink) const {
        if (FT_Load_Char(face, static_cast<FT_ULong>(sign), FT_LOAD_NO_BITMAP) != 0) return;
        FT_Glyph glyph;
        if (FT_Get_Glyph(face->glyph, &glyph) != 0) return;
        if (isEdge) FT_Glyph_Stroke(&glyph, stroker, 1);
        FT_Vector offset{static_cast<FT_Pos>(std::lround((x - std::floor(x)) * kFraction)), 0};
        if (FT_Glyph_To_Bitmap(&glyph, FT_RENDER_MODE_NORMAL, &offset, 1) == 0) {
            const auto* const bitmap = reinterpret_cast<FT_BitmapGlyph>(glyph);
            const int left = static_cast<int>(std::floor(x)) + bitmap->left,
                      top = static_cast<int>(std::lround(y)) - bitmap->top;
            for (unsigned row = 0; row < bitmap->bitmap.rows; ++row) {
                for (unsigned column = 0; column < bitmap->bitmap.width; ++column) {
                    const unsigned char level =
                        bitmap->bitmap
                            .buffer[static_cast<std::ptrdiff_t>(row) * bitmap->bitmap.pitch + column];
                    if (level != 0)
                        canvas.Blend(left + static_cast<int>(column), top + static_cast<int>(row), ink,
                                     level / 255.0);
                }
            }
        }
        FT_Done_Glyph(glyph);
    }
};

TextPainter::TextPainter() : m_pFont(new Font) {
    if (!m_pFont->Open()) {
        delete m_pFont;
        m_pFont = nullptr;
    }
}

TextPainter::~TextPainter() { delete m_pFont; }

bool TextPainter::IsReady() const { return m_pFont != nullptr; }

TextPainter::Extent TextPainter::Measure(const std::string& utf8, double size) const {
    Extent extent{0.0, 0.0};
    if (m_pFont == nullptr || !m_pFont->SetSize(size)) return extent;
    for (const std::wstring& line : lines_of(utf8)) {
        extent.width = std::max(extent.width, m_pFont->Advance(line));
        extent.height += size * kLineHeight;
    }
    return extent;
}

void TextPainter::Draw(const Canvas& canvas, const std::string& utf8, double x, double y, double width,
                       double size, Align align, const Ink& ink) const {
    if (m_pFont == nullptr || !m_pFont->SetSize(size)) return;
    const bool isDark = ink.red + ink.green + ink.blue < 3 * 0x6000;
    const Ink edge = Ink::Grey(isDark ? 0xFFFF : 0);
    FT_Stroker_Set(m_pFont->stroker, static_cast<FT_Fixed>(std::lround(kEdge * kFraction)),
                   FT_STROKER_LINECAP_ROUND, FT_STROKER_LINEJOIN_ROUND, 0);
    double baseline = y + size;
    for (const std::wstring& line : lines_of(utf8)) {
        const double spare = width - m_pFont->Advance(line);
        const double start = x + (align == Align::kLeft     ? 0.0
                                  : align == Align::kCentre ? spare / 2.0
                                                            : spare);
        for (const bool isEdge : {true, false}) {
            double at = start;
            for (const wchar_t sign : line) {
                // Far outside nothing shows.
                if (at > canvas.picture.width + size || baseline > canvas.picture.height + 2.0 * size) break;
                if (at > -4.0 * size && baseline > -size)
                    m_pFont->DrawGlyph(canvas, sign, at, baseline, isEdge, isEdge ? edge : ink);
                at += m_pFont->Advance(std::wstring(1, sign));
            }
        }
        baseline += size * kLineHeight;
    }
}
