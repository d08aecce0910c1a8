// Opening an image: from its message to a parameter object.

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Null.h>
#include <DICOM/Dicom_US.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_OBJHelper.h>
#include <KIT/KIT_Raster.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_VOILut.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Image.h>
#include <OBJ/OBJ_Msg.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_Presets.h>

#include <memory>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_once.h"
#include "zev_raster_lock.h"
#include "zev_voi.h"

std::map<SPC_Modality::MODALITY, bool> ZEV_Dicom::s_MinMaxScaleDefaults;
std::map<SPC_Modality::MODALITY, _bstr_t> ZEV_Dicom::s_DefaultColorMaps;

namespace {

const char* const kFunction = "ZEV_Dicom::UpdateFromDicom";

/// The window of an image without one, where none can be measured.
constexpr int kFallbackCenter = 1000;
constexpr int kFallbackWidth = 4095;

}  // namespace

ZEV_Dicom::ZEV_Dicom() { read_defaults_once(); }
ZEV_Dicom::~ZEV_Dicom() = default;

void ZEV_Dicom::read_defaults_once() {
    static zev::OnlyOnce once;
    once.Run([] {
        PRM_ITreePtr root(CLSID_PRM_Tree);
        if (PRM_ITreePtr modes = root->GetSubTree(L"windowing\\minmax_scale_defaults")) {
            for (int i = 0; i < modes->GetNumOfKeys(L""); ++i) {
                const _bstr_t name = modes->GetIthKeyName(L"", i);
                const int value = modes->GetIntDefault(name, 0);
                s_MinMaxScaleDefaults[SPC_Modality::ModalityStr2Enum(name)] = value != 0;
            }
        }
        if (PRM_ITreePtr maps = root->GetSubTree(L"colormaps")) {
            for (int i = 0; i < maps->GetNumOfKeys(L""); ++i) {
                const _bstr_t name = maps->GetIthKeyName(L"", i);
                const _bstr_t uid = maps->GetString(name);
                s_DefaultColorMaps[SPC_Modality::ModalityStr2Enum(name)] = uid;
            }
        }
    });
}

/// One UpdateFromDicom call: its steps in the order in which they take effect.
class ZEV_Dicom::Opening {
public:
    Opening(ZEV_Dicom& dicom, OBJ_Msg& msg, KIT_Raster* raster, ZEV_Params& params, bool headerOnly,
            bool force, KIT_BaseParamsVec* vec)
        : m_Dicom(dicom),
          m_Msg(msg),
          m_pRaster(raster),
          m_Params(params),
          m_HeaderOnly(headerOnly),
          m_Force(force),
          m_pVec(vec),
          m_ValuesByDicom(params.GetFlagValuesByDicom()),
          m_AllowWindow(force || (!m_ValuesByDicom && params.GetOriginal())),
          m_pCenter(msg.Get(Dicom_Tag(zev::tag::kWindowCenter, nullptr))),
          m_pWidth(msg.Get(Dicom_Tag(zev::tag::kWindowWidth, nullptr))) {}

    void Run(OBJ_Msg* ddpMsg) {
        take_rescale_and_gamma();
        if (KIT_OBJHelper::IsBogus(&m_Msg) || m_pRaster == nullptr) {
            take_window_of_a_header();
            return;
        }
        take_voi_manager();
        m_Padding = zev::ReadPadding(m_Msg, zev::PaddingSign::kOfPixels, ZEV_Params::kNoPadding);
        take_photometric();
        take_window();
        read_color_map_uid();
        take_inversion();
        fall_back_to_a_fixed_window();
        m_Params.SetPixelPaddingValues(m_Padding.value, m_Padding.limit);
        take_modality();
        take_localizer();
        take_presentation_lut();
        ZEV_LOG(kFunction, zev::kLogValues, "vec=%ls, bAllowWindowingChange=%d\n",
                m_pVec == nullptr ? L"" : m_pVec->GetName(), m_AllowWindow ? 1 : 0);
        if (m_AllowWindow) m_Dicom.UpdateFromDDP(&m_Msg, m_pRaster, &m_Params, ddpMsg, m_pVec);
        take_color_map();
        m_Params.SetFlagValuesByDicom(m_ValuesByDicom);
        if (m_AllowWindow) m_Params.SetUpdatedToFitGroup(false);
    }

private:
    void take_rescale_and_gamma();
    void take_window_of_a_header();
    void take_voi_manager();
    void take_photometric();
    void take_window();
    void take_window_of_entry(Mapper_VOILut& lut);
    void take_raw_attributes();
    void read_color_map_uid();
    void take_inversion();
    void fall_back_to_a_fixed_window();
    void take_modality();
    void take_localizer();
    void take_presentation_lut();
    void take_color_map();

    ZEV_Dicom& m_Dicom;
    OBJ_Msg& m_Msg;
    KIT_Raster* m_pRaster;
    ZEV_Params& m_Params;
    bool m_HeaderOnly;
    bool m_Force;
    KIT_BaseParamsVec* m_pVec;
    bool m_ValuesByDicom;         ///< stored back at the end
    bool m_AllowWindow;           ///< this call may change window and inversion
    const Dicom_Type* m_pCenter;  ///< WindowCenter, or null
    const Dicom_Type* m_pWidth;
    zev::Rescale m_Rescale;
    zev::Padding m_Padding;
    const Dicom_CS* m_pPhotometric = nullptr;
    std::unique_ptr<Dicom_CS> m_PatchedPhotometric;
    _bstr_t m_ColorMapUid{L""};
    SPC_Modality* m_pModality = nullptr;
};

int ZEV_Dicom::UpdateFromDicom(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                               bool bHeaderOnly, bool bForce, KIT_BaseParamsVec* vec) {
    m_WindowSource = ZEV_WindowSource::kNone;
    if (msg == nullptr) {
        ZEV_LOG(kFunction, zev::kLogUnusual, "UpdateFromDicom: The msg is NULL \n");
        return -1;
    }
    if (params == nullptr) {
        ZEV_LOG(kFunction, zev::kLogError, "UpdateFromDicom: The params to be updated is NULL \n");
        return -1;
    }
    if (raster == nullptr && !bHeaderOnly) {
        ZEV_LOG(kFunction, zev::kLogError, "UpdateFromDicom: Error: pixel data is NULL.\n");
        return -1;
    }
    const zev::RasterLock lock(raster);
    Opening(*this, *msg, raster, *params, bHeaderOnly, bForce, vec).Run(ddpMsg);
    return 0;
}

void ZEV_Dicom::Opening::take_rescale_and_gamma() {
    m_Rescale = zev::ReadRescale(m_Msg);
    m_Params.SetRescaleIntercept(m_Rescale.intercept);
    m_Params.SetRescaleSlope(m_Rescale.slope);
    if (const auto* gamma = zev::Find<Dicom_FL>(m_Msg, Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE)) {
        m_Params.SetGamma(static_cast<float>(*gamma));
    }
}

/// Nothing but the attributes; an absent one counts as 0.
void ZEV_Dicom::Opening::take_window_of_a_header() {
    if (!m_AllowWindow) return;
    m_Params.InitCenter(zev::FirstInt(m_pCenter));
    m_Params.InitWidth(zev::FirstInt(m_pWidth));
    if (m_pCenter != nullptr || m_pWidth != nullptr)
        m_Dicom.m_WindowSource = ZEV_WindowSource::kRawAttributes;
}

void ZEV_Dicom::Opening::take_voi_manager() {
    if (m_Params.GetVoiLutManager() != nullptr && !m_Force) return;
    std::unique_ptr<Mapper_WindowingManager> fresh(new Mapper_WindowingManager(&m_Msg));
    if (m_Force && m_Params.GetVoiLutManager() != nullptr) m_Params.SetVoiLutManager(nullptr);
    fresh->Init();
    m_Params.SetVoiLutManager(fresh.release());
    m_Params.SetLastUpdatedMsg(&m_Msg);
}

void ZEV_Dicom::Opening::take_photometric() {
    m_pPhotometric = zev::Find<Dicom_CS>(m_Msg, zev::tag::kPhotometricInterpretation);
    if (m_pPhotometric == nullptr) {
        ZEV_LOG(kFunction, zev::kLogError, "MISSING TAG: PHOTOMETRIC_INTERPRETATION.  Using patch.\n");
        m_PatchedPhotometric = std::make_unique<Dicom_CS>(OBJ_Image::MONOCHROME2);
        m_pPhotometric = m_PatchedPhotometric.get();
    } else if (zev::IsMonochrome1(*m_pPhotometric)) {
        m_Params.SetPhotometricInverse(true);
    }
}

void ZEV_Dicom::Opening::take_window() {
    Mapper_WindowingManager* const manager = m_Params.GetVoiLutManager();
    if (manager != nullptr && !manager->m_Entries.empty()) {
        Mapper_VOILut* const lut =
            manager->CreateDicomVOILut(manager->m_Entries[0], zev::kVoiMaxOutput, zev::kVoiLutKeptByManager);
        if (lut == nullptr) {
            take_raw_attributes();
        } else if (m_AllowWindow) {
            take_window_of_entry(*lut);
        }
    } else if (!m_HeaderOnly && zev::IsMonochrome(*m_pPhotometric) && m_AllowWindow) {
        if (m_pRaster->GetPixels() != nullptr) {
            m_Dicom.apply_auto_windowing(m_pRaster, &m_Msg, m_Rescale.slope, m_Rescale.intercept, &m_Params);
            m_ValuesByDicom = true;
        } else {
            ZEV_LOG(kFunction, zev::kLogTrace,
                    "No raster pixels, cannot perform auto windowing. Setting C=0,W=0\n");
            m_Params.InitWidth(0);
            m_Params.InitCenter(0);
        }
    }
}

/// Entry 0 gives no curve: its attributes, whether or not this call may change the window.
void ZEV_Dicom::Opening::take_raw_attributes() {
    if (m_pCenter != nullptr) m_Params.InitCenter(zev::FirstInt(m_pCenter));
    if (m_pWidth != nullptr) m_Params.InitWidth(zev::FirstInt(m_pWidth));
    m_Dicom.m_WindowSource = ZEV_WindowSource::kRawAttributes;
    m_ValuesByDicom = true;
}

void ZEV_Dicom::Opening::take_window_of_entry(Mapper_VOILut& lut) {
    const int center = zev::TruncToInt(lut.GetVOICenter());
    const int width = zev::TruncToInt(lut.GetVOIWidth());
    const bool isFallback = m_Params.GetCenter() == kFallbackCenter && m_Params.GetWidth() == kFallbackWidth;
    if (isFallback || m_Force || !m_Params.IsCenterInitialized()) m_Params.InitCenter(center);
    if (isFallback || m_Force || !m_Params.IsWidthInitialized()) m_Params.InitWidth(width);
    // Selecting sets the same window once more. Both count: Init makes it the one that Reset goes back to,
    // and the selection makes it current where the object was initialised before.
    m_Params.SetVoiLutSelection(0, false);
    m_Dicom.m_WindowSource = ZEV_WindowSource::kVoiLutEntry;
    m_ValuesByDicom = true;
}

void ZEV_Dicom::Opening::read_color_map_uid() {
    const auto* const uid = zev::Find<Dicom_LO>(m_Msg, Dicom_Dictionary::MIREL_COLOR_MAP_UID);
    if (uid != nullptr && *uid != LO_NULL) m_ColorMapUid = zev::TextOf(*uid);
}

void ZEV_Dicom::Opening::take_inversion() {
    const auto* const inverseWindow = zev::Find<Dicom_CS>(m_Msg, Dicom_Dictionary::ORNEL1_INVERSE_WINDOW);
    const auto* const shape = zev::Find<Dicom_CS>(m_Msg, Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE);
    const auto* const samples = zev::Find<Dicom_US>(m_Msg, zev::tag::kSamplesPerPixel);
    const bool windowIsInverse = zev::Equals(inverseWindow, "Y");
    bool inverse = false;
    if (m_ColorMapUid == ZEV_Presets::GetInverseGrayscaleColormapUID()) {
        inverse = zev::Equals(shape, "INVERSE") || windowIsInverse;
    } else if (inverseWindow != nullptr) {
        inverse = zev::Equals(shape, "IDENTITY") != windowIsInverse;
    } else if (zev::IsMonochrome1(*m_pPhotometric)) {
        // An image that does not say how many samples it has has one.
        inverse = samples == nullptr || static_cast<unsigned short>(*samples) == 1;
    }
    if (m_AllowWindow && (!m_Params.IsInitialized() || m_Force)) m_Params.InitInverse(inverse);
}

void ZEV_Dicom::Opening::fall_back_to_a_fixed_window() {
    const bool isEmpty = m_Params.GetCenter() == 0 && m_Params.GetWidth() == 0;
    if (!isEmpty && m_Params.IsCenterInitialized() && m_Params.IsWidthInitialized()) return;
    ZEV_LOG(kFunction, zev::kLogValues,
            "UpdateFromDicom :The width and center are 0 and changed it to something else \n");
    if (!m_AllowWindow) return;
    m_Params.InitCenter(kFallbackCenter);
    m_Params.InitWidth(kFallbackWidth);
    m_Dicom.m_WindowSource = ZEV_WindowSource::kFallback;
}

void ZEV_Dicom::Opening::take_modality() {
    if (m_pVec != nullptr) m_pModality = static_cast<SPC_Modality*>(m_pVec->GetParams("SPC_Modality", false));
    if (m_pModality == nullptr) return;
    const SPC_Modality::MODALITY modality = m_pModality->GetModality();
    m_Params.SetUsePadding(m_Padding.present && modality == SPC_Modality::MODALITY_MG);
    const auto mode = s_MinMaxScaleDefaults.find(modality);
    if (mode != s_MinMaxScaleDefaults.end()) m_Params.SetMinMaxScaleMode(mode->second);
}

void ZEV_Dicom::Opening::take_localizer() {
    const auto* const imageType = zev::Find<Dicom_CS>(m_Msg, zev::tag::kImageType);
    if (imageType != nullptr && imageType->Match(OBJ_Image::LOCALIZER) != 0) m_Params.SetIsLocalizer();
}

void ZEV_Dicom::Opening::take_presentation_lut() {
    std::unique_ptr<Mapper_Pval> pval(new Mapper_Pval(&m_Msg));
    Mapper_WindowingManager* const manager = m_Params.GetVoiLutManager();
    if (manager == nullptr) return;
    const int selection = m_Params.GetVoiLutSelection();
    if (selection > -1 && static_cast<std::size_t>(selection) < manager->m_Entries.size()) {
        pval->SetWindowingType(*manager, manager->m_Entries[static_cast<std::size_t>(selection)]);
    } else {
        pval->SetWindowingType(*manager, nullptr);
        ZEV_LOG(kFunction, zev::kLogUnusual,
                "UpdateFromDicom: voi_lut_sel has illegal values. Setting NULL as window type. \n");
    }
    m_Params.SetMapperPvLut(pval.release());
}

void ZEV_Dicom::Opening::take_color_map() {
    if (m_ColorMapUid.length() != 0) {
        m_Dicom.set_default_colormap(m_ColorMapUid, &m_Params, m_pVec);
        return;
    }
    if (ZEV_ColorMap* const map = m_Dicom.read_color_map(&m_Msg)) {
        m_Params.AddDicomColorMap(map);
        return;
    }
    if (m_pModality == nullptr || m_Params.GetColorMap() != nullptr) return;
    const auto* const keyImage = zev::Find<Dicom_CS>(m_Msg, Dicom_Dictionary::MIREL_KEY_IMAGE);
    const bool plainKeyImage = keyImage != nullptr && *keyImage != CS_NULL && zev::Equals(keyImage, "Y") &&
                               m_Msg.Get(Dicom_Tag(zev::tag::kContentDescription, nullptr)) == nullptr;
    if (plainKeyImage || m_Params.GetColormapChangedByUser()) return;
    const auto uid = s_DefaultColorMaps.find(m_pModality->GetModality());
    if (uid != s_DefaultColorMaps.end()) m_Dicom.set_default_colormap(uid->second, &m_Params, m_pVec);
}
