#pragma once

#include <CLI/App.hpp>
#include <string>

/// What the program's own list of commands and options becomes elsewhere: `zev help --man COMMAND` and
/// `zev help --completion SHELL`, which the build calls.

/// A manual page in roff of a command, zev-render(1) for example.
std::string ManualPage(const CLI::App& command, const std::string& version);

/// The completion for bash, zsh or fish.
std::string Completion(const CLI::App& app, const std::string& shell);
