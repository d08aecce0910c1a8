#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeIterator.h>
#include <PRM/PRM_ITreeRoot.h>
#include <refhost/Com.h>
#include <refhost/Config.h>
#include <refhost/Unicode.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <tuple>
#include <utility>

#include "COM/com_object.h"
#include "PRM/config_node.h"
#include "PRM/factories.h"

namespace refhost {

/// A node of a configuration with what keeps it alive.
struct NodeRef {
    std::shared_ptr<const ConfigData> data;
    const ConfigNode* node = nullptr;
};

/// Gives the iterator the node behind a tree of ours.
class INodeAccess : public IUnknown {
public:
    virtual const NodeRef& Ref() const = 0;

protected:
    ~INodeAccess() = default;
};

}  // namespace refhost

template <>
struct com_interface<refhost::INodeAccess> {
    static constexpr IID iid = com_id::kNodeAccess;
};

namespace refhost {
namespace {

std::atomic<HRESULT> s_CreationFailure{S_OK};
std::atomic<HRESULT> s_ReadFailure{S_OK};
std::atomic<int> s_PassesLeft{0};

/// What an operation answers before it does anything.
HRESULT Gate() {
    const HRESULT failure = s_ReadFailure.load(std::memory_order_relaxed);
    if (!FAILED(failure) || s_PassesLeft.fetch_sub(1) > 0) return S_OK;
    s_PassesLeft.store(0);
    SetErrorDescription(L"reading the configuration was made to fail");
    return failure;
}

/// A null text and an empty one are the same in a path.
std::wstring_view View(BSTR text) { return text == nullptr ? std::wstring_view() : std::wstring_view(text); }

int LimitToInt(double value) {
    if (std::isnan(value)) return 0;
    constexpr double least = std::numeric_limits<int>::min();
    constexpr double most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, least, most));
}

int Count(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, std::size_t(std::numeric_limits<int>::max())));
}

HRESULT GiveText(const wchar_t* text, BSTR* out) {
    *out = SysAllocString(text);
    return *out == nullptr && text != nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT GiveTree(const NodeRef& around, const ConfigNode* node, PRM_ITree** out);

/// The operations of a node. Those of a run of sub trees or keys take a path to the node around them.
template <class... More>
class Tree : public ComObject<PRM_ITree, INodeAccess, ISupportErrorInfo, More...> {
public:
    explicit Tree(NodeRef ref) : m_Ref(std::move(ref)) {}

    const NodeRef& Ref() const final { return m_Ref; }
    HRESULT InterfaceSupportsErrorInfo(const IID&) final { return S_OK; }

    HRESULT raw_GetString(BSTR key, BSTR* value) final { return GetText(key, L"", value); }
    HRESULT raw_GetStringDefault(BSTR key, BSTR fallback, BSTR* value) final {
        return GetText(key, fallback, value);
    }
    HRESULT raw_GetInt(BSTR key, int* value) final { return raw_GetIntDefault(key, -1, value); }
    HRESULT raw_GetIntDefault(BSTR key, int fallback, int* value) final {
        if (const HRESULT refused = Begin(value, 0)) return refused;
        const double* number = Find<double>(key);
        *value = number != nullptr ? LimitToInt(*number) : fallback;
        return S_OK;
    }
    HRESULT raw_GetDoubleDefault(BSTR key, double fallback, double* value) final {
        if (const HRESULT refused = Begin(value, 0.0)) return refused;
        const double* number = Find<double>(key);
        *value = number != nullptr ? *number : fallback;
        return S_OK;
    }
    HRESULT raw_GetSubTree(BSTR path, PRM_ITree** tree) final {
        if (const HRESULT refused = Begin(tree, static_cast<PRM_ITree*>(nullptr))) return refused;
        return GiveTree(m_Ref, m_Ref.node->FindNode(View(path)), tree);
    }
    HRESULT raw_GetNumOfSubTrees(BSTR path, int* count) final {
        if (const HRESULT refused = Begin(count, 0)) return refused;
        const ConfigNode* node = m_Ref.node->FindNode(View(path));
        if (node != nullptr) *count = Count(node->SubTrees().size());
        return S_OK;
    }
    HRESULT raw_GetIthSubTree(BSTR path, int i, PRM_ITree** tree) final {
        if (const HRESULT refused = Begin(tree, static_cast<PRM_ITree*>(nullptr))) return refused;
        const ConfigNode* node = m_Ref.node->FindNode(View(path));
        if (node == nullptr || i < 0 || i >= Count(node->SubTrees().size())) return S_OK;
        return GiveTree(m_Ref, node->SubTrees()[static_cast<std::size_t>(i)].node.get(), tree);
    }
    HRESULT raw_GetNumOfKeys(BSTR path, int* count) final {
        if (const HRESULT refused = Begin(count, 0)) return refused;
        const ConfigNode* node = m_Ref.node->FindNode(View(path));
        if (node != nullptr) *count = Count(node->Keys().size());
        return S_OK;
    }
    HRESULT raw_GetIthKeyValue(BSTR path, int i, BSTR* value) final {
        if (const HRESULT refused = Begin(value, static_cast<BSTR>(nullptr))) return refused;
        const ConfigNode::Key* key = IthKey(path, i);
        const std::wstring* text = key != nullptr ? std::get_if<std::wstring>(&key->value) : nullptr;
        return GiveText(text != nullptr ? text->c_str() : L"", value);
    }
    HRESULT raw_GetIthKeyName(BSTR path, int i, BSTR* name) final {
        if (const HRESULT refused = Begin(name, static_cast<BSTR>(nullptr))) return refused;
        const ConfigNode::Key* key = IthKey(path, i);
        return GiveText(key != nullptr ? key->name.c_str() : L"", name);
    }

private:
    /// Sets the result aside; not S_OK when the operation ends here.
    template <class Value>
    static HRESULT Begin(Value* out, Value nothing) {
        if (out == nullptr) return E_POINTER;
        *out = nothing;
        return Gate();
    }
    template <class Value>
    const Value* Find(BSTR key) const {
        const ConfigNode::Value* value = m_Ref.node->FindValue(View(key));
        return value != nullptr ? std::get_if<Value>(value) : nullptr;
    }
    HRESULT GetText(BSTR key, const wchar_t* fallback, BSTR* value) const {
        if (const HRESULT refused = Begin(value, static_cast<BSTR>(nullptr))) return refused;
        const std::wstring* text = Find<std::wstring>(key);
        return GiveText(text != nullptr ? text->c_str() : fallback, value);
    }
    const ConfigNode::Key* IthKey(BSTR path, int i) const {
        const ConfigNode* node = m_Ref.node->FindNode(View(path));
        if (node == nullptr || i < 0 || i >= Count(node->Keys().size())) return nullptr;
        return &node->Keys()[static_cast<std::size_t>(i)];
    }

    const NodeRef m_Ref;
};

class SubTree final : public Tree<> {
public:
    using Tree<>::Tree;
};

HRESULT GiveTree(const NodeRef& around, const ConfigNode* node, PRM_ITree** out) {
    if (node == nullptr) return S_OK;
    *out = new (std::nothrow) SubTree({around.data, node});
    return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}

/// The configuration object: the root node, and the door to the named trees.
class Root final : public Tree<PRM_ITreeRoot> {
public:
    explicit Root(const std::shared_ptr<const ConfigData>& data) : Tree({data, data->settings}) {}

    HRESULT raw_SetAccess(unsigned int) override { return Gate(); }
    HRESULT raw_OpenTree(BSTR name, std::intptr_t, int, PRM_ITree** tree) override {
        if (tree == nullptr) return E_POINTER;
        *tree = nullptr;
        if (const HRESULT refused = Gate()) return refused;
        const ConfigNode* trees = Ref().data->trees;
        const auto found = trees->FindSubTrees(View(name));
        return found.first == found.second
                   ? S_OK
                   : GiveTree(Ref(), trees->SubTrees()[*found.first].node.get(), tree);
    }
};

class Iterator final : public ComObject<PRM_ITreeIterator, ISupportErrorInfo> {
public:
    HRESULT InterfaceSupportsErrorInfo(const IID&) override { return S_OK; }

    HRESULT raw_IsValid(int* valid) override {
        if (valid == nullptr) return E_POINTER;
        *valid = 0;
        if (const HRESULT refused = Gate()) return refused;
        *valid = m_At != m_End;
        return S_OK;
    }
    HRESULT raw_Current(PRM_ITree** tree) override {
        if (tree == nullptr) return E_POINTER;
        *tree = nullptr;
        if (const HRESULT refused = Gate()) return refused;
        return m_At == m_End ? S_OK : GiveTree(m_Around, m_Around.node->SubTrees()[*m_At].node.get(), tree);
    }
    HRESULT raw_Start(PRM_ITree* tree, BSTR name) override {
        m_At = m_End = nullptr;
        if (tree == nullptr) return E_POINTER;
        if (const HRESULT refused = Gate()) return refused;
        void* access = nullptr;
        // A tree that somebody else made does not tell the names of its sub trees.
        if (FAILED(tree->QueryInterface(com_iid<INodeAccess>(), &access))) return E_INVALIDARG;
        INodeAccess* ours = static_cast<INodeAccess*>(access);
        m_Around = ours->Ref();
        ours->Release();
        std::tie(m_At, m_End) = m_Around.node->FindSubTrees(View(name));
        return S_OK;
    }
    HRESULT raw_Next() override {
        if (const HRESULT refused = Gate()) return refused;
        if (m_At != m_End) ++m_At;
        return S_OK;
    }

private:
    NodeRef m_Around;
    const std::uint32_t* m_At = nullptr;
    const std::uint32_t* m_End = nullptr;
};

/// Asks a new object for the interface and leaves it to its other owners.
template <class Object>
HRESULT Hand(Object* object, const IID& iid, void** out) {
    const HRESULT result = object->QueryInterface(iid, out);
    object->Release();
    return result;
}

}  // namespace

HRESULT MakeConfigRoot(const IID& iid, void** out) {
    const HRESULT failure = s_CreationFailure.load(std::memory_order_relaxed);
    if (FAILED(failure)) return failure;
    try {
        return Hand(new Root(CurrentConfig()), iid, out);
    } catch (const ConfigError& error) {
        SetErrorDescription(FromUtf8(error.what()).c_str());
        return E_FAIL;
    }
}

HRESULT MakeConfigIterator(const IID& iid, void** out) {
    const HRESULT failure = s_CreationFailure.load(std::memory_order_relaxed);
    if (FAILED(failure)) return failure;
    return Hand(new Iterator, iid, out);
}

void FailConfigCreation(HRESULT result) { s_CreationFailure.store(result); }

void FailConfigReads(HRESULT result, int passes) {
    s_PassesLeft.store(passes);
    s_ReadFailure.store(result);
}

}  // namespace refhost
