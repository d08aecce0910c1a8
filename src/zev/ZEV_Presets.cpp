// Reading the configured presets and colour maps.

#include <PRM/PRM_Classes.h>
#include <TXT/TXT_Strings.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <cwchar>
#include <memory>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_registry.h"

bool ZEV_Presets::s_bColorbarPresetsRead = false;

namespace {

const char* const kReadFunction = "ZEV_Presets::ReadPresetsFromConfiguration";

constexpr unsigned kReadAccess = 0x80000000u;
/// A preset's number is below this.
constexpr int kPresetNumberEnd = 100;
constexpr int kOnlyResolution = 256;
/// Identifiers of the built-in maps' names in the text resources, and the buffer they are asked for with.
constexpr unsigned kGrayscaleText = 18034;
constexpr unsigned kInverseGrayscaleText = 16337;
constexpr int kTextSize = 512;

/// The sub tree of the next preset from number j on, in the plain form before the form with the zero. Every
/// number that is passed over gets a filler in the set. Null when the numbers run out.
PRM_ITreePtr next_preset(const PRM_ITreePtr& procedure, ZEV_ProcedurePreset& set, int& j) {
    while (j < kPresetNumberEnd) {
        const _bstr_t number = CreateString(j);
        PRM_ITreePtr preset = procedure->GetSubTree(L"windowing" + number);
        if (preset == nullptr) preset = procedure->GetSubTree(L"windowing0" + number);
        ++j;
        if (preset != nullptr) return preset;
        set.AddPreset(-1, -1, -1, -1, L"NO_WINDOWING", ZEV_WindowingUnits::UNITS_RAW);
    }
    return nullptr;
}

void add_built_in_maps(ZEV_ProcedureColorMaps& set) {
    auto grey = std::make_unique<ZEV_ColorMap>();
    grey->SetName(WTxtLoadString(kGrayscaleText, kTextSize));
    grey->SetUID(ZEV_Presets::GetGrayscaleColormapUID());
    grey->SetDummy(true);
    const _bstr_t greyName = grey->GetName();
    set.AddColorMap(grey.release(), greyName);

    auto inverse = std::make_unique<ZEV_ColorMap>();
    inverse->SetName(WTxtLoadString(kInverseGrayscaleText, kTextSize));
    inverse->SetUID(ZEV_Presets::GetInverseGrayscaleColormapUID());
    inverse->AddEntry(L"0.0", L"FFFFFFFF");
    inverse->AddEntry(L"1.0", L"00000000");
    inverse->CreateTable();
    const _bstr_t inverseName = inverse->GetName();
    set.AddColorMap(inverse.release(), inverseName);
}

std::unique_ptr<ZEV_ColorMap> read_color_map(const PRM_ITreePtr& conf) {
    auto map = std::make_unique<ZEV_ColorMap>();
    const _bstr_t name = conf->GetString(L"Display Name");
    map->SetName(name);
    map->SetUID(conf->GetString(L"UID"));
    map->SetIsSUVType(conf->GetIntDefault(L"SUV Type", 0) == 1);
    map->SetThresholdUnits(conf->GetString(L"threshold_units"));
    map->SetThresholdMin(zev::NarrowToFloat(conf->GetDoubleDefault(L"threshold_min", 0.0)));
    map->SetThresholdMax(zev::NarrowToFloat(conf->GetDoubleDefault(L"threshold_max", 0.0)));
    map->SetIsSmooth(conf->GetIntDefault(L"Smooth", 1) == 1);

    const int resolution = conf->GetIntDefault(L"output_resolution", kOnlyResolution);
    if (resolution != kOnlyResolution) {
        const char* const narrowName = name;
        ZEV_LOG(kReadFunction, zev::kLogError,
                "Colormap %s has resolution of %d in cfg. Currently the client only supports resolutions of "
                "256!\n",
                narrowName == nullptr ? "" : narrowName, resolution);
    }
    map->SetOutputResolution(kOnlyResolution);

    const int points = conf->GetNumOfKeys(L"map");
    for (int k = 0; k < points; ++k) {
        const _bstr_t color = conf->GetIthKeyValue(L"map", k);
        const _bstr_t position = conf->GetIthKeyName(L"map", k);
        map->AddEntry(position, color);
    }
    map->CreateTable();
    return map;
}

/// Copies of the sets and their presets, appended to `target`.
void copy_sets(const ZEV_ProcedurePresetList& source, ZEV_ProcedurePresetList& target) {
    for (std::size_t i = 0; i < source.entries(); ++i) {
        ZEV_ProcedurePreset* const set = source.at(i);
        auto copy = std::make_unique<ZEV_ProcedurePreset>(set->GetName());
        copy->SetModality(set->GetModality());
        for (int k = 0; k < set->NumOfPresets(); ++k) {
            auto value = std::make_unique<ZEV_PresetValue>(*set->GetValue(k));
            copy->insert(value.get());
            static_cast<void>(value.release());
        }
        target.append(copy.get());
        static_cast<void>(copy.release());
    }
}

}  // namespace

// ---- life ----

ZEV_Presets::ZEV_Presets() = default;

ZEV_Presets::ZEV_Presets(const ZEV_Presets& other) : ZEV_Presets() {
    m_pColorMaps = other.m_pColorMaps;
    m_alwaysVisiblePresets = other.m_alwaysVisiblePresets;
    copy_sets(other.m_presets, m_presets);
    copy_sets(other.m_colorbarPresets, m_colorbarPresets);
}

ZEV_Presets& ZEV_Presets::operator=(const ZEV_Presets& other) {
    if (this != &other) {
        ZEV_Presets copy(other);
        m_presets = std::move(copy.m_presets);
        m_colorbarPresets = std::move(copy.m_colorbarPresets);
        m_pColorMaps = copy.m_pColorMaps;
        m_alwaysVisiblePresets.swap(copy.m_alwaysVisiblePresets);
    }
    return *this;
}

ZEV_Presets::~ZEV_Presets() {
    m_presets.clearAndDestroy();
    destroy_color_bar_copies();
}

void ZEV_Presets::destroy_color_bar_copies() {
    for (std::size_t i = 0; i < m_colorbarPresets.entries(); ++i) {
        ZEV_ProcedurePreset* const set = m_colorbarPresets.at(i);
        if (!zev::IsKeptForever(set)) delete set;
    }
}

// ---- reading and saving ----

int ZEV_Presets::Init(const wchar_t* name) { return ReadPresetsFromConfiguration(name); }

int ZEV_Presets::ReadPresetsFromConfiguration(const wchar_t* name) {
    const _bstr_t treeName(name);
    PRM_ITreeRootPtr root(CLSID_PRM_Tree);
    root->SetAccess(kReadAccess);
    PRM_ITreePtr tree = root->OpenTree(treeName, 0, 1);
    if (tree == nullptr && treeName == _bstr_t(L"highlight")) tree = root->OpenTree(L"windowing", 0, 1);
    if (tree == nullptr) return -1;
    if (const std::optional<int> result = read_procedures(tree)) return *result;

    tree = root->OpenTree(L"colormaps", 0, 1);
    if (tree == nullptr) {
        ZEV_LOG(kReadFunction, zev::kLogAbsent, "no color maps");
        return 0;
    }
    if (const std::optional<int> result = read_color_maps(tree)) return *result;

    if (s_bColorbarPresetsRead || treeName != _bstr_t(L"windowing")) return 0;
    s_bColorbarPresetsRead = true;
    tree = root->OpenTree(L"gra\\colorbar\\windowing_presets\\", 0, 1);
    if (tree == nullptr) return -1;
    read_color_bar_windowing_presets_groups(tree);
    return 0;
}

std::optional<int> ZEV_Presets::read_procedures(PRM_ITreePtr tree) {
    const int procedures = tree->GetNumOfSubTrees(L"");
    m_presets.clearAndDestroy();
    for (int i = 0; i < procedures; ++i) {
        const PRM_ITreePtr procedure = tree->GetIthSubTree(L"", i);
        if (procedure == nullptr) return -1;
        auto set = std::make_unique<ZEV_ProcedurePreset>(procedure->GetString(L"Modality"));
        const int presets = procedure->GetNumOfSubTrees(L"");
        int number = 1;
        for (int n = 0; n < presets; ++n) {
            const PRM_ITreePtr preset = next_preset(procedure, *set, number);
            if (preset == nullptr) return -1;
            const _bstr_t name = preset->GetString(L"Name");
            const int center = preset->GetInt(L"Center");
            const int width = preset->GetInt(L"Width");
            const int min = preset->GetInt(L"Min");
            const int max = preset->GetInt(L"Max");
            const auto units =
                ZEV_WindowingUnits::ConvertFromString(preset->GetStringDefault(L"Units", L"raw"));
            set->AddPreset(min, max, center, width, name, units);
        }
        m_presets.append(set.get());
        static_cast<void>(set.release());
    }
    return std::nullopt;
}

std::optional<int> ZEV_Presets::read_color_maps(PRM_ITreePtr tree) {
    m_pColorMaps = ZEV_ProcedureColorMapsList::GetInstance();
    if (m_pColorMaps->entries() != 0) return 0;
    const int procedures = tree->GetNumOfSubTrees(L"");
    m_pColorMaps->clearAndDestroy();
    for (int i = 0; i < procedures; ++i) {
        const PRM_ITreePtr procedure = tree->GetIthSubTree(L"", i);
        if (procedure == nullptr) return -1;
        _bstr_t name = procedure->GetString(L"Modality");
        if (name.length() == 0) name = procedure->GetString(L"ds_type");
        auto set = std::make_unique<ZEV_ProcedureColorMaps>(name);
        add_built_in_maps(*set);
        const int maps = procedure->GetNumOfSubTrees(L"");
        for (int j = 0; j < maps; ++j) {
            const PRM_ITreePtr conf = procedure->GetIthSubTree(L"", j);
            if (conf == nullptr) {
                ZEV_LOG(kReadFunction, zev::kLogError, "pColorMapConf is NULL\n");
                continue;
            }
            std::unique_ptr<ZEV_ColorMap> map = read_color_map(conf);
            const _bstr_t displayName = map->GetName();
            set->AddColorMap(map.release(), displayName);
        }
        m_pColorMaps->append(set.get());
        static_cast<void>(set.release());
    }
    return std::nullopt;
}

int ZEV_Presets::Save() {
    ZEV_LOG("ZEV_Presets::Save", zev::kLogError, "To be implemented \n");
    return -1;
}

// ---- windowing presets of the procedures ----

int ZEV_Presets::NumOfPresetLists() const { return static_cast<int>(m_presets.entries()); }

ZEV_ProcedurePreset* ZEV_Presets::GetIthPreset(int i) const {
    return i < 0 || i >= NumOfPresetLists() ? nullptr : m_presets.at(static_cast<std::size_t>(i));
}

ZEV_ProcedurePreset* ZEV_Presets::GetSetOfPreset(const wchar_t* name) const {
    const ZEV_ProcedurePreset key(name);
    return m_presets.find(&key);
}

ZEV_PresetValue* ZEV_Presets::FindPreset(const _bstr_t& name, const wchar_t* procedure) const {
    for (int i = 0; i < NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset* const set = GetIthPreset(i);
        if (procedure != nullptr && std::wcscmp(set->GetName(), procedure) != 0) continue;
        for (int k = 0; k < set->NumOfPresets(); ++k) {
            ZEV_PresetValue* const preset = set->GetValue(k);
            if (preset != nullptr && name == _bstr_t(preset->GetName()) &&
                (preset->HasEnds() || preset->HasWindow()))
                return preset;
        }
    }
    return nullptr;
}

// ---- colour maps ----

int ZEV_Presets::NumOfColorMaps() {
    if (m_pColorMaps == nullptr) m_pColorMaps = ZEV_ProcedureColorMapsList::GetInstance();
    return static_cast<int>(m_pColorMaps->entries());
}

ZEV_ProcedureColorMaps* ZEV_Presets::GetIthColorMap(int i) {
    return i < 0 || i >= NumOfColorMaps() ? nullptr : m_pColorMaps->at(static_cast<std::size_t>(i));
}

_bstr_t ZEV_Presets::GetGrayscaleColormapUID() { return L"Grayscale"; }
_bstr_t ZEV_Presets::GetInverseGrayscaleColormapUID() { return L"Inversed Grayscale"; }
