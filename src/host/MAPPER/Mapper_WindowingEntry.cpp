#include <MAPPER/Mapper_WindowingEntry.h>

#include <utility>

Mapper_WindowingEntry::Mapper_WindowingEntry(FunctionCode code, double center, double width, bool usable)
    : m_FunctionCode(code), m_bUsable(usable), m_Center(center), m_Width(width) {}

Mapper_WindowingEntry::Mapper_WindowingEntry(std::shared_ptr<const Mapper_LutData> table,
                                             const Dicom_Msg& item)
    : m_FunctionCode(FUNCTION_TABLE),
      m_bUsable(true),
      m_Center(table->m_First + static_cast<int>(table->m_Entries.size() / 2)),
      m_Width(static_cast<double>(table->m_Entries.size())),
      m_pTable(std::move(table)),
      m_Item(item) {}

Dicom_LO Mapper_WindowingEntry::GetWindowingExplanation() const {
    return Dicom_LO(m_Explanation.c_str(), nullptr);
}
