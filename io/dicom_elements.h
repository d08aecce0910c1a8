#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "dicom_tags.h"

class DicomDataSet;

/// Up to the first NUL, without blanks at either end.
std::string Trimmed(const std::string& text);

/// One data element as the file has it: a value of little-endian bytes, or the items of a sequence.
struct DicomElement {
    /// As the file claims or, for an implicit transfer syntax, as the public dictionary says; "UN" when
    /// neither knows.
    std::string vr;
    std::string bytes;
    std::vector<DicomDataSet> items;

    bool IsSequence() const { return vr == "SQ"; }
};

/// Data elements by tag, free of any library's types.
class DicomDataSet {
public:
    std::map<std::uint32_t, DicomElement> elements;

    /// Null when absent.
    const DicomElement* Find(std::uint32_t tag) const;
    /// The first item of a sequence; null when there is none.
    const DicomDataSet* FirstItem(std::uint32_t tag) const;
    /// A text value without padding, all values of it with their backslashes; "" when absent.
    std::string Text(std::uint32_t tag) const;
    /// The index-th 16-bit value; the fallback when there is none.
    int Word(std::uint32_t tag, int fallback, std::size_t index = 0) const;
    /// The first of the numbers of a decimal or integer string; the fallback when it is absent or not a
    /// number.
    double Number(std::uint32_t tag, double fallback) const;
    /// All numbers of a decimal or integer string, or of a binary value; "not a number" in place of a text
    /// that is not one, and nothing for any other value representation. At most `most` of them.
    std::vector<double> Numbers(std::uint32_t tag, std::size_t most = SIZE_MAX) const;
    bool Has(std::uint32_t tag) const { return Find(tag) != nullptr; }

    void PutText(std::uint32_t tag, const char* vr, std::string text);
    void PutWord(std::uint32_t tag, const char* vr, int value);
    void Remove(std::uint32_t tag) { elements.erase(tag); }
};

/// A flat form in which a data set passes between processes.
class ByteWriter {
public:
    void Number(std::uint64_t value);
    void Bytes(const std::string& bytes);
    void DataSet(const DicomDataSet& dataSet);
    std::string Take() { return std::move(m_Bytes); }

private:
    std::string m_Bytes;
};

/// Reads what ByteWriter wrote. Throws std::runtime_error when the bytes do not fit: the other process may
/// have gone wrong.
class ByteReader {
public:
    explicit ByteReader(const std::string& bytes) : m_Bytes(bytes) {}
    std::uint64_t Number();
    std::string Bytes();
    DicomDataSet DataSet(int depth = 0);

private:
    const std::string& m_Bytes;
    std::size_t m_Next = 0;
};
