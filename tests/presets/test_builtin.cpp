#include <ZEV/ZEV_WindowingUnits.h>

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
        for (std::string color; colors >> color;) palette->colors.push_back(std::stoi(color, nullptr, 16));
    }
    return palettes;
}

class BuiltinConfig : public PresetsTest {
protected:
    BuiltinConfig() {
        refhost::UseBuiltinConfig();
        EXPECT_EQ(m_Presets.Init(L"highlight"), 0);
    }
    ZEV_Presets m_Presets;
};

TEST_F(BuiltinConfig, PalettesAreTheStandards) {
    std::map<std::string, Palette> palettes = read_palettes();
    ASSERT_EQ(palettes.size(), 8u);
    for (int i = 0; i < m_Presets.NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *m_Presets.GetIthColorMap(i);
        for (int k = 2; k < set.NumOfColorMaps(); ++k) {
            ZEV_ColorMap& map = *set.GetColorMap(k);
            const auto found = palettes.find(static_cast<const char*>(map.GetUID()));
            ASSERT_NE(found, palettes.end());
            const Palette& palette = found->second;
            SCOPED_TRACE(palette.name);
            EXPECT_TRUE(_bstr_t(map.GetName()) == palette.name.c_str());
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

TEST_F(BuiltinConfig, EveryPresetIsUsableAndNamedOnce) {
    ASSERT_EQ(m_Presets.NumOfPresetLists(), 7);
    for (int i = 0; i < m_Presets.NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *m_Presets.GetIthPreset(i);
        SCOPED_TRACE(static_cast<const char*>(_bstr_t(set.GetName())));
        EXPECT_GE(SPC_Modality::ModalityStr2Enum(set.GetName()), 0);
        EXPECT_GE(set.NumOfPresets(), 5);
        for (int k = 0; k < set.NumOfPresets(); ++k) {
            ZEV_PresetValue& value = *set.GetValue(k);
            const bool ends = value.GetMin() != -1 && value.GetMax() != -1;
            EXPECT_TRUE(ends ? value.GetMin() < value.GetMax()
                             : value.GetCenter() != -1 && value.GetWidth() > 0);
            EXPECT_NE(value.GetUnits(), ZEV_WindowingUnits::UNITS_UNINITIALIZED);
            for (int other = 0; other < k; ++other) EXPECT_NE(value.compareTo(set.GetValue(other)), 0) << k;
        }
    }
    ZEV_ProcedurePreset& ct = *m_Presets.GetSetOfPreset(L"CT");
    const wchar_t* const names[] = {L"Brain",         L"Subdural", L"Stroke",      L"Bone",
                                    L"Temporal bone", L"Lung",     L"Mediastinum", L"Abdomen",
                                    L"Liver",         L"Spine",    L"Angio"};
    for (int i = 0; i < 11; ++i) EXPECT_STREQ(ct.GetPresetText(i), names[i]);
    EXPECT_TRUE(ct.GetValue(5)->GetCenter() == -600 && ct.GetValue(5)->GetWidth() == 1500);
}

}  // namespace
