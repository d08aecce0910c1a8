#pragma once

#include <HOST_Export.h>
#include <MAPPER/Mapper_WindowingEntry.h>

#include <memory>
#include <vector>

/// How the stored pixel values of an image become modality values, and which of them can occur.
struct HOST_API Mapper_Rescale {
    double m_Slope = 1.0;
    double m_Intercept = 0.0;
    bool m_bSigned = false;
};

/// The curve of one windowing entry, from stored pixel values to 0 .. maxOutput. It does not change after
/// construction, so any number of threads may use it at once.
class HOST_API Mapper_VOILut {
public:
    /// `entry` is usable; `maxOutput` is 0 or more. Nothing of the entry but its table is kept.
    Mapper_VOILut(const Mapper_WindowingEntry& entry, const Mapper_Rescale& rescale, int maxOutput);
    virtual ~Mapper_VOILut();

    /// The curve's own window, in modality units. A table's centre is its first input plus half its entries,
    /// rounded down, its width the number of its entries.
    const double& GetVOICenter() const { return m_Center; }
    const double& GetVOIWidth() const { return m_Width; }

    /// The last entry of a table is below the first; false for the other functions.
    virtual bool IsReversing() const;
    /// 4 sigmoid, 5 table, 6 linear.
    virtual int GetFunctionCode() const;

    /// Fills `size` entries from the table's storage start. Entry i stands for the stored pixel value i, or
    /// i - size / 2 for a signed image; its modality value x = stored * slope + intercept goes through
    /// - linear: DICOM PS3.3 C.11.2.1.2.1;
    /// - sigmoid: maxOutput / (1 + exp(-4 (x - center) / width)), PS3.3 C.11.2.1.3.1;
    /// - table: PS3.3 C.11.2.1.1, stretched to the given window: entry
    ///   floor((x - (center - floor(width / 2))) * count / width), limited to the ends, its value scaled to
    ///   maxOutput.
    /// Outputs are rounded to the nearest level; with `inverse` they become maxOutput minus themselves. A
    /// width of 0 or less is a step at the centre; a centre or width that is not finite means the curve's own
    /// window. Nothing happens for a null table or a size below 1. An output above what the
    /// table's entry can hold becomes the largest that it can.
    void FillWindowingTable8(unsigned char* table, int size, double center, double width, bool inverse) const;
    void FillWindowingTable16(unsigned short* table, int size, double center, double width,
                              bool inverse) const;
    /// Outputs are limited to 255 and stand in each of an entry's four bytes.
    void FillWindowingTable32(unsigned int* table, int size, double center, double width, bool inverse) const;

private:
    template <typename Out>
    void fill(Out* table, int size, double center, double width, bool inverse) const;

    int m_FunctionCode;
    double m_Center;
    double m_Width;
    Mapper_Rescale m_Rescale;
    int m_MaxOutput;
    std::shared_ptr<const Mapper_LutData> m_pTable;
    /// The table's entries scaled to m_MaxOutput.
    std::vector<int> m_Outputs;
};
