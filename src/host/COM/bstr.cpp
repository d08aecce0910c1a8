// The string class, where the platform has none of its own, and what one of Windows' compilers leaves to us.

#if defined(_WIN32) && !defined(_MSC_VER)

#include <COM/bstr.h>
#include <refhost/Unicode.h>

#include <algorithm>

namespace _com_util {

HOST_API char* WINAPI ConvertBSTRToString(BSTR source) {
    if (source == nullptr) return nullptr;
    const std::string text = refhost::ToUtf8(source, SysStringLen(source));
    auto* const made = new char[text.size() + 1];
    std::copy_n(text.c_str(), text.size() + 1, made);
    return made;
}

HOST_API BSTR WINAPI ConvertStringToBSTR(const char* source) {
    if (source == nullptr) return nullptr;
    const std::wstring text = refhost::FromUtf8(source, std::char_traits<char>::length(source));
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace _com_util

#elif !defined(_WIN32)

#include <COM/bstr.h>
#include <COM/com_error.h>
#include <refhost/Unicode.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

namespace {

// The length lies in front of the text, in a space that keeps malloc's alignment.
constexpr std::size_t kPrefix = alignof(std::max_align_t);
static_assert(kPrefix >= sizeof(unsigned int));
// A length in bytes has 32 bits and a sign in the places that exchange these strings.
constexpr std::size_t kMostCharacters = 0x7FFFFFFFu / sizeof(wchar_t) - 1;

BSTR CopyText(const wchar_t* text, std::size_t length) {
    BSTR made =
        length > kMostCharacters ? nullptr : SysAllocStringLen(text, static_cast<unsigned int>(length));
    if (made == nullptr) _com_issue_error(E_OUTOFMEMORY);
    return made;
}

}  // namespace

BSTR SysAllocStringLen(const wchar_t* text, unsigned int length) {
    if (length > kMostCharacters) return nullptr;
    const std::size_t bytes = length * sizeof(wchar_t);
    char* block = static_cast<char*>(std::malloc(kPrefix + bytes + sizeof(wchar_t)));
    if (block == nullptr) return nullptr;
    std::memcpy(block, &length, sizeof(length));
    BSTR made = reinterpret_cast<BSTR>(block + kPrefix);
    if (text != nullptr && bytes != 0) std::memcpy(made, text, bytes);
    made[length] = L'\0';
    return made;
}

BSTR SysAllocString(const wchar_t* text) {
    if (text == nullptr) return nullptr;
    const std::size_t length = std::wcslen(text);
    return length > kMostCharacters ? nullptr : SysAllocStringLen(text, static_cast<unsigned int>(length));
}

void SysFreeString(BSTR text) {
    if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kPrefix);
}

unsigned int SysStringLen(BSTR text) {
    if (text == nullptr) return 0;
    unsigned int length = 0;
    std::memcpy(&length, reinterpret_cast<const char*>(text) - kPrefix, sizeof(length));
    return length;
}

struct _bstr_t::Data {
    explicit Data(BSTR owned) : wide(owned) {}
    ~Data() {
        SysFreeString(wide);
        std::free(narrow.load(std::memory_order_relaxed));
    }

    BSTR wide;
    std::atomic<char*> narrow{nullptr};
    std::atomic<unsigned int> owners{1};
};

_bstr_t::Data* _bstr_t::make(BSTR owned) {
    if (owned == nullptr) return nullptr;
    Data* data = new (std::nothrow) Data(owned);
    if (data == nullptr) {
        SysFreeString(owned);
        _com_issue_error(E_OUTOFMEMORY);
    }
    return data;
}

void _bstr_t::release() noexcept {
    if (m_Data != nullptr && m_Data->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete m_Data;
    m_Data = nullptr;
}

_bstr_t::_bstr_t(const _bstr_t& other) noexcept : m_Data(other.m_Data) {
    if (m_Data != nullptr) m_Data->owners.fetch_add(1, std::memory_order_relaxed);
}

_bstr_t::_bstr_t(const wchar_t* text) : m_Data(nullptr) {
    if (text != nullptr) m_Data = make(CopyText(text, std::wcslen(text)));
}

_bstr_t::_bstr_t(const char* text) : m_Data(nullptr) {
    if (text == nullptr) return;
    try {
        const std::wstring wide = refhost::FromUtf8(text, std::strlen(text));
        m_Data = make(CopyText(wide.data(), wide.size()));
    } catch (const std::bad_alloc&) {
        _com_issue_error(E_OUTOFMEMORY);
    }
}

_bstr_t::_bstr_t(BSTR text, bool copy) : m_Data(nullptr) {
    if (text != nullptr) m_Data = make(copy ? CopyText(text, SysStringLen(text)) : text);
}

_bstr_t& _bstr_t::operator=(const _bstr_t& other) noexcept {
    if (m_Data != other.m_Data) {
        release();
        m_Data = other.m_Data;
        if (m_Data != nullptr) m_Data->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return *this;
}

_bstr_t& _bstr_t::operator=(_bstr_t&& other) noexcept {
    if (this != &other) {
        release();
        m_Data = other.m_Data;
        other.m_Data = nullptr;
    }
    return *this;
}

_bstr_t& _bstr_t::operator=(const wchar_t* text) { return *this = _bstr_t(text); }

_bstr_t& _bstr_t::operator=(const char* text) { return *this = _bstr_t(text); }

_bstr_t::operator const wchar_t*() const noexcept { return GetBSTR(); }

_bstr_t::operator const char*() const {
    if (m_Data == nullptr) return nullptr;
    char* narrow = m_Data->narrow.load(std::memory_order_acquire);
    if (narrow != nullptr) return narrow;
    try {
        const std::string text = refhost::ToUtf8(m_Data->wide, length());
        char* made = static_cast<char*>(std::malloc(text.size() + 1));
        if (made == nullptr) throw std::bad_alloc();
        std::memcpy(made, text.c_str(), text.size() + 1);
        // The first thread's copy stays: another may have handed it out already.
        if (m_Data->narrow.compare_exchange_strong(narrow, made, std::memory_order_acq_rel)) return made;
        std::free(made);
        return narrow;
    } catch (const std::bad_alloc&) {
        _com_issue_error(E_OUTOFMEMORY);
    }
}

BSTR _bstr_t::GetBSTR() const noexcept { return m_Data == nullptr ? nullptr : m_Data->wide; }

unsigned int _bstr_t::length() const noexcept { return SysStringLen(GetBSTR()); }

_bstr_t _bstr_t::operator+(const _bstr_t& other) const {
    if (other.m_Data == nullptr) return *this;
    if (m_Data == nullptr) return other;
    const std::size_t first = length();
    const std::size_t second = other.length();
    BSTR joined = CopyText(nullptr, first + second);
    std::wmemcpy(joined, m_Data->wide, first);
    std::wmemcpy(joined + first, other.m_Data->wide, second);
    return _bstr_t(joined, false);
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other) { return *this = *this + other; }

_bstr_t operator+(const wchar_t* text, const _bstr_t& other) { return _bstr_t(text) + other; }

_bstr_t operator+(const char* text, const _bstr_t& other) { return _bstr_t(text) + other; }

int _bstr_t::compare(const _bstr_t& other) const noexcept {
    if (m_Data == other.m_Data) return 0;
    return refhost::CompareUtf16(GetBSTR(), length(), other.GetBSTR(), other.length());
}

int _bstr_t::compare(const wchar_t* other) const noexcept {
    return refhost::CompareUtf16(GetBSTR(), length(), other, other == nullptr ? 0 : std::wcslen(other));
}

BSTR _bstr_t::copy(bool copy) const {
    if (m_Data == nullptr || !copy) return GetBSTR();
    return CopyText(m_Data->wide, length());
}

void _bstr_t::Attach(BSTR text) {
    release();
    m_Data = make(text);
}

BSTR _bstr_t::Detach() {
    if (m_Data == nullptr) return nullptr;
    BSTR text = nullptr;
    if (m_Data->owners.load(std::memory_order_acquire) == 1) {
        text = m_Data->wide;
        m_Data->wide = nullptr;
    } else {
        text = CopyText(m_Data->wide, length());
    }
    release();
    return text;
}

#endif
