// Presets of the colour bar, by modality and measurement unit.

#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITreeIterator.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <cstdint>
#include <cwchar>
#include <memory>

#include "zev_registry.h"

std::unordered_map<SPC_Modality::MODALITY, SPC_MEASUREMENT_UNITS, myPairHash>
    ZEV_Presets::s_umapAlwaysVisiblePresetsUnits;
std::unordered_set<ZEV_Presets::ModalityUnits, myPairHash> ZEV_Presets::s_usetColorbarWndPresetsPairs;

std::size_t myPairHash::of_value(int value) {
    const auto bits = static_cast<std::uint32_t>(value);
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (int shift = 0; shift < 32; shift += 8) hash = (hash ^ ((bits >> shift) & 0xFFu)) * 0x100000001B3u;
    return static_cast<std::size_t>(hash);
}

void ZEV_Presets::read_color_bar_windowing_presets_groups(PRM_ITreePtr tree) {
    PRM_ITreeIteratorPtr it(CLSID_PRM_TreeIterator);
    for (it->Start(tree, L"windowing_units_type"); it->IsValid() != 0; it->Next()) {
        const PRM_ITreePtr group = it->Current();
        const _bstr_t unitsText = group->GetString(L"windowing_units");
        const _bstr_t modalityText = group->GetString(L"Modality");
        const bool alwaysVisible = group->GetIntDefault(L"always_visible", 0) != 0;

        auto set = std::make_unique<ZEV_ProcedurePreset>(unitsText);
        const SPC_Modality::MODALITY modality = SPC_Modality::ModalityStr2Enum(modalityText);
        set->SetModality(modality);
        const ZEV_WindowingUnits::Units units = ZEV_WindowingUnits::ConvertFromString(unitsText);
        const SPC_MEASUREMENT_UNITS spcUnits = ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units);
        read_color_bar_windowing_presets(group, *set, units);
        if (alwaysVisible) {
            m_alwaysVisiblePresets.insert({modality, UnitsCount(unitsText, set->NumOfPresets())});
            s_umapAlwaysVisiblePresetsUnits.insert({modality, spcUnits});
        }
        // From here on the set belongs to the process.
        zev::KeepForever(set.get());
        m_colorbarPresets.append(set.release());
        s_usetColorbarWndPresetsPairs.insert({modality, spcUnits});
    }
}

void ZEV_Presets::read_color_bar_windowing_presets(PRM_ITreePtr tree, ZEV_ProcedurePreset& set,
                                                   ZEV_WindowingUnits::Units units) {
    PRM_ITreeIteratorPtr it(CLSID_PRM_TreeIterator);
    for (it->Start(tree, L"windowing_preset"); it->IsValid() != 0; it->Next()) {
        const PRM_ITreePtr preset = it->Current();
        const int min = preset->GetInt(L"min");
        const int max = preset->GetInt(L"max");
        const int center = preset->GetInt(L"center");
        const int width = preset->GetInt(L"width");
        const _bstr_t name = preset->GetString(L"name");
        set.AddPreset(min, max, center, width, name, units);
    }
}

ZEV_ProcedurePreset* ZEV_Presets::GetColorbarProcedurePresets(SPC_Modality::MODALITY modality,
                                                              const wchar_t* units) const {
    for (std::size_t i = 0; units != nullptr && i < m_colorbarPresets.entries(); ++i) {
        ZEV_ProcedurePreset* const set = m_colorbarPresets.at(i);
        if (set->GetModality() == modality && std::wcscmp(set->GetName(), units) == 0) return set;
    }
    return nullptr;
}

const ZEV_Presets::UnitsCount& ZEV_Presets::NumOfAlwaysVisiblePresets(SPC_Modality::MODALITY modality) const {
    static const UnitsCount s_Empty(L"", 0);
    const auto found = m_alwaysVisiblePresets.find(modality);
    return found == m_alwaysVisiblePresets.end() ? s_Empty : found->second;
}

SPC_MEASUREMENT_UNITS ZEV_Presets::GetAlwaysVisibilePresets(SPC_Modality::MODALITY modality) {
    const auto found = s_umapAlwaysVisiblePresetsUnits.find(modality);
    return found == s_umapAlwaysVisiblePresetsUnits.end() ? SPC_UNITS_UNKNOWN : found->second;
}

bool ZEV_Presets::HasPreset(const ModalityUnits& pair) {
    return s_usetColorbarWndPresetsPairs.count(pair) != 0;
}
