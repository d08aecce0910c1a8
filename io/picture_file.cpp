#include "picture_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "png_file.h"

namespace {

struct Format {
    PictureFormat format;
    const char* suffixes[2];  ///< in lower case, the usual one first
    bool sixteenBits;
    std::vector<std::uint8_t> (*encode)(const Picture& picture);
};

constexpr auto kNoEncoderYet = [](const Picture&) -> std::vector<std::uint8_t> {
    throw std::runtime_error("this picture format cannot be written yet");
};

constexpr Format kFormats[] = {
    {PictureFormat::kPng, {".png", ".png"}, true, EncodePng},
    {PictureFormat::kJpeg, {".jpg", ".jpeg"}, false, kNoEncoderYet},
    {PictureFormat::kTiff, {".tif", ".tiff"}, true, kNoEncoderYet},
    {PictureFormat::kPgm, {".pgm", ".pgm"}, true, kNoEncoderYet},
    {PictureFormat::kPpm, {".ppm", ".ppm"}, false, kNoEncoderYet},
    {PictureFormat::kNpy, {".npy", ".npy"}, true, kNoEncoderYet},
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
    if (picture.form == Picture::kGrey16 && !row.sixteenBits) {
        throw std::runtime_error(std::string("a ") + (row.suffixes[0] + 1) + " file holds 8 bits, not 16");
    }
    if (picture.form == Picture::kRgb && format != PictureFormat::kPpm && !has_colour(picture)) {
        return row.encode(red_of(picture));
    }
    return row.encode(picture);
}
