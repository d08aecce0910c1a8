#pragma once

#include <memory>
#include <string>

#include "layer.h"
#include "text_engine.h"

/// Lines of text drawn with a font of the system: the file that ZEV_FONT names, else one of the usual sans
/// serif ones.
class TextPainter {
public:
    TextPainter();
    ~TextPainter();
    TextPainter(const TextPainter&) = delete;
    TextPainter& operator=(const TextPainter&) = delete;

    /// False where there is no font.
    bool IsReady() const;
    /// Width and height of a text of several lines in pixels, for a size of the font in pixels.
    struct Extent {
        double width, height;
    };
    Extent Measure(const std::string& utf8, double size) const;
    /// Where a line begins.
    enum class Align { kLeft, kCentre, kRight };
    /// Draws from the upper left corner of a box of the given width, with a dark edge around the letters so
    /// that they are legible on any ground.
    void Draw(const Canvas& canvas, const std::string& utf8, double x, double y, double width, double size,
              Align align, const Ink& ink) const;

private:
    std::unique_ptr<TextEngine> m_Engine;
};
