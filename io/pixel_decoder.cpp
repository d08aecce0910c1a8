#include "pixel_decoder.h"

#include <gdcmBitmap.h>
#include <gdcmSequenceOfFragments.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "codestream.h"

namespace {

// ---- Uncompressed pixels

/// Sample `index` of a stream of `bits` bits per sample, first sample in the lowest bits (PS3.5 8.1.1).
std::uint32_t packed_sample(const unsigned char* bytes, std::uint64_t index, int bits) {
    std::uint32_t value = 0;
    for (int b = 0; b < bits; ++b) {
        const std::uint64_t at = index * static_cast<unsigned>(bits) + static_cast<unsigned>(b);
        value |= static_cast<std::uint32_t>((bytes[at >> 3] >> (at & 7)) & 1) << b;
    }
    return value;
}

void put_sample(std::string& data, std::size_t index, int sampleBytes, std::uint32_t value) {
    for (int b = 0; b < sampleBytes; ++b) {
        data[index * static_cast<std::size_t>(sampleBytes) + static_cast<std::size_t>(b)] =
            static_cast<char>((value >> (8 * b)) & 0xFF);
    }
}

int bytes_for(int bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

void read_native(const gdcm::ByteValue* value, const PixelHeader& header, int index, StoredFrame* frame) {
    const std::uint64_t pixels = frame->Pixels();
    const std::uint64_t bits = static_cast<unsigned>(frame->bitsAllocated);
    std::uint64_t frameSamples = pixels * static_cast<unsigned>(frame->samples);
    const std::uint64_t have = value == nullptr ? 0 : static_cast<std::uint32_t>(value->GetLength());
    const std::uint64_t frames = static_cast<unsigned>(header.frames);
    // Two luminances share their colour differences, unless the writer stored all three in full after all.
    const bool halved = frame->samples == 3 && header.photometric.find("_422") != std::string::npos &&
                        bits == 8 && have < frameSamples * frames;
    if (halved) frameSamples = (pixels + 1) / 2 * 4;
    const std::uint64_t needed = (frameSamples * bits * frames + 7) / 8;
    if (have < needed) {
        throw Refusal("pixel data are cut short: " + std::to_string(have) + " bytes of " +
                      std::to_string(needed));
    }

    const auto* bytes = reinterpret_cast<const unsigned char*>(value->GetPointer());
    const std::uint64_t first = frameSamples * static_cast<unsigned>(index);
    const std::size_t count = frame->Pixels() * static_cast<std::size_t>(frame->samples);
    frame->sampleBytes = bytes_for(frame->bitsAllocated);
    frame->data.resize(count * static_cast<std::size_t>(frame->sampleBytes));
    if (halved) {
        for (std::size_t i = 0; i < frame->Pixels(); ++i) {
            const unsigned char* pair = bytes + first + i / 2 * 4;
            const unsigned char pixel[3] = {pair[i % 2], pair[2], pair[3]};
            std::memcpy(&frame->data[i * 3], pixel, 3);
        }
    } else if (frame->samples == 3 && header.planar == 1) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t stored = first + i % 3 * pixels + i / 3;
            put_sample(frame->data, i, frame->sampleBytes,
                       packed_sample(bytes, stored, frame->bitsAllocated));
        }
    } else if (bits == 8 || bits == 16 || bits == 32) {
        std::memcpy(&frame->data[0], bytes + first * bits / 8, frame->data.size());
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            put_sample(frame->data, i, frame->sampleBytes,
                       packed_sample(bytes, first + i, frame->bitsAllocated));
        }
    }
}

// ---- Compressed pixels

bool starts_stream(const std::string& fragment) {
    return fragment.compare(0, 2, "\xFF\xD8") == 0 || fragment.compare(0, 2, "\xFF\x4F") == 0 ||
           fragment.compare(4, 4, "jP  ") == 0;
}

/// The bytes of one frame. Frames are told apart by the basic offset table, by one fragment per frame, or by
/// where a stream begins (PS3.5 Annex A.4).
std::string frame_bytes(const gdcm::SequenceOfFragments& fragments, int frames, int index) {
    std::vector<std::string> all;
    std::vector<std::uint64_t> offsets;
    std::uint64_t offset = 0;
    for (std::size_t i = 0; i < fragments.GetNumberOfFragments(); ++i) {
        const gdcm::ByteValue* bytes = fragments.GetFragment(i).GetByteValue();
        all.emplace_back(bytes == nullptr ? std::string()
                                          : std::string(bytes->GetPointer(), bytes->GetLength()));
        offsets.push_back(offset);
        offset += all.back().size() + 8;
    }
    const std::size_t count = static_cast<std::size_t>(frames);
    std::vector<std::size_t> begins;
    if (count == 1) {
        begins.push_back(0);
    } else if (all.size() == count) {
        for (std::size_t i = 0; i < count; ++i) begins.push_back(i);
    } else {
        const gdcm::ByteValue* table = fragments.GetTable().GetByteValue();
        if (table != nullptr && table->GetLength() / 4 == count) {
            for (std::size_t i = 0; i < count; ++i) {
                std::uint32_t wanted = 0;
                std::memcpy(&wanted, table->GetPointer() + 4 * i, 4);
                const auto found = std::find(offsets.begin(), offsets.end(), wanted);
                if (found == offsets.end()) break;
                begins.push_back(static_cast<std::size_t>(found - offsets.begin()));
            }
        }
        if (begins.size() != count || !std::is_sorted(begins.begin(), begins.end())) {
            begins.clear();
            for (std::size_t i = 0; i < all.size(); ++i) {
                if (starts_stream(all[i])) begins.push_back(i);
            }
        }
    }
    if (begins.size() != count || all.empty()) {
        throw Refusal(CountOf(all.size(), "fragment") + " of pixel data for " + CountOf(count, "frame"));
    }
    const std::size_t at = static_cast<std::size_t>(index);
    const std::size_t end = at + 1 < count ? begins[at + 1] : all.size();
    std::string bytes;
    for (std::size_t i = begins[at]; i < end; ++i) bytes += all[i];
    return bytes;
}

void decode_rle(const std::string& bytes, StoredFrame* frame) {
    if (frame->bitsAllocated % 8 != 0 || frame->bitsAllocated == 24) {
        throw Refusal("run-length coded samples of " + std::to_string(frame->bitsAllocated) + " bits");
    }
    frame->sampleBytes = frame->bitsAllocated / 8;
    // A run of two bytes gives at most 128.
    if (frame->Pixels() * static_cast<std::size_t>(frame->samples * frame->sampleBytes) / 64 > bytes.size() ||
        !DecodeRle(bytes, frame->Pixels(), frame->samples, frame->sampleBytes, &frame->data)) {
        throw Refusal("run-length coded pixel data are damaged or cut short");
    }
}

/// Limits decoded samples to the stored bits where the stream has more: lossy coding overshoots, and without its
/// top bits white would come out black. Samples are sign-extended over the stream's bits if the frame is signed.
/// Streams of unsigned samples hold signed ones as bit patterns, which may be those of the stored bits alone: then
/// no sample reaches beyond these bits, and there is nothing to limit.
void limit_samples(const CodestreamHeader& stream, StoredFrame* frame) {
    const int bits = std::min(stream.bits, 8 * frame->sampleBytes);
    if (bits <= frame->bitsStored) return;
    const std::size_t count = frame->Pixels() * static_cast<std::size_t>(frame->samples);
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
        put_sample(frame->data, i, frame->sampleBytes,
                   static_cast<std::uint32_t>(std::clamp(value, low, high)));
    }
}

void decode_stream(std::string bytes, const gdcm::TransferSyntax& syntax, const PixelHeader& header,
                   StoredFrame* frame) {
    const CodestreamHeader stream = ReadCodestreamHeader(bytes);
    if (stream.kind == CodestreamHeader::kNone)
        throw Refusal("compressed pixel data are damaged or cut short");
    const auto columns = static_cast<std::uint32_t>(frame->columns),
               rows = static_cast<std::uint32_t>(frame->rows);
    if (stream.width != columns || stream.height != rows || stream.components != frame->samples) {
        throw Refusal("compressed pixel data are " + std::to_string(stream.width) + " x " +
                      std::to_string(stream.height) + " x " + std::to_string(stream.components) +
                      ", the header says " + std::to_string(columns) + " x " + std::to_string(rows) + " x " +
                      std::to_string(frame->samples));
    }
    if (frame->bitsAllocated != 8 && frame->bitsAllocated != 16 && frame->bitsAllocated != 32) {
        throw Refusal("compressed samples of " + std::to_string(frame->bitsAllocated) + " bits");
    }
    const std::uint64_t samples = frame->Pixels() * static_cast<std::uint64_t>(frame->samples);
    if (samples * static_cast<unsigned>(frame->bitsAllocated) / 8 > kMaxFrameBytes) {
        throw Refusal("one frame takes more than 1 GiB");
    }

    gdcm::Bitmap bitmap;
    bitmap.SetNumberOfDimensions(2);
    bitmap.SetDimension(0, columns);
    bitmap.SetDimension(1, rows);
    bitmap.SetTransferSyntax(syntax);
    bitmap.SetPixelFormat(gdcm::PixelFormat(
        static_cast<unsigned short>(frame->samples), static_cast<unsigned short>(frame->bitsAllocated),
        static_cast<unsigned short>(frame->bitsStored), static_cast<unsigned short>(frame->bitsStored - 1),
        static_cast<unsigned short>(frame->isSigned)));
    gdcm::PhotometricInterpretation::PIType photometric = gdcm::PhotometricInterpretation::MONOCHROME2;
    if (frame->samples == 3) {
        photometric = gdcm::PhotometricInterpretation::GetPIType(header.photometric.c_str());
        if (photometric == gdcm::PhotometricInterpretation::UNKNOWN)
            photometric = gdcm::PhotometricInterpretation::RGB;
    }
    bitmap.SetPhotometricInterpretation(photometric);
    gdcm::SmartPointer<gdcm::SequenceOfFragments> fragments = new gdcm::SequenceOfFragments;
    gdcm::Fragment fragment;
    if (bytes.size() % 2 != 0) bytes += '\0';
    fragment.SetByteValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    fragments->AddFragment(fragment);
    gdcm::DataElement pixels(gdcm::Tag(0x7FE0, 0x0010));
    pixels.SetVR(gdcm::VR::OB);
    pixels.SetValue(*fragments);
    bitmap.SetDataElement(pixels);

    const std::uint64_t length = bitmap.GetBufferLength();
    frame->data.resize(std::max<std::uint64_t>(length, 4 * samples));
    if (!bitmap.GetBuffer(&frame->data[0])) throw Refusal("compressed pixel data cannot be decoded");
    const gdcm::PixelFormat& format = bitmap.GetPixelFormat();
    frame->sampleBytes = format.GetBitsAllocated() / 8;
    if (format.GetBitsAllocated() % 8 != 0 || frame->sampleBytes == 3 || frame->sampleBytes > 4 ||
        frame->sampleBytes < 1 || format.GetSamplesPerPixel() != frame->samples) {
        throw Refusal("compressed pixel data decode to another form than the header says");
    }
    frame->data.resize(samples * static_cast<unsigned>(frame->sampleBytes));
    frame->bitsAllocated = format.GetBitsAllocated();
    frame->bitsStored = std::min<int>(frame->bitsStored, frame->bitsAllocated);
    frame->highBit = frame->bitsStored - 1;
    limit_samples(stream, frame);

    if (frame->samples == 3 && stream.colour != CodestreamHeader::kUntold) {
        frame->photometric = stream.colour == CodestreamHeader::kRgb ? "RGB" : "YBR_FULL";
    } else if (header.photometric == "YBR_RCT" || header.photometric == "YBR_ICT") {
        frame->photometric = "RGB";
    }
}

}  // namespace

std::string CountOf(std::uint64_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

StoredFrame DecodePixels(const gdcm::DataElement& pixels, const gdcm::TransferSyntax& syntax,
                         const PixelHeader& header, int index) {
    const gdcm::SequenceOfFragments* fragments = pixels.GetSequenceOfFragments();
    StoredFrame frame = header.frame;
    if (fragments == nullptr) {
        if (syntax.IsEncapsulated()) throw Refusal("compressed pixel data are not in fragments");
        read_native(pixels.GetByteValue(), header, index, &frame);
    } else if (syntax == gdcm::TransferSyntax::RLELossless) {
        decode_rle(frame_bytes(*fragments, header.frames, index), &frame);
    } else {
        const char* name = syntax.GetString();
        bool known = false;
        for (gdcm::TransferSyntax::TSType type :
             {gdcm::TransferSyntax::JPEGBaselineProcess1, gdcm::TransferSyntax::JPEGExtendedProcess2_4,
              gdcm::TransferSyntax::JPEGLosslessProcess14, gdcm::TransferSyntax::JPEGLosslessProcess14_1,
              gdcm::TransferSyntax::JPEGLSLossless, gdcm::TransferSyntax::JPEGLSNearLossless,
              gdcm::TransferSyntax::JPEG2000Lossless, gdcm::TransferSyntax::JPEG2000,
              gdcm::TransferSyntax::JPEG2000Part2Lossless, gdcm::TransferSyntax::JPEG2000Part2}) {
            known = known || syntax == type;
        }
        if (!known)
            throw Refusal(std::string("transfer syntax ") + (name ? name : "?") + " cannot be decoded");
        decode_stream(frame_bytes(*fragments, header.frames, index), syntax, header, &frame);
    }
    return frame;
}
