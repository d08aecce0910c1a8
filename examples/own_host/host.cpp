// What ZEV calls of its host when a window is dragged and drawn: parameter objects, the view's list,
// counters, strings, locks, memory, and a configuration without entries. A viewer has all of this already.

#include <COM/bstr.h>
#include <COM/com_create.h>
#include <COM/com_error.h>
#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <GFX/GFX_GraphicContext.h>
#include <KIT/KIT_BaseParams.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_Raster.h>
#include <MIR/Mir_LogFile.h>
#include <MIR/Mir_PrivateHeap.h>
#include <MIR/Mutex.h>
#include <OBJ/OBJ_Image.h>
#include <PRM/PRM_ITree.h>

#include <algorithm>
#include <cwchar>
#include <new>

// ---- rasters and drawing targets: interfaces that the viewer implements ----

KIT_Raster::~KIT_Raster() = default;
GFX_GraphicContext::~GFX_GraphicContext() = default;

// ---- counters ----

KIT_ChangeCounter::KIT_ChangeCounter(int count) : m_Count(count) {}
KIT_ChangeCounter::KIT_ChangeCounter(const KIT_ChangeCounter& other) = default;
KIT_ChangeCounter::~KIT_ChangeCounter() = default;
KIT_ChangeCounter& KIT_ChangeCounter::operator=(int count) { return m_Count = count, *this; }
KIT_ChangeCounter& KIT_ChangeCounter::operator=(const KIT_ChangeCounter& other) = default;
bool KIT_ChangeCounter::operator==(const KIT_ChangeCounter& other) const { return m_Count == other.m_Count; }
bool KIT_ChangeCounter::operator!=(const KIT_ChangeCounter& other) const { return m_Count != other.m_Count; }
KIT_ChangeCounter& KIT_ChangeCounter::operator++() { return ++m_Count, *this; }
KIT_ChangeCounter KIT_ChangeCounter::operator+(const KIT_ChangeCounter& other) const {
    return m_Count + other.m_Count;
}
KIT_ChangeCounter KIT_ChangeCounter::operator*(const KIT_ChangeCounter& other) const {
    return m_Count * other.m_Count;
}
void KIT_ChangeCounter::MarkChange() { ++m_Count; }
int KIT_ChangeCounter::GetCount() const { return m_Count; }

// ---- parameter objects and the list of a view ----

KIT_BaseParams::KIT_BaseParams() : KIT_ChangeCounter(0) {}
KIT_BaseParams::KIT_BaseParams(const KIT_BaseParams& other) : KIT_ChangeCounter(other) {
    take_base_values(other);
}
KIT_BaseParams::~KIT_BaseParams() = default;
void* KIT_BaseParams::operator new(std::size_t size) { return ::operator new(size); }
void KIT_BaseParams::operator delete(void* object) { ::operator delete(object); }
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
void KIT_BaseParams::take_base_values(const KIT_BaseParams& other) {
    m_Name = other.m_Name;
    m_bOriginal = other.m_bOriginal;
    m_bUpdatedFromDDP = other.m_bUpdatedFromDDP;
    m_bPreparedForPresentation = other.m_bPreparedForPresentation;
    m_bUpdatedToFitGroup = other.m_bUpdatedToFitGroup;
}
void KIT_BaseParams::fire_params_change() {}
void KIT_BaseParams::Freeze() {}
void KIT_BaseParams::Defrost() {}
bool KIT_BaseParams::GetOriginal() { return m_bOriginal; }
void KIT_BaseParams::SetOriginal(bool original) { m_bOriginal = original; }

KIT_BaseParamsVec::KIT_BaseParamsVec(const wchar_t* name) : m_Name(name == nullptr ? L"" : name) {}
const wchar_t* KIT_BaseParamsVec::GetName() const { return m_Name.c_str(); }
void KIT_BaseParamsVec::Append(KIT_BaseParams* params) {
    if (params != nullptr) m_Params.push_back(params);
}
KIT_BaseParams* KIT_BaseParamsVec::GetParams(const char* name, bool) const {
    const auto at = std::find_if(m_Params.begin(), m_Params.end(), [name](const KIT_BaseParams* params) {
        return name == std::string(params->GetName());
    });
    return at == m_Params.end() ? nullptr : *at;
}

// ---- memory, locks, a log that is off ----

void* Mir_PrivateHeap::AllocateArray(std::size_t bytes, const char*) {
    return ::operator new(bytes, std::nothrow);
}
void Mir_PrivateHeap::FreeArray(void* block, const char*) { ::operator delete(block); }
Mir_SingletonHeap& Mir_SingletonHeap::GetInstance(Mir_HeapType) {
    static Mir_SingletonHeap heap;
    return heap;
}
Mutex_Base::~Mutex_Base() = default;
Mutex::Mutex() = default;
Mutex::~Mutex() = default;
void Mutex::lock() { m_Mutex.lock(); }
void Mutex::unlock() { m_Mutex.unlock(); }
Sync_LockGuard::Sync_LockGuard(Mutex_Base& mutex, bool lock) : m_pLocked(lock ? &mutex : nullptr) {
    if (lock) mutex.lock();
}
Sync_LockGuard::~Sync_LockGuard() {
    if (m_pLocked != nullptr) m_pLocked->unlock();
}
Mir_LogFile MirGLog;
int Mir_LogFile::StoreParams(const char*, const char*, int, int, int, int) { return 0; }
void Mir_LogFile::Log(const char*, ...) {}

// ---- strings ----

struct _bstr_t::Data {
    std::wstring text;
    int count = 1;
};
_bstr_t::_bstr_t(const wchar_t* text) : m_Data(text == nullptr ? nullptr : new Data{text}) {}
_bstr_t::_bstr_t(const _bstr_t& other) noexcept : m_Data(other.m_Data) {
    if (m_Data != nullptr) ++m_Data->count;
}
void _bstr_t::release() noexcept {
    if (m_Data != nullptr && --m_Data->count == 0) delete m_Data;
    m_Data = nullptr;
}
_bstr_t& _bstr_t::operator=(const _bstr_t& other) noexcept { return *this = _bstr_t(other); }
_bstr_t& _bstr_t::operator=(_bstr_t&& other) noexcept {
    std::swap(m_Data, other.m_Data);
    return *this;
}
_bstr_t::operator const wchar_t*() const noexcept {
    return m_Data == nullptr ? nullptr : m_Data->text.c_str();
}
unsigned int _bstr_t::length() const noexcept {
    return m_Data == nullptr ? 0 : static_cast<unsigned int>(m_Data->text.size());
}
int _bstr_t::compare(const wchar_t* other) const noexcept {
    return std::wcscmp(m_Data == nullptr ? L"" : m_Data->text.c_str(), other == nullptr ? L"" : other);
}
int _bstr_t::compare(const _bstr_t& other) const noexcept {
    return compare(static_cast<const wchar_t*>(other));
}

// ---- a configuration without entries: every key has its default ----

namespace {

class NoConfiguration : public PRM_ITree {
public:
    HRESULT QueryInterface(const IID& iid, void** object) override {
        const bool isTree = iid == com_iid<IUnknown>() || iid == com_interface<PRM_ITree>::iid;
        *object = isTree ? static_cast<PRM_ITree*>(this) : nullptr;
        return isTree ? S_OK : E_NOINTERFACE;
    }
    // There is one for the process.
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    HRESULT raw_GetString(BSTR, BSTR*) override { return E_FAIL; }
    HRESULT raw_GetInt(BSTR, int*) override { return E_FAIL; }
    HRESULT raw_GetSubTree(BSTR, PRM_ITree**) override { return E_FAIL; }
    HRESULT raw_GetNumOfSubTrees(BSTR, int* count) override { return *count = 0, S_OK; }
    HRESULT raw_GetIthSubTree(BSTR, int, PRM_ITree**) override { return E_FAIL; }
    HRESULT raw_GetNumOfKeys(BSTR, int* count) override { return *count = 0, S_OK; }
    HRESULT raw_GetIthKeyValue(BSTR, int, BSTR*) override { return E_FAIL; }
    HRESULT raw_GetStringDefault(BSTR, BSTR, BSTR*) override { return E_FAIL; }
    HRESULT raw_GetIntDefault(BSTR, int fallback, int* value) override { return *value = fallback, S_OK; }
    HRESULT raw_GetIthKeyName(BSTR, int, BSTR*) override { return E_FAIL; }
    HRESULT raw_GetDoubleDefault(BSTR, double fallback, double* value) override {
        return *value = fallback, S_OK;
    }
};

}  // namespace

int PRM_ITree::GetIntDefault(const _bstr_t&, int fallback) {
    int value = fallback;
    const HRESULT result = raw_GetIntDefault(nullptr, fallback, &value);
    return FAILED(result) ? fallback : value;
}
HRESULT CoCreateInstance(const CLSID&, IUnknown*, unsigned int, const IID& iid, void** object) {
    static NoConfiguration configuration;
    return configuration.QueryInterface(iid, object);
}
HRESULT OleRun(IUnknown*) { return S_OK; }
_com_error::_com_error(HRESULT result, IErrorInfo*) noexcept : m_Result(result), m_Info(nullptr) {}
_com_error::_com_error(const _com_error& other) noexcept = default;
_com_error::~_com_error() = default;
void _com_issue_error(HRESULT result) { throw _com_error(result); }

// ---- constants that other objects refer to as the process starts ----

Dicom_NullStart::Dicom_NullStart() = default;
OBJ_ImageStart::OBJ_ImageStart() = default;
const Dicom_CS& CS_NULL = *new Dicom_CS;
const Dicom_DS& DS_NULL = *new Dicom_DS;
const Dicom_FL& FL_NULL = *new Dicom_FL;
const Dicom_LO& LO_NULL = *new Dicom_LO;
const Dicom_CS& OBJ_Image::CT = CS_NULL;
const Dicom_CS& OBJ_Image::LOCALIZER = CS_NULL;
const Dicom_CS& OBJ_Image::MONOCHROME1 = CS_NULL;
const Dicom_CS& OBJ_Image::MONOCHROME2 = CS_NULL;
const Dicom_CS& OBJ_Image::PALETTE_COLOR = CS_NULL;
Dicom_Type::Dicom_Type(const char* vr) : m_VR{vr[0], vr[1], '\0'} {}
Dicom_Type::~Dicom_Type() = default;
