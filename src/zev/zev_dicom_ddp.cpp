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
        if (wanted == _bstr_t(zev::WindowingEntryText(*manager.m_Entries[i]).c_str()))
            return static_cast<int>(i);
    }
    return -1;
}

/// The value of a text attribute, empty when it has none.
_bstr_t text_of(const OBJ_Msg& msg, const Dicom_Tag& tag) {
    const auto* const value = zev::Find<Dicom_LO>(msg, tag);
    return value != nullptr && *value != LO_NULL ? zev::TextOf(*value) : _bstr_t(L"");
}

}  // namespace

/// One UpdateFromDDP call: its steps in the order in which they take effect.
class ZEV_Dicom::SavedParameters {
public:
    SavedParameters(ZEV_Dicom& dicom, OBJ_Msg& msg, KIT_Raster* raster, ZEV_Params& params, OBJ_Msg& saved,
                    KIT_BaseParamsVec* vec)
        : m_Dicom(dicom),
          m_Msg(msg),
          m_pRaster(raster),
          m_Params(params),
          m_Saved(saved),
          m_pVec(vec),
          m_ImageRescale(zev::ReadRescale(msg)),
          m_Center(params.GetCenter()),
          m_Width(params.GetWidth()) {}

    /// Whether the message is an image.
    bool Apply() {
        ZEV_LOG(kFunction, zev::kLogValues, "ZEV_Dicom::UpdateFromDDP. vec=%ls Current w=%d,c%d,s=%f,i=%d\n",
                m_pVec == nullptr ? L"" : m_pVec->GetName(), m_Width, m_Center,
                static_cast<double>(m_Params.GetRescaleSlope()), m_Params.GetRescaleIntercept());
        m_pSavedCenter = zev::Find<Dicom_DS>(m_Saved, zev::tag::kWindowCenter);
        m_pSavedWidth = zev::Find<Dicom_DS>(m_Saved, zev::tag::kWindowWidth);
        m_HasWindow = m_pSavedCenter != nullptr && m_pSavedWidth != nullptr;
        if (m_HasWindow) take_window();
        const bool isImage = !KIT_OBJHelper::IsBogus(&m_Msg);
        m_pPhotometric = zev::Find<Dicom_CS>(m_Msg, zev::tag::kPhotometricInterpretation);
        take_inversion();
        take_selection();
        if (isImage) measure_for_saved_zeros();
        take_color_map();
        take_gamma();
        take_preset();
        return isImage;
    }

private:
    void take_window();
    void take_inversion();
    void take_selection();
    void take_entry(Mapper_WindowingManager& manager, int index, ZEV_WindowSource source);
    void measure_for_saved_zeros();
    void take_color_map();
    void take_gamma();
    void take_preset();

    ZEV_Dicom& m_Dicom;
    OBJ_Msg& m_Msg;
    KIT_Raster* m_pRaster;
    ZEV_Params& m_Params;
    OBJ_Msg& m_Saved;
    KIT_BaseParamsVec* m_pVec;
    zev::Rescale m_ImageRescale;
    int m_Center;  ///< of the saved window in the image's rescale, else the current one
    int m_Width;
    bool m_HasWindow = false;
    const Dicom_DS* m_pSavedCenter = nullptr;
    const Dicom_DS* m_pSavedWidth = nullptr;
    const Dicom_CS* m_pPhotometric = nullptr;
};

bool ZEV_Dicom::UpdateFromDDP(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                              KIT_BaseParamsVec* vec) {
    if (ddpMsg == nullptr) return true;
    if (params == nullptr) return false;

    // The message that last filled the object counts; automatic values that the other one holds come along.
    OBJ_Msg* const last = params->GetLastUpdatedMsg();
    if (last != nullptr && last != msg) {
        int autoWidth = 0;
        int autoCenter = 0;
        if (msg != nullptr && GetAutoWinValuesForImage(msg, &autoWidth, &autoCenter)) {
            ZEV_LOG(kFunction, zev::kLogTrace,
                    "Original message has auto windowing values. Copy to last updated message. auto "
                    "width=%d, auto "
                    "center=%d",
                    autoWidth, autoCenter);
            SetAutoWinValuesForImage(last, autoWidth, autoCenter);
        }
        msg = last;
    }
    return msg != nullptr && SavedParameters(*this, *msg, raster, *params, *ddpMsg, vec).Apply();
}

void ZEV_Dicom::SavedParameters::take_window() {
    m_Center = zev::FirstInt(m_pSavedCenter);
    m_Width = zev::FirstInt(m_pSavedWidth);
    m_Params.SetOriginalCenterFromDP(m_Center);
    m_Params.SetOriginalWidthFromDP(m_Width);
    const zev::Rescale saved = zev::ReadRescale(m_Saved);
    // With a slope of 0 there is no way back to stored values: the window is taken as saved.
    if (saved.complete && saved.slope != 0.0f) {
        ZEV_LOG(kFunction, zev::kLogValues, "Msg w=%d,c=%d,s=%f,i=%d\n", m_Width, m_Center,
                static_cast<double>(m_ImageRescale.slope), m_ImageRescale.intercept);
        m_Center = zev::TruncToInt(static_cast<float>(zev::Subtract(m_Center, saved.intercept)) /
                                       saved.slope * m_ImageRescale.slope +
                                   static_cast<float>(m_ImageRescale.intercept));
        m_Width = zev::TruncToInt(static_cast<float>(m_Width) / saved.slope * m_ImageRescale.slope);
        ZEV_LOG(kFunction, zev::kLogValues, "Ddp msg s=%f,i=%i   new win w=%d,c=%d\n",
                static_cast<double>(saved.slope), saved.intercept, m_Width, m_Center);
    }
    m_Params.SetCenter(m_Center);
    m_Params.SetWidth(m_Width);
    m_Dicom.m_WindowSource = ZEV_WindowSource::kSaved;
}

/// What is saved is how the image looks.
void ZEV_Dicom::SavedParameters::take_inversion() {
    const auto* const saved = zev::Find<Dicom_CS>(m_Saved, Dicom_Dictionary::ORNEL1_INVERSE_WINDOW);
    if (saved == nullptr) return;
    const bool inverse = zev::Equals(saved, "Y");
    m_Params.SetOriginalInverseFromDP(inverse);
    m_Params.SetInverse(m_pPhotometric != nullptr && zev::IsMonochrome1(*m_pPhotometric) ? !inverse
                                                                                         : inverse);
}

void ZEV_Dicom::SavedParameters::take_selection() {
    const Dicom_Type* const saved = m_Saved.Get(Dicom_Dictionary::MIREL_SELECTED_WINDOWING);
    const Dicom_Type* const image = m_Msg.Get(Dicom_Dictionary::MIREL_SELECTED_WINDOWING);
    if (saved == nullptr && image == nullptr) {
        if (m_HasWindow) m_Dicom.apply_windowing(-1, m_Center, m_Width, &m_Params);
        return;
    }
    Mapper_WindowingManager* const manager = m_Params.GetVoiLutManager();
    if (manager == nullptr) return;
    int index = find_entry(*manager, saved != nullptr ? *saved : *image);
    if (index < 0 && saved != nullptr && image != nullptr) index = find_entry(*manager, *image);
    if (index >= 0) {
        take_entry(*manager, index,
                   saved != nullptr ? ZEV_WindowSource::kSaved : ZEV_WindowSource::kVoiLutEntry);
    } else if (!manager->m_Entries.empty()) {
        m_Dicom.apply_windowing(0, m_Center, m_Width, &m_Params);
        if (!m_HasWindow) m_Dicom.m_WindowSource = ZEV_WindowSource::kVoiLutEntry;
    } else {
        m_Dicom.apply_auto_windowing(m_pRaster, &m_Msg, m_ImageRescale.slope, m_ImageRescale.intercept,
                                     &m_Params);
    }
}

void ZEV_Dicom::SavedParameters::take_entry(Mapper_WindowingManager& manager, int index,
                                            ZEV_WindowSource source) {
    const Mapper_WindowingEntry* const entry = manager.m_Entries[static_cast<std::size_t>(index)];
    if (m_HasWindow) {
        m_Dicom.apply_windowing(index, m_Center, m_Width, &m_Params);
    } else if (Mapper_VOILut* const lut =
                   manager.CreateDicomVOILut(entry, zev::kVoiMaxOutput, zev::kVoiLutKeptByManager)) {
        m_Dicom.apply_windowing(index, zev::TruncToInt(lut->GetVOICenter()),
                                zev::TruncToInt(lut->GetVOIWidth()), &m_Params);
        m_Dicom.m_WindowSource = source;
    } else {
        ZEV_LOG(kFunction, zev::kLogError,
                "VOI LUT applied by DP has no center and width - neither in DP nor in DICOM");
    }
    const Mir_AutoPtrThread<Mapper_Pval> pval = m_Params.GetMapperPvLut();
    if (pval) pval->SetWindowingType(manager, entry);
}

/// A saved window of 0 and 0 stands for automatic windowing.
void ZEV_Dicom::SavedParameters::measure_for_saved_zeros() {
    if (m_HasWindow && *m_pSavedCenter == Dicom_DS(0.0) && *m_pSavedWidth == Dicom_DS(0.0) &&
        m_pPhotometric != nullptr && zev::IsMonochrome(*m_pPhotometric)) {
        m_Dicom.apply_auto_windowing(m_pRaster, &m_Msg, m_ImageRescale.slope, m_ImageRescale.intercept,
                                     &m_Params);
    }
}

void ZEV_Dicom::SavedParameters::take_color_map() {
    const _bstr_t uid = text_of(m_Saved, Dicom_Dictionary::MIREL_COLOR_MAP_UID);
    if (!m_Params.GetColormapChangedByUser() && uid.length() != 0)
        m_Dicom.set_default_colormap(uid, &m_Params, m_pVec);
}

void ZEV_Dicom::SavedParameters::take_gamma() {
    const auto* const gamma = zev::Find<Dicom_FL>(m_Saved, Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE);
    if (gamma != nullptr && *gamma != FL_NULL && !m_Params.GetWindowingChangedByUser())
        m_Params.SetGamma(static_cast<float>(*gamma));
}

void ZEV_Dicom::SavedParameters::take_preset() {
    const _bstr_t preset = text_of(m_Saved, Dicom_Dictionary::MIREL_WINDOWING_PRESET);
    if (!m_Params.GetWindowingChangedByUser() && preset.length() != 0)
        m_Dicom.set_default_windowing_preset(preset, &m_Params, m_pVec);
}
