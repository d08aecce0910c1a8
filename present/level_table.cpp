#include "level_table.h"

#include "io/dicom_tags.h"

void PutWords(DicomDataSet& set, std::uint32_t tag, const char* vr, const std::vector<std::uint16_t>& words) {
    std::string bytes;
    for (const std::uint16_t word : words) {
        bytes += static_cast<char>(word & 0xFF);
        bytes += static_cast<char>(word >> 8);
    }
    set.elements[tag] = DicomElement{vr, bytes, {}};
}

DicomElement LevelTable(const std::vector<std::uint16_t>& entries, const std::string& explanation) {
    DicomDataSet item;
    // 65,536 entries are written as 0.
    PutWords(item, tag::kLutDescriptor, "US", {static_cast<std::uint16_t>(entries.size()), 0, 16});
    item.PutText(DicomTag(0x0028, 0x3003), "LO", explanation);
    PutWords(item, tag::kLutData, "OW", entries);
    return DicomElement{"SQ", "", {item}};
}
