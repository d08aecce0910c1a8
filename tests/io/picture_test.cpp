#include "io/picture.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "cli/app_test_support.h"
#include "io/atomic_file.h"
#include "io/picture_file.h"
#include "io/picture_scale.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Picture read_png(const Bytes& bytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()), 0) << image.message;
    const auto form = image.format & PNG_FORMAT_FLAG_COLOR    ? Picture::kRgb
                      : image.format & PNG_FORMAT_FLAG_LINEAR ? Picture::kGrey16
                                                              : Picture::kGrey8;
    Picture picture(static_cast<int>(image.width), static_cast<int>(image.height), form);
    EXPECT_NE(png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr), 0) << image.message;
    return picture;
}

Picture read_jpeg(const Bytes& bytes) {
    jpeg_decompress_struct jpeg{};
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, bytes.data(), bytes.size());
    jpeg_read_header(&jpeg, TRUE);
    EXPECT_EQ(jpeg.comp_info[0].h_samp_factor * jpeg.comp_info[0].v_samp_factor, 1);
    jpeg_start_decompress(&jpeg);
    Picture picture(static_cast<int>(jpeg.image_width), static_cast<int>(jpeg.image_height),
                    static_cast<Picture::Form>(jpeg.num_components));
    while (jpeg.output_scanline < jpeg.image_height) {
        JSAMPROW row = picture.Row(static_cast<int>(jpeg.output_scanline));
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    return picture;
}

Picture read_tiff(const Bytes& bytes) {
    support::TemporaryDirectory directory;
    WriteFileAtomically(directory / "p.tif", bytes.data(), bytes.size());
    TIFF* const tiff = TIFFOpen((directory / "p.tif").c_str(), "r");
    int width = 0, height = 0;
    std::uint16_t bits = 0, samples = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width), TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits), TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    Picture picture(width, height, static_cast<Picture::Form>(samples * bits / 8));
    for (int y = 0; y < height; ++y) {
        EXPECT_EQ(TIFFReadScanline(tiff, picture.Row(y), static_cast<std::uint32_t>(y)), 1);
    }
    TIFFClose(tiff);
    return picture;
}

/// What follows the header, which is compared with the one expected.
Picture read_plain(const Bytes& bytes, const std::string& header, const Picture& like, bool bigEndian) {
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + static_cast<long>(header.size())), header);
    Picture picture = like;
    picture.bytes.assign(bytes.begin() + static_cast<long>(header.size()), bytes.end());
    for (std::size_t i = 0; like.form == Picture::kGrey16 && i + 1 < picture.bytes.size(); i += 2) {
        const std::uint8_t* const pair = &picture.bytes[i];
        const auto level = static_cast<std::uint16_t>(pair[bigEndian ? 0 : 1] << 8 | pair[bigEndian ? 1 : 0]);
        std::memcpy(&picture.bytes[i], &level, 2);
    }
    return picture;
}

Picture read_back(const Bytes& bytes, PictureFormat format, const Picture& like) {
    if (format == PictureFormat::kPng) return read_png(bytes);
    if (format == PictureFormat::kJpeg) return read_jpeg(bytes);
    if (format == PictureFormat::kTiff) return read_tiff(bytes);
    const std::string w = std::to_string(like.width), h = std::to_string(like.height);
    const bool words = like.form == Picture::kGrey16, rgb = like.form == Picture::kRgb;
    if (format != PictureFormat::kNpy) {
        const std::string top = words ? "65535\n" : "255\n";
        return read_plain(bytes, (rgb ? "P6\n" : "P5\n") + w + " " + h + "\n" + top, like, true);
    }
    std::string array = std::string("{'descr': '") + (words ? "<u2" : "|u1") +
                        "', 'fortran_order': False, 'shape': (" + h + ", " + w + (rgb ? ", 3), }" : "), }");
    array.resize(117, ' ');
    return read_plain(bytes, std::string("\x93NUMPY\x01\0v\0", 10) + array + "\n", like, false);
}

/// Noise, or a picture that JPEG hardly changes.
Picture example(int width, int height, Picture::Form form, bool noise) {
    Picture picture(width, height, form);
    std::mt19937 random(1);
    for (int y = 0; y < height; ++y) {
        for (std::size_t i = 0; i < picture.RowBytes(); ++i) {
            picture.Row(y)[i] =
                static_cast<std::uint8_t>(noise ? random() : i + 2 * static_cast<unsigned>(y));
        }
    }
    return picture;
}

constexpr PictureFormat kFormats[] = {PictureFormat::kPng, PictureFormat::kJpeg, PictureFormat::kTiff,
                                      PictureFormat::kPgm, PictureFormat::kPpm,  PictureFormat::kNpy};
constexpr Picture::Form kForms[] = {Picture::kGrey8, Picture::kGrey16, Picture::kRgb};

TEST(Picture, EveryFormatKeepsEverySample) {
    // The last one fills several chunks, blocks and strips.
    const int sizes[][2] = {{1, 1}, {7, 3}, {1, 5}, {701, 601}};
    for (PictureFormat format : kFormats) {
        for (Picture::Form form : kForms) {
            for (const auto& size : sizes) {
                SCOPED_TRACE(testing::Message()
                             << SuffixOf(format) << form << " " << size[0] << "x" << size[1]);
                const bool lossy = format == PictureFormat::kJpeg;
                if (lossy && size[0] > 7) continue;
                const Picture picture = example(size[0], size[1], form, !lossy);
                if ((form == Picture::kGrey16 && !TakesSixteenBits(format)) ||
                    (form == Picture::kRgb && format == PictureFormat::kPgm)) {
                    EXPECT_THROW(EncodePicture(picture, format), std::runtime_error);
                    continue;
                }
                Picture written = picture;
                if (form == Picture::kGrey8 && format == PictureFormat::kPpm) {
                    written = Picture(picture.width, picture.height);
                    for (std::size_t i = 0; i < written.bytes.size(); ++i)
                        written.bytes[i] = picture.bytes[i / 3];
                }
                const Picture read = read_back(EncodePicture(picture, format), format, written);
                ASSERT_EQ(read.width, written.width);
                ASSERT_EQ(read.height, written.height);
                ASSERT_EQ(read.form, written.form);
                ASSERT_EQ(read.bytes.size(), written.bytes.size());
                for (std::size_t i = 0; i < read.bytes.size(); ++i) {
                    ASSERT_NEAR(read.bytes[i], written.bytes[i], lossy ? 4 : 0) << "byte " << i;
                }
            }
        }
    }
    EXPECT_THROW(EncodePicture(Picture(0, 3), PictureFormat::kTiff), std::runtime_error);
    EXPECT_THROW(EncodePicture(Picture(70000, 1, Picture::kGrey8), PictureFormat::kJpeg), std::runtime_error);
}

TEST(Picture, WithoutColourIsWrittenAsGrey) {
    Picture picture(9, 5);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i)
        picture.bytes[i] = static_cast<std::uint8_t>(i / 3 * 5);
    EXPECT_EQ(read_png(EncodePicture(picture, PictureFormat::kPng)).form, Picture::kGrey8);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i) {
        Picture coloured = picture;
        coloured.bytes[i] ^= 1;
        EXPECT_EQ(read_png(EncodePicture(coloured, PictureFormat::kPng)).bytes, coloured.bytes);
    }
}

TEST(Picture, FormatIsKnownByName) {
    const struct {
        const char *name, *suffix;
    } rows[] = {
        {"png", ".png"}, {".png", ".png"},   {"a.b/x.PNG", ".png"}, {"x.jpeg", ".jpg"}, {"jpg", ".jpg"},
        {"TIF", ".tif"}, {"x.tiff", ".tif"}, {"pgm", ".pgm"},       {"x.ppm", ".ppm"},  {"-.npy", ".npy"},
        {"", ""},        {"dir/png", ""},    {"x.png/", ""},        {"x.dcm", ""},      {"x.png2", ""}};
    for (const auto& row : rows) {
        const auto format = PictureFormatOf(row.name);
        EXPECT_STREQ(format ? SuffixOf(*format) : "", row.suffix) << row.name;
    }
}

TEST(Fit, KeepsTheAspectAndConstantsExactly) {
    const struct {
        int width, height, boxWidth, boxHeight, fittedWidth, fittedHeight;
    } rows[] = {
        {512, 512, 256, 256, 256, 256},
        {512, 256, 100, 100, 100, 50},
        {3, 1000, 10, 10, 1, 10},
        {7, 5, 700, 50, 70, 50},
        {1, 1, 5, 9, 5, 5},
        {640, 481, 640, 480, 639, 480},
        {40, 30, 40, 30, 40, 30},
        {40, 30, 0, -1, 1, 1},
        {65535, 1, 10, 10, 10, 1},
        {65535, 2, 65534, 9, 65534, 2},
    };
    for (const auto& row : rows) {
        for (Picture::Form form : kForms) {
            SCOPED_TRACE(testing::Message() << row.width << "x" << row.height << " form " << form);
            Picture picture(row.width, row.height, form);
            std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{255});
            const Picture fitted = Fit(picture, row.boxWidth, row.boxHeight);
            EXPECT_EQ(fitted.width, row.fittedWidth);
            EXPECT_EQ(fitted.height, row.fittedHeight);
            EXPECT_EQ(static_cast<std::size_t>(std::count(fitted.bytes.begin(), fitted.bytes.end(), 255)),
                      Picture(row.fittedWidth, row.fittedHeight, form).bytes.size());
        }
    }
    EXPECT_THROW(Fit(Picture(), 4, 4), std::length_error);
    EXPECT_THROW(Fit(Picture(65536, 1), 4, 4), std::length_error);
}

TEST(Fit, AveragesAreasAndInterpolates) {
    const struct {
        int width, height, newWidth, newHeight;
        std::vector<int> levels, fitted;
    } rows[] = {
        {4, 2, 2, 1, {0, 10, 200, 255, 4, 1, 100, 56}, {4, 153}},  // 3.75, 152.75
        {3, 3, 2, 2, {0, 90, 180, 0, 90, 180, 0, 90, 180}, {30, 150, 30, 150}},
        {5, 1, 2, 1, {10, 20, 30, 40, 50}, {18, 42}},              // (10 + 20 + 15) / 2.5
        {2, 1, 4, 2, {10, 20}, {10, 13, 18, 20, 10, 13, 18, 20}},  // quarters: 12.5 and 17.5
        {1, 2, 2, 4, {0, 4}, {0, 0, 1, 1, 3, 3, 4, 4}},
        {2, 1, 3, 2, {0, 3}, {0, 2, 3, 0, 2, 3}},
    };
    for (const auto& row : rows) {
        for (Picture::Form form : kForms) {
            SCOPED_TRACE(testing::PrintToString(row.levels) + " form " + std::to_string(form));
            const auto picture = [form](int width, int height, const std::vector<int>& levels) {
                Picture made(width, height, form);
                for (int i = 0; i < width * height; ++i) {
                    std::uint8_t* const pixel = made.At(i % width, i / width);
                    const auto level = static_cast<std::uint16_t>(levels[static_cast<std::size_t>(i)]);
                    if (form == Picture::kGrey16) {
                        std::memcpy(pixel, &level, 2);
                    } else {
                        std::fill_n(pixel, form, static_cast<std::uint8_t>(level));
                    }
                }
                return made;
            };
            EXPECT_EQ(Fit(picture(row.width, row.height, row.levels), row.newWidth, row.newHeight).bytes,
                      picture(row.newWidth, row.newHeight, row.fitted).bytes);
        }
    }
}

}  // namespace
