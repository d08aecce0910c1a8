#pragma once

#include <PRM/PRM_ITree.h>

class PRM_ITreeIterator;

template <>
struct com_interface<PRM_ITreeIterator> {
    static constexpr IID iid = com_id::kTreeIterator;
};
typedef com_ptr<PRM_ITreeIterator> PRM_ITreeIteratorPtr;

/// Walks the sub trees of one name.
///
///     PRM_ITreeIteratorPtr it(CLSID_PRM_TreeIterator);
///     for (it->Start(tree, L"windowing_preset"); it->IsValid(); it->Next()) read(it->Current());
class HOST_API PRM_ITreeIterator : public IUnknown {
public:
    virtual HRESULT raw_IsValid(int* valid) = 0;
    virtual HRESULT raw_Current(PRM_ITree** tree) = 0;
    virtual HRESULT raw_Start(PRM_ITree* tree, BSTR name) = 0;
    virtual HRESULT raw_Next() = 0;

    /// Non-zero while there is a current sub tree; 0 before Start.
    int IsValid();
    /// The current sub tree; null when there is none.
    PRM_ITreePtr Current();
    /// Positions on the first sub tree of `tree` named `name`. A null tree raises E_POINTER.
    void Start(PRM_ITree* tree, const _bstr_t& name);
    /// Moves on; behind the last sub tree it does nothing.
    void Next();

protected:
    ~PRM_ITreeIterator() = default;
};
