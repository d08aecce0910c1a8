#pragma once

#include <CLI/App.hpp>

#include "present/brightness.h"
#include "present/presentation.h"
#include "present/region_view.h"

/// The options that several commands share, one function for each set.
void AddPresentationOptions(CLI::App& command, PresentationOptions& options);
void AddBrightnessOptions(CLI::App& command, BrightnessOptions& options);
void AddRegionOption(CLI::App& command, ViewOptions& options);
void AddViewOptions(CLI::App& command, ViewOptions& options);
