#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

/// Why a file cannot be presented. What catches it puts the file's name before it.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How the refusal of a DICOM object without pixels begins.
constexpr const char* kNoImage = "holds no image";

/// "1 row", "2 rows".
inline std::string CountOf(std::uint64_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}
