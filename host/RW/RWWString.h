#pragma once

#include <HOST_Export.h>

#include <cstddef>
#include <string>

/// A wide text that ends at its first null character.
class HOST_API RWWString {
public:
    RWWString();
    /// A null `text` is empty.
    RWWString(const wchar_t* text);
    RWWString(const RWWString& other);
    ~RWWString();
    RWWString& operator=(const RWWString& other);

    const wchar_t* data() const { return m_Text.c_str(); }
    std::size_t length() const { return m_Text.length(); }
    bool isNull() const { return m_Text.empty(); }

    bool operator==(const wchar_t* text) const;
    bool operator==(const RWWString& other) const { return m_Text == other.m_Text; }
    bool operator!=(const wchar_t* text) const { return !(*this == text); }
    bool operator!=(const RWWString& other) const { return !(*this == other); }

private:
    std::wstring m_Text;
};
