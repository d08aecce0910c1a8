#pragma once

#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_NumberType.h>

/// Single-precision float.
class HOST_API Dicom_FL : public Dicom_NumberType<float> {
public:
    Dicom_FL() : Dicom_NumberType("FL") {}
    Dicom_FL(float value) : Dicom_NumberType("FL", value) {}

    Dicom_Type* Clone() const override { return new Dicom_FL(*this); }

    /// The first single value; 0 if there is none.
    operator float() const { return value_at(0); }
    /// The single value at `index`; 0 beyond the ends.
    Dicom_FL operator[](int index) const { return Dicom_FL(value_at(index)); }
};
