#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "picture.h"

/// The picture as a PNG file, in the form that it has.
std::vector<std::uint8_t> EncodePng(const Picture& picture);

/// A picture without colour is written as grey. Throws PresentError when the file cannot be written; a file
/// that was there before is then unchanged.
void WritePng(const std::string& path, const Picture& picture);

/// Reads an 8-bit grey or RGB picture. Throws PresentError.
Picture ReadPng(const std::string& path);
