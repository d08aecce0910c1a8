#pragma once

#include <string>

#include "io/stored_frame.h"

/// As DicomLibrary::Decode.
void DecodeStream(const std::string& stream, const std::string& transferSyntax,
                  const std::string& photometric, StoredFrame* frame);
