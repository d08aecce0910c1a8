#pragma once

#include <DICOM/Dicom_StringType.h>

#include <vector>

/// A list of binary numbers; the base of Dicom_US and its like. Conversion from other representations
/// truncates towards zero and is limited to the range of T; what is no number becomes 0.
template <typename T>
class HOST_API Dicom_NumberType : public Dicom_StringType {
public:
    explicit Dicom_NumberType(const char* vr) : Dicom_StringType(vr) {}
    Dicom_NumberType(const char* vr, T value) : Dicom_StringType(vr), m_Values(1, value) {}
    Dicom_NumberType(const Dicom_NumberType&) = default;
    Dicom_NumberType& operator=(const Dicom_NumberType& other) {
        Dicom_StringType::operator=(other);
        return *this;
    }

    Dicom_DumpLen GetDumpLen() const override;
    Dicom_DumpLen Dump(void* buffer) const override;
    Dicom_Type* Clone() const override;
    bool Assign(const Dicom_Type& other) override;
    std::size_t GetVM() const override;
    std::wstring GetText(std::size_t index) const override;
    bool GetNumber(std::size_t index, double& number) const override;
    bool IsNumeric() const override;

    /// Replaces the content by the little-endian numbers in `bytes`; a trailing part of a number is dropped.
    void SetBytes(const void* bytes, std::size_t length);
    const std::vector<T>& GetValues() const { return m_Values; }
    void Append(T value) { m_Values.push_back(value); }

protected:
    T value_at(int index) const {
        return index >= 0 && static_cast<std::size_t>(index) < m_Values.size()
                   ? m_Values[static_cast<std::size_t>(index)]
                   : T(0);
    }

private:
    std::vector<T> m_Values;
};

extern template class Dicom_NumberType<unsigned short>;
extern template class Dicom_NumberType<short>;
extern template class Dicom_NumberType<unsigned int>;
extern template class Dicom_NumberType<int>;
extern template class Dicom_NumberType<float>;
extern template class Dicom_NumberType<double>;
