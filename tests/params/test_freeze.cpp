// Freezing, merging, interpolating, finishing, and objects on several threads.

#include <GFX/GFX_PrintRaster.h>
#include <MAPPER/Mapper_PrinterLUT.h>

#include <thread>

#include "support.h"
#include "zev_once.h"

namespace {

using support::Message;

struct Live {
    Live() {
        msg.Image(4, 4).Window("40\\-600", "400\\1600").Lut(0x20500010, 0, 8, {0, 10, 255});
        params.SetVoiLutManager(new Mapper_WindowingManager(&msg));
        params.GetVoiLutManager()->Init();
        params.SetMapperPvLut(new Mapper_Pval(&msg));
        params.SetVoiLutSelection(1, true);
    }
    Message msg;
    ZEV_Params params;
};

TEST(Freeze, TakesTheLiveStateAndKeepsItsOwnRaster) {
    Live live;
    refhost::MemoryRaster raster, own;
    live.params.SetReferenceRaster(&raster, false);
    ZEV_Params copy;
    copy.SetReferenceRaster(&own, false);
    copy.Freeze();
    EXPECT_EQ(copy.GetCenter(), 0) << "without a live object";
    copy.SetLiveParams(&live.params);
    live.params.SetCenter(7);
    copy.Freeze();
    EXPECT_EQ(copy.GetCenter(), 7) << "not the entry's";
    EXPECT_EQ(copy.GetVoiLutManager(), live.params.GetVoiLutManager());
    EXPECT_EQ(copy.GetVoiLutSelection(), 1);
    EXPECT_EQ(copy.GetReferenceRaster(), &own);
    EXPECT_EQ(std::pair(copy.GetCount(), copy.GetTableCC()),
              std::pair(live.params.GetCount(), live.params.GetTableCC()));
    copy.SetVoiLutSelection(0, false);
    copy.ResetExceptRaster(false, true);
    EXPECT_EQ(copy.GetVoiLutSelection(), 1) << "the live object's default";

    KIT_Rect rect(1, 2, 3, 4), handed;
    copy.SetOutputRect(rect), copy.Defrost();
    live.params.GetOutputRect(handed);
    EXPECT_EQ(handed, rect);
    EXPECT_EQ(copy.GetMapperPvLut().get(), nullptr);
    ZEV_Params bare;
    bare.SetLiveParams(&live.params), bare.SetOutputRect(rect), bare.Defrost();
    live.params.GetOutputRect(handed);
    EXPECT_EQ(handed, KIT_Rect()) << "a copy without a raster";
    copy.SetLiveParams(nullptr), bare.SetLiveParams(nullptr);
}

TEST(Update, TakesEveryHolder) {
    ZEV_Params source, target;
    source.InitCenter(10), source.InitWidth(20), source.InitInverse(false);
    source.SetCenter(50), source.SetInverse(true);
    target.InitCenter(1), target.InitWidth(2);
    const int before = target.GetTableCC();
    target.Update(nullptr), target.Update(&source);
    const auto all = [](ZEV_Params& p) {
        return std::vector<int>{p.GetCenter(),    p.GetWidth(),          p.GetWindowMin(),
                                p.GetWindowMax(), p.GetWindowMinScale(), p.GetWindowMaxScale(),
                                p.IsInverse()};
    };
    EXPECT_EQ(all(target), all(source));
    EXPECT_EQ(target.GetTableCC(), before);
}

TEST(Interpolate, EqualStepsBetweenTheEnds) {
    ZEV_Params first, last, same;
    first.InitCenter(0), first.InitWidth(100), first.SetGamma(2.0f);
    last.InitCenter(-10), last.InitWidth(400);
    same.InitCenter(0), same.InitWidth(100);
    EXPECT_TRUE(first.IsChanged(&last) && !first.IsChanged(&same) && !first.IsChanged(nullptr));
    KIT_BaseParams* params[] = {&first, nullptr, nullptr, &last};
    ASSERT_TRUE(first.Interpolate(params, 4, nullptr));
    // -10 / 3 a step, summed up and truncated.
    const int expected[][2] = {{-3, 200}, {-6, 300}};
    for (int i = 0; i < 2; ++i) {
        const std::unique_ptr<ZEV_Params> between(static_cast<ZEV_Params*>(params[i + 1]));
        EXPECT_EQ(between->GetCenter(), expected[i][0]);
        EXPECT_EQ(between->GetWidth(), expected[i][1]);
        EXPECT_EQ(between->GetGamma(), 2.0f);
    }
    EXPECT_FALSE(first.Interpolate(nullptr, 4, nullptr) || first.Interpolate(params, 0, nullptr));
    KIT_BaseParams *equal[] = {&first, nullptr, &same}, *pair[] = {&first, &last};
    KIT_BaseParams *noEnd[] = {&first, nullptr}, *noStart[] = {nullptr, nullptr, &last};
    EXPECT_FALSE(first.Interpolate(equal, 3, nullptr) || first.Interpolate(noEnd, 2, nullptr) ||
                 first.Interpolate(noStart, 3, nullptr));
    EXPECT_TRUE(first.Interpolate(pair, 2, nullptr));
    EXPECT_EQ(equal[1], nullptr);
}

TEST(Finalize, PassesThePrintRasterThroughItsLutInsideTheRectangle) {
    std::vector<unsigned short> falling(256);
    for (std::size_t i = 0; i < 256; ++i) falling[i] = static_cast<unsigned short>(255 - i);
    Mapper_PrinterLUT lut(falling.data(), falling.size(), 8);
    GFX_PrintRaster context(256, &lut);
    const struct {
        bool trueColor;
        int depth, format;
        long changed;  ///< bytes: columns 1 to 3 of rows 1 and 2
        const char* line;
    } rows[] = {{false, 8, 0, 6, ""},
                {true, 32, 1, 24, ""},
                {false, 8, 2, 0, "3 ZEV_Params::TableCreator::ApplyPrinterLUT Unsupported output "}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        refhost::MemoryRaster raster =
            row.trueColor ? refhost::MemoryRaster::TrueColor(4, 3) : refhost::MemoryRaster(4, 3, 8, false);
        raster.m_PixelFormat = row.format;
        ZEV_Params params;
        // Right and left, bottom and top may come in either order.
        const KIT_Rect rect(2, 3, 1, 1);
        support::LogCapture log;
        params.Finalize(ZEV_TableParams(nullptr, &context, nullptr, &raster, rect));
        EXPECT_EQ(std::count(raster.Bytes().begin(), raster.Bytes().end(), 255), row.changed);
        EXPECT_EQ(int{raster.Bytes()[row.changed == 24 ? 20 : 5]}, row.changed > 0 ? 255 : 0);
        EXPECT_EQ(log.Has(row.line), log.lines.size() == 1);
        KIT_Rect kept;
        params.GetOutputRect(kept);
        EXPECT_EQ(kept, rect) << "as it was given";
    }
}

TEST(Threads, CopiesWithAPvalOfTheirOwn) {
    Live live;
    std::vector<std::unique_ptr<ZEV_Params>> copies;
    for (int i = 0; i < 4; ++i) {
        copies.push_back(std::make_unique<ZEV_Params>(live.params));
        copies.back()->CopyMyPval();
    }
    std::vector<std::thread> threads;
    std::vector<std::vector<unsigned char>> tables(copies.size());
    for (std::size_t i = 0; i < copies.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 20; ++round) {
                copies[i]->SetVoiLutSelection(round % 2, false);
                tables[i] = support::Build().Read<unsigned char>(*copies[i]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& table : tables) EXPECT_EQ(table, tables[0]);
}

// A ZEV_Params that was made while the configuration was read never returned.
TEST(Threads, ARunInsideTheRunReturnsAtOnce) {
    zev::OnlyOnce once;
    int runs = 0;
    once.Run([&] { ++runs, once.Run([&] { ++runs; }); });
    EXPECT_EQ(runs, 1);
}

}  // namespace
