#include <COM/com_ptr.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeRoot.h>
#include <gtest/gtest.h>
#include <refhost/Com.h>
#include <refhost/Config.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

HRESULT RaisedBy(void (*work)()) {
    try {
        work();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return S_OK;
}

TEST(EnvironmentBstr, OrdersByUtf16CodeUnit) {
    const struct {
        const char* name;
        std::wstring a, b;
        int order;
    } rows[] = {
        {"empty first", L"", L"a", -1},
        {"not signed", L"\x00E9", L"z", 1},
        // By code point U+1F600 is the larger; its first unit 0xD83D is not.
        {"surrogates below U+E000", L"\U0001F600", L"\xFF5E", -1},
        {"second unit decides", L"\U0001F600", L"\U0001F601", -1},
        {"text behind a null character", std::wstring(L"a\0b", 3), std::wstring(L"a\0c", 3), -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const _bstr_t a(SysAllocStringLen(row.a.data(), static_cast<unsigned>(row.a.size())), false);
        const _bstr_t b(SysAllocStringLen(row.b.data(), static_cast<unsigned>(row.b.size())), false);
        EXPECT_EQ(a < b, row.order < 0);
        EXPECT_EQ(a > b, row.order > 0);
        EXPECT_NE(a == b, a < b || a > b);
    }
}

TEST(EnvironmentBstr, NullIsEmptyAndTooLongIsRefused) {
    const _bstr_t null;
    EXPECT_TRUE(!null);
    EXPECT_EQ(static_cast<const wchar_t*>(null), nullptr);
    EXPECT_TRUE(null == _bstr_t(L"") && null < _bstr_t(L"a") && !(null + null));
    EXPECT_STREQ(static_cast<const wchar_t*>(null + _bstr_t(L"x")), L"x");
    EXPECT_FALSE(!_bstr_t(L""));
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x40000000u), nullptr);
}

TEST(EnvironmentBstr, NarrowTextIsUtf8) {
    const std::pair<const char*, std::wstring> rows[] = {{"a\xE2\x82", L"a\xFFFD\xFFFD"},
                                                         {"\xC0\x80", L"\xFFFD\xFFFD"},
                                                         {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"}};
    for (const auto& row : rows) EXPECT_EQ(std::wstring(_bstr_t(row.first)), row.second) << row.first;
    const wchar_t strange[] = {static_cast<wchar_t>(0xDC00), static_cast<wchar_t>(0x7FFFFFFF), 0};
    EXPECT_STREQ(_bstr_t(strange), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(EnvironmentBstr, ThreadsShareOneNarrowCopy) {
    for (int round = 0; round < 50; ++round) {
        const _bstr_t text(L"Inversed");
        std::vector<const char*> seen(4);
        std::vector<std::thread> threads;
        for (auto& slot : seen) threads.emplace_back([&slot, mine = text] { slot = mine; });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(seen, std::vector<const char*>(4, seen[0]));
        EXPECT_STREQ(seen[0], "Inversed");
    }
}

// An object with one interface, which counts how many of its kind live.
class Probe final : public IUnknown {
public:
    static inline std::atomic<int> s_Alive{0};
    static inline HRESULT s_QueryResult = E_NOINTERFACE;

    Probe() { ++s_Alive; }
    ~Probe() { --s_Alive; }
    HRESULT QueryInterface(const IID& iid, void** object) override {
        *object = nullptr;
        if (iid != com_iid<IUnknown>()) return s_QueryResult;
        *object = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++m_Owners; }
    ULONG Release() override {
        const ULONG left = --m_Owners;
        if (left == 0) delete this;
        return left;
    }

private:
    ULONG m_Owners = 1;
};

TEST(EnvironmentCom, CreationFailuresRaiseExceptAMissingInterface) {
    const struct {
        const char* name;
        HRESULT creation, query, raised;
    } rows[] = {
        {"created, interface missing", S_OK, E_NOINTERFACE, S_OK},
        {"created, query fails", S_OK, E_ACCESSDENIED, E_ACCESSDENIED},
        {"creation lacks the interface", E_NOINTERFACE, S_OK, S_OK},
        {"creation fails", E_FAIL, S_OK, E_FAIL},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Probe::s_QueryResult = row.query;
        const HRESULT creation = row.creation;
        refhost::ComFactory old =
            refhost::RegisterComClass(CLSID_PRM_Tree, [creation](const IID& iid, void** object) {
                if (FAILED(creation)) return creation;
                Probe* probe = new Probe;
                const HRESULT result = probe->QueryInterface(iid, object);
                probe->Release();
                return result;
            });
        const HRESULT raised = RaisedBy([] {
            PRM_ITreeRootPtr root(CLSID_PRM_Tree);
            EXPECT_TRUE(root == nullptr);
            EXPECT_EQ(RaisedBy([] { PRM_ITreeRootPtr()->SetAccess(0x80000000u); }), E_POINTER);
        });
        EXPECT_EQ(raised, row.raised);
        EXPECT_EQ(Probe::s_Alive, 0);
        refhost::RegisterComClass(CLSID_PRM_Tree, old);
    }
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(GUID{1, 2, 3, {}}, nullptr, CLSCTX_ALL, com_iid<IUnknown>(), &object),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
}

TEST(EnvironmentCom, ErrorsTellWhatTheInterfaceLeftBehind) {
    refhost::LoadConfigText(R"({"settings": {"a": 1}})", "test");
    PRM_ITreePtr tree(CLSID_PRM_Tree);
    refhost::FailConfigReads(E_ACCESSDENIED);
    try {
        tree->GetInt(L"a");
        ADD_FAILURE();
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), E_ACCESSDENIED);
        EXPECT_TRUE(std::strstr(error.Description(), "made to fail") != nullptr);
    }
    refhost::FailConfigReads(S_OK);
    refhost::FailConfigCreation(E_OUTOFMEMORY);
    EXPECT_EQ(RaisedBy([] { PRM_ITreePtr tree(CLSID_PRM_Tree); }), E_OUTOFMEMORY);
    refhost::FailConfigCreation(S_OK);
    refhost::UseBuiltinConfig();
}

}  // namespace
