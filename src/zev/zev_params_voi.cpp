// VOI LUT selection and presentation LUT.

#include <KIT/KIT_OBJHelper.h>
#include <MAPPER/Mapper_VOILut.h>
#include <MAPPER/Mapper_WindowingEntry.h>
#include <OBJ/OBJ_Msg.h>
#include <ZEV/ZEV_Params.h>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"
#include "zev_voi.h"

void ZEV_Params::SetVoiLutManager(Mapper_WindowingManager* manager) {
    // Held already: a second count from the raw pointer would delete it twice.
    if (manager == m_pVoiLutManager.get()) return;
    m_pVoiLutManager.reset(manager);
}

Mapper_WindowingManager* ZEV_Params::GetVoiLutManager() { return m_pVoiLutManager.get(); }

unsigned int ZEV_Params::GetVoiLutEntryCount() {
    return m_pVoiLutManager ? static_cast<unsigned int>(m_pVoiLutManager->m_Entries.size()) : 0u;
}

int ZEV_Params::GetVoiLutSelection() const { return m_VoiLutSelection; }

void ZEV_Params::SetVoiLutSelection(int selection, bool bMakeDefault) {
    if (!m_pVoiLutManager || selection < -1 ||
        std::int64_t{selection} >= std::int64_t{GetVoiLutEntryCount()}) {
        return;
    }
    m_VoiLutSelection = selection;
    if (bMakeDefault) m_DefaultVoiLutSelection = selection;
    if (selection == -1) {
        EnableGamma(true);
        MarkTableChange();
        return;
    }
    const Mapper_WindowingEntry* entry = m_pVoiLutManager->m_Entries[static_cast<std::size_t>(selection)];
    Mapper_VOILut* lut =
        m_pVoiLutManager->CreateDicomVOILut(entry, zev::kVoiMaxOutput, zev::kVoiLutKeptByManager);
    if (lut != nullptr) {
        SetCenter(zev::TruncToInt(lut->GetVOICenter()));
        SetWidth(zev::TruncToInt(lut->GetVOIWidth()));
        const int code = lut->GetFunctionCode();
        if (code == zev::kFunctionTable) {
            EnableGamma(false);
            SetLutInverse(lut->IsReversing());
        } else if (code == zev::kFunctionSigmoid) {
            EnableGamma(false);
        }
    }
    if (m_Pval) {
        if (m_Pval->HasPvalLut()) EnableGamma(false);
        m_Pval->SetWindowingType(*m_pVoiLutManager, entry);
    }
    MarkTableChange();
}

void ZEV_Params::SetMapperPvLut(Mapper_Pval* pval) {
    // Held already: a second owner would delete it twice.
    if (pval != nullptr && pval == m_Pval.get()) return;
    m_Pval = Mir_AutoPtrThread<Mapper_Pval>(pval);
}

Mir_AutoPtrThread<Mapper_Pval> ZEV_Params::GetMapperPvLut() { return m_Pval; }

void ZEV_Params::CopyMyPval() {
    const char* const function = "ZEV_Params::CopyMyPval";
    ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - copying zev pval params\n");
    if (!m_Pval) {
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - pval is null\n");
        return;
    }
    ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - pval found\n");
    if (m_Pval->HasPvalLut()) {
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - pval params are:\n");
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - lut input count is:%d \n",
                m_Pval->GetLutInputCount());
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - lut input first is:%d \n",
                m_Pval->GetLutInputFirst());
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - has lut value is:%d \n",
                m_Pval->HasPvalLut() ? 1 : 0);
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - is lut reversing:%d \n",
                m_Pval->IsLutReversing() ? 1 : 0);
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - is paic:%d \n", m_Pval->isPaic() ? 1 : 0);
    } else {
        ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - no pValLut value found in the PVal params\n");
    }
    Mapper_Pval* own = new Mapper_Pval(*m_Pval);
    ZEV_LOG(function, zev::kLogTrace, "CopyMyPval - after getting new pval\n");
    m_Pval = Mir_AutoPtrThread<Mapper_Pval>(own);
}

void ZEV_Params::ReplaceOBJMessage(OBJ_Msg* msg) {
    const bool bogus = KIT_OBJHelper::IsBogus(msg);
    std::unique_ptr<Mapper_WindowingManager> fresh(new Mapper_WindowingManager(msg));
    // The old manager loses this owner before the new one starts.
    SetVoiLutManager(nullptr);
    fresh->Init();
    SetVoiLutManager(fresh.release());
    m_pLastUpdatedMsg = msg;
    // No Pval is built for a message that is not an image, and the old message's would not match.
    if (bogus) SetMapperPvLut(nullptr);
    if (!GetOriginal() || GetVoiLutEntryCount() == 0) return;

    Mapper_VOILut* lut = m_pVoiLutManager->CreateDicomVOILut(m_pVoiLutManager->m_Entries[0],
                                                             zev::kVoiMaxOutput, zev::kVoiLutKeptByManager);
    if (lut == nullptr) return;
    // Narrowed to float before truncation, here and nowhere else.
    InitCenter(zev::TruncToInt(zev::NarrowToFloat(lut->GetVOICenter())));
    InitWidth(zev::TruncToInt(zev::NarrowToFloat(lut->GetVOIWidth())));
    SetVoiLutSelection(0, false);

    if (bogus) return;
    std::unique_ptr<Mapper_Pval> pval(new Mapper_Pval(msg));
    pval->SetWindowingType(*m_pVoiLutManager, selected_entry());
    SetMapperPvLut(pval.release());
}

const Mapper_WindowingEntry* ZEV_Params::selected_entry() const {
    if (!m_pVoiLutManager || m_VoiLutSelection < 0) return nullptr;
    const auto index = static_cast<std::size_t>(m_VoiLutSelection);
    return index < m_pVoiLutManager->m_Entries.size() ? m_pVoiLutManager->m_Entries[index] : nullptr;
}

OBJ_Msg* ZEV_Params::GetLastUpdatedMsg() { return m_pLastUpdatedMsg; }
void ZEV_Params::SetLastUpdatedMsg(OBJ_Msg* msg) { m_pLastUpdatedMsg = msg; }
