// Units, presets, and the sets and lists that hold presets and colour maps.

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedureList.h>
#include <ZEV/ZEV_ProcedurePreset.h>
#include <ZEV/ZEV_WindowingUnits.h>

#include <memory>
#include <string>
#include <utility>

namespace {

struct UnitsEntry {
    ZEV_WindowingUnits::Units units;
    const wchar_t* text;
    SPC_MEASUREMENT_UNITS spcUnits;
};

constexpr UnitsEntry kUnits[] = {
    {ZEV_WindowingUnits::UNITS_RAW, L"raw", SPC_UNITS_RAW},
    {ZEV_WindowingUnits::UNITS_SUV_BW, L"suv_bw", SPC_UNITS_SUV_BW},
    {ZEV_WindowingUnits::UNITS_SUV_LBM, L"suv_lbm", SPC_UNITS_SUV_LBM},
    {ZEV_WindowingUnits::UNITS_SUV_BSA, L"suv_bsa", SPC_UNITS_SUV_BSA},
    {ZEV_WindowingUnits::UNITS_PERCENTAGE_MAX_RANGE, L"percentage_max_range", SPC_UNITS_PERCENTAGE_MAX_RANGE},
};

SPC_Modality::MODALITY modality_of(const std::wstring& name) {
    if (name == L"CT") return SPC_Modality::MODALITY_CT;
    if (name == L"MR") return SPC_Modality::MODALITY_MR;
    return SPC_Modality::MODALITY_UNKNOWN;
}

std::wstring text_or_empty(const wchar_t* text) { return text == nullptr ? L"" : text; }

}  // namespace

// ---- ZEV_WindowingUnits ----

ZEV_WindowingUnits::Units ZEV_WindowingUnits::ConvertFromString(_bstr_t text) {
    for (const UnitsEntry& entry : kUnits) {
        if (text == _bstr_t(entry.text)) return entry.units;
    }
    return UNITS_UNINITIALIZED;
}

_bstr_t ZEV_WindowingUnits::ConvertToString(Units units) {
    for (const UnitsEntry& entry : kUnits) {
        if (units == entry.units) return entry.text;
    }
    return L"Uninitialized";
}

SPC_MEASUREMENT_UNITS ZEV_WindowingUnits::ConvertFromZevWindowingUnits(Units units) {
    for (const UnitsEntry& entry : kUnits) {
        if (units == entry.units) return entry.spcUnits;
    }
    return SPC_UNITS_UNKNOWN;
}

ZEV_WindowingUnits::Units ZEV_WindowingUnits::ConvertSpcUnitsToZevUnits(SPC_MEASUREMENT_UNITS units) {
    for (const UnitsEntry& entry : kUnits) {
        if (units == entry.spcUnits) return entry.units;
    }
    return UNITS_UNINITIALIZED;
}

// ---- ZEV_PresetValue ----

ZEV_PresetValue::ZEV_PresetValue() = default;

ZEV_PresetValue::ZEV_PresetValue(int min, int max, int center, int width, const wchar_t* name,
                                 ZEV_WindowingUnits::Units units)
    : m_min(min), m_max(max), m_width(width), m_center(center), m_name(name), m_units(units) {}

ZEV_PresetValue::ZEV_PresetValue(const ZEV_PresetValue& other) = default;
ZEV_PresetValue& ZEV_PresetValue::operator=(const ZEV_PresetValue& other) = default;
ZEV_PresetValue::~ZEV_PresetValue() = default;

int ZEV_PresetValue::compareTo(const RWCollectable* other) const {
    // Not every platform's class takes a null text for an empty one.
    const auto named = [](const _bstr_t& name) { return !name ? _bstr_t(L"") : name; };
    const _bstr_t name = named(m_name);
    const _bstr_t otherName =
        named(other == nullptr ? _bstr_t() : static_cast<const ZEV_PresetValue*>(other)->m_name);
    return name < otherName ? -1 : name > otherName ? 1 : 0;
}

// ---- ZEV_ProcedurePreset ----

ZEV_ProcedurePreset::ZEV_ProcedurePreset(const wchar_t* name)
    : RWOrdered(RWCollection::DEFAULT_CAPACITY),
      m_name(text_or_empty(name)),
      m_modality(modality_of(m_name)) {}

ZEV_ProcedurePreset::~ZEV_ProcedurePreset() { clearAndDestroy(); }

void ZEV_ProcedurePreset::AddPreset(int min, int max, int center, int width, const wchar_t* name,
                                    ZEV_WindowingUnits::Units units) {
    auto value = std::make_unique<ZEV_PresetValue>(min, max, center, width, name, units);
    insert(value.get());
    static_cast<void>(value.release());
}

ZEV_PresetValue* ZEV_ProcedurePreset::GetValue(int i) {
    if (i >= NumOfPresets()) return nullptr;
    return static_cast<ZEV_PresetValue*>((*this)[static_cast<std::size_t>(i)]);
}

const wchar_t* ZEV_ProcedurePreset::GetPresetText(int i) {
    return static_cast<ZEV_PresetValue*>((*this)[static_cast<std::size_t>(i)])->GetName();
}

int ZEV_ProcedurePreset::NumOfPresets() const { return static_cast<int>(entries()); }

// ---- ZEV_ProcedureColorMaps ----

ZEV_ProcedureColorMaps::ZEV_ProcedureColorMaps(const wchar_t* name)
    : m_name(text_or_empty(name)), m_modality(modality_of(m_name)) {}

ZEV_ProcedureColorMaps::~ZEV_ProcedureColorMaps() = default;

void ZEV_ProcedureColorMaps::AddColorMap(ZEV_ColorMap* map, const wchar_t*) {
    std::unique_ptr<ZEV_ColorMap> owned(map);
    if (owned == nullptr) return;
    owned->SetCustomButtonId(NumOfColorMaps());
    m_colorMaps.push_back(std::move(owned));
}

ZEV_ColorMap* ZEV_ProcedureColorMaps::GetColorMap(int i) {
    if (i >= NumOfColorMaps()) return nullptr;
    const auto place = static_cast<std::size_t>(i);
    if (i < 0) RWThrow(RWBoundsErr(RWMessage(RWTOOL_INDEXERR(), place, m_colorMaps.size())));
    return m_colorMaps[place].get();
}

const wchar_t* ZEV_ProcedureColorMaps::GetColorMapText(int i) {
    const auto place = static_cast<std::size_t>(i);
    if (place >= m_colorMaps.size()) {
        RWThrow(RWBoundsErr(RWMessage(RWTOOL_INDEXERR(), place, m_colorMaps.size())));
    }
    return m_colorMaps[place]->GetName();
}

int ZEV_ProcedureColorMaps::NumOfColorMaps() const { return static_cast<int>(m_colorMaps.size()); }

// ---- ZEV_ProcedureColorMapsList ----

ZEV_ColorMap* ZEV_ProcedureColorMapsList::m_pPreviousColorMap = nullptr;

ZEV_ProcedureColorMapsList* ZEV_ProcedureColorMapsList::GetInstance() {
    // Never destroyed: at the end of the process somebody may still point at an element.
    static auto* const s_pInstance = new ZEV_ProcedureColorMapsList;
    return s_pInstance;
}

void ZEV_ProcedureColorMapsList::clearAndDestroy() {
    ForgetPreviousColorMap();
    ZEV_ProcedureList::clearAndDestroy();
}

std::vector<ZEV_ColorMap*> ZEV_ProcedureColorMapsList::FindByUID(const _bstr_t& uid) const {
    std::vector<ZEV_ColorMap*> found;
    for (std::size_t i = 0; i < entries(); ++i) {
        for (int k = 0; k < at(i)->NumOfColorMaps(); ++k) {
            ZEV_ColorMap* const map = at(i)->GetColorMap(k);
            if (map->GetUID() == uid) found.push_back(map);
        }
    }
    return found;
}
