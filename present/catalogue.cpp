#include "catalogue.h"

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <refhost/Unicode.h>
#include <cwchar>

#include "io/present_error.h"

namespace {

constexpr int kNotGiven = -1;
constexpr std::size_t kNameColumn = 22;

ZEV_ColorMap* map_by_uid(const std::string& uid) {
    ZEV_ColorMap* last = nullptr;
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *Catalogue().GetIthColorMap(i);
        for (int k = 0; k < set.NumOfColorMaps(); ++k) {
            const _bstr_t own = set.GetColorMap(k)->GetUID();
            if (refhost::ToUtf8(static_cast<const wchar_t*>(own)) == uid) last = set.GetColorMap(k);
        }
    }
    return last;
}

/// In the sets of that procedure; in all for null.
ZEV_ColorMap* map_by_name(const std::string& name, const wchar_t* procedure) {
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *Catalogue().GetIthColorMap(i);
        if (procedure != nullptr && std::wcscmp(set.GetName(), procedure) != 0) continue;
        for (int k = 0; k < set.NumOfColorMaps(); ++k) {
            if (refhost::ToUtf8(set.GetColorMap(k)->GetName()) == name) return set.GetColorMap(k);
        }
    }
    return nullptr;
}

const ZEV_PresetValue* preset_by_name(const std::string& name, const wchar_t* procedure) {
    for (int i = 0; i < Catalogue().NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *Catalogue().GetIthPreset(i);
        if (procedure != nullptr && std::wcscmp(set.GetName(), procedure) != 0) continue;
        for (int k = 0; k < set.NumOfPresets(); ++k) {
            const ZEV_PresetValue& preset = *set.GetValue(k);
            if (refhost::ToUtf8(preset.GetName()) == name && (HasEnds(preset) || HasWindow(preset)))
                return &preset;
        }
    }
    return nullptr;
}

}  // namespace

ZEV_Presets& Catalogue() {
    static ZEV_Presets s_Presets;
    return s_Presets;
}

void ReadCatalogue() {
    // What the reading says of missing trees is of no interest here: what is not there cannot be chosen.
    Catalogue().Init(L"windowing");
}

ZEV_ColorMap& FindColourMap(const std::string& uidOrName, const wchar_t* modality) {
    ZEV_ColorMap* map = uidOrName.empty() ? nullptr : map_by_uid(uidOrName);
    if (map == nullptr) map = map_by_name(uidOrName, modality);
    if (map == nullptr) map = map_by_name(uidOrName, nullptr);
    if (map == nullptr) throw UsageError("no colour map '" + uidOrName + "'; zev colormaps lists them");
    return *map;
}

const ZEV_PresetValue& FindPreset(const std::string& name, const wchar_t* modality) {
    const ZEV_PresetValue* preset = preset_by_name(name, modality);
    if (preset == nullptr) preset = preset_by_name(name, nullptr);
    if (preset == nullptr) throw UsageError("no preset '" + name + "'; zev presets lists them");
    return *preset;
}

bool HasEnds(const ZEV_PresetValue& preset) {
    return preset.GetMin() != kNotGiven && preset.GetMax() != kNotGiven;
}
bool HasWindow(const ZEV_PresetValue& preset) {
    return preset.GetCenter() != kNotGiven && preset.GetWidth() != kNotGiven;
}

std::string NameColumn(const wchar_t* name) {
    const std::size_t length = name == nullptr ? 0 : std::wcslen(name);
    return refhost::ToUtf8(name) + std::string(length < kNameColumn ? kNameColumn - length : 1, ' ');
}
