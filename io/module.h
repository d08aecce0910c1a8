#pragma once

#include <string>

/// A symbol of a module of this project, which is loaded on the first call for it and never freed. It is
/// looked for in the folder that ZEV_MODULES names, beside the program, in ../lib and in the installed folder
/// seen from there, beside every library that is loaded and in the folder zev beside it, then where the loader
/// looks: so a tree may be moved, and a program with a folder of its own finds the modules by libzev. Null
/// when it cannot be had, with the loader's first reason in `reason`.
void* ModuleSymbol(const char* fileName, const char* symbol, std::string* reason);
