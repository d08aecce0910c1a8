#include "text_codec.h"

#include <DICOM/Dicom_NumberType.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_US.h>

#include <cstring>
#include <type_traits>

namespace {

/// The unsigned integer of the same size as T, through which its bytes are put into order.
template <typename T>
using Bits = std::conditional_t<sizeof(T) == 2, unsigned short,
                                std::conditional_t<sizeof(T) == 4, unsigned int, unsigned long long>>;

template <typename T>
T ReadLittleEndian(const unsigned char* bytes) {
    Bits<T> bits = 0;
    for (std::size_t k = 0; k < sizeof(T); ++k) {
        bits = static_cast<Bits<T>>(bits | (static_cast<Bits<T>>(bytes[k]) << (8 * k)));
    }
    T value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

template <typename T>
void WriteLittleEndian(T value, unsigned char* bytes) {
    Bits<T> bits;
    std::memcpy(&bits, &value, sizeof(bits));
    for (std::size_t k = 0; k < sizeof(T); ++k) bytes[k] = static_cast<unsigned char>(bits >> (8 * k));
}

std::wstring ToText(long long value) { return std::to_wstring(value); }
std::wstring ToText(float value) { return dicom_text::FormatShortest(value); }
std::wstring ToText(double value) { return dicom_text::FormatShortest(value); }

}  // namespace

template <typename T>
Dicom_DumpLen Dicom_NumberType<T>::GetDumpLen() const {
    return Dicom_DumpLen(static_cast<unsigned int>(m_Values.size() * sizeof(T)));
}

template <typename T>
Dicom_DumpLen Dicom_NumberType<T>::Dump(void* buffer) const {
    if (buffer == nullptr) return Dicom_DumpLen(0);
    unsigned char* bytes = static_cast<unsigned char*>(buffer);
    for (T value : m_Values) {
        WriteLittleEndian(value, bytes);
        bytes += sizeof(T);
    }
    return GetDumpLen();
}

template <typename T>
bool Dicom_NumberType<T>::Assign(const Dicom_Type& other) {
    if (const Dicom_NumberType* same = dynamic_cast<const Dicom_NumberType*>(&other)) {
        m_Values = same->m_Values;
        return true;
    }
    if (const Dicom_Bytes* raw = dynamic_cast<const Dicom_Bytes*>(&other)) {
        SetBytes(raw->GetBytes().data(), raw->GetBytes().size());
        return true;
    }
    if (dynamic_cast<const Dicom_SQ*>(&other) != nullptr) return false;
    std::vector<T> values;
    for (std::size_t i = 0; !other.IsNull() && i < other.GetVM(); ++i) {
        double number = 0.0;
        other.GetNumber(i, number);
        values.push_back(dicom_text::LimitTo<T>(number));
    }
    m_Values.swap(values);
    return true;
}

// Virtual operations stand here, not in the header: one compiler does not export those of an instantiation
// that are inline.

template <typename T>
Dicom_Type* Dicom_NumberType<T>::Clone() const {
    return new Dicom_NumberType(*this);
}

template <typename T>
std::size_t Dicom_NumberType<T>::GetVM() const {
    return m_Values.size();
}

template <typename T>
bool Dicom_NumberType<T>::IsNumeric() const {
    return true;
}

template <typename T>
std::wstring Dicom_NumberType<T>::GetText(std::size_t index) const {
    if (index >= m_Values.size()) return std::wstring();
    using Shown = std::conditional_t<std::is_floating_point<T>::value, T, long long>;
    return ToText(static_cast<Shown>(m_Values[index]));
}

template <typename T>
bool Dicom_NumberType<T>::GetNumber(std::size_t index, double& number) const {
    if (index >= m_Values.size()) return false;
    number = static_cast<double>(m_Values[index]);
    return true;
}

template <typename T>
void Dicom_NumberType<T>::SetBytes(const void* bytes, std::size_t length) {
    const unsigned char* const data = static_cast<const unsigned char*>(bytes);
    m_Values.resize(length / sizeof(T));
    for (std::size_t i = 0; i < m_Values.size(); ++i) m_Values[i] = ReadLittleEndian<T>(data + i * sizeof(T));
}

template class Dicom_NumberType<unsigned short>;
template class Dicom_NumberType<short>;
template class Dicom_NumberType<unsigned int>;
template class Dicom_NumberType<int>;
template class Dicom_NumberType<float>;
template class Dicom_NumberType<double>;

Dicom_US operator|(const Dicom_US& left, const Dicom_US& right) {
    Dicom_US joined(left);
    for (unsigned short value : right.GetValues()) joined.Append(value);
    return joined;
}
