#pragma once

#include "io/dicom_elements.h"

/// A Grayscale Softcopy Presentation State for an image of 512 x 512 pixels of a chest: a lung window, a
/// quarter turn, a circular shutter and annotations in two layers. The same bytes every time.
DicomDataSet MakeSampleState(const DicomDataSet& image, const std::string& uid);
