#include <ZEV/ZEV_ParamValue.h>
#include <gtest/gtest.h>

#include <climits>
#include <sstream>

namespace {

using Holder = ZEV_ParamValue<int>;

struct State {
    int value, initial;
    bool initialized, hasPending, setBeforeInit;
};

void limit(Holder& h, int min, int max) { h.m_Min = min, h.m_Max = max, h.m_bHasLimits = true; }

/// Init, Set, Update and Reset by their first letters, each with its number, as in "U5 I100"; L limits to
/// 0..10.
void run(Holder& h, const char* program) {
    std::istringstream in(program);
    char operation;
    for (int n; in >> operation >> n;) {
        if (operation == 'I') h.Init(n);
        if (operation == 'S') h.Set(n);
        if (operation == 'U') h.Update(n);
        if (operation == 'R') h.Reset();
        if (operation == 'L') limit(h, 0, 10);
    }
}

struct Row {
    const char *name, *program;
    State expected;
};

const Row kRows[] = {
    {"differences are replayed on Init", "U5 U-2 I100", {103, 100, true, true, false}},
    {"Set wipes out what waits, later ones are kept", "U5 S7 U1 I100", {101, 100, true, true, true}},
    {"Init takes no account of Set", "S7 I100", {100, 100, true, false, true}},
    {"Init does not limit", "L0 I-5", {-5, -5, true, false, false}},
    {"Init with differences limits", "L0 U3 I-5", {3, -5, true, true, false}},
    {"every replayed step is limited", "L0 U-50 U4 I5", {4, 5, true, true, false}},
    {"a second Init replays nothing left", "U5 I1 I2", {2, 2, true, true, false}},
    {"Reset after Init", "U5 I100 R0", {100, 100, true, false, false}},
    {"Reset limits the initial value", "L0 I-5 R0", {0, -5, true, false, false}},
    {"Reset before Init only drops what waits", "S9 U5 R0 I1", {1, 1, true, true, true}},
    {"sums stop at the ends", "I2147483647 U2147483647", {INT_MAX, INT_MAX, true, false, false}},
};

void expect_state(const Holder& h, const State& expected) {
    EXPECT_EQ(h.m_Value, expected.value);
    EXPECT_EQ(h.m_Initial, expected.initial);
    EXPECT_EQ(h.m_bInitialized, expected.initialized);
    EXPECT_EQ(h.m_bHasPending, expected.hasPending);
    EXPECT_EQ(h.m_bSetBeforeInit, expected.setBeforeInit);
}

TEST(ParamValue, Sequences) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Holder h;
        run(h, row.program);
        expect_state(h, row.expected);
    }
}

TEST(ParamValue, FromAnother) {
    const struct {
        const char *name, *source, *program;
        bool absorb;
        const char* then;
        State expected;
    } rows[] = {
        {"an initialised one: its value only", "I50 S60", "U9", true, "", {60, 0, false, false, true}},
        {"a waiting one: Set, then differences", "S300 U5", "I1", true, "", {305, 1, true, false, false}},
        {"an untouched one: nothing", "", "S4", true, "", {4, 0, false, false, true}},
        {"assigned: two flags and a list stay", "I8", "U5 S1 U2", false, "I10", {12, 10, true, true, true}},
        {"assigned: a list without its flag", "U5", "", false, "I10", {10, 10, true, false, false}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Holder source, h;
        run(source, row.source), run(h, row.program);
        if (row.absorb) {
            h.Absorb(source);
        } else {
            h = source;
        }
        run(h, row.then);
        expect_state(h, row.expected);
    }
}

TEST(ParamValue, ResultsTellWhetherTheValueMoved) {
    Holder h;
    EXPECT_FALSE(h.Update(5));
    EXPECT_FALSE(h.Reset());
    EXPECT_FALSE(h.ReplayPending());
    EXPECT_TRUE(h.Set(7));
    EXPECT_FALSE(h.Set(7));
    h.Init(7);
    EXPECT_FALSE(h.Update(0));
    EXPECT_TRUE(h.Update(1));
    EXPECT_TRUE(h.Reset());
    limit(h, 0, 7);
    EXPECT_FALSE(h.Update(1));
}

TEST(ParamValue, BoolAddsByOr) {
    ZEV_ParamValue<bool> h;
    h.Update(true), h.Update(false), h.Init(false);
    EXPECT_TRUE(h.m_Value);
    EXPECT_FALSE(h.Update(false));
}

}  // namespace
