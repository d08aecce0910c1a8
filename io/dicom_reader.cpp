#include "dicom_reader.h"

#include <gdcmDicts.h>
#include <gdcmGlobal.h>
#include <gdcmReader.h>
#include <gdcmSequenceOfItems.h>
#include <gdcmTrace.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

#include "dicom_tags.h"
#include "isolated.h"
#include "pixel_conversion.h"
#include "pixel_decoder.h"
#include "present_error.h"

namespace {

constexpr int kMaxSequenceDepth = 16;
constexpr int kMaxFrames = 1000000;
constexpr std::uint64_t kReadingBytes = std::uint64_t{256} << 20;
constexpr std::uint64_t kMaxInflatedBytes = std::uint64_t{1} << 30;
constexpr unsigned kSecondsLimit = 60;
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

// ---- Header

void require_pixels(const DicomDataSet& dataSet, const gdcm::DataSet& source) {
    if (source.FindDataElement(kPixelTag)) return;
    if (source.FindDataElement(gdcm::Tag(tag::kFloatPixelData)) ||
        source.FindDataElement(gdcm::Tag(tag::kDoubleFloatPixelData))) {
        throw Refusal("holds floating-point pixels, which cannot be presented");
    }
    if (dataSet.elements.empty()) throw Refusal("not a DICOM file");
    const std::string sopClass = dataSet.Text(tag::kSopClass);
    throw Refusal("holds no image: no pixel data" +
                  (sopClass.empty() ? "" : " (SOP class " + sopClass + ")"));
}

/// A padding value that the stored bits cannot hold is meant for the whole allocated sample.
void widen_for_padding(const DicomDataSet& dataSet, StoredFrame* frame) {
    const bool isMono = frame->samples == 1 && frame->photometric != "PALETTE COLOR";
    const std::optional<Padding> padding = ReadPadding(dataSet, frame->isSigned);
    if (!isMono || frame->bitsAllocated > 16 || !padding) return;
    const int half = 1 << (frame->bitsStored - 1);
    const bool fits =
        frame->isSigned ? padding->value >= -half && padding->value < half : padding->value < 2 * half;
    if (fits) return;
    frame->bitsStored = frame->bitsAllocated;
    frame->highBit = frame->bitsAllocated - 1;
}

/// Takes nothing on trust that a decoder or an allocation depends on.
PixelHeader read_header(const DicomDataSet& dataSet) {
    PixelHeader header;
    StoredFrame& frame = header.frame;
    frame.rows = dataSet.Word(tag::kRows, 0);
    frame.columns = dataSet.Word(tag::kColumns, 0);
    if (frame.rows == 0 || frame.columns == 0) {
        throw Refusal("has " + CountOf(static_cast<unsigned>(frame.rows), "row") + " and " +
                      CountOf(static_cast<unsigned>(frame.columns), "column"));
    }
    header.photometric = dataSet.Text(tag::kPhotometricInterpretation);
    frame.samples = dataSet.Word(tag::kSamplesPerPixel, header.photometric.rfind("RGB", 0) == 0 ? 3 : 1);
    if (frame.samples != 1 && frame.samples != 3) {
        throw Refusal("has " + std::to_string(frame.samples) + " samples per pixel; 1 or 3 can be presented");
    }
    frame.bitsAllocated = dataSet.Word(tag::kBitsAllocated, 0);
    const int allocated[] = {1, 8, 12, 16, 24, 32};
    if (std::find(std::begin(allocated), std::end(allocated), frame.bitsAllocated) == std::end(allocated)) {
        throw Refusal("has " + CountOf(static_cast<unsigned>(frame.bitsAllocated), "bit") +
                      " allocated per sample");
    }
    frame.bitsStored = dataSet.Word(tag::kBitsStored, frame.bitsAllocated);
    if (frame.bitsStored < 1 || frame.bitsStored > frame.bitsAllocated)
        frame.bitsStored = frame.bitsAllocated;
    frame.highBit = dataSet.Word(tag::kHighBit, frame.bitsStored - 1);
    if (frame.highBit < frame.bitsStored - 1 || frame.highBit >= frame.bitsAllocated) {
        frame.highBit = frame.bitsStored - 1;
    }
    frame.isSigned = dataSet.Word(tag::kPixelRepresentation, 0) != 0;
    header.planar = dataSet.Word(tag::kPlanarConfiguration, 0);
    const double frames = dataSet.Number(tag::kNumberOfFrames, 1);
    if (frames > kMaxFrames) throw Refusal("claims " + dataSet.Text(tag::kNumberOfFrames) + " frames");
    header.frames = frames < 1 ? 1 : static_cast<int>(frames);

    frame.photometric = header.photometric;
    if (frame.samples == 3) {
        frame.photometric = header.photometric.rfind("YBR", 0) == 0 ? "YBR_FULL" : "RGB";
    } else if (frame.photometric != "MONOCHROME1" && frame.photometric != "PALETTE COLOR") {
        frame.photometric = "MONOCHROME2";
    }
    widen_for_padding(dataSet, &frame);
    return header;
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
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return false;
    std::vector<unsigned char> in(65536), out(65536);
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
    std::unique_ptr<gdcm::Reader> reader;
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
    source->reader = std::make_unique<gdcm::Reader>();
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
    source->pixels = FindPixels(path, static_cast<std::uint64_t>(at));
    return source->pixels.has_value();
}

void read_whole(const std::string& path, Source* source) {
    WatchedFile file;
    file.open(path, std::ios::in | std::ios::binary);
    std::istream stream(&file);
    source->pixels.reset();
    source->reader = std::make_unique<gdcm::Reader>();
    source->reader->SetStream(stream);
    bool isRead = false;
    try {
        isRead = source->reader->Read();
    } catch (...) {
        isRead = false;
    }
    const FileBeginning& beginning = source->beginning;
    if (!isRead) {
        const std::string reason = WhyUnreadable(beginning.transferSyntax);
        if (!reason.empty()) throw Refusal(reason);
        throw Refusal(beginning.isDicom ? "the DICOM data are damaged or cut short" : "not a DICOM file");
    }
    const bool isDeflated = source->Syntax() == gdcm::TransferSyntax::DeflatedExplicitVRLittleEndian;
    if (isDeflated ? !inflates(path, beginning.dataSet) : file.IsCutShort())
        throw Refusal("the DICOM data are cut short");
}

/// An image that is open for decoding.
struct Image {
    Source source;
    DicomDataSet dataSet;
    PixelHeader header;

    StoredFrame Decode(int index, bool partial) const {
        return DecodePixels(*source.pixels, source.Syntax(), header, index, partial);
    }
};

Image open_image(const std::string& path, bool partial) {
    Image image;
    Source& source = image.source;
    silence_library();
    source.beginning = read_beginning(path);
    const std::string reason = WhyUnreadable(source.beginning.transferSyntax);
    if (!reason.empty()) throw Refusal(reason);
    const bool isHeadEnough = read_head(path, &source) && (partial || !source.pixels->isCutShort);
    if (!isHeadEnough) read_whole(path, &source);
    const gdcm::DataSet& dataSet = source.DataSet();
    image.dataSet = convert(dataSet, has_signed_pixels(dataSet));
    if (!source.beginning.isDicom && !image.dataSet.Has(tag::kRows)) throw Refusal("not a DICOM file");
    if (!isHeadEnough) {
        require_pixels(image.dataSet, dataSet);
        source.pixels = PixelsInMemory(dataSet.GetDataElement(kPixelTag));
    }
    image.header = read_header(image.dataSet);

    const gdcm::Tag tableTag(tag::kExtendedOffsetTable);
    const gdcm::ByteValue* table =
        dataSet.FindDataElement(tableTag) ? dataSet.GetDataElement(tableTag).GetByteValue() : nullptr;
    if (table != nullptr)
        source.pixels->frameOffsets = OffsetsOf(std::string(table->GetPointer(), table->GetLength()), 8);
    AllowMemory(4 * kMaxFrameBytes);
    return image;
}

std::string read_data_set(const std::string& path) {
    silence_library();
    Source source;
    source.beginning = read_beginning(path);
    read_whole(path, &source);
    if (!source.beginning.isDicom) throw Refusal("not a DICOM file");
    ByteWriter answer;
    answer.Bytes("");
    answer.DataSet(convert(source.DataSet(), has_signed_pixels(source.DataSet())));
    return answer.Take();
}

std::string read_file(const std::string& path, LoadOptions options) {
    const Image image = open_image(path, options.partial);
    const int frames = image.header.frames;
    if (options.frame < 0 || options.frame >= frames) {
        throw Refusal("has no frame " + std::to_string(options.frame) + ": its frames are 0 to " +
                      std::to_string(frames - 1));
    }
    const StoredFrame frame = image.Decode(options.frame, options.partial);
    const char* syntax = image.source.Syntax().GetString();
    ByteWriter answer;
    answer.Bytes("");
    answer.Bytes(syntax == nullptr ? "" : syntax);
    answer.DataSet(image.dataSet);
    for (int number :
         {frames, frame.rows, frame.columns, frame.samples, frame.sampleBytes, frame.bitsAllocated,
          frame.bitsStored, frame.highBit, static_cast<int>(frame.isSigned)}) {
        answer.Number(static_cast<std::uint64_t>(number));
    }
    answer.Number(frame.present);
    answer.Bytes(frame.photometric);
    answer.Bytes(frame.data);
    return answer.Take();
}

std::string read_range(const std::string& path, bool partial) {
    const Image image = open_image(path, partial);
    std::optional<Padding> padding;
    if (image.header.frame.bitsAllocated <= 16)
        padding = ReadPadding(image.dataSet, image.header.frame.isSigned);
    ValueRange range;
    for (int index = 0; index < image.header.frames; ++index) {
        StoredFrame frame;
        try {
            frame = image.Decode(index, partial);
        } catch (const Refusal&) {
            // The frames before the cut are all that there is.
            if (!partial) throw;
            break;
        }
        for (std::size_t i = 0; i < frame.present; ++i) {
            const std::int64_t value = SampleValue(frame, i);
            if (!padding || !padding->Has(value)) Widen(range, value);
        }
    }
    ByteWriter answer;
    answer.Bytes("");
    answer.Number(range ? 1 : 0);
    answer.Number(static_cast<std::uint64_t>(range ? range->first : 0));
    answer.Number(static_cast<std::uint64_t>(range ? range->second : 0));
    return answer.Take();
}

DicomFileContent parse_answer(ByteReader& answer) {
    DicomFileContent content;
    content.transferSyntax = answer.Bytes();
    content.dataSet = answer.DataSet();
    StoredFrame& frame = content.frame;
    for (int* number : {&content.frames, &frame.rows, &frame.columns, &frame.samples, &frame.sampleBytes,
                        &frame.bitsAllocated, &frame.bitsStored, &frame.highBit}) {
        *number = static_cast<int>(answer.Number());
    }
    frame.isSigned = answer.Number() != 0;
    frame.present = answer.Number();
    frame.photometric = answer.Bytes();
    frame.data = answer.Bytes();
    const bool sane = frame.rows > 0 && frame.rows <= 65535 && frame.columns > 0 && frame.columns <= 65535 &&
                      (frame.samples == 1 || frame.samples == 3) &&
                      (frame.sampleBytes == 1 || frame.sampleBytes == 2 || frame.sampleBytes == 4) &&
                      frame.bitsStored >= 1 && frame.highBit >= frame.bitsStored - 1 &&
                      frame.highBit < 8 * frame.sampleBytes && frame.bitsAllocated <= 32 &&
                      frame.present >= 1 && frame.present <= frame.Pixels();
    if (!sane ||
        frame.data.size() != frame.Pixels() * static_cast<std::size_t>(frame.samples * frame.sampleBytes)) {
        throw Refusal("the pixel data cannot be decoded");
    }
    return content;
}

/// Reads a file in a process of its own and parses the answer here. Throws PresentError.
template <typename Read, typename Parse>
auto read_isolated(const std::string& path, Read read, Parse parse) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw PresentError(path, std::strerror(errno));
    if (!S_ISREG(status.st_mode)) throw PresentError(path, "not a file");
    if (!std::ifstream(path, std::ios::binary)) throw PresentError(path, std::strerror(errno));

    const auto size = static_cast<unsigned long long>(status.st_size);
    // Lengths in a file are claims: nothing may take more than a small multiple of the file.
    const unsigned long long memory = kReadingBytes + 8 * size;
    const IsolatedResult result = RunIsolated(
        [&] {
            try {
                return read(path);
            } catch (const Refusal& refusal) {
                ByteWriter answer;
                answer.Bytes(refusal.what());
                return answer.Take();
            }
        },
        memory, kSecondsLimit);
    if (result.end == IsolatedResult::kOutOfTime)
        throw PresentError(path, "cannot be decoded in reasonable time");
    if (result.end == IsolatedResult::kDied)
        throw PresentError(path, "the DICOM data are damaged or cut short");
    try {
        ByteReader answer(result.answer);
        const std::string reason = answer.Bytes();
        if (!reason.empty()) throw Refusal(reason);
        return parse(answer);
    } catch (const std::runtime_error& error) {
        throw PresentError(path, error.what());
    }
}

}  // namespace

DicomFileContent ReadDicomFile(const std::string& path, LoadOptions options) {
    return read_isolated(
        path, [options](const std::string& file) { return read_file(file, options); }, parse_answer);
}

ValueRange ReadStoredRange(const std::string& path, bool partial) {
    return read_isolated(
        path, [partial](const std::string& file) { return read_range(file, partial); },
        [](ByteReader& answer) {
            const bool isAny = answer.Number() != 0;
            const auto low = static_cast<std::int64_t>(answer.Number());
            const auto high = static_cast<std::int64_t>(answer.Number());
            return isAny ? ValueRange({low, high}) : std::nullopt;
        });
}

DicomDataSet ReadDicomDataSet(const std::string& path) {
    return read_isolated(path, read_data_set, [](ByteReader& answer) { return answer.DataSet(); });
}
