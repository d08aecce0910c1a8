#pragma once

#include <DICOM/Dicom_DumpLen.h>
#include <HOST_Export.h>

#include <cstddef>
#include <memory>
#include <string>

/// Base of all attribute values. A value holds any number of single values, none included.
///
/// A value without content (no single value, only blanks, or for decimal strings nothing that is a number)
/// is null, and equals every other null value: `*value != DS_NULL` tells that an attribute has a value.
/// Objects are not locked; reading one from several threads is safe.
class HOST_API Dicom_Type {
public:
    /// The value representation, two capitals and a terminator.
    char m_VR[3];

    virtual ~Dicom_Type();

    /// Length of the value as it stands in a little-endian file, in bytes; always even.
    virtual Dicom_DumpLen GetDumpLen() const = 0;
    /// Copies GetDumpLen() bytes to `buffer` and returns their number; with null nothing is copied and 0
    /// returned.
    virtual Dicom_DumpLen Dump(void* buffer) const = 0;
    /// Non-zero when any single value of this equals any single value of `other`; padding blanks don't count.
    virtual int Match(const Dicom_Type& other) const;
    /// Equal when both are null, or when they have as many single values and these are equal one by one: as
    /// numbers where both are numbers and at least one of them is of a numeric representation, else as text
    /// without the padding blanks.
    virtual bool operator==(const Dicom_Type& other) const;
    /// The single values joined by backslashes in a new terminated text, which the caller releases with
    /// delete[].
    virtual operator wchar_t*() const;
    virtual bool operator!=(const Dicom_Type& other) const;

    /// A copy made with new, of the same class.
    virtual Dicom_Type* Clone() const = 0;
    /// Takes over the values of `other`, converted to this representation. False, with nothing changed, where
    /// there is no way to convert (a sequence to anything else).
    virtual bool Assign(const Dicom_Type& other) = 0;
    /// The number of single values; items of a sequence; 1 for bytes unless there are none.
    virtual std::size_t GetVM() const = 0;
    /// A single value as text without padding; empty beyond the end.
    virtual std::wstring GetText(std::size_t index) const = 0;
    /// A single value as a number. False, with `number` unchanged, where it is none or beyond the end.
    virtual bool GetNumber(std::size_t index, double& number) const = 0;
    /// Numbers are written in binary or as decimal text.
    virtual bool IsNumeric() const { return false; }
    virtual bool IsNull() const { return GetVM() == 0; }

    /// An empty value for a representation, of the class of that name where there is one: text for the other
    /// text representations, bytes for all that are unknown. `vr` may be null.
    static std::unique_ptr<Dicom_Type> Create(const char* vr);
    /// A value from the bytes of a little-endian file. Sequences give null; text is UTF-8 if it is valid as
    /// such, else Latin-1; a trailing part of a number is dropped.
    static std::unique_ptr<Dicom_Type> FromBytes(const char* vr, const void* bytes, std::size_t length);

protected:
    explicit Dicom_Type(const char* vr);
    Dicom_Type(const Dicom_Type&) = default;
    /// The representation belongs to the object, not to the value: an assignment leaves it.
    Dicom_Type& operator=(const Dicom_Type&) { return *this; }  // NOLINT(bugprone-unhandled-self-assignment)

    /// Whether two single values are equal by the rule of operator==.
    bool same_value(std::size_t index, const Dicom_Type& other, std::size_t otherIndex) const;
};
