#pragma once

#include <DICOM/Dicom_Type.h>

#include <vector>

/// A value of plain bytes. It serves for OW and for every representation without a class of its own.
class HOST_API Dicom_Bytes : public Dicom_Type {
public:
    explicit Dicom_Bytes(const char* vr) : Dicom_Type(vr) {}
    Dicom_Bytes(const Dicom_Bytes&) = default;
    Dicom_Bytes& operator=(const Dicom_Bytes& other) = default;

    Dicom_DumpLen GetDumpLen() const override;
    Dicom_DumpLen Dump(void* buffer) const override;
    Dicom_Type* Clone() const override { return new Dicom_Bytes(*this); }
    /// Of a list of numbers or a text the bytes as Dump gives them.
    bool Assign(const Dicom_Type& other) override;
    std::size_t GetVM() const override { return m_Bytes.empty() ? 0 : 1; }
    /// Bytes have no text and no number.
    std::wstring GetText(std::size_t) const override { return std::wstring(); }
    bool GetNumber(std::size_t, double&) const override { return false; }
    bool operator==(const Dicom_Type& other) const override;
    int Match(const Dicom_Type& other) const override { return *this == other ? 1 : 0; }

    void SetBytes(const void* bytes, std::size_t length);
    /// As they were given, without the byte that makes their number even in a file.
    const std::vector<unsigned char>& GetBytes() const { return m_Bytes; }

private:
    std::vector<unsigned char> m_Bytes;
};

/// Other word: bytes or 16-bit words.
class HOST_API Dicom_OW : public Dicom_Bytes {
public:
    Dicom_OW() : Dicom_Bytes("OW") {}
    /// A copy of `length` bytes at `data`. `unitSize` is 1 for bytes in the order of the file, 2 for 16-bit
    /// words in the machine's order (a last half word is dropped). With `takeOver` the data, made with new
    /// unsigned char[], are released here. `*status` becomes 0, or -1, and the value stays empty, for null
    /// data with a length or another unit size. `status` may be null.
    Dicom_OW(void* data, unsigned int length, int unitSize, int* status, bool takeOver);

    Dicom_Type* Clone() const override { return new Dicom_OW(*this); }
};
