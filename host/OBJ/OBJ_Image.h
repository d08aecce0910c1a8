#pragma once

#include <DICOM/Dicom_CS.h>

/// Defined terms of image attributes.
class HOST_API OBJ_Image {
public:
    static const Dicom_CS& CT;
    static const Dicom_CS& LOCALIZER;
    static const Dicom_CS& MONOCHROME1;
    static const Dicom_CS& MONOCHROME2;
    static const Dicom_CS& PALETTE_COLOR;
};

/// Makes the terms above on the first construction in the process, as Dicom_NullStart does for the null
/// values.
class HOST_API OBJ_ImageStart {
public:
    OBJ_ImageStart();
};

namespace {
const OBJ_ImageStart objImageStart;
}
