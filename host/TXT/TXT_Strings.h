#pragma once

#include <COM/bstr.h>

/// The localised text with that identifier, cut to `size` wide characters with its terminator; empty for an
/// unknown identifier. The text stays valid until the thread's next call: copy it at once, never free it.
HOST_API wchar_t* WTxtLoadString(unsigned int id, int size);

/// Vendor name of the installation; may be null.
HOST_API _bstr_t TxtGetVendorName();

/// The number in decimal digits, with a minus sign when it is negative.
HOST_API _bstr_t CreateString(int number);
