#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "picture.h"

/// Pictures as files: "x.png" names the format, EncodePicture makes the bytes.
enum class PictureFormat { kPng, kJpeg, kTiff, kPgm, kPpm, kNpy };

/// The format that a file name, a suffix or a plain name ("x.PNG", ".png", "png") stands for; jpg and jpeg,
/// tif and tiff are the same. None for every other text.
std::optional<PictureFormat> PictureFormatOf(const std::string& nameOrSuffix);

/// The usual suffix, ".png".
const char* SuffixOf(PictureFormat format);

/// Whether a kGrey16 picture can be written.
bool TakesSixteenBits(PictureFormat format);

/// The bytes of the file. Those of a PNG may differ from one process to another, since the compressor's
/// choices depend on where its memory lies; its pixels do not. An RGB picture without colour is
/// written as 8-bit grey, except in PPM, which holds nothing but RGB. Throws std::runtime_error, whose text
/// says what the format cannot hold.
std::vector<std::uint8_t> EncodePicture(const Picture& picture, PictureFormat format);
