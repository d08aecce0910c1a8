#include "presets_support.h"

namespace {

TEST(WindowingUnits, TextsAndNumbersGoBothWays) {
    const std::pair<const wchar_t*, int> rows[] = {
        {L"raw", 0}, {L"suv_bw", 2}, {L"suv_bsa", 3}, {L"suv_lbm", 4}, {L"percentage_max_range", 6}};
    for (int i = 0; i < 5; ++i) {
        const auto units = static_cast<ZEV_WindowingUnits::Units>(i);
        const auto spc = static_cast<SPC_MEASUREMENT_UNITS>(rows[i].second);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(rows[i].first), units);
        EXPECT_TRUE(ZEV_WindowingUnits::ConvertToString(units) == rows[i].first);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units), spc);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertSpcUnitsToZevUnits(spc), units);
    }
    for (const wchar_t* text : {L"RAW", L"raw ", L"", L"Uninitialized"}) {
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(text), -1);
    }
    EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(_bstr_t()), -1);
    const auto unknown = static_cast<ZEV_WindowingUnits::Units>(5);
    EXPECT_TRUE(ZEV_WindowingUnits::ConvertToString(unknown) == L"Uninitialized");
    EXPECT_EQ(ZEV_WindowingUnits::ConvertFromZevWindowingUnits(unknown), -1);
    EXPECT_EQ(ZEV_WindowingUnits::ConvertSpcUnitsToZevUnits(static_cast<SPC_MEASUREMENT_UNITS>(5)), -1);
}

TEST(PresetValue, OrderIsThatOfTheNamesByUtf16Unit) {
    const struct {
        const wchar_t *name, *other;
        int order;
    } rows[] = {{L"a", L"ab", -1},
                {L"B", L"a", -1},
                {nullptr, L"", 0},
                {nullptr, L"a", -1},
                // The first is written with two units, of which D83D comes before the other's FF5E.
                {L"\U0001F600", L"\uFF5E", -1}};
    for (const auto& row : rows) {
        const ZEV_PresetValue a(1, 2, 3, 4, row.name, ZEV_WindowingUnits::UNITS_RAW);
        const ZEV_PresetValue b(5, 6, 7, 8, row.other, ZEV_WindowingUnits::UNITS_SUV_BW);
        EXPECT_EQ(a.compareTo(&b), row.order);
        EXPECT_EQ(b.compareTo(&a), -row.order);
    }
    EXPECT_EQ(ZEV_PresetValue().compareTo(nullptr), 0);
}

}  // namespace
