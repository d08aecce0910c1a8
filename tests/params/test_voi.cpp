#include "support.h"

namespace {

using support::LogCapture;
using support::Message;

/// Entries: linear -127.9/400.9, sigmoid 300/100, table 0..255 falling.
class Voi : public testing::Test {
protected:
    Voi() {
        std::vector<std::uint16_t> falling(256);
        for (int i = 0; i < 256; ++i)
            falling[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(255 - i);
        msg.Image(4, 4).Window("-127.9", "400.9").Lut(0x00283010, 0, 8, falling);
        params.SetVoiLutManager(new Mapper_WindowingManager(&msg));
        params.GetVoiLutManager()->Init();
    }
    Message msg;
    ZEV_Params params;
};

TEST_F(Voi, SelectionsInAndOutOfRange) {
    ZEV_Params bare;
    bare.SetVoiLutSelection(0, true);
    EXPECT_EQ(bare.GetVoiLutSelection(), -1);
    ASSERT_EQ(params.GetVoiLutEntryCount(), 2u);
    for (const auto& [selection, stored] : {std::pair{2, -1}, {1, 1}, {-2, 1}, {INT_MAX, 1}, {-1, -1}}) {
        params.SetVoiLutSelection(selection, false);
        EXPECT_EQ(params.GetVoiLutSelection(), stored) << selection;
    }
}

TEST_F(Voi, SelectingAppliesTheWindowEachTime) {
    params.InitCenter(1), params.InitWidth(2), params.InitInverse(false), params.SetGamma(2.0f);
    params.SetVoiLutSelection(0, false);
    EXPECT_EQ(params.GetCenter(), -127);
    EXPECT_EQ(params.GetWidth(), 400);
    EXPECT_EQ(params.GetInitialCenter(), 1);
    EXPECT_EQ(params.GetGamma(), 2.0f);
    params.SetCenter(55);
    params.SetVoiLutSelection(0, false);
    EXPECT_EQ(params.GetCenter(), -127);
    params.SetVoiLutSelection(-1, false);
    EXPECT_EQ(params.GetCenter(), -127);
    EXPECT_EQ(params.GetGamma(), 1.0f);
    const int before = params.GetTableCC();
    params.SetVoiLutSelection(-1, false);
    EXPECT_GT(params.GetTableCC(), before);
}

TEST_F(Voi, OnlyATableHasADirection) {
    params.SetVoiLutSelection(1, true);
    EXPECT_TRUE(params.GetLutInverse());
    EXPECT_EQ(params.GetCenter(), 128);
    EXPECT_EQ(params.GetWidth(), 256);
    params.SetVoiLutSelection(0, false);
    EXPECT_TRUE(params.GetLutInverse());
    params.InitCenter(5), params.InitWidth(6);
    params.ResetExceptRaster(false, true);
    EXPECT_EQ(params.GetVoiLutSelection(), 1);
    EXPECT_EQ(params.GetCenter(), 128);
}

TEST_F(Voi, AnEntryWithoutACurveIsStoredAndMarked) {
    Message odd;
    odd.Image(4, 4).Window("10", "20", "UNKNOWN_FUNC");
    ZEV_Params p;
    p.SetVoiLutManager(new Mapper_WindowingManager(&odd));
    p.GetVoiLutManager()->Init();
    ASSERT_EQ(p.GetVoiLutEntryCount(), 1u);
    p.InitCenter(7), p.InitWidth(8);
    const int before = p.GetTableCC();
    p.SetVoiLutSelection(0, false);
    EXPECT_EQ(p.GetVoiLutSelection(), 0);
    EXPECT_EQ(p.GetCenter(), 7);
    EXPECT_EQ(p.GetTableCC(), before + 1);
}

TEST_F(Voi, ReplacingTheMessage) {
    params.SetMapperPvLut(new Mapper_Pval(&msg));
    Message next;
    next.Image(4, 4).Window("16777217", "99");
    params.ReplaceOBJMessage(&next);
    // Narrowed to float here and nowhere else; then the entry is selected by its double.
    EXPECT_EQ(params.GetInitialCenter(), 16777216);
    EXPECT_EQ(params.GetCenter(), 16777217);
    EXPECT_EQ(params.GetInitialWidth(), 99);
    EXPECT_EQ(params.GetVoiLutSelection(), 0);
    EXPECT_EQ(params.GetLastUpdatedMsg(), &next);
    ASSERT_NE(params.GetMapperPvLut().get(), nullptr);

    Message bogus;
    bogus.Window("1", "2");
    params.ReplaceOBJMessage(&bogus);
    EXPECT_EQ(params.GetMapperPvLut().get(), nullptr);
    EXPECT_EQ(params.GetCenter(), 1);

    params.SetMapperPvLut(new Mapper_Pval(&msg));
    params.ReplaceOBJMessage(nullptr);
    EXPECT_EQ(params.GetMapperPvLut().get(), nullptr);
    params.SetOriginal(false);
    params.ReplaceOBJMessage(&msg);
    EXPECT_EQ(params.GetCenter(), 1);
    EXPECT_EQ(params.GetLastUpdatedMsg(), &msg);
    params.ReplaceOBJMessage(nullptr);
    EXPECT_EQ(params.GetVoiLutEntryCount(), 0u);
}

TEST_F(Voi, APresentationLutLeavesGammaAlone) {
    LogCapture log;
    params.CopyMyPval();
    EXPECT_TRUE(log.Has("7 ZEV_Params::CopyMyPval CopyMyPval - pval is null\n"));
    Message withLut;
    params.SetMapperPvLut(new Mapper_Pval(&withLut.Lut(0x20500010, 0, 8, {0, 128, 255})));
    params.SetGamma(2.0f);
    params.SetVoiLutSelection(0, false);
    EXPECT_EQ(params.GetGamma(), 2.0f);
    params.CopyMyPval();
    EXPECT_TRUE(log.Has("CopyMyPval - lut input count is:3 \n"));
    EXPECT_TRUE(log.Has("CopyMyPval - is lut reversing:0 \n"));
}

}  // namespace
