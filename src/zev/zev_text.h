#pragma once

#include <MAPPER/Mapper_WindowingEntry.h>

#include <string>

/// Texts that are written by our own functions, since the C library's differ by platform and locale.
namespace zev {

/// Function name, one blank, explanation: what the saved presentation calls a windowing entry. "Linear" for
/// 6, "Sigmoid" for 4, "Table" for any other code.
std::wstring WindowingEntryText(const Mapper_WindowingEntry& entry);

/// As printf's "%f" in the C locale: six decimals.
std::wstring FixedText(double value);

}  // namespace zev
