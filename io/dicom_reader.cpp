#include "dicom_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "dicom_library.h"
#include "dicom_tags.h"
#include "isolated.h"
#include "pixel_conversion.h"
#include "pixel_decoder.h"
#include "present_error.h"
#include "refusal.h"

namespace {

constexpr int kMaxFrames = 1000000;
constexpr std::uint64_t kReadingBytes = std::uint64_t{256} << 20;
constexpr unsigned kSecondsLimit = 60;

// ---- Header

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

/// An image that is open for decoding.
struct Image {
    DicomHead head;
    PixelHeader header;

    StoredFrame Decode(int index, bool partial) const {
        return DecodePixels(head.pixels, head.transferSyntax, header, index, partial);
    }
};

Image open_image(const std::string& path, bool partial) {
    Image image;
    image.head = LoadDicomLibrary().ReadHead(path, partial);
    image.header = read_header(image.head.dataSet);
    AllowMemory(4 * kMaxFrameBytes);
    return image;
}

std::string read_data_set(const std::string& path) {
    ByteWriter answer;
    answer.Bytes("");
    answer.DataSet(LoadDicomLibrary().ReadDataSet(path));
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
    ByteWriter answer;
    answer.Bytes("");
    answer.Bytes(image.head.transferSyntax);
    answer.DataSet(image.head.dataSet);
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
        padding = ReadPadding(image.head.dataSet, image.header.frame.isSigned);
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
                // Loading it takes memory that is not the file's.
                LoadDicomLibrary();
                AllowMemory(memory);
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
