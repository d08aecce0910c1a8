// The bridge to automatic windowing: a window for an image without one.

#include <DICOM/Dicom_Dictionary.h>
#include <HST/HST_AutoWindow.h>
#include <KIT/KIT_Raster.h>
#include <OBJ/OBJ_Image.h>
#include <OBJ/OBJ_Msg.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_raster_lock.h"

namespace {

/// What the outputs hold until there is a window.
constexpr int kPresetWidth = 4095;
constexpr int kPresetCenter = 1000;

}  // namespace

bool ZEV_Dicom::GetAutoWinValuesForImage(OBJ_Msg* msg, int* width, int* center) {
    if (msg == nullptr || width == nullptr || center == nullptr) return false;
    const auto* const storedWidth = zev::Find<Dicom_DS>(*msg, Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH);
    const auto* const storedCenter = zev::Find<Dicom_DS>(*msg, Dicom_Dictionary::MIREL_AUTO_WIN_CENTER);
    if (storedWidth == nullptr || storedCenter == nullptr) return false;
    *width = zev::TruncToInt(static_cast<double>(*storedWidth));
    *center = zev::TruncToInt(static_cast<double>(*storedCenter));
    ZEV_LOG("ZEV_Dicom::GetAutoWinValuesForImage", zev::kLogTrace,
            "Previous auto windowing values exist: width=%d, center=%d", *width, *center);
    return true;
}

void ZEV_Dicom::SetAutoWinValuesForImage(OBJ_Msg* msg, int width, int center) {
    if (msg == nullptr) return;
    msg->Put(Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH, Dicom_DS(width));
    msg->Put(Dicom_Dictionary::MIREL_AUTO_WIN_CENTER, Dicom_DS(center));
}

bool ZEV_Dicom::auto_win(KIT_Raster* raster, OBJ_Msg* msg, int* width, int* center, ZEV_Params* params) {
    const char* const function = "ZEV_Dicom::auto_win";
    *width = kPresetWidth;
    *center = kPresetCenter;
    if (GetAutoWinValuesForImage(msg, width, center)) return true;

    const zev::Padding padding = zev::ReadPadding(*msg, zev::PaddingSign::kOfValue, ZEV_Params::kNoPadding);

    bool fullRange = params->ShouldUseFullRange();
    const auto* const modality = zev::Find<Dicom_CS>(*msg, zev::tag::kModality);
    if (modality == nullptr) {
        ZEV_LOG(function, zev::kLogAbsent, "missing MODALITY tag");
    } else if (*modality == OBJ_Image::CT && msg->GetImageType().Match(OBJ_Image::LOCALIZER) != 0) {
        fullRange = true;
    }
    const bool monochrome1 = msg->GetPhotometricInterpretation() == OBJ_Image::MONOCHROME1;

    const zev::RasterLock lock(raster);
    HST_AutoWindow window;
    void* const pixels = raster == nullptr ? nullptr : raster->GetPixels();
    if (pixels == nullptr || modality == nullptr ||
        window.AutoWindowing(pixels, 0, 0, raster->m_Width, raster->m_Height, raster->m_Width, *modality,
                             monochrome1, raster->m_BitsPerPixel, padding.value, padding.limit,
                             raster->m_bSigned, fullRange) != 0) {
        ZEV_LOG(function, zev::kLogTrace, "Auto windowing failed (header?) for params %p\n",
                static_cast<void*>(params));
        *width = 0;
        *center = 0;
        return false;
    }
    *width = zev::TruncToInt(window.m_Width);
    *center = zev::TruncToInt(window.m_Center);
    SetAutoWinValuesForImage(msg, *width, *center);
    return true;
}

void ZEV_Dicom::apply_auto_windowing(KIT_Raster* raster, OBJ_Msg* msg, float slope, int intercept,
                                     ZEV_Params* params) {
    int width = 0, center = 0;
    if (!auto_win(raster, msg, &width, &center, params)) return;
    // In single precision, each product rounded.
    center = zev::TruncToInt(static_cast<float>(center) * slope + static_cast<float>(intercept));
    width = zev::TruncToInt(static_cast<float>(width) * slope);
    params->InitWidth(width);
    params->InitCenter(center);
    params->SetVoiLutSelection(-1, false);
    m_WindowSource = ZEV_WindowSource::kAutomatic;
}

void ZEV_Dicom::apply_windowing(int selection, int center, int width, ZEV_Params* params) {
    params->SetVoiLutSelection(selection, true);
    params->SetCenter(center);
    params->SetWidth(width);
}

std::pair<float, float> ZEV_Dicom::translate_centerwidth_to_maxmin(std::pair<float, float> centerWidth) {
    const float half = centerWidth.second * 0.5f;
    return {half + centerWidth.first, centerWidth.first - half};
}

std::pair<float, float> ZEV_Dicom::translate_maxmin_to_centerwidth(std::pair<float, float> maxMin) {
    return {(maxMin.second + maxMin.first) * 0.5f, maxMin.first - maxMin.second};
}
