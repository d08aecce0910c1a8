#pragma once

#include <string>

/// A symbol of a module of this project, which is loaded on the first call for it and never freed. It is
/// looked for beside the program, beside the library that contains this function, in ../lib of either, then
/// where the loader looks. Null when it cannot be had, with the loader's first reason in `reason`.
void* ModuleSymbol(const char* fileName, const char* symbol, std::string* reason);
