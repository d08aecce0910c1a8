#pragma once

#include <stdexcept>
#include <string>

/// The image cannot be presented: exit status 1. The text is one line, "FILE: reason".
class PresentError : public std::runtime_error {
public:
    PresentError(const std::string& file, const std::string& reason)
        : std::runtime_error(in_one_line(file + ": " + reason)) {}

private:
    /// The reason may quote the file, which may hold anything.
    static std::string in_one_line(std::string text) {
        for (char& sign : text) {
            if (static_cast<unsigned char>(sign) < 0x20 || sign == 0x7F) sign = '?';
        }
        return text;
    }
};

/// Wrong usage or a configuration that does not read: exit status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
