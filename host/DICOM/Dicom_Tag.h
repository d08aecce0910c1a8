#pragma once

#include <HOST_Export.h>

#include <string>

/// An attribute's number: the group in the high half, the element in the low half.
///
///     Dicom_Tag center(0x281050, nullptr);
///
/// Constants of this class need no initialisation at start-up.
class HOST_API Dicom_Tag {
public:
    /// `name` may be null; it is neither copied nor deleted, so it must outlive the tag.
    constexpr Dicom_Tag(unsigned int tag, std::wstring* name) : m_Tag(tag), m_pName(name) {}
    explicit constexpr Dicom_Tag(unsigned int tag) : Dicom_Tag(tag, nullptr) {}
    Dicom_Tag(const Dicom_Tag&) = default;
    Dicom_Tag& operator=(const Dicom_Tag&) = default;
    ~Dicom_Tag() = default;

    constexpr unsigned int GetTag() const { return m_Tag; }
    constexpr unsigned int GetGroup() const { return m_Tag >> 16; }
    constexpr unsigned int GetElement() const { return m_Tag & 0xFFFFu; }
    /// The name given to the constructor; null if none was.
    const std::wstring* GetName() const { return m_pName; }
    /// Private attributes lie in groups of an odd number.
    constexpr bool IsPrivate() const { return (GetGroup() & 1u) != 0; }

    bool operator==(const Dicom_Tag& other) const { return m_Tag == other.m_Tag; }
    bool operator!=(const Dicom_Tag& other) const { return m_Tag != other.m_Tag; }
    bool operator<(const Dicom_Tag& other) const { return m_Tag < other.m_Tag; }

private:
    unsigned int m_Tag;
    std::wstring* m_pName;
};
