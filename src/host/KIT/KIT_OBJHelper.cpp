#include <KIT/KIT_OBJHelper.h>
#include <OBJ/OBJ_Msg.h>

bool KIT_OBJHelper::IsBogus(OBJ_Msg* msg) {
    return msg == nullptr || msg->GetInt(Dicom_Tag(0x00280010), 0) == 0 ||
           msg->GetInt(Dicom_Tag(0x00280011), 0) == 0;
}
