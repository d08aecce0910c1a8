#pragma once

#include <COM/bstr.h>
#include <RW/RWCollectable.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_WindowingUnits.h>

/// One windowing preset. A preset is usable if it has both ends or both centre and width; nothing here
/// derives one pair from the other. No lock: an object belongs to one thread at a time, or is only read.
class ZEV_API ZEV_PresetValue : public RWCollectable {
public:
    /// A number that is not given.
    static constexpr int kNotGiven = -1;

    /// All numbers 0, a null name, raw units.
    ZEV_PresetValue();
    ZEV_PresetValue(int min, int max, int center, int width, const wchar_t* name,
                    ZEV_WindowingUnits::Units units);
    ZEV_PresetValue(const ZEV_PresetValue& other);
    ZEV_PresetValue& operator=(const ZEV_PresetValue& other);
    ~ZEV_PresetValue() override;

    /// In GetUnits().
    int GetMin() const { return m_min; }
    int GetMax() const { return m_max; }
    int GetCenter() const { return m_center; }
    int GetWidth() const { return m_width; }
    bool HasEnds() const { return m_min != kNotGiven && m_max != kNotGiven; }
    bool HasWindow() const { return m_center != kNotGiven && m_width != kNotGiven; }
    /// Null when the name is null.
    const wchar_t* GetName() const { return m_name; }
    ZEV_WindowingUnits::Units GetUnits() const { return m_units; }
    void SetUnits(ZEV_WindowingUnits::Units units) { m_units = units; }
    /// The host's own number; 0 at first.
    int GetButtonId() const { return m_buttonId; }
    void SetButtonId(int id) { m_buttonId = id; }

    /// Order of the names by UTF-16 code unit, -1, 0 or 1. `other` must be a preset; null, like a null name,
    /// counts as the empty name.
    int compareTo(const RWCollectable* other) const override;

private:
    int m_min = 0;
    int m_max = 0;
    int m_width = 0;
    int m_center = 0;
    _bstr_t m_name;
    int m_buttonId = 0;
    ZEV_WindowingUnits::Units m_units = ZEV_WindowingUnits::UNITS_RAW;
};
