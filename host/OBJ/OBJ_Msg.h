#pragma once

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Msg.h>

/// A message with typed access to some of its attributes. Setters return 1 like Put.
class HOST_API OBJ_Msg : public Dicom_Msg {
public:
    /// The attribute by value; without content when it is absent.
    Dicom_CS GetImageType() const;
    Dicom_CS GetPhotometricInterpretation() const;

    int SetWindowCenter(const Dicom_DS& value);
    int SetWindowWidth(const Dicom_DS& value);
    int SetRescaleIntercept(const Dicom_DS& value);
    int SetRescaleSlope(const Dicom_DS& value);
    /// Stored under Dicom_Dictionary::ORNEL1_INVERSE_WINDOW.
    int SetInverseWindow(const Dicom_CS& value);
};
