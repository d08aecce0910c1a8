#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "cli/app_test_support.h"
#include "io/dicom_file.h"
#include "io/dicom_writer.h"
#include "io/present_error.h"

namespace support {

constexpr std::uint32_t kPhotometric = DicomTag(0x0028, 0x0004);
constexpr std::uint32_t kPixels = DicomTag(0x7FE0, 0x0010);

inline std::string BytesOf(const std::vector<std::uint32_t>& values, int size) {
    std::string bytes;
    for (std::uint32_t value : values) {
        for (int b = 0; b < size; ++b) bytes += static_cast<char>((value >> (8 * b)) & 0xFF);
    }
    return bytes;
}

/// A file of one row with these pixel values as they lie in the allocated samples.
inline DicomDataSet OneRow(const std::vector<std::uint32_t>& values, int allocated, int stored, int high,
                           bool isSigned) {
    DicomDataSet set = Ramp("", {});
    set.PutWord(tag::kRows, "US", 1);
    set.PutWord(tag::kColumns, "US", static_cast<int>(values.size()));
    set.PutWord(tag::kBitsAllocated, "US", allocated);
    set.PutWord(tag::kBitsStored, "US", stored);
    set.PutWord(tag::kHighBit, "US", high);
    set.PutWord(tag::kPixelRepresentation, "US", isSigned ? 1 : 0);
    set.elements[kPixels] = DicomElement{"OW", BytesOf(values, allocated / 8), {}};
    return set;
}

inline std::string Item(const std::string& bytes, std::uint32_t tag = 0xE000FFFE) {
    return BytesOf({tag, static_cast<std::uint32_t>(bytes.size())}, 4) + bytes;
}

/// A pixel data element of fragments; `table` has the Basic Offset Table's bytes.
inline std::string Fragments(const std::string& table, const std::vector<std::string>& fragments) {
    std::string element =
        BytesOf({0x00107FE0}, 4) + "OB" + BytesOf({0}, 2) + BytesOf({0xFFFFFFFF}, 4) + Item(table);
    for (const std::string& fragment : fragments)
        element += Item(fragment + std::string(fragment.size() % 2, '\0'));
    return element + Item("", 0xE0DDFFFE);
}

/// The data set as a file of an explicit little-endian transfer syntax, with this pixel data element.
inline std::string Encoded(DicomDataSet set, std::string syntax, const std::string& pixelData) {
    set.Remove(kPixels);
    const std::string file = EncodeDicomFile(set);
    const std::size_t meta = static_cast<unsigned char>(file[140]);
    if (syntax.size() % 2 != 0) syntax += '\0';
    const std::string uid =
        BytesOf({0x00100002}, 4) + "UI" + BytesOf({static_cast<std::uint32_t>(syntax.size())}, 2) + syntax;
    return std::string(128, '\0') + "DICM" + BytesOf({0x00000002}, 4) + "UL" + BytesOf({4}, 2) +
           BytesOf({static_cast<std::uint32_t>(uid.size())}, 4) + uid + file.substr(144 + meta) + pixelData;
}

class ImageTest : public testing::Test {
protected:
    DicomFile LoadBytes(const std::string& bytes, LoadOptions options = {}) {
        const std::string path = m_Directory / "image.dcm";
        WriteFile(path, bytes);
        return DicomFile::Load(path, options);
    }
    DicomFile Load(const DicomDataSet& set, int frame = 0) {
        return LoadBytes(EncodeDicomFile(set), LoadOptions{frame});
    }
    std::string RefusalOf(const std::string& bytes, LoadOptions options = {}) {
        try {
            LoadBytes(bytes, options);
        } catch (const PresentError& error) {
            return error.what();
        }
        return "";
    }
    std::string Refusal(const DicomDataSet& set) { return RefusalOf(EncodeDicomFile(set)); }
    static std::vector<int> Values(const DicomFile& file) {
        std::vector<int> values;
        for (int i = 0; i < file.Columns() * file.Rows(); ++i)
            values.push_back(file.Mono().Get(static_cast<std::size_t>(i)));
        return values;
    }
    TemporaryDirectory m_Directory;
};

}  // namespace support
