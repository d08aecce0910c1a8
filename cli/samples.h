#pragma once

#include <string>
#include <vector>

/// Writes the built-in sample images, synthetic phantoms as real DICOM files, and returns their paths. The
/// same bytes every time. The directory is made if need be. Throws PresentError.
std::vector<std::string> WriteSamples(const std::string& directory);

/// Writes a presentation state for the sample "ct" in the same way, and returns its path.
std::string WriteSampleState(const std::string& directory);
