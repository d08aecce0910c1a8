// The loop of a viewer: the user drags a window, the renderer draws frozen copies, and two regions have
// windows of their own. Writes drag-0.ppm to drag-3.ppm into the current folder, or the one that is named.

#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_PolygonMask.h>
#include <SPC/SPC_SpaceInfo.h>
#include <ZEV/ZEV_Masks.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <refhost/Com.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int kSide = 256;

/// One windowing: the user changes `live`, the renderer sees `frozen`, which must not outlive it.
struct Windowing {
    Windowing(int center, int width) {
        frozen.SetLiveParams(&live);
        live.InitCenter(center), live.InitWidth(width), live.InitInverse(false);
    }
    ZEV_Params live, frozen;
};

class Viewer {
public:
    Viewer() {
        auto* pixels = static_cast<std::uint16_t*>(m_Raster.GetPixels());
        for (int i = 0; i < kSide * kSide; ++i)
            pixels[i] = static_cast<std::uint16_t>(8 * (i % kSide + i / kSide));

        //! [regions]
        // One screen pixel for each of the image; the mask set brings the regions there.
        m_Space.SetRasterSize(kSide, kSide), m_Space.SetScreenSize(kSide, kSide);
        m_View.Append(&m_Space);
        // The image itself is the first region, without a mask. The later a region, the higher it lies.
        m_Masks.SetLiveParams(&m_LiveMasks);
        m_Image.frozen.ConvertToMasks(&m_Masks, &m_View);
        m_Masks.UpdateMaskFromParam("square", &m_Square.frozen,
                                    new KIT_PolygonMask({{30, 30}, {150, 30}, {150, 150}, {30, 150}}), false,
                                    true, false);
        m_Masks.UpdateMaskFromParam("triangle", &m_Triangle.frozen,
                                    new KIT_PolygonMask({{120, 110}, {230, 230}, {100, 220}}), false, true,
                                    false);
        m_Triangle.live.SetInverse(true);
        //! [regions]
    }

    //! [drag]
    /// The mouse moved: only numbers change.
    void Drag(int across, int down) {
        m_Image.live.UpdateWidth(across);
        m_Image.live.UpdateCenter(down);
    }
    //! [drag]

    /// Three bytes for each pixel.
    std::vector<unsigned char> Draw() {
        //! [freeze]
        for (Windowing* windowing : {&m_Image, &m_Square, &m_Triangle}) windowing->frozen.Freeze();
        m_Masks.UpdateMasks(m_Target);  // builds what is stale, and nothing else
        //! [freeze]

        //! [painters]
        std::vector<unsigned char> frame(3 * kSide * kSide);
        std::map<const KIT_Mask::Data*, ZEV_Painter> painters;
        const auto paint = [&](ZEV_Params& params, const KIT_Mask::Data* tag, int y, int from, int to) {
            const ZEV_Painter& painter = painters.try_emplace(tag, params, m_Target).first->second;
            const auto* row = static_cast<const std::uint16_t*>(m_Raster.GetPixels()) + y * kSide;
            if (painter.IsReady())
                painter.PaintRgb(row + from, 0, to - from, 1, &frame[3 * std::size_t(y * kSide + from)], 0);
        };
        for (int y = 0; y < kSide; ++y) paint(m_Image.frozen, nullptr, y, 0, kSide);
        for (const KIT_LinesMask::Run& run : m_Masks.GetCombinedMask()->GetRuns()) {
            if (auto* params = dynamic_cast<ZEV_Params*>(m_Masks.GetParamOf(run.data)))
                paint(*params, run.data, run.y, run.left, run.right);
        }
        m_Masks.FinalizeAll(m_Target);
        for (Windowing* windowing : {&m_Image, &m_Square, &m_Triangle}) windowing->frozen.Defrost();
        //! [painters]
        return frame;
    }

private:
    refhost::MemoryRaster m_Raster{kSide, kSide, 12, false};
    refhost::MemoryRaster m_Screen = refhost::MemoryRaster::TrueColor(1, 1);
    refhost::MemoryContext m_Context{256};
    SPC_SpaceInfo m_Space;
    KIT_BaseParamsVec m_View{L"view"};
    ZEV_TableParams m_Target{&m_View, &m_Context, &m_Raster, &m_Screen, KIT_Rect(0, 0, kSide, kSide)};
    Windowing m_Image{2048, 4096}, m_Square{1000, 500}, m_Triangle{2600, 1500};
    ZEV_Masks m_LiveMasks, m_Masks;
};

}  // namespace

int main(int argc, char** argv) {
    const refhost::ComApartment apartment;  // starts Windows' component library there
    const std::string folder = argc > 1 ? argv[1] : ".";
    Viewer viewer;
    for (int step = 0; step < 4; ++step) {
        const std::vector<unsigned char> frame = viewer.Draw();
        std::ofstream out(folder + "/drag-" + std::to_string(step) + ".ppm", std::ios::binary);
        out << "P6\n" << kSide << " " << kSide << "\n255\n";
        out.write(reinterpret_cast<const char*>(frame.data()), static_cast<std::streamsize>(frame.size()));
        if (!out.flush()) return 1;
        viewer.Drag(-700, -300);
    }
    return 0;
}
