// An image without a window: measured once, kept in the message.

#include <DICOM/Dicom_DS.h>

#include <cstring>

#include "support.h"

namespace {

constexpr unsigned kModality = 0x00080060;
constexpr unsigned kImageType = 0x00080008;
constexpr unsigned kPaddingValue = 0x00280120;
constexpr unsigned kPaddingLimit = 0x00280121;

/// Counts how often its pixels were asked for.
class Ramp : public refhost::MemoryRaster {
public:
    /// 10 by 20 pixels with the values 1 to 200.
    Ramp() : MemoryRaster(10, 20, 12, false) {
        auto* const words = reinterpret_cast<std::uint16_t*>(Bytes().data());
        for (int i = 0; i < 200; ++i) words[i] = static_cast<std::uint16_t>(i + 1);
    }
    void* GetPixels() override {
        ++asked;
        lockedWhenAsked = lockedWhenAsked && LockDepth() > 0;
        return MemoryRaster::GetPixels();
    }
    int asked = 0;
    bool lockedWhenAsked = true;
};

int open_image(OBJ_Msg& msg, KIT_Raster* raster, ZEV_Params& params) {
    KIT_BaseParamsVec vec(L"view");
    return ZEV_Dicom().UpdateFromDicom(&msg, raster, &params, nullptr, false, false, &vec);
}

support::Message ct_image() {
    support::Message msg;
    msg.Image(20, 10).Text(kModality, "CS", "CT");
    return msg;
}

TEST(AutomaticWindow, FromPixels) {
    struct Case {
        const char* name;
        std::function<void(support::Message&)> change;
        int width, center;                          // of the parameters
        int cachedWidth = 197, cachedCenter = 100;  // -1: nothing cached
    };
    const std::string localizer = "ORIGINAL\\PRIMARY\\LOCALIZER";
    const auto padding = [](const char* vr, int value, int limit) {
        return [=](support::Message& m) {
            m.Words(kPaddingValue, vr, {static_cast<std::uint16_t>(value)});
            if (limit >= 0) m.Words(kPaddingLimit, vr, {static_cast<std::uint16_t>(limit)});
        };
    };
    const Case cases[] = {
        {"percentiles, centre 100.5 truncated", [](auto&) {}, 197, 100},
        {"each product in single precision", [](auto& m) { m.Rescale("2", "-1000"); }, 394, -800},
        {"negative slope: negative width", [](auto& m) { m.Rescale("-1", "0"); }, -197, -100},
        {"localizer", [&](auto& m) { m.Text(kImageType, "CS", localizer); }, 199, 100, 199, 100},
        {"localizer of MR", [&](auto& m) { m.Text(kModality, "CS", "MR").Text(kImageType, "CS", localizer); },
         197, 100},
        {"padding", padding("US", 200, -1), 196, 100, 196, 100},
        {"padding range", padding("US", 101, 200), 99, 50, 99, 50},
        // As signed numbers -200 to 100, by the attribute's own representation.
        {"padding's own sign", padding("SS", 65336, 100), 99, 150, 99, 150},
        {"no modality: fixed", [](auto& m) { m.Remove(Dicom_Tag(kModality)); }, 4095, 1000, -1, -1},
        {"nothing but padding: fixed", padding("US", 0, 300), 4095, 1000, -1, -1},
        {"colour: not measured", [](auto& m) { m.Text(0x00280004, "CS", "RGB"); }, 4095, 1000, -1, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        support::Message msg = ct_image();
        c.change(msg);
        Ramp raster;
        ZEV_Params params;
        EXPECT_EQ(open_image(msg, &raster, params), 0);
        EXPECT_EQ(std::pair(params.GetWidth(), params.GetCenter()), std::pair(c.width, c.center));
        EXPECT_EQ(params.GetVoiLutSelection(), -1);
        int width = -1, center = -1;
        EXPECT_EQ(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center), c.cachedWidth != -1);
        EXPECT_EQ(std::pair(width, center), std::pair(c.cachedWidth, c.cachedCenter));
        EXPECT_EQ(raster.LockDepth(), 0);
        EXPECT_TRUE(raster.lockedWhenAsked);
    }
}

TEST(AutomaticWindow, SecondOpeningReadsTheCache) {
    support::Message msg = ct_image();
    msg.Rescale("1", "-24");
    Ramp raster;
    ZEV_Params first, second;
    open_image(msg, &raster, first);
    std::memset(raster.Bytes().data(), 0, raster.Bytes().size());
    raster.asked = 0;
    support::LogCapture log;
    open_image(msg, &raster, second);
    EXPECT_EQ(second.GetWidth(), first.GetWidth());
    EXPECT_EQ(second.GetCenter(), 76);
    EXPECT_EQ(raster.asked, 1) << "once to know whether there are any, and not to read them";
    EXPECT_TRUE(log.Has(
        "7 ZEV_Dicom::GetAutoWinValuesForImage Previous auto windowing values exist: width=197, center=100"));
    EXPECT_FALSE(log.Has("ZEV_Dicom::auto_win"));
}

TEST(AutomaticWindow, WithoutPixelsOrAWholeCacheThereIsNone) {
    support::Message image = ct_image();
    refhost::MemoryRaster none;
    ZEV_Params params;
    params.InitCenter(7), params.InitWidth(8);
    open_image(image, &none, params);
    EXPECT_EQ(std::pair(params.GetCenter(), params.GetWidth()), std::pair(1000, 4095));
    int width = -7, center = -7;
    support::Message half;
    half.Put(Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH, Dicom_DS(3));
    EXPECT_FALSE(ZEV_Dicom::GetAutoWinValuesForImage(&half, &width, &center));
    EXPECT_EQ(width, -7);
    support::Message msg;
    msg.Put(Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH, Dicom_DS(400.7));
    msg.Put(Dicom_Dictionary::MIREL_AUTO_WIN_CENTER, Dicom_DS(-40.9));
    EXPECT_TRUE(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center));
    EXPECT_EQ(std::pair(width, center), std::pair(400, -40));
}

}  // namespace
