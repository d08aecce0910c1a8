// Any text as a configuration: presets and colour maps are read from it, and every map is drawn.

#include <COM/com_error.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>
#include <refhost/Config.h>

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        refhost::LoadConfigText(std::string(data, data + size), "fuzz");
    } catch (const refhost::ConfigError&) {
        return 0;
    }
    ZEV_ProcedureColorMapsList::GetInstance()->clearAndDestroy();
    ZEV_Presets presets;
    try {
        presets.Init(L"windowing");
    } catch (const _com_error&) {
    }
    for (int i = 0; i < presets.NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *presets.GetIthPreset(i);
        for (int k = 0; k < set.NumOfPresets(); ++k)
            presets.FindPreset(_bstr_t(set.GetPresetText(k)), set.GetName());
    }
    int sum = 0;
    for (int i = 0; i < presets.NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& maps = *presets.GetIthColorMap(i);
        for (int k = 0; k < maps.NumOfColorMaps(); ++k) {
            ZEV_ColorMap copy(*maps.GetColorMap(k));
            copy.CreateTable();
            for (int level = 0; level < ZEV_ColorMap::kTableSize; ++level)
                sum += copy.TransformColor(level).toRGB() & 1;
        }
    }
    return sum < 0 ? 1 : 0;
}
