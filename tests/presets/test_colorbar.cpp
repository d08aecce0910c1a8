#include "presets_support.h"

namespace {

const std::string kBase = R"("windowing": {}, "colormaps": {"p": {"Modality": "PT"}})";
const std::string kBar = R"(, "gra\\colorbar\\windowing_presets\\": {"windowing_units_type": [
    {"windowing_units": "suv_bw", "Modality": "PT", "windowing_preset": [
        {"name": "a", "min": 0, "max": 5}, {"name": "b", "center": 3, "width": 4}]},
    {"windowing_units": "percentage_max_range", "Modality": "PT", "always_visible": 7},
    {"windowing_units": "suv_lbm", "Modality": "PT", "always_visible": 1, "windowing_preset": {"name": "c"}},
    {"windowing_units": "SUV", "Modality": "zz", "Min": 5, "always_visible": 1, "windowing_preset": {"name": "d"}}],
    "other": {"Modality": "CT"}})";

constexpr auto kPt = SPC_Modality::MODALITY_PT;
constexpr auto kNone = SPC_Modality::MODALITY_UNKNOWN;

/// The section runs once per process, so that each case has a process of its own.
class ColorbarPresetsDeathTest : public PresetsTest {
protected:
    ColorbarPresetsDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
    static bool Has(SPC_Modality::MODALITY modality, int units) {
        return ZEV_Presets::HasPreset({modality, static_cast<SPC_MEASUREMENT_UNITS>(units)});
    }
    static bool Nothing() {
        return ZEV_Presets::GetAlwaysVisibilePresets(kPt) == -1 && !Has(kPt, 2) &&
               ZEV_Presets::s_umapAlwaysVisiblePresetsUnits.empty() &&
               ZEV_Presets::s_usetColorbarWndPresetsPairs.empty();
    }
};

TEST_F(ColorbarPresetsDeathTest, GroupsAndTheirMarks) {
    EXPECT_EXIT(
        {
            ZEV_Presets keeper;
            CHILD_REQUIRE(Nothing() && keeper.NumOfAlwaysVisiblePresets(kPt).second == 0);
            Trees(kBase + kBar);
            CHILD_REQUIRE(keeper.Init(L"windowing") == 0);
            CHILD_REQUIRE(Describe(*keeper.GetColorbarProcedurePresets(kPt, L"suv_bw")) ==
                          "a 0 5 -1 -1 1; b -1 -1 3 4 1; ");
            CHILD_REQUIRE(Describe(*keeper.GetColorbarProcedurePresets(kNone, L"SUV")) ==
                          "d -1 -1 -1 -1 -1; ");
            CHILD_REQUIRE(keeper.GetColorbarProcedurePresets(kPt, L"SUV_BW") == nullptr);
            CHILD_REQUIRE(keeper.GetColorbarProcedurePresets(SPC_Modality::MODALITY_CT, L"suv_bw") ==
                          nullptr);
            // The first group that is marked stays, though it is empty.
            CHILD_REQUIRE(ZEV_Presets::GetAlwaysVisibilePresets(kPt) == 6);
            const ZEV_Presets::UnitsCount& visible = keeper.NumOfAlwaysVisiblePresets(kPt);
            CHILD_REQUIRE(visible.first == L"percentage_max_range" && visible.second == 0);
            CHILD_REQUIRE(ZEV_Presets::GetAlwaysVisibilePresets(kNone) == -1);
            CHILD_REQUIRE(keeper.NumOfAlwaysVisiblePresets(kNone).second == 1);
            CHILD_REQUIRE(Has(kPt, 2) && Has(kPt, 4) && Has(kPt, 6) && Has(kNone, -1) && !Has(kPt, 3));

            // The bar belongs to the object that read it, and the answers to everybody.
            ZEV_Presets second;
            CHILD_REQUIRE(second.Init(L"windowing") == 0 && keeper.Init(L"windowing") == 0);
            forget_color_maps();
            CHILD_REQUIRE(second.Init(L"windowing") == 0);
            CHILD_REQUIRE(second.GetColorbarProcedurePresets(kPt, L"suv_bw") == nullptr);
            CHILD_REQUIRE(second.NumOfAlwaysVisiblePresets(kPt).first == L"");
            ZEV_ProcedurePreset* const mine = keeper.GetColorbarProcedurePresets(kPt, L"suv_bw");
            second = keeper;
            ZEV_ProcedurePreset* const copied = second.GetColorbarProcedurePresets(kPt, L"suv_bw");
            CHILD_REQUIRE(copied != nullptr && copied != mine && copied->GetModality() == kPt);
            keeper = ZEV_Presets();
            CHILD_REQUIRE(mine->NumOfPresets() == 2 && Has(kPt, 2));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ColorbarPresetsDeathTest, OneTryPerProcess) {
    // After another name the colour maps are there, and the bar is never read.
    EXPECT_EXIT(
        {
            Trees(kBase + kBar);
            ZEV_Presets presets;
            CHILD_REQUIRE(presets.Init(L"highlight") == 0 && presets.Init(L"windowing") == 0 && Nothing());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            Trees(kBase);
            ZEV_Presets presets;
            CHILD_REQUIRE(presets.Init(L"windowing") == -1 && presets.NumOfColorMaps() == 1);
            Trees(kBase + kBar);
            forget_color_maps();
            CHILD_REQUIRE(presets.Init(L"windowing") == 0 && Nothing());
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(PairHash, IsFnv1aOfTheBytesLowestFirst) {
    const myPairHash hash;
    // FNV-1a of 00 00 00 00, 01 00 00 00 and FF FF FF FF.
    const std::uint64_t zero = 0x4D25767F9DCE13F5u;
    EXPECT_EQ(hash(SPC_Modality::MODALITY_CR), zero);
    EXPECT_EQ(hash(SPC_Modality::MODALITY_CT), 0xAD2ACA7747985764u);
    EXPECT_EQ(hash(SPC_Modality::MODALITY_UNKNOWN), 0x994F76653E2A3951u);
    EXPECT_EQ(hash(std::make_pair(SPC_Modality::MODALITY_CT, SPC_UNITS_RAW)),
              hash(SPC_Modality::MODALITY_CT) ^ zero);
}

}  // namespace
