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

    /// Chooses the VOI function in front of the LUT: that of the entry, linear for null. The entry's own
    /// window does not matter. Returns 1.
    int SetWindowingType(Mapper_WindowingManager& manager, const Mapper_WindowingEntry* entry);
    /// Function code of the chosen entry; 0 for none.
    int GetWindowingType() const { return m_FunctionCode; }

    bool HasPvalLut() const;
    /// The last entry is below the first; false without a LUT.
    bool IsLutReversing() const;
    /// Always false: stored values are never display levels already.
    bool isPaic() const;
    /// 0 without a LUT.
    int GetLutInputCount() const;
    int GetLutInputFirst() const;

    /// Brings m_pWindowLut up to date for a window from table index `low` to `high`. Entry i lies at
    /// u = (i - low) / (high - low) of it, limited to 0 .. 1, and has the VOI output v:
    /// - linear: u;
    /// - sigmoid: 1 / (1 + exp(-4 (u - 0.5)));
    /// - table: VOI entry floor(u * count), limited to the last, over its full value.
    /// m_pWindowLut[i] is LUT entry floor(v * (count - 1) + 0.5), scaled to `top`, or v * top without a LUT;
    /// rounded to nearest and limited to 0 .. 65535. With high equal to low it is a step: the values of u = 1
    /// from `low` on.
    ///
    /// With a negative rescale slope the window runs downwards through the table, and the fill
    /// inverts the levels: the entry is `top` minus the value for 1 - u, so that this inversion gives the
    /// right curve. A repeated call with the same arguments costs nothing.
    void UpdateWindowValues(int low, int high, int top);

    /// WINDOW_LUT_SIZE entries, all 0 before the first UpdateWindowValues. The object owns them.
    unsigned short* m_pWindowLut;
    static constexpr int WINDOW_LUT_SIZE = 65536;

private:
    double voi_output(double u, bool isStep) const;

    std::shared_ptr<const Mapper_LutData> m_pLut;
    /// The rescale slope is negative.
    bool m_bFalling;
    int m_FunctionCode = 0;
    std::shared_ptr<const Mapper_LutData> m_pVoiTable;
    std::vector<unsigned short> m_WindowLut;
    bool m_bUpToDate = false;
    int m_Low = 0;
    int m_High = 0;
    int m_Top = 0;
};
