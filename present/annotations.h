#pragma once

#include <string>
#include <vector>

#include "io/dicom_file.h"
#include "io/presentation_state.h"
#include "layer.h"

/// A graphic layer of a presentation state (PS3.3 C.10.7).
struct GraphicLayer {
    std::string name;
    double order = 0.0;
    Ink ink;
};
/// In ascending order: the last one is on top.
std::vector<GraphicLayer> ReadGraphicLayers(const PresentationState& state);

/// The graphics and texts of a presentation state (PS3.3 C.10.5) for one frame of an image: a layer for each
/// graphic layer that has some, from the bottom. Lines are one and a half pixels of the picture wide,
/// whatever the zoom. What is damaged is left out, with a note.
Layers AnnotationLayers(const PresentationState& state, const std::string& instance, int frame,
                        std::vector<Note>* notes);
