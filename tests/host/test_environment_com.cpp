#include <COM/com_ptr.h>
#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeRoot.h>
#include <gtest/gtest.h>
#include <refhost/Com.h>
#include <refhost/Config.h>

#include <cstring>
#include <string>
#include <utility>

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
#if !defined(_WIN32)
    EXPECT_TRUE(null == _bstr_t(L"") && null < _bstr_t(L"a") && !(null + null));
#endif
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
    const wchar_t strange[] = {static_cast<wchar_t>(0xDC00),
                               static_cast<wchar_t>(sizeof(wchar_t) == 2 ? 0xDBFF : 0x7FFFFFFF), 0};
    EXPECT_STREQ(_bstr_t(strange), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(EnvironmentCom, CreationFailuresRaiseExceptAMissingInterface) {
    const std::pair<HRESULT, HRESULT> rows[] = {
        {E_NOINTERFACE, S_OK}, {E_FAIL, E_FAIL}, {E_OUTOFMEMORY, E_OUTOFMEMORY}};
    for (const auto& [creation, raised] : rows) {
        refhost::FailConfigCreation(creation);
        EXPECT_EQ(RaisedBy([] { EXPECT_TRUE(PRM_ITreePtr(CLSID_PRM_Tree) == nullptr); }), raised);
    }
    refhost::FailConfigCreation(S_OK);
    EXPECT_EQ(RaisedBy([] { PRM_ITreeRootPtr()->SetAccess(0x80000000u); }), E_POINTER);
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
        EXPECT_TRUE(std::strstr(static_cast<const char*>(error.Description()), "made to fail") != nullptr);
    }
    refhost::FailConfigReads(S_OK);
    refhost::UseBuiltinConfig();
}

}  // namespace
