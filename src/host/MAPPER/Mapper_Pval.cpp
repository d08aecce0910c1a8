#include <DICOM/Dicom_SQ.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingEntry.h>
#include <OBJ/OBJ_Msg.h>

#include <algorithm>
#include <cmath>

namespace {

const Dicom_Tag RESCALE_SLOPE(0x00281053);
const Dicom_Tag PRESENTATION_LUT_SEQUENCE(0x20500010);

std::shared_ptr<const Mapper_LutData> ReadLut(const OBJ_Msg* msg) {
    const Dicom_SQ* const sequence = msg == nullptr ? nullptr : msg->GetSequence(PRESENTATION_LUT_SEQUENCE);
    // The input of a presentation LUT is never negative.
    return sequence == nullptr || sequence->GetVM() == 0
               ? nullptr
               : Mapper_LutData::Read(*sequence->GetItem(0), 0.0, 65535.0);
}

unsigned short ToLevel(double value) {
    return static_cast<unsigned short>(std::floor(std::max(0.0, std::min(value, 65535.0)) + 0.5));
}

}  // namespace

Mapper_Pval::Mapper_Pval(OBJ_Msg* msg)
    : m_pLut(ReadLut(msg)),
      m_bFalling(msg != nullptr && msg->GetDouble(RESCALE_SLOPE, 1.0) < 0.0),
      m_WindowLut(WINDOW_LUT_SIZE) {
    m_pWindowLut = m_WindowLut.data();
}

Mapper_Pval::Mapper_Pval(const Mapper_Pval& other)
    : m_pLut(other.m_pLut),
      m_bFalling(other.m_bFalling),
      m_FunctionCode(other.m_FunctionCode),
      m_pVoiTable(other.m_pVoiTable),
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
    m_pVoiTable = entry == nullptr ? nullptr : entry->GetTable();
    m_bUpToDate = false;
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
        const double v = voi_output(m_bFalling ? 1.0 - u : u, range == 0.0);
        const unsigned short level =
            levels.empty() ? ToLevel(v * top) : levels[static_cast<std::size_t>(std::floor(v * last + 0.5))];
        m_WindowLut[static_cast<std::size_t>(i)] =
            m_bFalling ? ToLevel(static_cast<double>(top) - level) : level;
    }
}

/// 0 to 1 for a place in the window, 0 to 1 from its lower end (DICOM PS3.3 C.11.2.1).
double Mapper_Pval::voi_output(double u, bool isStep) const {
    if (m_pVoiTable != nullptr) {
        const std::vector<unsigned short>& entries = m_pVoiTable->m_Entries;
        const auto index = static_cast<std::size_t>(std::floor(u * static_cast<double>(entries.size())));
        return static_cast<double>(entries[std::min(index, entries.size() - 1)]) / m_pVoiTable->GetTop();
    }
    if (m_FunctionCode == Mapper_WindowingEntry::FUNCTION_SIGMOID && !isStep) {
        return 1.0 / (1.0 + std::exp(-4.0 * (u - 0.5)));
    }
    return u;
}
