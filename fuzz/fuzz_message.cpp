// Any attributes: opened, saved display parameters laid over, tables built, written back, opened again.

#include <COM/com_error.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_RGBParams.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <memory>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    OBJ_Msg msg, saved;
    fuzz::PutMany(input, msg);
    fuzz::PutMany(input, saved);
    refhost::MemoryRaster raster = fuzz::AnyRaster(input);
    KIT_BaseParamsVec vec(L"view");
    SPC_Modality modality(static_cast<SPC_Modality::MODALITY>(input.ConsumeIntegralInRange(-1, 11)));
    SPC_MeasurementUnitsParams units(&msg);
    ZEV_Params params;
    vec.Append(&modality), vec.Append(&units), vec.Append(&params);
    ZEV_Dicom dicom;
    const bool header = input.ConsumeBool();
    dicom.UpdateFromDicom(&msg, header ? nullptr : &raster, &params, input.ConsumeBool() ? &saved : nullptr,
                          header, input.ConsumeBool(), &vec);
    if (input.ConsumeBool()) dicom.UpdateFromDDP(&msg, &raster, &params, &saved, &vec);
    fuzz::ChangeAny(input, params);
    const auto unit = static_cast<ZEV_WindowingUnits::Units>(input.ConsumeIntegralInRange(-2, 6));
    ZEV_Dicom::SetWindowingPresetValues(&params, &vec, input.ConsumeIntegral<int>(),
                                        input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>(),
                                        input.ConsumeIntegral<int>(), unit);
    params.SetReferenceRaster(&raster, false);
    params.CalcPixelRange(nullptr, input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>());
    {
        const fuzz::AnyTarget target(input, raster);
        const std::unique_ptr<ZEV_AbstractWindowingTable> table(params.BuildTable(target.Params()));
        const ZEV_Painter painter(params, target.Params());
        fuzz::Require(painter.IsReady() == (table != nullptr));
        std::vector<std::uint32_t> out(static_cast<std::size_t>(raster.m_Width) * raster.m_Height);
        painter.Paint(raster.GetPixels(),
                      std::ptrdiff_t{raster.m_Width} * static_cast<int>(raster.BytesPerPixel()),
                      raster.m_Width, raster.m_Height, out.data(),
                      std::ptrdiff_t{raster.m_Width} * target.BytesPerValue());
    }
    ZEV_Params frozen(params);
    OBJ_Msg written(msg);
    dicom.UpdateTheDicom(&written, &frozen);
    dicom.UpdateDicomWithVoiLut(&written, &frozen);
    dicom.UpdateFromDicom(&written, &raster, &frozen, nullptr, false, true, &vec);
    ZEV_RGBParams rgb;
    rgb.UpdateFromDicom(&msg);
    rgb.UpdateTheDicom(&written);
    return 0;
}
