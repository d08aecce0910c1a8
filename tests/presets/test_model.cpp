#include "presets_support.h"

namespace {

TEST(WindowingUnits, TextsAndNumbersGoBothWays) {
    using U = ZEV_WindowingUnits;
    for (int i = 0; i < 6; ++i) {
        const auto units = i < 5 ? static_cast<U::Units>(i) : U::UNITS_UNINITIALIZED;
        EXPECT_EQ(U::ConvertFromString(U::ConvertToString(units)), units);
        EXPECT_EQ(U::ConvertSpcUnitsToZevUnits(U::ConvertFromZevWindowingUnits(units)), units);
    }
    EXPECT_EQ(U::ConvertFromString(L"RAW"), U::UNITS_UNINITIALIZED);
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
