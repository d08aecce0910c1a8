#pragma once

/// Marks a class or function that crosses the border between two of the host's libraries.
/// On Windows the host's import headers define it; elsewhere it is default visibility, so that virtual
/// tables, type information and exceptions are one and the same in every library.
#if !defined(HOST_API)
#if defined(_WIN32)
#define HOST_API
#else
#define HOST_API __attribute__((visibility("default")))
#endif
#endif
