#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <OBJ/OBJ_Msg.h>
#include <ZEV/ZEV_RGBParams.h>

#include <algorithm>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"

namespace {

constexpr int kLimit = 100;

int changed_by(int value, int difference) { return std::clamp(zev::Add(value, difference), -kLimit, kLimit); }

}  // namespace

ZEV_RGBParams::ZEV_RGBParams() {
    Reset();
    SetName("ZEV_RGBParams");
}

ZEV_RGBParams::ZEV_RGBParams(const ZEV_RGBParams& other) : KIT_BaseParams(other) { copy_data(other); }
ZEV_RGBParams::~ZEV_RGBParams() = default;

void ZEV_RGBParams::copy_data(const ZEV_RGBParams& other) {
    m_Brightness = other.m_Brightness;
    m_Contrast = other.m_Contrast;
}

KIT_BaseParams& ZEV_RGBParams::operator=(const KIT_BaseParams& other) {
    copy_data(static_cast<const ZEV_RGBParams&>(other));
    KIT_BaseParams::operator=(other);
    return *this;
}

ZEV_RGBParams& ZEV_RGBParams::operator=(const ZEV_RGBParams& other) {
    *this = static_cast<const KIT_BaseParams&>(other);
    return *this;
}

void ZEV_RGBParams::SetData(const ZEV_RGBParams& other) {
    copy_data(other);
    MarkChange();
}

KIT_BaseParams* ZEV_RGBParams::Clone() { return new ZEV_RGBParams; }

void ZEV_RGBParams::Freeze() {
    if (m_pLiveParams == nullptr) return;
    const ZEV_RGBParams& live = *static_cast<const ZEV_RGBParams*>(m_pLiveParams);
    copy_data(live);
    m_Count = live.m_Count;
}

void ZEV_RGBParams::Reset() {
    m_Brightness = 0;
    m_Contrast = 0;
    MarkChange();
}

int ZEV_RGBParams::GetBrightness() { return m_Brightness; }
int ZEV_RGBParams::GetContrast() { return m_Contrast; }

void ZEV_RGBParams::SetBrightness(int brightness) {
    if (brightness == m_Brightness) return;
    m_Brightness = brightness;
    MarkChange();
}

void ZEV_RGBParams::SetContrast(int contrast) {
    if (contrast == m_Contrast) return;
    m_Contrast = contrast;
    MarkChange();
}

void ZEV_RGBParams::UpdateBrightness(int difference) {
    m_Brightness = changed_by(m_Brightness, difference);
    MarkChange();
}

void ZEV_RGBParams::UpdateContrast(int difference) {
    m_Contrast = changed_by(m_Contrast, difference);
    MarkChange();
}

bool ZEV_RGBParams::IsBurnToRasterNeeded() { return m_Brightness != 0 && m_Contrast != 0; }

void ZEV_RGBParams::Update(KIT_BaseParams* other) {
    // A new object's count is 1.
    if (other != nullptr && other->GetCount() > 1) *static_cast<KIT_BaseParams*>(this) = *other;
}

int ZEV_RGBParams::UpdateFromDicom(OBJ_Msg* msg) {
    if (msg == nullptr) return 0;
    const auto* const brightness = zev::Find<Dicom_FL>(*msg, Dicom_Dictionary::MIREL_BRIGHTNESS);
    const auto* const contrast = zev::Find<Dicom_FL>(*msg, Dicom_Dictionary::MIREL_CONTRAST);
    if (brightness != nullptr) SetBrightness(zev::TruncToInt(static_cast<float>(*brightness)));
    if (contrast != nullptr) SetContrast(zev::TruncToInt(static_cast<float>(*contrast)));
    if (brightness != nullptr || contrast != nullptr) MarkChange();
    return 0;
}

int ZEV_RGBParams::UpdateTheDicom(OBJ_Msg* msg) {
    if (msg == nullptr) {
        ZEV_LOG("ZEV_RGBParams::UpdateTheDicom", zev::kLogError, "UpdateTheDicom: The msg is NULL \n");
        return -1;
    }
    const int first =
        msg->Put(Dicom_Dictionary::MIREL_BRIGHTNESS, Dicom_FL(static_cast<float>(GetBrightness())));
    const int second =
        msg->Put(Dicom_Dictionary::MIREL_CONTRAST, Dicom_FL(static_cast<float>(GetContrast())));
    return first != 0 && second != 0 ? 1 : 0;
}
