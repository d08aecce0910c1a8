#pragma once

#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_Text.h>

/// Code string.
class HOST_API Dicom_CS : public Dicom_Text {
public:
    Dicom_CS() : Dicom_Text("CS") {}
    /// Backslashes in `text` part single values. `*status` becomes 0; -1 for a null text, which leaves the
    /// value without content; -2 for a text that is kept although it is no code (more than 16 characters in a
    /// single value, or others than capitals, digits, blank and underscore). `status` may be null.
    Dicom_CS(const char* text, int* status);

    Dicom_Type* Clone() const override { return new Dicom_CS(*this); }
};
