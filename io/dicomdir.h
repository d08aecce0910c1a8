#pragma once

#include <string>
#include <vector>

/// Whether a file is the directory of a DICOM medium (PS3.10 8.6). False for one that cannot be read.
bool IsDicomDir(const std::string& path);

/// The paths of the images that a DICOMDIR names, in its order. Names are resolved in its folder: where the
/// exact one does not exist, without regard to case, a dot at the end or ".dcm". A name that cannot be found
/// is returned as it is; one that could lead out of the folder is left out. Throws PresentError.
std::vector<std::string> ReadDicomDir(const std::string& path);
