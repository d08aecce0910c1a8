#pragma once

#include "io/dicom_elements.h"

/// Patient and study of an image, for an object of the same study. What such an object must have is there
/// empty where the image lacks it.
DicomDataSet IdentificationOf(const DicomDataSet& image);

/// Today's date and the time.
void PutNow(DicomDataSet& set, std::uint32_t dateTag, std::uint32_t timeTag);
