#include "library_reader.h"

#include <gdcmDicts.h>
#include <gdcmGlobal.h>
#include <gdcmReader.h>
#include <gdcmSequenceOfFragments.h>
#include <gdcmSequenceOfItems.h>
#include <gdcmTrace.h>
#include <zlib.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

#include "io/dicom_tags.h"
#include "io/refusal.h"

namespace {

constexpr int kMaxSequenceDepth = 16;
constexpr std::uint64_t kItemHeader = 8;
constexpr std::uint64_t kMaxInflatedBytes = std::uint64_t{1} << 30;
/// More than the file meta information takes.
constexpr std::streamsize kMetaBytes = 65536;
const gdcm::Tag kPixelTag(tag::kPixelData);

// ---- Data set

/// `isSigned` is the image's PixelRepresentation, which decides between US and SS.
std::string value_representation(const gdcm::DataElement& element, bool isSigned) {
    gdcm::VR vr = element.GetVR();
    if ((vr == gdcm::VR::INVALID || vr == gdcm::VR::UN) && element.GetTag().IsPublic()) {
        vr = gdcm::Global::GetInstance().GetDicts().GetPublicDict().GetDictEntry(element.GetTag()).GetVR();
    }
    if (vr == gdcm::VR::US_SS) return isSigned ? "SS" : "US";
    if (vr == gdcm::VR::US_SS_OW || vr == gdcm::VR::US_OW || vr == gdcm::VR::OB_OW) return "OW";
    const char* name = vr == gdcm::VR::INVALID ? nullptr : gdcm::VR::GetVRString(vr);
    return name == nullptr || std::strlen(name) != 2 ? "UN" : name;
}

DicomDataSet convert(const gdcm::DataSet& source, bool isSigned, int depth = 0) {
    DicomDataSet dataSet;
    for (const gdcm::DataElement& element : source.GetDES()) {
        const gdcm::Tag& tag = element.GetTag();
        if (tag.GetGroup() == 0x7FE0 || tag.IsGroupLength() || element.GetSequenceOfFragments() != nullptr)
            continue;
        DicomElement converted;
        converted.vr = value_representation(element, isSigned);
        // An element without a value has no value object either.
        if (!element.IsEmpty() &&
            dynamic_cast<const gdcm::SequenceOfItems*>(&element.GetValue()) != nullptr) {
            converted.vr = "SQ";
        }
        if (converted.vr == "SQ") {
            if (depth == kMaxSequenceDepth) continue;
            const gdcm::SmartPointer<gdcm::SequenceOfItems> items = element.GetValueAsSQ();
            for (std::size_t i = 1; items != nullptr && i <= items->GetNumberOfItems(); ++i) {
                converted.items.push_back(convert(items->GetItem(i).GetNestedDataSet(), isSigned, depth + 1));
            }
        } else if (const gdcm::ByteValue* bytes = element.GetByteValue()) {
            converted.bytes.assign(bytes->GetPointer(), bytes->GetLength());
        }
        dataSet.elements[DicomTag(tag.GetGroup(), tag.GetElement())] = std::move(converted);
    }
    return dataSet;
}

bool has_signed_pixels(const gdcm::DataSet& source) {
    const gdcm::Tag tag(tag::kPixelRepresentation);
    const gdcm::ByteValue* value =
        source.FindDataElement(tag) ? source.GetDataElement(tag).GetByteValue() : nullptr;
    return value != nullptr && value->GetLength() >= 2 && (value->GetPointer()[0] & 1) != 0;
}

// ---- Transfer syntaxes that cannot be read

/// UIDs that continue kStandard with `arc`, a number from `first` to `last` and perhaps one more.
struct UnreadableSyntax {
    std::string_view arc;
    int first;
    int last;
    const char* name;
    bool isCompression = true;
};

constexpr std::string_view kStandard = "1.2.840.10008.1.2.";
constexpr std::size_t kLongestUid = 64;
constexpr UnreadableSyntax kUnreadable[] = {
    {"1.", 98, 98, "Encapsulated Uncompressed Explicit VR Little Endian", false},
    {"4.", 52, 56, "a retired JPEG process"},
    {"4.", 58, 66, "a retired JPEG process"},
    {"4.", 94, 95, "JPIP references to pixels elsewhere", false},
    {"4.", 100, 101, "MPEG-2"},
    {"4.", 102, 106, "MPEG-4 AVC/H.264"},
    {"4.", 107, 108, "HEVC/H.265"},
    {"4.", 110, 112, "JPEG XL"},
    {"4.", 201, 203, "High-Throughput JPEG 2000"},
    {"4.", 204, 205, "JPIP references to pixels elsewhere", false},
    {"6.", 1, 1, "RFC 2557 MIME encapsulation", false},
    {"6.", 2, 2, "XML encoding", false},
    {"7.", 1, 3, "SMPTE ST 2110 streaming", false},
    {"8.", 1, 1, "Deflated Image Frame Compression"},
};

std::string why_unreadable(const std::string& transferSyntax) {
    const std::string_view uid = transferSyntax;
    for (const UnreadableSyntax& row : kUnreadable) {
        const std::size_t at = kStandard.size() + row.arc.size();
        if (uid.size() <= at || uid.substr(0, kStandard.size()) != kStandard ||
            uid.substr(kStandard.size(), row.arc.size()) != row.arc) {
            continue;
        }
        int number = 0;
        const char* last = uid.data() + uid.size();
        const char* end = std::from_chars(uid.data() + at, last, number).ptr;
        if (number < row.first || number > row.last || (end != last && *end != '.')) continue;
        return std::string(row.isCompression ? "is compressed with " : "contains ") + row.name + " (" +
               transferSyntax + "), which cannot be read";
    }
    const bool isKnown = uid.empty() || gdcm::TransferSyntax::GetTSType(transferSyntax.c_str()) !=
                                            gdcm::TransferSyntax::TS_END;
    return isKnown ? "" : "has an unknown transfer syntax (" + transferSyntax.substr(0, kLongestUid) + ")";
}

// ---- The file

/// A file that notices when a value ends before its length: the library fills up pixel data that are cut
/// short and does not report it.
class WatchedFile : public std::filebuf {
public:
    bool IsCutShort() const { return m_bCutShort; }

protected:
    std::streamsize xsgetn(char* bytes, std::streamsize count) override {
        const std::streamsize got = std::filebuf::xsgetn(bytes, count);
        // Tags and lengths take up to four bytes; looking for another one at the end of a file is
        // normal.
        if (got < count && count > 4) m_bCutShort = true;
        return got;
    }

private:
    bool m_bCutShort = false;
};

void silence_library() {
    gdcm::Trace::WarningOff();
    gdcm::Trace::ErrorOff();
    gdcm::Trace::DebugOff();
}

/// The beginning of a file, read without the library, which refuses files of syntaxes that it does not know.
struct FileBeginning {
    bool isDicom = false;
    /// Empty without file meta information.
    std::string transferSyntax;
    /// Where the data set begins, if the meta information gives its length.
    std::uint64_t dataSet = 0;
};

FileBeginning read_beginning(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(static_cast<std::size_t>(kMetaBytes), '\0');
    file.read(&bytes[0], kMetaBytes);
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    if (bytes.size() < 132) throw Refusal("not a DICOM file");
    const auto number = [&](std::size_t at, std::size_t size) {
        std::size_t value = 0;
        for (std::size_t b = size; b-- > 0;) value = (value << 8) | static_cast<unsigned char>(bytes[at + b]);
        return value;
    };
    FileBeginning beginning;
    beginning.isDicom = bytes.compare(128, 4, "DICM") == 0;
    if (!beginning.isDicom) return beginning;
    // Group 2 is explicit and little-endian in every file.
    for (std::size_t at = 132; at + 12 <= bytes.size() && number(at, 2) == 2;) {
        const std::string vr = bytes.substr(at + 4, 2);
        const bool isLong = vr == "OB" || vr == "UN" || vr == "OW" || vr == "UT" || vr == "SQ";
        const std::size_t value = at + (isLong ? 12 : 8);
        const std::size_t size = isLong ? number(at + 8, 4) : number(at + 6, 2);
        if (size > bytes.size() - value) break;
        const std::size_t element = number(at + 2, 2);
        if (element == 0 && size == 4) beginning.dataSet = value + 4 + number(value, 4);
        if (element == 0x10) beginning.transferSyntax = Trimmed(bytes.substr(value, size));
        at = value + size;
    }
    return beginning;
}

/// Whether the deflated data set that begins at `at` comes to its end within bounds.
bool inflates(const std::string& path, std::uint64_t at) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(at));
    std::vector<unsigned char> in(65536), out(65536);
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return false;
    int result = Z_OK;
    std::uint64_t total = 0;
    while (result == Z_OK && total <= kMaxInflatedBytes) {
        if (stream.avail_in == 0) {
            file.read(reinterpret_cast<char*>(in.data()), static_cast<std::streamsize>(in.size()));
            stream.next_in = in.data();
            stream.avail_in = static_cast<unsigned>(file.gcount());
        }
        stream.next_out = out.data();
        stream.avail_out = static_cast<unsigned>(out.size());
        result = inflate(&stream, Z_NO_FLUSH);
        total += out.size() - stream.avail_out;
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

/// The data set, and the pixel data if they are not part of it.
struct Source {
    FileBeginning beginning;
    std::shared_ptr<gdcm::Reader> reader;
    std::optional<PixelSource> pixels;

    const gdcm::DataSet& DataSet() const { return reader->GetFile().GetDataSet(); }
    gdcm::TransferSyntax Syntax() const { return reader->GetFile().GetHeader().GetDataSetTransferSyntax(); }
};

/// Everything before the pixel data's value, and where that is. False where the file's structure asks for
/// reading all of it.
bool read_head(const std::string& path, Source* source) {
    WatchedFile file;
    file.open(path, std::ios::in | std::ios::binary);
    std::istream stream(&file);
    source->reader = std::make_shared<gdcm::Reader>();
    source->reader->SetStream(stream);
    try {
        if (!source->reader->ReadUpToTag(kPixelTag, {kPixelTag}) || file.IsCutShort()) return false;
    } catch (...) {
        return false;
    }
    const std::streamoff at = stream.tellg();
    if (at < 0 || source->Syntax() == gdcm::TransferSyntax::DeflatedExplicitVRLittleEndian ||
        source->Syntax() == gdcm::TransferSyntax::ExplicitVRBigEndian) {
        return false;
    }
    source->pixels = FindPixels(std::make_shared<const FileBytes>(path), static_cast<std::uint64_t>(at));
    return source->pixels.has_value();
}

void read_whole(const std::string& path, Source* source) {
    WatchedFile file;
    file.open(path, std::ios::in | std::ios::binary);
    std::istream stream(&file);
    source->pixels.reset();
    source->reader = std::make_shared<gdcm::Reader>();
    source->reader->SetStream(stream);
    bool isRead = false;
    try {
        isRead = source->reader->Read();
    } catch (...) {
        isRead = false;
    }
    const FileBeginning& beginning = source->beginning;
    if (!isRead) {
        const std::string reason = why_unreadable(beginning.transferSyntax);
        if (!reason.empty()) throw Refusal(reason);
        throw Refusal(beginning.isDicom ? "the DICOM data are damaged or cut short" : "not a DICOM file");
    }
    const bool isDeflated = source->Syntax() == gdcm::TransferSyntax::DeflatedExplicitVRLittleEndian;
    if (isDeflated ? !inflates(path, beginning.dataSet) : file.IsCutShort())
        throw Refusal("the DICOM data are cut short");
}

/// The attribute that holds the pixels.
std::uint32_t require_pixels(const DicomDataSet& dataSet, const gdcm::DataSet& source) {
    for (const std::uint32_t tag : {tag::kPixelData, tag::kFloatPixelData, tag::kDoubleFloatPixelData}) {
        if (source.FindDataElement(gdcm::Tag(tag))) return tag;
    }
    if (dataSet.elements.empty()) throw Refusal("not a DICOM file");
    const std::string sopClass = dataSet.Text(tag::kSopClass);
    throw Refusal(kNoImage + std::string(": no pixel data") +
                  (sopClass.empty() ? "" : " (SOP class " + sopClass + ")"));
}

PixelSource pixels_in_memory(std::shared_ptr<const gdcm::Reader> reader, std::uint32_t tag) {
    PixelSource source;
    source.realBytes = RealBytesOf(tag).value_or(0);
    const gdcm::DataElement& element = reader->GetFile().GetDataSet().GetDataElement(gdcm::Tag(tag));
    const gdcm::SequenceOfFragments* fragments = element.GetSequenceOfFragments();
    std::vector<const gdcm::ByteValue*> values;
    if (fragments == nullptr) {
        values.push_back(element.GetByteValue());
    } else {
        source.isEncapsulated = true;
        for (std::size_t i = 0; i < fragments->GetNumberOfFragments(); ++i)
            values.push_back(fragments->GetFragment(i).GetByteValue());
        if (const gdcm::ByteValue* table = fragments->GetTable().GetByteValue())
            source.frameOffsets = OffsetsOf(std::string(table->GetPointer(), table->GetLength()), 4);
    }
    std::uint64_t offset = 0;
    for (const gdcm::ByteValue* value : values) {
        const std::uint64_t size = value == nullptr ? 0 : std::uint32_t{value->GetLength()};
        source.extents.push_back({offset, size});
        offset += size + kItemHeader;
    }
    if (fragments == nullptr) source.claimed = source.extents.front().size;
    source.read = [reader, values, extents = source.extents](Extent wanted) {
        for (std::size_t i = 0; i < extents.size(); ++i) {
            const std::uint64_t skip = wanted.offset - extents[i].offset;
            if (wanted.offset < extents[i].offset || skip >= extents[i].size) continue;
            const std::uint64_t size = std::min(wanted.size, extents[i].size - skip);
            return std::string(values[i]->GetPointer() + skip, static_cast<std::size_t>(size));
        }
        return std::string();
    };
    return source;
}

}  // namespace

DicomHead ReadHeadByLibrary(const std::string& path, bool partial) {
    silence_library();
    Source source;
    source.beginning = read_beginning(path);
    const std::string reason = why_unreadable(source.beginning.transferSyntax);
    if (!reason.empty()) throw Refusal(reason);
    const bool isHeadEnough = read_head(path, &source) && (partial || !source.pixels->isCutShort);
    if (!isHeadEnough) read_whole(path, &source);
    const gdcm::DataSet& dataSet = source.DataSet();
    DicomHead head;
    head.dataSet = convert(dataSet, has_signed_pixels(dataSet));
    if (!source.beginning.isDicom && !head.dataSet.Has(tag::kRows)) throw Refusal("not a DICOM file");
    if (isHeadEnough) {
        head.pixels = std::move(*source.pixels);
    } else {
        head.pixels = pixels_in_memory(source.reader, require_pixels(head.dataSet, dataSet));
    }
    const char* syntax = source.Syntax().GetString();
    head.transferSyntax = syntax == nullptr ? "" : syntax;

    const gdcm::Tag tableTag(tag::kExtendedOffsetTable);
    const gdcm::ByteValue* table =
        dataSet.FindDataElement(tableTag) ? dataSet.GetDataElement(tableTag).GetByteValue() : nullptr;
    if (table != nullptr)
        head.pixels.frameOffsets = OffsetsOf(std::string(table->GetPointer(), table->GetLength()), 8);
    return head;
}

DicomDataSet ReadDataSetByLibrary(const std::string& path) {
    silence_library();
    Source source;
    source.beginning = read_beginning(path);
    read_whole(path, &source);
    if (!source.beginning.isDicom) throw Refusal("not a DICOM file");
    return convert(source.DataSet(), has_signed_pixels(source.DataSet()));
}
