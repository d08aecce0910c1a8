#pragma once

// The platform's headers, which some of the host's include, leave std::min and std::max alone.
#if defined(_WIN32) && !defined(NOMINMAX)
#define NOMINMAX
#endif

/// Marks a class or function that crosses the border between two of the host's libraries. On Windows a host's
/// library is built with HOST_BUILDING_LIBRARY, and a program that links it as a static one with HOST_STATIC.
/// Elsewhere it is default visibility, so that virtual tables, type information and exceptions are one and
/// the same in every library.
#if !defined(HOST_API)
#if defined(_WIN32) && defined(HOST_STATIC)
#define HOST_API
#elif defined(_WIN32) && defined(HOST_BUILDING_LIBRARY)
#define HOST_API __declspec(dllexport)
#elif defined(_WIN32)
#define HOST_API __declspec(dllimport)
#else
#define HOST_API __attribute__((visibility("default")))
#endif
#endif

/// The same for a class template that every library instantiates for itself.
#if defined(_WIN32)
#define HOST_TEMPLATE_API
#else
#define HOST_TEMPLATE_API HOST_API
#endif
