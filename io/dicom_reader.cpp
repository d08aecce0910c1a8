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

#include "dicom_tags.h"
#include "isolated.h"
#include "pixel_decoder.h"
#include "present_error.h"

namespace {

constexpr int kMaxSequenceDepth = 16;
constexpr int kMaxFrames = 1000000;
constexpr std::uint64_t kReadingBytes = std::uint64_t{256} << 20;
constexpr std::uint64_t kMaxInflatedBytes = std::uint64_t{1} << 30;
constexpr unsigned kSecondsLimit = 60;

// ---- Data set

/// `isSigned` is the image's PixelRepresentation, which settles the attributes that are either US or SS.
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
        const gdcm::Tag tag = element.GetTag();
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
    const gdcm::Tag tag(0x0028, 0x0103);
    const gdcm::ByteValue* value =
        source.FindDataElement(tag) ? source.GetDataElement(tag).GetByteValue() : nullptr;
    return value != nullptr && value->GetLength() >= 2 && (value->GetPointer()[0] & 1) != 0;
}

// ---- Header

/// A padding value that the stored bits cannot hold is meant for the whole allocated sample.
void widen_for_padding(const DicomDataSet& dataSet, StoredFrame* frame) {
    const bool isMono = frame->samples == 1 && frame->photometric != "PALETTE COLOR";
    if (!isMono || frame->bitsAllocated > 16 || !dataSet.Has(tag::kPixelPaddingValue)) return;
    const int word = dataSet.Word(tag::kPixelPaddingValue, 0);
    const int padding = frame->isSigned ? static_cast<std::int16_t>(word) : word;
    const int half = 1 << (frame->bitsStored - 1);
    const bool fits = frame->isSigned ? padding >= -half && padding < half : padding < 2 * half;
    if (fits) return;
    frame->bitsStored = frame->bitsAllocated;
    frame->highBit = frame->bitsAllocated - 1;
}

/// Takes nothing on trust that a decoder or an allocation depends on.
PixelHeader read_header(const DicomDataSet& dataSet, const gdcm::DataSet& source) {
    if (!source.FindDataElement(gdcm::Tag(0x7FE0, 0x0010))) {
        if (source.FindDataElement(gdcm::Tag(0x7FE0, 0x0008)) ||
            source.FindDataElement(gdcm::Tag(0x7FE0, 0x0009))) {
            throw Refusal("holds floating-point pixels, which cannot be presented");
        }
        const std::string sopClass = dataSet.Text(tag::kSopClass);
        if (dataSet.elements.empty()) throw Refusal("not a DICOM file");
        throw Refusal("holds no image: no pixel data" +
                      (sopClass.empty() ? "" : " (SOP class " + sopClass + ")"));
    }
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

// ---- The whole file

/// A file that notices when a value ends before its length: the reader fills up pixel data that are cut short
/// without a word.
class WatchedFile : public std::filebuf {
public:
    bool IsCutShort() const { return m_bCutShort; }

protected:
    std::streamsize xsgetn(char* bytes, std::streamsize count) override {
        const std::streamsize got = std::filebuf::xsgetn(bytes, count);
        // Tags and lengths take up to four bytes; looking for another one at the end of a file is as it
        // should be.
        if (got < count && count > 4) m_bCutShort = true;
        return got;
    }

private:
    bool m_bCutShort = false;
};

/// Whether the deflated data set that follows the file meta information comes to its end within bounds.
bool inflates(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    // The group length is the first element of the meta information: 8 bytes of header, then the length.
    unsigned char length[4] = {};
    file.seekg(140);
    file.read(reinterpret_cast<char*>(length), 4);
    const std::streamoff meta =
        length[0] | (length[1] << 8) | (length[2] << 16) | (std::streamoff{length[3]} << 24);
    file.seekg(144 + meta);
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

/// True for a file that says of itself that it is a DICOM file; others may be one all the same.
bool read_source(const std::string& path, gdcm::Reader& reader) {
    gdcm::Trace::WarningOff();
    gdcm::Trace::ErrorOff();
    gdcm::Trace::DebugOff();
    WatchedFile file;
    file.open(path, std::ios::in | std::ios::binary);
    std::istream stream(&file);
    char magic[132] = {};
    stream.read(magic, sizeof magic);
    const bool isDicom = stream.gcount() == sizeof magic && std::memcmp(magic + 128, "DICM", 4) == 0;
    if (stream.gcount() < static_cast<std::streamsize>(sizeof magic)) throw Refusal("not a DICOM file");
    stream.seekg(0);

    reader.SetStream(stream);
    bool isRead = false;
    try {
        isRead = reader.Read();
    } catch (...) {
        isRead = false;
    }
    if (!isRead) throw Refusal(isDicom ? "the DICOM data are damaged or cut short" : "not a DICOM file");

    const bool isDeflated = reader.GetFile().GetHeader().GetDataSetTransferSyntax() ==
                            gdcm::TransferSyntax::DeflatedExplicitVRLittleEndian;
    if (isDeflated ? !inflates(path) : file.IsCutShort()) throw Refusal("the DICOM data are cut short");
    return isDicom;
}

std::string read_data_set(const std::string& path) {
    gdcm::Reader reader;
    if (!read_source(path, reader)) throw Refusal("not a DICOM file");
    const gdcm::DataSet& source = reader.GetFile().GetDataSet();
    ByteWriter answer;
    answer.Bytes("");
    answer.DataSet(convert(source, has_signed_pixels(source)));
    return answer.Take();
}

std::string read_file(const std::string& path, int index) {
    gdcm::Reader reader;
    const bool isDicom = read_source(path, reader);
    const gdcm::DataSet& source = reader.GetFile().GetDataSet();
    const gdcm::TransferSyntax syntax = reader.GetFile().GetHeader().GetDataSetTransferSyntax();
    DicomFileContent content;
    content.dataSet = convert(source, has_signed_pixels(source));
    if (!isDicom && !content.dataSet.Has(tag::kRows)) throw Refusal("not a DICOM file");
    PixelHeader header = read_header(content.dataSet, source);
    content.frames = header.frames;
    if (index < 0 || index >= header.frames) {
        throw Refusal("has no frame " + std::to_string(index) + ": its frames are 0 to " +
                      std::to_string(header.frames - 1));
    }

    AllowMemory(4 * kMaxFrameBytes);
    const gdcm::DataElement& pixels = source.GetDataElement(gdcm::Tag(0x7FE0, 0x0010));
    const StoredFrame frame = DecodePixels(pixels, syntax, header, index);

    ByteWriter answer;
    answer.Bytes("");
    answer.Bytes(syntax.GetString() == nullptr ? "" : syntax.GetString());
    answer.DataSet(content.dataSet);
    for (int number :
         {header.frames, frame.rows, frame.columns, frame.samples, frame.sampleBytes, frame.bitsAllocated,
          frame.bitsStored, frame.highBit, static_cast<int>(frame.isSigned)}) {
        answer.Number(static_cast<std::uint64_t>(number));
    }
    answer.Bytes(frame.photometric);
    answer.Bytes(frame.data);
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
    frame.photometric = answer.Bytes();
    frame.data = answer.Bytes();
    const bool sane = frame.rows > 0 && frame.rows <= 65535 && frame.columns > 0 && frame.columns <= 65535 &&
                      (frame.samples == 1 || frame.samples == 3) &&
                      (frame.sampleBytes == 1 || frame.sampleBytes == 2 || frame.sampleBytes == 4) &&
                      frame.bitsStored >= 1 && frame.highBit >= frame.bitsStored - 1 &&
                      frame.highBit < 8 * frame.sampleBytes && frame.bitsAllocated <= 32;
    if (!sane ||
        frame.data.size() != frame.Pixels() * static_cast<std::size_t>(frame.samples * frame.sampleBytes)) {
        throw Refusal("the pixel data cannot be decoded");
    }
    return content;
}

/// Has a file read in a process of its own, and what that answers taken apart here. Throws PresentError.
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

DicomFileContent ReadDicomFile(const std::string& path, int frame) {
    return read_isolated(
        path, [frame](const std::string& file) { return read_file(file, frame); }, parse_answer);
}

DicomDataSet ReadDicomDataSet(const std::string& path) {
    return read_isolated(path, read_data_set, [](ByteReader& answer) { return answer.DataSet(); });
}
