#pragma once

#include <cstdarg>
#include <string>

namespace refhost {

/// printf's result in UTF-8, whatever the locale. Conversions: d i u x X o c s f F e E g G p and %%, with
/// flags, width and precision, and the lengths hh h l ll z j t; %ls and %lc take wide text. A null text reads
/// "(null)". From a conversion that is none of these on, the format stands as it is, since nobody knows its
/// argument.
std::string FormatText(const char* format, std::va_list arguments);

}  // namespace refhost
