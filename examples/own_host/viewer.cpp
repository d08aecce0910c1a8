// Draws a frame of a viewer that has rasters and drawing targets of its own. Writes own_host.pgm.

#include <GFX/GFX_GraphicContext.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_Raster.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>

#include <cstdint>
#include <fstream>
#include <vector>

namespace {

constexpr int kSide = 256;

/// The viewer's pixels, which nobody moves.
class FrameRaster : public KIT_Raster {
public:
    FrameRaster(void* pixels, int bitsPerPixel) : m_pPixels(pixels) {
        m_Width = m_Height = kSide;
        m_BitsPerPixel = bitsPerPixel;
    }
    void* GetPixels() override { return m_pPixels; }
    int Lock() override { return 0; }
    void Unlock() override {}

private:
    void* m_pPixels;
};

/// A screen with 256 levels of grey.
class Screen : public GFX_GraphicContext {
public:
    int GetOutputLevels() override { return 256; }
    int GetPalette(void** palette) override {
        *palette = nullptr;
        return 0;
    }
    bool IsPrintRaster() override { return false; }
};

}  // namespace

int main() {
    std::vector<std::uint16_t> pixels(kSide * kSide);
    for (int i = 0; i < kSide * kSide; ++i)
        pixels[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(8 * (i % kSide + i / kSide));
    std::vector<unsigned char> frame(kSide * kSide);
    FrameRaster raster(pixels.data(), 12), target(frame.data(), 8);
    Screen screen;

    KIT_BaseParamsVec view(L"view");
    ZEV_Params live, frozen;
    frozen.SetLiveParams(&live);
    live.InitCenter(2048), live.InitWidth(4096), live.InitInverse(false);
    live.UpdateWidth(-1500);
    frozen.Freeze();
    const ZEV_Painter painter(frozen, ZEV_TableParams(&view, &screen, &raster, &target, KIT_Rect()));
    if (!painter.IsReady()) return 1;
    painter.Paint(pixels.data(), kSide * 2, kSide, kSide, frame.data(), kSide);

    std::ofstream out("own_host.pgm", std::ios::binary);
    out << "P5\n" << kSide << " " << kSide << "\n255\n";
    out.write(reinterpret_cast<const char*>(frame.data()), kSide * kSide);
    return out.flush() ? 0 : 1;
}
