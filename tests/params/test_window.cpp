#include <ZEV/ZEV_Params.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>

namespace {

struct Window {
    int center, width, min, max, minScale, maxScale;
};

bool operator==(const Window& a, const Window& b) {
    return a.center == b.center && a.width == b.width && a.min == b.min && a.max == b.max &&
           a.minScale == b.minScale && a.maxScale == b.maxScale;
}
std::ostream& operator<<(std::ostream& out, const Window& w) {
    return out << "c " << w.center << " w " << w.width << " [" << w.min << ", " << w.max << "] scale ["
               << w.minScale << ", " << w.maxScale << "]";
}
Window of(ZEV_Params& p) {
    return {p.GetCenter(),    p.GetWidth(),          p.GetWindowMin(),
            p.GetWindowMax(), p.GetWindowMinScale(), p.GetWindowMaxScale()};
}

using P = ZEV_Params;
void init(P& p, int center, int width) { p.InitCenter(center), p.InitWidth(width); }

struct Row {
    const char* name;
    std::function<void(P&)> actions;
    Window expected;
    int marks;  ///< how far the table counter moves in `last`
    std::function<void(P&)> last;
};

const Row kRows[] = {
    {"odd width: ends one less apart",
     [](P& p) { init(p, 50, 101); },
     {50, 100, 0, 100, 0, 100},
     1,
     [](P& p) { p.SetWindowMin(0); }},
    {"present centre marks nothing",
     [](P& p) { init(p, 50, 100); },
     {50, 100, 0, 100, 0, 100},
     0,
     [](P& p) { p.SetCenter(50); }},
    {"negative width",
     [](P& p) { init(p, 50, 100); },
     {50, 0, 50, 50, 0, 100},
     1,
     [](P& p) { p.SetWidth(-10); }},
    {"crossed ends stay crossed",
     [](P& p) { init(p, 50, 100); },
     {150, 0, 200, 100, 0, 100},
     1,
     [](P& p) { p.SetWindowMin(200); }},
    {"crossed from above",
     [](P& p) { init(p, 50, 100); },
     {-50, 0, 0, -100, 0, 100},
     1,
     [](P& p) { p.SetWindowMax(-100); }},
    {"upper end stops at the lower",
     [](P& p) { init(p, 50, 100); },
     {0, 0, 0, 0, 0, 100},
     1,
     [](P& p) { p.UpdateWindowMax(-200); }},
    {"lower end stops at the upper",
     [](P& p) { init(p, 50, 100); },
     {100, 0, 100, 100, 0, 100},
     1,
     [](P& p) { p.UpdateWindowMin(300); }},
    {"lower end moves",
     [](P& p) { init(p, 50, 100); },
     {30, 140, -40, 100, -40, 100},
     1,
     [](P& p) { p.UpdateWindowMin(-40); }},
    {"window follows the argument of Init, not the replay",
     [](P& p) { p.InitWidth(40), p.UpdateCenter(10); },
     {110, 40, 80, 120, 80, 120},
     1,
     [](P& p) { p.InitCenter(100); }},
    {"InitWidth halves its argument, not the limited width",
     [](P& p) { p.InitCenter(0), p.UpdateWidth(3); },
     {0, 3, 5, -5, 5, -5},
     1,
     [](P& p) { p.InitWidth(-10); }},
    {"InitWidth keeps a negative width",
     [](P& p) { p.InitCenter(0); },
     {0, -5, 2, -2, 2, -2},
     1,
     [](P& p) { p.InitWidth(-5); }},
    {"Set before Init", [](P&) {}, {500, 0, 500, 500, 0, 500}, 1, [](P& p) { p.SetCenter(500); }},
    {"an early difference moves nothing", [](P&) {}, {0, 0, 0, 0, 0, 0}, 0, [](P& p) { p.UpdateCenter(5); }},
    {"the scale widens and stays",
     [](P& p) { init(p, 1000, 400), p.SetWidth(800); },
     {1000, 100, 950, 1050, 600, 1400},
     1,
     [](P& p) { p.SetWidth(100); }},
    {"reset brings the scale back",
     [](P& p) { init(p, 1000, 400), p.SetWidth(800); },
     {1000, 400, 800, 1200, 800, 1200},
     1,
     [](P& p) { p.Reset(); }},
    {"width stops at 0",
     [](P& p) { init(p, 10, 400); },
     {10, 0, 10, 10, -190, 210},
     1,
     [](P& p) { p.UpdateWidth(-1000); }},
    {"ends saturate",
     [](P& p) { init(p, INT_MAX, 100); },
     {INT_MAX, INT_MAX, 1 << 30, INT_MAX, 1 << 30, INT_MAX},
     1,
     [](P& p) { p.SetWidth(INT_MAX); }},
    {"the widest window there is",
     [](P& p) { init(p, 0, 0), p.SetWindowMin(INT_MIN); },
     {-1, INT_MAX, INT_MIN, INT_MAX, INT_MIN, INT_MAX},
     1,
     [](P& p) { p.SetWindowMax(INT_MAX); }},
    {"an end that stops over the whole range",
     [](P& p) { init(p, 0, 0), p.SetWindowMin(INT_MIN), p.SetWindowMax(INT_MAX), p.SetWindowMin(INT_MAX); },
     {INT_MAX, 0, INT_MAX, INT_MAX, INT_MIN, INT_MAX},
     1,
     [](P& p) { p.UpdateWindowMax(INT_MIN); }},
    {"SetMinMax does nothing",
     [](P& p) { init(p, 50, 100); },
     {50, 100, 0, 100, 0, 100},
     0,
     [](P& p) { p.SetMinMax(1, 2); }},
};

TEST(Window, Operations) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        ZEV_Params p;
        row.actions(p);
        const int before = p.GetTableCC();
        const int count = p.GetCount();
        row.last(p);
        EXPECT_EQ(of(p), row.expected);
        EXPECT_EQ(p.GetTableCC() - before, row.marks);
        EXPECT_EQ(p.GetCount() - count, row.marks);
    }
}

TEST(Window, PlainSettersThatMarkAndThoseThatDoNot) {
    ZEV_Params p;
    EXPECT_FALSE(p.IsRescaleInitialized());
    const auto marks = [&p](const std::function<void()>& action) {
        const int before = p.GetTableCC();
        action();
        return p.GetTableCC() - before;
    };
    EXPECT_EQ(marks([&] { p.SetMinMaxScaleMode(p.GetMinMaxScaleMode()); }), 1);
    EXPECT_EQ(marks([&] { p.SetRescaleIntercept(0); }), 1);
    EXPECT_TRUE(p.IsRescaleInitialized());
    EXPECT_EQ(marks([&] { p.SetRescaleSlope(1.0f); }), 1);
    EXPECT_EQ(marks([&] { p.SetUseRescale(false), p.SetPixelPaddingValues(1, 2), p.SetUsePadding(true); }),
              0);
    EXPECT_EQ(marks([&] { p.SetNegate(true), p.SetHighlight(3, 4); }), 0);
    int a = 0, b = 0;
    EXPECT_TRUE(p.GetHighlight(&a, &b));
    EXPECT_EQ(a * 10 + b, 34);
}

TEST(Window, OriginalValuesOfTheSavedPresentation) {
    ZEV_Params p;
    EXPECT_FALSE(p.IsOriginalParamFromDP());
    p.SetOriginalCenterFromDP(0);
    EXPECT_FALSE(p.IsOriginalParamFromDP());
    p.SetOriginalWidthFromDP(7);
    EXPECT_TRUE(p.IsOriginalParamFromDP());
    const int before = p.GetTableCC();
    p.SetOriginalWidthFromDP(7);
    EXPECT_EQ(p.GetTableCC(), before);
    p.SetOriginalWidthFromDP(8);
    EXPECT_EQ(p.GetTableCC(), before + 1);
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

struct GammaRow {
    const char* name;
    float gamma;
    bool valid;
};

TEST(Gamma, ValidRange) {
    const GammaRow rows[] = {{"lowest", 0.1f, true},
                             {"within the band", 0.096f, true},
                             {"below", 0.09f, false},
                             {"highest", 5.0f, true},
                             {"within above", 5.004f, true},
                             {"above", 5.01f, false},
                             {"NaN", NAN, false},
                             {"infinite", INFINITY, false},
                             {"negative", -1.0f, false},
                             {"disabled marker", ZEV_Params::kGammaDisabled, false}};
    for (const GammaRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ZEV_Params::IsValidGamma(row.gamma), row.valid);
        ZEV_Params p;
        const int before = p.GetTableCC();
        p.SetGamma(row.gamma);
        EXPECT_EQ(p.GetGamma(), row.valid ? row.gamma : 1.0f);
        EXPECT_EQ(p.GetTableCC() - before, row.valid ? 1 : 0);
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
    p.SetInverse(true);
    p.SetInverse(true);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 1);
    EXPECT_FALSE(p.IsInitialized());
    p.SetPhotometricInverse(true);
    EXPECT_FALSE(p.GetVisibleInverse());
    p.InitInverse(false);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 1);
    EXPECT_TRUE(p.GetVisibleInverse());
    init(p, 1, 1);
    EXPECT_TRUE(p.IsInitialized());
    p.ResetExceptRaster(false, false);
    EXPECT_EQ(p.GetInverseChangeCounter().GetCount(), start + 2);
}

}  // namespace
