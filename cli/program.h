#pragma once

/// The program `zev`: returns 0 when done, 1 when an image cannot be presented, 2 for wrong usage or
/// configuration. Whatever goes wrong is said in one line on standard error.
int RunProgram(int argc, const char* const* argv);
