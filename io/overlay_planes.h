#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dicom_elements.h"
#include "stored_frame.h"

/// One overlay plane of one frame (PS3.3 C.9.2).
struct OverlayPlane {
    unsigned group = 0x6000;
    /// Of its first pixel, in image pixels from 0. The plane may reach beyond the image on every side.
    int left = 0;
    int top = 0;
    int rows = 0;
    int columns = 0;
    /// G for graphics, R for a region of interest.
    std::string type;
    std::string label;
    std::string description;
    /// It lies in unused bits of the pixel data.
    bool isEmbedded = false;
    /// 1 where it is set, row by row.
    std::vector<std::uint8_t> bits;

    bool IsSet(int row, int column) const {
        return bits[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                    static_cast<std::size_t>(column)] != 0;
    }
};

/// The groups of overlay planes that a data set has, 6000 to 601E.
std::vector<unsigned> OverlayGroups(const DicomDataSet& set);

/// The planes of a frame. `cells` has the frame as it is stored, for planes that lie in its unused bits; null
/// where these are lost. What is wrong with a plane is said in `problems`; of one that is cut short the rows
/// before the cut remain.
std::vector<OverlayPlane> ReadOverlayPlanes(const DicomDataSet& set, int frame, const StoredFrame* cells,
                                            std::vector<std::string>* problems);
