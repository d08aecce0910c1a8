#pragma once

#include <cstdint>
#include <string>

/// The value representation of a public attribute by the DICOM library's dictionary. Where the image's pixel
/// representation decides between US and SS, by that.
std::string RepresentationOf(std::uint32_t tag, bool isSigned);
