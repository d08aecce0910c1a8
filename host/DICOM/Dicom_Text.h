#pragma once

#include <DICOM/Dicom_StringType.h>

#include <vector>

/// A value that is written as text. It serves for all text representations that have no class of their own
/// (UI SH ST LT UT UC UR PN DA TM DT IS AS AE), and is the base of those that have one.
class HOST_API Dicom_Text : public Dicom_StringType {
public:
    /// `vr` is one of the text representations.
    explicit Dicom_Text(const char* vr) : Dicom_StringType(vr) {}
    Dicom_Text(const Dicom_Text&) = default;
    Dicom_Text& operator=(const Dicom_Text& other) {
        Dicom_StringType::operator=(other);
        return *this;
    }

    Dicom_DumpLen GetDumpLen() const override;
    Dicom_DumpLen Dump(void* buffer) const override;
    Dicom_Type* Clone() const override { return new Dicom_Text(*this); }
    bool Assign(const Dicom_Type& other) override;
    std::size_t GetVM() const override { return m_Values.size(); }
    std::wstring GetText(std::size_t index) const override;
    bool GetNumber(std::size_t index, double& number) const override;
    bool IsNumeric() const override;
    bool IsNull() const override;

    /// Replaces the content. Backslashes part the single values, except in the long text representations
    /// (ST, LT, UT, UR), which have only one.
    void SetText(const std::wstring& text);
    /// As SetText, from the bytes of a file: UTF-8 where they are valid as such, else Latin-1.
    void SetBytes(const void* bytes, std::size_t length);
    /// The value of Specific Character Set for this value, where its representation follows one: bytes that
    /// are set afterwards are read in it where they fit, and the value is written in it. Empty for none.
    void SetCharacterSet(const std::string& characterSet);

private:
    std::string encode() const;

    /// With the padding they came with, so that an untouched value goes back as it was.
    std::vector<std::wstring> m_Values;
    std::string m_CharacterSet;
    /// Without a usable character set the bytes were Latin-1, and go back so while every character allows it.
    bool m_bLatin1 = false;
};
