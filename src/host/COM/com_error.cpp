#include <COM/com_error.h>
#include <refhost/Com.h>

#include <new>
#include <utility>

#include "COM/com_object.h"

#if !defined(_WIN32)

namespace {

/// Error information that holds a description and nothing else.
class Description final : public refhost::ComObject<IErrorInfo> {
public:
    explicit Description(const wchar_t* text) : m_Text(text) {}

    HRESULT GetGUID(GUID* guid) override {
        if (guid == nullptr) return E_POINTER;
        *guid = GUID{};
        return S_OK;
    }
    HRESULT GetSource(BSTR* source) override {
        if (source == nullptr) return E_POINTER;
        *source = nullptr;
        return S_OK;
    }
    HRESULT GetDescription(BSTR* description) override {
        if (description == nullptr) return E_POINTER;
        *description = SysAllocString(m_Text);
        return *description == nullptr && m_Text.length() != 0 ? E_OUTOFMEMORY : S_OK;
    }

private:
    _bstr_t m_Text;
};

struct ThreadErrorInfo {
    IErrorInfo* info = nullptr;
    ~ThreadErrorInfo() {
        if (info != nullptr) info->Release();
    }
};
thread_local ThreadErrorInfo t_ErrorInfo;

}  // namespace

HRESULT SetErrorInfo(ULONG, IErrorInfo* info) {
    if (info != nullptr) info->AddRef();
    IErrorInfo* old = std::exchange(t_ErrorInfo.info, info);
    if (old != nullptr) old->Release();
    return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** info) {
    if (info == nullptr) return E_POINTER;
    *info = std::exchange(t_ErrorInfo.info, nullptr);
    return *info != nullptr ? S_OK : S_FALSE;
}

_com_error::_com_error(HRESULT result, IErrorInfo* info) noexcept : m_Result(result), m_Info(info) {}

_com_error::_com_error(const _com_error& other) noexcept : m_Result(other.m_Result), m_Info(other.m_Info) {
    if (m_Info != nullptr) m_Info->AddRef();
}

_com_error& _com_error::operator=(const _com_error& other) noexcept {
    _com_error copy(other);
    m_Result = copy.m_Result;
    std::swap(m_Info, copy.m_Info);
    return *this;
}

_com_error::~_com_error() {
    if (m_Info != nullptr) m_Info->Release();
}

_bstr_t _com_error::Description() const {
    BSTR text = nullptr;
    if (m_Info != nullptr && FAILED(m_Info->GetDescription(&text))) text = nullptr;
    return _bstr_t(text, false);
}

void _com_issue_error(HRESULT result) { throw _com_error(result); }

#endif

// On Windows one compiler brings it along with the class, the others leave it to us.
#if !defined(_MSC_VER)

void _com_issue_errorex(HRESULT result, IUnknown* object, const IID& iid) {
    IErrorInfo* info = nullptr;
    void* found = nullptr;
    if (object != nullptr && SUCCEEDED(object->QueryInterface(com_iid<ISupportErrorInfo>(), &found))) {
        ISupportErrorInfo* support = static_cast<ISupportErrorInfo*>(found);
        if (support->InterfaceSupportsErrorInfo(iid) == S_OK) GetErrorInfo(0, &info);
        support->Release();
    }
    throw _com_error(result, info);
}

#endif

void refhost::SetErrorDescription(const wchar_t* description) {
#if defined(_WIN32)
    ICreateErrorInfo* made = nullptr;
    if (FAILED(CreateErrorInfo(&made))) return;
    made->SetDescription(const_cast<wchar_t*>(description));
    void* info = nullptr;
    if (SUCCEEDED(made->QueryInterface(com_iid<IErrorInfo>(), &info))) {
        SetErrorInfo(0, static_cast<IErrorInfo*>(info));
        static_cast<IErrorInfo*>(info)->Release();
    }
    made->Release();
#else
    IErrorInfo* info = new Description(description);
    SetErrorInfo(0, info);
    info->Release();
#endif
}
