// Presets by name, and a presentation that is saved into the image's attributes and opened again. Writes
// settings.txt, or the file that is named.

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedurePreset.h>
#include <refhost/Com.h>

#include <cwchar>
#include <fstream>

int main(int argc, char** argv) {
    const refhost::ComApartment apartment;  // starts Windows' component library there
    std::ofstream out(argc > 1 ? argv[1] : "settings.txt");

    OBJ_Msg image;
    image.Put(Dicom_Tag(0x00280004), Dicom_CS("MONOCHROME2", nullptr));
    image.SetRescaleSlope(Dicom_DS(1)), image.SetRescaleIntercept(Dicom_DS(-1024));
    image.SetWindowCenter(Dicom_DS(40)), image.SetWindowWidth(Dicom_DS(400));
    KIT_BaseParamsVec view(L"view");
    SPC_Modality modality(L"CT");
    ZEV_Params params;
    view.Append(&modality);
    view.Append(&params);
    // Without pixels: only the header counts, and no window is measured.
    if (ZEV_Dicom().UpdateFromDicom(&image, nullptr, &params, nullptr, true, false, &view) != 0) return 1;

    //! [presets]
    ZEV_Presets presets;  // once in a program
    ZEV_ProcedurePreset* const ct = presets.Init(L"windowing") == 0 ? presets.GetSetOfPreset(L"CT") : nullptr;
    if (ct == nullptr) return 1;
    for (int i = 0; i < ct->NumOfPresets(); ++i) {
        const ZEV_PresetValue& preset = *ct->GetValue(i);
        if (std::wcscmp(preset.GetName(), L"Lung") != 0) continue;
        ZEV_Dicom::SetWindowingPresetValues(&params, &view, preset.GetMin(), preset.GetMax(),
                                            preset.GetCenter(), preset.GetWidth(), preset.GetUnits());
    }
    //! [presets]
    out << "Lung: " << params.GetCenter() << " " << params.GetWidth() << "\n";

    //! [save]
    params.SetInverse(true);
    OBJ_Msg copy(image);
    ZEV_Dicom().UpdateTheDicom(&copy, &params);         // window, gamma, inversion, rescale, colour map
    ZEV_Dicom().UpdateDicomWithVoiLut(&copy, &params);  // the selected windowing entry, in first place
    //! [save]

    //! [again]
    // The image as it is, then what was saved over it; the other way, as `ddpMsg`, does both at once.
    ZEV_Params again;
    ZEV_Dicom dicom;
    if (dicom.UpdateFromDicom(&image, nullptr, &again, nullptr, true, false, &view) != 0) return 1;
    dicom.UpdateFromDDP(&image, nullptr, &again, &copy, &view);
    //! [again]
    out << "opened again: " << again.GetCenter() << " " << again.GetWidth() << " " << again.GetInverse()
        << "\n";
    return out.flush() ? 0 : 1;
}
