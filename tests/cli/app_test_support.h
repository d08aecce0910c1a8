#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cli/samples.h"
#include "io/dicom_elements.h"
#include "io/dicom_tags.h"
#include "io/dicom_writer.h"

namespace support {

/// A directory of the test's own, gone when the test ends.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zev_test_XXXXXX").string();
        m_Path = mkdtemp(pattern.data());
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(m_Path); }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }
    const std::string& Path() const { return m_Path; }
    std::size_t Count() const {
        const std::filesystem::directory_iterator files(m_Path);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::string m_Path;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Whether two files are whole copies of one image, which differ in their UIDs and times alone.
inline bool AreCopies(const std::string& a, const std::string& b) {
    static constexpr std::size_t kHeaders = 200, kTail = 4096;
    const std::size_t more = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
    const auto tail = [](const std::string& bytes) {
        return bytes.substr(bytes.size() - std::min(bytes.size(), kTail));
    };
    return more < kHeaders && (tail(a) == tail(b) || a.size() < 2 * kTail);
}

inline std::vector<std::string> Split(const std::string& line, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(line);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

/// The folder of real images; empty when there is none on this machine.
inline std::string TestData() {
    const char* told = std::getenv("ZEV_TEST_DATA");
    const std::string path = told != nullptr ? told : std::string(ZEV_SOURCE_DIR) + "/../shared/data/open";
    return std::filesystem::exists(path + "/MANIFEST.tsv") ? path : std::string();
}

/// The rows of MANIFEST.tsv, each by the names in its first line.
inline std::vector<std::map<std::string, std::string>> Manifest() {
    std::vector<std::map<std::string, std::string>> rows;
    std::ifstream stream(TestData() + "/MANIFEST.tsv");
    std::string line;
    std::getline(stream, line);
    const std::vector<std::string> names = Split(line, '\t');
    while (std::getline(stream, line)) {
        const std::vector<std::string> values = Split(line, '\t');
        std::map<std::string, std::string> row;
        for (std::size_t i = 0; i < values.size() && i < names.size(); ++i) row[names[i]] = values[i];
        rows.push_back(row);
    }
    return rows;
}

using Texts = std::vector<std::pair<std::uint32_t, std::string>>;

/// `side` x `side` pixels of `bits` bits whose stored value is the pixel's number, with decimal strings by
/// tag.
inline DicomDataSet Ramp(const std::string& modality, const Texts& decimals, int side = 16, int bits = 8) {
    DicomDataSet set;
    set.PutText(tag::kSopClass, "UI", "1.2.840.10008.5.1.4.1.1.4");
    set.PutText(tag::kSopInstance, "UI", "2.25.4711");
    set.PutText(tag::kModality, "CS", modality);
    set.PutText(tag::kPhotometricInterpretation, "CS", "MONOCHROME2");
    const int allocated = bits <= 8 ? 8 : 16;
    for (const auto& [tag, value] : {std::pair{tag::kSamplesPerPixel, 1},
                                     {tag::kRows, side},
                                     {tag::kColumns, side},
                                     {tag::kBitsAllocated, allocated},
                                     {tag::kBitsStored, bits},
                                     {tag::kHighBit, bits - 1},
                                     {tag::kPixelRepresentation, 0}})
        set.PutWord(tag, "US", value);
    for (const auto& [tag, text] : decimals) set.PutText(tag, "DS", text);
    std::string pixels;
    for (int i = 0; i < side * side; ++i) {
        pixels += static_cast<char>(i & 0xFF);
        if (allocated > 8) pixels += static_cast<char>(i >> 8);
    }
    set.elements[tag::kPixelData] = DicomElement{allocated > 8 ? "OW" : "OB", std::move(pixels), {}};
    return set;
}

/// A PT image in which 1 Bq/ml is 1/1000 SUV by body weight: 50 MBq in 50 kg, at the moment of the injection.
inline DicomDataSet PetRamp(const Texts& decimals) {
    DicomDataSet set = Ramp("PT", decimals);
    set.PutText(tag::kPetUnits, "CS", "BQML");
    set.PutText(DicomTag(0x0054, 0x1102), "CS", "ADMIN");
    set.PutText(DicomTag(0x0028, 0x0051), "CS", "ATTN\\DECY");
    set.PutText(DicomTag(0x0010, 0x1030), "DS", "50");
    DicomDataSet drug;
    drug.PutText(DicomTag(0x0018, 0x1074), "DS", "50000000");
    set.elements[DicomTag(0x0054, 0x0016)] = DicomElement{"SQ", "", {drug}};
    return set;
}

inline void WriteImage(const std::string& path, const DicomDataSet& set) {
    WriteFile(path, EncodeDicomFile(set));
}

}  // namespace support
