#pragma once

#include <COM/com_types.h>

/// `_bstr_t`: the string class of the component object model.
///
///     _bstr_t key(L"windowing");
///     key += L"\\always_window_full_range";
///     const wchar_t* text = key;      // lives as long as key and its copies
///
/// Copies share one text. A default-constructed string is null: its pointers are null, its length is 0 and it
/// compares equal to an empty text.

#if defined(_WIN32)
#include <comutil.h>
#else

/// Safe across threads as far as the count and the narrow copy go: two objects that share a text may be used
/// on two threads. One object is used by one thread at a time.
/// Every operation that needs memory raises `_com_error` with E_OUTOFMEMORY when there is none.
class HOST_API _bstr_t {
public:
    _bstr_t() noexcept : m_Data(nullptr) {}
    _bstr_t(const _bstr_t& other) noexcept;
    _bstr_t(_bstr_t&& other) noexcept : m_Data(other.m_Data) { other.m_Data = nullptr; }
    /// A null `text` gives the null string.
    _bstr_t(const wchar_t* text);
    /// `text` is UTF-8; a byte that is no part of it becomes U+FFFD.
    _bstr_t(const char* text);
    /// Copies `text`, or takes it over when `copy` is false.
    _bstr_t(BSTR text, bool copy);
    ~_bstr_t() { release(); }

    _bstr_t& operator=(const _bstr_t& other) noexcept;
    _bstr_t& operator=(_bstr_t&& other) noexcept;
    _bstr_t& operator=(const wchar_t* text);
    _bstr_t& operator=(const char* text);

    /// The text itself, null for the null string.
    operator const wchar_t*() const noexcept;
    /// The text in UTF-8, made at the first call; null for the null string.
    operator const char*() const;
    /// The text as an argument of an interface's operation, which leaves it with its owner.
    BSTR GetBSTR() const noexcept;

    /// Number of wide characters, null characters within the text included.
    unsigned int length() const noexcept;
    /// True for the null string.
    bool operator!() const noexcept { return m_Data == nullptr; }

    _bstr_t& operator+=(const _bstr_t& other);
    _bstr_t operator+(const _bstr_t& other) const;

    /// Order by UTF-16 code unit over the whole text, whatever the width of wchar_t.
    bool operator==(const _bstr_t& other) const noexcept { return compare(other) == 0; }
    bool operator!=(const _bstr_t& other) const noexcept { return compare(other) != 0; }
    bool operator<(const _bstr_t& other) const noexcept { return compare(other) < 0; }
    bool operator>(const _bstr_t& other) const noexcept { return compare(other) > 0; }
    bool operator<=(const _bstr_t& other) const noexcept { return compare(other) <= 0; }
    bool operator>=(const _bstr_t& other) const noexcept { return compare(other) >= 0; }
    bool operator==(const wchar_t* other) const noexcept { return compare(other) == 0; }
    bool operator!=(const wchar_t* other) const noexcept { return compare(other) != 0; }
    bool operator==(const char* other) const { return compare(_bstr_t(other)) == 0; }
    bool operator!=(const char* other) const { return compare(_bstr_t(other)) != 0; }

    /// New string that the caller frees with SysFreeString; with `copy` false the text itself, still ours.
    BSTR copy(bool copy = true) const;
    /// Drops the text and takes `text` over.
    void Attach(BSTR text);
    /// Gives the text to the caller and leaves the null string. A text that others share is copied for the
    /// caller.
    BSTR Detach();

private:
    struct Data;

    int compare(const _bstr_t& other) const noexcept;
    int compare(const wchar_t* other) const noexcept;
    void release() noexcept;
    static Data* make(BSTR owned);

    Data* m_Data;
};

HOST_API _bstr_t operator+(const wchar_t* text, const _bstr_t& other);
HOST_API _bstr_t operator+(const char* text, const _bstr_t& other);
inline bool operator==(const wchar_t* text, const _bstr_t& other) { return other == text; }
inline bool operator!=(const wchar_t* text, const _bstr_t& other) { return other != text; }
inline bool operator==(const char* text, const _bstr_t& other) { return other == text; }
inline bool operator!=(const char* text, const _bstr_t& other) { return other != text; }
#endif
