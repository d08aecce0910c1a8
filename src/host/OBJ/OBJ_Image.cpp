#include "DICOM/constant_slot.h"

#include <OBJ/OBJ_Image.h>

namespace {
ConstantSlot<Dicom_CS> ct;
ConstantSlot<Dicom_CS> localizer;
ConstantSlot<Dicom_CS> monochrome1;
ConstantSlot<Dicom_CS> monochrome2;
ConstantSlot<Dicom_CS> paletteColor;
}  // namespace

const Dicom_CS& OBJ_Image::CT = ct.m_Object;
const Dicom_CS& OBJ_Image::LOCALIZER = localizer.m_Object;
const Dicom_CS& OBJ_Image::MONOCHROME1 = monochrome1.m_Object;
const Dicom_CS& OBJ_Image::MONOCHROME2 = monochrome2.m_Object;
const Dicom_CS& OBJ_Image::PALETTE_COLOR = paletteColor.m_Object;

OBJ_ImageStart::OBJ_ImageStart() {
    static const bool made = [] {
        ct.Make("CT", nullptr);
        localizer.Make("LOCALIZER", nullptr);
        monochrome1.Make("MONOCHROME1", nullptr);
        monochrome2.Make("MONOCHROME2", nullptr);
        paletteColor.Make("PALETTE COLOR", nullptr);
        return true;
    }();
    static_cast<void>(made);
}
