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

    /// Reads an item whose input values range from `lowestInput` to `highestInput`. A count of 0 means 65536.
    /// The first input value is signed when the input can be negative (DICOM PS3.3 C.11.2.1.1), whatever the
    /// value representation. When it cannot, the value is signed if it would otherwise exceed `highestInput`,
    /// or if it is an SS and the table then reaches the input range: writers choose SS by the signedness of
    /// the stored pixels. Entries of up to 8 bits may fill words or be packed two to a word. Missing entries
    /// repeat the last one. Null where descriptor or data are absent, the data do not hold one entry, or the
    /// depth is outside 1 to 16.
    static std::shared_ptr<const Mapper_LutData> Read(const Dicom_Msg& item, double lowestInput,
                                                      double highestInput);
};
