#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_SQ.h>

Dicom_SQ::Dicom_SQ() : Dicom_Type("SQ") {}

Dicom_SQ::Dicom_SQ(const Dicom_SQ& other) : Dicom_Type(other) {
    for (const std::unique_ptr<Dicom_Msg>& item : other.m_Items) AddItem(*item);
}

Dicom_SQ& Dicom_SQ::operator=(const Dicom_SQ& other) {
    Dicom_SQ copy(other);
    m_Items.swap(copy.m_Items);
    return *this;
}

Dicom_SQ::~Dicom_SQ() = default;

bool Dicom_SQ::Assign(const Dicom_Type& other) {
    const Dicom_SQ* const sequence = dynamic_cast<const Dicom_SQ*>(&other);
    if (sequence != nullptr) *this = *sequence;
    return sequence != nullptr;
}

bool Dicom_SQ::operator==(const Dicom_Type& other) const {
    const Dicom_SQ* const sequence = dynamic_cast<const Dicom_SQ*>(&other);
    if (sequence == nullptr) return IsNull() && other.IsNull();
    if (m_Items.size() != sequence->m_Items.size()) return false;
    for (std::size_t i = 0; i < m_Items.size(); ++i) {
        if (*m_Items[i] != *sequence->m_Items[i]) return false;
    }
    return true;
}

Dicom_Msg* Dicom_SQ::GetItem(std::size_t index) const {
    return index < m_Items.size() ? m_Items[index].get() : nullptr;
}

Dicom_Msg* Dicom_SQ::AddItem() { return AddItem(Dicom_Msg()); }

Dicom_Msg* Dicom_SQ::AddItem(const Dicom_Msg& item) {
    m_Items.push_back(std::make_unique<Dicom_Msg>(item));
    return m_Items.back().get();
}
