#pragma once

/// Marks what libzev exports; everything else in the library is hidden.
#if defined(_WIN32)
#if defined(ZEV_BUILDING_LIBRARY)
#define ZEV_API __declspec(dllexport)
#else
#define ZEV_API __declspec(dllimport)
#endif
#else
#define ZEV_API __attribute__((visibility("default")))
#endif
