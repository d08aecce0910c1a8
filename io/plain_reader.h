#pragma once

#include <optional>
#include <string>

#include "dicom_library.h"

/// Reads the header of a file that has nothing unusual: file meta information, a little-endian data set
/// without a flaw, tags in ascending order. Of any other file it returns nothing, and the DICOM library
/// decides: where both read a file they give the same. Reads no pixels. Every length is checked, so that it
/// may run anywhere.
std::optional<DicomHead> ReadPlainHead(const std::string& path);
/// The same for a file without pixel data.
std::optional<DicomDataSet> ReadPlainDataSet(const std::string& path);
