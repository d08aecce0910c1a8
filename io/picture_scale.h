#pragma once

#include "picture.h"

/// The picture, made larger or smaller so that it just fits into width x height pixels, its aspect kept;
/// each side has at least one pixel. Where it shrinks, a pixel is the mean of the area that it covers, and
/// where it grows, it lies linearly between its neighbours. Values are rounded to the nearest. A width or
/// height below 1 counts as 1, one above 65535 as 65535. Throws std::length_error for a picture without
/// pixels or with longer sides.
Picture Fit(const Picture& picture, int width, int height);
