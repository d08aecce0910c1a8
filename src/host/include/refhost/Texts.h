#pragma once

#include <HOST_Export.h>

/// What the host says: the texts of WTxtLoadString and the vendor name. Any thread.
namespace refhost {

/// Replaces the text with that identifier; null goes back to the built-in one.
HOST_API void SetText(unsigned int id, const wchar_t* text);

/// The answer of TxtGetVendorName: empty at the start; null gives a null string.
HOST_API void SetVendorName(const wchar_t* name);

}  // namespace refhost
