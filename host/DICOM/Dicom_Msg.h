#pragma once

#include <DICOM/Dicom_Tag.h>
#include <DICOM/Dicom_Type.h>
#include <HOST_Export.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>

class Dicom_SQ;

/// One attribute of a message.
class HOST_API Dicom_Element {
public:
    explicit Dicom_Element(std::unique_ptr<Dicom_Type> value) : m_pValue(value.release()) {}
    Dicom_Element(const Dicom_Element& other) : m_pValue(other.m_pValue->Clone()) {}
    Dicom_Element& operator=(const Dicom_Element&) = delete;
    ~Dicom_Element() { delete m_pValue; }

    /// Never null; the element owns it.
    Dicom_Type* m_pValue;
};

/// A message: a set of attributes in the order of their tags, in memory. A copy copies all values.
///
/// Values are of the class that Dicom_Dictionary gives their attribute, whatever a file or a caller brings,
/// so that the result of Get may be cast to that class: RescaleSlope is a Dicom_DS for sure. An attribute
/// that the dictionary doesn't know keeps the class it came with.
///
///     Dicom_Msg msg;
///     msg.PutBytes(Dicom_Tag(0x281050), "DS", "40\\50 ", 6);
///     double center = *static_cast<const Dicom_DS*>(msg.Get(Dicom_Tag(0x281050)));
///
/// Not locked: one thread changes a message at a time, and nobody reads it meanwhile.
class HOST_API Dicom_Msg {
public:
    typedef std::map<unsigned int, Dicom_Element> Elements;

    Dicom_Msg();
    Dicom_Msg(const Dicom_Msg&);
    Dicom_Msg& operator=(const Dicom_Msg&);
    virtual ~Dicom_Msg();

    /// The element, or null. `occurrence` counts elements of the same tag from 0; a message holds one of
    /// each, so that another number gives null.
    virtual Dicom_Element* FindElement(const Dicom_Tag& tag, int occurrence);
    /// Stores a copy of the value, converted to the attribute's own class, in place of one that is there.
    /// Returns 1, or 0, with nothing changed, where there is no way to convert. A private attribute of ours
    /// brings the element that reserves its block along.
    virtual int Put(const Dicom_Tag& tag, const Dicom_Type& value);

    /// The value, or null when the attribute is absent. The message keeps ownership until the next change of
    /// this attribute.
    const Dicom_Type* Get(const Dicom_Tag& tag) const;
    /// Stores a value from the bytes of a little-endian file. `claimedVr` is what the file says, and may be
    /// null or unknown: it decides how the bytes are read where it names a text or a number, the dictionary
    /// decides what the value becomes. US or SS, where both are possible, is the file's choice, else that of
    /// the PixelRepresentation that is already in this message. Returns 1, or 0 for a sequence or null bytes
    /// with a length.
    int PutBytes(const Dicom_Tag& tag, const char* claimedVr, const void* bytes, std::size_t length);
    /// Appends an empty item to the sequence under `tag`, which is made if need be. Null where another kind
    /// of attribute stands. The message keeps ownership.
    Dicom_Msg* AddItem(const Dicom_Tag& tag);
    /// The sequence under `tag`, or null.
    const Dicom_SQ* GetSequence(const Dicom_Tag& tag) const;
    /// True if the attribute was there.
    bool Remove(const Dicom_Tag& tag);

    /// First single value as a whole number, truncated and limited; `absent` where there is none.
    int GetInt(const Dicom_Tag& tag, int absent) const;
    /// Single value as a number; `absent` where there is none.
    double GetDouble(const Dicom_Tag& tag, double absent, std::size_t index = 0) const;

    /// All attributes, to go through in the order of their tags. The keys are the tags' numbers.
    const Elements& GetElements() const { return m_Elements; }
    /// The same attributes with equal values.
    bool operator==(const Dicom_Msg& other) const;
    bool operator!=(const Dicom_Msg& other) const { return !(*this == other); }

private:
    void store(const Dicom_Tag& tag, std::unique_ptr<Dicom_Type> value);
    bool is_signed() const;

    Elements m_Elements;
    /// Value of Specific Character Set; an item has that of the message around it until it gets its own.
    std::string m_CharacterSet;
};
