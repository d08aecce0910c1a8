#include "renderer.h"

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Painter.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "io/present_error.h"

namespace {

constexpr int kLevels = 256;

std::vector<std::uint32_t> grey_palette() {
    std::vector<std::uint32_t> palette;
    for (std::uint32_t grey = 0; grey < 256; ++grey) palette.push_back(grey * 0x01010101U);
    return palette;
}

/// Calls visit with the table as what it must be for the raster's pixels. False when it is something else.
template <typename Out, typename Visit>
bool visit_table(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster, Visit visit) {
    const auto as = [&](auto sample) {
        auto* typed = dynamic_cast<ZEV_WindowingTable<decltype(sample), Out>*>(&table);
        if (typed == nullptr) return false;
        if (typed->GetTable() == nullptr) throw std::bad_alloc();
        visit(*typed, sample);
        return true;
    };
    if (raster.m_BitsPerPixel <= 8) {
        using Signed = signed char;
        using Unsigned = unsigned char;
        return raster.m_bSigned ? as(Signed()) : as(Unsigned());
    }
    using Signed = short;
    using Unsigned = unsigned short;
    return raster.m_bSigned ? as(Signed()) : as(Unsigned());
}

template <typename Out>
std::vector<std::uint8_t> storage_bytes(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster) {
    std::vector<std::uint8_t> bytes;
    visit_table<Out>(table, raster, [&](auto& typed, auto) {
        // The origin of a signed table stands in the middle of the part that is filled.
        const Out* first = typed.GetTable() - (raster.m_bSigned ? (1 << raster.m_BitsPerPixel) / 2 : 0);
        bytes.reserve(static_cast<std::size_t>(typed.GetSize()) * sizeof(Out));
        for (int i = 0; i < typed.GetSize(); ++i) {
            for (std::size_t b = 0; b < sizeof(Out); ++b) {
                bytes.push_back(static_cast<std::uint8_t>(std::uint32_t{first[i]} >> (8 * b)));
            }
        }
    });
    return bytes;
}

/// The screen of a picture at the image's own size.
KIT_Rect whole(const OpenedImage& image) { return {0, 0, image.File().Rows(), image.File().Columns()}; }

/// The pixels of an image in colour as they are.
Picture colour_picture(OpenedImage& image) {
    refhost::MemoryRaster& raster = image.Raster();
    Picture picture(raster.m_Width, raster.m_Height);
    raster.Lock();
    const auto* const source = static_cast<const std::uint32_t*>(raster.GetPixels());
    for (std::size_t i = 0; i < image.File().PresentPixels(); ++i) {
        picture.bytes[3 * i] = static_cast<std::uint8_t>(source[i] >> 16);
        picture.bytes[3 * i + 1] = static_cast<std::uint8_t>(source[i] >> 8);
        picture.bytes[3 * i + 2] = static_cast<std::uint8_t>(source[i]);
    }
    raster.Unlock();
    return picture;
}

}  // namespace

TargetForm::TargetForm(OpenedImage& image, const TableTarget& target, const KIT_Rect& outputRect)
    : m_Context(target.mode != TableTarget::kLevels ? kLevels
                : target.depth < 31                 ? 1 << target.depth
                                                    : std::numeric_limits<int>::max(),
                target.mode == TableTarget::kPalette ? grey_palette() : std::vector<std::uint32_t>()),
      m_Params(&image.View(), &m_Context, &image.Raster(), &m_Raster, outputRect) {
    m_Raster.m_PixelFormat = target.mode == TableTarget::kTrueColour ? refhost::MemoryRaster::kTrueColor
                                                                     : refhost::MemoryRaster::kPalette;
    m_Raster.m_BitsPerPixel = target.depth;
}

std::unique_ptr<ZEV_AbstractWindowingTable> BuildTable(OpenedImage& image, const TableTarget& target) {
    if (image.File().IsColour())
        throw PresentError(image.File().Path(), "is in colour and has no windowing table");
    const TargetForm form(image, target, whole(image));
    ZEV_Params& frozen = image.Frozen();
    frozen.Freeze();
    std::unique_ptr<ZEV_AbstractWindowingTable> table(frozen.BuildTable(form.Params()));
    frozen.Finalize(form.Params());
    frozen.Defrost();
    if (table == nullptr && target.mode == TableTarget::kLevels && target.depth > 16)
        throw PresentError(image.File().Path(), "no table is defined for that target and depth");
    if (table == nullptr) throw std::bad_alloc();
    return table;
}

ZEV_TableSource DescribeTable(OpenedImage& image) {
    if (image.File().IsColour()) return {};
    const TargetForm form(image, PictureTarget(8), whole(image));
    image.Frozen().Freeze();
    const ZEV_TableSource source = image.Frozen().DescribeTable(form.Params());
    image.Frozen().Defrost();
    return source;
}

int PaintedLevel(OpenedImage& image, int pixel) {
    TableTarget target = PictureTarget(8);
    target.depth = 8;
    const TargetForm form(image, target, whole(image));
    ZEV_Params& frozen = image.Frozen();
    frozen.Freeze();
    frozen.SetColorMap(nullptr);
    const ZEV_Painter painter(frozen, form.Params());
    frozen.Defrost();
    if (!painter.IsReady()) throw std::bad_alloc();
    const auto stored = static_cast<std::uint16_t>(pixel);
    const auto byte = static_cast<std::uint8_t>(pixel);
    std::uint8_t level = 0;
    painter.Paint(image.Raster().m_BitsPerPixel <= 8 ? static_cast<const void*>(&byte) : &stored, 0, 1, 1,
                  &level, 0);
    return level;
}

std::vector<std::uint8_t> TableBytes(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster,
                                     int outputDepth) {
    if (outputDepth <= 8) return storage_bytes<unsigned char>(table, raster);
    if (outputDepth <= 16) return storage_bytes<unsigned short>(table, raster);
    return storage_bytes<unsigned int>(table, raster);
}

TableTarget PictureTarget(int bits) {
    return bits == 16 ? TableTarget{TableTarget::kLevels, 16} : TableTarget{TableTarget::kTrueColour, 32};
}

void RefuseColourIn16Bits(const OpenedImage& image, int bits) {
    if (image.File().IsColour() && bits == 16)
        throw PresentError(image.File().Path(), "is in colour, and a picture of 16 bits is grey");
}

void PaintSupplement(const SupplementalPalette& palette, const KIT_Raster& raster, const void* pixels,
                     std::size_t count, Picture::Form form, std::uint8_t* painted) {
    const auto paint = [&](auto sample) {
        const auto* const bytes = static_cast<const unsigned char*>(pixels);
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(&sample, bytes + i * sizeof sample, sizeof sample);
            if (!palette.Has(sample)) continue;
            const std::uint32_t colour = palette.At(sample);
            const unsigned red = colour >> 16 & 0xFF, green = colour >> 8 & 0xFF, blue = colour & 0xFF;
            if (form == Picture::kGrey16) {
                const auto level =
                    static_cast<std::uint16_t>((299 * red + 587 * green + 114 * blue) * 257 / 1000);
                std::memcpy(painted + 2 * i, &level, sizeof level);
            } else {
                painted[3 * i] = static_cast<std::uint8_t>(red);
                painted[3 * i + 1] = static_cast<std::uint8_t>(green);
                painted[3 * i + 2] = static_cast<std::uint8_t>(blue);
            }
        }
    };
    if (raster.m_BitsPerPixel <= 8) {
        raster.m_bSigned ? paint(std::int8_t{}) : paint(std::uint8_t{});
    } else {
        raster.m_bSigned ? paint(std::int16_t{}) : paint(std::uint16_t{});
    }
}

Picture Render(OpenedImage& image, int bits) {
    RefuseColourIn16Bits(image, bits);
    if (image.File().IsColour()) return colour_picture(image);
    ZEV_Params& frozen = image.Frozen();
    frozen.Freeze();
    const ZEV_ColorMap* const map = frozen.GetColorMap();
    const SupplementalPalette* const supplement = image.Supplement();
    const bool isGrey = (map == nullptr || map->IsDummy()) && supplement == nullptr;
    TableTarget target = PictureTarget(bits);
    if (isGrey && bits == 8) target.depth = 8;
    const TargetForm form(image, target, whole(image));
    const ZEV_Painter painter(frozen, form.Params());
    frozen.Finalize(form.Params());
    frozen.Defrost();
    if (!painter.IsReady()) throw std::bad_alloc();

    refhost::MemoryRaster& raster = image.Raster();
    Picture picture(raster.m_Width, raster.m_Height,
                    target.depth == 8    ? Picture::kGrey8
                    : target.depth == 16 ? Picture::kGrey16
                                         : Picture::kRgb);
    const int pixelBytes = raster.m_BitsPerPixel <= 8 ? 1 : 2;
    const auto outBytes = static_cast<std::ptrdiff_t>(picture.RowBytes());
    raster.Lock();
    const auto paint = target.depth == 32 ? &ZEV_Painter::PaintRgb : &ZEV_Painter::Paint;
    (painter.*paint)(raster.GetPixels(), std::ptrdiff_t{pixelBytes} * raster.m_Width, raster.m_Width,
                     raster.m_Height, picture.bytes.data(), outBytes);
    if (supplement != nullptr) {
        PaintSupplement(*supplement, raster, raster.GetPixels(), image.File().Mono().Count(), picture.form,
                        picture.bytes.data());
    }
    raster.Unlock();
    const std::size_t present = image.File().PresentPixels() * static_cast<std::size_t>(picture.form);
    std::fill(picture.bytes.begin() + static_cast<std::ptrdiff_t>(present), picture.bytes.end(),
              std::uint8_t{0});
    return picture;
}
