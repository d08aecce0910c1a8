#pragma once

#include <PRM/PRM_ITree.h>

#include <cstdint>

class PRM_ITreeRoot;

template <>
struct com_interface<PRM_ITreeRoot> {
    static constexpr IID iid = com_id::kTreeRoot;
};
typedef com_ptr<PRM_ITreeRoot> PRM_ITreeRootPtr;

/// The door to the trees that are opened by name.
class HOST_API PRM_ITreeRoot : public IUnknown {
public:
    virtual HRESULT raw_SetAccess(unsigned int mode) = 0;
    virtual HRESULT raw_OpenTree(BSTR name, std::intptr_t reserved, int option, PRM_ITree** tree) = 0;

    /// Called once, before OpenTree, with 0x80000000 for reading.
    void SetAccess(unsigned int mode);
    /// The tree of exactly that name, backslashes included; null when there is none.
    /// `reserved` is 0 and `option` is 1.
    PRM_ITreePtr OpenTree(const _bstr_t& name, std::intptr_t reserved, int option);

protected:
    ~PRM_ITreeRoot() = default;
};
