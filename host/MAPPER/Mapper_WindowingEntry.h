#pragma once

#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Msg.h>
#include <HOST_Export.h>
#include <MAPPER/Mapper_LutData.h>

#include <memory>
#include <string>

/// One windowing of an image: a window pair or a VOI LUT Sequence item.
class HOST_API Mapper_WindowingEntry {
public:
    /// Values of m_FunctionCode.
    enum FunctionCode { FUNCTION_SIGMOID = 4, FUNCTION_TABLE = 5, FUNCTION_LINEAR = 6 };

    /// A window pair, in modality units. Without `usable` the entry gives no VOI LUT.
    Mapper_WindowingEntry(FunctionCode code, double center, double width, bool usable);
    /// A table, and the sequence item that it came from.
    Mapper_WindowingEntry(std::shared_ptr<const Mapper_LutData> table, const Dicom_Msg& item);
    Mapper_WindowingEntry(const Mapper_WindowingEntry&) = delete;
    Mapper_WindowingEntry& operator=(const Mapper_WindowingEntry&) = delete;

    /// Trimmed, never empty, and unique among the entries of an image.
    Dicom_LO GetWindowingExplanation() const;

    int m_FunctionCode;

    bool IsUsable() const { return m_bUsable; }
    /// The entry's own window in modality units; of a table the range of its input values.
    double GetCenter() const { return m_Center; }
    double GetWidth() const { return m_Width; }
    /// Null unless the entry is a table.
    const std::shared_ptr<const Mapper_LutData>& GetTable() const { return m_pTable; }
    const Dicom_Msg& GetItem() const { return m_Item; }
    void SetWindowingExplanation(const std::wstring& text) { m_Explanation = text; }

private:
    bool m_bUsable;
    double m_Center;
    double m_Width;
    std::shared_ptr<const Mapper_LutData> m_pTable;
    Dicom_Msg m_Item;
    std::wstring m_Explanation;
};
