#include <fstream>
#include <map>
#include <sstream>

#include "presets_support.h"

namespace {

struct Palette {
    std::string name;
    std::vector<int> colors;
};

std::map<std::string, Palette> read_palettes() {
    std::map<std::string, Palette> palettes;
    std::ifstream file(std::string(ZEV_SOURCE_DIR) + "/tests/presets/palettes.txt");
    Palette* palette = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line.find('.') != std::string::npos) {
            palette = &palettes[line.substr(0, line.find(' '))];
            palette->name = line.substr(line.find(' ') + 1);
            continue;
        }
        std::istringstream colors(line);
        char colon;
        for (int entry, color; colors >> std::dec >> entry >> colon >> std::hex >> color;) {
            std::vector<int>& all = palette->colors;
            const int from = static_cast<int>(all.size()) - 1, span = entry - from;
            for (int i = 1; i <= span; ++i) {
                int mixed = 0;
                for (const int shift : {16, 8, 0}) {
                    const int a = from < 0 ? 0 : all[static_cast<std::size_t>(from)] >> shift & 255;
                    const int b = color >> shift & 255;
                    mixed |= (2 * (a * (span - i) + b * i) + span) / (2 * span) << shift;
                }
                all.push_back(mixed);
            }
        }
    }
    return palettes;
}

TEST_F(PresetsTest, BuiltinPalettesAreTheStandards) {
    refhost::UseBuiltinConfig();
    ZEV_Presets presets;
    ASSERT_EQ(presets.Init(L"highlight"), 0);
    std::map<std::string, Palette> palettes = read_palettes();
    ASSERT_EQ(palettes.size(), 8u);
    for (int i = 0; i < presets.NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *presets.GetIthColorMap(i);
        for (int k = 2; k < set.NumOfColorMaps(); ++k) {
            ZEV_ColorMap& map = *set.GetColorMap(k);
            if (map.GetUID() == _bstr_t("Inverse Grayscale SUV")) continue;  // our own
            const auto found = palettes.find(static_cast<const char*>(map.GetUID()));
            ASSERT_NE(found, palettes.end());
            const Palette& palette = found->second;
            SCOPED_TRACE(palette.name);
            EXPECT_TRUE(_bstr_t(map.GetName()) == _bstr_t(palette.name.c_str()));
            ASSERT_EQ(palette.colors.size(), 256u);
            for (int entry = 0; entry < 256; ++entry) {
                const KIT_Color have = map.TransformColor(entry);
                const KIT_Color want(palette.colors[static_cast<std::size_t>(entry)]);
                EXPECT_LE(std::abs(have.m_Red - want.m_Red), 1) << entry;
                EXPECT_LE(std::abs(have.m_Green - want.m_Green), 1) << entry;
                EXPECT_LE(std::abs(have.m_Blue - want.m_Blue), 1) << entry;
            }
            palettes.erase(found);
        }
    }
    EXPECT_TRUE(palettes.empty());
}

}  // namespace
