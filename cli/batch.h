#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "batch_inputs.h"
#include "io/picture_file.h"
#include "present/drawing.h"

/// Many pictures.
struct BatchOptions {
    DrawingOptions drawing;
    std::string output;  ///< folder
    PictureFormat format = PictureFormat::kPng;
    FrameRange frames;
    int jobs = 1;
    bool resume = false;
    bool quiet = false;
    std::string report;                    ///< file, or empty
    std::vector<std::string> otherInputs;  ///< what is read besides, and is not to be written over either
};

/// Draws the frames of all inputs into a folder, in processes of their own. A failure costs its own line on
/// standard error and in the report. Returns the exit status: 0, 1 when anything failed, 128 + N after signal
/// N.
int DrawMany(const BatchInputs& inputs, const BatchOptions& options);
