#include "dicom_writer.h"

#include "dicom_editor.h"

namespace {

constexpr const char* kExplicitLittleEndian = "1.2.840.10008.1.2.1";
/// Identifies the writer of a file.
constexpr const char* kImplementationClass = "2.25.21941397092773137880456917274024886040";

DicomElement number(std::size_t value) {
    std::string bytes;
    for (unsigned b = 0; b < 4; ++b) bytes += static_cast<char>((value >> (8 * b)) & 0xFF);
    return {"UL", bytes, {}};
}

}  // namespace

/// PS3.10 7.1. Not by the decoding library: it calls terminate when its memory runs out.
std::string EncodeDicomFile(const DicomDataSet& dataSet) {
    DicomDataSet meta, head;
    meta.elements[DicomTag(0x0002, 0x0001)] = {"OB", std::string("\0\1", 2), {}};
    meta.PutText(tag::kMediaStorageSopClass, "UI", dataSet.Text(tag::kSopClass));
    meta.PutText(tag::kMediaStorageSopInstance, "UI", dataSet.Text(tag::kSopInstance));
    meta.PutText(tag::kTransferSyntax, "UI", kExplicitLittleEndian);
    meta.PutText(DicomTag(0x0002, 0x0012), "UI", kImplementationClass);
    meta.PutText(DicomTag(0x0002, 0x0013), "SH", "ZEV");
    const std::string rest = EncodeDataSet(meta);
    head.elements[tag::kMetaGroupLength] = number(rest.size());
    return std::string(128, '\0') + "DICM" + EncodeDataSet(head) + rest + EncodeDataSet(dataSet);
}
