#pragma once

#include <HOST_Export.h>
#include <MAPPER/Mapper_LutData.h>

#include <memory>
#include <vector>

class Mapper_WindowingEntry;
class Mapper_WindowingManager;
class OBJ_Msg;

/// The presentation LUT of a message: the first item of its Presentation LUT Sequence, DICOM PS3.3 C.11.6.
/// A presentation LUT shape is not this class's: MONOCHROME1 already carries it.
/// Not locked: one thread uses an object at a time.
class HOST_API Mapper_Pval {
public:
    /// The message is read here and not kept; it may be null.
    explicit Mapper_Pval(OBJ_Msg* msg);
    /// The copy has its own m_pWindowLut.
    Mapper_Pval(const Mapper_Pval& other);
    Mapper_Pval& operator=(const Mapper_Pval&) = delete;
    virtual ~Mapper_Pval();

    /// Notes which windowing is on; null for none. The LUT follows the window alone. Returns 1.
    int SetWindowingType(Mapper_WindowingManager& manager, const Mapper_WindowingEntry* entry);
    /// Function code of the noted entry; 0 for none.
    int GetWindowingType() const { return m_FunctionCode; }

    bool HasPvalLut() const;
    /// The last entry is below the first; false without a LUT.
    bool IsLutReversing() const;
    /// Always false: no image here brings values that are display levels already.
    bool isPaic() const;
    /// 0 without a LUT.
    int GetLutInputCount() const;
    int GetLutInputFirst() const;

    /// Brings m_pWindowLut up to date: entry i is the LUT, or without one the straight line, at
    /// u = (i - low) / (high - low), limited to 0 .. 1; that is LUT entry floor(u * (count - 1) + 0.5),
    /// scaled to `top`, rounded to nearest and limited to 0 .. 65535. With high equal to low it is a step:
    /// the last LUT entry from `low` on. A repeated call with the same arguments costs nothing.
    void UpdateWindowValues(int low, int high, int top);

    /// WINDOW_LUT_SIZE entries, all 0 before the first UpdateWindowValues. The object owns them.
    unsigned short* m_pWindowLut;
    static constexpr int WINDOW_LUT_SIZE = 65536;

private:
    std::shared_ptr<const Mapper_LutData> m_pLut;
    int m_FunctionCode = 0;
    std::vector<unsigned short> m_WindowLut;
    bool m_bUpToDate = false;
    int m_Low = 0;
    int m_High = 0;
    int m_Top = 0;
};
