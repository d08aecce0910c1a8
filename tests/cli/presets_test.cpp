#include <gtest/gtest.h>

#include <cmath>

#include "io/dicom_file.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "present/presentation.h"
#include "present/renderer.h"
#include "program_support.h"

namespace {

using Json = nlohmann::json;
using Presets = support::ProgramTest;

constexpr std::uint32_t kWeight = DicomTag(0x0010, 0x1030), kDecay = DicomTag(0x0054, 0x1102);

TEST_F(Presets, ListsTellWhatIsConfigured) {
    const std::string config = m_Directory / "c.json", strips = m_Directory / "strips.png";
    support::WriteFile(config, R"({"trees": {
        "windowing": {"p": [{"Modality": "CT", "windowing2": {"Name": "Narrow", "Min": 1, "Max": 9, "Units": "suv_bw"}}]},
        "colormaps": {"p": [{"Modality": "XY", "m": {"Display Name": "Two", "UID": "1.2", "SUV Type": 1, "Smooth": 0,
                             "map": {"0.0": "102030", "0.5": "A0B0C0", "1.0": "FFFFFF"}}}]}}})");
    const Json presets = Ask("presets --json --config " + config);
    ASSERT_EQ(presets.size(), 1U);
    EXPECT_EQ(presets[0]["procedure"], "CT");
    ASSERT_EQ(presets[0]["presets"].size(), 2U);
    EXPECT_EQ(presets[0]["presets"][0]["name"], "NO_WINDOWING");
    EXPECT_EQ(presets[0]["presets"][1], (Json{{"place", 1},
                                              {"name", "Narrow"},
                                              {"min", 1},
                                              {"max", 9},
                                              {"center", nullptr},
                                              {"width", nullptr},
                                              {"units", "suv_bw"}}));
    EXPECT_EQ(Run("presets --config " + config).out, "CT\n  Narrow                1 to 9 suv_bw\n");

    const Json maps = Ask("colormaps --json --config " + config + " -o " + strips)[0]["maps"];
    ASSERT_EQ(maps.size(), 3U);
    EXPECT_FALSE(maps[0].contains("table"));
    EXPECT_TRUE(maps[0]["dummy"]);
    EXPECT_EQ(maps[1]["table"][0], "FFFFFF");
    EXPECT_EQ(maps[2]["uid"], "1.2");
    EXPECT_EQ(maps[2]["buttonId"], 2);
    EXPECT_TRUE(maps[2]["suv"]);
    EXPECT_FALSE(maps[2]["smooth"]);
    ASSERT_EQ(maps[2]["table"].size(), 256U);
    EXPECT_EQ(maps[2]["table"][1], "102030");
    EXPECT_EQ(maps[2]["table"][254], "A0B0C0");
    const Picture picture = ReadPng(strips);
    int shown[2] = {};
    for (std::size_t i = 0; i < picture.bytes.size(); i += 3) {
        if (picture.bytes[i] == 0x10 && picture.bytes[i + 2] == 0x30) ++shown[0];
        if (picture.bytes[i] == 0xA0 && picture.bytes[i + 2] == 0xC0) ++shown[1];
    }
    EXPECT_GT(shown[0], 1000);
    EXPECT_NEAR(shown[0], shown[1], 100);

    int palettes = 0;
    for (const Json& procedure : Ask("colormaps --json")) {
        for (const Json& map : procedure["maps"])
            palettes += map["uid"].get<std::string>().rfind("1.2.840.10008.1.5.", 0) == 0;
    }
    EXPECT_EQ(palettes, 8);
    EXPECT_EQ(Run("presets --config " + m_Directory / "absent.json").status, 2);
}

TEST_F(Presets, OptionsChooseWindowAndMap) {
    WriteSamples(m_Directory.Path());
    const struct {
        const char* arguments;
        Json expected;
    } rows[] = {
        // Half is added to -600 and the rest cut off.
        {"ct.dcm --preset Lung",
         {{"center", -599}, {"width", 1500}, {"windowSource", "preset"}, {"preset", "Lung"}}},
        {"mr.dcm --preset 'Full range 12 bit'", {{"windowMin", 0}, {"windowMax", 4095}}},
        {"mr.dcm --preset ct/stroke", {{"center", 40}, {"width", 40}, {"preset", "Stroke"}}},
        {"mr.dcm --preset Angio", {{"center", 250}}},  // the modality's own before the CT's
        {"xa.dcm --preset CT/Bone", {{"width", 1800}, {"voiLutSelection", nullptr}}},
        {"pt.dcm", {{"windowSource", "colormap-suv"}, {"preset", nullptr}, {"notes", Json::array()}}},
        {"pt.dcm --colormap Grayscale", {{"windowSource", "colormap-suv"}}},
        {"pt.dcm --voi 0", {{"windowSource", "voi-lut-entry"}, {"center", 24000}}},
        {"pt.dcm --voi 0 --colormap PET", {{"windowSource", "voi-lut-entry"}, {"center", 24000}}},
        {"pt.dcm --preset 'SUV 2-10' --colormap PET", {{"windowSource", "preset"}}},
        {"pt.dcm --center 7 --width 9", {{"windowSource", "option"}, {"center", 7}}},
        {"nm.dcm --colormap PET", {{"windowSource", "voi-lut-entry"}, {"center", 64}}},
        {"us.dcm", {{"colour", true}, {"palettes", true}}},
        {"nm.dcm", {{"colorMap", nullptr}}},
        {"nm.dcm --colormap 1.2.840.10008.1.5.7",
         {{"colorMap", {{"name", "Fall"}, {"uid", "1.2.840.10008.1.5.7"}, {"dummy", false}}}}},
        {"ct.dcm", {{"colorMap", nullptr}}},
    };
    for (const auto& row : rows) {
        const Json info = Info(m_Directory / row.arguments);
        for (const auto& [key, value] : row.expected.items())
            EXPECT_EQ(info[key], value) << row.arguments << " " << key;
    }
    // 350 MBq of F-18, an hour before, in 75 kg
    const double suv = 350e6 * std::exp2(-3600.0 / 6586.2) / 75000.0;
    EXPECT_NEAR(Info(m_Directory / "pt.dcm")["width"].get<int>(), 10 * suv, 1.0);
    const Json info = Info(m_Directory / "pt.dcm --preset 'SUV 2-10'");
    EXPECT_NEAR(info["windowMin"].get<int>(), 2 * suv, 1.0);
    EXPECT_NEAR(info["windowMax"].get<int>(), 10 * suv, 1.0);

    const struct {
        const char* arguments;
        int status;
        const char* says;
    } failures[] = {
        {"ct.dcm --preset Nothing", 2, "'Nothing'; zev presets"},
        {"ct.dcm --preset NO_WINDOWING", 2, "zev presets"},
        {"ct.dcm --preset ''", 2, "zev presets"},
        {"ct.dcm --colormap 1.2.3", 2, "'1.2.3'; zev colormaps"},
        {"ct.dcm --preset Lung --center 1 --width 2", 2, "--preset"},
        {"ct.dcm --preset Lung --auto", 2, "--preset"},
        {"ct.dcm --preset Lnug", 2, "did you mean 'Lung'"},
        {"ct.dcm --preset 'ct/lnug'", 2, "did you mean 'CT/Lung'?"},
        {"ct.dcm --preset 'SUV 0-5'", 2,
         "not one of CT; 'PT/SUV 0-5' applies it all the same; those of CT are 'Brain'"},
        {"xa.dcm --preset Bone", 2, "XA has no presets"},
        {"ct.dcm --colormap 'hot irno'", 2, "did you mean 'Hot Iron'"},
        {"ct.dcm --preset 'PT/SUV 0-5'", 1,
         "ct.dcm: preset 'PT/SUV 0-5' needs pixel values in Bq/ml or SUV, which the image lacks"},
    };
    for (const auto& row : failures) {
        const support::Outcome outcome = Run("info " + m_Directory / row.arguments);
        EXPECT_EQ(outcome.status, row.status) << row.arguments;
        EXPECT_NE(outcome.err.find(row.says), std::string::npos) << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

TEST_F(Presets, WithoutItsDataAPetImageKeepsItsWindowAndSaysWhy) {
    const std::string path = m_Directory / "pet.dcm";
    const struct {
        const char* name;
        std::uint32_t lost;
        const char* needs;
    } rows[] = {
        {"nothing lost", 0, ""},
        {"weight", kWeight, "the patient's weight"},
        {"units", tag::kPetUnits, "pixel values in Bq/ml or SUV"},
        {"dose", DicomTag(0x0054, 0x0016), "the injected dose"},
        {"decay", kDecay, "the kind of decay correction"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = support::PetRamp({{tag::kWindowCenter, "40"},
                                             {tag::kWindowWidth, "70"},
                                             {tag::kRescaleSlope, "100"},
                                             {tag::kRescaleIntercept, "0"}});
        set.Remove(row.lost);
        support::WriteImage(path, set);
        const Json info = Info(path);
        const support::Outcome preset = Run("info --preset 'SUV 0-5' " + path);
        if (row.lost == 0) {
            EXPECT_EQ(info["width"], 10000);
            EXPECT_EQ(preset.status, 0) << preset.err;
            continue;
        }
        EXPECT_EQ(info["center"], 40);
        EXPECT_EQ(info["windowSource"], "voi-lut-entry");
        const std::string why = std::string("needs ") + row.needs + ", which the image lacks";
        EXPECT_EQ(info["notes"],
                  Json::array({{{"code", "no-suv"}, {"text", "not on the SUV scale: it " + why}}}));
        EXPECT_EQ(preset.err, "zev: " + path + ": preset 'SUV 0-5' " + why + "\n");
        EXPECT_EQ(preset.status, 1);
    }
}

TEST_F(Presets, FractionsAreWindowedInStoredValues) {
    const std::string path = m_Directory / "f.dcm", png = m_Directory / "f.png";
    DicomDataSet uptake = support::PetRamp({{tag::kRescaleSlope, "0.05"},
                                            {tag::kRescaleIntercept, "0"},
                                            {tag::kWindowCenter, "3"},
                                            {tag::kWindowWidth, "6"}});
    uptake.PutText(tag::kPetUnits, "CS", "GML");
    // Values from 12.75 down to 0, told by entry 1 in fractions.
    const DicomDataSet falling = support::Ramp("MR", {{tag::kRescaleSlope, "-0.05"},
                                                      {tag::kRescaleIntercept, "12.75"},
                                                      {tag::kWindowCenter, "6\\6.4"},
                                                      {tag::kWindowWidth, "12\\0.7"}});
    const struct {
        const char* name;
        const DicomDataSet& set;
        const char* options;
        const char* units;
        double center, width;  ///< after rescale
        std::uint8_t first, last;
    } rows[] = {
        {"SUV scale", uptake, " --colormap Grayscale", "modality", 5, 10, 0, 255},
        {"SUV preset", uptake, " --colormap Grayscale --preset 'SUV 0-5'", "stored", 2.5, 5, 0, 255},
        {"per cent", uptake, " --colormap Grayscale --preset 'NM/0-50 %'", "stored", 3.1875, 6.375, 0, 255},
        {"falling", falling, "", "modality", 6, 12, 255, 0},
        {"falling, entry 1", falling, " --voi 1", "stored", 6.4, 0.7, 255, 0},
        {"falling, per cent", falling, " --voi 1 --preset 'NM/0-50 %'", "stored", 3.1875, 6.375, 255, 0},
        {"falling, whole again", falling, " --voi 1 --preset CT/Stroke", "modality", 40, 40, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        support::WriteImage(path, row.set);
        const Json info = Info(path + row.options);
        EXPECT_EQ(info["windowUnits"], row.units);
        const bool inStored = info["windowUnits"] == "stored";
        EXPECT_NEAR(info[inStored ? "modalityCenter" : "center"].get<double>(), row.center, 0.05);
        EXPECT_NEAR(info[inStored ? "modalityWidth" : "width"].get<double>(), row.width, 0.05);
        ASSERT_EQ(Run("render " + path + " -o " + png + row.options).status, 0);
        const Picture picture = ReadPng(png);
        EXPECT_EQ(picture.bytes.front(), row.first);
        EXPECT_EQ(picture.bytes.back(), row.last);
    }
}

/// An image looks the same whichever was open before it in the process.
TEST(PresetsInOneProcess, OrderOfImagesDoesNotShow) {
    support::TemporaryDirectory directory;
    WriteSamples(directory.Path());
    LoadConfiguration("");
    PresentationOptions steps;
    steps.colourMap = "PET 20 Step";
    std::vector<int> widths;
    for (const auto& options : {PresentationOptions(), PresentationOptions(), steps, PresentationOptions()}) {
        OpenedImage image(directory / "pt.dcm", options);
        EXPECT_EQ(image.GetWindowSource(), WindowSource::kColourMapSuv);
        widths.push_back(image.Params().GetWidth());
    }
    EXPECT_EQ(widths, std::vector<int>(4, widths[0]));
}

}  // namespace
