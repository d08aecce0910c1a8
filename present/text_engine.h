#pragma once

#include <functional>
#include <string>

/// Turns lines of text into coverage, with one font. It lies in a module that is loaded when text is drawn:
/// loading a font library takes a tenth of the time that a small image takes.
class TextEngine {
public:
    virtual ~TextEngine() = default;
    /// In pixels, for a size of the font in pixels.
    virtual double Advance(const std::u32string& line, double size) = 0;
    /// Calls put(x, y, coverage) for every pixel that the line touches, or with `edge` above 0 a seam of that
    /// width around its letters. (x, y) is where the first letter stands on the base line. Letters beyond
    /// `end` are left out.
    using Put = std::function<void(int x, int y, double coverage)>;
    virtual void Draw(const std::u32string& line, double x, double y, double size, double edge, double end,
                      const Put& put) = 0;
};

/// The one symbol of the module: `TextEngine*(const char* font)`, with the file of a font to try before the
/// usual ones, or null. Null where there is no font.
constexpr const char* kTextEngineSymbol = "zev_text_engine";
