#pragma once

#include <string>
#include <vector>

/// Writes the built-in sample images, synthetic phantoms as real DICOM files, and returns their paths. The
/// same bytes every time. The directory is made if need be. Throws PresentError.
std::vector<std::string> WriteSamples(const std::string& directory);
