#include <MIR/Mir_LogFile.h>
#include <gtest/gtest.h>
#include <refhost/Log.h>
#include <stdlib.h>

#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <locale>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "support.h"

namespace {

using refhost::LogRecord;

struct Line {
    std::string function, text;
    int line, level;
};

class EnvironmentLog : public testing::Test {
protected:
    EnvironmentLog() {
        refhost::SetLogSink([this](const LogRecord& r) {
            m_Lines.push_back({r.function, r.text, r.line, r.level});
        });
        refhost::SetLogLevel(7);
    }
    ~EnvironmentLog() override {
        refhost::SetLogLevel(refhost::kLogOff);
        refhost::SetLogSink(nullptr);
    }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"  // the formats come from the tests below
    template <class... Arguments>
    std::string Formatted(const char* format, Arguments... arguments) {
        m_Lines.clear();
        if (MirGLog.StoreParams("src/zev/ZEV_Test", "Formatted", 1, 5, 385, 1) != 0) {
            MirGLog.Log(format, arguments...);
        }
        return m_Lines.size() == 1 ? m_Lines[0].text : "<not one line>";
    }

#pragma GCC diagnostic pop

    std::vector<Line> m_Lines;
    const char* m_pNoText = nullptr;
    const wchar_t* m_pNoWideText = nullptr;
};

// Decimal points and groups as some countries write them.
class CommaPunctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(EnvironmentLog, FormatsWhateverTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "nb_NO.UTF-8"}) {
        if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
    EXPECT_EQ(Formatted("Msg w=%d,c=%d,s=%f,i=%d\n", 400, -1234567, 1.5, 0),
              "Msg w=400,c=-1234567,s=1.500000,i=0\n");
    EXPECT_EQ(Formatted("%ld|%lld|%zu|%hhd|%hd", -5L, INT64_MIN, sizeof(int), 300, 70000),
              "-5|-9223372036854775808|4|44|4464");
    EXPECT_EQ(Formatted("%.2f|%8.3f|%-8.1f|%f|%e|%g", 2.675, -1.5, 1.25, 1e20, 12345.678, 0.0001),
              "2.67|  -1.500|1.2     |100000000000000000000.000000|1.234568e+04|0.0001");
    EXPECT_EQ(Formatted("%f|%f|%06.1f|%F", NAN, -INFINITY, INFINITY, INFINITY), "nan|-inf|   inf|INF");
    EXPECT_EQ(Formatted("%6s|%.2s|%s|%ls", "abc", "abc", m_pNoText, m_pNoWideText),
              "   abc|ab|(null)|(null)");
    EXPECT_EQ(Formatted("%ls", L"\x00E9\x65E5\U0001F600"), "\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80");
    EXPECT_EQ(Formatted("%.1ls|%c|%p", L"\x00E9z", 'c', reinterpret_cast<void*>(0xAB)), "\xC3\xA9|c|0xab");
    EXPECT_EQ(Formatted("%d %k %d", 1, 2, 3), "1 %k %d") << "an unknown conversion ends the formatting";
    EXPECT_EQ(Formatted("%999999999d", 1).size(), 512u);
    EXPECT_EQ(Formatted("%s", std::string(100000, 'x').c_str()).size(), 100000u);
    std::setlocale(LC_ALL, "C");
    std::locale::global(before);
}

TEST_F(EnvironmentLog, ArgumentsMayLogThemselves) {
    const auto argument = [](int depth) {
        if (MirGLog.StoreParams("f", "inner", depth, 6, 385, 1) != 0) MirGLog.Log("%d\n", depth);
        return depth;
    };
    if (MirGLog.StoreParams("f", "outer", 99, 5, 385, 1) != 0)
        MirGLog.Log("%d %d\n", argument(1), argument(2));
    ASSERT_EQ(m_Lines.size(), 3u);
    EXPECT_EQ(m_Lines[0].function, "inner");
    EXPECT_EQ(m_Lines[2].function, "outer");
    EXPECT_EQ(m_Lines[2].text, "1 2\n");
    // Lines whose arguments threw do not pile up.
    for (int i = 0; i < 100; ++i) MirGLog.StoreParams("f", "lost", i, 5, 385, 1);
    EXPECT_EQ(Formatted("still here"), "still here");
    for (int i = 0; i < 8; ++i) MirGLog.Log("drain");
}

TEST_F(EnvironmentLog, LinesOfThreadsKeepTheirOrigin) {
    std::vector<std::thread> threads;
    for (int t = 1; t <= 4; ++t) {
        threads.emplace_back([name = "thread" + std::to_string(t), t] {
            for (int i = 0; i < 500; ++i) {
                if (MirGLog.StoreParams("f", name.c_str(), i, 2 + t, 385, 1) == 0) continue;
                std::this_thread::yield();
                MirGLog.Log("%s %d", name.c_str(), i);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(m_Lines.size(), 2000u);
    std::map<std::string, int> next;
    for (const Line& line : m_Lines) {
        const int expected = next[line.function]++;
        ASSERT_EQ(line.line, expected);
        ASSERT_EQ(line.text, line.function + " " + std::to_string(expected));
        ASSERT_EQ("thread" + std::to_string(line.level - 2), line.function);
    }
}

// Runs in a process of its own, since the variable is read once.
TEST(EnvironmentLogDeathTest, TheEnvironmentSwitchesOn) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const std::string file = testing::TempDir() + "zev_environment.log";
    const auto log = [] {
        for (const int level : {3, 4}) {
            if (MirGLog.StoreParams("src/zev/ZEV_X", "ZEV_X::Do", 12, level, 385, 1) != 0) {
                MirGLog.Log("caf%ls %d\n", L"\x00E9", level);
            }
        }
        std::exit(0);
    };
    const std::string to = "3:" + file;
    EXPECT_EXIT((support::SetVariable("ZEV_LOG", to), log()), testing::ExitedWithCode(0), "^$");
    std::ifstream in(file);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("L3 M385 src/zev/ZEV_X:12 ZEV_X::Do: caf\xC3\xA9 3\n"), std::string::npos) << text;
    EXPECT_EQ(text.find(" 4\n"), std::string::npos);
    std::remove(file.c_str());

    EXPECT_EXIT((support::SetVariable("ZEV_LOG", "loud"), log()), testing::ExitedWithCode(0),
                "nothing is logged");
}

}  // namespace
