// Opening an image from its message.

#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedureList.h>

#include "support.h"

namespace {

using support::LogCapture;
using support::Message;

struct View {
    explicit View(const wchar_t* modalityName = L"CT") : modality(modalityName), vec(L"view") {
        vec.Append(&modality), vec.Append(&params);
    }
    int Open(OBJ_Msg& msg, bool force = false, bool headerOnly = false, KIT_Raster* pixels = nullptr) {
        return ZEV_Dicom().UpdateFromDicom(&msg, pixels == nullptr ? &raster : pixels, &params, nullptr,
                                           headerOnly, force, &vec);
    }
    SPC_Modality modality;
    ZEV_Params params;
    KIT_BaseParamsVec vec;
    refhost::MemoryRaster raster{4, 4, 12, false};
};

TEST(Open, ArgumentsInTheirOrder) {
    View view;
    Message msg;
    msg.Image(4, 4);
    ZEV_Dicom dicom;
    LogCapture log;
    EXPECT_EQ(dicom.UpdateFromDicom(nullptr, nullptr, nullptr, nullptr, false, false, &view.vec), -1);
    EXPECT_EQ(dicom.UpdateFromDicom(&msg, nullptr, nullptr, nullptr, false, false, &view.vec), -1);
    EXPECT_EQ(dicom.UpdateFromDicom(&msg, nullptr, &view.params, nullptr, false, false, &view.vec), -1);
    const std::vector<std::string> expected = {
        "5 ZEV_Dicom::UpdateFromDicom UpdateFromDicom: The msg is NULL \n",
        "3 ZEV_Dicom::UpdateFromDicom UpdateFromDicom: The params to be updated is NULL \n",
        "3 ZEV_Dicom::UpdateFromDicom UpdateFromDicom: Error: pixel data is NULL.\n"};
    EXPECT_EQ(log.lines, expected);
    EXPECT_EQ(dicom.UpdateFromDicom(&msg, &view.raster, &view.params, nullptr, false, false, nullptr), 0);
}

constexpr auto kEntry = ZEV_WindowSource::kVoiLutEntry, kRaw = ZEV_WindowSource::kRawAttributes;
constexpr auto kFixed = ZEV_WindowSource::kFallback, kLeft = ZEV_WindowSource::kNone;

struct WindowRow {
    const char* name;
    std::function<void(Message&)> message;
    std::function<void(View&)> before;
    bool force, headerOnly;
    int center, width, initialCenter;
    bool byDicom;
    ZEV_WindowSource source;
};

const std::function<void(View&)> kNothing = [](View&) {};

const auto kWindow = [](Message& m) { m.Window("40", "400"); };
const auto kInitialised = [](View& v) { v.params.InitCenter(7), v.params.InitWidth(8); };
const auto kByDicom = [](View& v) { kInitialised(v), v.params.SetFlagValuesByDicom(true); };
const auto kNotAllowed = [](View& v) { kInitialised(v), v.params.SetOriginal(false); };

const auto kFallback = [](View& v) { v.params.InitCenter(1000), v.params.InitWidth(4095); };
const auto kFraction = [](Message& m) { m.Window("40.9\\7", "400\\8"); };
const auto kNoCurve = [](Message& m) { m.Window("-40.9", "400", "WHATEVER"); };
const auto kBogus = [](Message& m) { m.Window("5", "6"), m.Remove(Dicom_Tag(0x00280010)); };
const auto kBare = [](Message& m) { m.Remove(Dicom_Tag(0x00280010)); };

const WindowRow kWindows[] = {
    {"entry 0", kFraction, kNothing, false, false, 40, 400, 40, true, kEntry},
    {"a fallback gives way to entry 0", kWindow, kFallback, false, false, 40, 400, 40, true, kEntry},
    {"an initialised window stays initial", kWindow, kInitialised, false, false, 40, 400, 7, true, kEntry},
    {"forced", kWindow, kByDicom, true, false, 40, 400, 40, true, kEntry},
    {"not allowed", kWindow, kNotAllowed, false, false, 7, 8, 7, false, kLeft},
    {"no curve: plain attributes", kNoCurve, kNotAllowed, false, false, -40, 400, -40, true, kRaw},
    {"header only without a window", [](Message&) {}, kNothing, false, true, 1000, 4095, 1000, false, kFixed},
    {"bogus without them", kBare, kNothing, false, false, 0, 0, 0, false, kLeft},
    {"bogus: plain attributes only", kBogus, kNothing, false, false, 5, 6, 5, false, kRaw},
};

TEST(Open, WhereTheWindowComesFrom) {
    for (const WindowRow& row : kWindows) {
        SCOPED_TRACE(row.name);
        View view;
        Message msg;
        msg.Image(4, 4);
        row.message(msg);
        row.before(view);
        ZEV_Dicom dicom;
        EXPECT_EQ(dicom.UpdateFromDicom(&msg, &view.raster, &view.params, nullptr, row.headerOnly, row.force,
                                        &view.vec),
                  0);
        EXPECT_EQ(dicom.GetWindowSource(), row.source);
        EXPECT_EQ(std::pair(view.params.GetCenter(), view.params.GetWidth()),
                  std::pair(row.center, row.width));
        EXPECT_EQ(view.params.GetInitialCenter(), row.initialCenter);
        EXPECT_EQ(view.params.GetInitialWidth(), row.initialCenter == 7 ? 8 : row.width);
        EXPECT_EQ(view.params.GetFlagValuesByDicom(), row.byDicom);
        EXPECT_EQ(view.raster.LockDepth(), 0);
    }
}

struct InverseRow {
    const char *name, *photometric;
    int samples;
    const char *uid, *inverseWindow, *shape;
    bool expected;
};

TEST(Open, Inversion) {
    const char* const kInverseMap = "Inversed Grayscale";
    const InverseRow rows[] = {
        {"MONOCHROME1", "MONOCHROME1", 1, "", "", "", true},
        {"MONOCHROME1 of three samples", "MONOCHROME1", 3, "", "", "", false},
        {"window not inverse beats MONOCHROME1", "MONOCHROME1", 1, "", "N", "", false},
        {"identity and not inverse", "MONOCHROME2", 1, "", "N", "IDENTITY", true},
        {"identity and inverse", "MONOCHROME2", 1, "1.2.3", "Y", "IDENTITY", false},
        {"inverse map, identity", "MONOCHROME1", 1, kInverseMap, "", "IDENTITY", false},
        {"inverse map, inverse shape", "MONOCHROME2", 1, kInverseMap, "N", "INVERSE", true},
        {"inverse map, inverse window", "MONOCHROME2", 1, kInverseMap, "Y", "IDENTITY", true},
    };
    for (const InverseRow& row : rows) {
        SCOPED_TRACE(row.name);
        View view;
        Message msg;
        msg.Image(4, 4, row.photometric).Window("40", "400");
        if (row.samples == 3) msg.Words(0x00280002, "US", {3});
        const auto put = [&msg](const Dicom_Tag& tag, const char* vr, const char* text) {
            if (*text != '\0') msg.Text(tag.GetTag(), vr, text);
        };
        put(Dicom_Dictionary::MIREL_COLOR_MAP_UID, "LO", row.uid);
        put(Dicom_Dictionary::ORNEL1_INVERSE_WINDOW, "CS", row.inverseWindow);
        put(Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE, "CS", row.shape);
        view.Open(msg);
        EXPECT_EQ(view.params.IsInverse(), row.expected);
        EXPECT_EQ(view.params.GetPhotometricInverse(), std::string(row.photometric) == "MONOCHROME1");
    }
}

struct PaddingRow {
    const char* name;
    const wchar_t* modality;
    int representation;  ///< -1: absent
    int value, limit;    ///< 16 bits; -1: absent
    int expectedValue, expectedLimit;
    bool used;
};

TEST(Open, Padding) {
    const PaddingRow rows[] = {
        {"the limit follows the value", L"MG", 0, 7, -1, 7, 7, true},
        {"unsigned by default", L"MG", -1, 65535, -1, 65535, 65535, true},
        {"signed", L"CT", 1, 65535, 63536, -1, -2000, false},
        {"a limit alone", L"MG", 0, -1, 9, -100000, 9, false},
    };
    for (const PaddingRow& row : rows) {
        SCOPED_TRACE(row.name);
        View view(row.modality);
        Message msg;
        msg.Image(4, 4).Window("40", "400");
        const auto put = [&msg](unsigned tag, int word) {
            if (word >= 0) msg.Words(tag, "US", {static_cast<std::uint16_t>(word)});
        };
        put(0x00280103, row.representation), put(0x00280120, row.value), put(0x00280121, row.limit);
        view.Open(msg);
        EXPECT_EQ(view.params.GetPixelPaddingValue(), row.expectedValue);
        EXPECT_EQ(view.params.GetPixelPaddingValueLimit(), row.expectedLimit);
        EXPECT_EQ(view.params.GetUsePadding(), row.used);
    }
}

TEST(Open, RescaleGammaLocalizerAndPval) {
    View view;
    Message msg;
    msg.Image(4, 4).Window("40", "400").Rescale("2.5", "-1024.9").Text(0x00080008, "CS", "A\\B\\LOCALIZER");
    msg.Put(Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE, Dicom_FL(1.5f));
    view.params.SetUpdatedToFitGroup(true);
    view.Open(msg);
    EXPECT_EQ(view.params.GetRescaleIntercept(), -1024);
    EXPECT_EQ(view.params.GetRescaleSlope(), 2.5f);
    EXPECT_EQ(view.params.GetGamma(), 1.5f);
    EXPECT_TRUE(view.params.IsLocalizer());
    EXPECT_FALSE(view.params.IsUpdatedToFitGroup());
    // A second call takes rescale anew and keeps the manager; without attributes rescale is the identity.
    Mapper_WindowingManager* const manager = view.params.GetVoiLutManager();
    Message plain;
    plain.Image(4, 4);
    view.Open(plain);
    EXPECT_EQ(view.params.GetRescaleSlope(), 1.0f);
    EXPECT_EQ(view.params.GetVoiLutManager(), manager);
    EXPECT_EQ(view.params.GetCenter(), 40);
    plain.Rescale("1e300", "-1e300");
    view.Open(plain, true);
    EXPECT_EQ(view.params.GetRescaleIntercept(), INT_MIN);
    EXPECT_TRUE(std::isfinite(view.params.GetRescaleSlope()));
}

TEST(Open, LogLinesOfAnImageThatLacksMuch) {
    View view;
    Message msg;
    msg.Image(4, 4);
    msg.Remove(Dicom_Tag(0x00280004));
    LogCapture log;
    view.Open(msg, false, true);
    const std::string name = " ZEV_Dicom::UpdateFromDicom ", own = name + "UpdateFromDicom";
    const std::vector<std::string> expected = {
        "3" + name + "MISSING TAG: PHOTOMETRIC_INTERPRETATION.  Using patch.\n",
        "6" + own + " :The width and center are 0 and changed it to something else \n",
        "5" + own + ": voi_lut_sel has illegal values. Setting NULL as window type. \n",
        "6" + name + "vec=view, bAllowWindowingChange=1\n"};
    EXPECT_EQ(log.lines, expected);
}

TEST(Open, WhereTheColourMapComesFrom) {
    struct Row {
        const char *name, *keyImage, *description, *uid;
        bool palette, byUser;
        const wchar_t* expected;
    };
    const Row rows[] = {
        {"the modality's", "", "", "", false, false, L"of PET"},
        {"a plain key image has none", "Y", "", "", false, false, nullptr},
        {"a key image with a description", "Y", "liver", "", false, false, L"of PET"},
        {"the user's choice stays", "", "", "", false, true, nullptr},
        {"the image's palette", "", "", "", true, false, L"Image palette"},
        {"an identity goes before the palette", "", "", "1.2.3", true, false, L"other"},
        {"an identity goes before the user and the key image", "Y", "", "1.2.3", false, true, L"other"},
    };
    ZEV_ProcedureColorMapsList& list = *ZEV_ProcedureColorMapsList::GetInstance();
    list.clearAndDestroy();
    auto* const set = new ZEV_ProcedureColorMaps(L"PT");
    for (const auto& [uid, name] :
         {std::pair(L"Inverse Grayscale SUV", L"of PET"), std::pair(L"1.2.3", L"other")}) {
        auto* const map = new ZEV_ColorMap;
        map->SetUID(uid), map->SetName(name);
        set->AddColorMap(map, L"");
    }
    list.append(set);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        View view(L"PT");
        Message msg;
        msg.Image(4, 4, row.palette ? "PALETTE COLOR" : "MONOCHROME2").Window("40", "400");
        if (*row.keyImage) msg.Text(Dicom_Dictionary::MIREL_KEY_IMAGE.GetTag(), "CS", row.keyImage);
        if (*row.description) msg.Text(0x00700081, "LO", row.description);
        if (*row.uid) msg.Text(Dicom_Dictionary::MIREL_COLOR_MAP_UID.GetTag(), "LO", row.uid);
        for (unsigned c = 0; c < 3 && row.palette; ++c) {
            msg.Words(0x00281101 + c, "US", {256, 0, 8});
            msg.Words(0x00281201 + c, "OW", std::vector<std::uint16_t>(128));
        }
        view.params.SetColormapChangedByUser(row.byUser);
        EXPECT_EQ(view.Open(msg), 0);
        ZEV_ColorMap* const map = view.params.GetColorMap();
        EXPECT_STREQ(map == nullptr ? nullptr : map->GetName(), row.expected);
    }
    list.clearAndDestroy();
}

}  // namespace
