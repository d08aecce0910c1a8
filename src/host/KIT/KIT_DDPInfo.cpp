#include <KIT/KIT_DDPInfo.h>

#include <utility>

KIT_DDPInfo::KIT_DDPInfo() = default;
KIT_DDPInfo::KIT_DDPInfo(const wchar_t* tagName, const wchar_t* paramName, const wchar_t* value)
    : m_TagName(tagName), m_ParamName(paramName), m_Value(value) {}

DDPInfoVector::DDPInfoVector() = default;
DDPInfoVector::~DDPInfoVector() = default;

RWTPtrOrderedVector<KIT_DDPInfo>& DDPInfoVector::GetParamsValues() { return m_Entries; }

void DDPInfoVector::AddParamsValue(KIT_DDPInfo* info) {
    if (info == nullptr) return;
    std::unique_ptr<KIT_DDPInfo> owned(info);
    m_Owned.push_back(std::move(owned));
    m_Entries.append(info);
}
