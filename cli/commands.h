#pragma once

#include <CLI/App.hpp>
#include <functional>

/// Each adds one sub-command to the program. What the command does is run later, once the line has been read,
/// by `run`: it returns nothing, and throws PresentError or UsageError.
using Run = std::function<void()>;

void AddRenderCommand(CLI::App& app, Run& run);
void AddInfoCommand(CLI::App& app, Run& run);
void AddTableCommand(CLI::App& app, Run& run);
void AddAutoCommand(CLI::App& app, Run& run);
void AddPresetsCommand(CLI::App& app, Run& run);
void AddColorMapsCommand(CLI::App& app, Run& run);
void AddSaveCommand(CLI::App& app, Run& run);
void AddSampleCommand(CLI::App& app, Run& run);
void AddDemoCommand(CLI::App& app, Run& run);
