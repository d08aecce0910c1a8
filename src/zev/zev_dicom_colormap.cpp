// Colour maps and presets called up by identity, and preset values in units brought to the units of a window.

#include <KIT/KIT_BaseParamsVec.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <cwchar>

#include "zev_numeric.h"

int ZEV_Dicom::s_ApplyRealWorld = -1;

namespace {

/// In the role of a number that is not given.
constexpr int kAbsent = -1;
/// A map of SUV type opens on the scale from 0 to this.
constexpr float kSuvScaleTop = 10.0f;
/// The window where no preset of the name is found, in SUV by body weight.
constexpr int kFallbackSuvMin = 0;
constexpr int kFallbackSuvMax = 5;

SPC_MeasurementUnitsParams* find_units(KIT_BaseParamsVec* vec) {
    if (vec == nullptr) return nullptr;
    return static_cast<SPC_MeasurementUnitsParams*>(vec->GetParams("SPC_MeasurementUnitsParams", false));
}

bool has_ends(const ZEV_PresetValue& preset) {
    return preset.GetMin() != kAbsent && preset.GetMax() != kAbsent;
}
bool has_window(const ZEV_PresetValue& preset) {
    return preset.GetCenter() != kAbsent && preset.GetWidth() != kAbsent;
}

/// The first usable preset of that name in the sets of the modality, or null.
ZEV_PresetValue* find_preset(ZEV_Presets& presets, const wchar_t* modalityName, const _bstr_t& name) {
    for (int i = 0; i < presets.NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset* const set = presets.GetIthPreset(i);
        if (std::wcscmp(set->GetName(), modalityName) != 0) continue;
        for (int j = 0; j < set->NumOfPresets(); ++j) {
            ZEV_PresetValue* const preset = set->GetValue(j);
            if (preset == nullptr || name != preset->GetName()) continue;
            if (has_ends(*preset) || has_window(*preset)) return preset;
        }
    }
    return nullptr;
}

/// To the nearest whole number, halves upward; what is left of a negative number is cut off towards zero.
int rounded(float value) { return zev::TruncToInt(static_cast<double>(value) + 0.5); }

}  // namespace

void ZEV_Dicom::set_default_colormap(_bstr_t uid, ZEV_Params* params, KIT_BaseParamsVec* vec) {
    static ZEV_ProcedureColorMapsList* const s_pColorMapsList = ZEV_ProcedureColorMapsList::GetInstance();
    ZEV_ColorMap*& previous = ZEV_ProcedureColorMapsList::m_pPreviousColorMap;
    if (previous != nullptr && previous->GetUID() == uid) {
        if (params != nullptr) params->SetDPColorMap(previous);
        return;
    }
    // Of several maps with the same UID the last one wins.
    for (std::size_t i = 0; i < s_pColorMapsList->entries(); ++i) {
        ZEV_ProcedureColorMaps* const set = s_pColorMapsList->at(i);
        for (int k = 0; k < set->NumOfColorMaps(); ++k) {
            ZEV_ColorMap* const map = set->GetColorMap(k);
            if (map->GetUID() != uid) continue;
            if (params != nullptr) params->SetDPColorMap(map);
            previous = map;
        }
    }
    // This may be the map of an earlier call.
    if (previous == nullptr || !previous->GetIsSUVType()) return;
    SPC_MeasurementUnitsParams* const units = find_units(vec);
    if (units == nullptr || params == nullptr) return;

    // The centre is half the width, as if the scale began at 0.
    const float bottom = units->TranslateBackFromUnitsToPixel(0.0f, SPC_UNITS_UNKNOWN);
    const float top = units->TranslateBackFromUnitsToPixel(kSuvScaleTop, SPC_UNITS_UNKNOWN);
    const float width = top - bottom;
    params->SetWidth(zev::TruncToInt(width));
    params->SetCenter(zev::TruncToInt(width * 0.5f));
}

void ZEV_Dicom::set_default_windowing_preset(_bstr_t name, ZEV_Params* params, KIT_BaseParamsVec* vec) {
    auto* const modalityParams =
        vec == nullptr ? nullptr : static_cast<SPC_Modality*>(vec->GetParams("SPC_Modality", false));
    if (modalityParams == nullptr) return;
    const SPC_Modality::MODALITY modality = modalityParams->GetModality();
    const wchar_t* const modalityName = modalityParams->GetModalityName();
    if (modality != SPC_Modality::MODALITY_PT && modality != SPC_Modality::MODALITY_NM) return;
    if (modalityName == nullptr) return;

    // Read afresh each time. A configuration that gives nothing leaves the fallback.
    ZEV_Presets presets;
    presets.Init(L"windowing");
    ZEV_PresetValue fallback(kFallbackSuvMin, kFallbackSuvMax, kAbsent, kAbsent, L"",
                             ZEV_WindowingUnits::UNITS_SUV_BW);
    ZEV_PresetValue* const found = find_preset(presets, modalityName, name);
    const ZEV_PresetValue& preset = found == nullptr ? fallback : *found;
    if (SetWindowingPresetValues(params, vec, preset.GetMin(), preset.GetMax(), preset.GetCenter(),
                                 preset.GetWidth(), preset.GetUnits())) {
        params->InitCenter(params->GetCenter());
        params->InitWidth(params->GetWidth());
    }
}

bool ZEV_Dicom::SetWindowingPresetValues(ZEV_Params* params, KIT_BaseParamsVec* vec, long min, long max,
                                         long center, long width, ZEV_WindowingUnits::Units units) {
    if (params == nullptr) return false;
    // Of two complete pairs the ends decide.
    const bool byEnds = min != kAbsent && max != kAbsent;
    const bool byWindow = !byEnds && center != kAbsent && width != kAbsent;
    SPC_MeasurementUnitsParams* const measurement = find_units(vec);

    if (units != ZEV_WindowingUnits::UNITS_RAW && units != ZEV_WindowingUnits::UNITS_UNINITIALIZED) {
        const SPC_MEASUREMENT_UNITS spcUnits = ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units);
        if (measurement == nullptr || measurement->IsDataMissingForMeasurement(spcUnits)) return false;
        const auto toPixel = [&](long& value) {
            const float pixel =
                measurement->TranslateBackFromUnitsToPixel(static_cast<float>(value), spcUnits);
            value = zev::TruncToInt(pixel);
        };
        if (byEnds) {
            toPixel(min);
            toPixel(max);
        } else if (byWindow) {
            toPixel(center);
            toPixel(width);
        }
    }

    params->SetVoiLutSelection(-1, false);
    float a = static_cast<float>(byWindow ? center : max);
    float b = static_cast<float>(byWindow ? width : min);

    if (s_ApplyRealWorld < 0) {
        PRM_ITreePtr root(CLSID_PRM_Tree);
        s_ApplyRealWorld = root->GetIntDefault(L"gra\\apply_real_world_to_window", 0);
    }
    if (s_ApplyRealWorld != 0 && measurement != nullptr && measurement->HasRealWorldValidInfo()) {
        if (byWindow) {
            const float half = b * 0.5f;
            const float middle = a;
            a = middle + half;
            b = middle - half;
        }
        a = measurement->FindValueForRealWorldValue(a);
        b = measurement->FindValueForRealWorldValue(b);
        const float slope = params->GetRescaleSlope();
        const float intercept = static_cast<float>(params->GetRescaleIntercept());
        a = a * slope + intercept;
        b = b * slope + intercept;
        if (byWindow) {
            const float upper = a;
            a = (b + upper) * 0.5f;
            b = upper - b;
        }
    }

    if (byEnds) {
        params->SetWindowMax(rounded(a));
        params->SetWindowMin(rounded(b));
    } else if (byWindow) {
        params->SetCenter(rounded(a));
        params->SetWidth(rounded(b));
    }
    return true;
}
