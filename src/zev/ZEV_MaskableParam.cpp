#include <ZEV/ZEV_MaskableParam.h>
#include <ZEV/ZEV_ParamValue.h>

template class ZEV_ParamValue<int>;
template class ZEV_ParamValue<float>;
template class ZEV_ParamValue<bool>;

ZEV_MaskableParam::ZEV_MaskableParam() = default;

ZEV_MaskableParam::ZEV_MaskableParam(const ZEV_MaskableParam& other) : KIT_BaseParams(other) {
    ZEV_MaskableParam::copy_data(other);
}

ZEV_MaskableParam::~ZEV_MaskableParam() = default;

ZEV_MaskableParam& ZEV_MaskableParam::operator=(const ZEV_MaskableParam& other) {
    KIT_BaseParams::operator=(other);
    m_bActive = other.m_bActive;
    m_TableCC = other.m_TableCC;
    m_MaskCC = other.m_MaskCC;
    m_bNegate = other.m_bNegate;
    return *this;
}

bool ZEV_MaskableParam::GetActive() const { return m_bActive; }

void ZEV_MaskableParam::SetActive(bool active) {
    if (m_bActive == active) return;
    m_bActive = active;
    MarkMaskChange();
}

bool ZEV_MaskableParam::GetNegate() const { return m_bNegate; }
void ZEV_MaskableParam::SetNegate(bool negate) { m_bNegate = negate; }

int ZEV_MaskableParam::GetMaskCC() const { return m_MaskCC.GetCount(); }
int ZEV_MaskableParam::GetTableCC() const { return m_TableCC.GetCount(); }
void ZEV_MaskableParam::SetTableCC(int count) { m_TableCC = count; }

void ZEV_MaskableParam::MarkTableChange() {
    m_TableCC.MarkChange();
    MarkChange();
}

void ZEV_MaskableParam::MarkMaskChange() {
    m_MaskCC.MarkChange();
    MarkChange();
}

void ZEV_MaskableParam::Finalize(ZEV_TableParams) {}

void ZEV_MaskableParam::copy_data(const ZEV_MaskableParam& other) {
    m_bActive = other.m_bActive;
    m_bNegate = other.m_bNegate;
    m_TableCC = other.m_TableCC;
    m_MaskCC = other.m_MaskCC;
}
