#pragma once

#include <CLI/App.hpp>
#include <functional>

/// Each adds one sub-command to the program and leaves its work in `run`, which is called once the whole line
/// has been read. The work throws PresentError or UsageError.
using Run = std::function<void()>;

/// Thrown by work that has said what went wrong.
struct ExitStatus {
    int status;
};

void AddRenderCommand(CLI::App& app, Run& run);
void AddInfoCommand(CLI::App& app, Run& run);
void AddExplainCommand(CLI::App& app, Run& run);
void AddTableCommand(CLI::App& app, Run& run);
void AddAutoCommand(CLI::App& app, Run& run);
void AddPresetsCommand(CLI::App& app, Run& run);
void AddColorMapsCommand(CLI::App& app, Run& run);
void AddSaveCommand(CLI::App& app, Run& run);
void AddSampleCommand(CLI::App& app, Run& run);
void AddDemoCommand(CLI::App& app, Run& run);
void AddViewCommand(CLI::App& app, Run& run);
