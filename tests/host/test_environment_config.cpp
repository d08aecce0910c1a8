#include <PRM/PRM_Classes.h>
#include <PRM/PRM_ITree.h>
#include <PRM/PRM_ITreeIterator.h>
#include <gtest/gtest.h>
#include <refhost/Config.h>
#include <stdlib.h>

#include <climits>
#include <cstdio>
#include <fstream>
#include <string>

#include "support.h"

namespace {

class EnvironmentConfig : public testing::Test {
protected:
    ~EnvironmentConfig() override { refhost::UseBuiltinConfig(); }

    static PRM_ITreePtr Settings(const std::string& settings) {
        refhost::LoadConfigText("{\"settings\": " + settings + "}", "test");
        return PRM_ITreePtr(CLSID_PRM_Tree);
    }
};

TEST_F(EnvironmentConfig, ValuesOfEveryTypeReadAsTold) {
    const struct {
        const char* value;
        int number;
        double real;
        const wchar_t* text;
    } rows[] = {{"-12.9", -12, -12.9, L""},
                {"2147483648", INT_MAX, 2147483648.0, L""},
                {"-99999999999999999999", INT_MIN, -1e20, L""},
                {"18446744073709551615", INT_MAX, 18446744073709551615.0, L""},
                {"true", 1, 1.0, L""},
                {"\"raw\"", -1, 7.5, L"raw"},
                {"\"\"", -1, 7.5, L""},
                {"\"\\u00e9\\ud83d\\ude00\"", -1, 7.5, L"\x00E9\U0001F600"},
                {"null", -1, 7.5, L""},
                {"[1, 2]", -1, 7.5, L""},
                {"{}", -1, 7.5, L""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        const PRM_ITreePtr tree = Settings("{\"a\": {\"key\": " + std::string(row.value) + "}}");
        EXPECT_EQ(tree->GetInt(L"a\\key"), row.number);
        EXPECT_EQ(tree->GetDoubleDefault(L"a\\key", 7.5), row.real);
        EXPECT_STREQ(tree->GetString(L"a\\key"), row.text);
        const bool isNumber = row.real != 7.5;
        EXPECT_EQ(tree->GetIntDefault(L"a\\key", 77), isNumber ? row.number : 77);
        const bool isText = *row.value == '"';
        EXPECT_STREQ(tree->GetStringDefault(L"a\\key", L"other"), isText ? row.text : L"other");
        EXPECT_EQ(tree->GetNumOfKeys(L"a"), isNumber || isText ? 1 : 0);
    }
}

TEST_F(EnvironmentConfig, PathsAreCaseSensitiveStepByStep) {
    const PRM_ITreePtr tree = Settings(R"({
        "top": 1, "GRA": {"k": 2}, "gra": {"k": 3, "deep": {"k": 4}},
        "run": [{"k": 5}, {"k": 6}], "run2": 9, "a\\b": {"k": 10}})");
    const std::pair<const wchar_t*, int> rows[] = {
        {L"top", 1},     {L"gra\\deep\\k", 4},  {L"run\\k", 5}, {L"gra\\\\deep\\k", 4},
        {L"Gra\\k", -1}, {L"gra\\none\\k", -1}, {L"", -1},      {L"a\\b\\k", -1},
        {L"top\\k", -1}};
    for (const auto& row : rows)
        EXPECT_EQ(tree->GetInt(row.first), row.second) << static_cast<const char*>(_bstr_t(row.first));
    EXPECT_EQ(tree->GetInt(_bstr_t()), -1);

    EXPECT_EQ(tree->GetSubTree(L"gra\\deep")->GetInt(L"k"), 4);
    EXPECT_TRUE(tree->GetSubTree(L"top") == nullptr);
}

TEST_F(EnvironmentConfig, OrderIsTheFilesAndRepeatedNamesAreRuns) {
    const PRM_ITreePtr tree = Settings(R"({
        "z": "1", "preset": {"n": 1}, "b": "2", "other": {"n": 2}, "skipped": null, "a": 3,
        "preset": [{"n": 3}, 4, "x", null, [{"n": 99}], {"n": 5}], "b": "4"})");  // b counts once, with its
                                                                                  // last value
    const wchar_t* const keys[][2] = {{L"z", L"1"}, {L"b", L"4"}, {L"a", L""}, {L"", L""}};
    EXPECT_EQ(tree->GetNumOfKeys(L""), 3);
    for (int i = 0; i < 4; ++i) {
        EXPECT_STREQ(tree->GetIthKeyName(L"", i), keys[i][0]);
        EXPECT_STREQ(tree->GetIthKeyValue(L"", i), keys[i][1]);
    }

    const int order[] = {1, 2, 3, 5};
    EXPECT_EQ(tree->GetNumOfSubTrees(L""), 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(tree->GetIthSubTree(L"", i)->GetInt(L"n"), order[i]);

    std::string walked;
    PRM_ITreeIteratorPtr it(CLSID_PRM_TreeIterator);
    EXPECT_EQ(it->IsValid(), 0);
    for (it->Start(tree, L"preset"); it->IsValid() != 0; it->Next()) {
        walked += std::to_string(it->Current()->GetInt(L"n")) + " ";
    }
    EXPECT_EQ(walked, "1 3 5 ");
    EXPECT_THROW(it->Start(nullptr, L"preset"), _com_error);
}

TEST_F(EnvironmentConfig, ErrorsNameTheirPlace) {
    const std::string deep = "{\n" + std::string(200, ' ') + "\"a\":" + std::string(100, '[');
    const struct {
        const char* name;
        std::string text;
        std::size_t line, column;
        const char* reason;
    } rows[] = {
        {"empty", "", 1, 1, "unexpected end of input"},
        {"missing value", "{\n  \"a\": 1,\n  \"b\": }\n", 3, 8, "unexpected '}'"},
        {"end in the middle", "{\"settings\":\n{", 2, 2, "unexpected end of input"},
        {"broken UTF-8", "{\"a\": \"\xFF\"}", 1, 8, "UTF-8"},
        {"too deep", deep, 2, 200 + 4 + 64, "nested deeper than 64 levels"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        try {
            refhost::LoadConfigText(row.text, "f.json");
            ADD_FAILURE() << "was accepted";
        } catch (const refhost::ConfigError& error) {
            EXPECT_EQ(error.Line(), row.line);
            EXPECT_EQ(error.Column(), row.column);
            EXPECT_NE(error.Reason().find(row.reason), std::string::npos) << error.what();
            EXPECT_EQ(std::string(error.what()).rfind("f.json:" + std::to_string(row.line) + ":", 0), 0u);
            EXPECT_LT(error.Reason().size(), 300u);
        }
    }
    EXPECT_THROW(refhost::LoadConfigFile("/"), refhost::ConfigError);
    EXPECT_THROW(refhost::LoadConfigFile("/dev/zero"), refhost::ConfigError);
}

TEST_F(EnvironmentConfig, ARequiredTreeIsThereOrNamedWithItsFile) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"trees": {"a\\b": {"procedure": [{}]}}})", ""},
        {R"({"settings": {}})", "is missing"},
        {R"({"trees": {"a\\b": "procedure"}})", "is not an object"},
        {R"({"trees": {"a\\b": {"Modality": "CT"}}})", "is empty"},
        {R"({"trees": {"a\\b": [{"c": {}}, {"c": {}}]}})", "is defined more than once"},
    };
    for (const auto& [text, fault] : rows) {
        SCOPED_TRACE(text);
        refhost::LoadConfigText(text, "f.json");
        std::string what;
        try {
            refhost::RequireConfigTree("a\\b");
        } catch (const refhost::ConfigError& error) {
            what = error.what();
        }
        EXPECT_EQ(what, *fault == 0 ? "" : std::string("f.json: the tree \"a\\b\" ") + fault);
    }
}

TEST_F(EnvironmentConfig, NoBrokenTextIsFatal) {
    const std::string good =
        R"({"settings": {"a": [{"k": -1.5e3}, {"t": "\u00e9"}], "b": true}, /* c */ "trees": {}})";
    for (std::size_t i = 0; i < good.size(); ++i) {
        const std::string cut = good.substr(0, i);
        EXPECT_THROW(refhost::LoadConfigText(cut, "cut"), refhost::ConfigError) << cut;
        for (const char byte : {'\0', '"', '}', ']', '{', '[', '\\', '\xFF', '9'}) {
            std::string changed = good;
            changed[i] = byte;
            try {
                refhost::LoadConfigText(changed, "changed");
                PRM_ITreePtr(CLSID_PRM_Tree)->GetInt(L"a\\k");
            } catch (const refhost::ConfigError&) {
            }
        }
    }
}

// Each runs in a process of its own, since the start is read once.
TEST(EnvironmentConfigDeathTest, StartFollowsTheEnvironment) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const std::string good = testing::TempDir() + "zev_start_good.json";
    const std::string bad = testing::TempDir() + "zev_start_bad.json";
    std::ofstream(good) << R"({"settings": {"k": 5}})";
    std::ofstream(bad) << "{\n  \"settings\" 5}";
    EXPECT_EXIT(
        {
            support::SetVariable("ZEV_CONFIG", good);
            std::exit(PRM_ITreePtr(CLSID_PRM_Tree)->GetInt(L"k"));
        },
        testing::ExitedWithCode(5), "");
    EXPECT_EXIT(
        {
            support::SetVariable("ZEV_CONFIG", bad);
            EXPECT_THROW(PRM_ITreePtr{CLSID_PRM_Tree}, _com_error);
            try {
                refhost::EnsureConfig();
            } catch (const refhost::ConfigError& error) {
                std::fprintf(stderr, "%s\n", error.what());
                std::exit(testing::Test::HasFailure() ? 1 : 2);
            }
            std::exit(0);
        },
        testing::ExitedWithCode(2), "zev_start_bad.json:2:14: ");
    std::remove(good.c_str());
    std::remove(bad.c_str());
}

}  // namespace
