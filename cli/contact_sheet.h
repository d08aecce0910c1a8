#pragma once

#include <string>
#include <vector>

#include "io/picture.h"

struct CaptionedPicture {
    std::string caption;
    Picture picture;
};

/// Size of a character with the gap to the next one, and height of a line of text, in pixels.
constexpr int kCharacterWidth = 12;
constexpr int kTextHeight = 14;

/// Draws a line of text in capitals with its upper left corner at (x, y); what does not fit is left out.
/// Letters, digits and a few signs show; other characters leave a gap.
void DrawText(Picture& picture, int x, int y, const std::string& text);

/// The pictures in a grid, each made to fit its cell, with its caption below; under them lines of text.
Picture MakeContactSheet(const std::vector<CaptionedPicture>& pictures, int columns,
                         const std::vector<std::string>& lines = {});
