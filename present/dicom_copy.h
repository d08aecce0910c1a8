#pragma once

#include <ZEV/ZEV_RGBParams.h>

#include <string>

#include "presentation.h"

/// The bytes of a copy of the image's file with its present window, inversion, gamma and colour map in it (in
/// colour: brightness and contrast of `rgb`). The copy has a SOP Instance UID of its own and says that it was
/// derived; every attribute that the presentation does not touch stays byte for byte. `path` is the file that
/// errors name. Throws PresentError.
std::string EncodeCopy(OpenedImage& image, int frame, ZEV_RGBParams& rgb, const std::string& path);
