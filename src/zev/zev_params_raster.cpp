// The reference raster and its lock, the pixel range, and the switch for the full range.

#include <BLK/BLK_Lock.h>
#include <BLK/BLK_ProcessedData.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <SRC/SRC_IImageDataSource.h>
#include <SRC/SRC_IProcessedDataSource.h>
#include <ZEV/ZEV_Params.h>

#include <algorithm>
#include <cstdint>

#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_once.h"
#include "zev_raster_lock.h"

namespace {

/// Largest range of 16-bit pixels, and what a search for their ends starts from.
constexpr int kPixelValues = 65536;

/// Largest minus smallest of `count` pixels of up to three adjacent rows; negative when there is none. The
/// rows outside the raster are left out.
template <class Pixel>
int sample_range(const Pixel* pixels, int width, int height, int first, int count) {
    int lowest = kPixelValues, highest = -kPixelValues;
    for (int y = std::max(height / 2 - 1, 0); y <= height / 2 + 1 && y < height; ++y) {
        const Pixel* const row = pixels + static_cast<std::ptrdiff_t>(y) * width + first;
        for (int i = 0; i < count; ++i) {
            lowest = std::min<int>(lowest, row[i]);
            highest = std::max<int>(highest, row[i]);
        }
    }
    return highest - lowest;
}

}  // namespace

void ZEV_Params::SetReferenceRaster(KIT_Raster* raster, bool takeOwnership) {
    ZEV_Params* const live = static_cast<ZEV_Params*>(m_pLiveParams);
    // A null raster is passed on only after a real one has been.
    if (live != nullptr && (raster != nullptr || m_bRasterPassedToLive)) {
        m_bRasterPassedToLive = true;
        live->SetReferenceRaster(raster, takeOwnership);
    }
    m_pReferenceRaster = nullptr;
    // The raster that is owned already stays alive when it is handed over again.
    if (takeOwnership && raster != nullptr && m_OwnedRaster.get() == raster) return;
    m_OwnedRaster = nullptr;
    if (takeOwnership) {
        if (live != nullptr && raster != nullptr && live->m_OwnedRaster.get() == raster) {
            // One duty to delete, shared by both.
            m_OwnedRaster = live->m_OwnedRaster;
        } else {
            m_OwnedRaster = raster;
        }
    } else if (live == nullptr) {
        m_RasterLock.lock();
        m_pReferenceRaster = raster;
        m_RasterLock.unlock();
    } else {
        m_pReferenceRaster = raster;
    }
}

KIT_Raster* ZEV_Params::GetReferenceRaster() {
    KIT_Raster* const raster = LockReferenceRaster();
    UnlockReferenceRaster();
    return raster;
}

KIT_Raster* ZEV_Params::LockReferenceRaster() {
    m_RasterLock.lock();
    return m_OwnedRaster ? m_OwnedRaster.get() : m_pReferenceRaster;
}

void ZEV_Params::UnlockReferenceRaster() { m_RasterLock.unlock(); }

int ZEV_Params::GetPixelRange() { return m_PixelRange; }

void ZEV_Params::CalcPixelRange(SRC_IImageDataSource* source, int from, int to) {
    const char* const function = "ZEV_Params::CalcPixelRange";
    if (m_PixelRange != -1) return;
    // Null for a source without that interface.
    const SRC_IProcessedDataSourcePtr processedSource = SRC_IImageDataSourcePtr(source);
    if (processedSource != nullptr) {
        BLK_ProcessedData* data = nullptr;
        processedSource->GetProcessedData(&data);
        if (data != nullptr) {
            const BLK_Lock lock(data);
            if (lock.IsLocked()) {
                m_PixelRange = data->GetValueRange(-1);
                if (m_PixelRange <= 0) m_PixelRange = -1;
            }
        }
    } else {
        constexpr int kPaletteFormat = 0;
        // Deepest raster whose range is not worth sampling: it stays unknown.
        constexpr int kShallow = 12;
        KIT_Raster* const raster = GetReferenceRaster();
        if (raster == nullptr || raster->m_PixelFormat != kPaletteFormat ||
            raster->m_BitsPerPixel <= kShallow)
            return;
        const zev::RasterLock lock(raster);
        const void* const pixels = raster->GetPixels();
        if (pixels == nullptr) {
            ZEV_LOG(function, zev::kLogError, "Raster has no data!\n");
            return;
        }
        const int width = raster->m_Width;
        if (from < 0 || to > width) {
            from = 0;
            to = width;
        }
        const int span = zev::SaturateToInt(std::int64_t{to} - from - 1);
        if (span <= 0) {
            ZEV_LOG(function, zev::kLogAbsent, "CalcPixelRange: no data found, setting range to 0\n");
            m_PixelRange = 0;
            return;
        }
        const int count = span / 2;
        const int first = from + count / 2;
        m_PixelRange = raster->m_bSigned ? sample_range(static_cast<const std::int16_t*>(pixels), width,
                                                        raster->m_Height, first, count)
                                         : sample_range(static_cast<const std::uint16_t*>(pixels), width,
                                                        raster->m_Height, first, count);
    }
    if (m_PixelRange > kPixelValues) {
        ZEV_LOG(function, zev::kLogError, "values in pixel data exceed 16 bit\n");
        m_PixelRange = kPixelValues;
    } else if (m_PixelRange < 0) {
        ZEV_LOG(function, zev::kLogError, "no data found\n");
        m_PixelRange = 0;
    }
    if (GetUseRescale()) m_PixelRange = zev::TruncToInt(GetRescaleSlope() * static_cast<float>(m_PixelRange));
}

bool ZEV_Params::ShouldUseFullRange() {
    static zev::OnlyOnce once;
    static bool fullRange = false;
    once.Run([] {
        PRM_ITreePtr root(CLSID_PRM_Tree);
        fullRange = root->GetIntDefault(L"windowing\\always_window_full_range", 0) != 0;
        ZEV_LOG("ZEV_Params::ShouldUseFullRange", zev::kLogUnusual,
                "Auto windowing - window full range? %s\n", fullRange ? "YES" : "NO");
    });
    return fullRange;
}
