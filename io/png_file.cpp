#include "png_file.h"

#include <png.h>

#include <stdexcept>

#include "atomic_file.h"
#include "present_error.h"

namespace {

bool is_grey(const Picture& picture) {
    for (std::size_t i = 0; i + 2 < picture.bytes.size(); i += 3) {
        if (picture.bytes[i] != picture.bytes[i + 1] || picture.bytes[i] != picture.bytes[i + 2]) return false;
    }
    return true;
}

}  // namespace

std::vector<std::uint8_t> EncodePng(const Picture& picture) {
    const bool grey = is_grey(picture);
    std::vector<std::uint8_t> levels;
    if (grey) {
        levels.reserve(picture.bytes.size() / 3);
        for (std::size_t i = 0; i < picture.bytes.size(); i += 3) levels.push_back(picture.bytes[i]);
    }
    const std::vector<std::uint8_t>& samples = grey ? levels : picture.bytes;

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = grey ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;

    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::uint8_t> bytes(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, nullptr) == 0) {
        throw std::runtime_error(std::string("PNG: ") + image.message);
    }
    bytes.resize(size);
    return bytes;
}

void WritePng(const std::string& path, const Picture& picture) {
    const std::vector<std::uint8_t> bytes = EncodePng(picture);
    WriteFileAtomically(path, bytes.data(), bytes.size());
}

Picture ReadPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) throw PresentError(path, image.message);
    image.format = PNG_FORMAT_RGB;
    Picture picture(static_cast<int>(image.width), static_cast<int>(image.height));
    if (png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr) == 0) {
        throw PresentError(path, image.message);
    }
    return picture;
}
