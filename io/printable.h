#pragma once

#include <string>

/// Text from a file or from the command line as it may go to a terminal: control characters (C0, C1, DEL),
/// line and paragraph separators and the marks that change the direction of text become '?', and so do bytes
/// that are not UTF-8. Everything else stays.
std::string Printable(const std::string& text);
