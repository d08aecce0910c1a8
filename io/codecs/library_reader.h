#pragma once

#include <string>

#include "io/dicom_library.h"

/// As DicomLibrary::ReadHead and ReadDataSet.
DicomHead ReadHeadByLibrary(const std::string& path, bool partial);
DicomDataSet ReadDataSetByLibrary(const std::string& path);
