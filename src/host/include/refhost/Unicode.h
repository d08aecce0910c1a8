#pragma once

#include <HOST_Export.h>

#include <cstddef>
#include <string>

/// Wide text and UTF-8, whatever the width of wchar_t and the locale.
namespace refhost {

/// A surrogate without its other half and a value beyond U+10FFFF become U+FFFD.
HOST_API std::string ToUtf8(const wchar_t* text, std::size_t length);
/// Null is empty.
HOST_API std::string ToUtf8(const wchar_t* text);

/// A byte that is no part of well-formed UTF-8 becomes U+FFFD.
HOST_API std::wstring FromUtf8(const char* text, std::size_t length);
HOST_API std::wstring FromUtf8(const std::string& text);

/// -1, 0 or 1 by UTF-16 code units, a shorter text before its continuation.
HOST_API int CompareUtf16(const wchar_t* a, std::size_t aLength, const wchar_t* b, std::size_t bLength);

}  // namespace refhost
