#pragma once

#include <DICOM/Dicom_Type.h>

#include <memory>
#include <vector>

class Dicom_Msg;

/// A sequence of items, each a message of its own. A copy copies the items.
class HOST_API Dicom_SQ : public Dicom_Type {
public:
    Dicom_SQ();
    Dicom_SQ(const Dicom_SQ& other);
    Dicom_SQ& operator=(const Dicom_SQ& other);
    ~Dicom_SQ() override;

    /// A sequence has no bytes of its own: the length is 0. Whoever writes one goes through the items.
    Dicom_DumpLen GetDumpLen() const override { return Dicom_DumpLen(0); }
    Dicom_DumpLen Dump(void*) const override { return Dicom_DumpLen(0); }
    Dicom_Type* Clone() const override { return new Dicom_SQ(*this); }
    bool Assign(const Dicom_Type& other) override;
    std::size_t GetVM() const override { return m_Items.size(); }
    std::wstring GetText(std::size_t) const override { return std::wstring(); }
    bool GetNumber(std::size_t, double&) const override { return false; }
    bool operator==(const Dicom_Type& other) const override;
    int Match(const Dicom_Type& other) const override { return *this == other ? 1 : 0; }

    /// Null beyond the end. The sequence keeps ownership.
    Dicom_Msg* GetItem(std::size_t index) const;
    /// Appends an empty item, or a copy of `item`, and returns it.
    Dicom_Msg* AddItem();
    Dicom_Msg* AddItem(const Dicom_Msg& item);

private:
    std::vector<std::unique_ptr<Dicom_Msg>> m_Items;
};
