#pragma once

#include <ZEV/ZEV_RGBParams.h>

#include <optional>

#include "presentation.h"

/// What the user asks of an image in colour, from -100 to 100, over what its file says.
struct BrightnessOptions {
    std::optional<int> brightness;
    std::optional<int> contrast;
};

/// Fills `params` from the image's file, then from the options. Options that have no effect (on a monochrome
/// image, or one number without the other) are told on standard error, in one line.
void ReadBrightness(OpenedImage& image, const BrightnessOptions& options, ZEV_RGBParams& params);

/// Applies brightness and contrast to the raster of an image in colour where they have an effect: v becomes
/// (v - 128) * (100 + contrast) / 100 + 128 + 255 * brightness / 200, worked out exactly, then truncated and
/// limited to 0 to 255.
void BurnBrightness(OpenedImage& image, ZEV_RGBParams& params);
