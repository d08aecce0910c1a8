#pragma once

#include <HOST_Export.h>

class Dicom_CS;
class Dicom_DS;
class Dicom_FL;
class Dicom_LO;

/// Values without content, to compare with.
extern HOST_API const Dicom_CS& CS_NULL;
extern HOST_API const Dicom_DS& DS_NULL;
extern HOST_API const Dicom_FL& FL_NULL;
extern HOST_API const Dicom_LO& LO_NULL;

/// Makes the constants above on the first construction in the process; they are never destroyed. One object
/// per including file lets static initialisers use them in whatever order these run.
class HOST_API Dicom_NullStart {
public:
    Dicom_NullStart();
};

namespace {
const Dicom_NullStart dicomNullStart;
}
