#pragma once

#include <HOST_Export.h>

/// Results, identifiers, strings and the root interface of the component object model.
/// On Windows these are the platform's own; elsewhere this header keeps the same contract.

#if defined(_WIN32)
#include <objbase.h>
#include <oleauto.h>
#else
#include <cstddef>
#include <cstdint>

/// Result of an operation: negative means failure.
typedef std::int32_t HRESULT;
typedef std::uint32_t ULONG;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);

constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;

constexpr bool operator==(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i) {
        if (a.Data4[i] != b.Data4[i]) return false;
    }
    return true;
}
constexpr bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

/// Root of every interface. An object is counted: whoever is given an interface pointer owns one count of it
/// and gives it back with Release.
class HOST_API IUnknown {
public:
    /// Writes a counted pointer to `*object`, or null with E_NOINTERFACE. A null `object` gives E_POINTER.
    virtual HRESULT QueryInterface(const IID& iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

/// A wide text with its length in front of the first character. Null stands for the empty text.
typedef wchar_t* BSTR;

/// New string, a copy of `text` up to its terminator; null for a null `text` or when there is no memory.
HOST_API BSTR SysAllocString(const wchar_t* text);
/// New string of `length` characters and a terminator, copied from `text`, or left unset when `text` is null.
/// Null when there is no memory or the text would not fit into 2 GiB.
HOST_API BSTR SysAllocStringLen(const wchar_t* text, unsigned int length);
/// Gives a string back; null does nothing.
HOST_API void SysFreeString(BSTR text);
/// Characters in front of the terminator; 0 for null.
HOST_API unsigned int SysStringLen(BSTR text);
#endif

/// Where an interface keeps its identifier: specialised beside the interface with a static `iid`.
template <class Interface>
struct com_interface;

template <>
struct com_interface<IUnknown> {
    static constexpr IID iid = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
};

template <class Interface>
const IID& com_iid() {
    return com_interface<Interface>::iid;
}
