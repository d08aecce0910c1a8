#pragma once

#include <HOST_Export.h>
#include <RW/RWTPtrOrderedVector.h>
#include <RW/RWWString.h>

#include <memory>
#include <vector>

/// One entry of a display-parameter record.
class HOST_API KIT_DDPInfo {
public:
    KIT_DDPInfo();
    KIT_DDPInfo(const wchar_t* tagName, const wchar_t* paramName, const wchar_t* value);

    RWWString m_TagName;    ///< dictionary name of the attribute that the value belongs to, in capitals
    RWWString m_ParamName;  ///< short name of the parameter
    RWWString m_Value;      ///< the value as text
};

/// The record that parameter objects write their presentation into. It owns every entry it was ever given,
/// also one that somebody takes out of the list: all are freed with the record.
class HOST_API DDPInfoVector {
public:
    DDPInfoVector();
    ~DDPInfoVector();
    DDPInfoVector(const DDPInfoVector&) = delete;
    DDPInfoVector& operator=(const DDPInfoVector&) = delete;

    /// The entries in order. Changes to the list take effect; entries appended here directly are not owned.
    RWTPtrOrderedVector<KIT_DDPInfo>& GetParamsValues();
    /// Appends an entry made with new and takes it over. Null is ignored.
    void AddParamsValue(KIT_DDPInfo* info);

private:
    RWTPtrOrderedVector<KIT_DDPInfo> m_Entries;
    std::vector<std::unique_ptr<KIT_DDPInfo>> m_Owned;
};
