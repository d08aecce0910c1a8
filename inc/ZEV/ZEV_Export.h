#pragma once

/// Marks what libzev exports; everything else in the library is hidden.
/// On Windows a program that links libzev as a static library defines ZEV_STATIC.
#if defined(_WIN32) && defined(ZEV_STATIC)
#define ZEV_API
#elif defined(_WIN32) && defined(ZEV_BUILDING_LIBRARY)
#define ZEV_API __declspec(dllexport)
#elif defined(_WIN32)
#define ZEV_API __declspec(dllimport)
#else
#define ZEV_API __attribute__((visibility("default")))
#endif
