#include "plain_reader.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "dicom_dictionary.h"
#include "dicom_parser.h"
#include "dicom_tags.h"
#include "file_bytes.h"

namespace {

/// As deep as the library's data sets are taken over.
constexpr int kMaxSequenceDepth = 16;
constexpr std::uint64_t kFirstBytes = std::uint64_t{64} << 10;
constexpr std::uint64_t kMostBytes = std::uint64_t{64} << 20;

constexpr unsigned kPixelGroup = 0x7FE0;
constexpr std::string_view kImplicit = "1.2.840.10008.1.2";
/// Explicit little-endian data sets: uncompressed pixels, run lengths, JPEG, JPEG-LS and JPEG 2000.
constexpr std::string_view kExplicit[] = {
    "1.2.840.10008.1.2.1",    "1.2.840.10008.1.2.5",    "1.2.840.10008.1.2.4.50", "1.2.840.10008.1.2.4.51",
    "1.2.840.10008.1.2.4.57", "1.2.840.10008.1.2.4.70", "1.2.840.10008.1.2.4.80", "1.2.840.10008.1.2.4.81",
    "1.2.840.10008.1.2.4.90", "1.2.840.10008.1.2.4.91", "1.2.840.10008.1.2.4.92", "1.2.840.10008.1.2.4.93"};
constexpr std::string_view kRepresentations =
    "AE AS AT CS DA DS DT FD FL IS LO LT OB OD OF OL OV OW PN SH SL SQ SS ST SV TM UC UI UL UN UR US UT UV";
/// The library reads these private attributes of two vendors in ways of its own.
constexpr std::uint32_t kPeculiar[] = {DicomTag(0x00FF, 0x4AA5), DicomTag(0x01F7, 0x1070)};

/// What the DICOM library has to decide.
struct Unusual : DamagedData {
    Unusual() : DamagedData("unusual") {}
};

struct PlainHeader {
    DicomDataSet dataSet;
    std::string transferSyntax;
    /// Where the pixel data's value begins; 0 without one.
    std::uint64_t pixels = 0;
    std::string offsetTable;
};

class PlainParser {
public:
    PlainParser(std::string_view bytes, bool isExplicit)
        : m_Bytes(bytes), m_Parser(bytes, DicomEncoding{isExplicit, false}) {}

    /// Everything from `position` up to the pixel data or the end.
    void ReadAll(std::size_t position, PlainHeader* header) {
        std::vector<DicomParser::Element> elements;
        std::uint32_t last = 0;
        while (position < m_Bytes.size() && header->pixels == 0) {
            const std::uint32_t tag = m_Parser.Tag(position, m_Bytes.size());
            if (const std::optional<int> realBytes = RealBytesOf(tag)) {
                header->pixels = pixel_value(position, *realBytes);
                continue;
            }
            elements.push_back(read(position, m_Bytes.size(), &last));
            position = elements.back().next;
        }
        for (const DicomParser::Element& element : elements) {
            if (element.tag == tag::kPixelRepresentation && element.valueEnd - element.value >= 2)
                m_bSigned = (m_Parser.Number(element.value, 2) & 1) != 0;
            if (element.tag == tag::kExtendedOffsetTable) header->offsetTable = m_Parser.Value(element);
        }
        for (const DicomParser::Element& element : elements) take(element, 0, &header->dataSet);
    }

private:
    /// The element at a position, found sound.
    DicomParser::Element read(std::size_t position, std::size_t end, std::uint32_t* last) const {
        const DicomParser::Element element = m_Parser.Read(position, end);
        const unsigned group = element.tag >> 16;
        if (element.tag <= *last || group < 8 || group == 0xFFFE ||
            std::find(std::begin(kPeculiar), std::end(kPeculiar), element.tag) != std::end(kPeculiar)) {
            throw Unusual();
        }
        *last = element.tag;
        const std::size_t size = element.valueEnd - element.value;
        if (element.vr.empty()) {
            if (size % 2 != 0) throw Unusual();
            return element;
        }
        if (kRepresentations.find(element.vr) == std::string_view::npos ||
            (HasLongLength(element.vr) && m_Parser.Number(position + 6, 2) != 0) ||
            size % std::max<std::size_t>(2, NumberSize(element.vr)) != 0 ||
            (!element.HasDefinedLength() && element.vr != "SQ" && group != kPixelGroup)) {
            throw Unusual();
        }
        return element;
    }

    std::string representation(const DicomParser::Element& element) const {
        const bool isPublic = (element.tag >> 16) % 2 == 0;
        if (!element.vr.empty() && !(element.vr == "UN" && isPublic)) return std::string(element.vr);
        std::string vr = isPublic ? RepresentationOf(element.tag, m_bSigned) : "UN";
        // An unknown value may be a sequence of another encoding.
        if (!element.vr.empty() && vr == "SQ") throw Unusual();
        return element.HasDefinedLength() ? vr : "SQ";
    }

    void take(const DicomParser::Element& element, int depth, DicomDataSet* set) const {
        if (element.tag >> 16 == kPixelGroup || (element.tag & 0xFFFF) == 0) return;
        DicomElement taken;
        taken.vr = representation(element);
        if (!taken.IsSequence()) {
            taken.bytes = m_Parser.Value(element);
        } else if (depth == kMaxSequenceDepth) {
            return;
        } else {
            for (std::size_t position = element.value; position < element.valueEnd;) {
                const DicomParser::Item item = m_Parser.ReadItem(position, element.valueEnd);
                taken.items.push_back(read_item(item, depth + 1));
                position = item.next;
            }
        }
        set->elements.emplace_hint(set->elements.end(), element.tag, std::move(taken));
    }

    DicomDataSet read_item(const DicomParser::Item& item, int depth) const {
        DicomDataSet set;
        std::uint32_t last = 0;
        for (std::size_t position = item.content; position < item.contentEnd;) {
            const DicomParser::Element element = read(position, item.contentEnd, &last);
            take(element, depth, &set);
            position = element.next;
        }
        return set;
    }

    std::uint64_t pixel_value(std::size_t position, int realBytes) const {
        if (!m_Parser.GetEncoding().explicitVr) {
            if (m_Parser.Number(position + 4, 4) == kUndefinedLength) throw Unusual();
            return position + 8;
        }
        if (m_Bytes.size() - position < 12) throw CutShortData("");
        const std::string_view vr = m_Bytes.substr(position + 4, 2);
        const bool isGood = realBytes == 0 ? vr == "OB" || vr == "OW" : vr == (realBytes == 4 ? "OF" : "OD");
        if (!isGood || m_Parser.Number(position + 6, 2) != 0) throw Unusual();
        return position + 12;
    }

    std::string_view m_Bytes;
    DicomParser m_Parser;
    bool m_bSigned = false;
};

PlainHeader read_header(std::string_view bytes) {
    const DicomFileMeta meta = ReadFileMeta(bytes);
    const bool isExplicit =
        std::find(std::begin(kExplicit), std::end(kExplicit), meta.transferSyntax) != std::end(kExplicit);
    if (!meta.hasTrueLength || (!isExplicit && meta.transferSyntax != kImplicit)) throw Unusual();
    PlainHeader header;
    header.transferSyntax = meta.transferSyntax;
    PlainParser(bytes, isExplicit).ReadAll(meta.dataSet, &header);
    return header;
}

/// Reads as much of the file as its header needs.
std::optional<PlainHeader> read_header(const FileBytes& file) {
    for (std::uint64_t size = kFirstBytes; size <= kMostBytes; size *= 4) {
        const std::string bytes = file.Read({0, size});
        const bool isWhole = bytes.size() == file.Size();
        try {
            PlainHeader header = read_header(bytes);
            // Without pixel data, a header ends where the file does.
            if (header.pixels != 0 || isWhole) return header;
        } catch (const CutShortData&) {
            if (isWhole) return std::nullopt;
        } catch (const DamagedData&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<DicomHead> ReadPlainHead(const std::string& path) {
    const auto file = std::make_shared<const FileBytes>(path);
    std::optional<PlainHeader> header = read_header(*file);
    if (!header || header->pixels == 0) return std::nullopt;
    std::optional<PixelSource> pixels = FindPixels(file, header->pixels);
    if (!pixels) return std::nullopt;
    if (!header->offsetTable.empty()) pixels->frameOffsets = OffsetsOf(header->offsetTable, 8);
    return DicomHead{std::move(header->dataSet), std::move(header->transferSyntax), std::move(*pixels)};
}

std::optional<DicomDataSet> ReadPlainDataSet(const std::string& path) {
    std::optional<PlainHeader> header = read_header(FileBytes(path));
    if (!header || header->pixels != 0) return std::nullopt;
    return std::move(header->dataSet);
}
