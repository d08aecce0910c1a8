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
    support::InOwnProcess([] {
        ZEV_Presets keeper;
        EXPECT_TRUE(Nothing() && keeper.NumOfAlwaysVisiblePresets(kPt).second == 0);
        Trees(kBase + kBar);
        EXPECT_TRUE(keeper.Init(L"windowing") == 0);
        EXPECT_TRUE(Describe(*keeper.GetColorbarProcedurePresets(kPt, L"suv_bw")) ==
                    "a 0 5 -1 -1 1; b -1 -1 3 4 1; ");
        EXPECT_TRUE(Describe(*keeper.GetColorbarProcedurePresets(kNone, L"SUV")) == "d -1 -1 -1 -1 -1; ");
        EXPECT_TRUE(keeper.GetColorbarProcedurePresets(kPt, L"SUV_BW") == nullptr);
        EXPECT_TRUE(keeper.GetColorbarProcedurePresets(SPC_Modality::MODALITY_CT, L"suv_bw") == nullptr);
        // The first group that is marked stays, though it is empty.
        EXPECT_TRUE(ZEV_Presets::GetAlwaysVisibilePresets(kPt) == 6);
        const ZEV_Presets::UnitsCount& visible = keeper.NumOfAlwaysVisiblePresets(kPt);
        EXPECT_TRUE(visible.first == _bstr_t(L"percentage_max_range") && visible.second == 0);
        EXPECT_TRUE(ZEV_Presets::GetAlwaysVisibilePresets(kNone) == -1);
        EXPECT_TRUE(keeper.NumOfAlwaysVisiblePresets(kNone).second == 1);
        EXPECT_TRUE(Has(kPt, 2) && Has(kPt, 4) && Has(kPt, 6) && Has(kNone, -1) && !Has(kPt, 3));

        // The bar belongs to the object that read it, and the answers to everybody.
        ZEV_Presets second;
        EXPECT_TRUE(second.Init(L"windowing") == 0 && keeper.Init(L"windowing") == 0);
        forget_color_maps();
        EXPECT_TRUE(second.Init(L"windowing") == 0);
        EXPECT_TRUE(second.GetColorbarProcedurePresets(kPt, L"suv_bw") == nullptr);
        EXPECT_TRUE(second.NumOfAlwaysVisiblePresets(kPt).first == _bstr_t(L""));
        ZEV_ProcedurePreset* const mine = keeper.GetColorbarProcedurePresets(kPt, L"suv_bw");
        second = keeper;
        ZEV_ProcedurePreset* const copied = second.GetColorbarProcedurePresets(kPt, L"suv_bw");
        EXPECT_TRUE(copied != nullptr && copied != mine && copied->GetModality() == kPt);
        keeper = ZEV_Presets();
        EXPECT_TRUE(mine->NumOfPresets() == 2 && Has(kPt, 2));
    });
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
