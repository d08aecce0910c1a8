#include "dicom_editor.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <stdexcept>
#include <string_view>

#include "dicom_tags.h"
#include "present_error.h"

namespace {

/// Stands for the file meta information, which is no sequence.
const DicomEditor::Place kMeta{{tag::kMetaGroupLength, 0}};
constexpr unsigned kMetaGroup = 0x0002;
constexpr unsigned kPixelGroup = 0x7FE0;

constexpr std::size_t kMetaStart = 132;
constexpr std::uint32_t kUndefined = 0xFFFFFFFF;
constexpr std::uint32_t kRest = 0xFFFFFFFF;
constexpr int kMaxDepth = 64;
constexpr std::size_t kMaxInflatedBytes = std::size_t{1} << 30;

struct Damaged : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Representations whose length takes four bytes behind two that are reserved (PS3.5 7.1.2).
bool has_long_length(std::string_view vr) {
    for (const char* name : {"OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"}) {
        if (vr == name) return true;
    }
    return false;
}

/// Bytes per number, which a big-endian file turns round.
std::size_t number_size(std::string_view vr) {
    for (const char* name : {"AT", "OW", "SS", "US"}) {
        if (vr == name) return 2;
    }
    for (const char* name : {"FL", "OF", "OL", "SL", "UL"}) {
        if (vr == name) return 4;
    }
    for (const char* name : {"FD", "OD", "OV", "SV", "UV"}) {
        if (vr == name) return 8;
    }
    return 1;
}

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
    if (bytes.size() >= kUndefined) throw Damaged("a value is too long");
    return static_cast<std::uint32_t>(bytes.size());
}

std::string inflated(std::string_view bytes) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
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
    inflateEnd(&stream);
    if (status != Z_STREAM_END) throw Damaged("the DICOM data are cut short");
    return result;
}

std::string deflated(const std::string& bytes) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    std::string result(deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    if (result.size() % 2 != 0) result += '\0';
    return result;
}

}  // namespace

/// Finds elements in bytes of one encoding. Everything it answers lies within the bytes.
class DicomEditor::Parser {
public:
    struct Element {
        std::uint32_t tag = 0;
        std::string_view vr;
        std::size_t start = 0;
        std::size_t value = 0;
        std::size_t valueEnd = 0;
        /// Behind the value and its delimiter, if it has one.
        std::size_t next = 0;
    };

    Parser(const std::string& bytes, Encoding encoding) : m_Bytes(bytes), m_Encoding(encoding) {}

    const Encoding& GetEncoding() const { return m_Encoding; }
    /// For the items of an element: what claims to be unknown is implicit little-endian (PS3.5 6.2.2).
    Parser ForItems(const Element& element) const {
        return element.vr == "UN" ? Parser(m_Bytes, Encoding{false, false}) : *this;
    }

    std::uint32_t Number(std::size_t position, std::size_t size) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t at = m_Encoding.bigEndian ? position + i : position + size - 1 - i;
            value = (value << 8) | static_cast<unsigned char>(m_Bytes[at]);
        }
        return value;
    }

    std::uint32_t Tag(std::size_t position, std::size_t end) const {
        need(position, 8, end);
        return (Number(position, 2) << 16) | Number(position + 2, 2);
    }

    Element Read(std::size_t position, std::size_t end, int depth = 0) const {
        Element element;
        element.tag = Tag(position, end);
        element.start = position;
        std::uint32_t length = 0;
        if (m_Encoding.explicitVr) {
            element.vr = std::string_view(m_Bytes).substr(position + 4, 2);
            const auto isCapital = [](char sign) { return sign >= 'A' && sign <= 'Z'; };
            if (!std::all_of(element.vr.begin(), element.vr.end(), isCapital))
                throw Damaged("an attribute has no value representation");
            const bool isLong = has_long_length(element.vr);
            if (isLong) need(position, 12, end);
            element.value = position + (isLong ? 12 : 8);
            length = isLong ? Number(position + 8, 4) : Number(position + 6, 2);
        } else {
            element.value = position + 8;
            length = Number(position + 4, 4);
        }
        if (length != kUndefined) {
            need(element.value, length, end);
            element.valueEnd = element.next = element.value + length;
        } else {
            element.valueEnd = ForItems(element).end_of_items(element.value, end, depth + 1);
            element.next = element.valueEnd + 8;
        }
        return element;
    }

    /// As Read. Some writers fill the last block of a file up behind the pixel data: that is one element of
    /// tag kRest.
    Element ReadOrRest(std::size_t position, std::size_t end) {
        try {
            const Element element = Read(position, end);
            m_bHasPixels = m_bHasPixels || element.tag >> 16 == kPixelGroup;
            return element;
        } catch (const Damaged&) {
            if (!m_bHasPixels) throw;
            return Element{kRest, {}, position, position, end, end};
        }
    }

    /// The item at a position: start and end of its content, and what follows it.
    struct Item {
        std::size_t content = 0;
        std::size_t contentEnd = 0;
        std::size_t next = 0;
    };
    Item ReadItem(std::size_t position, std::size_t end, int depth = 0) const {
        if (Tag(position, end) != tag::kItem) throw Damaged("a sequence is damaged");
        Item item;
        item.content = position + 8;
        const std::uint32_t length = Number(position + 4, 4);
        if (length != kUndefined) {
            need(item.content, length, end);
            item.contentEnd = item.next = item.content + length;
            return item;
        }
        if (depth > kMaxDepth) throw Damaged("its sequences are nested too deep");
        item.contentEnd = item.content;
        while (Tag(item.contentEnd, end) != tag::kItemDelimitation)
            item.contentEnd = Read(item.contentEnd, end, depth).next;
        item.next = item.contentEnd + 8;
        return item;
    }

private:
    static void need(std::size_t position, std::size_t size, std::size_t end) {
        if (position > end || size > end - position) throw Damaged("the DICOM data are cut short");
    }

    /// Where the delimiter of a sequence, or of encapsulated pixel data, begins.
    std::size_t end_of_items(std::size_t position, std::size_t end, int depth) const {
        while (Tag(position, end) != tag::kSequenceDelimitation)
            position = ReadItem(position, end, depth).next;
        return position;
    }

    const std::string& m_Bytes;
    Encoding m_Encoding;
    bool m_bHasPixels = false;
};

namespace {

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
        if (value.size() % 2 != 0) value += isText && number_size(element.vr) == 1 ? ' ' : '\0';
        const std::size_t size = encoding.bigEndian ? number_size(element.vr) : 1;
        for (std::size_t i = 0; size > 1 && i + size <= value.size(); i += size)
            std::reverse(value.begin() + static_cast<std::ptrdiff_t>(i),
                         value.begin() + static_cast<std::ptrdiff_t>(i + size));
    }
    std::string bytes;
    append_tag(bytes, tag, encoding.bigEndian);
    if (encoding.explicitVr) {
        const std::string vr = element.vr.size() == 2 ? element.vr : "UN";
        const bool isLong = has_long_length(vr);
        if (!isLong && value.size() > 0xFFFF) throw Damaged("a value is too long");
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
    } catch (const Damaged& damaged) {
        throw PresentError(path, std::string("cannot be edited: ") + damaged.what());
    }
    // Tells a length that any change makes wrong.
    Remove(tag::kLengthToEnd);
}

void DicomEditor::read_meta() {
    if (m_Bytes.size() < kMetaStart || m_Bytes.compare(kMetaStart - 4, 4, "DICM") != 0)
        throw Damaged("it has no file meta information");
    const Parser parser(m_Bytes, Encoding());
    std::string syntax;
    m_DataSet = kMetaStart;
    while (m_DataSet < m_Bytes.size() && parser.Tag(m_DataSet, m_Bytes.size()) >> 16 == kMetaGroup) {
        const Parser::Element element = parser.Read(m_DataSet, m_Bytes.size());
        if (element.tag == tag::kTransferSyntax)
            syntax = Trimmed(m_Bytes.substr(element.value, element.valueEnd - element.value));
        m_DataSet = element.next;
    }
    m_Encoding.explicitVr = syntax != "1.2.840.10008.1.2";
    m_Encoding.bigEndian = syntax == "1.2.840.10008.1.2.2";
    m_bDeflated = syntax == "1.2.840.10008.1.2.1.99";
    if (m_bDeflated)
        m_Bytes.replace(m_DataSet, std::string::npos, inflated(std::string_view(m_Bytes).substr(m_DataSet)));
}

void DicomEditor::find_top_level() {
    Parser parser(m_Bytes, m_Encoding);
    for (std::size_t position = m_DataSet; position < m_Bytes.size();) {
        const Parser::Element element = parser.ReadOrRest(position, m_Bytes.size());
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

std::string DicomEditor::edit_sequence(const Parser& parser, std::size_t start, std::size_t end,
                                       const Place& place) const {
    const Parser::Element element = parser.Read(start, end);
    const Parser items = parser.ForItems(element);
    const bool bigEndian = items.GetEncoding().bigEndian;
    Place inner = place;
    inner.emplace_back(element.tag, 0);
    std::string content;
    for (std::size_t position = element.value; position < element.valueEnd; ++inner.back().second) {
        const Parser::Item item = items.ReadItem(position, element.valueEnd);
        position = item.next;
        if (!has_changes_within(inner)) {
            content.append(m_Bytes, item.content - 8, item.next - item.content + 8);
            continue;
        }
        const std::string edited = edit(items, item.content, item.contentEnd, inner);
        const bool isDefined = item.next == item.contentEnd;
        append_tag(content, tag::kItem, bigEndian);
        append_number(content, isDefined ? length_of(edited) : kUndefined, 4, bigEndian);
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

std::string DicomEditor::edit(const Parser& parser, std::size_t begin, std::size_t end,
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
    Parser elements(parser);
    for (std::size_t position = begin; position < end;) {
        const Parser::Element element = elements.ReadOrRest(position, end);
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
        const Parser::Element old = parser.Read(piece.start, end);
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
    std::string dataSet = edit(Parser(m_Bytes, m_Encoding), m_DataSet, m_Bytes.size(), {});
    if (m_bDeflated) dataSet = deflated(dataSet);
    return m_Bytes.substr(0, kMetaStart) + edit(Parser(m_Bytes, Encoding()), kMetaStart, m_DataSet, kMeta) +
           dataSet;
} catch (const Damaged& damaged) {
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
