// An image without a window: measured once, kept in the message.

#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Dictionary.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <ZEV/ZEV_Dicom.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "support.h"

namespace {

constexpr unsigned kModality = 0x00080060;
constexpr unsigned kImageType = 0x00080008;
constexpr unsigned kPaddingValue = 0x00280120;
constexpr unsigned kPaddingLimit = 0x00280121;

/// Counts how often its pixels were asked for.
class CountingRaster : public refhost::MemoryRaster {
public:
    CountingRaster(int width, int height, int bits, bool isSigned)
        : MemoryRaster(width, height, bits, isSigned) {}
    void* GetPixels() override {
        ++asked;
        lockedWhenAsked = lockedWhenAsked && LockDepth() > 0;
        return MemoryRaster::GetPixels();
    }
    int asked = 0;
    bool lockedWhenAsked = true;
};

/// 10 by 20 pixels with the values 1 to 200.
struct Ramp : CountingRaster {
    Ramp() : CountingRaster(10, 20, 12, false) {
        auto* const words = reinterpret_cast<std::uint16_t*>(Bytes().data());
        for (int i = 0; i < 200; ++i) words[i] = static_cast<std::uint16_t>(i + 1);
    }
};

int open_image(OBJ_Msg& msg, KIT_Raster* raster, ZEV_Params& params, bool headerOnly = false) {
    KIT_BaseParamsVec vec(L"view");
    return ZEV_Dicom().UpdateFromDicom(&msg, raster, &params, nullptr, headerOnly, false, &vec);
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
        int width, center;              // of the parameters
        int cachedWidth, cachedCenter;  // -1: nothing cached
    };
    const Case cases[] = {
        {"percentiles, centre 100.5 truncated", [](auto&) {}, 197, 100, 197, 100},
        {"rescaled, each product in single precision", [](auto& m) { m.Rescale("2", "-1000"); }, 394, -800,
         197, 100},
        {"fraction", [](auto& m) { m.Rescale("0.1", "0.9"); }, 19, 10, 197, 100},
        {"a negative slope gives a negative width", [](auto& m) { m.Rescale("-1", "0"); }, -197, -100, 197,
         100},
        {"CT localizer: full range",
         [](auto& m) { m.Text(kImageType, "CS", "ORIGINAL\\PRIMARY\\LOCALIZER"); }, 199, 100, 199, 100},
        {"localizer of another modality",
         [](auto& m) {
             m.Text(kModality, "CS", "MR").Text(kImageType, "CS", "ORIGINAL\\PRIMARY\\LOCALIZER");
         },
         197, 100, 197, 100},
        {"padding", [](auto& m) { m.Words(kPaddingValue, "US", {200}); }, 196, 100, 196, 100},
        {"padding range",
         [](auto& m) { m.Words(kPaddingValue, "US", {101}).Words(kPaddingLimit, "US", {200}); }, 99, 50, 99,
         50},
        // As signed numbers -200 to 100, by the attribute's own representation.
        {"padding's own sign",
         [](auto& m) { m.Words(kPaddingValue, "SS", {65336}).Words(kPaddingLimit, "SS", {100}); }, 99, 150,
         99, 150},
        {"no modality: fixed window", [](auto& m) { m.Remove(Dicom_Tag(kModality)); }, 4095, 1000, -1, -1},
        {"nothing but padding: fixed window",
         [](auto& m) { m.Words(kPaddingValue, "US", {0}).Words(kPaddingLimit, "US", {300}); }, 4095, 1000, -1,
         -1},
        {"colour: not measured", [](auto& m) { m.Text(0x00280004, "CS", "RGB"); }, 4095, 1000, -1, -1},
        {"MONOCHROME1", [](auto& m) { m.Text(0x00280004, "CS", "MONOCHROME1"); }, 197, 100, 197, 100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        support::Message msg = ct_image();
        c.change(msg);
        Ramp raster;
        ZEV_Params params;
        EXPECT_EQ(open_image(msg, &raster, params), 0);
        EXPECT_EQ(params.GetWidth(), c.width);
        EXPECT_EQ(params.GetCenter(), c.center);
        EXPECT_EQ(params.GetVoiLutSelection(), -1);
        int width = -1, center = -1;
        EXPECT_EQ(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center), c.cachedWidth != -1);
        EXPECT_EQ(width, c.cachedWidth);
        EXPECT_EQ(center, c.cachedCenter);
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

TEST(AutomaticWindow, CacheOfOneValueIsNone) {
    for (const Dicom_Tag& tag :
         {Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH, Dicom_Dictionary::MIREL_AUTO_WIN_CENTER}) {
        support::Message msg = ct_image();
        msg.Put(tag, Dicom_DS(3));
        int width = -7, center = -7;
        EXPECT_FALSE(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center));
        EXPECT_EQ(width, -7);
        EXPECT_EQ(center, -7);
        Ramp raster;
        ZEV_Params params;
        open_image(msg, &raster, params);
        EXPECT_TRUE(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center));
        EXPECT_EQ(width, 197);
        EXPECT_EQ(center, 100);
    }
    support::Message msg;
    msg.Put(Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH, Dicom_DS(400.7));
    msg.Put(Dicom_Dictionary::MIREL_AUTO_WIN_CENTER, Dicom_DS(-40.9));
    int width = 0, center = 0;
    EXPECT_TRUE(ZEV_Dicom::GetAutoWinValuesForImage(&msg, &width, &center));
    EXPECT_EQ(width, 400);
    EXPECT_EQ(center, -40);
    EXPECT_FALSE(ZEV_Dicom::GetAutoWinValuesForImage(nullptr, &width, &center));
    ZEV_Dicom::SetAutoWinValuesForImage(nullptr, 1, 1);
}

TEST(AutomaticWindow, LogLines) {
    support::Message msg = ct_image();
    msg.Remove(Dicom_Tag(kModality));
    Ramp raster;
    ZEV_Params params;
    support::LogCapture log;
    open_image(msg, &raster, params);
    EXPECT_TRUE(log.Has("4 ZEV_Dicom::auto_win missing MODALITY tag"));
    EXPECT_TRUE(log.Has("7 ZEV_Dicom::auto_win Auto windowing failed (header?) for params 0x"));
}

// The header only: nothing is measured even if the pixels are there.
TEST(AutomaticWindow, NotForTheHeaderOnly) {
    support::Message msg = ct_image();
    Ramp raster;
    ZEV_Params params;
    open_image(msg, &raster, params, true);
    EXPECT_EQ(params.GetWidth(), 4095);
    EXPECT_EQ(raster.asked, 0);
}

}  // namespace
