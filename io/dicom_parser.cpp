#include "dicom_parser.h"

#include <algorithm>

#include "dicom_elements.h"
#include "dicom_tags.h"

namespace {

constexpr int kMaxDepth = 64;
constexpr unsigned kMetaGroup = 0x0002;

bool is_among(std::string_view vr, std::string_view list) {
    for (std::size_t at = 0; at < list.size(); at += 2) {
        if (list.compare(at, 2, vr) == 0) return true;
    }
    return false;
}

}  // namespace

bool HasLongLength(std::string_view vr) { return is_among(vr, "OBODOFOLOVOWSQSVUCUNURUTUV"); }

std::size_t NumberSize(std::string_view vr) {
    if (is_among(vr, "ATOWSSUS")) return 2;
    if (is_among(vr, "FLOFOLSLUL")) return 4;
    return is_among(vr, "FDODOVSVUV") ? 8 : 1;
}

std::uint32_t DicomParser::Number(std::size_t position, std::size_t size) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t at = m_Encoding.bigEndian ? position + i : position + size - 1 - i;
        value = (value << 8) | static_cast<unsigned char>(m_Bytes[at]);
    }
    return value;
}

std::uint32_t DicomParser::Tag(std::size_t position, std::size_t end) const {
    need(position, 8, end);
    return (Number(position, 2) << 16) | Number(position + 2, 2);
}

DicomParser::Element DicomParser::Read(std::size_t position, std::size_t end, int depth) const {
    Element element;
    element.tag = Tag(position, end);
    element.start = position;
    std::uint32_t length = 0;
    if (m_Encoding.explicitVr) {
        element.vr = m_Bytes.substr(position + 4, 2);
        const auto isCapital = [](char sign) { return sign >= 'A' && sign <= 'Z'; };
        if (!std::all_of(element.vr.begin(), element.vr.end(), isCapital))
            throw DamagedData("an attribute has no value representation");
        const bool isLong = HasLongLength(element.vr);
        if (isLong) need(position, 12, end);
        element.value = position + (isLong ? 12 : 8);
        length = isLong ? Number(position + 8, 4) : Number(position + 6, 2);
    } else {
        element.value = position + 8;
        length = Number(position + 4, 4);
    }
    if (length != kUndefinedLength) {
        need(element.value, length, end);
        element.valueEnd = element.next = element.value + length;
    } else {
        element.valueEnd = ForItems(element).end_of_items(element.value, end, depth + 1);
        element.next = element.valueEnd + 8;
    }
    return element;
}

DicomParser::Item DicomParser::ReadItem(std::size_t position, std::size_t end, int depth) const {
    if (Tag(position, end) != tag::kItem) throw DamagedData("a sequence is damaged");
    Item item;
    item.content = position + 8;
    const std::uint32_t length = Number(position + 4, 4);
    if (length != kUndefinedLength) {
        need(item.content, length, end);
        item.contentEnd = item.next = item.content + length;
        return item;
    }
    if (depth > kMaxDepth) throw DamagedData("its sequences are nested too deep");
    item.contentEnd = item.content;
    while (Tag(item.contentEnd, end) != tag::kItemDelimitation)
        item.contentEnd = Read(item.contentEnd, end, depth).next;
    item.next = item.contentEnd + 8;
    return item;
}

void DicomParser::need(std::size_t position, std::size_t size, std::size_t end) {
    if (position > end || size > end - position) throw CutShortData("the DICOM data are cut short");
}

/// Where the delimiter of a sequence, or of encapsulated pixel data, begins.
std::size_t DicomParser::end_of_items(std::size_t position, std::size_t end, int depth) const {
    while (Tag(position, end) != tag::kSequenceDelimitation) position = ReadItem(position, end, depth).next;
    return position;
}

DicomFileMeta ReadFileMeta(std::string_view bytes) {
    if (bytes.size() < kFileMetaStart || bytes.compare(kFileMetaStart - 4, 4, "DICM") != 0)
        throw DamagedData("it has no file meta information");
    const DicomParser parser(bytes, DicomEncoding());
    DicomFileMeta meta;
    std::size_t lengthEnd = 0;
    meta.dataSet = kFileMetaStart;
    while (meta.dataSet < bytes.size() && parser.Tag(meta.dataSet, bytes.size()) >> 16 == kMetaGroup) {
        const DicomParser::Element element = parser.Read(meta.dataSet, bytes.size());
        const std::string_view value = parser.Value(element);
        if (element.tag == tag::kMetaGroupLength && value.size() == 4)
            lengthEnd = element.next + parser.Number(element.value, 4);
        if (element.tag == tag::kTransferSyntax) meta.transferSyntax = Trimmed(std::string(value));
        if (element.tag == tag::kMediaStorageSopClass) meta.storageClass = Trimmed(std::string(value));
        meta.dataSet = element.next;
    }
    meta.hasTrueLength = lengthEnd == meta.dataSet;
    return meta;
}
