#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_Raster.h>

#include <cstddef>
#include <mutex>
#include <vector>

namespace refhost {

/// A raster with its own pixel memory, all 0 at first.
class HOST_API MemoryRaster : public KIT_Raster {
public:
    static constexpr int kPalette = 0;
    static constexpr int kTrueColor = 1;

    /// A raster without data.
    MemoryRaster() = default;
    /// One value per pixel, in bytes up to 8 bits, else in 16-bit words. A size below 1 or a depth
    /// outside 1..16 gives a raster without data.
    MemoryRaster(int width, int height, int bitsPerPixel, bool isSigned);
    /// A true colour raster of 32 bits per pixel.
    static MemoryRaster TrueColor(int width, int height);
    MemoryRaster(MemoryRaster&& other) noexcept;

    void* GetPixels() override;
    int Lock() override;
    void Unlock() override;

    /// The depth of the lock; 0 when nobody holds it.
    int LockDepth() const { return m_Locks; }
    std::size_t BytesPerPixel() const;
    std::vector<unsigned char>& Bytes() { return m_Bytes; }

private:
    std::vector<unsigned char> m_Bytes;
    std::recursive_mutex m_Mutex;
    int m_Locks = 0;
};

}  // namespace refhost
