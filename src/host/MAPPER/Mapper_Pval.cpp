#include <DICOM/Dicom_SQ.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingEntry.h>
#include <OBJ/OBJ_Msg.h>

#include <algorithm>
#include <cmath>

namespace {

const Dicom_Tag PRESENTATION_LUT_SEQUENCE(0x20500010);

std::shared_ptr<const Mapper_LutData> ReadLut(const OBJ_Msg* msg) {
    const Dicom_SQ* const sequence = msg == nullptr ? nullptr : msg->GetSequence(PRESENTATION_LUT_SEQUENCE);
    // The input of a presentation LUT is never negative.
    return sequence == nullptr || sequence->GetVM() == 0
               ? nullptr
               : Mapper_LutData::Read(*sequence->GetItem(0), false, 65535.0);
}

unsigned short ToLevel(double value) {
    return static_cast<unsigned short>(std::floor(std::max(0.0, std::min(value, 65535.0)) + 0.5));
}

}  // namespace

Mapper_Pval::Mapper_Pval(OBJ_Msg* msg) : m_pLut(ReadLut(msg)), m_WindowLut(WINDOW_LUT_SIZE) {
    m_pWindowLut = m_WindowLut.data();
}

Mapper_Pval::Mapper_Pval(const Mapper_Pval& other)
    : m_pLut(other.m_pLut),
      m_FunctionCode(other.m_FunctionCode),
      m_WindowLut(other.m_WindowLut),
      m_bUpToDate(other.m_bUpToDate),
      m_Low(other.m_Low),
      m_High(other.m_High),
      m_Top(other.m_Top) {
    m_pWindowLut = m_WindowLut.data();
}

Mapper_Pval::~Mapper_Pval() = default;

int Mapper_Pval::SetWindowingType(Mapper_WindowingManager&, const Mapper_WindowingEntry* entry) {
    m_FunctionCode = entry == nullptr ? 0 : entry->m_FunctionCode;
    return 1;
}

bool Mapper_Pval::HasPvalLut() const { return m_pLut != nullptr; }

bool Mapper_Pval::IsLutReversing() const { return m_pLut != nullptr && m_pLut->IsReversing(); }

bool Mapper_Pval::isPaic() const { return false; }

int Mapper_Pval::GetLutInputCount() const {
    return m_pLut == nullptr ? 0 : static_cast<int>(m_pLut->m_Entries.size());
}

int Mapper_Pval::GetLutInputFirst() const { return m_pLut == nullptr ? 0 : m_pLut->m_First; }

void Mapper_Pval::UpdateWindowValues(int low, int high, int top) {
    if (m_bUpToDate && low == m_Low && high == m_High && top == m_Top) return;
    m_bUpToDate = true;
    m_Low = low;
    m_High = high;
    m_Top = top;

    std::vector<unsigned short> levels;
    if (m_pLut != nullptr) {
        const double full = m_pLut->GetTop();
        for (unsigned short entry : m_pLut->m_Entries)
            levels.push_back(ToLevel(static_cast<double>(entry) * top / full));
    }
    const double last = static_cast<double>(levels.size()) - 1.0;
    const double range = static_cast<double>(high) - low;
    for (int i = 0; i < WINDOW_LUT_SIZE; ++i) {
        const double distance = static_cast<double>(i) - low;
        const double u =
            range == 0.0 ? (distance < 0.0 ? 0.0 : 1.0) : std::max(0.0, std::min(distance / range, 1.0));
        m_WindowLut[static_cast<std::size_t>(i)] =
            levels.empty() ? ToLevel(u * top) : levels[static_cast<std::size_t>(std::floor(u * last + 0.5))];
    }
}
