#pragma once

#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_Text.h>

/// Decimal string. It is read and written without regard to the locale. What is no decimal number as a whole
/// ("abc", "1,5", "nan") counts as empty; a number beyond the range of double becomes its end.
class HOST_API Dicom_DS : public Dicom_Text {
public:
    Dicom_DS() : Dicom_Text("DS") {}
    /// Written with as many digits as 16 characters hold. NaN gives a value without content.
    Dicom_DS(double value);

    Dicom_Type* Clone() const override { return new Dicom_DS(*this); }

    /// The first single value; 0 if there is none.
    operator double() const;
    /// The single value at `index`; without content beyond the ends.
    Dicom_DS operator[](int index) const;
};
