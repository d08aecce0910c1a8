#pragma once

#include <HOST_Export.h>

/// Libraries that are loaded while the process runs.

#if defined(_WIN32)
#include <windows.h>
#else
typedef struct HMODULE__* HMODULE;
/// To be cast to the real type of the function.
typedef void (*FARPROC)();

/// Loads a library by the loader's rules for its file name; null when it cannot be loaded or `fileName` is
/// null. A library stays loaded until the process ends.
HOST_API HMODULE LoadLibraryW(const wchar_t* fileName);

/// The function of that name; null when the library lacks it or an argument is
/// null.
HOST_API FARPROC GetProcAddress(HMODULE library, const char* name);
#endif
