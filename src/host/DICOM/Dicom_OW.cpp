#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>

#include <cstring>

Dicom_DumpLen Dicom_Bytes::GetDumpLen() const {
    return Dicom_DumpLen(static_cast<unsigned int>(m_Bytes.size() + m_Bytes.size() % 2));
}

Dicom_DumpLen Dicom_Bytes::Dump(void* buffer) const {
    if (buffer == nullptr) return Dicom_DumpLen(0);
    if (!m_Bytes.empty()) std::memcpy(buffer, m_Bytes.data(), m_Bytes.size());
    if (m_Bytes.size() % 2 != 0) static_cast<unsigned char*>(buffer)[m_Bytes.size()] = 0;
    return GetDumpLen();
}

void Dicom_Bytes::SetBytes(const void* bytes, std::size_t length) {
    const unsigned char* const data = static_cast<const unsigned char*>(bytes);
    m_Bytes.assign(data, data + length);
}

bool Dicom_Bytes::Assign(const Dicom_Type& other) {
    if (dynamic_cast<const Dicom_SQ*>(&other) != nullptr) return false;
    if (const Dicom_Bytes* same = dynamic_cast<const Dicom_Bytes*>(&other)) {
        m_Bytes = same->m_Bytes;
        return true;
    }
    std::vector<unsigned char> bytes(other.GetDumpLen().GetDumpLen());
    other.Dump(bytes.data());
    m_Bytes.swap(bytes);
    return true;
}

bool Dicom_Bytes::operator==(const Dicom_Type& other) const {
    if (IsNull() || other.IsNull()) return IsNull() && other.IsNull();
    std::vector<unsigned char> bytes(GetDumpLen().GetDumpLen());
    std::vector<unsigned char> otherBytes(other.GetDumpLen().GetDumpLen());
    Dump(bytes.data());
    other.Dump(otherBytes.data());
    return bytes == otherBytes;
}

Dicom_OW::Dicom_OW(void* data, unsigned int length, int unitSize, int* status, bool takeOver)
    : Dicom_Bytes("OW") {
    const std::unique_ptr<unsigned char[]> owned(takeOver ? static_cast<unsigned char*>(data) : nullptr);
    const bool good = (data != nullptr || length == 0) && (unitSize == 1 || unitSize == 2);
    if (status != nullptr) *status = good ? 0 : -1;
    if (!good || length == 0) return;
    if (unitSize == 1) {
        SetBytes(data, length);
        return;
    }
    std::vector<unsigned char> bytes(std::size_t{length} / 2 * 2);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        unsigned short word;
        std::memcpy(&word, static_cast<const unsigned char*>(data) + i, sizeof(word));
        bytes[i] = static_cast<unsigned char>(word & 0xFF);
        bytes[i + 1] = static_cast<unsigned char>(word >> 8);
    }
    SetBytes(bytes.data(), bytes.size());
}
