#include <COM/com_error.h>
#include <ZEV/ZEV_ReferenceRaster.h>
#include <refhost/Config.h>
#include <refhost/ProcessedData.h>

#include <chrono>
#include <future>

#include "rasters.h"
#include "support.h"

namespace {

/// Another thread that takes the object's raster lock for a moment.
struct Visitor {
    explicit Visitor(ZEV_Params& params)
        : entered(std::async(std::launch::async,
                             [&params] { params.LockReferenceRaster(), params.UnlockReferenceRaster(); })) {}
    bool Waits() { return entered.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout; }
    bool Enters() { return entered.wait_for(std::chrono::seconds(20)) == std::future_status::ready; }
    std::future<void> entered;
};

TEST(ReferenceRaster, FrozenCopyPassesRastersOn) {
    refhost::MemoryRaster raster(1, 1, 8, false), second(1, 1, 8, false);
    ZEV_Params live, copy;
    live.SetReferenceRaster(&raster, false);
    copy.SetLiveParams(&live), copy.SetReferenceRaster(nullptr, false);
    EXPECT_EQ(live.GetReferenceRaster(), &raster) << "null is passed on only after a raster";
    copy.SetReferenceRaster(&second, false);
    EXPECT_EQ(live.GetReferenceRaster(), &second);
    EXPECT_EQ(copy.GetReferenceRaster(), &second);
    copy.SetReferenceRaster(nullptr, false);
    EXPECT_EQ(live.GetReferenceRaster(), nullptr);
    copy.SetLiveParams(nullptr);
}

TEST(ReferenceRaster, GuardHoldsOneLock) {
    refhost::MemoryRaster raster(1, 1, 8, false);
    ZEV_Params first, second, empty;
    first.SetReferenceRaster(&raster, false);
    second.SetReferenceRaster(&raster, false);
    ZEV_ReferenceRaster guard;
    EXPECT_EQ(guard.GetReferenceRaster(&first), &raster);
    EXPECT_EQ(guard.GetReferenceRaster(&first), &raster);
    EXPECT_EQ(guard.GetReferenceRaster(nullptr), &raster);
    Visitor ofFirst(first);
    EXPECT_TRUE(ofFirst.Waits());
    EXPECT_EQ(guard.GetReferenceRaster(&second), &raster);
    EXPECT_TRUE(ofFirst.Enters()) << "asked three times it had locked once";
    Visitor ofSecond(second);
    EXPECT_TRUE(ofSecond.Waits());
    EXPECT_EQ(guard.GetReferenceRaster(&empty), nullptr);
    EXPECT_TRUE(ofSecond.Enters());
    {
        ZEV_ReferenceRaster shortLived(&first);
        shortLived.GetReferenceRaster(nullptr);
    }
    EXPECT_TRUE(Visitor(first).Enters());
}

struct RangeCase {
    const char* name;
    int width, height, bits, from, to, range;
    const char* line;
    bool isSigned = false, useRescale = true;
    float slope = 1.0f;
};

TEST(PixelRange, Samples) {
    // Row y holds 1000 y + x, so that the result shows which pixels were read.
    const char* const noData = "3 ZEV_Params::CalcPixelRange no data found\n";
    const char* const farEnds =
        "4 ZEV_Params::CalcPixelRange CalcPixelRange: no data found, setting range to 0\n";
    const RangeCase cases[] = {
        // Rows 3 to 5, n = (10 - 0 - 1) / 2 = 4 from column 2: 5005 - 3002.
        {"three rows", 10, 8, 16, 0, 10, 2003, ""},
        {"12 bits stay unknown", 10, 8, 12, 0, 10, -1, ""},
        {"part of the row", 10, 8, 16, 4, 8, 2000, ""},
        {"to beyond: whole row", 10, 8, 16, 9, 11, 2003, ""},
        {"far ends", 10, 8, 16, 5, INT_MIN, 0, farEnds},
        {"3 columns: one pixel a row", 3, 8, 16, 0, 3, 2000, ""},
        {"2 columns: none", 2, 8, 16, 0, 2, 0, noData},
        {"one row", 10, 1, 16, 0, 10, 3, ""},
        {"one pixel", 3, 1, 16, 0, 3, 0, ""},
        // Rows 32 to 34: 32005 down to 33002 - 65536.
        {"signed", 10, 66, 16, 0, 10, 64539, "", true},
        {"stored values", 10, 8, 16, 0, 10, 2003, "", false, false, 2.0f},
        {"negative slope", 10, 8, 16, 0, 10, -1001, "", false, true, -0.5f},
        {"saturated", 10, 8, 16, 0, 10, INT_MAX, "", false, true, 1e30f},
    };
    for (const RangeCase& c : cases) {
        SCOPED_TRACE(c.name);
        refhost::MemoryRaster raster(c.width, c.height, c.bits, false);
        // Exactly 16-bit words, also for the depth that is not read.
        for (int i = 0; i < c.width * c.height; ++i) {
            rasters::Set(raster, static_cast<std::size_t>(i), 1000 * (i / c.width) + i % c.width);
        }
        raster.m_bSigned = c.isSigned;
        ZEV_Params params;
        params.SetReferenceRaster(&raster, false);
        params.SetRescaleSlope(c.slope), params.SetUseRescale(c.useRescale);
        support::LogCapture log;
        params.CalcPixelRange(nullptr, c.from, c.to);
        EXPECT_EQ(params.GetPixelRange(), c.range);
        EXPECT_TRUE(*c.line == 0 ? log.lines.empty() : log.Has(c.line));
        // Known ranges stay.
        if (c.range != -1) {
            params.SetReferenceRaster(nullptr, false);
            params.CalcPixelRange(nullptr, 0, 1);
            EXPECT_EQ(params.GetPixelRange(), c.range);
        }
    }
    // Neither nothing nor colours have a range.
    ZEV_Params bare;
    bare.CalcPixelRange(nullptr, 0, 4);
    refhost::MemoryRaster colours = refhost::MemoryRaster::TrueColor(4, 4);
    bare.SetReferenceRaster(&colours, false);
    bare.CalcPixelRange(nullptr, 0, 4);
    EXPECT_EQ(bare.GetPixelRange(), -1);
}

TEST(PixelRange, FromProcessedData) {
    const struct {
        const char* name;
        bool withdrawn;
        int value, range;
        const char* line;
    } cases[] = {
        {"known", false, 500, 1000, ""},
        {"beyond 16 bits", false, 65537, 131072,
         "3 ZEV_Params::CalcPixelRange values in pixel data exceed 16 bit\n"},
        {"unknown", false, 0, 0, "3 ZEV_Params::CalcPixelRange no data found\n"},
        {"cannot be locked", true, 500, 0, "3 ZEV_Params::CalcPixelRange no data found\n"},
    };
    refhost::MemoryRaster raster(6, 6, 16, false);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        refhost::ProcessedData data(c.value);
        if (c.withdrawn) data.Withdraw();
        SRC_IImageDataSourcePtr source = refhost::MakeProcessedDataSource(&data);
        ZEV_Params params;
        params.SetRescaleSlope(2.0f);
        params.SetReferenceRaster(&raster, false);
        support::LogCapture log;
        params.CalcPixelRange(source, 0, 6);
        EXPECT_EQ(params.GetPixelRange(), c.range);
        EXPECT_TRUE(*c.line == 0 ? log.lines.empty() : log.Has(c.line));
        EXPECT_EQ(source->AddRef(), 2u) << "the interface went back";
        source->Release();
    }
    // A source without the interface counts as none: the raster is sampled.
    SRC_IImageDataSourcePtr plain = refhost::MakePlainDataSource();
    rasters::Set(raster, 3 * 6 + 2, 70);
    ZEV_Params params;
    params.SetReferenceRaster(&raster, false);
    params.CalcPixelRange(plain, 0, 6);
    EXPECT_EQ(params.GetPixelRange(), 70);
}

TEST(FullRangeSwitch, IsReadOnce) {
    for (const HRESULT failure : {S_OK, E_FAIL}) {
        support::InOwnProcess([failure] {
            ZEV_Params params;
            refhost::LoadConfigText(R"({"settings": {"windowing": {"always_window_full_range": 5}}})",
                                    "test");
            refhost::FailConfigReads(failure);
            support::LogCapture log(6);
            if (failure == S_OK) {
                EXPECT_TRUE(params.ShouldUseFullRange());
                EXPECT_TRUE(
                    log.Has("5 ZEV_Params::ShouldUseFullRange Auto windowing - window full range? YES\n"));
            } else {
                EXPECT_THROW(params.ShouldUseFullRange(), _com_error);
            }
            refhost::UseBuiltinConfig(), refhost::FailConfigReads(S_OK);
            EXPECT_EQ(params.ShouldUseFullRange(), failure == S_OK);
        });
    }
}

}  // namespace
