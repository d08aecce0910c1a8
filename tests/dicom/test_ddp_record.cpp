// What a parameter object records, and laying saved display parameters over an image.

#include <KIT/KIT_DDPInfo.h>

#include "support.h"

namespace {

using support::LogCapture;
using support::Message;
using Dictionary = Dicom_Dictionary;

/// Opens the protected operation.
class Recorded : public ZEV_Params {
public:
    using ZEV_Params::RecordDDPInfo;
};

std::string narrow(const RWWString& text) { return static_cast<const char*>(_bstr_t(text.data())); }

/// "TAG=value" of every entry.
std::vector<std::string> entries(DDPInfoVector& record) {
    std::vector<std::string> list;
    for (KIT_DDPInfo* info : record.GetParamsValues())
        list.push_back(narrow(info->m_TagName) + "=" + narrow(info->m_Value));
    return list;
}

using Actions = std::function<void(Recorded&)>;
using List = std::vector<std::string>;
List operator+(List a, const List& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(Record, ByModeAndState) {
    const Actions nothing = [](Recorded&) {};
    const Actions saved = [](Recorded& p) { p.SetOriginalCenterFromDP(1), p.SetOriginalWidthFromDP(2); };
    const List present = {"WINDOW_WIDTH=20", "WINDOW_CENTER=10", "ORNEL1_INVERSE_WINDOW=N"};
    const Actions center = [](Recorded& p) { p.SetOriginalCenterFromDP(1); };
    const Actions visible = [](Recorded& p) { p.SetPhotometricInverse(true), p.SetInverse(true); };
    const Actions gamma = [](Recorded& p) { p.SetGamma(1.5f); };
    const std::string preset = "MIREL_WINDOWING_PRESET=Normal";
    const struct {
        const char* name;
        Actions actions;
        long mode;
        List control;  ///< values of control entries that come in
        List expected;
    } rows[] = {
        {"present", nothing, 2, {}, present},
        {"as asked, asked", saved, 1, {""}, present},
        {"as asked, not asked", saved, 1, {}, {"WINDOW_WIDTH=2", "WINDOW_CENTER=1"}},
        {"nothing saved", nothing, 1, {}, {preset}},
        {"only the centre saved", center, 1, {}, {"WINDOW_CENTER=1"}},
        {"a control entry with a value", nothing, 1, {"x"}, {"SAVE_WINDOW_LEVEL=x", preset}},
        {"the second entry asks", saved, 1, {"x", ""}, List{"SAVE_WINDOW_LEVEL=x"} + present},
        {"only the first control entry goes", nothing, 4, {"", ""}, {"SAVE_WINDOW_LEVEL="}},
        {"gamma with six decimals", gamma, 4, {}, {"MIREL_GAMMA_WINDOWING_VALUE=1.500000"}},
        {"natural gamma", [](Recorded& p) { p.SetGamma(1.004f); }, 4, {}, {}},
        {"what the image looks like, not what the table does", visible, 2, {}, present},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Recorded params;
        params.InitCenter(10), params.InitWidth(20);
        row.actions(params);
        DDPInfoVector record;
        for (const std::string& value : row.control) {
            record.AddParamsValue(new KIT_DDPInfo(L"SAVE_WINDOW_LEVEL", L"", _bstr_t(value.c_str())));
        }
        params.RecordDDPInfo(record, row.mode);
        EXPECT_EQ(entries(record), row.expected);
    }
}

TEST(Record, SelectionAndColourMapComeFirst) {
    Message msg;
    msg.Image(4, 4).Window("40\\50", "400\\500", "SIGMOID").Text(0x00281055, "LO", "SOFT\\LUNG");
    Recorded params;
    params.SetVoiLutManager(new Mapper_WindowingManager(&msg));
    params.GetVoiLutManager()->Init();
    params.SetVoiLutSelection(1, false);
    ZEV_ColorMap map;
    params.SetColorMap(&map);
    LogCapture log(3);
    DDPInfoVector record;
    params.RecordDDPInfo(record, 4);
    EXPECT_EQ(entries(record), List{"MIREL_SELECTED_WINDOWING=Sigmoid LUNG"});
    EXPECT_TRUE(
        log.Has("3 ZEV_Params::RecordDDPInfo ZEV_Params::RecordDDPInfo() m_pColorMap has no Unique ID!\n"));
    map.SetUID(L"1.2.3");
    DDPInfoVector second;
    params.RecordDDPInfo(second, 4);
    EXPECT_EQ(entries(second), (List{"MIREL_SELECTED_WINDOWING=Sigmoid LUNG", "MIREL_COLOR_MAP_UID=1.2.3"}));
}

struct View {
    View() {
        msg.Image(4, 4).Window("40\\-600", "400\\1600").Text(0x00281055, "LO", "SOFT\\LUNG");
        vec.Append(&modality), vec.Append(&params);
    }
    void Open() { ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, &vec); }
    bool Lay() { return params.UpdateFromDDP(&saved, &msg, &raster, &vec); }
    Message msg, saved;
    refhost::MemoryRaster raster{4, 4, 12, false};
    SPC_Modality modality{L"CT"};
    ZEV_Params params;
    KIT_BaseParamsVec vec{L"view"};
};

struct SavedRow {
    const char* name;
    std::function<void(View&)> before;
    std::function<void(Message&)> saved;
    int center, width, selection;
};

TEST(Saved, WindowAndSelection) {
    const std::function<void(View&)> nothing = [](View&) {};
    const auto selected = [](const char* text) {
        return [text](Message& m) { m.Text(Dictionary::MIREL_SELECTED_WINDOWING.GetTag(), "LO", text); };
    };
    const auto doubled = [](View& v) { v.msg.Rescale("2", "0"); };
    const auto moved = [](View& v) { v.params.SetCenter(5); };
    const auto imagesOwn = [&](View& v) { selected("Linear LUNG")(v.msg); };
    const SavedRow rows[] = {
        {"nothing saved", nothing, [](Message&) {}, 40, 400, 0},
        {"a window ends the selection", nothing, [](Message& m) { m.Window("100.9", "300"); }, 100, 300, -1},
        {"through another rescale", doubled, [](Message& m) { m.Window("100", "400").Rescale("1", "-1024"); },
         2248, 800, -1},
        {"half a saved rescale", nothing,
         [](Message& m) { m.Window("100", "400").Text(0x00281053, "DS", "4"); }, 100, 400, -1},
        {"a saved slope of 0", nothing, [](Message& m) { m.Window("9", "4").Rescale("0", "5"); }, 9, 4, -1},
        {"an entry by its text", nothing, selected("Linear LUNG"), -600, 1600, 1},
        {"entry 0 by its text", [&](View& v) { imagesOwn(v), moved(v); }, selected("Linear SOFT"), 40, 400,
         0},
        {"and a window", nothing, [&](Message& m) { selected("Linear LUNG")(m), m.Window("1", "2"); }, 1, 2,
         1},
        {"compared whole and by case", nothing, selected("Linear lung"), 40, 400, 0},
        {"not found: the image's own", imagesOwn, selected("Linear NOWHERE"), -600, 1600, 1},
        {"not found at all: entry 0 with the present window", moved, selected("Sigmoid LUNG"), 5, 400, 0},
    };
    for (const SavedRow& row : rows) {
        SCOPED_TRACE(row.name);
        View view;
        view.Open();
        row.before(view);
        row.saved(view.saved);
        EXPECT_TRUE(view.Lay());
        EXPECT_EQ(std::pair(view.params.GetCenter(), view.params.GetWidth()),
                  std::pair(row.center, row.width));
        EXPECT_EQ(view.params.GetVoiLutSelection(), row.selection);
        EXPECT_EQ(view.params.GetInitialCenter(), 40);
    }
}

TEST(Saved, OriginalsAreTheSavedNumbersBeforeConversion) {
    View view;
    view.Open();
    view.saved.Window("100", "400").Rescale("1", "-1024");
    view.Lay();
    Recorded copy;
    static_cast<ZEV_Params&>(copy) = view.params;
    DDPInfoVector record;
    copy.RecordDDPInfo(record, 1);
    EXPECT_EQ(entries(record), (List{"WINDOW_WIDTH=400", "WINDOW_CENTER=100"}));
}

TEST(Saved, InversionGammaAndTheUsersFlags) {
    for (const bool byUser : {false, true}) {
        for (const bool monochrome1 : {false, true}) {
            View view;
            view.msg.Image(4, 4, monochrome1 ? "MONOCHROME1" : "MONOCHROME2");
            view.Open();
            view.params.SetWindowingChangedByUser(byUser);
            view.saved.Window("7", "8").Text(Dictionary::ORNEL1_INVERSE_WINDOW.GetTag(), "CS", "Y");
            view.saved.Put(Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(2.0f));
            view.Lay();
            EXPECT_TRUE(view.params.GetVisibleInverse());
            EXPECT_EQ(view.params.IsInverse(), !monochrome1);
            // The window takes no heed of the user; gamma does.
            EXPECT_EQ(view.params.GetCenter(), 7);
            EXPECT_EQ(view.params.GetGamma(), byUser ? 1.0f : 2.0f);
        }
    }
}

TEST(Saved, ZeroAndZeroMeansAutomaticWindowing) {
    View view;
    view.Open();
    view.saved.Window("0.0", "0");
    EXPECT_TRUE(view.params.UpdateFromDDP(&view.saved, &view.msg, nullptr, &view.vec));
    EXPECT_EQ(view.params.GetWidth(), 0) << "nothing to measure";
    // Nor for a saved entry of an image without any.
    Message plain, selected;
    plain.Image(4, 4);
    selected.Text(Dictionary::MIREL_SELECTED_WINDOWING.GetTag(), "LO", "Linear SOFT");
    ZEV_Params bare;
    bare.SetVoiLutManager(new Mapper_WindowingManager(&plain));
    bare.InitCenter(3), bare.InitWidth(4);
    EXPECT_TRUE(bare.UpdateFromDDP(&selected, &plain, nullptr, &view.vec));
    EXPECT_EQ(std::pair(bare.GetCenter(), bare.GetWidth()), std::pair(3, 4));
    auto* pixels = static_cast<std::uint16_t*>(view.raster.GetPixels());
    for (int i = 0; i < 16; ++i) pixels[i] = static_cast<std::uint16_t>(100 * i);
    view.msg.Text(0x00080060, "CS", "CT");
    view.Lay();
    EXPECT_GT(view.params.GetWidth(), 1000);
    EXPECT_EQ(view.params.GetVoiLutSelection(), -1);
}

TEST(Saved, TheMessageInUseIsTheOneThatFilledTheObject) {
    View view;
    view.Open();
    Message other;
    other.Image(4, 4, "MONOCHROME1");
    ZEV_Dicom::SetAutoWinValuesForImage(&other, 11, 12);
    view.saved.Text(Dictionary::ORNEL1_INVERSE_WINDOW.GetTag(), "CS", "Y");
    LogCapture log;
    EXPECT_TRUE(view.params.UpdateFromDDP(&view.saved, &other, &view.raster, &view.vec));
    int width = 0, center = 0;
    EXPECT_TRUE(ZEV_Dicom::GetAutoWinValuesForImage(&view.msg, &width, &center));
    EXPECT_EQ(width * 100 + center, 1112);
    EXPECT_TRUE(view.params.IsInverse());
    EXPECT_TRUE(log.Has("Copy to last updated message. auto width=11, auto center=12"));
    EXPECT_TRUE(log.Has("vec=view Current w=400,c40,s=1.000000,i=0\n"));
    // A null saved message is true whatever the rest.
    EXPECT_TRUE(view.params.UpdateFromDDP(nullptr, nullptr, nullptr, nullptr));
    view.msg.Remove(Dicom_Tag(0x00280010));
    EXPECT_FALSE(view.Lay());
}

}  // namespace
