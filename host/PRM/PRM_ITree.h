#pragma once

#include <COM/com_identifiers.h>
#include <COM/com_ptr.h>

class PRM_ITree;

template <>
struct com_interface<PRM_ITree> {
    static constexpr IID iid = com_id::kTree;
};
typedef com_ptr<PRM_ITree> PRM_ITreePtr;

/// A node of the configuration tree.
///
///     PRM_ITreePtr root(CLSID_PRM_Tree);
///     int full = root->GetIntDefault(L"windowing\\always_window_full_range", 0);
///
/// A node has keys, each with a name and a value, and sub trees, of which several may bear one name; both
/// keep the order of the file. A key or node is addressed by a path relative to this node, with a backslash
/// between the steps; each step takes the first sub tree of its name, upper and lower case being different.
/// An empty or null path is the node itself.
///
/// The raw operations answer with a result and write through the last argument: a string is owned by the
/// caller, an interface is counted for the caller. The operations below them raise a failing result as
/// `_com_error`. A key that is absent is no failure: GetString gives an empty text and GetInt gives -1.
class HOST_API PRM_ITree : public IUnknown {
public:
    virtual HRESULT raw_GetString(BSTR key, BSTR* value) = 0;
    virtual HRESULT raw_GetInt(BSTR key, int* value) = 0;
    virtual HRESULT raw_GetSubTree(BSTR path, PRM_ITree** tree) = 0;
    virtual HRESULT raw_GetNumOfSubTrees(BSTR path, int* count) = 0;
    virtual HRESULT raw_GetIthSubTree(BSTR path, int i, PRM_ITree** tree) = 0;
    virtual HRESULT raw_GetNumOfKeys(BSTR path, int* count) = 0;
    virtual HRESULT raw_GetIthKeyValue(BSTR path, int i, BSTR* value) = 0;
    virtual HRESULT raw_GetStringDefault(BSTR key, BSTR fallback, BSTR* value) = 0;
    virtual HRESULT raw_GetIntDefault(BSTR key, int fallback, int* value) = 0;
    virtual HRESULT raw_GetIthKeyName(BSTR path, int i, BSTR* name) = 0;
    virtual HRESULT raw_GetDoubleDefault(BSTR key, double fallback, double* value) = 0;

    /// The value as text; empty when the key is absent or no text.
    _bstr_t GetString(const _bstr_t& key);
    /// The value as a number, limited to an int; -1 when the key is absent or no number.
    int GetInt(const _bstr_t& key);
    /// The node at `path`; null when there is none.
    PRM_ITreePtr GetSubTree(const _bstr_t& path);
    /// Number of sub trees of the node at `path`; 0 when there is no such node.
    int GetNumOfSubTrees(const _bstr_t& path);
    /// The i-th sub tree, from 0; null when there is none.
    PRM_ITreePtr GetIthSubTree(const _bstr_t& path, int i);
    /// Number of keys of the node at `path`; 0 when there is no such node.
    int GetNumOfKeys(const _bstr_t& path);
    /// Value of the i-th key as text; empty when it is no text or there is no such key.
    _bstr_t GetIthKeyValue(const _bstr_t& path, int i);
    _bstr_t GetStringDefault(const _bstr_t& key, const _bstr_t& fallback);
    int GetIntDefault(const _bstr_t& key, int fallback);
    /// Name of the i-th key; empty when there is no such key.
    _bstr_t GetIthKeyName(const _bstr_t& path, int i);
    double GetDoubleDefault(const _bstr_t& key, double fallback);

protected:
    ~PRM_ITree() = default;
};
