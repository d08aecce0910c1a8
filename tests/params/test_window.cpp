#include <ZEV/ZEV_Params.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <functional>

namespace {

using Window = std::array<int, 6>;  // centre, width, ends, ends of the scale
Window of(ZEV_Params& p) {
    const int low = p.GetWindowMinScale(), high = p.GetWindowMaxScale();
    return {p.GetCenter(), p.GetWidth(), p.GetWindowMin(), p.GetWindowMax(), low, high};
}

constexpr int kLow = INT_MIN, kHigh = INT_MAX;
using P = ZEV_Params;
struct Step {
    void (P::*operation)(int);
    int value;
};
using Steps = std::vector<Step>;
Steps init(int center, int width) { return {{&P::InitCenter, center}, {&P::InitWidth, width}}; }
const auto kMin = &P::SetWindowMin, kMax = &P::SetWindowMax, kMoveMin = &P::UpdateWindowMin;
const auto kMoveMax = &P::UpdateWindowMax, kCenter = &P::InitCenter, kWidth = &P::InitWidth;
Steps operator+(Steps a, const Step& b) { return a.push_back(b), a; }

struct Row {
    const char* name;
    Steps actions;
    Step last;
    int marks;  ///< how far the table counter moves in `last`
    Window expected;
};

const Row kRows[] = {
    {"odd width: ends one less apart", init(50, 101), {kMin, 0}, 1, {50, 100, 0, 100, 0, 100}},
    {"present centre marks nothing", init(50, 100), {&P::SetCenter, 50}, 0, {50, 100, 0, 100, 0, 100}},
    {"negative width", init(50, 100), {&P::SetWidth, -10}, 1, {50, 0, 50, 50, 0, 100}},
    {"crossed ends stay crossed", init(50, 100), {kMin, 200}, 1, {150, 0, 200, 100, 0, 100}},
    {"crossed from above", init(50, 100), {kMax, -100}, 1, {-50, 0, 0, -100, 0, 100}},
    {"upper end stops at the lower", init(50, 100), {kMoveMax, -200}, 1, {0, 0, 0, 0, 0, 100}},
    {"a lower end set widens it", init(50, 100), {kMin, -20}, 1, {40, 120, -20, 100, -20, 100}},
    {"lower end widens the scale", init(50, 100), {kMoveMin, -20}, 1, {40, 120, -20, 100, -20, 100}},
    {"upper end widens the scale", init(50, 100), {kMoveMax, 20}, 1, {60, 120, 0, 120, 0, 120}},
    {"lower end stops at the upper", init(50, 100), {kMoveMin, 300}, 1, {100, 0, 100, 100, 0, 100}},
    {"follows Init's argument",
     {{kWidth, 40}, {&P::UpdateCenter, 10}},
     {kCenter, 100},
     1,
     {110, 40, 80, 120, 80, 120}},
    {"halves Init's argument", {{kCenter, 0}, {&P::UpdateWidth, 3}}, {kWidth, -10}, 1, {0, 3, 5, -5, 5, -5}},
    {"InitWidth keeps a negative width", {{kCenter, 0}}, {kWidth, -5}, 1, {0, -5, 2, -2, 2, -2}},
    {"Set before Init", {}, {&P::SetCenter, 500}, 1, {500, 0, 500, 500, 0, 500}},
    {"an early difference moves nothing", {}, {&P::UpdateCenter, 5}, 0, {0, 0, 0, 0, 0, 0}},
    {"scale stays wide", init(9, 4) + Step{&P::SetWidth, 8}, {&P::SetWidth, 2}, 1, {9, 2, 8, 10, 5, 13}},
    {"width stops at 0", init(10, 400), {&P::UpdateWidth, -1000}, 1, {10, 0, 10, 10, -190, 210}},
    {"ends saturate",
     init(kHigh, 100),
     {&P::SetWidth, kHigh},
     1,
     {kHigh, kHigh, 1 << 30, kHigh, 1 << 30, kHigh}},
    {"widest", init(0, 0) + Step{kMin, kLow}, {kMax, kHigh}, 1, {-1, kHigh, kLow, kHigh, kLow, kHigh}},
};

TEST(Window, Operations) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        ZEV_Params p;
        for (const Step& step : row.actions) (p.*step.operation)(step.value);
        const int before = p.GetTableCC();
        (p.*row.last.operation)(row.last.value);
        EXPECT_EQ(of(p), row.expected);
        EXPECT_EQ(p.GetTableCC() - before, row.marks);
    }
    // Reset undoes the widening of the scale.
    ZEV_Params p;
    p.InitCenter(1000), p.InitWidth(400), p.SetWidth(800), p.Reset();
    EXPECT_EQ(of(p), (Window{1000, 400, 800, 1200, 800, 1200}));
}

TEST(Window, PlainSettersThatMarkAndThoseThatDoNot) {
    const struct {
        std::function<void(ZEV_Params&)> action;
        int marks;
    } rows[] = {{[](ZEV_Params& p) { p.SetMinMaxScaleMode(p.GetMinMaxScaleMode()); }, 1},
                {[](ZEV_Params& p) { p.SetRescaleIntercept(0); }, 1},
                {[](ZEV_Params& p) { p.SetRescaleSlope(1.0f); }, 1},
                {[](ZEV_Params& p) { p.ResetExceptRaster(false, false); }, 1},
                {[](ZEV_Params& p) { p.SetUseRescale(false), p.SetPixelPaddingValues(1, 2); }, 0},
                {[](ZEV_Params& p) { p.SetUsePadding(true), p.SetNegate(true), p.SetHighlight(3, 4); }, 0}};
    for (const auto& row : rows) {
        ZEV_Params p;
        const int before = p.GetTableCC();
        row.action(p);
        EXPECT_EQ(p.GetTableCC() - before, row.marks) << &row - rows;
    }
}

TEST(Window, EitherHalfOfTheRescaleInitialisesIt) {
    ZEV_Params slope, intercept;
    EXPECT_FALSE(slope.IsRescaleInitialized());
    slope.SetRescaleSlope(2.0f), intercept.SetRescaleIntercept(3);
    EXPECT_TRUE(slope.IsRescaleInitialized() && intercept.IsRescaleInitialized());
}

TEST(Window, OriginalValuesOfTheSavedPresentationMarkOnChange) {
    ZEV_Params p;
    const int before = p.GetTableCC();
    for (const int width : {7, 7, 8, 9}) p.SetOriginalWidthFromDP(width);
    EXPECT_EQ(p.GetTableCC(), before + 3);
}

TEST(Region, ActiveCountsOnChangeOnly) {
    ZEV_Params p;
    const int mask = p.GetMaskCC(), table = p.GetTableCC(), count = p.GetCount();
    p.SetActive(true);
    EXPECT_EQ(p.GetCount(), count);
    p.SetActive(false);
    EXPECT_EQ(p.GetMaskCC(), mask + 1);
    EXPECT_EQ(p.GetCount(), count + 1);
    EXPECT_EQ(p.GetTableCC(), table);
}

TEST(Gamma, ValidRange) {
    const std::pair<float, bool> rows[] = {{0.1f, true},      {0.096f, true},
                                           {0.09f, false},    {5.0f, true},
                                           {5.004f, true},    {5.01f, false},
                                           {NAN, false},      {-1.0f, false},
                                           {INFINITY, false}, {ZEV_Params::kGammaDisabled, false}};
    for (const auto& [gamma, valid] : rows) {
        SCOPED_TRACE(gamma);
        EXPECT_EQ(ZEV_Params::IsValidGamma(gamma), valid);
        ZEV_Params p;
        const int before = p.GetTableCC();
        p.SetGamma(gamma);
        EXPECT_EQ(p.GetGamma(), valid ? gamma : 1.0f);
        EXPECT_EQ(p.GetTableCC() - before, valid ? 1 : 0);
    }
    EXPECT_TRUE(ZEV_Params::IsGamma1LargerThanGamma2(2.0f, 2.0f));
    EXPECT_TRUE(ZEV_Params::IsGamma1SmallerThanGamma2(2.0f, 2.0f));
}

TEST(Gamma, StepsEnablingAndReset) {
    ZEV_Params p;
    EXPECT_TRUE(p.GammaIsEqualTo(1.004f));
    EXPECT_FALSE(p.GammaIsEqualTo(1.006f));
    p.UpdateGamma(4.5f);
    EXPECT_EQ(p.GetGamma(), 1.0f);
    p.UpdateGamma(3.9f);
    EXPECT_EQ(p.GetGamma(), 1.0f + 3.9f);
    EXPECT_TRUE(p.GammaExistAndNotNaturalValue());
    p.EnableGamma(false);
    EXPECT_EQ(p.GetGamma(), 1.0f + 3.9f);
    p.Reset();
    EXPECT_EQ(p.GetGamma(), 1.0f + 3.9f);
    const int before = p.GetTableCC();
    p.EnableGamma(true);
    EXPECT_EQ(p.GetGamma(), 1.0f);
    EXPECT_EQ(p.GetTableCC(), before);
    p.InitGamma(ZEV_Params::kGammaDisabled);
    EXPECT_TRUE(p.IsGammaDisabled());
    EXPECT_FALSE(p.GammaExistAndNotNaturalValue());
}

TEST(Inversion, LayersAndCounter) {
    ZEV_Params p;
    const int start = p.GetInverseChangeCounter().GetCount();
    for (int i = 0; i < 2; ++i) {
        p.SetInverse(true);
        EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 1);
    }
    EXPECT_FALSE(p.IsInitialized());
    p.SetPhotometricInverse(true);
    EXPECT_FALSE(p.GetVisibleInverse());
    p.InitInverse(false);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 1);
    EXPECT_TRUE(p.GetVisibleInverse());
    p.InitCenter(1), p.InitWidth(1);
    EXPECT_TRUE(p.IsInitialized());
    p.ResetExceptRaster(false, false);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 2);
}

}  // namespace
