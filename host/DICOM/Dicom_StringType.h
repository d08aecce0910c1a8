#pragma once

#include <DICOM/Dicom_Type.h>

/// A value that is a list of single values: everything but bytes and sequences.
class HOST_API Dicom_StringType : public Dicom_Type {
public:
    /// Takes over the single values of any other list, converted to this object's representation.
    Dicom_StringType& operator=(const Dicom_StringType& other) {
        Assign(other);
        return *this;
    }

protected:
    using Dicom_Type::Dicom_Type;
    Dicom_StringType(const Dicom_StringType&) = default;
};
