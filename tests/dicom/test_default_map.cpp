#include <SPC/SPC_MeasurementUnitsParams.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <refhost/Config.h>

#include "support.h"

namespace {

/// Reaches two private operations: an explicit instantiation may name what is private.
using ByName = void (ZEV_Dicom::*)(_bstr_t, ZEV_Params*, KIT_BaseParamsVec*);
template <ByName MAP, ByName PRESET>
struct Reach {
    friend ByName map_operation() { return MAP; }
    friend ByName preset_operation() { return PRESET; }
};
ByName map_operation();
ByName preset_operation();
template struct Reach<&ZEV_Dicom::set_default_colormap, &ZEV_Dicom::set_default_windowing_preset>;

/// 1 Bq/ml is 1/1000 SUV by body weight: 50 MBq in 50 kg, measured at the moment of the injection.
support::Message pet_message() {
    support::Message msg;
    msg.Text(0x00080060, "CS", "PT").Text(0x00101030, "DS", "50").Text(0x00541001, "CS", "BQML");
    msg.Text(0x00541102, "CS", "ADMIN");
    const std::string dose = "50000000";
    msg.AddItem(Dicom_Tag(0x00540016))->PutBytes(Dicom_Tag(0x00181074), "DS", dose.data(), dose.size());
    return msg;
}

class DefaultMap : public testing::Test {
protected:
    DefaultMap() : vec(L"view"), modality(SPC_Modality::MODALITY_PT) {
        const support::Message msg = pet_message();
        units = SPC_MeasurementUnitsParams(&msg);
        vec.Append(&modality), vec.Append(&params);
        params.InitCenter(100), params.InitWidth(50);
        ZEV_ProcedureColorMapsList::GetInstance()->clearAndDestroy();
    }
    ~DefaultMap() override {
        ZEV_ProcedureColorMapsList::GetInstance()->clearAndDestroy();
        refhost::UseBuiltinConfig();
    }
    static ZEV_ProcedureColorMaps* AddMaps(std::initializer_list<std::pair<const wchar_t*, bool>> maps) {
        auto* const set = new ZEV_ProcedureColorMaps(L"PT");
        for (const auto& [uid, suv] : maps) {
            auto* const map = new ZEV_ColorMap;
            map->SetUID(uid), map->SetIsSUVType(suv);
            set->AddColorMap(map, L"");
        }
        ZEV_ProcedureColorMapsList::GetInstance()->append(set);
        return set;
    }
    void SetMap(const wchar_t* uid, KIT_BaseParamsVec* view) {
        (ZEV_Dicom().*map_operation())(uid, &params, view);
    }
    bool Apply(std::pair<int, int> ends, std::pair<int, int> window, ZEV_WindowingUnits::Units in) {
        return ZEV_Dicom::SetWindowingPresetValues(&params, &vec, ends.first, ends.second, window.first,
                                                   window.second, in);
    }
    std::pair<int, int> Window() { return {params.GetCenter(), params.GetWidth()}; }

    SPC_MeasurementUnitsParams units;
    KIT_BaseParamsVec vec;
    SPC_Modality modality;
    ZEV_Params params;
};

using W = std::pair<int, int>;

TEST_F(DefaultMap, OfSeveralMapsTheLastAndTheSuvScale) {
    ZEV_ProcedureColorMaps* const first = AddMaps({{L"suv", true}, {L"plain", false}, {L"plain", false}});
    ZEV_ProcedureColorMaps* const second = AddMaps({{L"suv", true}});
    SetMap(L"plain", &vec);
    EXPECT_EQ(params.GetColorMap(), first->GetColorMap(2));
    SetMap(L"suv", &vec);  // without measurement units in the view
    EXPECT_EQ(params.GetColorMap(), second->GetColorMap(0));
    EXPECT_EQ(Window(), W(100, 50));

    vec.Append(&units);
    SetMap(L"suv", &vec);  // the UID of the last time touches no window
    EXPECT_EQ(Window(), W(100, 50));
    // The map of the earlier call is still the one that the scale is set for.
    SetMap(L"none", &vec);
    EXPECT_EQ(params.GetColorMap(), second->GetColorMap(0));
    EXPECT_EQ(Window(), W(5000, 10000));
    params.SetColorMap(nullptr);
    params.SetCenter(7);
    SetMap(L"suv", &vec);
    EXPECT_EQ(params.GetColorMap(), second->GetColorMap(0));
    EXPECT_EQ(Window(), W(7, 10000));
}

TEST_F(DefaultMap, PresetsByName) {
    refhost::LoadConfigText(R"({"trees": {"windowing": {"p": [
        {"Modality": "PT", "windowing1": {"Name": "x", "Min": 1, "Center": 2}, "windowing3": {"Name": "", "Min": 9, "Max": 10}},
        {"Modality": "PT", "windowing1": {"Name": "x", "Center": 300, "Width": 200},
         "windowing2": {"Name": "suv", "Min": 2, "Max": 4, "Units": "suv_bw"},
         "windowing3": {"Name": "lean", "Min": 2, "Max": 4, "Units": "suv_lbm"},
         "windowing4": {"Name": "odd", "Min": 20, "Max": 41, "Units": "SUV"}}]}}})",
                            "test");
    vec.Append(&units);
    const auto kPt = SPC_Modality::MODALITY_PT;
    const struct {
        const wchar_t* name;
        SPC_Modality::MODALITY modality;
        W window;
    } rows[] = {{L"x", kPt, W(300, 200)},  // an incomplete one of the name is passed over
                {L"suv", kPt, W(3000, 2000)},
                {L"odd", kPt, W(30, 21)},      // units that are not known are raw
                {L"lean", kPt, W(100, 50)},    // needs the size
                {L"Suv", kPt, W(2500, 5000)},  // none of the name
                {L"suv", SPC_Modality::MODALITY_CT, W(100, 50)}};
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<const char*>(_bstr_t(row.name)));
        params.InitCenter(100), params.InitWidth(50);
        modality = SPC_Modality(row.modality);
        (ZEV_Dicom().*preset_operation())(row.name, &params, &vec);
        EXPECT_EQ(Window(), row.window);
        EXPECT_EQ(W(params.GetInitialCenter(), params.GetInitialWidth()), row.window);
    }
}

TEST_F(DefaultMap, PresetValues) {
    const auto raw = ZEV_WindowingUnits::UNITS_RAW;
    const auto suv = ZEV_WindowingUnits::UNITS_SUV_BW;
    const auto percent = ZEV_WindowingUnits::UNITS_PERCENTAGE_MAX_RANGE;
    const struct {
        const char* name;
        int min, max, center, width;
        ZEV_WindowingUnits::Units units;
        bool applied;
        W window;
        double exactWidth;
    } rows[] = {
        {"ends", -1024, 1024, -1, -1, raw, true, W(0, 2047), 2048},
        {"negative, rounded towards zero after the half", -1, -1, -40, 400, raw, true, W(-39, 400), 400},
        {"SUV ends", 1, 3, 40, 400, suv, true, W(2000, 2000), 2000},
        {"SUV centre and width", -1, -1, 3, 2, suv, true, W(3000, 2000), 2000},
        {"half a pair", -1, 5, 40, -1, raw, true, W(100, 50), 0},
        {"no range", 0, 50, -1, -1, percent, false, W(100, 50), 0},
    };
    vec.Append(&units);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        params.InitCenter(100), params.InitWidth(50);
        const W ends(row.min, row.max), window(row.center, row.width);
        EXPECT_EQ(Apply(ends, window, row.units), row.applied);
        EXPECT_EQ(Window(), row.window);
        double center = 0, width = 0;
        EXPECT_EQ(ZEV_Dicom::TranslatePresetValues(&params, &vec, row.min, row.max, row.center, row.width,
                                                   row.units, &center, &width),
                  row.exactWidth > 0);
        EXPECT_EQ(width, row.exactWidth);
    }
    EXPECT_FALSE(ZEV_Dicom::SetWindowingPresetValues(&params, nullptr, 1, 2, 3, 4, suv));
    units.SetMaximalRange(-100.0, 300.0);
    EXPECT_TRUE(Apply({0, 50}, {-1, -1}, percent));
    EXPECT_EQ(Window(), W(0, 199));
}

// The key is read once per process.
TEST_F(DefaultMap, RealWorldValues) {
    support::InOwnProcess([this] {
        refhost::LoadConfigText(R"({"settings": {"gra": {"apply_real_world_to_window": 1}}})", "test");
        support::Message msg;
        Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x00409096));
        const double line[] = {0.5, -10.0};
        const std::uint16_t range[] = {0, 4095};
        for (unsigned i = 0; i < 2; ++i) {
            item->PutBytes(Dicom_Tag(i == 0 ? 0x00409216 : 0x00409211), "US", &range[i], 2);
            item->PutBytes(Dicom_Tag(0x00409225 - i), "FD", &line[i], 8);
        }
        SPC_MeasurementUnitsParams mapped(&msg);
        vec.Append(&mapped);
        params.SetRescaleSlope(2.0f);
        params.SetRescaleIntercept(-1000);
        const auto raw = ZEV_WindowingUnits::UNITS_RAW;
        // 90 and 10 are stored 200 and 40, which are -600 and -920 after rescale.
        Apply({10, 90}, {-1, -1}, raw);
        EXPECT_EQ(W(params.GetWindowMin(), params.GetWindowMax()), W(-919, -599));
        Apply({-1, -1}, {50, 80}, raw);
        EXPECT_EQ(Window(), W(-759, 320));
        double center = 0, width = 0;
        EXPECT_TRUE(ZEV_Dicom::TranslatePresetValues(&params, &vec, -1, -1, 50, 80, raw, &center, &width));
        EXPECT_EQ(std::pair(center, width), std::pair(-760.0, 320.0));
    });
}

}  // namespace
