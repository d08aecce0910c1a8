#pragma once

#include <string>

#include "dicom_elements.h"

/// The data set as a DICOM file of explicit little-endian transfer syntax. It must have a SOP class and a SOP
/// instance. Throws std::runtime_error when a value is too long.
std::string EncodeDicomFile(const DicomDataSet& dataSet);
