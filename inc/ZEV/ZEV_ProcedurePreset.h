#pragma once

#include <RW/RWOrdered.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_WindowingUnits.h>

#include <string>

class ZEV_PresetValue;

/// The named, ordered presets of one procedure; it owns its ZEV_PresetValue objects. A set of the colour bar
/// is named after its units. Nothing is
/// locked: several threads may read a set while none changes it.
class ZEV_API ZEV_ProcedurePreset : public RWOrdered {
public:
    /// A null name is empty. The modality is that of the exact names "CT" and "MR", else unknown.
    explicit ZEV_ProcedurePreset(const wchar_t* name);
    ~ZEV_ProcedurePreset() override;

    /// The same name, upper and lower case being different.
    bool operator==(const ZEV_ProcedurePreset& other) const { return m_name == other.m_name; }

    /// At the end.
    void AddPreset(int min, int max, int center, int width, const wchar_t* name,
                   ZEV_WindowingUnits::Units units);
    /// Null at or above the count; a negative index raises RWBoundsErr. The set keeps ownership.
    ZEV_PresetValue* GetValue(int i);
    /// Raises RWBoundsErr when there is no such preset; null when its name is null.
    const wchar_t* GetPresetText(int i);
    int NumOfPresets() const;
    const wchar_t* GetName() const { return m_name.c_str(); }
    SPC_Modality::MODALITY GetModality() const { return m_modality; }
    void SetModality(SPC_Modality::MODALITY modality) { m_modality = modality; }

private:
    ZEV_ProcedurePreset(const ZEV_ProcedurePreset&) = delete;
    ZEV_ProcedurePreset& operator=(const ZEV_ProcedurePreset&) = delete;

    std::wstring m_name;
    SPC_Modality::MODALITY m_modality;
};
