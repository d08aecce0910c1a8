#pragma once

#include "io/presentation_state.h"
#include "layer.h"

/// The display shutter of a presentation state (PS3.3 C.7.6.11), rectangular, circular, polygonal or a bitmap
/// (C.7.6.15), or several of them, over an image of a size. Image pixels that one of them covers are painted
/// with the Shutter Presentation Value. `pixelRatio` is the height of a pixel by its width: circles are
/// round. Empty without a shutter. Throws PresentError for one that is damaged.
Layers ShutterLayers(const PresentationState& state, int rows, int columns, double pixelRatio = 1.0);
