#include "text_codec.h"

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_Text.h>
#include <refhost/Charset.h>

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace {

bool IsVr(const Dicom_Type& value, const char* vr) { return std::strcmp(value.m_VR, vr) == 0; }

/// One text whatever characters it holds; blanks at its start are part of it.
bool IsLongText(const Dicom_Type& value) {
    return IsVr(value, "ST") || IsVr(value, "LT") || IsVr(value, "UT") || IsVr(value, "UR");
}

void SetStatus(int* status, int value) {
    if (status != nullptr) *status = value;
}

}  // namespace

void Dicom_Text::SetText(const std::wstring& text) {
    m_Values.clear();
    m_bLatin1 = false;
    if (text.empty()) return;
    if (IsLongText(*this)) {
        m_Values.push_back(text);
        return;
    }
    std::size_t first = 0;
    for (std::size_t mark = text.find(L'\\'); mark != std::wstring::npos; mark = text.find(L'\\', first)) {
        m_Values.push_back(text.substr(first, mark - first));
        first = mark + 1;
    }
    m_Values.push_back(text.substr(first));
}

void Dicom_Text::SetBytes(const void* bytes, std::size_t length) {
    const unsigned char* const data = static_cast<const unsigned char*>(bytes);
    if (const auto declared = refhost::DecodeText(std::string(data, data + length), m_CharacterSet, m_VR)) {
        SetText(*declared);
        return;
    }
    std::wstring text;
    const bool utf8 = dicom_text::DecodeUtf8(data, length, text);
    SetText(utf8 ? text : dicom_text::DecodeLatin1(data, length));
    m_bLatin1 = !utf8;
}

void Dicom_Text::SetCharacterSet(const std::string& characterSet) {
    m_CharacterSet = refhost::HasCharacterSet(m_VR) ? characterSet : std::string();
}

std::string Dicom_Text::encode() const {
    std::wstring joined;
    for (std::size_t i = 0; i < m_Values.size(); ++i) {
        if (i > 0) joined += L'\\';
        joined += m_Values[i];
    }
    std::string bytes;
    if (!m_bLatin1 || !dicom_text::EncodeLatin1(joined, bytes)) {
        const auto declared = refhost::EncodeText(joined, m_CharacterSet, m_VR);
        bytes = declared ? *declared : dicom_text::EncodeUtf8(joined);
    }
    if (bytes.size() % 2 != 0) bytes += IsVr(*this, "UI") ? '\0' : ' ';
    return bytes;
}

Dicom_DumpLen Dicom_Text::GetDumpLen() const {
    return Dicom_DumpLen(static_cast<unsigned int>(encode().size()));
}

Dicom_DumpLen Dicom_Text::Dump(void* buffer) const {
    if (buffer == nullptr) return Dicom_DumpLen(0);
    const std::string bytes = encode();
    if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
    return Dicom_DumpLen(static_cast<unsigned int>(bytes.size()));
}

bool Dicom_Text::Assign(const Dicom_Type& other) {
    if (const Dicom_Text* text = dynamic_cast<const Dicom_Text*>(&other)) {
        if (IsLongText(*this) == IsLongText(other)) {
            m_Values = text->m_Values;
        } else {
            std::wstring joined;
            for (std::size_t i = 0; i < text->m_Values.size(); ++i) {
                joined += (i > 0 ? L"\\" : L"") + text->m_Values[i];
            }
            SetText(joined);
        }
        m_bLatin1 = text->m_bLatin1;
        return true;
    }
    if (const Dicom_Bytes* raw = dynamic_cast<const Dicom_Bytes*>(&other)) {
        SetBytes(raw->GetBytes().data(), raw->GetBytes().size());
        return true;
    }
    if (dynamic_cast<const Dicom_SQ*>(&other) != nullptr) return false;
    std::vector<std::wstring> values;
    for (std::size_t i = 0; i < other.GetVM(); ++i) {
        double number = 0.0;
        const bool asDecimal = IsVr(*this, "DS") && other.GetNumber(i, number);
        values.push_back(asDecimal ? dicom_text::FormatDecimal(number) : other.GetText(i));
    }
    m_Values.swap(values);
    m_bLatin1 = false;
    return true;
}

std::wstring Dicom_Text::GetText(std::size_t index) const {
    return index < m_Values.size() ? dicom_text::Trim(m_Values[index], !IsLongText(*this)) : std::wstring();
}

bool Dicom_Text::GetNumber(std::size_t index, double& number) const {
    return index < m_Values.size() && dicom_text::ParseDecimal(m_Values[index], number);
}

bool Dicom_Text::IsNumeric() const { return IsVr(*this, "DS") || IsVr(*this, "IS"); }

bool Dicom_Text::IsNull() const {
    for (std::size_t i = 0; i < m_Values.size(); ++i) {
        double number = 0.0;
        if (IsNumeric() ? GetNumber(i, number) : !GetText(i).empty()) return false;
    }
    return true;
}

Dicom_CS::Dicom_CS(const char* text, int* status) : Dicom_Text("CS") {
    SetStatus(status, text == nullptr ? -1 : 0);
    if (text == nullptr) return;
    SetBytes(text, std::strlen(text));
    for (std::size_t i = 0; i < GetVM(); ++i) {
        const std::wstring value = GetText(i);
        const bool code = std::all_of(value.begin(), value.end(), [](wchar_t c) {
            return (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L' ' || c == L'_';
        });
        if (!code || value.size() > 16) SetStatus(status, -2);
    }
}

Dicom_LO::Dicom_LO(const wchar_t* text, int* status) : Dicom_Text("LO") {
    SetStatus(status, text == nullptr ? -1 : 0);
    if (text == nullptr) return;
    SetText(text);
    for (std::size_t i = 0; i < GetVM(); ++i) {
        const std::wstring value = GetText(i);
        const bool plain =
            std::none_of(value.begin(), value.end(), [](std::wint_t c) { return c < L' ' || c == L'\x7F'; });
        if (!plain || value.size() > 64) SetStatus(status, -2);
    }
}

Dicom_DS::Dicom_DS(double value) : Dicom_Text("DS") { SetText(dicom_text::FormatDecimal(value)); }

Dicom_DS::operator double() const {
    double number = 0.0;
    GetNumber(0, number);
    return number;
}

Dicom_DS Dicom_DS::operator[](int index) const {
    Dicom_DS single;
    if (index >= 0) single.SetText(GetText(static_cast<std::size_t>(index)));
    return single;
}
