#pragma once

#include <HOST_Export.h>

#include <string>
#include <vector>

class KIT_BaseParams;

/// The named list of the parameter objects of one view. It owns none of them.
class HOST_API KIT_BaseParamsVec {
public:
    explicit KIT_BaseParamsVec(const wchar_t* name = L"");

    /// The first object of that name, or null. The flag has no effect on a plain list.
    KIT_BaseParams* GetParams(const char* name, bool create) const;
    /// The list's own name, for log lines. Never null.
    const wchar_t* GetName() const;

    /// Adds an object at the end; it must outlive its place in the list. Null is ignored.
    void Append(KIT_BaseParams* params);
    /// Takes the object out, if it is in.
    void Remove(KIT_BaseParams* params);

private:
    std::wstring m_Name;
    std::vector<KIT_BaseParams*> m_Params;
};
