// What the object writes into a display-parameter record, and the way back.

#include <KIT/KIT_DDPInfo.h>
#include <TXT/TXT_Strings.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>

#include "zev_log.h"
#include "zev_text.h"

namespace {

/// What is recorded of the window.
constexpr long kModeAsAsked = 1;  ///< the present window if the record asks for it, else the saved one
constexpr long kModePresent = 2;

void add(DDPInfoVector& record, const wchar_t* tagName, const wchar_t* paramName, const wchar_t* value) {
    record.AddParamsValue(new KIT_DDPInfo(tagName, paramName, value));
}

void add_width(DDPInfoVector& record, int width) {
    add(record, L"WINDOW_WIDTH", L"WindowingWidth", CreateString(width));
}
void add_center(DDPInfoVector& record, int center) {
    add(record, L"WINDOW_CENTER", L"WindowingCenter", CreateString(center));
}
void add_inverse(DDPInfoVector& record, bool inverse) {
    add(record, L"ORNEL1_INVERSE_WINDOW", L"WindowInverse", inverse ? L"Y" : L"N");
}

/// Takes the first entry with which the host asks for the present window out of the record. One with a value
/// asks for nothing.
bool take_control_entry(DDPInfoVector& record) {
    auto& entries = record.GetParamsValues();
    for (std::size_t i = 0; i < entries.entries(); ++i) {
        if (entries[i] != nullptr && entries[i]->m_TagName == L"SAVE_WINDOW_LEVEL" &&
            entries[i]->m_Value == L"") {
            entries.removeAt(i);
            return true;
        }
    }
    return false;
}

}  // namespace

void ZEV_Params::RecordDDPInfo(DDPInfoVector& record, long mode) {
    const bool presentAsked = take_control_entry(record);

    if (const Mapper_WindowingEntry* const entry = selected_entry()) {
        add(record, L"MIREL_SELECTED_WINDOWING", L"SelectedWindowing",
            zev::WindowingEntryText(*entry).c_str());
    }
    if (m_pColorMap != nullptr) {
        const _bstr_t uid = m_pColorMap->GetUID();
        if (uid.length() != 0) {
            add(record, L"MIREL_COLOR_MAP_UID", L"MirelColorMapUID", uid);
        } else {
            ZEV_LOG("ZEV_Params::RecordDDPInfo", zev::kLogError,
                    "ZEV_Params::RecordDDPInfo() m_pColorMap has no Unique ID!\n");
        }
    }
    if (GammaExistAndNotNaturalValue()) {
        add(record, L"MIREL_GAMMA_WINDOWING_VALUE", L"MirelGammaWindowingValue",
            zev::FixedText(static_cast<double>(GetGamma())).c_str());
    }

    if (mode == kModePresent || (mode == kModeAsAsked && presentAsked)) {
        add_width(record, m_Width.m_Value);
        add_center(record, m_Center.m_Value);
        // Whether the image looks inverted, not whether the table runs downward.
        add_inverse(record, IsInverse() != m_bPhotometricInverse);
    } else if (mode == kModeAsAsked) {
        if (m_OriginalWidthFromDP.m_bInitialized) add_width(record, m_OriginalWidthFromDP.m_Value);
        if (m_OriginalCenterFromDP.m_bInitialized) add_center(record, m_OriginalCenterFromDP.m_Value);
        if (m_OriginalInverseFromDP.m_bInitialized) add_inverse(record, m_OriginalInverseFromDP.m_Value);
        if (!m_OriginalWidthFromDP.m_bInitialized && !m_OriginalCenterFromDP.m_bInitialized) {
            add(record, L"MIREL_WINDOWING_PRESET", L"WindowingPreset", L"Normal");
        }
    }
}

bool ZEV_Params::UpdateFromDDP(OBJ_Msg* ddpMsg, OBJ_Msg* msg, KIT_Raster* raster, KIT_BaseParamsVec* vec) {
    return ZEV_Dicom().UpdateFromDDP(msg, raster, this, ddpMsg, vec);
}
