#pragma once

#include <string>
#include <vector>

#include "placement.h"
#include "presentation.h"

/// What a presentation state says of itself.
struct StateTexts {
    std::string label;  ///< up to 16 capitals, digits, blanks and underscores
    std::string description;
    std::string creator;
};

/// The presentation of an image as a softcopy presentation state: Grayscale, with a colour map Pseudo-Color,
/// and Color for an image in colour. It shows what is shown now, the ends of the window where the table has
/// them:
///
/// - a window as LINEAR_EXACT where a reader that takes it for LINEAR is less than a level off, else as the
///   LINEAR one that is equal to it; a sigmoid and a VOI LUT as they are;
/// - inversion as the presentation LUT shape, gamma as a Presentation LUT; with colours both are in the
/// palette; - quarter turns, flips and the part of the image that is shown; a zoom as the magnification;
/// - shutters, overlays and annotations of the state that was applied, if one was; else the overlays of the
///   image.
///
/// It refers to the whole image, or where its frames have windows of their own to this one. Throws
/// PresentError, with `path` as the file that cannot be written, for an image without UIDs and for texts that
/// are too long.
std::string EncodePresentationState(OpenedImage& image, const ViewOptions& view, const StateTexts& texts,
                                    const std::string& path);

/// What such a state cannot hold of a presentation. Regions and automatic windowing are in a
/// display-parameter file.
struct LostInState {
    std::vector<std::string> keptInParameters;
    std::vector<std::string> lost;
};
LostInState FindLostInState(OpenedImage& image, const PresentationOptions& presentation,
                            const ViewOptions& view);
