#include "text_codec.h"

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_Text.h>

#include <cstring>
#include <string>
#include <utility>

namespace {

const Dicom_Tag SPECIFIC_CHARACTER_SET(0x00080005);
const Dicom_Tag PIXEL_REPRESENTATION(0x00280103);

bool IsVr(const char* vr, const char* name) { return vr != nullptr && std::strcmp(vr, name) == 0; }

bool IsShort(const char* vr) { return IsVr(vr, "US") || IsVr(vr, "SS"); }

/// The representation of an attribute's values; null for an attribute that isn't known.
const char* ResolveVr(const Dicom_Tag& tag, const char* claimedVr, bool isSigned) {
    const Dicom_DictionaryEntry* const entry = Dicom_Dictionary::Find(tag);
    if (entry == nullptr) return nullptr;
    if (!entry->m_bEitherSign) return entry->m_VR;
    if (IsVr(claimedVr, "SS")) return "SS";
    return IsVr(claimedVr, "US") || !isSigned ? "US" : "SS";
}

}  // namespace

Dicom_Msg::Dicom_Msg() = default;
Dicom_Msg::Dicom_Msg(const Dicom_Msg&) = default;
Dicom_Msg::~Dicom_Msg() = default;

Dicom_Msg& Dicom_Msg::operator=(const Dicom_Msg& other) {
    Elements copy(other.m_Elements);
    m_Elements.swap(copy);
    m_CharacterSet = other.m_CharacterSet;
    return *this;
}

bool Dicom_Msg::is_signed() const { return GetInt(PIXEL_REPRESENTATION, 0) != 0; }

Dicom_Element* Dicom_Msg::FindElement(const Dicom_Tag& tag, int occurrence) {
    const Elements::iterator found = m_Elements.find(tag.GetTag());
    return found == m_Elements.end() || occurrence != 0 ? nullptr : &found->second;
}

const Dicom_Type* Dicom_Msg::Get(const Dicom_Tag& tag) const {
    const Elements::const_iterator found = m_Elements.find(tag.GetTag());
    return found == m_Elements.end() ? nullptr : found->second.m_pValue;
}

void Dicom_Msg::store(const Dicom_Tag& tag, std::unique_ptr<Dicom_Type> value) {
    if (tag == SPECIFIC_CHARACTER_SET) {
        m_CharacterSet.clear();
        for (std::size_t i = 0; i < value->GetVM(); ++i) {
            m_CharacterSet += (i > 0 ? "\\" : "") + dicom_text::EncodeUtf8(value->GetText(i));
        }
    }
    if (Dicom_Text* const text = dynamic_cast<Dicom_Text*>(value.get()))
        text->SetCharacterSet(m_CharacterSet);
    const Elements::iterator found = m_Elements.find(tag.GetTag());
    if (found == m_Elements.end()) {
        m_Elements.try_emplace(tag.GetTag(), std::move(value));
    } else {
        delete found->second.m_pValue;
        found->second.m_pValue = value.release();
    }
    const bool ours = tag.GetGroup() == Dicom_Dictionary::PRIVATE_GROUP && tag.GetElement() >= 0x1000;
    if (ours && Dicom_Dictionary::Find(tag) != nullptr && Get(Dicom_Dictionary::PRIVATE_CREATOR) == nullptr) {
        PutBytes(Dicom_Dictionary::PRIVATE_CREATOR, "LO", Dicom_Dictionary::PRIVATE_CREATOR_TEXT,
                 std::strlen(Dicom_Dictionary::PRIVATE_CREATOR_TEXT));
    }
}

int Dicom_Msg::Put(const Dicom_Tag& tag, const Dicom_Type& value) {
    const char* const vr = ResolveVr(tag, value.m_VR, is_signed());
    std::unique_ptr<Dicom_Type> stored(vr == nullptr ? value.Clone() : Dicom_Type::Create(vr).release());
    if (vr != nullptr && !stored->Assign(value)) return 0;
    store(tag, std::move(stored));
    return 1;
}

int Dicom_Msg::PutBytes(const Dicom_Tag& tag, const char* claimedVr, const void* bytes, std::size_t length) {
    if (bytes == nullptr && length > 0) return 0;
    const char* const resolved = ResolveVr(tag, claimedVr, is_signed());
    const char* const vr = resolved == nullptr ? claimedVr : resolved;
    if (IsVr(vr, "SQ") || IsVr(claimedVr, "SQ")) return 0;

    std::unique_ptr<Dicom_Type> value = Dicom_Type::Create(vr);
    const std::unique_ptr<Dicom_Type> claimed = Dicom_Type::FromBytes(claimedVr, bytes, length);
    const bool isText = dynamic_cast<const Dicom_Text*>(value.get()) != nullptr;
    const bool claimedText = dynamic_cast<const Dicom_Text*>(claimed.get()) != nullptr;
    // Bytes of the same kind need no conversion; numbers of another size do, and text for a number.
    const bool convert = claimedText ? value->IsNumeric() && !isText
                                     : claimed->IsNumeric() && !(IsShort(vr) && IsShort(claimedVr));
    if (convert) {
        value->Assign(*claimed);
    } else if (Dicom_Text* const text = dynamic_cast<Dicom_Text*>(value.get())) {
        text->SetCharacterSet(m_CharacterSet);
        text->SetBytes(bytes, length);
    } else {
        value = Dicom_Type::FromBytes(vr, bytes, length);
    }
    store(tag, std::move(value));
    return 1;
}

Dicom_Msg* Dicom_Msg::AddItem(const Dicom_Tag& tag) {
    if (Get(tag) == nullptr) {
        const Dicom_DictionaryEntry* const entry = Dicom_Dictionary::Find(tag);
        if (entry != nullptr && !IsVr(entry->m_VR, "SQ")) return nullptr;
        store(tag, std::make_unique<Dicom_SQ>());
    }
    Dicom_SQ* const sequence = dynamic_cast<Dicom_SQ*>(FindElement(tag, 0)->m_pValue);
    if (sequence == nullptr) return nullptr;
    Dicom_Msg* const item = sequence->AddItem();
    item->m_CharacterSet = m_CharacterSet;
    return item;
}

const Dicom_SQ* Dicom_Msg::GetSequence(const Dicom_Tag& tag) const {
    return dynamic_cast<const Dicom_SQ*>(Get(tag));
}

bool Dicom_Msg::Remove(const Dicom_Tag& tag) { return m_Elements.erase(tag.GetTag()) > 0; }

int Dicom_Msg::GetInt(const Dicom_Tag& tag, int absent) const {
    double number = 0.0;
    const Dicom_Type* const value = Get(tag);
    return value != nullptr && value->GetNumber(0, number) ? dicom_text::LimitTo<int>(number) : absent;
}

double Dicom_Msg::GetDouble(const Dicom_Tag& tag, double absent, std::size_t index) const {
    double number = absent;
    const Dicom_Type* const value = Get(tag);
    if (value != nullptr) value->GetNumber(index, number);
    return number;
}

bool Dicom_Msg::operator==(const Dicom_Msg& other) const {
    if (m_Elements.size() != other.m_Elements.size()) return false;
    for (const auto& [tag, element] : m_Elements) {
        const Dicom_Type* const value = other.Get(Dicom_Tag(tag));
        if (value == nullptr || *value != *element.m_pValue) return false;
    }
    return true;
}
