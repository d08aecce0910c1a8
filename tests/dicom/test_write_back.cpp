// Writing the presentation back into a message, and the brightness and contrast object.

#include <ZEV/ZEV_RGBParams.h>

#include "support.h"

namespace {

using support::LogCapture;
using support::Message;
using Dictionary = Dicom_Dictionary;

std::string text_of(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* const value = msg.Get(tag);
    if (value == nullptr) return "absent";
    return static_cast<const char*>(_bstr_t(value->GetText(0).c_str()));
}

TEST(WriteBack, WindowGammaAndRescale) {
    ZEV_Params params;
    params.InitCenter(1000), params.InitWidth(100), params.InitInverse(true);
    params.SetRescaleSlope(2.0f), params.SetRescaleIntercept(-1000);
    Message msg;
    msg.Put(Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(3.0f));
    ZEV_Dicom dicom;
    EXPECT_EQ(dicom.UpdateTheDicom(&msg, &params), 0);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281050), 0), 1000);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281051), 0), 100);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281052), 0), -1000);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281053), 0), 2);
    EXPECT_EQ(text_of(msg, Dictionary::ORNEL1_INVERSE_WINDOW), "Y");
    EXPECT_EQ(msg.GetDouble(Dictionary::MIREL_GAMMA_WINDOWING_VALUE, 0), 3.0);
    // Stored values become modality values, 0.5 added and truncated.
    params.SetUseRescale(false), params.SetGamma(1.5f), params.SetInverse(false);
    dicom.UpdateTheDicom(&msg, &params);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281050), 0), 1000);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281051), 0), 200);
    params.SetCenter(10), params.SetRescaleSlope(-1.5f), params.SetRescaleIntercept(0), params.SetWidth(3);
    dicom.UpdateTheDicom(&msg, &params);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281050), 0), -14);
    EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281051), 0), -4);
    EXPECT_EQ(msg.GetDouble(Dictionary::MIREL_GAMMA_WINDOWING_VALUE, 0), 1.5);
    EXPECT_EQ(text_of(msg, Dictionary::ORNEL1_INVERSE_WINDOW), "N");

    LogCapture log;
    EXPECT_EQ(dicom.UpdateTheDicom(nullptr, &params), -1);
    EXPECT_EQ(dicom.UpdateTheDicom(&msg, nullptr), -1);
    EXPECT_EQ(log.lines.size(), 2u);
}

TEST(WriteBack, ShapesOnlyForTheInverseGreyMapAndCrossedOver) {
    ZEV_Params params;
    params.InitCenter(1), params.InitWidth(2), params.InitInverse(true);
    ZEV_ColorMap map;
    map.AddEntry(L"0.0", L"FFFFFF"), map.AddEntry(L"1.0", L"0"), map.CreateTable();
    params.SetColorMap(&map);
    const Dicom_Tag shape(0x20500020);
    for (const bool inverseMap : {false, true}) {
        for (const bool dummy : {false, true}) {
            for (const bool inverse : {false, true}) {
                Message msg;
                map.SetUID(inverseMap ? L"Inversed Grayscale" : L"1.2.3"), map.SetDummy(dummy);
                params.SetInverse(inverse);
                ZEV_Dicom().UpdateTheDicom(&msg, &params);
                const std::string plain = inverseMap ? inverse ? "IDENTITY" : "INVERSE" : "absent";
                const std::string crossed = inverseMap ? inverse ? "INVERSE" : "IDENTITY" : "absent";
                EXPECT_EQ(text_of(msg, shape), plain);
                EXPECT_EQ(text_of(msg, Dictionary::MIREL_PRESENTATION_LUT_SHAPE), crossed);
                EXPECT_EQ(msg.Get(Dicom_Tag(0x00281101)) == nullptr, dummy);
            }
        }
    }
}

TEST(WriteBack, TheSelectedEntry) {
    for (const int selection : {-1, 0, 1}) {
        Message image;
        image.Image(4, 4)
            .Window("40", "400", selection == 1 ? "SIGMOID" : nullptr)
            .Lut(0x00283010, 0, 8, {0, 128, 255});
        ZEV_Params params;
        EXPECT_EQ(ZEV_Dicom().UpdateDicomWithVoiLut(&image, &params), 0);
        params.SetVoiLutManager(new Mapper_WindowingManager(&image));
        params.GetVoiLutManager()->Init();
        params.SetVoiLutSelection(selection == 1 ? 0 : selection, false);
        params.SetCenter(7), params.SetWidth(8);
        Message msg;
        EXPECT_EQ(ZEV_Dicom().UpdateDicomWithVoiLut(&msg, &params), 0);
        EXPECT_EQ(msg.GetDouble(Dicom_Tag(0x00281050), 0), 7);
        EXPECT_EQ(text_of(msg, Dicom_Tag(0x00281056)), selection == 1 ? "SIGMOID" : "LINEAR");
        EXPECT_TRUE(selection == 1 || text_of(msg, Dicom_Tag(0x00281055)) == "Window width and centre");
    }
}

TEST(BrightnessAndContrast, LimitsCountsAndMessage) {
    ZEV_RGBParams limits, target;
    limits.UpdateBrightness(150), target.SetContrast(9);
    EXPECT_EQ(limits.GetBrightness(), 100);
    limits.SetContrast(3), target.Update(&limits), target.Update(nullptr);
    EXPECT_EQ(target.GetContrast(), 3);
    EXPECT_EQ(target.GetCount(), limits.GetCount());
    limits.UpdateContrast(0);
    EXPECT_EQ(limits.GetCount(), target.GetCount() + 1);

    Message msg;
    ZEV_RGBParams p;
    EXPECT_EQ(p.UpdateFromDicom(nullptr) + p.UpdateFromDicom(&msg), 0);
    msg.Put(Dictionary::MIREL_BRIGHTNESS, Dicom_FL(-12.9f));
    p.UpdateFromDicom(&msg);
    EXPECT_EQ(std::pair(p.GetBrightness(), p.GetCount()), std::pair(-12, 3));
    EXPECT_EQ(p.UpdateTheDicom(nullptr), -1);
    EXPECT_EQ(p.UpdateTheDicom(&msg), 1);
    EXPECT_EQ(msg.GetDouble(Dictionary::MIREL_CONTRAST, 7), 0.0);
}

}  // namespace
