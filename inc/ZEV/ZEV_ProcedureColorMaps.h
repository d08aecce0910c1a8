#pragma once

#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Export.h>

#include <memory>
#include <string>
#include <vector>

class ZEV_ColorMap;

/// The named, ordered colour maps of one procedure; it owns them. Nothing is
/// locked: several threads may read a set while none changes it.
class ZEV_API ZEV_ProcedureColorMaps {
public:
    /// A null name is empty. The modality is that of the exact names "CT" and "MR", else unknown.
    explicit ZEV_ProcedureColorMaps(const wchar_t* name);
    ~ZEV_ProcedureColorMaps();

    /// The same name, upper and lower case being different.
    bool operator==(const ZEV_ProcedureColorMaps& other) const { return m_name == other.m_name; }

    /// Takes ownership, and gives the map its place as custom button id. The text is not kept; a null map is
    /// ignored.
    void AddColorMap(ZEV_ColorMap* map, const wchar_t* text);
    /// Null at or above the count; a negative index raises RWBoundsErr. The set keeps ownership.
    ZEV_ColorMap* GetColorMap(int i);
    /// Name of the map; raises RWBoundsErr when there is no such map.
    const wchar_t* GetColorMapText(int i);
    int NumOfColorMaps() const;
    const wchar_t* GetName() const { return m_name.c_str(); }
    SPC_Modality::MODALITY GetModality() const { return m_modality; }

private:
    ZEV_ProcedureColorMaps(const ZEV_ProcedureColorMaps&) = delete;
    ZEV_ProcedureColorMaps& operator=(const ZEV_ProcedureColorMaps&) = delete;

    std::vector<std::unique_ptr<ZEV_ColorMap>> m_colorMaps;
    std::wstring m_name;
    SPC_Modality::MODALITY m_modality;
};
