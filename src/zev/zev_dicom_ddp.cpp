// Laying saved display parameters over an opened image.

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Null.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_OBJHelper.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_VOILut.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Msg.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_text.h"
#include "zev_voi.h"

namespace {

const char* const kFunction = "ZEV_Dicom::UpdateFromDDP";

/// The index of the entry that a saved text names; -1 for none.
int find_entry(const Mapper_WindowingManager& manager, const Dicom_Type& selected) {
    const _bstr_t wanted = zev::TextOf(selected);
    for (std::size_t i = 0; i < manager.m_Entries.size(); ++i) {
        if (wanted == zev::WindowingEntryText(*manager.m_Entries[i]).c_str()) return static_cast<int>(i);
    }
    return -1;
}

/// The value of a text attribute, empty when it has none.
_bstr_t text_of(const OBJ_Msg& msg, const Dicom_Tag& tag) {
    const auto* const value = zev::Find<Dicom_LO>(msg, tag);
    return value != nullptr && *value != LO_NULL ? zev::TextOf(*value) : _bstr_t(L"");
}

}  // namespace

bool ZEV_Dicom::UpdateFromDDP(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                              KIT_BaseParamsVec* vec) {
    if (ddpMsg == nullptr) return true;
    if (params == nullptr) return false;

    // The message in use is the one that last filled the object; automatic values that the other one holds
    // come along.
    OBJ_Msg* const last = params->GetLastUpdatedMsg();
    if (last != nullptr && last != msg) {
        int autoWidth = 0;
        int autoCenter = 0;
        const bool hasAuto = msg != nullptr && GetAutoWinValuesForImage(msg, &autoWidth, &autoCenter);
        msg = last;
        if (hasAuto) {
            ZEV_LOG(kFunction, zev::kLogTrace,
                    "Original message has auto windowing values. Copy to last updated message. auto "
                    "width=%d, auto "
                    "center=%d",
                    autoWidth, autoCenter);
            SetAutoWinValuesForImage(last, autoWidth, autoCenter);
        }
    }
    if (msg == nullptr) return false;

    const zev::Rescale image = zev::ReadRescale(*msg);

    int c = params->GetCenter();
    int w = params->GetWidth();
    ZEV_LOG(kFunction, zev::kLogValues, "ZEV_Dicom::UpdateFromDDP. vec=%ls Current w=%d,c%d,s=%f,i=%d\n",
            vec == nullptr ? L"" : vec->GetName(), w, c, static_cast<double>(params->GetRescaleSlope()),
            params->GetRescaleIntercept());

    // Saved window.
    const auto* const savedCenter = zev::Find<Dicom_DS>(*ddpMsg, zev::tag::kWindowCenter);
    const auto* const savedWidth = zev::Find<Dicom_DS>(*ddpMsg, zev::tag::kWindowWidth);
    const bool hasSavedWindow = savedCenter != nullptr && savedWidth != nullptr;
    if (hasSavedWindow) {
        c = zev::TruncToInt(static_cast<double>(*savedCenter));
        w = zev::TruncToInt(static_cast<double>(*savedWidth));
        params->SetOriginalCenterFromDP(c);
        params->SetOriginalWidthFromDP(w);
        const zev::Rescale saved = zev::ReadRescale(*ddpMsg);
        // A slope of 0 is no rescale: the window is taken as saved.
        if (saved.complete && saved.slope != 0.0f) {
            ZEV_LOG(kFunction, zev::kLogValues, "Msg w=%d,c=%d,s=%f,i=%d\n", w, c,
                    static_cast<double>(image.slope), image.intercept);
            c = zev::TruncToInt(static_cast<float>(zev::Subtract(c, saved.intercept)) / saved.slope *
                                    image.slope +
                                static_cast<float>(image.intercept));
            w = zev::TruncToInt(static_cast<float>(w) / saved.slope * image.slope);
            ZEV_LOG(kFunction, zev::kLogValues, "Ddp msg s=%f,i=%i   new win w=%d,c=%d\n",
                    static_cast<double>(saved.slope), saved.intercept, w, c);
        }
        params->SetCenter(c);
        params->SetWidth(w);
        m_WindowSource = ZEV_WindowSource::kSaved;
    }

    const bool bogus = KIT_OBJHelper::IsBogus(msg);
    const auto* const photometric = zev::Find<Dicom_CS>(*msg, zev::tag::kPhotometricInterpretation);

    // Saved inversion: how the image looks.
    if (const auto* const saved = zev::Find<Dicom_CS>(*ddpMsg, Dicom_Dictionary::ORNEL1_INVERSE_WINDOW)) {
        const bool inverse = zev::Equals(saved, "Y");
        params->SetOriginalInverseFromDP(inverse);
        params->SetInverse(photometric != nullptr ? zev::IsMonochrome1(*photometric) != inverse : inverse);
    }

    // Saved VOI selection.
    const Dicom_Type* const savedSelection = ddpMsg->Get(Dicom_Dictionary::MIREL_SELECTED_WINDOWING);
    const Dicom_Type* const imageSelection = msg->Get(Dicom_Dictionary::MIREL_SELECTED_WINDOWING);
    Mapper_WindowingManager* const manager = params->GetVoiLutManager();
    if (savedSelection == nullptr && imageSelection == nullptr) {
        if (hasSavedWindow) apply_windowing(-1, c, w, params);
    } else if (manager != nullptr) {
        int n = find_entry(*manager, savedSelection != nullptr ? *savedSelection : *imageSelection);
        if (n < 0 && savedSelection != nullptr && imageSelection != nullptr)
            n = find_entry(*manager, *imageSelection);
        if (n >= 0) {
            const Mapper_WindowingEntry* const entry = manager->m_Entries[static_cast<std::size_t>(n)];
            const ZEV_WindowSource entrySource =
                savedSelection != nullptr ? ZEV_WindowSource::kSaved : ZEV_WindowSource::kVoiLutEntry;
            if (hasSavedWindow) {
                apply_windowing(n, c, w, params);
            } else if (Mapper_VOILut* const lut =
                           manager->CreateDicomVOILut(entry, zev::kVoiMaxOutput, zev::kVoiLutKeptByManager)) {
                apply_windowing(n, zev::TruncToInt(lut->GetVOICenter()), zev::TruncToInt(lut->GetVOIWidth()),
                                params);
                m_WindowSource = entrySource;
            } else {
                ZEV_LOG(kFunction, zev::kLogError,
                        "VOI LUT applied by DP has no center and width - neither in DP nor in DICOM");
            }
            const Mir_AutoPtrThread<Mapper_Pval> pval = params->GetMapperPvLut();
            if (pval) pval->SetWindowingType(*manager, entry);
        } else if (!manager->m_Entries.empty()) {
            apply_windowing(0, c, w, params);
            if (!hasSavedWindow) m_WindowSource = ZEV_WindowSource::kVoiLutEntry;
        } else {
            apply_auto_windowing(raster, msg, image.slope, image.intercept, params);
        }
    }

    // A saved window of 0 and 0 stands for automatic windowing.
    if (hasSavedWindow && *savedCenter == Dicom_DS(0.0) && *savedWidth == Dicom_DS(0.0) &&
        photometric != nullptr && zev::IsMonochrome(*photometric) && !bogus) {
        apply_auto_windowing(raster, msg, image.slope, image.intercept, params);
    }

    const _bstr_t uid = text_of(*ddpMsg, Dicom_Dictionary::MIREL_COLOR_MAP_UID);
    if (!params->GetColormapChangedByUser() && uid.length() != 0) set_default_colormap(uid, params, vec);

    const auto* const gamma = zev::Find<Dicom_FL>(*ddpMsg, Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE);
    if (gamma != nullptr && *gamma != FL_NULL && !params->GetWindowingChangedByUser()) {
        params->SetGamma(static_cast<float>(*gamma));
    }

    const _bstr_t preset = text_of(*ddpMsg, Dicom_Dictionary::MIREL_WINDOWING_PRESET);
    if (!params->GetWindowingChangedByUser() && preset.length() != 0) {
        set_default_windowing_preset(preset, params, vec);
    }
    return !bogus;
}
