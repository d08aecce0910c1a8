#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "present/drawing.h"

/// The options that several commands share, one function for each set.
/// `frames` takes the frames of a command that draws several, as they are written; else there is one frame.
void AddPresentationOptions(CLI::App& command, PresentationOptions& options, std::string* frames = nullptr);
void AddBrightnessOptions(CLI::App& command, BrightnessOptions& options);
void AddRegionOption(CLI::App& command, ViewOptions& options);
void AddViewOptions(CLI::App& command, ViewOptions& options);
void AddOverlayOptions(CLI::App& command, DrawingOptions& options);
/// What the commands that show no picture need of the presentation options.
void AddFrameOption(CLI::App& command, PresentationOptions& options);
void AddConfigOption(CLI::App& command, std::string& config);

/// The files that a command reads: the image, display parameters, the configuration, mask pictures of
/// regions.
std::vector<std::string> InputsOf(const std::string& image, const PresentationOptions& options,
                                  const ViewOptions* view = nullptr);

/// Checks that a value is a number, or a whole number, within limits, and says so in a sentence if not.
CLI::Validator NumberFrom(double low, double high);
CLI::Validator WholeNumberFrom(int low, int high);
/// Checks that a value is one of a few words.
CLI::Validator OneOf(std::vector<std::string> words);
/// The words of an option with that check; empty for any other.
std::vector<std::string> WordsOf(const CLI::Option& option);
