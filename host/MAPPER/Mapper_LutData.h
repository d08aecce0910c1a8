#pragma once

#include <HOST_Export.h>

#include <memory>
#include <vector>

class Dicom_Msg;

/// The content of a lookup table sequence item (LUTDescriptor, LUTData), ready for use.
struct HOST_API Mapper_LutData {
    /// The input value of the first entry.
    int m_First = 0;
    /// Depth of the entries, 1 to 16; an entry's full value is (1 << bits) - 1.
    int m_Bits = 16;
    /// As many as the descriptor says, at least one, none above the full value.
    std::vector<unsigned short> m_Entries;

    int GetTop() const { return (1 << m_Bits) - 1; }
    bool IsReversing() const { return m_Entries.back() < m_Entries.front(); }

    /// Reads an item. A count of 0 means 65536. The first input value is signed when `isSigned` or when it
    /// came as SS, and also when it would otherwise lie above `highestInput`, the largest input that can
    /// occur. Data of up to 8 bits may stand in words or be packed two to a word. Data that are too short are
    /// filled up with their last entry. Null where descriptor or data are absent or the depth is outside 1
    /// to 16.
    static std::shared_ptr<const Mapper_LutData> Read(const Dicom_Msg& item, bool isSigned,
                                                      double highestInput);
};
