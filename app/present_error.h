#pragma once

#include <stdexcept>
#include <string>

/// The image cannot be presented: exit status 1. The text is one line, "FILE: reason".
class PresentError : public std::runtime_error {
public:
    PresentError(const std::string& file, const std::string& reason)
        : std::runtime_error(file + ": " + reason) {}
};

/// Wrong usage or a configuration that does not read: exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
