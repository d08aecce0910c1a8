#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "io/dicom_elements.h"

/// Words in the order of a file: an element of a VR of 16 bits.
void PutWords(DicomDataSet& set, std::uint32_t tag, const char* vr, const std::vector<std::uint16_t>& words);

/// A lookup table from 0 on as a sequence of one item. `entries` are at most 65,536, of 16 bits, which leaves
/// no doubt how they are packed.
DicomElement LevelTable(const std::vector<std::uint16_t>& entries, const std::string& explanation);
