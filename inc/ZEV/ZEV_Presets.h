#pragma once

#include <COM/bstr.h>
#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeRoot.h>
#include <SPC/SPC_MeasurementUnits.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_ProcedureList.h>
#include <ZEV/ZEV_WindowingUnits.h>

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

class ZEV_PresetValue;

/// Hash of pairs and of single enumerators: 64-bit FNV-1a over the four bytes of a value, lowest first; of a
/// pair the hashes of both members, exclusive-or.
struct ZEV_API myPairHash {
    template <class First, class Second>
    std::size_t operator()(const std::pair<First, Second>& pair) const {
        return of_value(static_cast<int>(pair.first)) ^ of_value(static_cast<int>(pair.second));
    }
    std::size_t operator()(SPC_Modality::MODALITY modality) const {
        return of_value(static_cast<int>(modality));
    }

private:
    static std::size_t of_value(int value);
};

/// The configured windowing presets and colour maps.
///
///     ZEV_Presets presets;
///     if (presets.Init(L"windowing") == 0) {
///         ZEV_ProcedurePreset* ct = presets.GetSetOfPreset(L"CT");
///         ...
///     }
///
/// One call reads everything: the windowing presets of the procedures on each call; the colour maps into the
/// list of the process and the presets of the colour bar once per process. The colour bar is read only if the
/// read that fills the colour maps is for "windowing"; its sets belong to the object that made that read,
/// which a host should therefore keep. Reads must not overlap, and nothing is locked. Copies are deep.
class ZEV_API ZEV_Presets {
public:
    typedef std::pair<SPC_Modality::MODALITY, SPC_MEASUREMENT_UNITS> ModalityUnits;
    /// Text of the units, and the number of presets.
    typedef std::pair<_bstr_t, int> UnitsCount;

    ZEV_Presets();
    ZEV_Presets(const ZEV_Presets& other);
    ZEV_Presets& operator=(const ZEV_Presets& other);
    /// The colour bar's sets that this object read stay, to the end of the process.
    ~ZEV_Presets();

    // ---- reading and saving ----
    /// Does what ReadPresetsFromConfiguration does.
    int Init(const wchar_t* name);
    /// Reads the tree of that name; "highlight" stands for "windowing" where it is missing. 0 on success,
    /// which a configuration without colour maps is too. -1 without a tree, with the old presets kept, and
    /// also when a procedure has more sub trees than presets with a number below 100, when it is gone while
    /// it is read, or when the tree of the colour bar is missing; then what was read so far stays. A failure
    /// of the configuration itself passes out as _com_error.
    int ReadPresetsFromConfiguration(const wchar_t* name);
    /// Nothing is saved: logs a line and gives -1.
    int Save();

    // ---- windowing presets of the procedures ----
    int NumOfPresetLists() const;
    /// Null outside the list. The place of a preset in its set is its number in the configuration less 1; a
    /// number without a preset is filled with "NO_WINDOWING", all of whose numbers are -1.
    ZEV_ProcedurePreset* GetIthPreset(int i) const;
    /// The first set of that name, or null.
    ZEV_ProcedurePreset* GetSetOfPreset(const wchar_t* name) const;
    /// The first usable preset of that name in the sets of a procedure, or of every procedure for null. Null
    /// when there is none.
    ZEV_PresetValue* FindPreset(const _bstr_t& name, const wchar_t* procedure) const;

    // ---- colour maps ----
    /// Number of procedures in the list of the process.
    int NumOfColorMaps();
    /// Null outside the list. Each set begins with the two built-in maps, the grey one and its reverse.
    ZEV_ProcedureColorMaps* GetIthColorMap(int i);
    /// The identifiers of the two built-in colour maps.
    static _bstr_t GetGrayscaleColormapUID();
    static _bstr_t GetInverseGrayscaleColormapUID();

    // ---- presets of the colour bar ----
    /// The first set of the modality whose name is exactly `units`; null when there is none.
    ZEV_ProcedurePreset* GetColorbarProcedurePresets(SPC_Modality::MODALITY modality,
                                                     const wchar_t* units) const;
    /// The modality's set that is always visible; an empty text and 0 when there is none. The reference lives
    /// as long as this object.
    const UnitsCount& NumOfAlwaysVisiblePresets(SPC_Modality::MODALITY modality) const;
    /// The units of the modality's set that is always visible, or -1.
    static SPC_MEASUREMENT_UNITS GetAlwaysVisibilePresets(SPC_Modality::MODALITY modality);
    /// Whether the colour bar has a set for the modality in these units.
    static bool HasPreset(const ModalityUnits& pair);

    static std::unordered_map<SPC_Modality::MODALITY, SPC_MEASUREMENT_UNITS, myPairHash>
        s_umapAlwaysVisiblePresetsUnits;
    static std::unordered_set<ModalityUnits, myPairHash> s_usetColorbarWndPresetsPairs;

private:
    // Each gives the result of the whole read where the read ends with it.
    std::optional<int> read_procedures(PRM_ITreePtr tree);
    std::optional<int> read_color_maps(PRM_ITreePtr tree);
    void read_color_bar_windowing_presets_groups(PRM_ITreePtr tree);
    void read_color_bar_windowing_presets(PRM_ITreePtr tree, ZEV_ProcedurePreset& set,
                                          ZEV_WindowingUnits::Units units);
    void destroy_color_bar_copies();

    ZEV_ProcedurePresetList m_presets;          ///< owned
    ZEV_ProcedurePresetList m_colorbarPresets;  ///< copies are owned, what was read belongs to the process
    ZEV_ProcedureColorMapsList* m_pColorMaps = nullptr;
    std::unordered_map<SPC_Modality::MODALITY, UnitsCount, myPairHash> m_alwaysVisiblePresets;

    static bool s_bColorbarPresetsRead;
};
