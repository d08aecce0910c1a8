// Writing the presentation back into a message.

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Msg.h>
#include <TXT/TXT_Strings.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_Presets.h>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_voi.h"

namespace {

constexpr unsigned kPresentationLutShape = 0x20500020;
/// The explanation of a window that was set by hand.
constexpr unsigned kWindowText = 16270;
constexpr int kTextSize = 512;

}  // namespace

int ZEV_Dicom::UpdateTheDicom(OBJ_Msg* msg, ZEV_Params* params) {
    const char* const function = "ZEV_Dicom::UpdateTheDicom";
    if (msg == nullptr) {
        ZEV_LOG(function, zev::kLogError, "UpdateTheDicom: The msg is NULL \n");
        return -1;
    }
    if (params == nullptr) {
        ZEV_LOG(function, zev::kLogError, "UpdateTheDicom: The params to be updated is NULL \n");
        return -1;
    }

    const auto slope = static_cast<double>(params->GetRescaleSlope());
    const auto intercept = static_cast<double>(params->GetRescaleIntercept());
    auto c = static_cast<double>(params->GetCenter());
    auto w = static_cast<double>(params->GetWidth());
    if (!params->GetUseRescale()) {
        // Stored values: in a message the window is in modality units.
        c = static_cast<double>(zev::TruncToInt(slope * c + intercept + 0.5));
        w = static_cast<double>(zev::TruncToInt(slope * w + 0.5));
    }
    msg->SetWindowCenter(Dicom_DS(c));
    msg->SetWindowWidth(Dicom_DS(w));

    // A natural gamma leaves what the message holds.
    if (params->GammaExistAndNotNaturalValue()) {
        msg->Put(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(params->GetGamma()));
    }

    // The table's direction, not how the image looks.
    int status = 0;
    msg->SetInverseWindow(Dicom_CS(params->IsInverse() ? "Y" : "N", &status));

    msg->SetRescaleIntercept(Dicom_DS(intercept));
    msg->SetRescaleSlope(Dicom_DS(slope));

    if (params->GetColorMap() != nullptr) {
        write_color_map(msg, params);
        if (params->GetColorMap()->GetUID() == ZEV_Presets::GetInverseGrayscaleColormapUID()) {
            // Built once; the call that does so answers with their status.
            static const Dicom_CS identity("IDENTITY", &status);
            static const Dicom_CS inverse("INVERSE", &status);
            msg->Put(Dicom_Tag(kPresentationLutShape, nullptr), params->IsInverse() ? identity : inverse);
            msg->Put(Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE,
                     params->IsInverse() ? inverse : identity);
        }
    }
    return status;
}

int ZEV_Dicom::UpdateDicomWithVoiLut(OBJ_Msg* msg, ZEV_Params* params) {
    if (msg == nullptr || params == nullptr) return -1;
    Mapper_WindowingManager* const manager = params->GetVoiLutManager();
    if (manager == nullptr) return 0;

    int status = 0;
    const Dicom_LO explanation(WTxtLoadString(kWindowText, kTextSize), &status);

    // A linear window goes down as centre and width, any other entry as itself.
    const Mapper_WindowingEntry* entry = nullptr;
    const int selection = params->GetVoiLutSelection();
    if (selection >= 0 && static_cast<std::size_t>(selection) < manager->m_Entries.size()) {
        entry = manager->m_Entries[static_cast<std::size_t>(selection)];
        if (entry->m_FunctionCode == zev::kFunctionLinear) entry = nullptr;
    }
    manager->SetVOILUT(msg, entry, static_cast<double>(params->GetCenter()),
                       static_cast<double>(params->GetWidth()), explanation);
    return 0;
}
