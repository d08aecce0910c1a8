#include <ZEV/ZEV_ColorMap.h>
#include <gtest/gtest.h>

#include <clocale>
#include <vector>

#include "support.h"

namespace {

struct Point {
    const wchar_t* position;
    const wchar_t* color;
};
struct Row {
    const char* name;
    std::vector<Point> points;
    bool smooth;
    int resolution;
    std::vector<std::pair<int, int>> expected;  ///< entry, 0xRRGGBB
};

TEST(ColorMap, Tables) {
    const Row rows[] = {
        {"rising",
         {{L"0.0", L"000000"}, {L"1.0", L"FF0000"}},
         true,
         256,
         {{0, 0}, {77, 77 << 16}, {255, 0xFF0000}}},
        {"falling is not 255 - i",
         {{L"0.0", L"FFFFFFFF"}, {L"1.0", L"0"}},
         true,
         256,
         {{0, 0xFFFFFF}, {64, 0xBFBFBF}, {65, 0xBDBDBD}, {255, 0}}},
        {"steps never show the last colour",
         {{L"0.0", L"1"}, {L"0.5", L"2"}, {L"1.0", L"3"}},
         false,
         256,
         {{0, 1}, {126, 1}, {127, 2}, {255, 2}}},
        {"neighbours on one index take the later colour, but for entry 0",
         {{L"0.0", L"1"}, {L"0.001", L"2"}, {L"0.9999", L"3"}, {L"1.0", L"4"}},
         false,
         256,
         {{0, 1}, {1, 2}, {255, 3}}},
        {"a coarse table repeats",
         {{L"0.0", L"0"}, {L"1.0", L"7F"}},
         true,
         128,
         {{0, 0}, {1, 0}, {2, 1}, {255, 0x7F}}},
        {"no such resolution", {{L"0.0", L"0"}, {L"1.0", L"FF"}}, true, 100000, {{1, 1}, {255, 255}}},
        {"points outside are left out",
         {{L"-1", L"5"}, {L"0.0", L"0"}, {L"1.0", L"FF"}, {L"2", L"9"}},
         true,
         256,
         {{0, 0}, {128, 128}, {255, 255}}},
        {"colour texts", {{L"0.0", L" 0xFFzz"}, {L" 1.00", L"-1"}}, false, 256, {{0, 0xFF}, {255, 0xFF}}},
        {"the later of two at one position",
         {{L"0.0", L"1"}, {L"0", L"2"}, {L"1", L"3"}},
         false,
         256,
         {{0, 2}}},
        {"no point at 1", {{L"0.0", L"1"}, {L"0.5", L"2"}}, true, 256, {{0, 0xABCDEF}, {200, 0xABCDEF}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ZEV_ColorMap map;
        for (int i = 0; i < 256; ++i) map.GetTable()[i] = KIT_Color(0xABCDEF);
        for (const Point& point : row.points) map.AddEntry(point.position, point.color);
        map.SetIsSmooth(row.smooth), map.SetOutputResolution(row.resolution);
        map.CreateTable();
        for (const auto& [entry, color] : row.expected)
            EXPECT_EQ(map.TransformColor(entry).toRGB(), color) << entry;
    }
}

TEST(ColorMap, FallingRampLies159TimesOneLower) {
    ZEV_ColorMap map;
    map.AddEntry(L"0.0", L"FF"), map.AddEntry(L"1.0", L"0"), map.CreateTable();
    int lower = 0;
    for (int i = 0; i < 256; ++i) lower += map.TransformColor(i).m_Blue == 254 - i;
    EXPECT_EQ(lower, 159);
}

TEST(ColorMap, FaultsAreLogged) {
    support::LogCapture log(3);
    ZEV_ColorMap map;
    map.CreateTable();
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_EQ(log.lines[0], "3 ZEV_ColorMap::CreateTable Bad color map. No value for 1.0 or 0.0\n");
    map.AddEntry(L"0.0", L"1"), map.AddEntry(L"1.0", L"1"), map.AddEntry(L"1.5", L"1");
    map.CreateTable();
    EXPECT_EQ(log.lines.size(), 2u);
}

TEST(ColorMap, CopiesAreDeep) {
    ZEV_ColorMap map;
    map.AddEntry(L"0.0", L"1"), map.AddEntry(L"1.0", L"2");
    map.SetName(L"a"), map.SetUID(L"b"), map.SetIsSUVType(true), map.SetCustomButtonId(4);
    ZEV_ColorMap copy(map);
    map.AddEntry(L"0.0", L"9"), map.CreateTable();
    copy = *&copy;
    copy.CreateTable();
    EXPECT_EQ(copy.TransformColor(0).toRGB(), 1);
    EXPECT_STREQ(copy.GetName(), L"a");
    EXPECT_TRUE(copy.GetUID() == L"b" && copy.GetIsSUVType() && copy.GetCustomButtonId() == 4);
}

}  // namespace
