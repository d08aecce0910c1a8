#pragma once

#include <DICOM/Dicom_NumberType.h>

/// Signed short.
class HOST_API Dicom_SS : public Dicom_NumberType<short> {
public:
    Dicom_SS() : Dicom_NumberType("SS") {}
    Dicom_SS(short value) : Dicom_NumberType("SS", value) {}

    Dicom_Type* Clone() const override { return new Dicom_SS(*this); }

    /// The first single value; 0 if there is none.
    operator short() const { return value_at(0); }
    /// The single value at `index`; 0 beyond the ends.
    Dicom_SS operator[](int index) const { return Dicom_SS(value_at(index)); }
};
