#include "dicom_editor.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string_view>

#include "dicom_tags.h"
#include "present_error.h"

namespace {

/// Stands for the file meta information, which is no sequence.
const DicomEditor::Place kMeta{{tag::kMetaGroupLength, 0}};
constexpr unsigned kPixelGroup = 0x7FE0;

/// The tag of what fills a file up behind its pixel data.
constexpr std::uint32_t kRest = 0xFFFFFFFF;
constexpr std::size_t kMaxInflatedBytes = std::size_t{1} << 30;

void append_number(std::string& bytes, std::uint32_t value, unsigned size, bool bigEndian) {
    for (unsigned i = 0; i < size; ++i) {
        const unsigned shift = 8 * (bigEndian ? size - 1 - i : i);
        bytes += static_cast<char>((value >> shift) & 0xFF);
    }
}

void append_tag(std::string& bytes, std::uint32_t tag, bool bigEndian) {
    append_number(bytes, tag >> 16, 2, bigEndian);
    append_number(bytes, tag & 0xFFFF, 2, bigEndian);
}

std::uint32_t length_of(const std::string& bytes) {
    if (bytes.size() >= kUndefinedLength) throw DamagedData("a value is too long");
    return static_cast<std::uint32_t>(bytes.size());
}

std::string inflated(std::string_view bytes) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_streamp)> owner(&stream, inflateEnd);
    std::string result;
    std::string block(65536, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    int status = Z_OK;
    while (status == Z_OK && result.size() <= kMaxInflatedBytes) {
        stream.next_out = reinterpret_cast<Bytef*>(block.data());
        stream.avail_out = static_cast<uInt>(block.size());
        status = inflate(&stream, Z_NO_FLUSH);
        result.append(block, 0, block.size() - stream.avail_out);
    }
    if (status != Z_STREAM_END) throw DamagedData("the DICOM data are cut short");
    return result;
}

std::string deflated(const std::string& bytes) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_streamp)> owner(&stream, deflateEnd);
    std::string result(deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    if (result.size() % 2 != 0) result += '\0';
    return result;
}

/// Reads the elements of a data set one after the other.
class ElementList {
public:
    explicit ElementList(const DicomParser& parser) : m_Parser(parser) {}

    /// Some writers fill the last block of a file up behind the pixel data: that is one element of tag kRest.
    DicomParser::Element ReadOrRest(std::size_t position, std::size_t end) {
        try {
            const DicomParser::Element element = m_Parser.Read(position, end);
            m_bHasPixels = m_bHasPixels || element.tag >> 16 == kPixelGroup;
            return element;
        } catch (const DamagedData&) {
            if (!m_bHasPixels) throw;
            return DicomParser::Element{kRest, {}, position, position, end, end};
        }
    }

private:
    DicomParser m_Parser;
    bool m_bHasPixels = false;
};

std::string encode(std::uint32_t tag, const DicomElement& element, const DicomEditor::Encoding& encoding) {
    std::string value;
    if (element.IsSequence()) {
        for (const DicomDataSet& item : element.items) {
            const std::string content = EncodeDataSet(item, encoding);
            append_tag(value, tag::kItem, encoding.bigEndian);
            append_number(value, length_of(content), 4, encoding.bigEndian);
            value += content;
        }
    } else {
        value = element.bytes;
        const bool isText = element.vr != "UI" && element.vr != "OB" && element.vr != "UN";
        if (value.size() % 2 != 0) value += isText && NumberSize(element.vr) == 1 ? ' ' : '\0';
        const std::size_t size = encoding.bigEndian ? NumberSize(element.vr) : 1;
        for (std::size_t i = 0; size > 1 && i + size <= value.size(); i += size)
            std::reverse(value.begin() + static_cast<std::ptrdiff_t>(i),
                         value.begin() + static_cast<std::ptrdiff_t>(i + size));
    }
    std::string bytes;
    append_tag(bytes, tag, encoding.bigEndian);
    if (encoding.explicitVr) {
        const std::string vr = element.vr.size() == 2 ? element.vr : "UN";
        const bool isLong = HasLongLength(vr);
        if (!isLong && value.size() > 0xFFFF) throw DamagedData("a value is too long");
        bytes += vr;
        if (isLong) bytes.append(2, '\0');
        append_number(bytes, length_of(value), isLong ? 4 : 2, encoding.bigEndian);
    } else {
        append_number(bytes, length_of(value), 4, encoding.bigEndian);
    }
    return bytes + value;
}

}  // namespace

std::string EncodeDataSet(const DicomDataSet& set, const DicomEditor::Encoding& encoding) {
    std::string bytes;
    for (const auto& [tag, element] : set.elements) bytes += encode(tag, element, encoding);
    return bytes;
}

DicomEditor::DicomEditor(const std::string& path) : m_Path(path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) throw PresentError(path, std::strerror(errno));
    m_Bytes.resize(static_cast<std::size_t>(std::max<std::streamoff>(file.tellg(), 0)));
    file.seekg(0);
    file.read(m_Bytes.data(), static_cast<std::streamsize>(m_Bytes.size()));
    if (!file) throw PresentError(path, "cannot be read");
    try {
        read_meta();
        find_top_level();
    } catch (const DamagedData& damaged) {
        throw PresentError(path, std::string("cannot be edited: ") + damaged.what());
    }
    // Tells a length that any change makes wrong.
    Remove(tag::kLengthToEnd);
}

void DicomEditor::read_meta() {
    const DicomFileMeta meta = ReadFileMeta(m_Bytes);
    m_DataSet = meta.dataSet;
    m_Encoding.explicitVr = meta.transferSyntax != "1.2.840.10008.1.2";
    m_Encoding.bigEndian = meta.transferSyntax == "1.2.840.10008.1.2.2";
    m_bDeflated = meta.transferSyntax == "1.2.840.10008.1.2.1.99";
    if (m_bDeflated)
        m_Bytes.replace(m_DataSet, std::string::npos, inflated(std::string_view(m_Bytes).substr(m_DataSet)));
}

void DicomEditor::find_top_level() {
    ElementList elements(DicomParser(m_Bytes, m_Encoding));
    for (std::size_t position = m_DataSet; position < m_Bytes.size();) {
        const DicomParser::Element element = elements.ReadOrRest(position, m_Bytes.size());
        m_TopLevel.try_emplace(element.tag, element.value, element.valueEnd);
        position = element.next;
    }
}

std::optional<std::string> DicomEditor::Value(std::uint32_t tag) const {
    const auto found = m_TopLevel.find(tag);
    if (found == m_TopLevel.end()) return std::nullopt;
    return m_Bytes.substr(found->second.first, found->second.second - found->second.first);
}

void DicomEditor::Put(std::uint32_t tag, DicomElement element, const Place& place) {
    m_Changes[place][tag] = std::move(element);
}

void DicomEditor::Remove(std::uint32_t tag, const Place& place) { m_Changes[place][tag] = std::nullopt; }

void DicomEditor::PutInstance(const std::string& uid) {
    Put(tag::kSopInstance, DicomElement{"UI", uid, {}});
    Put(tag::kMediaStorageSopInstance, DicomElement{"UI", uid, {}}, kMeta);
}

unsigned DicomEditor::PrivateBlock(unsigned group, const std::string& creator) {
    constexpr unsigned kFirst = 0x10, kLast = 0xFF;
    std::set<unsigned> taken;
    for (auto it = m_TopLevel.lower_bound(DicomTag(group, 0));
         it != m_TopLevel.end() && it->first >> 16 == group; ++it) {
        const unsigned element = it->first & 0xFFFF;
        if (element >= kFirst && element <= kLast && Trimmed(*Value(it->first)) == creator) return element;
        taken.insert(element <= kLast ? element : element >> 8);
    }
    for (unsigned block = kFirst; block <= kLast; ++block) {
        if (taken.count(block) != 0) continue;
        Put(DicomTag(group, block), DicomElement{"LO", creator, {}});
        return block;
    }
    throw PresentError(m_Path, "has no room for another private block");
}

bool DicomEditor::has_changes_within(const Place& place, const std::optional<std::uint32_t>& sequence) const {
    return std::any_of(m_Changes.begin(), m_Changes.end(), [&](const auto& entry) {
        const Place& changed = entry.first;
        if (changed.size() < place.size() || !std::equal(place.begin(), place.end(), changed.begin()))
            return false;
        return !sequence || (changed.size() > place.size() && changed[place.size()].first == *sequence);
    });
}

std::string DicomEditor::edit_sequence(const DicomParser& parser, std::size_t start, std::size_t end,
                                       const Place& place) const {
    const DicomParser::Element element = parser.Read(start, end);
    const DicomParser items = parser.ForItems(element);
    const bool bigEndian = items.GetEncoding().bigEndian;
    Place inner = place;
    inner.emplace_back(element.tag, 0);
    std::string content;
    for (std::size_t position = element.value; position < element.valueEnd; ++inner.back().second) {
        const DicomParser::Item item = items.ReadItem(position, element.valueEnd);
        position = item.next;
        if (!has_changes_within(inner)) {
            content.append(m_Bytes, item.content - 8, item.next - item.content + 8);
            continue;
        }
        const std::string edited = edit(items, item.content, item.contentEnd, inner);
        const bool isDefined = item.next == item.contentEnd;
        append_tag(content, tag::kItem, bigEndian);
        append_number(content, isDefined ? length_of(edited) : kUndefinedLength, 4, bigEndian);
        content += edited;
        content.append(m_Bytes, item.contentEnd, item.next - item.contentEnd);
    }
    std::string result = m_Bytes.substr(start, element.value - start);
    if (element.next == element.valueEnd) {
        result.resize(result.size() - 4);
        append_number(result, length_of(content), 4, parser.GetEncoding().bigEndian);
    }
    return result + content + m_Bytes.substr(element.valueEnd, element.next - element.valueEnd);
}

std::string DicomEditor::edit(const DicomParser& parser, std::size_t begin, std::size_t end,
                              const Place& place) const {
    /// A stretch of the file, or bytes in its place.
    struct Piece {
        std::uint32_t tag;
        std::size_t start, size;
        std::string made;

        std::size_t Size() const { return size + made.size(); }
    };
    const auto found = m_Changes.find(place);
    const Changes changes = found == m_Changes.end() ? Changes() : found->second;
    const Encoding& encoding = parser.GetEncoding();
    std::vector<Piece> pieces;
    std::set<std::uint32_t> replaced;
    ElementList elements(parser);
    for (std::size_t position = begin; position < end;) {
        const DicomParser::Element element = elements.ReadOrRest(position, end);
        const auto change = changes.find(element.tag);
        if (change != changes.end()) {
            if (change->second && replaced.insert(element.tag).second)
                pieces.push_back({element.tag, 0, 0, encode(element.tag, *change->second, encoding)});
        } else if (has_changes_within(place, element.tag)) {
            pieces.push_back({element.tag, 0, 0, edit_sequence(parser, position, end, place)});
        } else {
            pieces.push_back({element.tag, position, element.next - position, {}});
        }
        position = element.next;
    }
    for (const auto& [tag, change] : changes) {
        if (!change || replaced.count(tag) != 0) continue;
        const auto behind = std::find_if(pieces.begin(), pieces.end(),
                                         [tag = tag](const Piece& piece) { return piece.tag > tag; });
        pieces.insert(behind, {tag, 0, 0, encode(tag, *change, encoding)});
    }

    // The length of a group, where a file still tells it.
    for (Piece& piece : pieces) {
        if ((piece.tag & 0xFFFF) != 0 || piece.tag == 0) continue;
        std::uint32_t length = 0;
        for (const Piece& other : pieces) {
            if (other.tag >> 16 == piece.tag >> 16 && other.tag != piece.tag)
                length += static_cast<std::uint32_t>(other.Size());
        }
        const DicomParser::Element old = parser.Read(piece.start, end);
        if (old.valueEnd - old.value == 4 && parser.Number(old.value, 4) == length) continue;
        std::string value;
        append_number(value, length, 4, false);
        piece.size = 0;
        piece.made = encode(piece.tag, DicomElement{"UL", value, {}}, encoding);
    }

    std::size_t size = 0;
    for (const Piece& piece : pieces) size += piece.Size();
    std::string result;
    result.reserve(size);
    for (const Piece& piece : pieces) {
        result.append(m_Bytes, piece.start, piece.size);
        result += piece.made;
    }
    return result;
}

std::string DicomEditor::Encode() const try {
    std::string dataSet = edit(DicomParser(m_Bytes, m_Encoding), m_DataSet, m_Bytes.size(), {});
    if (m_bDeflated) dataSet = deflated(dataSet);
    return m_Bytes.substr(0, kFileMetaStart) +
           edit(DicomParser(m_Bytes, Encoding()), kFileMetaStart, m_DataSet, kMeta) + dataSet;
} catch (const DamagedData& damaged) {
    throw PresentError(m_Path, std::string("cannot be edited: ") + damaged.what());
}

std::string MakeUid() {
    // 128 random bits as a decimal number, by dividing by ten again and again.
    std::random_device random;
    std::uint32_t words[4];
    for (std::uint32_t& word : words) word = static_cast<std::uint32_t>(random());
    std::string digits;
    for (int i = 0; i < 39; ++i) {
        std::uint64_t rest = 0;
        for (std::uint32_t& word : words) {
            const std::uint64_t part = (rest << 32) | word;
            word = static_cast<std::uint32_t>(part / 10);
            rest = part % 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return "2.25." + digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1));
}
