#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Null.h>

#include "constant_slot.h"

namespace {
ConstantSlot<Dicom_CS> csNull;
ConstantSlot<Dicom_DS> dsNull;
ConstantSlot<Dicom_FL> flNull;
ConstantSlot<Dicom_LO> loNull;
}  // namespace

const Dicom_CS& CS_NULL = csNull.m_Object;
const Dicom_DS& DS_NULL = dsNull.m_Object;
const Dicom_FL& FL_NULL = flNull.m_Object;
const Dicom_LO& LO_NULL = loNull.m_Object;

Dicom_NullStart::Dicom_NullStart() {
    static const bool made = [] {
        csNull.Make();
        dsNull.Make();
        flNull.Make();
        loNull.Make();
        return true;
    }();
    static_cast<void>(made);
}
