#include <SPC/SPC_Modality.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {

/// Indexed by SPC_Modality::MODALITY.
const wchar_t* const NAMES[] = {L"CR", L"CT", L"MR", L"US", L"NM", L"XA",
                                L"RF", L"SC", L"OT", L"DX", L"MG", L"PT"};

SPC_Modality::MODALITY FromName(const wchar_t* name) {
    if (name == nullptr) return SPC_Modality::MODALITY_UNKNOWN;
    const auto found = std::find_if(std::begin(NAMES), std::end(NAMES),
                                    [name](const wchar_t* known) { return std::wcscmp(known, name) == 0; });
    return found == std::end(NAMES) ? SPC_Modality::MODALITY_UNKNOWN
                                    : static_cast<SPC_Modality::MODALITY>(found - std::begin(NAMES));
}

}  // namespace

SPC_Modality::SPC_Modality(MODALITY modality) : m_Modality(modality) { SetName("SPC_Modality"); }

SPC_Modality::SPC_Modality(const wchar_t* name) : SPC_Modality(FromName(name)) {
    if (m_Modality == MODALITY_UNKNOWN) m_Modality = MODALITY_OT;
}

const wchar_t* SPC_Modality::GetModalityName() const {
    const bool known = m_Modality >= MODALITY_CR && m_Modality <= MODALITY_PT;
    return known ? NAMES[m_Modality] : L"";
}

KIT_BaseParams& SPC_Modality::operator=(const KIT_BaseParams& other) {
    const SPC_Modality* const modality = dynamic_cast<const SPC_Modality*>(&other);
    if (modality != nullptr) m_Modality = modality->m_Modality;
    return KIT_BaseParams::operator=(other);
}

KIT_BaseParams* SPC_Modality::Clone() { return new SPC_Modality; }

SPC_Modality::MODALITY SPC_Modality::ModalityStr2Enum(_bstr_t name) { return FromName(name); }
