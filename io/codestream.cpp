#include "codestream.h"

#include <algorithm>

namespace {

class Bytes {
public:
    explicit Bytes(const std::string& bytes) : m_Bytes(bytes) {}
    bool Has(std::size_t at, std::size_t count) const {
        return at <= m_Bytes.size() && count <= m_Bytes.size() - at;
    }
    std::uint32_t At(std::size_t at) const { return static_cast<unsigned char>(m_Bytes[at]); }
    std::uint32_t Big16(std::size_t at) const { return (At(at) << 8) | At(at + 1); }
    std::uint32_t Big32(std::size_t at) const { return (Big16(at) << 16) | Big16(at + 2); }
    std::uint32_t Little32(std::size_t at) const {
        return At(at) | (At(at + 1) << 8) | (At(at + 2) << 16) | (At(at + 3) << 24);
    }
    std::size_t Size() const { return m_Bytes.size(); }

private:
    const std::string& m_Bytes;
};

CodestreamHeader read_jpeg(const Bytes& bytes) {
    CodestreamHeader header;
    for (std::size_t at = 2; bytes.Has(at, 4);) {
        if (bytes.At(at) != 0xFF) return CodestreamHeader();
        const std::uint32_t marker = bytes.At(at + 1);
        if (marker == 0xFF) {  // a fill byte
            ++at;
            continue;
        }
        const std::size_t length = bytes.Big16(at + 2);
        if (length < 2 || !bytes.Has(at + 2, length)) return CodestreamHeader();
        const std::size_t body = at + 4;
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (marker == 0xE0 && length >= 7 && bytes.Big32(body) == 0x4A464946) {  // "JFIF"
            header.colour = CodestreamHeader::kYbr;
        } else if (marker == 0xEE && length >= 14 && bytes.Big32(body) == 0x41646F62) {  // "Adobe"
            header.colour = bytes.At(body + 11) == 0 ? CodestreamHeader::kRgb : CodestreamHeader::kYbr;
        } else if (isFrame || marker == 0xF7) {
            if (length < 8) return CodestreamHeader();
            header.kind = marker == 0xF7 ? CodestreamHeader::kJpegLs : CodestreamHeader::kJpeg;
            header.bits = static_cast<int>(bytes.At(body));
            header.height = bytes.Big16(body + 1);
            header.width = bytes.Big16(body + 3);
            header.components = static_cast<int>(bytes.At(body + 5));
            // Lossless frames (SOF3) and JPEG-LS hold the samples as they are, whatever an application marker
            // says.
            if (marker == 0xC3 || marker == 0xF7) header.colour = CodestreamHeader::kUnknown;
            return header;
        } else if (marker == 0xDA || marker == 0xD9) {
            return CodestreamHeader();
        }
        at += 2 + length;
    }
    return CodestreamHeader();
}

CodestreamHeader read_jpeg2000(const Bytes& bytes, std::size_t at) {
    CodestreamHeader header;
    at += 2;
    while (bytes.Has(at, 4) && bytes.At(at) == 0xFF) {
        const std::uint32_t marker = bytes.At(at + 1);
        const std::size_t length = bytes.Big16(at + 2);
        if (length < 2 || !bytes.Has(at + 2, length)) break;
        const std::size_t body = at + 4;
        if (marker == 0x51) {  // SIZ
            if (length < 41) break;
            const std::uint32_t right = bytes.Big32(body + 2), bottom = bytes.Big32(body + 6);
            const std::uint32_t left = bytes.Big32(body + 10), top = bytes.Big32(body + 14);
            if (right <= left || bottom <= top) break;
            header.kind = CodestreamHeader::kJpeg2000;
            header.width = right - left;
            header.height = bottom - top;
            header.components = static_cast<int>(bytes.Big16(body + 34));
            header.bits = static_cast<int>((bytes.At(body + 36) & 0x7F) + 1);
            header.isSigned = (bytes.At(body + 36) & 0x80) != 0;
        } else if (marker == 0x52) {  // COD
            if (length >= 12 && bytes.At(body + 4) != 0) header.colour = CodestreamHeader::kRgb;
        } else if (marker == 0x90) {  // the first tile: no more about the image
            break;
        }
        at += 2 + length;
    }
    return header;
}

}  // namespace

CodestreamHeader ReadCodestreamHeader(const std::string& stream) {
    const Bytes bytes(stream);
    if (!bytes.Has(0, 12)) return CodestreamHeader();
    if (bytes.Big16(0) == 0xFFD8) return read_jpeg(bytes);
    if (bytes.Big32(0) == 0xFF4FFF51) return read_jpeg2000(bytes, 0);
    // A JP2 file where a bare codestream should be: the codestream's first two markers stand in its box.
    const std::size_t inside = stream.find(std::string("\xFF\x4F\xFF\x51", 4));
    if (bytes.Big32(4) == 0x6A502020 && inside != std::string::npos) return read_jpeg2000(bytes, inside);
    return CodestreamHeader();
}

namespace {

/// Unpacks one byte plane to every `step`-th byte of the frame from `out` on. Returns how many of `count`
/// bytes the segment gives.
std::size_t unpack_segment(const std::string& stream, std::size_t at, std::size_t count, std::size_t out,
                           std::size_t step, std::string* frame) {
    const Bytes bytes(stream);
    std::size_t done = 0;
    while (done < count && bytes.Has(at, 1)) {
        const std::uint32_t code = bytes.At(at++);
        if (code == 128) continue;
        const bool isRun = code > 128;
        const std::size_t length = isRun ? 257 - code : code + 1;
        if (isRun && !bytes.Has(at, 1)) break;
        // Some writers let a run extend beyond the last pixel.
        std::size_t used = std::min(length, count - done);
        if (!isRun) used = std::min(used, bytes.Size() - at);
        for (std::size_t i = 0; i < used; ++i)
            (*frame)[out + (done + i) * step] = stream[isRun ? at : at + i];
        done += used;
        at += isRun ? 1 : length;
    }
    return done;
}

}  // namespace

std::size_t DecodeRle(const std::string& stream, std::size_t pixels, int samples, int sampleBytes,
                      std::string* frame) {
    const Bytes bytes(stream);
    const auto size = static_cast<std::size_t>(sampleBytes);
    const std::size_t segments = static_cast<std::size_t>(samples) * size;
    if (!bytes.Has(0, 64) || bytes.Little32(0) != segments || segments > 15) return 0;
    frame->assign(pixels * segments, '\0');
    std::size_t complete = pixels;
    for (std::size_t segment = 0; segment < segments; ++segment) {
        // The first segment of a sample holds the most significant bytes.
        const std::size_t out = segment / size * size + (size - 1 - segment % size);
        complete = std::min(
            complete, unpack_segment(stream, bytes.Little32(4 + 4 * segment), pixels, out, segments, frame));
    }
    return complete;
}
