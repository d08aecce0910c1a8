#include <ZEV/ZEV_ColorMap.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>

#include "support.h"

namespace {

using support::Build;
using support::LogCapture;
using support::Message;

std::vector<int> slice(const std::vector<unsigned char>& v, std::size_t from, std::size_t count) {
    return {v.begin() + static_cast<std::ptrdiff_t>(from),
            v.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

void window(ZEV_Params& p, int min, int max) {
    p.InitCenter(min + (max - min) / 2), p.InitWidth(max - min), p.InitInverse(false);
}

TEST(Build, StepsAndEndsOfARamp) {
    ZEV_Params p;
    window(p, 100, 110);
    EXPECT_EQ(slice(Build().Read<unsigned char>(p), 98, 14),
              (std::vector<int>{0, 0, 0, 25, 51, 76, 102, 127, 153, 179, 204, 230, 255, 255}));
    window(p, 77, 77);
    EXPECT_EQ(slice(Build().Read<unsigned char>(p), 75, 4), (std::vector<int>{0, 0, 255, 255}));
    // Crossed ends in min-max mode: the above value overwrites part of the below zone.
    p.SetMinMaxScaleMode(true);
    p.SetWindowMin(20), p.SetWindowMax(10);
    const auto crossed = Build().Read<unsigned char>(p);
    EXPECT_EQ(crossed[9], 0);
    EXPECT_EQ(crossed[10], 255);
    EXPECT_EQ(crossed[25], 255);
}

TEST(Build, NegativeBoundComesBackOneHigher) {
    ZEV_Params p;
    p.SetMinMaxScaleMode(true);
    p.SetWindowMax(100), p.SetWindowMin(-3);
    EXPECT_EQ(Build().Read<unsigned char>(p)[0], 5);
    // Both ends through the rescale: stored 50 and 100.
    p.SetRescaleSlope(2.0f), p.SetRescaleIntercept(100), p.SetWindowMax(300), p.SetWindowMin(200);
    EXPECT_EQ(slice(Build().Read<unsigned char>(p), 50, 2), (std::vector<int>{0, 5}));
    EXPECT_EQ(slice(Build().Read<unsigned char>(p), 99, 2), (std::vector<int>{250, 255}));
}

TEST(Build, NegativeSlopeReversesEachBuildAndLeavesTheObject) {
    ZEV_Params p;
    window(p, 0, 100);
    p.SetRescaleSlope(-1.0f);
    p.SetRescaleIntercept(150);
    const int table = p.GetTableCC(), inverse = p.GetInverseChangeCounter().GetCount();
    const auto first = Build().Read<unsigned char>(p);
    const auto second = Build().Read<unsigned char>(p);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first[0], 255);
    EXPECT_EQ(first[200], 0);
    EXPECT_FALSE(p.IsInverse());
    EXPECT_EQ(p.GetTableCC(), table);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), inverse);
    // Without rescale the slope's sign has no say.
    p.SetUseRescale(false);
    EXPECT_EQ(Build().Read<unsigned char>(p)[0], 0);
    p.SetUseRescale(true);
    p.SetRescaleSlope(0.0f);
    EXPECT_EQ(Build().Read<unsigned char>(p)[0], 0);
}

/// The ends that are reported are those where the entries change.
TEST(Build, DescriptionHasTheEndsOfTheTable) {
    for (const bool isSigned : {false, true}) {
        for (const float slope : {1.0f, 2.5f, -0.7f}) {
            for (const int center : {-90, -20, 0, 33, 100, 250}) {
                for (const int width : {2, 5, 101}) {
                    ZEV_Params p;
                    p.InitCenter(center), p.InitWidth(width);
                    p.SetRescaleSlope(slope), p.SetRescaleIntercept(-7);
                    const Build build{8, isSigned, true, 8, 256, {}};
                    const ZEV_TableSource source = build.Describe(p);
                    EXPECT_EQ(source.kind, ZEV_TableSource::kRamp);
                    EXPECT_EQ(source.inverse, slope < 0.0f);
                    const auto table = build.Read<unsigned char>(p);
                    const int origin = isSigned ? 128 : 0, bottom = source.inverse ? 255 : 0;
                    for (int i = 0; i < 256; ++i) {
                        const int level = table[static_cast<std::size_t>(i)], pixel = i - origin;
                        if (pixel <= source.low && source.low < source.high) {
                            EXPECT_EQ(level, bottom) << pixel;
                        }
                        if (pixel >= source.high) {
                            EXPECT_EQ(level, 255 - bottom) << pixel;
                        }
                        if (pixel > source.low && pixel < source.high && source.high - source.low < 256) {
                            EXPECT_TRUE(level != bottom && level != 255 - bottom) << pixel;
                        }
                    }
                }
            }
        }
    }
    ZEV_Params p;
    EXPECT_EQ(p.DescribeTable(ZEV_TableParams(nullptr, nullptr, nullptr, nullptr, KIT_Rect())).kind,
              ZEV_TableSource::kNone);
}

struct Refusal {
    const char* name;
    Build build;
    int lines;
};

TEST(Build, TablesThatAreNotDefined) {
    const Refusal rows[] = {
        {"32-bit input", {32, false, true, 8, 256, {}}, 1},
        {"17-bit input", {17, true, true, 8, 256, {}}, 1},
        {"33-bit input: factory and operation", {33, false, true, 8, 256, {}}, 2},
        {"33-bit output", {8, false, true, 33, 256, {}}, 2},
        {"40-bit levels", {8, false, false, 40, 256, {}}, 2},
        {"levels below 8 bits", {8, false, false, 7, 128, {}}, 1},
        {"levels of 32 bits", {8, false, false, 32, 256, {}}, 1},
        {"negative input depth", {-1, false, true, 8, 256, {}}, 0},
    };
    ZEV_Params p;
    window(p, 0, 100);
    for (const Refusal& row : rows) {
        SCOPED_TRACE(row.name);
        LogCapture log(3);
        EXPECT_EQ(row.build(p), nullptr);
        EXPECT_EQ(log.lines.size(), static_cast<std::size_t>(row.lines));
        EXPECT_EQ(row.build.Describe(p).kind, ZEV_TableSource::kNone);
        if (row.lines > 0) {
            EXPECT_EQ(log.lines.back(),
                      "3 ZEV_Params::TableCreator::PrepareWindowingTable Request for creating an unsupported "
                      "table\n");
        }
    }
    EXPECT_EQ(p.BuildTable(ZEV_TableParams(nullptr, nullptr, nullptr, nullptr, KIT_Rect())), nullptr);
    // A palette of 32 bits and a depth of 0 are defined.
    EXPECT_NE((Build{8, false, false, 32, 256, {1, 2}}(p)), nullptr);
    EXPECT_NE((Build{0, false, true, 8, 256, {}}(p)), nullptr);
}

TEST(Build, HostileNumbersStayInside) {
    for (const float slope : {NAN, INFINITY, 1e-38f, -1e-38f, 1e38f}) {
        for (const int center : {INT_MIN, -1, 0, INT_MAX}) {
            for (const int width : {INT_MIN, 0, 1, INT_MAX}) {
                ZEV_Params p;
                p.InitCenter(center), p.InitWidth(width);
                p.SetRescaleSlope(slope), p.SetRescaleIntercept(INT_MIN);
                p.SetPixelPaddingValues(INT_MIN, INT_MAX);
                for (const bool isSigned : {false, true}) {
                    p.SetUsePadding(true);
                    EXPECT_EQ((Build{16, isSigned, false, 16, INT_MAX, {}}.Read<unsigned short>(p)),
                              std::vector<unsigned short>(65536, 0));
                    p.SetUsePadding(false);
                    EXPECT_EQ((Build{12, isSigned, true, 8, 0, {}}.Read<unsigned char>(p).size()), 65536u);
                }
            }
        }
    }
}

class Routes : public testing::Test {
protected:
    explicit Routes() { params.InitInverse(false), window(params, 0, 200); }
    void Take(Message& msg) {
        params.SetVoiLutManager(new Mapper_WindowingManager(&msg));
        params.GetVoiLutManager()->Init();
        params.SetMapperPvLut(new Mapper_Pval(&msg));
    }
    ZEV_Params params;
};

TEST_F(Routes, ATableEntryIsCopiedWithoutGammaOrPadding) {
    std::vector<std::uint16_t> square(256);
    for (std::size_t i = 0; i < 256; ++i) square[i] = static_cast<std::uint16_t>(i * i / 255);
    Message msg;
    msg.Image(4, 4).Rescale("1", "0").Lut(0x00283010, -128, 8, square);
    msg.Words(0x00280103, "US", {1});
    Take(msg);
    params.SetGamma(3.0f), params.SetPixelPaddingValues(-128, 127), params.SetUsePadding(true);
    params.SetVoiLutSelection(0, false);
    const Build build{8, true, true, 8, 256, {}};
    const auto plain = build.Read<unsigned char>(params);
    for (std::size_t i = 0; i < 256; ++i) ASSERT_EQ(plain[i], i * i / 255) << i;
    params.SetInverse(true);
    EXPECT_EQ(build.Read<unsigned char>(params)[255], 0);
    params.SetInverse(false);
    // A context that does not know its levels gives 256; so do the plain values of a 16-bit table.
    EXPECT_EQ((Build{8, true, false, 16, 0, {}}.Read<unsigned short>(params)[255]), 255);

    ZEV_ColorMap map;
    map.AddEntry(L"0.0", L"000000"), map.AddEntry(L"1.0", L"FF0000"), map.CreateTable();
    params.SetColorMap(&map);
    const Build color{8, true, true, 32, 256, {}};
    EXPECT_EQ(color.Read<unsigned int>(params)[255], 0x00FF0000u);
    map.SetDummy(true);
    EXPECT_EQ(color.Read<unsigned int>(params)[255], 0xFFFFFFFFu);
}

TEST_F(Routes, APresentationLutChoosesPaletteEntries) {
    Message msg;
    Take(msg.Image(4, 4).Lut(0x20500010, 0, 8, {0, 64, 128, 255}));
    Build build{8, false, false, 8, 4, {10, 20, 30, 40}};
    const auto upright = build.Read<unsigned char>(params);
    EXPECT_EQ(upright[1], 10);
    EXPECT_EQ(upright[199], 40);
    params.SetInverse(true);
    EXPECT_EQ(build.Read<unsigned char>(params)[1], 40);
}

TEST_F(Routes, AnIllegalSelectionIsLoggedAndTheRampDrawn) {
    Message two, one;
    Take(two.Image(4, 4).Window("1\\2", "3\\4"));
    params.SetVoiLutSelection(1, false);
    Take(one.Image(4, 4).Window("1", "3", "SIGMOID"));
    LogCapture log(5);
    EXPECT_NE(Build()(params), nullptr);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(
        log.lines[0],
        "5 ZEV_Params::BuildTable BuildTable: m_VoiLutSelection has illegal value. pEntry stays NULL. \n");
}

TEST_F(Routes, APresentationLutShapesTheRampAndBeatsTheSelection) {
    Message msg;
    msg.Image(4, 4).Window("100", "50", "SIGMOID").Lut(0x20500010, 0, 8, {0, 10, 20, 200, 255});
    Take(msg);
    params.SetVoiLutSelection(0, false);
    window(params, 0, 200);
    params.SetGamma(2.5f);
    const auto t = Build().Read<unsigned char>(params);
    EXPECT_EQ(slice(t, 0, 1), std::vector<int>{0});
    EXPECT_EQ(t[50], 10);
    EXPECT_EQ(t[150], 200);
    EXPECT_EQ(t[200], 255);
    params.SetInverse(true);
    EXPECT_EQ(Build().Read<unsigned char>(params)[150], 55);
    // Levels: 16 of them, running from the top down; a 32-bit target has this table, since no gamma takes
    // part.
    EXPECT_EQ((Build{8, false, false, 8, 16, {}}.Read<unsigned char>(params)[150]), 15 - 12);
    EXPECT_EQ((Build{8, false, false, 32, 16, {}}.Read<unsigned int>(params)[0]), 15u);
    EXPECT_EQ((Build{8, false, false, 8, 4, {7, 8, 9, 10}}.Read<unsigned char>(params)[250]), 7);
}

TEST(Table, FactoryOriginAndSize) {
    const auto make = [](int in, int out) {
        return std::unique_ptr<ZEV_AbstractWindowingTable>(
            ZEV_AbstractWindowingTable::CreateByDepthsAndSigns(in, out, true));
    };
    const auto words = make(9, 8);
    auto* t = dynamic_cast<ZEV_WindowingTable<short, unsigned char>*>(words.get());
    ASSERT_NE(t, nullptr);
    unsigned char* const start = t->GetTable();
    t->SetOrigin(2048), t->SetOrigin(128);
    EXPECT_EQ(t->GetTable(), start + 128);
    EXPECT_TRUE(std::all_of(start, start + t->GetSize(), [](unsigned char e) { return e == 0; }));
    EXPECT_EQ(make(0, -3)->GetSize() + make(32, 32)->GetSize() + t->GetSize(), 256 + 0 + 65536);
    LogCapture log;
    EXPECT_TRUE(make(33, 8) == nullptr && make(8, 33) == nullptr && log.lines.size() == 2);
}

}  // namespace
