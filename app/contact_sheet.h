#pragma once

#include <string>
#include <vector>

#include "picture.h"

struct CaptionedPicture {
    std::string caption;
    Picture picture;
};

/// The pictures in a grid, each made to fit its cell, with its caption below. Captions show capitals, digits
/// and a few signs; other characters leave a gap.
Picture MakeContactSheet(const std::vector<CaptionedPicture>& pictures, int columns);
