// Colour maps and presets called up by identity, and preset values converted to the units of a window.

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

#include <cmath>
#include <tuple>

#include "zev_numeric.h"

std::atomic<int> ZEV_Dicom::s_ApplyRealWorld{-1};

namespace {

/// A map of SUV type opens on the scale from 0 to this.
constexpr float kSuvScaleTop = 10.0f;
/// The window where no preset of the name is found, in SUV by body weight.
constexpr int kFallbackSuvMin = 0;
constexpr int kFallbackSuvMax = 5;

SPC_MeasurementUnitsParams* find_units(KIT_BaseParamsVec* vec) {
    if (vec == nullptr) return nullptr;
    return static_cast<SPC_MeasurementUnitsParams*>(vec->GetParams("SPC_MeasurementUnitsParams", false));
}

/// A preset's numbers. Of two complete pairs the ends count.
struct PresetNumbers {
    enum class Pair { kNone, kEnds, kWindow };

    PresetNumbers(long min, long max, long center, long width) {
        const auto given = [](long number) { return number != ZEV_PresetValue::kNotGiven; };
        pair = given(min) && given(max)        ? Pair::kEnds
               : given(center) && given(width) ? Pair::kWindow
                                               : Pair::kNone;
        first = pair == Pair::kWindow ? center : max;
        second = pair == Pair::kWindow ? width : min;
    }

    Pair pair;
    long first;   ///< the upper end, or the centre
    long second;  ///< the lower end, or the width
};

bool are_stored_values(ZEV_WindowingUnits::Units units) {
    return units == ZEV_WindowingUnits::UNITS_RAW || units == ZEV_WindowingUnits::UNITS_UNINITIALIZED;
}

bool can_translate(SPC_MeasurementUnitsParams* measurement, ZEV_WindowingUnits::Units units) {
    return are_stored_values(units) ||
           (measurement != nullptr && !measurement->IsDataMissingForMeasurement(
                                          ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units)));
}

float to_pixel(SPC_MeasurementUnitsParams& measurement, float value, ZEV_WindowingUnits::Units units) {
    return measurement.TranslateBackFromUnitsToPixel(value,
                                                     ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units));
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
    // Of several maps with the same UID the last one wins, and each one is set.
    for (ZEV_ColorMap* const map : s_pColorMapsList->FindByUID(uid)) {
        if (params != nullptr) params->SetDPColorMap(map);
        previous = map;
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
    m_WindowSource = ZEV_WindowSource::kColorMapSuv;
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
    const ZEV_PresetValue fallback(kFallbackSuvMin, kFallbackSuvMax, ZEV_PresetValue::kNotGiven,
                                   ZEV_PresetValue::kNotGiven, L"", ZEV_WindowingUnits::UNITS_SUV_BW);
    const ZEV_PresetValue* const found = presets.FindPreset(name, modalityName);
    const ZEV_PresetValue& preset = found == nullptr ? fallback : *found;
    if (SetWindowingPresetValues(params, vec, preset.GetMin(), preset.GetMax(), preset.GetCenter(),
                                 preset.GetWidth(), preset.GetUnits())) {
        params->InitCenter(params->GetCenter());
        params->InitWidth(params->GetWidth());
        m_WindowSource = ZEV_WindowSource::kPreset;
    }
}

bool ZEV_Dicom::windows_are_in_real_world_values() {
    if (s_ApplyRealWorld < 0) {
        PRM_ITreePtr root(CLSID_PRM_Tree);
        s_ApplyRealWorld = root->GetIntDefault(L"gra\\apply_real_world_to_window", 0);
    }
    return s_ApplyRealWorld != 0;
}

bool ZEV_Dicom::SetWindowingPresetValues(ZEV_Params* params, KIT_BaseParamsVec* vec, long min, long max,
                                         long center, long width, ZEV_WindowingUnits::Units units) {
    if (params == nullptr) return false;
    PresetNumbers numbers(min, max, center, width);
    const bool byWindow = numbers.pair == PresetNumbers::Pair::kWindow;
    SPC_MeasurementUnitsParams* const measurement = find_units(vec);
    if (!can_translate(measurement, units)) return false;
    if (!are_stored_values(units) && numbers.pair != PresetNumbers::Pair::kNone) {
        // Centre and width each by itself, unlike in TranslatePresetValues, and truncated.
        for (long* const number :
             {byWindow ? &numbers.first : &numbers.second, byWindow ? &numbers.second : &numbers.first})
            *number = zev::TruncToInt(to_pixel(*measurement, static_cast<float>(*number), units));
    }

    // Before the configuration is read, which may raise _com_error.
    params->SetVoiLutSelection(-1, false);
    float a = static_cast<float>(numbers.first);
    float b = static_cast<float>(numbers.second);

    if (windows_are_in_real_world_values() && measurement != nullptr &&
        measurement->HasRealWorldValidInfo()) {
        if (byWindow) std::tie(a, b) = translate_centerwidth_to_maxmin({a, b});
        const float slope = params->GetRescaleSlope();
        const float intercept = static_cast<float>(params->GetRescaleIntercept());
        a = measurement->FindValueForRealWorldValue(a) * slope + intercept;
        b = measurement->FindValueForRealWorldValue(b) * slope + intercept;
        if (byWindow) std::tie(a, b) = translate_maxmin_to_centerwidth({a, b});
    }

    if (byWindow) {
        params->SetCenter(rounded(a));
        params->SetWidth(rounded(b));
    } else if (numbers.pair == PresetNumbers::Pair::kEnds) {
        params->SetWindowMax(rounded(a));
        params->SetWindowMin(rounded(b));
    }
    return true;
}

bool ZEV_Dicom::TranslatePresetValues(ZEV_Params* params, KIT_BaseParamsVec* vec, long min, long max,
                                      long center, long width, ZEV_WindowingUnits::Units units,
                                      double* exactCenter, double* exactWidth) {
    if (params == nullptr || exactCenter == nullptr || exactWidth == nullptr) return false;
    const PresetNumbers numbers(min, max, center, width);
    SPC_MeasurementUnitsParams* const measurement = find_units(vec);
    if (numbers.pair == PresetNumbers::Pair::kNone || !can_translate(measurement, units)) return false;

    double ends[] = {static_cast<double>(numbers.first), static_cast<double>(numbers.second)};
    if (numbers.pair == PresetNumbers::Pair::kWindow) {
        const double half = ends[1] / 2.0;
        ends[1] = ends[0] - half;
        ends[0] += half;
    }
    const bool realWorld =
        windows_are_in_real_world_values() && measurement != nullptr && measurement->HasRealWorldValidInfo();
    for (double& end : ends) {
        if (!are_stored_values(units))
            end = static_cast<double>(to_pixel(*measurement, static_cast<float>(end), units));
        if (realWorld) {
            const float stored = measurement->FindValueForRealWorldValue(static_cast<float>(end));
            end = static_cast<double>(stored) * static_cast<double>(params->GetRescaleSlope()) +
                  params->GetRescaleIntercept();
        }
    }
    *exactCenter = (ends[0] + ends[1]) / 2.0;
    *exactWidth = std::fabs(ends[0] - ends[1]);
    return true;
}
