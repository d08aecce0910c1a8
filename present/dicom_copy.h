#pragma once

#include <ZEV/ZEV_RGBParams.h>

#include <string>
#include <vector>

#include "presentation.h"

/// The bytes of a copy of the image's file with its present window, inversion, gamma and colour map in it (in
/// colour: brightness and contrast of `rgb`). The copy has a SOP Instance UID of its own and says that it was
/// derived; every attribute that the presentation does not touch stays byte for byte. `path` is the file that
/// errors name. Throws PresentError.
std::string EncodeCopy(OpenedImage& image, int frame, ZEV_RGBParams& rgb, const std::string& path);

/// The parts of the presentation that other viewers will not show when they open the copy, since they are
/// kept in private attributes: "the inversion", "the gamma", "the colour map".
std::vector<std::string> OnlyShownByZev(OpenedImage& image);
