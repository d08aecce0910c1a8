#include <GFX/GFX_GraphicContext.h>
#include <KIT/KIT_Mask.h>
#include <KIT/KIT_Raster.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <utility>

KIT_Raster::~KIT_Raster() = default;
KIT_Mask::~KIT_Mask() = default;
KIT_Mask_proxy::~KIT_Mask_proxy() = default;
GFX_GraphicContext::~GFX_GraphicContext() = default;

namespace refhost {

MemoryRaster::MemoryRaster(int width, int height, int bitsPerPixel, bool isSigned) {
    m_PixelFormat = kPalette;
    m_BitsPerPixel = bitsPerPixel;
    m_Width = width;
    m_Height = height;
    m_bSigned = isSigned;
    if (width > 0 && height > 0 && bitsPerPixel > 0 && bitsPerPixel <= 16) {
        m_Bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * BytesPerPixel());
    }
}

MemoryRaster MemoryRaster::TrueColor(int width, int height) {
    MemoryRaster raster;
    raster.m_PixelFormat = kTrueColor;
    raster.m_BitsPerPixel = 32;
    raster.m_Width = width;
    raster.m_Height = height;
    if (width > 0 && height > 0) {
        raster.m_Bytes.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    }
    return raster;
}

MemoryRaster::MemoryRaster(MemoryRaster&& other) noexcept
    : KIT_Raster(other), m_Bytes(std::move(other.m_Bytes)) {}

void* MemoryRaster::GetPixels() { return m_Bytes.empty() ? nullptr : m_Bytes.data(); }

int MemoryRaster::Lock() {
    m_Mutex.lock();
    return ++m_Locks;
}

void MemoryRaster::Unlock() {
    --m_Locks;
    m_Mutex.unlock();
}

std::size_t MemoryRaster::BytesPerPixel() const {
    if (m_PixelFormat == kTrueColor) return 4;
    return m_BitsPerPixel <= 8 ? 1 : 2;
}

MemoryContext::MemoryContext(int outputLevels, std::vector<std::uint32_t> palette)
    : m_OutputLevels(outputLevels), m_Palette(std::move(palette)) {}

int MemoryContext::GetPalette(void** palette) {
    *palette = m_Palette.empty() ? nullptr : m_Palette.data();
    return static_cast<int>(m_Palette.size());
}

}  // namespace refhost
