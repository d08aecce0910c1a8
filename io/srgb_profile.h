#pragma once

#include <string>

/// The bytes of an ICC profile (version 2.1, input device) for sRGB, IEC 61966-2-1, which objects in colour
/// have to contain.
std::string SrgbProfile();
