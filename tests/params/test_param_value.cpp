#include <ZEV/ZEV_ParamValue.h>
#include <gtest/gtest.h>

#include <climits>
#include <functional>

namespace {

using Holder = ZEV_ParamValue<int>;

struct State {
    int value, initial;
    bool initialized, hasPending, setBeforeInit;
};

struct Row {
    const char* name;
    std::function<void(Holder&)> actions;
    State expected;
};

void limit(Holder& h, int min, int max) {
    h.m_Min = min;
    h.m_Max = max;
    h.m_bHasLimits = true;
}

const Row kRows[] = {
    {"differences are replayed on Init",
     [](Holder& h) { h.Update(5), h.Update(-2), h.Init(100); },
     {103, 100, true, true, false}},
    {"Set wipes out what waits, later ones are kept",
     [](Holder& h) { h.Update(5), h.Set(7), h.Update(1), h.Init(100); },
     {101, 100, true, true, true}},
    {"Init takes no account of Set", [](Holder& h) { h.Set(7), h.Init(100); }, {100, 100, true, false, true}},
    {"Init does not limit", [](Holder& h) { limit(h, 0, 10), h.Init(-5); }, {-5, -5, true, false, false}},
    {"Init with differences limits",
     [](Holder& h) { limit(h, 0, 10), h.Update(3), h.Init(-5); },
     {3, -5, true, true, false}},
    {"every replayed step is limited",
     [](Holder& h) { limit(h, 0, 10), h.Update(-50), h.Update(4), h.Init(5); },
     {4, 5, true, true, false}},
    {"a second Init replays nothing left",
     [](Holder& h) { h.Update(5), h.Init(1), h.Init(2); },
     {2, 2, true, true, false}},
    {"Reset after Init",
     [](Holder& h) { h.Update(5), h.Init(100), h.Reset(); },
     {100, 100, true, false, false}},
    {"Reset limits the initial value",
     [](Holder& h) { limit(h, 0, 10), h.Init(-5), h.Reset(); },
     {0, -5, true, false, false}},
    {"Reset before Init only drops what waits",
     [](Holder& h) { h.Set(9), h.Update(5), h.Reset(), h.Init(1); },
     {1, 1, true, true, true}},
    {"sums stop at the ends",
     [](Holder& h) { h.Init(INT_MAX), h.Update(INT_MAX); },
     {INT_MAX, INT_MAX, true, false, false}},
    {"Absorb of an initialised source takes the value only",
     [](Holder& h) {
         Holder s;
         s.Init(50), s.Set(60), h.Update(9), h.Absorb(s);
     },
     {60, 0, false, false, true}},
    {"Absorb of a waiting source: its Set, then its differences",
     [](Holder& h) {
         Holder s;
         s.Set(300), s.Update(5), h.Init(1), h.Absorb(s);
     },
     {305, 1, true, false, false}},
    {"Absorb of an untouched source does nothing",
     [](Holder& h) {
         Holder s;
         h.Set(4), h.Absorb(s);
     },
     {4, 0, false, false, true}},
    {"assignment leaves two flags and a list alone",
     [](Holder& h) {
         Holder s;
         s.Init(8), h.Update(5), h.Set(1), h.Update(2), h = s, h.Init(10);
     },
     {12, 10, true, true, true}},
    {"assignment brings a list but not its flag",
     [](Holder& h) {
         Holder s;
         s.Update(5), h = s, h.Init(10);
     },
     {10, 10, true, false, false}},
};

TEST(ParamValue, Sequences) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Holder h;
        row.actions(h);
        EXPECT_EQ(h.m_Value, row.expected.value);
        EXPECT_EQ(h.m_Initial, row.expected.initial);
        EXPECT_EQ(h.m_bInitialized, row.expected.initialized);
        EXPECT_EQ(h.m_bHasPending, row.expected.hasPending);
        EXPECT_EQ(h.m_bSetBeforeInit, row.expected.setBeforeInit);
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
