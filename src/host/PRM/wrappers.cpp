#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeIterator.h>
#include <PRM/PRM_ITreeRoot.h>

// The platform's own class gives its text only from an object that may change, except by copy(false).

namespace {

template <class Interface>
void Check(HRESULT result, Interface* object) {
    if (FAILED(result)) _com_issue_errorex(result, object, com_iid<Interface>());
}

}  // namespace

_bstr_t PRM_ITree::GetString(const _bstr_t& key) {
    BSTR value = nullptr;
    Check(raw_GetString(key.copy(false), &value), this);
    return _bstr_t(value, false);
}

int PRM_ITree::GetInt(const _bstr_t& key) {
    int value = 0;
    Check(raw_GetInt(key.copy(false), &value), this);
    return value;
}

PRM_ITreePtr PRM_ITree::GetSubTree(const _bstr_t& path) {
    PRM_ITree* tree = nullptr;
    Check(raw_GetSubTree(path.copy(false), &tree), this);
    return PRM_ITreePtr(tree, false);
}

int PRM_ITree::GetNumOfSubTrees(const _bstr_t& path) {
    int count = 0;
    Check(raw_GetNumOfSubTrees(path.copy(false), &count), this);
    return count;
}

PRM_ITreePtr PRM_ITree::GetIthSubTree(const _bstr_t& path, int i) {
    PRM_ITree* tree = nullptr;
    Check(raw_GetIthSubTree(path.copy(false), i, &tree), this);
    return PRM_ITreePtr(tree, false);
}

int PRM_ITree::GetNumOfKeys(const _bstr_t& path) {
    int count = 0;
    Check(raw_GetNumOfKeys(path.copy(false), &count), this);
    return count;
}

_bstr_t PRM_ITree::GetIthKeyValue(const _bstr_t& path, int i) {
    BSTR value = nullptr;
    Check(raw_GetIthKeyValue(path.copy(false), i, &value), this);
    return _bstr_t(value, false);
}

_bstr_t PRM_ITree::GetStringDefault(const _bstr_t& key, const _bstr_t& fallback) {
    BSTR value = nullptr;
    Check(raw_GetStringDefault(key.copy(false), fallback.copy(false), &value), this);
    return _bstr_t(value, false);
}

int PRM_ITree::GetIntDefault(const _bstr_t& key, int fallback) {
    int value = 0;
    Check(raw_GetIntDefault(key.copy(false), fallback, &value), this);
    return value;
}

_bstr_t PRM_ITree::GetIthKeyName(const _bstr_t& path, int i) {
    BSTR name = nullptr;
    Check(raw_GetIthKeyName(path.copy(false), i, &name), this);
    return _bstr_t(name, false);
}

double PRM_ITree::GetDoubleDefault(const _bstr_t& key, double fallback) {
    double value = 0;
    Check(raw_GetDoubleDefault(key.copy(false), fallback, &value), this);
    return value;
}

void PRM_ITreeRoot::SetAccess(unsigned int mode) { Check(raw_SetAccess(mode), this); }

PRM_ITreePtr PRM_ITreeRoot::OpenTree(const _bstr_t& name, std::intptr_t reserved, int option) {
    PRM_ITree* tree = nullptr;
    Check(raw_OpenTree(name.copy(false), reserved, option, &tree), this);
    return PRM_ITreePtr(tree, false);
}

int PRM_ITreeIterator::IsValid() {
    int valid = 0;
    Check(raw_IsValid(&valid), this);
    return valid;
}

PRM_ITreePtr PRM_ITreeIterator::Current() {
    PRM_ITree* tree = nullptr;
    Check(raw_Current(&tree), this);
    return PRM_ITreePtr(tree, false);
}

void PRM_ITreeIterator::Start(PRM_ITree* tree, const _bstr_t& name) {
    Check(raw_Start(tree, name.copy(false)), this);
}

void PRM_ITreeIterator::Next() { Check(raw_Next(), this); }
