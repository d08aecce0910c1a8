#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "batch_inputs.h"
#include "io/picture_file.h"
#include "present/brightness.h"
#include "present/presentation.h"
#include "present/region_view.h"

/// What a picture is drawn with, whatever the image.
struct DrawingOptions {
    PresentationOptions presentation;
    BrightnessOptions brightness;
    ViewOptions view;
    int bits = 8;
    std::string fit;  ///< WxH, or empty
};

/// What is known of a picture that was drawn.
struct DrawnPicture {
    Picture picture;
    std::optional<int> center, width;
    std::string windowSource;
    std::vector<Note> notes;
};

/// Draws a frame. `warn` is given what a user must know besides. Throws as opening an image does.
DrawnPicture DrawFrame(const std::string& path, const DrawingOptions& options, int frame);

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

/// Two numbers from 1 on, "800x600".
std::optional<std::pair<int, int>> ParseSize(const std::string& text);
