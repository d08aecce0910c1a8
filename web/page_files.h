#pragma once

#include <map>
#include <string>
#include <string_view>

/// The files of the page by their names, "index.html".
const std::map<std::string, std::string_view>& PageFiles();
