#include "presets_support.h"

namespace {

TEST(WindowingUnits, TextsAndNumbersGoBothWays) {
    const struct {
        const wchar_t* text;
        int units;
        int spc;
    } rows[] = {{L"raw", 0, 0},
                {L"suv_bw", 1, 2},
                {L"suv_bsa", 2, 3},
                {L"suv_lbm", 3, 4},
                {L"percentage_max_range", 4, 6}};
    for (const auto& row : rows) {
        const auto units = static_cast<ZEV_WindowingUnits::Units>(row.units);
        const auto spc = static_cast<SPC_MEASUREMENT_UNITS>(row.spc);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(row.text), units);
        EXPECT_TRUE(ZEV_WindowingUnits::ConvertToString(units) == row.text);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units), spc);
        EXPECT_EQ(ZEV_WindowingUnits::ConvertSpcUnitsToZevUnits(spc), units);
    }
    for (const wchar_t* text : {L"RAW", L"Raw", L"raw ", L"", L"Uninitialized"}) {
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(text), -1);
    }
    EXPECT_EQ(ZEV_WindowingUnits::ConvertFromString(_bstr_t()), -1);
    for (int number : {-1, -2, 5, 1000}) {
        const auto units = static_cast<ZEV_WindowingUnits::Units>(number);
        EXPECT_TRUE(ZEV_WindowingUnits::ConvertToString(units) == L"Uninitialized");
        EXPECT_EQ(ZEV_WindowingUnits::ConvertFromZevWindowingUnits(units), -1);
    }
    for (int number : {-1, 1, 5, 7}) {
        EXPECT_EQ(ZEV_WindowingUnits::ConvertSpcUnitsToZevUnits(static_cast<SPC_MEASUREMENT_UNITS>(number)),
                  -1);
    }
}

TEST(PresetValue, OrderIsThatOfTheNamesByUtf16Unit) {
    const struct {
        const wchar_t* name;
        const wchar_t* other;
        int order;
    } rows[] = {{L"a", L"b", -1},
                {L"b", L"a", 1},
                {L"a", L"a", 0},
                {L"a", L"ab", -1},
                {L"B", L"a", -1},
                {nullptr, L"", 0},
                {nullptr, L"a", -1},
                {L"", nullptr, 0},
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

TEST(ProcedureSets, PlacesAndIndexErrors) {
    ZEV_ProcedurePreset presets(L"CT");
    presets.AddPreset(1, 2, 3, 4, L"first", ZEV_WindowingUnits::UNITS_SUV_LBM);
    ZEV_PresetValue& value = *presets.GetValue(0);
    EXPECT_TRUE(value.GetMin() == 1 && value.GetMax() == 2 && value.GetCenter() == 3 &&
                value.GetWidth() == 4);
    EXPECT_EQ(presets.GetValue(1), nullptr);
    EXPECT_THROW(presets.GetValue(-1), RWBoundsErr);
    EXPECT_THROW(presets.GetPresetText(1), RWBoundsErr);
    EXPECT_THROW(presets.GetPresetText(-1), RWBoundsErr);
    EXPECT_EQ(presets.GetModality(), SPC_Modality::MODALITY_CT);
    EXPECT_EQ(ZEV_ProcedurePreset(L"CTA").GetModality(), -1);
    EXPECT_STREQ(ZEV_ProcedurePreset(nullptr).GetName(), L"");

    ZEV_ProcedureColorMaps maps(L"MR");
    for (int i = 0; i < 2; ++i) {
        auto* map = new ZEV_ColorMap;
        map->SetCustomButtonId(77);
        map->SetName(L"m");
        maps.AddColorMap(map, L"not kept");
        EXPECT_EQ(maps.GetColorMap(i)->GetCustomButtonId(), i);
    }
    maps.AddColorMap(nullptr, nullptr);
    EXPECT_EQ(maps.NumOfColorMaps(), 2);
    EXPECT_STREQ(maps.GetColorMapText(1), L"m");
    EXPECT_EQ(maps.GetColorMap(2), nullptr);
    EXPECT_THROW(maps.GetColorMap(-1), RWBoundsErr);
    EXPECT_THROW(maps.GetColorMapText(2), RWBoundsErr);
    EXPECT_THROW(maps.GetColorMapText(-1), RWBoundsErr);
    EXPECT_EQ(maps.GetModality(), SPC_Modality::MODALITY_MR);
}

TEST(ProcedureLists, CopiesShareElementsAndMovesTakeNodes) {
    ZEV_ProcedurePresetList list;
    for (const wchar_t* name : {L"a", L"b", L"a"}) list.append(new ZEV_ProcedurePreset(name));
    const ZEV_ProcedurePreset key(L"a");
    EXPECT_EQ(list.find(&key), list.at(0));
    EXPECT_EQ(list.find(nullptr), nullptr);
    EXPECT_EQ(list.find(std::make_unique<ZEV_ProcedurePreset>(L"A").get()), nullptr);
    EXPECT_THROW(list.at(3), RWBoundsErr);

    ZEV_ProcedurePresetList copy(list);
    list = *&list;
    EXPECT_TRUE(copy.entries() == 3 && copy.at(2) == list.at(2));
    copy.append(list.at(0));
    EXPECT_EQ(list.entries(), 3u);
    ZEV_ProcedurePresetList moved(std::move(copy));
    EXPECT_TRUE(moved.entries() == 4 && copy.entries() == 0);
    copy = std::move(moved);
    EXPECT_TRUE(moved.entries() == 0 && copy.entries() == 4);
    copy = list;
    EXPECT_EQ(copy.entries(), 3u);
    list.clearAndDestroy();
    EXPECT_EQ(list.entries(), 0u);
    list.append(new ZEV_ProcedurePreset(L"again"));
    EXPECT_STREQ(list.at(0)->GetName(), L"again");
    list.clearAndDestroy();
}

TEST(ProcedureLists, ClearingTheColorMapsForgetsThePreviousOne) {
    ZEV_ProcedureColorMapsList& list = *ZEV_ProcedureColorMapsList::GetInstance();
    auto* set = new ZEV_ProcedureColorMaps(L"x");
    set->AddColorMap(new ZEV_ColorMap, L"");
    list.append(set);
    ZEV_ProcedureColorMapsList::m_pPreviousColorMap = set->GetColorMap(0);
    list.clearAndDestroy();
    EXPECT_EQ(ZEV_ProcedureColorMapsList::m_pPreviousColorMap, nullptr);
}

}  // namespace
