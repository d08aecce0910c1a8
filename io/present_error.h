#pragma once

#include <stdexcept>
#include <string>

#include "printable.h"

/// The image cannot be presented: exit status 1. The text is one line, "FILE: reason".
class PresentError : public std::runtime_error {
public:
    PresentError(const std::string& file, const std::string& reason)
        : std::runtime_error(Printable(file + ": " + reason)) {}
};

/// Wrong usage or a configuration that cannot be read: exit status 2. The text is one line.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& reason) : std::runtime_error(Printable(reason)) {}
};
