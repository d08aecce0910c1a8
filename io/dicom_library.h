#pragma once

#include <string>

#include "dicom_elements.h"
#include "pixel_source.h"
#include "stored_frame.h"

/// A DICOM file that holds an image, before any pixel is decoded.
struct DicomHead {
    /// Every element but those of the pixel data's group.
    DicomDataSet dataSet;
    std::string transferSyntax;
    PixelSource pixels;
};

/// The part of reading that needs the DICOM library (GDCM): unusual files and compressed pixels. It lies in
/// a module that is loaded when first needed, because loading the library takes longer than drawing a small
/// image. Operations throw Refusal. They may also abort or run for long: call them where that does no harm.
class DicomLibrary {
public:
    virtual ~DicomLibrary() = default;

    /// Without `partial`, pixel data that are cut short are refused.
    virtual DicomHead ReadHead(const std::string& path, bool partial) const = 0;
    /// Of a file that need not hold an image.
    virtual DicomDataSet ReadDataSet(const std::string& path) const = 0;
    /// Decodes one frame's stream and replaces the frame's depths by those that the decoder gives. The
    /// stream's own header has been compared with the frame.
    virtual void Decode(const std::string& stream, const std::string& transferSyntax,
                        const std::string& photometric, StoredFrame* frame) const = 0;
};

/// Loads the module on the first call. Throws Refusal.
const DicomLibrary& LoadDicomLibrary();

/// The one symbol of the module: `const DicomLibrary*`().
constexpr const char* kDicomLibrarySymbol = "zev_dicom_library";
