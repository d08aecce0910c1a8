// The least that draws a picture: a made-up slice of CT into minimal.pgm, or the file that is named.

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <refhost/Com.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <cstdint>
#include <fstream>
#include <vector>

int main(int argc, char** argv) {
    const refhost::ComApartment apartment;  // starts Windows' component library there
    // Stored values of 12 bits: a bright ball of 200 HU in a body of 40 HU, in air.
    constexpr int kSide = 256;
    refhost::MemoryRaster raster(kSide, kSide, 12, false);
    auto* pixels = static_cast<std::uint16_t*>(raster.GetPixels());
    for (int i = 0; i < kSide * kSide; ++i) {
        const int x = i % kSide - kSide / 2, y = i / kSide - kSide / 2, square = x * x + y * y;
        const int units = square < 40 * 40 ? 200 - square / 20 : square < 110 * 110 ? 40 : -1000;
        pixels[i] = static_cast<std::uint16_t>(units + 1024);
    }
    OBJ_Msg image;
    image.Put(Dicom_Tag(0x00280004), Dicom_CS("MONOCHROME2", nullptr));
    image.SetRescaleSlope(Dicom_DS(1)), image.SetRescaleIntercept(Dicom_DS(-1024));
    image.SetWindowCenter(Dicom_DS(40)), image.SetWindowWidth(Dicom_DS(400));

    std::vector<unsigned char> frame(kSide * kSide);
    //! [draw]
    // image: the attributes (OBJ_Msg), raster: the pixels (KIT_Raster)
    KIT_BaseParamsVec view(L"view");
    SPC_Modality modality(L"CT");
    ZEV_Params params;
    view.Append(&modality);
    view.Append(&params);
    if (ZEV_Dicom().UpdateFromDicom(&image, &raster, &params, nullptr, false, false, &view) != 0) return 1;
    params.UpdateCenter(-10);  // the user drags

    // A target that takes 256 levels of grey, a byte each.
    refhost::MemoryContext context(256);
    refhost::MemoryRaster target(1, 1, 8, false);
    const ZEV_Painter painter(params, ZEV_TableParams(&view, &context, &raster, &target, KIT_Rect()));
    if (!painter.IsReady()) return 1;
    painter.Paint(raster.GetPixels(), kSide * 2, kSide, kSide, frame.data(), kSide);
    //! [draw]

    std::ofstream out(argc > 1 ? argv[1] : "minimal.pgm", std::ios::binary);
    out << "P5\n" << kSide << " " << kSide << "\n255\n";
    out.write(reinterpret_cast<const char*>(frame.data()), kSide * kSide);
    return out.flush() ? 0 : 1;
}
