#pragma once

#include <COM/bstr.h>
#include <KIT/KIT_Color.h>
#include <ZEV/ZEV_Export.h>

#include <map>

/// Turns a display value of 8 bits into a colour.
///
///     ZEV_ColorMap map;
///     map.AddEntry("0.0", "000000");      // position 0 to 1, colour RRGGBB in hexadecimal
///     map.AddEntry("1.0", "FF0000");
///     map.CreateTable();
///     KIT_Color middle = map.TransformColor(128);
///
/// A map is written down as control points and expanded once into 256 colours. Setters and AddEntry come
/// first, then CreateTable; later changes show with the next CreateTable. A dummy map means plain grey:
/// it has a name and a UID, and its table is not applied. After CreateTable several threads may read.
class ZEV_API ZEV_ColorMap {
public:
    static constexpr int kTableSize = 256;

    ZEV_ColorMap();
    /// Copies are deep; the texts are shared.
    ZEV_ColorMap(const ZEV_ColorMap& other);
    ZEV_ColorMap& operator=(const ZEV_ColorMap& other);
    virtual ~ZEV_ColorMap();

    // ---- control points and table ----
    /// Adds or replaces the control point at a position. The colour is read as by strtol with base 16 and a
    /// 32-bit long: it stops at the first other character, and more than 7FFFFFFF is 7FFFFFFF. The position
    /// is a decimal text with a point; text that is not a number is 0.
    void AddEntry(_bstr_t position, _bstr_t color);
    /// Expands the control points. Without points at exactly 0.0 and 1.0 the table stays as it was, with a
    /// log line. Points outside 0..1 (NaN among them) are left out, with a log line; a resolution
    /// outside 1..256 counts as 256. Each component is interpolated in 32-bit float and truncated; a stepped
    /// map gives each stretch the colour of its lower point, so its last colour never shows.
    void CreateTable();
    /// The colour of a display value. The index must be 0 to 255; it is not tested.
    KIT_Color TransformColor(int index) const { return m_table[index]; }
    /// The 256 colours, writable.
    KIT_Color* GetTable() { return m_table; }

    // ---- identity ----
    /// Text shown to the user; null when the text is null. Valid until SetName, assignment or destruction.
    const wchar_t* GetName() const;
    void SetName(_bstr_t name);
    /// The identifier by which the map is found again.
    _bstr_t GetUID() const;
    void SetUID(_bstr_t uid);
    /// Place of the map within its set; -1 for a map from an image's palette, and before it is set.
    int GetCustomButtonId() const;
    void SetCustomButtonId(int id);

    // ---- kind ----
    bool IsDummy() const { return m_isDummy; }
    void SetDummy(bool dummy);
    bool GetIsSUVType() const;
    void SetIsSUVType(bool suv);
    bool GetIsSmooth() const;
    void SetIsSmooth(bool smooth);
    int GetOutputResolution() const;
    void SetOutputResolution(int resolution);

    // ---- thresholds, in GetThresholdUnits(): stored for the host, not interpreted ----
    _bstr_t GetThresholdUnits() const;
    void SetThresholdUnits(_bstr_t units);
    float GetThresholdMin() const;
    void SetThresholdMin(float threshold);
    float GetThresholdMax() const;
    void SetThresholdMax(float threshold);

private:
    _bstr_t m_name;
    _bstr_t m_uid;
    _bstr_t m_thresholdUnits;
    float m_thresholdMin = 0.0f;
    float m_thresholdMax = 0.0f;
    int m_outputResolution = kTableSize;  ///< number of distinct colours that CreateTable works out
    bool m_isSmooth = true;               ///< interpolate between control points, else steps
    bool m_isSUVType = false;             ///< meant for SUV display
    bool m_isDummy = false;
    int m_customButtonId = -1;
    std::map<float, KIT_Color> m_controlPoints;
    KIT_Color m_table[kTableSize];
};
