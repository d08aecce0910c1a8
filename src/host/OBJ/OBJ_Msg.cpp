#include <DICOM/Dicom_Dictionary.h>
#include <OBJ/OBJ_Msg.h>

namespace {

Dicom_CS GetCode(const Dicom_Msg& msg, unsigned int tag) {
    Dicom_CS code;
    const Dicom_Type* const value = msg.Get(Dicom_Tag(tag));
    if (value != nullptr) code.Assign(*value);
    return code;
}

}  // namespace

Dicom_CS OBJ_Msg::GetImageType() const { return GetCode(*this, 0x00080008); }
Dicom_CS OBJ_Msg::GetPhotometricInterpretation() const { return GetCode(*this, 0x00280004); }

int OBJ_Msg::SetWindowCenter(const Dicom_DS& value) { return Put(Dicom_Tag(0x00281050), value); }
int OBJ_Msg::SetWindowWidth(const Dicom_DS& value) { return Put(Dicom_Tag(0x00281051), value); }
int OBJ_Msg::SetRescaleIntercept(const Dicom_DS& value) { return Put(Dicom_Tag(0x00281052), value); }
int OBJ_Msg::SetRescaleSlope(const Dicom_DS& value) { return Put(Dicom_Tag(0x00281053), value); }
int OBJ_Msg::SetInverseWindow(const Dicom_CS& value) {
    return Put(Dicom_Dictionary::ORNEL1_INVERSE_WINDOW, value);
}
