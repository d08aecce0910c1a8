#include "pixel_decoder.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "codestream.h"
#include "dicom_library.h"
#include "refusal.h"

namespace {

// ---- Uncompressed pixels

/// `bits` bits from bit `at` on, the first in the lowest place (PS3.5 8.1.1).
std::uint32_t packed_bits(const std::string& bytes, std::uint64_t at, unsigned bits) {
    std::uint32_t value = 0;
    for (unsigned b = 0; b < bits; ++b, ++at) {
        const auto byte = static_cast<unsigned char>(bytes[static_cast<std::size_t>(at >> 3)]);
        value |= ((byte >> (at & 7)) & 1U) << b;
    }
    return value;
}

int bytes_for(int bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

std::uint64_t samples_of(const StoredFrame& frame) {
    return frame.Pixels() * static_cast<std::uint64_t>(frame.samples);
}

void read_native(const PixelSource& source, const PixelHeader& header, int index, bool partial,
                 StoredFrame* frame) {
    const std::uint64_t pixels = frame->Pixels(), count = samples_of(*frame);
    const auto bits = static_cast<unsigned>(frame->bitsAllocated);
    const auto frames = static_cast<std::uint64_t>(header.frames);
    // Two luminances share their colour differences, unless the writer stored all three in full after all.
    const bool isHalved = frame->samples == 3 && header.photometric.find("_422") != std::string::npos &&
                          bits == 8 && source.claimed < count * frames;
    const bool isPlanar = !isHalved && frame->samples == 3 && header.planar == 1;
    const std::uint64_t frameSamples = isHalved ? (pixels + 1) / 2 * 4 : count;
    const std::uint64_t needed = (frameSamples * bits * frames + 7) / 8;
    const Extent value = source.extents.front();
    if (value.size < needed && !partial) {
        throw Refusal("pixel data are cut short: " + std::to_string(value.size) + " bytes of " +
                      std::to_string(needed));
    }
    frame->sampleBytes = frame->isReal ? frame->bitsAllocated / 8 : bytes_for(frame->bitsAllocated);
    if (count * static_cast<unsigned>(frame->sampleBytes) > kMaxFrameBytes && value.size < needed)
        throw Refusal("one frame takes more than 1 GiB");

    // A frame of single bits need not begin at a byte.
    const std::uint64_t firstBit = frameSamples * bits * static_cast<unsigned>(index);
    const std::uint64_t begin = std::min(firstBit / 8, value.size);
    const std::uint64_t end = std::min((firstBit + frameSamples * bits + 7) / 8, value.size);
    std::string bytes = source.read({value.offset + begin, end - begin});
    const unsigned skipped = static_cast<unsigned>(firstBit % 8);
    const std::uint64_t have =
        bytes.empty() ? 0 : std::min(frameSamples, (bytes.size() * 8 - skipped) / bits);
    frame->present = have == frameSamples ? pixels
                     : isHalved           ? have / 4 * 2
                     : isPlanar           ? have - std::min(have, 2 * pixels)
                                          : have / static_cast<unsigned>(frame->samples);
    bytes.resize((skipped + frameSamples * bits + 7) / 8);

    if (!isHalved && !isPlanar && (frame->isReal || bits == 8 || bits == 16 || bits == 32)) {
        frame->data = std::move(bytes);
        return;
    }
    frame->data.resize(count * static_cast<unsigned>(frame->sampleBytes));
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t stored = i;
        if (isPlanar) stored = i % 3 * pixels + i / 3;
        if (isHalved) stored = i / 6 * 4 + (i % 3 == 0 ? i / 3 % 2 : 1 + i % 3);
        frame->PutBits(i, packed_bits(bytes, skipped + stored * bits, bits));
    }
}

// ---- Compressed pixels

/// Indexes of the fragments that begin at the offsets of the file's table, up to the first offset behind them
/// all. Nothing where an offset leads between them.
std::vector<std::size_t> begins_by_offset(const PixelSource& source) {
    std::vector<std::size_t> begins;
    for (std::uint64_t offset : source.frameOffsets) {
        // Offsets ascend, and the first fragment's is 0.
        std::size_t at = begins.empty() ? 0 : begins.back() + 1;
        while (at < source.extents.size() && source.extents[at].offset - source.extents[0].offset < offset)
            ++at;
        if (at == source.extents.size()) break;
        if (source.extents[at].offset - source.extents[0].offset != offset) return {};
        begins.push_back(at);
    }
    return begins;
}

bool starts_stream(const std::string& fragment) {
    return fragment.compare(0, 2, "\xFF\xD8") == 0 || fragment.compare(0, 2, "\xFF\x4F") == 0 ||
           (fragment.size() >= 8 && fragment.compare(4, 4, "jP  ") == 0);
}

/// The index of each frame's first fragment: by one fragment per frame, by an offset table or by where a
/// stream begins (PS3.5 Annex A.4). Of pixel data that are cut short, the frames that begin before the cut.
std::vector<std::size_t> frame_begins(const PixelSource& source, std::size_t frames, bool isRle) {
    std::vector<std::size_t> begins;
    const std::size_t count = source.extents.size();
    // Of data that are cut short, as many fragments as frames may be those of a few frames.
    if (frames == 1 || (count == frames && !source.isCutShort)) {
        for (std::size_t i = 0; i < std::min(count, frames); ++i) begins.push_back(i);
        return begins;
    }
    if (source.frameOffsets.size() == frames) {
        begins = begins_by_offset(source);
        if (begins.size() == frames || (source.isCutShort && !begins.empty())) return begins;
        begins.clear();
    }
    for (std::size_t i = 0; i < count; ++i) {
        const bool isBegin =
            isRle ? source.isCutShort
                  : starts_stream(source.read(
                        {source.extents[i].offset, std::min<std::uint64_t>(8, source.extents[i].size)}));
        if (isBegin) begins.push_back(i);
    }
    return begins;
}

struct FrameBytes {
    std::string bytes;
    bool isCutShort = false;
};

FrameBytes frame_bytes(const PixelSource& source, int frames, int index, bool isRle) {
    const auto count = static_cast<std::size_t>(frames), at = static_cast<std::size_t>(index);
    const std::vector<std::size_t> begins = frame_begins(source, count, isRle);
    if (source.isCutShort && at >= begins.size())
        throw Refusal("the file ends before frame " + std::to_string(index));
    if (!source.isCutShort && begins.size() != count) {
        throw Refusal(CountOf(source.extents.size(), "fragment") + " of pixel data for " +
                      CountOf(count, "frame"));
    }
    const bool isLast = at + 1 >= begins.size();
    const std::size_t end = isLast ? source.extents.size() : begins[at + 1];
    FrameBytes frame;
    frame.isCutShort = source.isCutShort && isLast;
    for (std::size_t i = begins[at]; i < end; ++i) frame.bytes += source.read(source.extents[i]);
    return frame;
}

void decode_rle(const FrameBytes& stored, StoredFrame* frame) {
    if (frame->bitsAllocated % 8 != 0 || frame->bitsAllocated == 24) {
        throw Refusal("run-length coded samples of " + std::to_string(frame->bitsAllocated) + " bits");
    }
    frame->sampleBytes = frame->bitsAllocated / 8;
    const std::uint64_t size = samples_of(*frame) * static_cast<unsigned>(frame->sampleBytes);
    if (size > kMaxFrameBytes) throw Refusal("one frame takes more than 1 GiB");
    // A run of two bytes gives at most 128.
    const bool isPossible = stored.isCutShort || size / 64 <= stored.bytes.size();
    if (isPossible) {
        frame->present =
            DecodeRle(stored.bytes, frame->Pixels(), frame->samples, frame->sampleBytes, &frame->data);
    }
    if (frame->present < frame->Pixels() && !stored.isCutShort)
        throw Refusal("run-length coded pixel data are damaged or cut short");
}

/// Limits decoded samples to the stored bits where the stream has more: lossy coding overshoots, and without
/// its top bits white would come out black. Samples are sign-extended over the stream's bits if the frame is
/// signed. Streams of unsigned samples hold signed ones as bit patterns, which may be those of the stored
/// bits alone: then no sample reaches beyond these bits, and there is nothing to limit.
void limit_samples(const CodestreamHeader& stream, StoredFrame* frame) {
    const int bits = std::min(stream.bits, 8 * frame->sampleBytes);
    if (bits <= frame->bitsStored) return;
    const std::size_t count = samples_of(*frame);
    const std::int64_t range = std::int64_t{1} << bits, stored = std::int64_t{1} << frame->bitsStored;
    const auto pattern = [&](std::size_t i) { return std::int64_t{frame->Bits(i)} & (range - 1); };
    if (!stream.isSigned) {
        bool isBeyond = false;
        for (std::size_t i = 0; i < count && !isBeyond; ++i) isBeyond = pattern(i) >= stored;
        if (!isBeyond) return;
    }
    const std::int64_t low = frame->isSigned ? -stored / 2 : 0, high = low + stored - 1;
    for (std::size_t i = 0; i < count; ++i) {
        std::int64_t value = pattern(i);
        if (value >= range / 2 && (frame->isSigned || stream.isSigned)) value -= range;
        frame->PutBits(i, static_cast<std::uint32_t>(std::clamp(value, low, high)));
    }
}

/// Compares the stream with the data set before a decoder gets it.
void check_stream(const CodestreamHeader& stream, const StoredFrame& frame) {
    if (stream.kind == CodestreamHeader::kNone)
        throw Refusal("compressed pixel data are damaged or cut short");
    const auto columns = static_cast<std::uint32_t>(frame.columns),
               rows = static_cast<std::uint32_t>(frame.rows);
    if (stream.width != columns || stream.height != rows || stream.components != frame.samples) {
        throw Refusal("compressed pixel data are " + std::to_string(stream.width) + " x " +
                      std::to_string(stream.height) + " x " + std::to_string(stream.components) +
                      ", the header says " + std::to_string(columns) + " x " + std::to_string(rows) + " x " +
                      std::to_string(frame.samples));
    }
    if (frame.bitsAllocated != 8 && frame.bitsAllocated != 16 && frame.bitsAllocated != 32) {
        throw Refusal("compressed samples of " + std::to_string(frame.bitsAllocated) + " bits");
    }
    if (samples_of(frame) * static_cast<unsigned>(frame.bitsAllocated) / 8 > kMaxFrameBytes) {
        throw Refusal("one frame takes more than 1 GiB");
    }
}

void decode_stream(const FrameBytes& stored, const std::string& syntax, const PixelHeader& header,
                   StoredFrame* frame) {
    if (stored.isCutShort) throw Refusal("the file ends within a compressed frame");
    const CodestreamHeader stream = ReadCodestreamHeader(stored.bytes);
    check_stream(stream, *frame);
    LoadDicomLibrary().Decode(stored.bytes, syntax, header.photometric, frame);
    frame->present = frame->Pixels();
    limit_samples(stream, frame);

    if (frame->samples == 3 && stream.colour != CodestreamHeader::kUnknown) {
        frame->photometric = stream.colour == CodestreamHeader::kRgb ? "RGB" : "YBR_FULL";
    } else if (header.photometric == "YBR_RCT" || header.photometric == "YBR_ICT") {
        frame->photometric = "RGB";
    }
}

/// A vendor's: implicit little-endian but for the pixels.
constexpr const char* kBigEndianPixels = "1.2.840.113619.5.2";
/// Syntaxes whose pixels are not compressed.
constexpr const char* kNative[] = {"1.2.840.10008.1.2", "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.1.99",
                                   "1.2.840.10008.1.2.2", kBigEndianPixels};
constexpr const char* kRunLength = "1.2.840.10008.1.2.5";
constexpr const char* kStreams[] = {
    "1.2.840.10008.1.2.4.50", "1.2.840.10008.1.2.4.51", "1.2.840.10008.1.2.4.57", "1.2.840.10008.1.2.4.70",
    "1.2.840.10008.1.2.4.80", "1.2.840.10008.1.2.4.81", "1.2.840.10008.1.2.4.90", "1.2.840.10008.1.2.4.91",
    "1.2.840.10008.1.2.4.92", "1.2.840.10008.1.2.4.93"};

template <std::size_t N>
bool is_among(const char* const (&uids)[N], const std::string& uid) {
    return std::find(std::begin(uids), std::end(uids), uid) != std::end(uids);
}

}  // namespace

bool NeedsLibrary(const PixelSource& source, const std::string& transferSyntax) {
    return source.isEncapsulated && IsStream(transferSyntax);
}

bool IsStream(const std::string& transferSyntax) { return is_among(kStreams, transferSyntax); }

StoredFrame DecodePixels(const PixelSource& source, const std::string& syntax, const PixelHeader& header,
                         int index, bool partial) {
    StoredFrame frame = header.frame;
    if (frame.isReal && source.isEncapsulated) throw Refusal("has compressed floating-point pixels");
    if (!source.isEncapsulated) {
        if (!is_among(kNative, syntax)) throw Refusal("compressed pixel data are not in fragments");
        read_native(source, header, index, partial, &frame);
        if (syntax == kBigEndianPixels && frame.bitsAllocated % 8 == 0) {
            const std::ptrdiff_t size = frame.bitsAllocated / 8;
            for (auto at = frame.data.begin(); frame.data.end() - at >= size; at += size)
                std::reverse(at, at + size);
        }
    } else if (syntax == kRunLength) {
        decode_rle(frame_bytes(source, header.frames, index, true), &frame);
    } else if (NeedsLibrary(source, syntax)) {
        decode_stream(frame_bytes(source, header.frames, index, false), syntax, header, &frame);
    } else {
        throw Refusal("transfer syntax " + (syntax.empty() ? "?" : syntax) + " cannot be decoded");
    }
    if (frame.present == 0)
        throw Refusal("the file ends before the first pixel of frame " + std::to_string(index));
    return frame;
}
