#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr unsigned kWeight = 0x00101030, kSize = 0x00101020, kSex = 0x00100040, kUnits = 0x00541001,
                   kSuvType = 0x00541006, kDecay = 0x00541102, kSeriesDate = 0x00080021,
                   kSeriesTime = 0x00080031, kAcquired = 0x0008002A, kZone = 0x00080201, kDose = 0x00181074,
                   kHalfLife = 0x00181075, kStartTime = 0x00181072, kStart = 0x00181078, kFrame = 0x00181242,
                   kReference = 0x00541300, kCorrected = 0x00280051;

using Texts = std::map<unsigned, std::string>;

/// 80 kg, 1.80 m; 400 MBq of half-life 3,600 s, injected an hour before the series. An empty text takes an
/// attribute away.
OBJ_Msg make_message(const Texts& changes) {
    Texts texts = {
        {0x00080060, "PT"},   {kWeight, "80"},     {kSize, "1.80"},           {kSex, "M"},
        {kUnits, "BQML"},     {kDecay, "START"},   {kSeriesDate, "20240301"}, {kSeriesTime, "120000"},
        {kDose, "400000000"}, {kHalfLife, "3600"}, {kStartTime, "110000.00"}};
    for (const auto& [tag, text] : changes) texts[tag] = text;
    OBJ_Msg msg;
    Dicom_Msg* const drug = msg.AddItem(Dicom_Tag(0x00540016));
    for (const auto& [tag, text] : texts) {
        Dicom_Msg& target = tag >> 16 == 0x0018 && tag != kFrame ? *drug : msg;
        if (!text.empty()) target.PutBytes(Dicom_Tag(tag), nullptr, text.data(), text.size());
    }
    return msg;
}

TEST(MeasurementUnits, UptakeValues) {
    // Worked out apart: 400 MBq halved are 200 MBq; in 80,000 g that is 2,500 Bq/ml for one SUV. Body surface
    // (Du Bois) 1.9964 m2, lean mass (James) of a man 62.716 kg and of a woman 56.365 kg.
    const double half = 2500, surface = 19964, man = 62716, woman = 56365;
    const auto bw = SPC_UNITS_SUV_BW;
    const auto bsa = SPC_UNITS_SUV_BSA;
    const auto lbm = SPC_UNITS_SUV_LBM;
    const wchar_t* const noPixels = L"pixel values in Bq/ml or SUV";
    const wchar_t* const noScan = L"a scan after the injection";
    const wchar_t* const noStart = L"the start of the scan or the frame's reference time";
    const wchar_t* const noBody = L"a plausible weight and size of the patient";
    const wchar_t* const noZone = L"the time zone of both the injection and the scan";
    const std::string at12 = "20240301120000", at13 = "20240301130000";
    struct Row {
        const char* name;
        Texts changes;
        SPC_MEASUREMENT_UNITS units;
        double perUnit;  ///< pixel value of one unit; 0 where data are missing
        const wchar_t* missing = nullptr;
    };
    const Row rows[] = {
        {"one half-life", {}, bw, half},
        {"surface", {}, bsa, 200e6 / surface},
        {"lean man", {}, lbm, 200e6 / man},
        {"lean woman", {{kSex, "F "}}, lbm, 200e6 / woman},
        {"for the injection", {{kDecay, "ADMIN"}, {kHalfLife, ""}, {kStartTime, ""}}, bw, 2 * half},
        {"over midnight", {{kStartTime, "233000"}, {kSeriesTime, "003000"}}, bw, half},
        {"fractions and short times", {{kStartTime, "1059"}, {kSeriesTime, "115900.0000"}}, bw, half},
        {"old form of a time", {{kStartTime, "11:00:00"}, {kSeriesDate, "2024.03.01"}}, bw, half},
        {"the zone",
         {{kAcquired, "20240301100000+0000"}, {kZone, "+0200"}, {kDecay, "NONE"}, {kFrame, "20"}},
         bw,
         half},
        {"start with a date", {{kStart, "20240229120000"}, {kHalfLife, "86400"}}, bw, half},
        {"a zone", {{kStart, "20240301130000+0200"}, {kSeriesTime, "120000"}, {kZone, "+0000"}}, bw, half},
        // A frame of one half-life has its mean activity 0.4712 half-lives, 1696.4 s, after its start.
        {"a series made later",
         {{kSeriesTime, "18"}, {kAcquired, at13}, {kReference, "5296440"}, {kFrame, "3600000"}},
         bw,
         half},
        {"not corrected",
         {{kDecay, "NONE"}, {kAcquired, at12}, {kFrame, "3600000"}},
         bw,
         half * std::log2(std::exp(1)) / 2},
        {"all corrections", {{kCorrected, "ATTN\\DECY"}}, bw, half},
        {"uptake values already", {{kUnits, "GML"}, {kDose, ""}, {kWeight, ""}}, bw, 1.0},
        {"uptake of one kind as another", {{kUnits, "GML"}, {kDose, ""}}, lbm, 80000 / man},
        {"lean mass by 120", {{kUnits, "GML"}, {kSuvType, "LBM"}}, bw, 64296.3 / 80000},
        {"lean mass by 120 as 128", {{kUnits, "GML"}, {kSuvType, "LBM"}}, lbm, 64296.3 / man},
        {"Janmahasatian", {{kUnits, "GML"}, {kSuvType, "LBMJANMA"}}, bw, 61731.4 / 80000},

        {"size that is no number", {{kSize, "tall"}}, bsa, 0, L"the patient's size"},
        {"no such body", {{kSize, "0.5"}}, lbm, 0, noBody},
        {"size in centimetres", {{kSize, "180"}}, bsa, 0, noBody},
        {"leaner than lean", {{kWeight, "20"}, {kSize, "2"}}, lbm, 0, noBody},
        {"weight in grams", {{kWeight, "80000"}}, bw, 0, noBody},
        {"dose in MBq", {{kDose, "400"}}, bw, 0, L"a dose and a body that give a plausible SUV"},
        {"a series made later, no frame", {{kSeriesTime, "18"}, {kAcquired, at12}}, bw, 0, noStart},
        {"no series", {{kSeriesTime, ""}, {kAcquired, at12}}, bw, 0, noStart},
        {"not corrected, no frame",
         {{kDecay, "NONE"}, {kAcquired, at12}},
         bw,
         0,
         L"the duration of the frame"},
        {"a zone on one side", {{kStart, "20240301110000+0000"}}, bw, 0, noZone},
        {"a zone on the other",
         {{kSeriesTime, ""}, {kAcquired, at12 + "+0000"}, {kReference, "0"}, {kFrame, "9"}},
         bw,
         0,
         noZone},
        {"30 February", {{kStart, "20240230110000"}, {kStartTime, ""}}, bw, 0, L"the time of the injection"},
        {"no attenuation correction", {{kCorrected, "DECY"}}, bw, 0, L"a correction for attenuation"},
        {"decay correction denied", {{kCorrected, "ATTN"}}, bw, 0, L"the kind of decay correction"},
        {"ideal weight", {{kUnits, "GML"}, {kSuvType, "IBW"}}, bw, 0, noPixels},
        {"no half-life", {{kHalfLife, "-1"}}, bw, 0, L"the half-life of the radionuclide"},
        {"no injection time", {{kStartTime, "25"}}, bw, 0, L"the time of the injection"},
        {"injected after the scan", {{kStart, at13}}, bw, 0, noScan},
        {"all decayed", {{kStart, "19500101000000"}}, bw, 0, noScan},
        {"no such units", {}, static_cast<SPC_MEASUREMENT_UNITS>(5), 0, L"units that are known"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const OBJ_Msg msg = make_message(row.changes);
        const SPC_MeasurementUnitsParams units(&msg);
        EXPECT_EQ(units.IsDataMissingForMeasurement(row.units), row.missing != nullptr);
        EXPECT_STREQ(units.GetMissingDataText(row.units), row.missing);
        const double expected = row.missing == nullptr ? 5.0 * row.perUnit : 5.0;
        EXPECT_NEAR(units.TranslateBackFromUnitsToPixel(5.0f, row.units), expected, 5e-5 * expected);
    }
}

TEST(MeasurementUnits, CurrentUnitRangeAndNothingAtAll) {
    const OBJ_Msg pet = make_message({});
    const OBJ_Msg without = make_message({{kWeight, ""}});
    const OBJ_Msg nuclear = make_message({{0x00080060, "NM"}});
    const auto current = [](const OBJ_Msg* msg) {
        return SPC_MeasurementUnitsParams(msg).TranslateBackFromUnitsToPixel(1.0f, SPC_UNITS_UNKNOWN);
    };
    EXPECT_EQ(current(&pet), 2500.0f);
    for (const OBJ_Msg* msg : {&without, &nuclear, static_cast<const OBJ_Msg*>(nullptr)})
        EXPECT_EQ(current(msg), 1.0f);

    SPC_MeasurementUnitsParams units;
    const auto percent = SPC_UNITS_PERCENTAGE_MAX_RANGE;
    for (const double bad : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        units.SetMaximalRange(0.0, bad);
        EXPECT_STREQ(units.GetMissingDataText(percent), L"the range of the pixel values");
    }
    int calls = 0;
    units.SetMaximalRangeSource([&calls] { return ++calls, std::make_optional(std::pair(-1000.0, 3000.0)); });
    SPC_MeasurementUnitsParams copy(units);
    EXPECT_EQ(copy.TranslateBackFromUnitsToPixel(1.0f, SPC_UNITS_RAW) + static_cast<float>(calls), 1.0f);
    EXPECT_EQ(copy.TranslateBackFromUnitsToPixel(0.0f, percent), -1000.0f);
    EXPECT_EQ(units.TranslateBackFromUnitsToPixel(25.0f, percent), 0.0f);
    EXPECT_EQ(units.TranslateBackFromUnitsToPixel(100.0f, percent), 3000.0f);
    EXPECT_EQ(calls, 1);
}

struct Mapping {
    std::vector<int> range;
    std::vector<double> line;  ///< slope, intercept
    std::vector<double> table;
    const char* code = "";
};

TEST(MeasurementUnits, RealWorldValues) {
    const double nan = std::nan("");
    const struct {
        const char* name;
        std::vector<Mapping> mappings;
        float value;
        float stored;  ///< NaN: no usable mapping
    } rows[] = {
        {"line", {{{0, 100}, {0.5, -10}, {}}}, 30.0f, 80.0f},
        {"line beyond its range", {{{0, 100}, {0.5, -10}, {}}}, 90.0f, 200.0f},
        {"pieces", {{{0, 99}, {1, 0}, {}}, {{100, 199}, {10, -900}, {}}}, 500.0f, 140.0f},
        {"other units", {{{0, 99}, {1, 0}, {}, "HU"}, {{100, 199}, {10, -900}, {}, "mg"}}, 500.0f, 500.0f},
        {"table: the nearest", {{{10, 13}, {}, {0, 5, 20, 100}}}, 14.0f, 12.0f},
        {"table: a falling one with a hole", {{{0, 3}, {}, {30, nan, 10, 0}}}, 28.0f, 0.0f},
        {"table longer than its range", {{{0, 1}, {}, {0, 1, 2, 3}}}, 3.0f, 1.0f},
        {"the first usable one", {{{0, 100}, {0, 5}, {}}, {{0, 100}, {2, 0}, {}}}, 30.0f, 15.0f},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OBJ_Msg msg;
        for (const Mapping& mapping : row.mappings) {
            Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x00409096));
            const unsigned rangeTags[] = {0x00409216, 0x00409211}, lineTags[] = {0x00409225, 0x00409224};
            for (std::size_t i = 0; i < 2; ++i) {
                const auto word = static_cast<unsigned short>(mapping.range[i]);
                item->PutBytes(Dicom_Tag(rangeTags[i]), "US", &word, 2);
                if (!mapping.line.empty()) item->PutBytes(Dicom_Tag(lineTags[i]), "FD", &mapping.line[i], 8);
            }
            if (!mapping.table.empty()) {
                item->PutBytes(Dicom_Tag(0x00409212), "FD", mapping.table.data(), mapping.table.size() * 8);
            }
            const std::string code = mapping.code;
            item->AddItem(Dicom_Tag(0x004008EA))
                ->PutBytes(Dicom_Tag(0x00080100), "SH", code.data(), code.size());
        }
        const SPC_MeasurementUnitsParams units(&msg);
        EXPECT_EQ(units.HasRealWorldValidInfo(), !std::isnan(row.stored));
        EXPECT_EQ(units.FindValueForRealWorldValue(row.value),
                  std::isnan(row.stored) ? row.value : row.stored);
    }
}

}  // namespace
