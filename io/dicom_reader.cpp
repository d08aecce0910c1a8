#include "dicom_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <tuple>

#include "dicom_library.h"
#include "dicom_tags.h"
#include "isolated.h"
#include "pixel_conversion.h"
#include "pixel_decoder.h"
#include "plain_reader.h"
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
PixelHeader read_header(const DicomDataSet& dataSet, int realBytes) {
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
    frame.bitsAllocated = dataSet.Word(tag::kBitsAllocated, 8 * realBytes);
    frame.isReal = realBytes != 0;
    if (frame.isReal && (frame.samples != 1 || frame.bitsAllocated != 8 * realBytes)) {
        throw Refusal("has floating-point pixels of " + std::to_string(frame.bitsAllocated) + " bits and " +
                      CountOf(static_cast<unsigned>(frame.samples), "sample"));
    }
    const int allocated[] = {1, 8, 12, 16, 24, 32};
    if (!frame.isReal &&
        std::find(std::begin(allocated), std::end(allocated), frame.bitsAllocated) == std::end(allocated)) {
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

constexpr const char* kDamaged = "the DICOM data are damaged or cut short";

/// One state of one file.
struct FileKey {
    std::string path;
    struct stat status {};
    bool partial = false;

    std::uint64_t Size() const { return static_cast<std::uint64_t>(status.st_size); }
    bool operator==(const FileKey& other) const {
        const auto state = [](const FileKey& key) {
            return std::make_tuple(key.status.st_dev, key.status.st_ino, key.status.st_size,
                                   key.status.st_mtim.tv_sec, key.status.st_mtim.tv_nsec,
                                   key.status.st_ctim.tv_sec, key.status.st_ctim.tv_nsec, key.partial);
        };
        return path == other.path && state(*this) == state(other);
    }
    /// A file that was just written may be written again without a change of its times.
    bool IsSettled() const {
        constexpr std::time_t kGranularity = 2;
        return status.st_mtim.tv_sec + kGranularity < std::time(nullptr);
    }
};

/// Throws PresentError for what is not a file or cannot be opened.
FileKey require_file(const std::string& path, bool partial) {
    FileKey key{path, {}, partial};
    if (stat(path.c_str(), &key.status) != 0) throw PresentError(path, std::strerror(errno));
    if (!S_ISREG(key.status.st_mode)) throw PresentError(path, "not a file");
    if (access(path.c_str(), R_OK) != 0) throw PresentError(path, std::strerror(errno));
    return key;
}

/// An image that is open for decoding, by any number of threads.
struct Image {
    DicomHead head;
    PixelHeader header;

    /// Reading the image is up to this project's own code, which checks what it reads.
    bool IsSafe() const { return !NeedsLibrary(head.pixels, head.transferSyntax); }
    StoredFrame Decode(int index, bool partial) const {
        return DecodePixels(head.pixels, head.transferSyntax, header, index, partial);
    }
};
using ImagePtr = std::shared_ptr<const Image>;

/// The image that was opened last: frames of one file are often asked for one by one. Nobody waits for the
/// lock, which a child process may have inherited closed.
class LastImage {
public:
    ImagePtr Get(const FileKey& key) {
        const std::unique_lock<std::mutex> lock(m_Mutex, std::try_to_lock);
        return lock && m_Image != nullptr && m_Key == key ? m_Image : nullptr;
    }
    void Put(const FileKey& key, ImagePtr image) {
        const std::unique_lock<std::mutex> lock(m_Mutex, std::try_to_lock);
        if (!lock || !key.IsSettled()) return;
        m_Key = key;
        m_Image = std::move(image);
        m_Range.reset();
    }
    /// The range of all its frames, once it is known.
    std::optional<ValueRange> Range(const Image& image) {
        const std::unique_lock<std::mutex> lock(m_Mutex, std::try_to_lock);
        return lock && m_Image.get() == &image ? m_Range : std::nullopt;
    }
    void PutRange(const Image& image, const ValueRange& range) {
        const std::unique_lock<std::mutex> lock(m_Mutex, std::try_to_lock);
        if (lock && m_Image.get() == &image) m_Range = range;
    }

private:
    std::mutex m_Mutex;
    FileKey m_Key;
    ImagePtr m_Image;
    std::optional<ValueRange> m_Range;
};

/// Never freed: it may hold what belongs to the library.
LastImage& g_LastImage = *new LastImage;

ImagePtr keep_image(const FileKey& key, DicomHead head) {
    const auto image = std::make_shared<Image>();
    image->head = std::move(head);
    image->header = read_header(image->head.dataSet, image->head.pixels.realBytes);
    g_LastImage.Put(key, image);
    return image;
}

/// Null where the file needs the library.
ImagePtr open_plain(const FileKey& key) {
    if (ImagePtr image = g_LastImage.Get(key)) return image;
    std::optional<DicomHead> head = ReadPlainHead(key.path);
    if (!head || (head->pixels.isCutShort && !key.partial)) return nullptr;
    return keep_image(key, std::move(*head));
}

ImagePtr open_by_library(const FileKey& key) {
    return keep_image(key, LoadDicomLibrary().ReadHead(key.path, key.partial));
}

DicomFileContent read_frame(const Image& image, LoadOptions options) {
    const int frames = image.header.frames;
    if (options.frame < 0 || options.frame >= frames) {
        throw Refusal("has no frame " + std::to_string(options.frame) + ": its frames are 0 to " +
                      std::to_string(frames - 1));
    }
    DicomFileContent content;
    content.frame = image.Decode(options.frame, options.partial);
    content.dataSet = image.head.dataSet;
    content.transferSyntax = image.head.transferSyntax;
    content.frames = frames;
    return content;
}

ValueRange read_range(const Image& image, bool partial) {
    if (const std::optional<ValueRange> known = g_LastImage.Range(image)) return *known;
    std::optional<Padding> padding;
    if (image.header.frame.bitsAllocated <= 16)
        padding = ReadPadding(image.head.dataSet, image.header.frame.isSigned);
    ValueRange range;
    if (image.header.frame.isReal) return range;
    for (int index = 0; index < image.header.frames; ++index) {
        try {
            WidenBySamples(image.Decode(index, partial), padding, &range);
        } catch (const Refusal&) {
            // The frames before the cut are all that there is.
            if (!partial) throw;
            break;
        }
    }
    g_LastImage.PutRange(image, range);
    return range;
}

// ---- The process of its own

void write(ByteWriter& answer, const DicomFileContent& content) {
    const StoredFrame& frame = content.frame;
    answer.Bytes(content.transferSyntax);
    answer.DataSet(content.dataSet);
    for (int number : {content.frames, frame.rows, frame.columns, frame.samples, frame.sampleBytes,
                       frame.bitsAllocated, frame.bitsStored, frame.highBit, static_cast<int>(frame.isSigned),
                       static_cast<int>(frame.isReal)}) {
        answer.Number(static_cast<std::uint64_t>(number));
    }
    answer.Number(frame.present);
    answer.Bytes(frame.photometric);
    answer.Bytes(frame.data);
}

void parse(ByteReader& answer, DicomFileContent* content) {
    content->transferSyntax = answer.Bytes();
    content->dataSet = answer.DataSet();
    StoredFrame& frame = content->frame;
    for (int* number : {&content->frames, &frame.rows, &frame.columns, &frame.samples, &frame.sampleBytes,
                        &frame.bitsAllocated, &frame.bitsStored, &frame.highBit}) {
        *number = static_cast<int>(answer.Number());
    }
    frame.isSigned = answer.Number() != 0;
    frame.isReal = answer.Number() != 0;
    frame.present = answer.Number();
    frame.photometric = answer.Bytes();
    frame.data = answer.Bytes();
}

void write(ByteWriter& answer, const ValueRange& range) {
    answer.Number(range ? 1 : 0);
    answer.Number(static_cast<std::uint64_t>(range ? range->first : 0));
    answer.Number(static_cast<std::uint64_t>(range ? range->second : 0));
}

void parse(ByteReader& answer, ValueRange* range) {
    const bool isAny = answer.Number() != 0;
    const auto low = static_cast<std::int64_t>(answer.Number());
    const auto high = static_cast<std::int64_t>(answer.Number());
    if (isAny) *range = {low, high};
}

void write(ByteWriter& answer, const DicomDataSet& dataSet) { answer.DataSet(dataSet); }

void parse(ByteReader& answer, DicomDataSet* dataSet) { *dataSet = answer.DataSet(); }

/// Does the work right here. Throws PresentError, and bad_alloc where the memory that runs out is not that of
/// a child process.
template <typename Work>
auto read_here(const std::string& path, Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const Refusal& refusal) {
        throw PresentError(path, refusal.what());
    } catch (const std::bad_alloc&) {
        if (!IsIsolated()) throw;
    } catch (...) {
    }
    throw PresentError(path, kDamaged);
}

/// Does work that needs the library: in a process of its own, unless this is one. Throws PresentError.
template <typename Work>
auto read_by_library(const FileKey& key, Work work) -> decltype(work()) {
    if (IsIsolated()) return read_here(key.path, work);
    // The first file loads the library in its own process only. A program that reads more of them loads it
    // here, once for all that follow.
    static std::atomic<bool> isFirst = true;
    if (!isFirst.exchange(false)) read_here(key.path, [] { return &LoadDicomLibrary(); });
    // Lengths in a file are claims: nothing may take more than a small multiple of the file.
    const unsigned long long memory = kReadingBytes + 8 * key.Size();
    const IsolatedResult result = RunIsolated(
        [&] {
            ByteWriter answer;
            try {
                // Loading it takes memory that is not the file's.
                LoadDicomLibrary();
                AllowMemory(memory);
                const auto content = work();
                answer.Bytes("");
                write(answer, content);
            } catch (const Refusal& refusal) {
                answer.Bytes(refusal.what());
            }
            return answer.Take();
        },
        memory, kSecondsLimit);
    if (result.end == IsolatedResult::kOutOfTime)
        throw PresentError(key.path, "cannot be decoded in reasonable time");
    if (result.end == IsolatedResult::kDied) throw PresentError(key.path, kDamaged);
    try {
        ByteReader answer(result.answer);
        const std::string reason = answer.Bytes();
        if (!reason.empty()) throw Refusal(reason);
        decltype(work()) content;
        parse(answer, &content);
        return content;
    } catch (const std::runtime_error& error) {
        throw PresentError(key.path, error.what());
    }
}

/// Does work with the open image.
template <typename Work>
auto read_image(const std::string& path, bool partial, Work work) {
    const FileKey key = require_file(path, partial);
    const ImagePtr plain = read_here(path, [&] { return open_plain(key); });
    if (plain != nullptr && plain->IsSafe()) return read_here(path, [&] { return work(*plain); });
    return read_by_library(key, [&] {
        const ImagePtr image = plain != nullptr ? plain : open_by_library(key);
        AllowMemory(4 * kMaxFrameBytes);
        return work(*image);
    });
}

void require_sane(const std::string& path, const StoredFrame& frame) {
    const bool sane =
        frame.rows > 0 && frame.rows <= 65535 && frame.columns > 0 && frame.columns <= 65535 &&
        (frame.samples == 1 || frame.samples == 3) &&
        (frame.isReal ? frame.samples == 1 && (frame.sampleBytes == 4 || frame.sampleBytes == 8)
                      : frame.sampleBytes == 1 || frame.sampleBytes == 2 || frame.sampleBytes == 4) &&
        frame.bitsStored >= 1 && frame.highBit >= frame.bitsStored - 1 &&
        frame.highBit < 8 * frame.sampleBytes && frame.bitsAllocated <= (frame.isReal ? 64 : 32) &&
        frame.present >= 1 && frame.present <= frame.Pixels();
    if (!sane ||
        frame.data.size() != frame.Pixels() * static_cast<std::size_t>(frame.samples * frame.sampleBytes)) {
        throw PresentError(path, "the pixel data cannot be decoded");
    }
}

}  // namespace

DicomFileContent ReadDicomFile(const std::string& path, LoadOptions options) {
    DicomFileContent content = read_image(
        path, options.partial, [options](const Image& image) { return read_frame(image, options); });
    require_sane(path, content.frame);
    return content;
}

ValueRange ReadStoredRange(const std::string& path, bool partial) {
    return read_image(path, partial, [partial](const Image& image) { return read_range(image, partial); });
}

DicomDataSet ReadDicomDataSet(const std::string& path) {
    const FileKey key = require_file(path, false);
    std::optional<DicomDataSet> plain = read_here(path, [&] { return ReadPlainDataSet(path); });
    if (plain) return std::move(*plain);
    return read_by_library(key, [&] { return LoadDicomLibrary().ReadDataSet(path); });
}
