#pragma once

#include <COM/bstr.h>
#include <COM/com_identifiers.h>

/// `_com_error`: the exception of the component layer. It carries the failing result and, when the failing
/// interface offers error information, its description.

#if defined(_WIN32)
#include <comdef.h>
#else

/// What went wrong, in words.
class HOST_API IErrorInfo : public IUnknown {
public:
    virtual HRESULT GetGUID(GUID* guid) = 0;
    virtual HRESULT GetSource(BSTR* source) = 0;
    virtual HRESULT GetDescription(BSTR* description) = 0;

protected:
    ~IErrorInfo() = default;
};

/// An object that answers to this interface leaves error information behind when an operation of `iid` fails.
class HOST_API ISupportErrorInfo : public IUnknown {
public:
    virtual HRESULT InterfaceSupportsErrorInfo(const IID& iid) = 0;

protected:
    ~ISupportErrorInfo() = default;
};

/// Leaves `info` (counted, may be null) as the calling thread's error information.
HOST_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
/// Takes the calling thread's error information away: S_OK, or S_FALSE and null when there is none.
HOST_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);

class HOST_API _com_error {
public:
    /// Takes over the count of `info`, which may be null.
    explicit _com_error(HRESULT result, IErrorInfo* info = nullptr) noexcept;
    _com_error(const _com_error& other) noexcept;
    _com_error& operator=(const _com_error& other) noexcept;
    virtual ~_com_error();

    /// E_OUTOFMEMORY where memory was short, whatever was being done.
    HRESULT Error() const noexcept { return m_Result; }
    /// The error information's words; the null string when there are none.
    _bstr_t Description() const;

private:
    HRESULT m_Result;
    IErrorInfo* m_Info;
};

/// Raises `_com_error` with `result`.
[[noreturn]] HOST_API void _com_issue_error(HRESULT result);
/// Raises `_com_error` with `result` and the error information that `object` left behind for `iid`, if any.
[[noreturn]] HOST_API void _com_issue_errorex(HRESULT result, IUnknown* object, const IID& iid);
#endif

template <>
struct com_interface<IErrorInfo> {
    static constexpr IID iid = com_id::kErrorInfo;
};
template <>
struct com_interface<ISupportErrorInfo> {
    static constexpr IID iid = com_id::kSupportErrorInfo;
};
