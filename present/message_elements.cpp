#include "message_elements.h"

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_Text.h>

#include <refhost/Charset.h>
#include <refhost/Unicode.h>
#include <algorithm>
#include <cstdio>
#include <optional>

#include "io/present_error.h"

namespace {

constexpr std::size_t kLongestLO = 64;
constexpr std::size_t kLongestCS = 16;

/// The tag that an element of our private group has in a message; nothing when it is not ours.
std::optional<std::uint32_t> private_tag(const DicomDataSet& dataSet, std::uint32_t tag) {
    const unsigned element = tag & 0xFFFF;
    const unsigned block = element >> 8;
    const std::uint32_t creator = DicomTag(Dicom_Dictionary::PRIVATE_GROUP, block);
    if (block == 0 || dataSet.Text(creator) != Dicom_Dictionary::PRIVATE_CREATOR_TEXT) return std::nullopt;
    const Dicom_DictionaryEntry* entry = Dicom_Dictionary::FromFileElement(block, element);
    if (entry == nullptr) return std::nullopt;
    return entry->m_Tag;
}

void fill_message(const DicomDataSet& dataSet, Dicom_Msg& msg) {
    for (const auto& [number, element] : dataSet.elements) {
        Dicom_Tag tag(number);
        if (tag.GetGroup() == Dicom_Dictionary::PRIVATE_GROUP) {
            const std::optional<std::uint32_t> ours = private_tag(dataSet, number);
            if (!ours) continue;
            tag = Dicom_Tag(*ours);
        }
        if (element.IsSequence()) {
            for (const DicomDataSet& item : element.items) {
                if (Dicom_Msg* itemMsg = msg.AddItem(tag)) fill_message(item, *itemMsg);
            }
        } else {
            msg.PutBytes(tag, element.vr.c_str(), element.bytes.data(), element.bytes.size());
        }
    }
}

std::string name_of(std::uint32_t tag) {
    const Dicom_DictionaryEntry* entry = Dicom_Dictionary::Find(Dicom_Tag(tag));
    if (entry != nullptr) return entry->m_Keyword;
    char text[16];
    std::snprintf(text, sizeof text, "(%04x,%04x)", tag >> 16, tag & 0xFFFF);
    return text;
}

constexpr const char* kUtf8 = "ISO_IR 192";

bool is_ascii(const std::string& bytes) {
    constexpr char kEscape = '\x1B';
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80 && byte != kEscape; });
}

/// An item may declare a set of its own.
bool recode(DicomDataSet& set, std::string from, const std::string& to) {
    if (set.Has(tag::kSpecificCharacterSet)) from = set.Text(tag::kSpecificCharacterSet);
    set.Remove(tag::kSpecificCharacterSet);
    bool isAscii = true;
    for (auto& [tag, element] : set.elements) isAscii = Recode(element, from, to) && isAscii;
    return isAscii;
}

}  // namespace

bool Recode(DicomElement& element, const std::string& from, const std::string& to) {
    bool isAscii = true;
    for (DicomDataSet& item : element.items) isAscii = recode(item, from, to) && isAscii;
    if (!refhost::HasCharacterSet(element.vr) || is_ascii(element.bytes)) return isAscii;
    Dicom_Text decoded(element.vr.c_str());
    decoded.SetCharacterSet(from);
    decoded.SetBytes(element.bytes.data(), element.bytes.size());
    std::wstring text;
    for (std::size_t i = 0; i < decoded.GetVM(); ++i) text += (i == 0 ? L"" : L"\\") + decoded.GetText(i);
    const auto encoded = refhost::EncodeText(text, to, element.vr);
    element.bytes = encoded ? *encoded : refhost::ToUtf8(text.data(), text.size());
    return is_ascii(element.bytes);
}

void PutInUtf8(DicomDataSet& set) {
    if (!recode(set, "", kUtf8)) set.PutText(tag::kSpecificCharacterSet, "CS", kUtf8);
}

std::unique_ptr<OBJ_Msg> MakeMessage(const DicomDataSet& dataSet) {
    auto msg = std::make_unique<OBJ_Msg>();
    fill_message(dataSet, *msg);
    return msg;
}

DicomElement ToElement(std::uint32_t tag, const Dicom_Type& value, const std::string& path) {
    DicomElement element;
    element.vr = value.m_VR;
    if (const auto* sequence = dynamic_cast<const Dicom_SQ*>(&value)) {
        for (std::size_t i = 0; i < sequence->GetVM(); ++i) {
            DicomDataSet& item = element.items.emplace_back();
            for (const auto& [number, inner] : sequence->GetItem(i)->GetElements())
                item.elements[number] = ToElement(number, *inner.m_pValue, path);
        }
        return element;
    }
    const std::size_t longest = element.vr == "LO" ? kLongestLO : element.vr == "CS" ? kLongestCS : 0;
    for (std::size_t i = 0; longest > 0 && i < value.GetVM(); ++i) {
        const std::size_t length = value.GetText(i).size();
        if (length > longest) {
            throw PresentError(path, "cannot be written: " + name_of(tag) + " would have " +
                                         std::to_string(length) + " characters, and a DICOM file allows " +
                                         std::to_string(longest));
        }
    }
    element.bytes.resize(value.GetDumpLen().GetDumpLen());
    value.Dump(element.bytes.data());
    return element;
}
