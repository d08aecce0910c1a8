#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_STROKER_H

#include <cmath>
#include <memory>
#include <vector>

#include "present/text_engine.h"

namespace {

constexpr const char* kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/dejavu-sans-fonts/DejaVuSans.ttf",
                                  "/usr/share/fonts/TTF/DejaVuSans.ttf",
                                  "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf",
                                  "/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf",
                                  "/usr/share/fonts/truetype/freefont/FreeSans.ttf"};
constexpr double kFraction = 64.0;  // positions have 6 fraction bits

class FreeTypeEngine : public TextEngine {
public:
    ~FreeTypeEngine() override {
        if (m_Stroker != nullptr) FT_Stroker_Done(m_Stroker);
        if (m_Face != nullptr) FT_Done_Face(m_Face);
        if (m_Library != nullptr) FT_Done_FreeType(m_Library);
    }

    bool Open(const char* font) {
        if (FT_Init_FreeType(&m_Library) != 0) return false;
        std::vector<const char*> paths(std::begin(kFonts), std::end(kFonts));
        if (font != nullptr) paths.insert(paths.begin(), font);
        for (const char* const path : paths) {
            if (FT_New_Face(m_Library, path, 0, &m_Face) == 0) break;
        }
        return m_Face != nullptr && FT_Stroker_New(m_Library, &m_Stroker) == 0;
    }

    double Advance(const std::u32string& line, double size) override {
        double width = 0.0;
        if (!set_size(size)) return width;
        for (const char32_t sign : line) width += advance(sign);
        return width;
    }

    void Draw(const std::u32string& line, double x, double y, double size, double edge, double end,
              const Put& put) override {
        if (!set_size(size)) return;
        if (edge > 0.0) {
            FT_Stroker_Set(m_Stroker, static_cast<FT_Fixed>(std::lround(edge * kFraction)),
                           FT_STROKER_LINECAP_ROUND, FT_STROKER_LINEJOIN_ROUND, 0);
        }
        for (const char32_t sign : line) {
            if (x > end) return;
            const double next = x + advance(sign);
            // Far to the left nothing shows.
            if (next > -size) draw_glyph(x, y, edge > 0.0, put);
            x = next;
        }
    }

private:
    bool set_size(double size) {
        return FT_Set_Char_Size(m_Face, 0, static_cast<FT_F26Dot6>(std::lround(size * kFraction)), 72, 72) ==
               0;
    }

    /// Loads the letter.
    double advance(char32_t sign) {
        if (FT_Load_Char(m_Face, static_cast<FT_ULong>(sign), FT_LOAD_NO_BITMAP) != 0) return 0.0;
        return static_cast<double>(m_Face->glyph->advance.x) / kFraction;
    }

    void draw_glyph(double x, double y, bool isEdge, const Put& put) {
        FT_Glyph glyph;
        if (FT_Get_Glyph(m_Face->glyph, &glyph) != 0) return;
        if (isEdge) FT_Glyph_Stroke(&glyph, m_Stroker, 1);
        FT_Vector offset{static_cast<FT_Pos>(std::lround((x - std::floor(x)) * kFraction)), 0};
        if (FT_Glyph_To_Bitmap(&glyph, FT_RENDER_MODE_NORMAL, &offset, 1) == 0) {
            const auto* const image = reinterpret_cast<FT_BitmapGlyph>(glyph);
            const FT_Bitmap& bitmap = image->bitmap;
            const int left = static_cast<int>(std::floor(x)) + image->left,
                      top = static_cast<int>(std::lround(y)) - image->top;
            for (unsigned row = 0; row < bitmap.rows; ++row) {
                for (unsigned column = 0; column < bitmap.width; ++column) {
                    const unsigned char level =
                        bitmap.buffer[static_cast<std::ptrdiff_t>(row) * bitmap.pitch + column];
                    if (level != 0)
                        put(left + static_cast<int>(column), top + static_cast<int>(row), level / 255.0);
                }
            }
        }
        FT_Done_Glyph(glyph);
    }

    FT_Library m_Library = nullptr;
    FT_Face m_Face = nullptr;
    FT_Stroker m_Stroker = nullptr;
};

}  // namespace

extern "C" TextEngine* zev_text_engine(const char* font) {
    auto engine = std::make_unique<FreeTypeEngine>();
    return engine->Open(font) ? engine.release() : nullptr;
}
