#include <sstream>

#include "support.h"

namespace {

struct Row {
    const char *name, *points;  ///< position=colour, ...
    bool smooth;
    int resolution;
    std::vector<std::pair<int, int>> expected;  ///< entry, 0xRRGGBB
    const char* line = nullptr;                 ///< what is logged
};

void add_points(ZEV_ColorMap& map, const char* points) {
    std::istringstream in(points);
    for (std::string position, color; std::getline(in, position, '=') && std::getline(in, color, ',');)
        map.AddEntry(_bstr_t(position.c_str()), _bstr_t(color.c_str()));
}

TEST(ColorMap, Tables) {
    const Row rows[] = {
        {"rising", "0.0=000000,1.0=FF0000", true, 256, {{0, 0}, {77, 77 << 16}, {255, 0xFF0000}}},
        {"falling",
         "0.0=FFFFFFFF,1.0=0",
         true,
         256,
         {{0, 0xFFFFFF}, {64, 0xBFBFBF}, {65, 0xBDBDBD}, {255, 0}}},
        {"steps never show the last",
         "0.0=1,0.5=2,1.0=3",
         false,
         256,
         {{0, 1}, {126, 1}, {127, 2}, {255, 2}}},
        // Neighbours on one index take the later colour, but for entry 0.
        {"neighbours", "0.0=1,0.001=2,0.9999=3,1.0=4", false, 256, {{0, 1}, {1, 2}, {255, 3}}},
        {"a coarse table repeats", "0.0=0,1.0=7F", true, 128, {{0, 0}, {1, 0}, {2, 1}, {255, 0x7F}}},
        {"no such resolution", "0.0=0,1.0=FF", true, 100000, {{1, 1}, {255, 255}}},
        {"outside: left out",
         "-1=5,0.0=0,1.0=FF,2=9",
         true,
         256,
         {{0, 0}, {128, 128}, {255, 255}},
         "Control points outside"},
        {"colour texts", "0.0= 0xFFzz, 1.00=-1", false, 256, {{0, 0xFF}, {255, 0xFF}}},
        {"X and a leading 0", "0.0=0X0F,1.0=08x1", false, 256, {{0, 0x0F}}},
        {"the later of two at one position", "0.0=1,0=2,1=3", false, 256, {{0, 2}}},
        {"no point at 0", "0.5=1,1.0=2", true, 256, {{0, 0xABCDEF}}, "No value for 1.0"},
        {"no point at 1", "0.0=1,0.5=2", true, 256, {{0, 0xABCDEF}, {200, 0xABCDEF}}, "No value for 1.0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ZEV_ColorMap map;
        for (int i = 0; i < 256; ++i) map.GetTable()[i] = KIT_Color(0xABCDEF);
        add_points(map, row.points);
        map.SetIsSmooth(row.smooth), map.SetOutputResolution(row.resolution);
        support::LogCapture log(3);
        map.CreateTable();
        EXPECT_EQ(log.lines.size(), row.line == nullptr ? 0u : 1u);
        EXPECT_TRUE(row.line == nullptr || log.Has(row.line));
        for (const auto& [entry, color] : row.expected)
            EXPECT_EQ(map.TransformColor(entry).toRGB(), color) << entry;
    }
}

}  // namespace
