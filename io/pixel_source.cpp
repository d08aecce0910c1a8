#include "pixel_source.h"

#include <algorithm>

#include "dicom_parser.h"
#include "dicom_tags.h"

namespace {

constexpr std::uint64_t kItemHeader = 8;

std::uint64_t number_at(const std::string& bytes, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t b = size; b-- > 0;) value = (value << 8) | static_cast<unsigned char>(bytes[at + b]);
    return value;
}

std::uint32_t tag_at(const std::string& bytes, std::size_t at) {
    return DicomTag(static_cast<unsigned>(number_at(bytes, at, 2)),
                    static_cast<unsigned>(number_at(bytes, at + 2, 2)));
}

/// Lists the items from `at` to the sequence delimitation; the first one is the Basic Offset Table (PS3.5
/// A.4).
bool find_fragments(const FileBytes& file, std::uint64_t at, PixelSource* source) {
    for (bool isTable = true;; isTable = false) {
        const std::string header = file.Read({at, kItemHeader});
        if (header.size() < kItemHeader) {
            source->isCutShort = true;
            return !isTable;
        }
        const std::uint32_t tag = tag_at(header, 0);
        if (tag == tag::kSequenceDelimitation) return !isTable;
        if (tag != tag::kItem) return false;
        Extent item{at + kItemHeader, number_at(header, 4, 4)};
        const std::uint64_t left = file.Size() - item.offset;
        if (isTable) {
            if (item.size > left) return false;
            source->frameOffsets = OffsetsOf(file.Read(item), 4);
        } else {
            source->isCutShort = item.size > left;
            item.size = std::min(item.size, left);
            source->extents.push_back(item);
            if (source->isCutShort) return true;
        }
        at = item.offset + item.size;
    }
}

}  // namespace

std::vector<std::uint64_t> OffsetsOf(const std::string& table, std::size_t size) {
    std::vector<std::uint64_t> offsets;
    for (std::size_t at = 0; at + size <= table.size(); at += size)
        offsets.push_back(number_at(table, at, size));
    return offsets;
}

std::optional<int> RealBytesOf(std::uint32_t tag) {
    if (tag == tag::kPixelData) return 0;
    if (tag == tag::kFloatPixelData) return 4;
    if (tag == tag::kDoubleFloatPixelData) return 8;
    return std::nullopt;
}

std::optional<PixelSource> FindPixels(const std::shared_ptr<const FileBytes>& file, std::uint64_t value) {
    if (value < 12 || value > file->Size()) return std::nullopt;
    // An explicit header is tag, VR, two zeros and length; an implicit one tag and length.
    const std::string header = file->Read({value - 12, 12});
    const bool isExplicit = RealBytesOf(tag_at(header, 0)) && number_at(header, 6, 2) == 0;
    const std::optional<int> realBytes = RealBytesOf(tag_at(header, isExplicit ? 0 : 4));
    if (!realBytes) return std::nullopt;

    PixelSource source;
    source.realBytes = *realBytes;
    source.read = [file](Extent extent) { return file->Read(extent); };
    const std::uint64_t length = number_at(header, 8, 4), left = file->Size() - value;
    source.isEncapsulated = length == kUndefinedLength;
    if (source.isEncapsulated) {
        if (source.realBytes != 0) return std::nullopt;
        if (!find_fragments(*file, value, &source)) return std::nullopt;
    } else {
        source.claimed = length;
        source.isCutShort = length > left;
        source.extents = {{value, std::min(length, left)}};
    }
    return source;
}
