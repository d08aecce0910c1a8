#pragma once

#include <string>
#include <vector>

/// A file that was found, and what is said of it.
struct ListedImage {
    std::string path;
    std::string name;
    std::string study, series, instance;  ///< UIDs
    std::string studyText, seriesText;
    std::string modality;
    int frames = 1, rows = 0, columns = 0;
    /// Why it cannot be shown; empty where it can.
    std::string error;
    /// Where it lies in its series: along the normal of its plane, else by its instance number.
    double position = 0.0;
    /// False for a sound DICOM object without pixels.
    bool isImage = true;
    bool isState = false;  ///< a presentation state
};

/// Reads what is needed of one file, without its pixels. Errors are in the result.
ListedImage ReadListed(const std::string& path, const std::string& name);

/// The numbers of the images in the order in which they are shown: studies and series as they were found, in
/// a series by position.
std::vector<std::size_t> OrderOf(const std::vector<ListedImage>& images);
