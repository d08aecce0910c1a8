#pragma once

#include <string>
#include <vector>

#include "io/overlay_planes.h"
#include "layer.h"

/// One layer for each plane. Where several pixels of a plane share one of the picture, it is covered in
/// proportion to those that are set, at least by a quarter: thin lines stay visible.
Layers OverlayLayers(const std::vector<OverlayPlane>& planes, const Ink& ink);

/// "#RRGGBB" or the name of a simple colour. Throws UsageError, which names `option`.
Ink ParseInk(const std::string& text, const char* option);
