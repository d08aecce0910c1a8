#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

/// How a transfer syntax puts attributes into bytes.
struct DicomEncoding {
    bool explicitVr = true;
    bool bigEndian = false;
};

/// Bytes that are not a data set.
struct DamagedData : std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// Something reaches beyond the end of the bytes.
struct CutShortData : DamagedData {
    using DamagedData::DamagedData;
};

constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFF;

/// Whether the length of this value representation takes four bytes behind two that are reserved (PS3.5
/// 7.1.2).
bool HasLongLength(std::string_view vr);
/// Bytes per number of a binary value representation; else 1.
std::size_t NumberSize(std::string_view vr);

/// Finds elements in bytes of one encoding. Everything it returns lies within the bytes, which must outlive
/// it. Operations throw DamagedData.
class DicomParser {
public:
    struct Element {
        std::uint32_t tag = 0;
        /// Empty in an implicit encoding.
        std::string_view vr;
        std::size_t start = 0;
        std::size_t value = 0;
        std::size_t valueEnd = 0;
        /// Behind the value and its delimiter, if it has one.
        std::size_t next = 0;

        bool HasDefinedLength() const { return next == valueEnd; }
    };
    /// Start and end of an item's content, and what follows it.
    struct Item {
        std::size_t content = 0;
        std::size_t contentEnd = 0;
        std::size_t next = 0;
    };

    DicomParser(std::string_view bytes, DicomEncoding encoding) : m_Bytes(bytes), m_Encoding(encoding) {}

    const DicomEncoding& GetEncoding() const { return m_Encoding; }
    /// For the items of an element: what claims to be unknown is implicit little-endian (PS3.5 6.2.2).
    DicomParser ForItems(const Element& element) const {
        return element.vr == "UN" ? DicomParser(m_Bytes, DicomEncoding{false, false}) : *this;
    }

    /// The position must be within the bytes.
    std::uint32_t Number(std::size_t position, std::size_t size) const;
    std::string_view Value(const Element& element) const {
        return m_Bytes.substr(element.value, element.valueEnd - element.value);
    }
    /// Of an element whose header, of at least 8 bytes, ends before `end`.
    std::uint32_t Tag(std::size_t position, std::size_t end) const;
    Element Read(std::size_t position, std::size_t end, int depth = 0) const;
    Item ReadItem(std::size_t position, std::size_t end, int depth = 0) const;

private:
    static void need(std::size_t position, std::size_t size, std::size_t end);
    std::size_t end_of_items(std::size_t position, std::size_t end, int depth) const;

    std::string_view m_Bytes;
    DicomEncoding m_Encoding;
};

/// The beginning of a file (PS3.10 7.1).
struct DicomFileMeta {
    std::string transferSyntax;
    std::string storageClass;
    /// Where the data set begins.
    std::size_t dataSet = 0;
    /// The group's length leads to the same place.
    bool hasTrueLength = false;
};

constexpr std::size_t kFileMetaStart = 132;

/// Throws DamagedData.
DicomFileMeta ReadFileMeta(std::string_view bytes);
