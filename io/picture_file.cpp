#include "picture_file.h"

// The JPEG library's header needs FILE and size_t.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include "png_file.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// The picture's rows after `header`.
Bytes with_header(const std::string& header, const Picture& picture, Picture::ByteOrder order) {
    Bytes file(header.size() + picture.bytes.size());
    std::copy(header.begin(), header.end(), file.begin());
    std::uint8_t* row = file.data() + header.size();
    for (int y = 0; y < picture.height; ++y, row += picture.RowBytes()) picture.CopyRow(y, order, row);
    return file;
}

Picture as_rgb(const Picture& grey) {
    Picture picture(grey.width, grey.height);
    for (std::size_t i = 0; i < grey.bytes.size(); ++i) std::fill_n(&picture.bytes[3 * i], 3, grey.bytes[i]);
    return picture;
}

std::string size_of(const Picture& picture) {
    return "\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n";
}

Bytes encode_pgm(const Picture& picture) {
    if (picture.form == Picture::kRgb) throw std::runtime_error("a PGM file holds no colour");
    const char* const top = picture.form == Picture::kGrey16 ? "65535\n" : "255\n";
    return with_header("P5" + size_of(picture) + top, picture, Picture::ByteOrder::kBig);
}

Bytes encode_ppm(const Picture& picture) {
    if (picture.form != Picture::kRgb) return encode_ppm(as_rgb(picture));
    return with_header("P6" + size_of(picture) + "255\n", picture, Picture::ByteOrder::kBig);
}

/// Version 1.0 of NumPy's format: an array of rows, columns and, with colour, 3 samples.
Bytes encode_npy(const Picture& picture) {
    std::string array = "{'descr': '";
    array += picture.form == Picture::kGrey16 ? "<u2" : "|u1";
    array += "', 'fortran_order': False, 'shape': (" + std::to_string(picture.height) + ", " +
             std::to_string(picture.width) + (picture.form == Picture::kRgb ? ", 3), }" : "), }");
    // The samples start at a multiple of 64 bytes. Before the text: magic, version, the text's length in 2
    // bytes.
    constexpr std::size_t kBefore = 10;
    array.resize((kBefore + array.size() + 1 + 63) / 64 * 64 - kBefore - 1, ' ');
    array += '\n';
    std::string header = "\x93NUMPY\x01";
    header += {'\0', static_cast<char>(array.size() & 0xff), static_cast<char>(array.size() >> 8)};
    return with_header(header + array, picture, Picture::ByteOrder::kLittle);
}

// ---- JPEG ----

struct JpegErrors {
    jpeg_error_mgr manager;  // first, where the library has its pointer
    std::jmp_buf back;
    char text[JMSG_LENGTH_MAX];
};

/// The library must not go on after an error, nor be left by an exception.
[[noreturn]] void leave_jpeg(j_common_ptr info) {
    auto* const errors = reinterpret_cast<JpegErrors*>(info->err);
    info->err->format_message(info, errors->text);
    std::longjmp(errors->back, 1);
}

/// No object with a destructor lives here, which longjmp would pass over. False after an error.
bool compress_jpeg(const Picture& picture, JpegErrors& errors, jpeg_compress_struct& jpeg,
                   unsigned char** bytes, unsigned long* size) {
    constexpr int kQuality = 90;
    jpeg.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = leave_jpeg;
    if (setjmp(errors.back) != 0) return false;
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, bytes, size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.height);
    jpeg.input_components = picture.form;
    jpeg.in_color_space = picture.form == Picture::kRgb ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, kQuality, TRUE);
    // As many samples of colour as of brightness: coloured structures can be one pixel wide.
    for (int i = 0; i < jpeg.num_components; ++i) {
        jpeg.comp_info[i].h_samp_factor = jpeg.comp_info[i].v_samp_factor = 1;
    }
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(picture.Row(static_cast<int>(jpeg.next_scanline)));
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    return true;
}

Bytes encode_jpeg(const Picture& picture) {
    if (std::max(picture.width, picture.height) > JPEG_MAX_DIMENSION) {
        throw std::runtime_error("a JPEG file has at most 65500 pixels a side");
    }
    JpegErrors errors;
    jpeg_compress_struct jpeg{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    const bool done = compress_jpeg(picture, errors, jpeg, &bytes, &size);
    jpeg_destroy_compress(&jpeg);
    // A shortage of memory, the one error left, may leave `bytes` pointing at what the library has freed.
    if (!done) throw std::runtime_error(std::string("JPEG: ") + errors.text);
    const std::unique_ptr<unsigned char, void (*)(void*)> owner(bytes, std::free);
    return Bytes(bytes, bytes + size);
}

// ---- TIFF ----

/// A file in memory, as the TIFF library writes it: it goes back to put offsets where they belong.
struct MemoryFile {
    Bytes bytes;
    std::size_t position = 0;

    static MemoryFile& Of(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }

    static tmsize_t Read(thandle_t handle, void* to, tmsize_t wanted) {
        MemoryFile& file = Of(handle);
        const std::size_t there = file.bytes.size() - std::min(file.position, file.bytes.size());
        const std::size_t size = std::min(static_cast<std::size_t>(wanted), there);
        if (size != 0) std::memcpy(to, file.bytes.data() + file.position, size);
        file.position += size;
        return static_cast<tmsize_t>(size);
    }
    static tmsize_t Write(thandle_t handle, void* from, tmsize_t size) {
        MemoryFile& file = Of(handle);
        const std::size_t end = file.position + static_cast<std::size_t>(size);
        if (end > file.bytes.size()) file.bytes.resize(end);
        if (size != 0) std::memcpy(file.bytes.data() + file.position, from, static_cast<std::size_t>(size));
        file.position = end;
        return size;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int from) {
        MemoryFile& file = Of(handle);
        const toff_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? file.position : file.bytes.size();
        file.position = static_cast<std::size_t>(start + offset);
        return file.position;
    }
    static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }
    static int Close(thandle_t) { return 0; }
};

Bytes encode_tiff(const Picture& picture) {
    constexpr std::size_t kStripBytes = 1 << 20;
    constexpr int kLevel = 1;
    MemoryFile file;
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
        TIFFClientOpen("TIFF", "w", &file, MemoryFile::Read, MemoryFile::Write, MemoryFile::Seek,
                       MemoryFile::Close, MemoryFile::Size, nullptr, nullptr),
        TIFFClose);
    if (tiff == nullptr) throw std::runtime_error("TIFF: no memory");
    const bool rgb = picture.form == Picture::kRgb;
    const int rows =
        static_cast<int>(std::clamp<std::size_t>(kStripBytes / picture.RowBytes(), 1, picture.Rows()));
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, picture.width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, picture.height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, picture.form == Picture::kGrey16 ? 16 : 8);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, rgb ? 3 : 1);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, rgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff.get(), TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff.get(), TIFFTAG_ZIPQUALITY, kLevel);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, rows);
    for (int y = 0, strip = 0; y < picture.height; y += rows, ++strip) {
        const auto size = static_cast<tmsize_t>(std::min(rows, picture.height - y)) *
                          static_cast<tmsize_t>(picture.RowBytes());
        auto* const samples = const_cast<std::uint8_t*>(picture.Row(y));
        if (TIFFWriteEncodedStrip(tiff.get(), static_cast<std::uint32_t>(strip), samples, size) < 0) {
            throw std::runtime_error("TIFF: the picture cannot be compressed");
        }
    }
    if (TIFFWriteDirectory(tiff.get()) == 0)
        throw std::runtime_error("TIFF: the directory cannot be written");
    tiff.reset();
    return std::move(file.bytes);
}

struct Format {
    PictureFormat format;
    const char* name;
    const char* suffixes[2];  ///< in lower case, the usual one first
    bool sixteenBits;
    Bytes (*encode)(const Picture& picture);
};

constexpr Format kFormats[] = {
    {PictureFormat::kPng, "PNG", {".png", ".png"}, true, EncodePng},
    {PictureFormat::kJpeg, "JPEG", {".jpg", ".jpeg"}, false, encode_jpeg},
    {PictureFormat::kTiff, "TIFF", {".tif", ".tiff"}, true, encode_tiff},
    {PictureFormat::kPgm, "PGM", {".pgm", ".pgm"}, true, encode_pgm},
    {PictureFormat::kPpm, "PPM", {".ppm", ".ppm"}, false, encode_ppm},
    {PictureFormat::kNpy, "NPY", {".npy", ".npy"}, true, encode_npy},
};

const Format& row_of(PictureFormat format) {
    return *std::find_if(std::begin(kFormats), std::end(kFormats),
                         [format](const Format& row) { return row.format == format; });
}

/// For RGB. In 24 bytes, each byte but the last of a pixel is compared with the next one, eight at a time.
bool has_colour(const Picture& picture) {
    const std::uint8_t* const bytes = picture.bytes.data();
    const std::size_t size = picture.bytes.size();
    std::array<std::uint8_t, 24> compared;
    for (std::size_t i = 0; i < compared.size(); ++i) compared[i] = i % 3 == 2 ? 0 : 0xff;
    std::array<std::uint64_t, 3> masks;
    std::memcpy(masks.data(), compared.data(), compared.size());
    std::size_t i = 0;
    for (; i + compared.size() < size; i += compared.size()) {
        std::uint64_t differences = 0;
        for (std::size_t word = 0; word < masks.size(); ++word) {
            std::uint64_t here, next;
            std::memcpy(&here, bytes + i + 8 * word, 8);
            std::memcpy(&next, bytes + i + 8 * word + 1, 8);
            differences |= (here ^ next) & masks[word];
        }
        if (differences != 0) return true;
    }
    for (; i + 2 < size; i += 3) {
        if (bytes[i] != bytes[i + 1] || bytes[i] != bytes[i + 2]) return true;
    }
    return false;
}

Picture red_of(const Picture& picture) {
    Picture grey(picture.width, picture.height, Picture::kGrey8);
    for (std::size_t i = 0; i < grey.bytes.size(); ++i) grey.bytes[i] = picture.bytes[3 * i];
    return grey;
}

}  // namespace

std::optional<PictureFormat> PictureFormatOf(const std::string& nameOrSuffix) {
    std::string suffix = nameOrSuffix.substr(nameOrSuffix.rfind('.') + 1);
    for (char& c : suffix) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    suffix.insert(0, 1, '.');
    for (const Format& row : kFormats) {
        if (suffix == row.suffixes[0] || suffix == row.suffixes[1]) return row.format;
    }
    return std::nullopt;
}

const char* SuffixOf(PictureFormat format) { return row_of(format).suffixes[0]; }

bool TakesSixteenBits(PictureFormat format) { return row_of(format).sixteenBits; }

std::vector<std::uint8_t> EncodePicture(const Picture& picture, PictureFormat format) {
    const Format& row = row_of(format);
    if (picture.width < 1 || picture.height < 1) throw std::runtime_error("the picture has no pixels");
    if (picture.form == Picture::kGrey16 && !row.sixteenBits) {
        throw std::runtime_error(std::string("16-bit grey needs PNG, TIFF, PGM or NPY, not ") + row.name);
    }
    if (picture.form == Picture::kRgb && format != PictureFormat::kPpm && !has_colour(picture)) {
        return row.encode(red_of(picture));
    }
    return row.encode(picture);
}
