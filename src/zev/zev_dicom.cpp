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

/// The window of an image that brings none and cannot be measured.
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

int ZEV_Dicom::UpdateFromDicom(OBJ_Msg* msg, KIT_Raster* raster, ZEV_Params* params, OBJ_Msg* ddpMsg,
                               bool bHeaderOnly, bool bForce, KIT_BaseParamsVec* vec) {
    const char* const function = "ZEV_Dicom::UpdateFromDicom";
    m_WindowSource = ZEV_WindowSource::kNone;
    if (msg == nullptr) {
        ZEV_LOG(function, zev::kLogUnusual, "UpdateFromDicom: The msg is NULL \n");
        return -1;
    }
    if (params == nullptr) {
        ZEV_LOG(function, zev::kLogError, "UpdateFromDicom: The params to be updated is NULL \n");
        return -1;
    }
    if (raster == nullptr && !bHeaderOnly) {
        ZEV_LOG(function, zev::kLogError, "UpdateFromDicom: Error: pixel data is NULL.\n");
        return -1;
    }
    bool valuesByDicom = params->GetFlagValuesByDicom();
    const bool bAllowWindowingChange = bForce || (!valuesByDicom && params->GetOriginal());
    const zev::RasterLock lock(raster);

    const zev::Rescale rescale = zev::ReadRescale(*msg);
    params->SetRescaleIntercept(rescale.intercept);
    params->SetRescaleSlope(rescale.slope);

    if (const auto* gamma = zev::Find<Dicom_FL>(*msg, Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE)) {
        params->SetGamma(static_cast<float>(*gamma));
    }

    const Dicom_Tag centerTag(zev::tag::kWindowCenter, nullptr);
    const Dicom_Tag widthTag(zev::tag::kWindowWidth, nullptr);
    const bool hasRawAttributes = msg->Get(centerTag) != nullptr || msg->Get(widthTag) != nullptr;
    if (KIT_OBJHelper::IsBogus(msg) || raster == nullptr) {
        if (hasRawAttributes && bAllowWindowingChange) m_WindowSource = ZEV_WindowSource::kRawAttributes;
        if (bAllowWindowingChange) {
            params->InitCenter(zev::FirstInt(*msg, centerTag, 0));
            params->InitWidth(zev::FirstInt(*msg, widthTag, 0));
        }
        return 0;
    }

    // VOI manager.
    if (params->GetVoiLutManager() == nullptr || bForce) {
        std::unique_ptr<Mapper_WindowingManager> fresh(new Mapper_WindowingManager(msg));
        if (bForce && params->GetVoiLutManager() != nullptr) params->SetVoiLutManager(nullptr);
        fresh->Init();
        params->SetVoiLutManager(fresh.release());
        params->SetLastUpdatedMsg(msg);
    }
    Mapper_WindowingManager* const manager = params->GetVoiLutManager();

    const zev::Padding padding = zev::ReadPadding(*msg, zev::PaddingSign::kOfPixels, ZEV_Params::kNoPadding);

    // Photometric interpretation.
    const auto* photometric = zev::Find<Dicom_CS>(*msg, zev::tag::kPhotometricInterpretation);
    std::unique_ptr<Dicom_CS> patched;
    if (photometric == nullptr) {
        ZEV_LOG(function, zev::kLogError, "MISSING TAG: PHOTOMETRIC_INTERPRETATION.  Using patch.\n");
        patched = std::make_unique<Dicom_CS>(OBJ_Image::MONOCHROME2);
        photometric = patched.get();
    } else if (zev::IsMonochrome1(*photometric)) {
        params->SetPhotometricInverse(true);
    }

    // Window.
    if (manager != nullptr && !manager->m_Entries.empty()) {
        Mapper_VOILut* const lut =
            manager->CreateDicomVOILut(manager->m_Entries[0], zev::kVoiMaxOutput, zev::kVoiLutKeptByManager);
        if (lut == nullptr) {
            // The plain attributes, whether or not this call may change the window.
            if (msg->Get(centerTag) != nullptr) params->InitCenter(zev::FirstInt(*msg, centerTag, 0));
            if (msg->Get(widthTag) != nullptr) params->InitWidth(zev::FirstInt(*msg, widthTag, 0));
            if (hasRawAttributes) m_WindowSource = ZEV_WindowSource::kRawAttributes;
            valuesByDicom = true;
        } else if (bAllowWindowingChange) {
            const int center = zev::TruncToInt(lut->GetVOICenter());
            const int width = zev::TruncToInt(lut->GetVOIWidth());
            if (params->GetCenter() == kFallbackCenter && params->GetWidth() == kFallbackWidth) {
                params->InitCenter(center);
                params->InitWidth(width);
            } else {
                if (!params->IsCenterInitialized() || bForce) params->InitCenter(center);
                if (!params->IsWidthInitialized() || bForce) params->InitWidth(width);
            }
            params->SetVoiLutSelection(0, false);
            m_WindowSource = ZEV_WindowSource::kVoiLutEntry;
            valuesByDicom = true;
        }
    } else if (!bHeaderOnly && zev::IsMonochrome(*photometric) && bAllowWindowingChange) {
        if (raster->GetPixels() != nullptr) {
            apply_auto_windowing(raster, msg, rescale.slope, rescale.intercept, params);
            valuesByDicom = true;
        } else {
            ZEV_LOG(function, zev::kLogTrace,
                    "No raster pixels, cannot perform auto windowing. Setting C=0,W=0\n");
            params->InitWidth(0);
            params->InitCenter(0);
        }
    }

    _bstr_t colorMapUid(L"");
    const auto* const storedUid = zev::Find<Dicom_LO>(*msg, Dicom_Dictionary::MIREL_COLOR_MAP_UID);
    if (storedUid != nullptr && *storedUid != LO_NULL) colorMapUid = zev::TextOf(*storedUid);

    // Inversion.
    const auto* const inverseWindow = zev::Find<Dicom_CS>(*msg, Dicom_Dictionary::ORNEL1_INVERSE_WINDOW);
    const auto* const shape = zev::Find<Dicom_CS>(*msg, Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE);
    const auto* const samples = zev::Find<Dicom_US>(*msg, zev::tag::kSamplesPerPixel);
    const bool windowIsInverse = zev::Equals(inverseWindow, "Y");
    bool inverse = false;
    if (colorMapUid == ZEV_Presets::GetInverseGrayscaleColormapUID()) {
        inverse = zev::Equals(shape, "INVERSE") || windowIsInverse;
    } else if (inverseWindow != nullptr) {
        inverse = zev::Equals(shape, "IDENTITY") != windowIsInverse;
    } else if (zev::IsMonochrome1(*photometric)) {
        // An image that does not say how many samples it has has one.
        inverse = samples == nullptr || static_cast<unsigned short>(*samples) == 1;
    }
    if (bAllowWindowingChange && (!params->IsInitialized() || bForce)) params->InitInverse(inverse);

    // Window fallback.
    if ((params->GetCenter() == 0 && params->GetWidth() == 0) || !params->IsCenterInitialized() ||
        !params->IsWidthInitialized()) {
        ZEV_LOG(function, zev::kLogValues,
                "UpdateFromDicom :The width and center are 0 and changed it to something else \n");
        if (bAllowWindowingChange) {
            params->InitCenter(kFallbackCenter);
            params->InitWidth(kFallbackWidth);
            m_WindowSource = ZEV_WindowSource::kFallback;
        }
    }

    params->SetPixelPaddingValues(padding.value, padding.limit);

    // Modality.
    auto* const modalityParams =
        vec == nullptr ? nullptr : static_cast<SPC_Modality*>(vec->GetParams("SPC_Modality", false));
    if (modalityParams != nullptr) {
        const SPC_Modality::MODALITY modality = modalityParams->GetModality();
        params->SetUsePadding(padding.present && modality == SPC_Modality::MODALITY_MG);
        const auto mode = s_MinMaxScaleDefaults.find(modality);
        if (mode != s_MinMaxScaleDefaults.end()) params->SetMinMaxScaleMode(mode->second);
    }

    const auto* const imageType = zev::Find<Dicom_CS>(*msg, zev::tag::kImageType);
    if (imageType != nullptr && imageType->Match(OBJ_Image::LOCALIZER) != 0) params->SetIsLocalizer();

    // Presentation LUT.
    std::unique_ptr<Mapper_Pval> pval(new Mapper_Pval(msg));
    if (manager != nullptr) {
        const int selection = params->GetVoiLutSelection();
        if (selection > -1 && static_cast<std::size_t>(selection) < manager->m_Entries.size()) {
            pval->SetWindowingType(*manager, manager->m_Entries[static_cast<std::size_t>(selection)]);
        } else {
            pval->SetWindowingType(*manager, nullptr);
            ZEV_LOG(function, zev::kLogUnusual,
                    "UpdateFromDicom: voi_lut_sel has illegal values. Setting NULL as window type. \n");
        }
        params->SetMapperPvLut(pval.release());
    }

    ZEV_LOG(function, zev::kLogValues, "vec=%ls, bAllowWindowingChange=%d\n",
            vec == nullptr ? L"" : vec->GetName(), bAllowWindowingChange ? 1 : 0);

    if (bAllowWindowingChange) UpdateFromDDP(msg, raster, params, ddpMsg, vec);

    // Colour map.
    if (colorMapUid.length() != 0) {
        set_default_colormap(colorMapUid, params, vec);
    } else if (ZEV_ColorMap* const map = read_color_map(msg)) {
        params->AddDicomColorMap(map);
    } else if (modalityParams != nullptr && params->GetColorMap() == nullptr) {
        const auto* const keyImage = zev::Find<Dicom_CS>(*msg, Dicom_Dictionary::MIREL_KEY_IMAGE);
        const bool plainKeyImage = keyImage != nullptr && *keyImage != CS_NULL &&
                                   zev::Equals(keyImage, "Y") &&
                                   msg->Get(Dicom_Tag(zev::tag::kContentDescription, nullptr)) == nullptr;
        if (!plainKeyImage && !params->GetColormapChangedByUser()) {
            const auto uid = s_DefaultColorMaps.find(modalityParams->GetModality());
            if (uid != s_DefaultColorMaps.end()) set_default_colormap(uid->second, params, vec);
        }
    }

    params->SetFlagValuesByDicom(valuesByDicom);
    if (bAllowWindowingChange) params->SetUpdatedToFitGroup(false);
    return 0;
}
