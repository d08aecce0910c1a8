#pragma once

#include <OBJ/OBJ_Msg.h>

#include <memory>
#include <string>
#include <vector>

class OpenedImage;

/// What a display-parameter file keeps of an image's window.
enum class SaveMode : long {
    kMeasured = 0,  ///< that it is to be measured
    kAsSaved = 1,   ///< what the display-parameter file said that was laid over the image
    kPresent = 2,
    kNoWindow = 4
};

/// The presentation of an image as a DICOM file of its own: Raw Data Storage with the attributes of the
/// display-parameter record, our private ones in our private block, and with the image's UIDs, by which it
/// finds its image again. The window is in the image's own modality units; no rescale goes along. Throws
/// PresentError, with `path` as the file that cannot be written, for an image that has no UID or is in
/// colour, and for a text that is too long. `regions` are texts as RegionSpec writes them; they go into a
/// private sequence.
std::string EncodeDisplayParameters(OpenedImage& image, SaveMode mode,
                                    const std::vector<std::string>& regions, const std::string& path);

/// A display-parameter file as it was read.
struct SavedPresentation {
    std::unique_ptr<OBJ_Msg> msg;
    /// As RegionSpec reads them.
    std::vector<std::string> regions;
};

/// Reads a display-parameter file for the image of a SOP Instance UID. Throws PresentError for a file of
/// another kind, and for one that belongs to another image unless `force` is set.
SavedPresentation ReadDisplayParameters(const std::string& path, const std::string& instance, bool force);
