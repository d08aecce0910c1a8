#include "renderer.h"

#include <refhost/MemoryContext.h>
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

}  // namespace

std::unique_ptr<ZEV_AbstractWindowingTable> BuildTable(OpenedImage& image, const TableTarget& target) {
    if (image.File().IsColour())
        throw PresentError(image.File().Path(), "is in colour and has no windowing table");
    int levels = kLevels;
    if (target.mode == TableTarget::kLevels) {
        levels = target.depth < 31 ? 1 << target.depth : std::numeric_limits<int>::max();
    }
    refhost::MemoryContext context(
        levels, target.mode == TableTarget::kPalette ? grey_palette() : std::vector<std::uint32_t>());
    refhost::MemoryRaster form;
    form.m_PixelFormat = target.mode == TableTarget::kTrueColour ? refhost::MemoryRaster::kTrueColor
                                                                 : refhost::MemoryRaster::kPalette;
    form.m_BitsPerPixel = target.depth;
    ZEV_Params& frozen = image.Frozen();
    frozen.Freeze();
    const ZEV_TableParams tableParams(&image.View(), &context, &image.Raster(), &form,
                                      KIT_Rect(0, 0, image.File().Rows(), image.File().Columns()));
    std::unique_ptr<ZEV_AbstractWindowingTable> table(frozen.BuildTable(tableParams));
    frozen.Finalize(tableParams);
    frozen.Defrost();
    if (table == nullptr && target.mode == TableTarget::kLevels && target.depth > 16)
        throw PresentError(image.File().Path(), "no table is defined for that target and depth");
    if (table == nullptr) throw std::bad_alloc();
    return table;
}

std::vector<std::uint8_t> TableBytes(ZEV_AbstractWindowingTable& table, const KIT_Raster& raster,
                                     int outputDepth) {
    if (outputDepth <= 8) return storage_bytes<unsigned char>(table, raster);
    if (outputDepth <= 16) return storage_bytes<unsigned short>(table, raster);
    return storage_bytes<unsigned int>(table, raster);
}

Picture Render(OpenedImage& image) {
    const bool isColour = image.File().IsColour();
    const std::unique_ptr<ZEV_AbstractWindowingTable> table =
        isColour ? nullptr : BuildTable(image, TableTarget());
    refhost::MemoryRaster& raster = image.Raster();
    Picture picture(raster.m_Width, raster.m_Height);
    const auto draw = [&picture, present = image.File().PresentPixels()](auto colourOf) {
        for (std::size_t i = 0; i < present; ++i) {
            const unsigned int colour = colourOf(i);
            picture.bytes[3 * i] = static_cast<std::uint8_t>(colour >> 16);
            picture.bytes[3 * i + 1] = static_cast<std::uint8_t>(colour >> 8);
            picture.bytes[3 * i + 2] = static_cast<std::uint8_t>(colour);
        }
    };
    raster.Lock();
    bool drawn = isColour;
    if (isColour) {
        draw([source = static_cast<const std::uint32_t*>(raster.GetPixels())](auto i) { return source[i]; });
    } else {
        drawn = visit_table<unsigned int>(*table, raster, [&](auto& typed, auto sample) {
            const auto* source = static_cast<const decltype(sample)*>(raster.GetPixels());
            draw([source, display = typed.GetTable()](auto i) { return display[source[i]]; });
        });
    }
    raster.Unlock();
    if (!drawn) throw PresentError(image.File().Path(), "no table can be made for its pixels");
    return picture;
}
