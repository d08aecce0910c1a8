#include "identification.h"

#include <ctime>

namespace {

struct Copied {
    std::uint32_t tag;
    const char* vr;
    bool isRequired;
};
constexpr Copied kIdentification[] = {
    {tag::kSpecificCharacterSet, "CS", false}, {DicomTag(0x0008, 0x0020), "DA", true},
    {DicomTag(0x0008, 0x0030), "TM", true},    {DicomTag(0x0008, 0x0050), "SH", true},
    {DicomTag(0x0008, 0x0070), "LO", true},    {DicomTag(0x0008, 0x0090), "PN", true},
    {DicomTag(0x0008, 0x1030), "LO", false},   {DicomTag(0x0010, 0x0010), "PN", true},
    {DicomTag(0x0010, 0x0020), "LO", true},    {DicomTag(0x0010, 0x0021), "LO", false},
    {DicomTag(0x0010, 0x0030), "DA", true},    {DicomTag(0x0010, 0x0040), "CS", true},
    {DicomTag(0x0020, 0x000D), "UI", true},    {DicomTag(0x0020, 0x0010), "SH", true},
};

}  // namespace

DicomDataSet IdentificationOf(const DicomDataSet& image) {
    DicomDataSet set;
    for (const Copied& copied : kIdentification) {
        const DicomElement* element = image.Find(copied.tag);
        if (element != nullptr || copied.isRequired)
            set.elements[copied.tag] = DicomElement{copied.vr, element == nullptr ? "" : element->bytes, {}};
    }
    return set;
}

void PutNow(DicomDataSet& set, std::uint32_t dateTag, std::uint32_t timeTag) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    std::strftime(text, sizeof text, "%Y%m%d", &local);
    set.PutText(dateTag, "DA", text);
    std::strftime(text, sizeof text, "%H%M%S", &local);
    set.PutText(timeTag, "TM", text);
}
