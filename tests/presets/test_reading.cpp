#include "presets_support.h"

namespace {

TEST_F(PresetsTest, PlacesFollowTheConfiguredNumbers) {
    std::string all;
    for (int i = 1; i < 100; ++i) all += "\"windowing" + std::to_string(i) + "\": {}, ";
    const std::string gap = "NO_WINDOWING -1 -1 -1 -1 0; ";
    const struct {
        const char* name;
        std::string presets;
        int result;
        std::string expected;
    } rows[] = {
        {"both forms and gaps",
         R"("windowing1": {"Name": "a", "Min": 1, "Max": 2, "Center": 3, "Width": 4, "Units": "suv_bw"},
            "windowing03": {"Name": "c"}, "windowing7": {"Name": "g", "Units": "SUV"})",
         0, "a 1 2 3 4 1; " + gap + "c -1 -1 -1 -1 0; " + gap + gap + gap + "g -1 -1 -1 -1 -1; "},
        {"a preset in both forms is one too many", R"("windowing02": {}, "windowing2": {}, "windowing1": {})",
         -1, ""},
        {"numbers as text, out of range and fractions",
         R"("windowing1": {"Name": 5, "Min": "1", "Max": 1e12, "Center": -7.9, "Width": null, "Units": 1})",
         0, " -1 2147483647 -7 -1 0; "},
        {"a stranger among the sub trees", R"("windowing1": {}, "other": {})", -1, ""},
        {"one more", all + "\"other\": {}", -1, ""},
        {"none", "\"windowing1\": 5", 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Trees(R"("windowing": {"p": [{"Modality": "before"}, {"Modality": "X", )" + row.presets + "}]}");
        ZEV_Presets presets;
        EXPECT_EQ(presets.Init(L"windowing"), row.result);
        ASSERT_EQ(presets.NumOfPresetLists(), row.result == 0 ? 2 : 1);
        if (row.result != 0) continue;
        ZEV_ProcedurePreset* const set = presets.GetSetOfPreset(L"X");
        ASSERT_EQ(set, presets.GetIthPreset(1));
        EXPECT_EQ(Describe(*set), row.expected);
    }
}

TEST_F(PresetsTest, WhichTreeIsRead) {
    const std::string plain = R"("windowing": {"p": {"Modality": "plain"}})";
    const struct {
        const char* name;
        std::string trees;
        const wchar_t *asked, *first;  // name of the first set; null for -1
    } rows[] = {
        {"windowing in place of highlight", plain, L"highlight", L"plain"},
        {"highlight itself", plain + R"(, "highlight": {"p": {"Modality": "high"}})", L"highlight", L"high"},
        {"a modality that is not a text", R"("windowing": {"p": {"Modality": 5}})", L"windowing", L""},
        {"a tree that is not a tree", R"("windowing": 5)", L"windowing", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Trees(R"("windowing": {"p": {"Modality": "old"}})");
        ZEV_Presets presets;
        ASSERT_EQ(presets.Init(L"windowing"), 0);
        Trees(row.trees);
        EXPECT_EQ(presets.ReadPresetsFromConfiguration(row.asked), row.first == nullptr ? -1 : 0);
        // A failed open leaves the old presets.
        ASSERT_EQ(presets.NumOfPresetLists(), 1);
        EXPECT_STREQ(presets.GetIthPreset(0)->GetName(), row.first == nullptr ? L"old" : row.first);
    }
    Trees(R"("windowing": {})");
    ZEV_Presets presets;
    EXPECT_TRUE(presets.Init(L"windowing") == 0 && presets.NumOfPresetLists() == 0);
    EXPECT_TRUE(presets.GetIthPreset(-1) == nullptr && presets.GetIthPreset(0) == nullptr);
    EXPECT_EQ(presets.Save(), -1);
    Trees(R"("windowing": {"p": {"Modality": "PT", "windowing100": {"Name": "beyond the last number"}}})");
    EXPECT_EQ(presets.Init(L"windowing"), -1);
}

TEST_F(PresetsTest, ColorMapsAreReadKeyByKey) {
    Trees(R"("windowing": {}, "colormaps": {"p": [
        {"Modality": "PT", "m": [
            {"Display Name": "n1", "UID": "u1", "SUV Type": 2, "Smooth": 2, "output_resolution": 128,
             "map": {"1.0": "FF", "0.5": "80", "0.0": "0"}},
            {"Display Name": "n2", "UID": "u2", "SUV Type": 1, "Smooth": 1, "threshold_units": "t", "threshold_min": 1.5,
             "threshold_max": 1e300, "map": {"1.0": "FF", "0.0": "0", "0.25": 7}},
            {"map": 5}]},
        {"Modality": "", "ds_type": "OT"}, {"Modality": 4}]})");
    support::LogCapture log(5);
    ZEV_Presets presets;
    ASSERT_EQ(presets.Init(L"highlight"), 0);
    const std::vector<std::string> expected = {
        "3 ZEV_Presets::ReadPresetsFromConfiguration Colormap n1 has resolution of 128 in cfg. Currently the "
        "client only supports resolutions of 256!\n",
        "3 ZEV_ColorMap::CreateTable Bad color map. No value for 1.0 or 0.0\n"};
    EXPECT_EQ(log.lines, expected);

    ASSERT_EQ(presets.NumOfColorMaps(), 3);
    EXPECT_STREQ(presets.GetIthColorMap(1)->GetName(), L"OT");
    EXPECT_EQ(presets.GetIthColorMap(1)->NumOfColorMaps(), 2);

    ZEV_ProcedureColorMaps& set = *presets.GetIthColorMap(0);
    ASSERT_EQ(set.NumOfColorMaps(), 5);
    EXPECT_EQ(set.GetColorMap(5), nullptr);
    EXPECT_THROW(set.GetColorMap(-1), RWBoundsErr);
    EXPECT_THROW(set.GetColorMapText(5), RWBoundsErr);
    ZEV_ColorMap& grey = *set.GetColorMap(0);
    EXPECT_TRUE(grey.IsDummy() && grey.GetUID() == ZEV_Presets::GetGrayscaleColormapUID());
    ZEV_ColorMap& inverse = *set.GetColorMap(1);
    EXPECT_TRUE(!inverse.IsDummy() && inverse.GetUID() == ZEV_Presets::GetInverseGrayscaleColormapUID());
    EXPECT_TRUE(inverse.TransformColor(0).toRGB() == 0xFFFFFF &&
                inverse.TransformColor(65).toRGB() == 0xBDBDBD);
    ZEV_ColorMap& stepped = *set.GetColorMap(2);
    EXPECT_TRUE(!stepped.GetIsSUVType() && !stepped.GetIsSmooth() && stepped.GetOutputResolution() == 256);
    EXPECT_TRUE(stepped.GetThresholdMin() == 0.0f && stepped.GetThresholdMax() == 0.0f);
    EXPECT_TRUE(stepped.TransformColor(126).toRGB() == 0 && stepped.TransformColor(255).toRGB() == 0x80);
    ZEV_ColorMap& smooth = *set.GetColorMap(3);
    EXPECT_TRUE(smooth.GetIsSUVType() && smooth.GetIsSmooth() && smooth.GetThresholdUnits() == _bstr_t(L"t"));
    EXPECT_TRUE(smooth.GetThresholdMin() == 1.5f &&
                smooth.GetThresholdMax() == std::numeric_limits<float>::max());
    // A colour that is a number is not a text, and so not a colour.
    EXPECT_TRUE(smooth.TransformColor(63).toRGB() == 0 && smooth.TransformColor(255).toRGB() == 0xFF);
    ZEV_ColorMap& pointless = *set.GetColorMap(4);
    EXPECT_TRUE(pointless.GetCustomButtonId() == 4 && pointless.TransformColor(255).toRGB() == 0);

    // A second read leaves the list alone, even when the configuration has changed.
    Trees(R"("windowing": {}, "colormaps": {})");
    EXPECT_EQ(presets.Init(L"windowing"), 0);
    EXPECT_TRUE(ZEV_Presets().NumOfColorMaps() == 3 && presets.GetIthColorMap(0) == &set);
}

// Whatever operation fails, the exception comes through, nothing is leaked, and a later read is right.
TEST_F(PresetsTest, AFailureOfAnyOperationPassesThrough) {
    const std::string trees =
        R"("windowing": {"p": [{"Modality": "A", "windowing2": {"Name": "x"}}, {"Modality": "B"}]},
        "colormaps": {"p": [{"ds_type": "C", "m": {"UID": "u", "map": {"0.0": "1", "1.0": "2"}}}]})";
    Trees(trees);
    ZEV_Presets presets;
    int failures = 0;
    for (;; ++failures) {
        forget_color_maps();
        refhost::FailConfigReads(E_FAIL, failures);
        try {
            presets.Init(L"highlight");
            break;
        } catch (const _com_error& error) {
            ASSERT_EQ(error.Error(), E_FAIL);
        }
        ASSERT_LT(failures, 1000);
    }
    EXPECT_GT(failures, 30);
    EXPECT_TRUE(presets.NumOfPresetLists() == 2 && presets.NumOfColorMaps() == 1);
    refhost::FailConfigReads(S_OK);

    for (const HRESULT result : {E_FAIL, E_NOINTERFACE}) {
        refhost::FailConfigCreation(result);
        try {
            presets.Init(L"windowing");
            ADD_FAILURE();
        } catch (const _com_error& error) {
            EXPECT_EQ(error.Error(), result == E_NOINTERFACE ? E_POINTER : E_FAIL);
        }
    }
}

TEST_F(PresetsTest, CopiesAreDeep) {
    Trees(R"("windowing": {"p": {"Modality": "PT", "windowing1": {"Name": "a", "Min": 1, "Max": 2}}})");
    ZEV_Presets copy;
    {
        ZEV_Presets presets;
        ASSERT_EQ(presets.Init(L"windowing"), 0);
        copy = ZEV_Presets(presets), copy = *&copy;
        presets.GetIthPreset(0)->GetValue(0)->SetButtonId(10);
    }
    EXPECT_EQ(Describe(*copy.GetSetOfPreset(L"PT")), "a 1 2 -1 -1 0; ");
    EXPECT_NE(copy.GetIthPreset(0)->GetValue(0)->GetButtonId(), 10);
    EXPECT_NE(copy.FindPreset(L"a", L"PT"), nullptr);
    EXPECT_NE(copy.FindPreset(L"a", nullptr), nullptr);
    EXPECT_EQ(copy.FindPreset(L"a", L"CT"), nullptr);
    ZEV_ColorMap map;
    map.AddEntry(L"0.0", _bstr_t()), map.AddEntry(L"1.0", L"0"), map.CreateTable();
    EXPECT_EQ(map.TransformColor(0).toRGB(), 0);
}

}  // namespace
