#pragma once

#include <COM/bstr.h>
#include <HOST_Export.h>
#include <KIT/KIT_BaseParams.h>

/// The modality of a view's image, a parameter object named "SPC_Modality".
class HOST_API SPC_Modality : public KIT_BaseParams {
public:
    enum MODALITY {
        MODALITY_UNKNOWN = -1,
        MODALITY_CR = 0,
        MODALITY_CT = 1,
        MODALITY_MR = 2,
        MODALITY_US = 3,
        MODALITY_NM = 4,
        MODALITY_XA = 5,
        MODALITY_RF = 6,
        MODALITY_SC = 7,
        MODALITY_OT = 8,
        MODALITY_DX = 9,
        MODALITY_MG = 10,
        MODALITY_PT = 11
    };

    explicit SPC_Modality(MODALITY modality = MODALITY_OT);
    /// From an image's Modality. A text that is none of ours, null included, counts as OT.
    explicit SPC_Modality(const wchar_t* name);

    MODALITY GetModality() const { return m_Modality; }
    /// The defined term, "CT" for example; empty for MODALITY_UNKNOWN. Never null, and valid for ever.
    const wchar_t* GetModalityName() const;

    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    SPC_Modality(const SPC_Modality&) = default;
    SPC_Modality& operator=(const SPC_Modality&) = default;
    KIT_BaseParams* Clone() override;

    /// By the exact defined term; MODALITY_UNKNOWN for any other text.
    static MODALITY ModalityStr2Enum(_bstr_t name);

private:
    MODALITY m_Modality;
};
