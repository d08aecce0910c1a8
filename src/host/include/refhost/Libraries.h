#pragma once

#include <HOST_Export.h>

#include <string>

namespace refhost {

/// LoadLibraryW looks for plain file names in this directory before it asks the loader; empty, as at the
/// start, asks the loader alone. Any thread.
HOST_API void SetLibraryDirectory(const std::string& directory);

}  // namespace refhost
