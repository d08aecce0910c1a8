#pragma once

#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_Text.h>

/// Long string.
class HOST_API Dicom_LO : public Dicom_Text {
public:
    Dicom_LO() : Dicom_Text("LO") {}
    /// Backslashes in `text` part single values. `*status` becomes 0; -1 for a null text, which leaves the
    /// value without content; -2 for a text that is kept although it is too long (more than 64 characters in
    /// a single value) or holds control characters. `status` may be null.
    Dicom_LO(const wchar_t* text, int* status);

    Dicom_Type* Clone() const override { return new Dicom_LO(*this); }
};
