#pragma once

#include <DICOM/Dicom_NumberType.h>

/// Unsigned short.
class HOST_API Dicom_US : public Dicom_NumberType<unsigned short> {
public:
    Dicom_US() : Dicom_NumberType("US") {}
    Dicom_US(unsigned short value) : Dicom_NumberType("US", value) {}

    Dicom_Type* Clone() const override { return new Dicom_US(*this); }

    /// The first single value; 0 if there is none.
    operator unsigned short() const { return value_at(0); }
    /// The single value at `index`; 0 beyond the ends.
    Dicom_US operator[](int index) const { return Dicom_US(value_at(index)); }
};

/// The single values of both, those of `left` first.
HOST_API Dicom_US operator|(const Dicom_US& left, const Dicom_US& right);
