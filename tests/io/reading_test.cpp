#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "cli/app_test_support.h"
#include "image_support.h"
#include "io/codestream.h"
#include "io/dicom_file.h"
#include "io/present_error.h"
#include "present/message_elements.h"

namespace {

using support::BytesOf;
using support::kPhotometric;
using support::kPixels;
using support::OneRow;

class Reading : public support::ImageTest {};

TEST_F(Reading, RealFilesHaveTheStoredValuesOfTheManifest) {
    if (support::TestData().empty()) GTEST_SKIP() << "no test data";
    for (auto& row : support::Manifest()) {
        SCOPED_TRACE(row["file"]);
        const std::string path = support::TestData() + "/" + row["file"];
        if (row["stored_min"] == "-") {
            EXPECT_THROW(DicomFile::Load(path), PresentError);
            continue;
        }
        std::int64_t low = INT64_MAX, high = INT64_MIN;
        int frames = 1;
        for (int frame = 0; frame < frames; ++frame) {
            const DicomFileContent content = ReadDicomFile(path, frame);
            frames = content.frames;
            const std::size_t samples =
                content.frame.Pixels() * static_cast<std::size_t>(content.frame.samples);
            for (std::size_t i = 0; i < samples; ++i) {
                low = std::min(low, SampleValue(content.frame, i));
                high = std::max(high, SampleValue(content.frame, i));
            }
        }
        EXPECT_EQ(std::to_string(frames), row["frames"]);
        EXPECT_EQ(std::to_string(low), row["stored_min"]);
        EXPECT_EQ(std::to_string(high), row["stored_max"]);
    }
}

TEST_F(Reading, PixelsAreShiftedMaskedAndSignExtended) {
    const struct {
        const char* name;
        std::vector<std::uint32_t> stored;
        int allocated, bitsStored, high;
        bool isSigned;
        int padding;  // -1 for none
        int bits;
        std::vector<int> expected;
    } rows[] = {
        {"12 bits, junk above", {0xF123, 0x0FFF}, 16, 12, 11, false, -1, 12, {0x123, 0xFFF}},
        {"12 bits at the top", {0x1230, 0xFFFF}, 16, 12, 15, false, -1, 12, {0x123, 0xFFF}},
        {"signed 12 bits", {0x0800, 0x07FF}, 16, 12, 11, true, -1, 12, {-2048, 2047}},
        {"8 of 16 bits lie in bytes", {0x01FE, 0x0080}, 16, 8, 7, true, -1, 8, {-2, -128}},
        {"padding within the stored bits", {0x0010, 0x0FFF}, 16, 12, 11, false, 4095, 12, {16, 4095}},
        {"padding beyond the stored bits", {0x8000, 0x0010}, 16, 12, 11, true, 0x8000, 16, {-32768, 16}},
        {"32 bits whose values fit 16", {65535, 7}, 32, 32, 31, false, -1, 16, {65535, 7}},
        {"32 bits signed whose values fit 16", {0xFFFFFFFF, 7}, 32, 32, 31, true, -1, 16, {-1, 7}},
        {"32 bits in a span of 16", {1000000, 1065535}, 32, 32, 31, false, -1, 16, {0, 65535}},
        {"32 bits scaled", {0, 0xFFFFFFFF}, 32, 32, 31, false, -1, 16, {0, 65535}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow(row.stored, row.allocated, row.bitsStored, row.high, row.isSigned);
        if (row.padding >= 0) set.PutWord(DicomTag(0x0028, 0x0120), row.isSigned ? "SS" : "US", row.padding);
        const DicomFile file = Load(set);
        EXPECT_EQ(file.Mono().bits, row.bits);
        EXPECT_EQ(Values(file), row.expected);
        EXPECT_EQ(file.DataSet().Word(DicomTag(0x0028, 0x0101), 0), row.bits);
        EXPECT_EQ(file.Notes().empty(), row.allocated <= 16);
    }
}

TEST_F(Reading, ReducedPixelsGiveTheirModalityValuesThroughTheRescale) {
    for (const char* slope : {"1", "0.001", "2.5"}) {
        for (const std::vector<std::uint32_t>& stored : {std::vector<std::uint32_t>{795000, 1254000, 800001},
                                                         {0, 4000000000U, 12345678},
                                                         {70000, 70010, 70003}}) {
            SCOPED_TRACE(std::string(slope) + " " + std::to_string(stored[0]));
            DicomDataSet set = OneRow(stored, 32, 32, 31, false);
            set.PutText(DicomTag(0x0028, 0x1053), "DS", slope);
            set.PutText(DicomTag(0x0028, 0x1052), "DS", "-5");
            const DicomFile file = Load(set);
            const double newSlope = file.DataSet().Number(DicomTag(0x0028, 0x1053), 0);
            const double newIntercept = file.DataSet().Number(DicomTag(0x0028, 0x1052), 0);
            for (std::size_t i = 0; i < stored.size(); ++i) {
                const double wanted = stored[i] * std::stod(slope) - 5;
                EXPECT_NEAR(file.Mono().Get(i) * newSlope + newIntercept, wanted, newSlope * 1.001);
            }
            EXPECT_EQ(newIntercept, static_cast<int>(newIntercept));
            const auto range = std::minmax_element(stored.begin(), stored.end());
            EXPECT_EQ(file.StoredRange(), ValueRange({*range.first, *range.second}));
        }
    }
}

TEST_F(Reading, ModalityLutIsAppliedOnceAndTakesTheRescaleAway) {
    DicomDataSet set = OneRow({0xFFFD, 0, 2, 99}, 16, 16, 15, true);
    DicomDataSet lut;
    lut.PutWord(DicomTag(0x0028, 0x3002), "SS", 0);
    lut.elements[DicomTag(0x0028, 0x3002)].bytes = BytesOf({4, 0xFFFF, 10}, 2);
    lut.elements[DicomTag(0x0028, 0x3006)] = DicomElement{"OW", BytesOf({5, 6, 7, 1023}, 2), {}};
    lut.PutText(tag::kModalityLutType, "LO", "OD");
    set.elements[DicomTag(0x0028, 0x3000)] = DicomElement{"SQ", "", {lut}};
    set.PutText(DicomTag(0x0028, 0x1053), "DS", "3");
    set.PutWord(DicomTag(0x0028, 0x0120), "SS", 99);
    const DicomFile file = Load(set);
    EXPECT_EQ(Values(file), (std::vector<int>{5, 6, 1023, 1023}));
    EXPECT_EQ(file.StoredRange(), ValueRange({-3, 2}));
    EXPECT_EQ(file.Mono().bits, 10);
    EXPECT_FALSE(file.Mono().isSigned);
    EXPECT_EQ(file.DataSet().Word(DicomTag(0x0028, 0x0103), 1), 0);
    for (unsigned element : {0x1053U, 0x3000U, 0x0120U})
        EXPECT_FALSE(file.DataSet().Has(DicomTag(0x0028, element)));
    EXPECT_EQ(file.DataSet().Text(tag::kRescaleType), "OD");
}

TEST_F(Reading, ModalityLutSeesValuesBeforeTheirReduction) {
    DicomDataSet set = OneRow({2, 70000, 0, 3}, 32, 32, 31, false), lut;
    lut.elements[DicomTag(0x0028, 0x3002)] = DicomElement{"US", BytesOf({4, 0, 10}, 2), {}};
    lut.elements[DicomTag(0x0028, 0x3006)] = DicomElement{"OW", BytesOf({5, 6, 7, 1023}, 2), {}};
    set.elements[DicomTag(0x0028, 0x3000)] = DicomElement{"SQ", "", {lut}};
    const DicomFile file = Load(set);
    EXPECT_EQ(Values(file), (std::vector<int>{7, 1023, 5, 1023}));
    EXPECT_TRUE(file.Notes().empty());
}

TEST_F(Reading, PalettesInEveryForm) {
    const std::string ramp = BytesOf({0, 0x8000, 0xFFFF}, 2);
    const struct {
        const char* name;
        std::vector<std::uint32_t> descriptor;
        std::string data;
        bool isSegmented;
        std::vector<std::uint32_t> pixels;
        std::vector<int> expected;  // red
    } rows[] = {
        {"16-bit entries", {3, 0, 16}, ramp, false, {0, 1, 2}, {0, 128, 255}},
        {"beyond both ends", {3, 10, 16}, ramp, false, {0, 11, 200}, {0, 128, 255}},
        {"fewer entries than described", {256, 0, 16}, ramp, false, {1, 2, 255}, {128, 255, 255}},
        {"8-bit entries, one a byte", {4, 0, 8}, BytesOf({1, 2, 3, 4}, 1), false, {0, 3}, {1, 4}},
        {"8-bit entries, one a word", {4, 0, 8}, BytesOf({1, 2, 3, 4}, 2), false, {0, 3}, {1, 4}},
        {"segments: discrete and linear",
         {6, 0, 16},
         BytesOf({0, 2, 0, 0x4000, 1, 4, 0x8000}, 2),
         true,
         {0, 1, 2, 3, 5, 9},
         {0, 64, 80, 96, 128, 128}},
        {"segments: a copied one",
         {4, 0, 16},
         BytesOf({0, 2, 0, 0xFFFF, 2, 1, 0, 0}, 2),
         true,
         {0, 1, 2, 3},
         {0, 255, 0, 255}},
        {"segments cut off", {6, 0, 16}, BytesOf({0, 1, 0x8000, 1}, 2), true, {0, 5}, {128, 128}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow(row.pixels, 8, 8, 7, false);
        set.PutText(kPhotometric, "CS", "PALETTE COLOR");
        for (unsigned c = 0; c < 3; ++c) {
            set.elements[DicomTag(0x0028, 0x1101 + c)] = DicomElement{"US", BytesOf(row.descriptor, 2), {}};
            set.elements[DicomTag(0x0028, (row.isSegmented ? 0x1221 : 0x1201) + c)] =
                DicomElement{"OW", row.data, {}};
        }
        const DicomFile file = Load(set);
        ASSERT_TRUE(file.IsColour());
        std::vector<int> red;
        for (int x = 0; x < file.Columns(); ++x) red.push_back(file.Colour().At(x, 0)[0]);
        EXPECT_EQ(red, row.expected);
    }
}

TEST_F(Reading, ColourModelsGiveTheSameColours) {
    // Red, green, blue and grey; the differences by PS3.3 C.7.6.3.1.2.
    const struct {
        const char* name;
        const char* photometric;
        int planar, allocated;
        std::vector<std::uint32_t> samples;
    } rows[] = {
        {"interleaved", "RGB", 0, 8, {255, 0, 0, 0, 255, 0, 0, 0, 255, 90, 90, 90}},
        {"planes", "RGB", 1, 8, {255, 0, 0, 90, 0, 255, 0, 90, 0, 0, 255, 90}},
        {"16 bits", "RGB", 0, 16, {65535, 0, 0, 0, 65535, 0, 0, 0, 65535, 23130, 23130, 23130}},
        {"luminance", "YBR_FULL", 0, 8, {76, 85, 255, 150, 44, 21, 29, 255, 107, 90, 128, 128}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow(row.samples, row.allocated, row.allocated, row.allocated - 1, false);
        set.PutWord(DicomTag(0x0028, 0x0002), "US", 3);
        set.PutWord(DicomTag(0x0028, 0x0006), "US", row.planar);
        set.PutWord(DicomTag(0x0028, 0x0011), "US", 4);
        set.PutText(kPhotometric, "CS", row.photometric);
        const DicomFile file = Load(set);
        const int expected[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {90, 90, 90}};
        for (int x = 0; x < 4; ++x) {
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(file.Colour().At(x, 0)[c], expected[x][c], 1) << x << " " << c;
        }
    }
}

TEST_F(Reading, FunctionalGroupsOfTheFrameComeToTheTop) {
    const auto sequence = [](DicomDataSet item) { return DicomElement{"SQ", "", {std::move(item)}}; };
    const std::uint32_t center = DicomTag(0x0028, 0x1050), rows = DicomTag(0x0028, 0x0010);
    const std::uint32_t voiGroup = DicomTag(0x0028, 0x9132), mapping = DicomTag(0x0040, 0x9096);
    DicomDataSet window, shared, units, frames[2];
    window.PutText(center, "DS", "40");
    window.PutWord(rows, "US", 9);  // not a property of one frame
    shared.elements[voiGroup] = sequence(window);
    units.PutText(DicomTag(0x0028, 0x3003), "LO", "units");
    shared.elements[mapping] = sequence(units);
    window.PutText(center, "DS", "50");
    frames[1].elements[voiGroup] = sequence(window);
    DicomDataSet set = OneRow({1, 2, 3, 4}, 8, 8, 7, false);
    set.PutWord(DicomTag(0x0028, 0x0011), "US", 2);
    set.PutText(DicomTag(0x0028, 0x0008), "IS", "2");
    set.elements[DicomTag(0x5200, 0x9229)] = sequence(shared);
    set.elements[DicomTag(0x5200, 0x9230)] = DicomElement{"SQ", "", {frames[0], frames[1]}};

    const DicomFile first = Load(set, 0), second = Load(set, 1);
    EXPECT_EQ(first.DataSet().Text(center), "40");
    EXPECT_EQ(second.DataSet().Text(center), "50");
    EXPECT_EQ(Values(second), (std::vector<int>{3, 4}));
    EXPECT_EQ(second.DataSet().Word(rows, 0), 1);
    ASSERT_NE(second.DataSet().FirstItem(mapping), nullptr);
    EXPECT_EQ(second.DataSet().FirstItem(mapping)->Text(DicomTag(0x0028, 0x3003)), "units");
    EXPECT_DOUBLE_EQ(MakeMessage(second.DataSet())->GetDouble(Dicom_Tag(center), 0), 50);
    EXPECT_THROW(Load(set, 2), PresentError);
}

TEST_F(Reading, WhatCannotBePresentedSaysWhy) {
    const struct {
        const char* name;
        std::uint32_t tag;
        int value;  // -1: the attribute is taken out
        const char* reason;
    } rows[] = {
        {"no pixels", kPixels, -1, "no pixel data"},
        {"no rows", DicomTag(0x0028, 0x0010), 0, "0 rows"},
        {"rows absent", DicomTag(0x0028, 0x0010), -1, "0 rows"},
        {"more rows than data", DicomTag(0x0028, 0x0010), 65535, "cut short: 4 bytes of 262140"},
        {"two samples", DicomTag(0x0028, 0x0002), 2, "samples per pixel"},
        {"odd allocation", DicomTag(0x0028, 0x0100), 9, "9 bits allocated"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow({1, 2, 3, 4}, 8, 8, 7, false);
        if (row.value < 0) {
            set.Remove(row.tag);
        } else {
            set.PutWord(row.tag, "US", row.value);
        }
        EXPECT_NE(Refusal(set).find(row.reason), std::string::npos) << Refusal(set);
    }
    DicomDataSet many = OneRow({1, 2, 3, 4}, 8, 8, 7, false);
    many.PutText(DicomTag(0x0028, 0x0008), "IS", "2147483647");
    EXPECT_NE(Refusal(many).find("2147483647 frames"), std::string::npos);
}

TEST(RunLength, GoodAndDamagedSegments) {
    const auto header = [](std::uint32_t segments, std::vector<std::uint32_t> offsets) {
        offsets.resize(15);
        return BytesOf({segments}, 4) + BytesOf(offsets, 4);
    };
    const struct {
        const char* name;
        std::string bytes;
        std::size_t complete;
        std::string expected;
    } rows[] = {
        {"a run and literals", header(1, {64}) + "\xFE" + "a" + "\x01" + "bc", 5, "aaabc"},
        {"a skipped code", header(1, {64}) + "\x80" + "\xFC" + "z", 5, "zzzzz"},
        {"a run beyond the end", header(1, {64}) + "\xF0" + "q", 5, "qqqqq"},
        {"literals cut off", header(1, {64}) + "\x04" + "ab", 2, "ab"},
        {"a run without its byte", header(1, {64}) + "\x01" + "ab" + "\xFC", 2, "ab"},
        {"another number of segments", header(2, {64, 64}) + "\xFC" + "z", 0, ""},
        {"an offset outside", header(1, {0xFFFFFFF0}) + "\xFC" + "z", 0, ""},
        {"no header", std::string(40, '\0'), 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string frame;
        EXPECT_EQ(DecodeRle(row.bytes, 5, 1, 1, &frame), row.complete);
        EXPECT_EQ(frame.substr(0, row.complete), row.expected);
    }
}

}  // namespace
