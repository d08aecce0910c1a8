#pragma once

#include "layer.h"

/// A colour of three 16-bit CIELab values as DICOM codes them (PS3.3 C.10.7.1.1): L 0 to 100, a and b -128 to
/// 127, white point D50. Converted to sRGB by Bradford adaptation, IEC 61966-2-1.
Ink InkOfCieLab(double l, double a, double b);
