#include <KIT/KIT_BaseParams.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_ParamsChangeListener.h>

#include <algorithm>
#include <cstring>
#include <new>

KIT_ParamsChangeListener::~KIT_ParamsChangeListener() = default;

KIT_BaseParams::KIT_BaseParams() : KIT_ChangeCounter(0) {}
KIT_BaseParams::KIT_BaseParams(const KIT_BaseParams& other) : KIT_ChangeCounter(other) {
    take_base_values(other);
}
KIT_BaseParams::~KIT_BaseParams() = default;

void* KIT_BaseParams::operator new(std::size_t size) { return ::operator new(size); }
void KIT_BaseParams::operator delete(void* object) { ::operator delete(object); }
void KIT_BaseParams::operator delete[](void* object) { ::operator delete[](object); }

void KIT_BaseParams::SetName(const char* name) { m_Name = name == nullptr ? "" : name; }
const char* KIT_BaseParams::GetName() const { return m_Name.c_str(); }

void KIT_BaseParams::SetLiveParams(KIT_BaseParams* live) { m_pLiveParams = live == this ? nullptr : live; }
KIT_BaseParams* KIT_BaseParams::GetLiveParams() const { return m_pLiveParams; }

void KIT_BaseParams::MarkChange() {
    KIT_ChangeCounter::MarkChange();
    fire_params_change();
}

void KIT_BaseParams::AddRef() { ++m_References; }

void KIT_BaseParams::Release() {
    if (m_References > 0 && --m_References == 0) delete this;
}

KIT_BaseParams& KIT_BaseParams::operator=(const KIT_BaseParams& other) {
    if (this != &other) {
        m_Count = other.m_Count;
        take_base_values(other);
    }
    return *this;
}

void KIT_BaseParams::SetData(const KIT_BaseParams&) {}
void KIT_BaseParams::Freeze() {}
KIT_BaseParams* KIT_BaseParams::Clone() { return nullptr; }
void KIT_BaseParams::Defrost() {}
bool KIT_BaseParams::IsBurnToRasterNeeded() { return false; }
void KIT_BaseParams::ResetParamData() {}
void KIT_BaseParams::Update(KIT_BaseParams*) {}
bool KIT_BaseParams::Interpolate(KIT_BaseParams**, int, KIT_BaseParamsVec*) { return false; }
bool KIT_BaseParams::IsChanged(KIT_BaseParams*) { return false; }
int KIT_BaseParams::GetNumberOfFramesForInterpolation() { return 0; }
KIT_BaseParams* KIT_BaseParams::Copy() { return nullptr; }
void KIT_BaseParams::Paste(KIT_BaseParams*, KIT_BaseParamsVec*, KIT_BaseParamsVec*) {}
bool KIT_BaseParams::UpdateSR(SR_Template&, SR_Iterator&) { return false; }
void KIT_BaseParams::RecordDDPInfo(DDPInfoVector&, long) {}
void KIT_BaseParams::SaveWindowingParamsToDP(bool) {}
void KIT_BaseParams::SaveZoomParamsToDP(bool) {}
void KIT_BaseParams::SavePanParamsToDP(bool) {}
bool KIT_BaseParams::AffectedByPresentation() { return false; }
void KIT_BaseParams::OperateOnAllDataSets(wchar_t*, RWTValOrderedVector<KIT_BaseParamsVec*>*) {}
bool KIT_BaseParams::UpdateFromDDP(OBJ_Msg*, OBJ_Msg*, KIT_Raster*, KIT_BaseParamsVec*) { return false; }
bool KIT_BaseParams::IsUpdatedFromDDP() const { return m_bUpdatedFromDDP; }
void KIT_BaseParams::SetUpdatedFromDDP(bool updated) { m_bUpdatedFromDDP = updated; }
bool KIT_BaseParams::IsUpdatedFromPresentation() const { return false; }
void KIT_BaseParams::PrepareForPresentation(bool&) {}
bool KIT_BaseParams::IsPreparedForPresentation() const { return m_bPreparedForPresentation; }
void KIT_BaseParams::SetPreparedForPresentation(bool prepared) { m_bPreparedForPresentation = prepared; }
bool KIT_BaseParams::GetOriginal() { return m_bOriginal; }
void KIT_BaseParams::SetOriginal(bool original) { m_bOriginal = original; }
int KIT_BaseParams::IsUpdatedToFitGroup() { return m_bUpdatedToFitGroup ? 1 : 0; }
void KIT_BaseParams::SetUpdatedToFitGroup(bool updated) { m_bUpdatedToFitGroup = updated; }
const Dicom_LO* KIT_BaseParams::GetTagFromMsg(OBJ_Msg*, const char*) { return nullptr; }

void KIT_BaseParams::RegisterParamsChangeListener(KIT_ParamsChangeListener* listener) {
    if (listener == nullptr) return;
    if (std::find(m_Listeners.begin(), m_Listeners.end(), listener) == m_Listeners.end()) {
        m_Listeners.push_back(listener);
    }
}

void KIT_BaseParams::UnregisterParamsChangeListener(KIT_ParamsChangeListener* listener) {
    m_Listeners.erase(std::remove(m_Listeners.begin(), m_Listeners.end(), listener), m_Listeners.end());
}

bool KIT_BaseParams::GetFloatValue(wchar_t*, float&) { return false; }
void KIT_BaseParams::FixTissuesWithWrongList(KIT_BaseParamsVec*) {}

void KIT_BaseParams::fire_params_change() {
    if (m_Listeners.empty()) return;
    // A listener may take itself out while it is being told.
    const std::vector<KIT_ParamsChangeListener*> listeners = m_Listeners;
    for (KIT_ParamsChangeListener* listener : listeners) {
        if (std::find(m_Listeners.begin(), m_Listeners.end(), listener) != m_Listeners.end()) {
            listener->ParamsChanged(this);
        }
    }
}

void KIT_BaseParams::take_base_values(const KIT_BaseParams& other) {
    m_Name = other.m_Name;
    m_bOriginal = other.m_bOriginal;
    m_bUpdatedFromDDP = other.m_bUpdatedFromDDP;
    m_bPreparedForPresentation = other.m_bPreparedForPresentation;
    m_bUpdatedToFitGroup = other.m_bUpdatedToFitGroup;
}

KIT_BaseParamsVec::KIT_BaseParamsVec(const wchar_t* name) : m_Name(name == nullptr ? L"" : name) {}

KIT_BaseParams* KIT_BaseParamsVec::GetParams(const char* name, bool) const {
    if (name == nullptr) return nullptr;
    for (KIT_BaseParams* params : m_Params) {
        if (std::strcmp(params->GetName(), name) == 0) return params;
    }
    return nullptr;
}

const wchar_t* KIT_BaseParamsVec::GetName() const { return m_Name.c_str(); }

void KIT_BaseParamsVec::Append(KIT_BaseParams* params) {
    if (params != nullptr) m_Params.push_back(params);
}

void KIT_BaseParamsVec::Remove(KIT_BaseParams* params) {
    m_Params.erase(std::remove(m_Params.begin(), m_Params.end(), params), m_Params.end());
}
