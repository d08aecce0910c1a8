#include <cmath>
#include <limits>

#include "image_support.h"
#include "io/real_world_values.h"

namespace {

using support::BytesOf;
using support::ImageTest;

class Overlays : public ImageTest {};
class Reals : public ImageTest {};

/// A plane of 3 rows and 2 columns, of which the first pixel of each row is set.
void put_plane(DicomDataSet& set, unsigned group, int row, int column, const std::string& data) {
    set.PutWord(DicomTag(group, 0x0010), "US", 3);
    set.PutWord(DicomTag(group, 0x0011), "US", 2);
    set.elements[DicomTag(group, 0x0050)] = {
        "SS", BytesOf({static_cast<std::uint32_t>(row), static_cast<std::uint32_t>(column)}, 2), {}};
    set.PutWord(DicomTag(group, 0x0100), "US", 1);
    set.PutWord(DicomTag(group, 0x0102), "US", 0);
    set.elements[DicomTag(group, 0x3000)] = {"OW", data, {}};
}

TEST_F(Overlays, PlanesLieWhereTheFileSays) {
    DicomDataSet set = support::Ramp("MR", {});
    put_plane(set, 0x6000, 1, 1, std::string("\x15\0", 2));
    put_plane(set, 0x601E, -25, 300, std::string("\x15\0", 2));
    set.PutText(DicomTag(0x601E, 0x1500), "LO", "Outside");
    const DicomFile file = Load(set);
    ASSERT_EQ(file.Overlays().size(), 2U);
    const OverlayPlane& first = file.Overlays()[0];
    EXPECT_EQ(std::make_pair(first.top, first.left), std::make_pair(0, 0));
    for (int row = 0; row < 3; ++row) EXPECT_TRUE(first.IsSet(row, 0) && !first.IsSet(row, 1)) << row;
    const OverlayPlane& second = file.Overlays()[1];
    EXPECT_EQ(std::make_pair(second.top, second.left), std::make_pair(-26, 299));
    EXPECT_EQ(second.label, "Outside");
    EXPECT_TRUE(file.Notes().empty());
}

TEST_F(Overlays, AFrameHasItsOwnPlane) {
    DicomDataSet set = support::Ramp("MR", {}, 4);
    set.PutText(tag::kNumberOfFrames, "IS", "3");
    set.elements[tag::kPixelData].bytes.resize(48);
    // Two planes, for the second and third frame; the second one begins within a byte.
    put_plane(set, 0x6000, 1, 1, std::string("\x15\x0A", 2));
    set.PutText(DicomTag(0x6000, 0x0015), "IS", "2");
    set.PutWord(DicomTag(0x6000, 0x0051), "US", 2);
    EXPECT_TRUE(Load(set, 0).Overlays().empty());
    EXPECT_TRUE(Load(set, 1).Overlays().at(0).IsSet(0, 0));
    const OverlayPlane third = Load(set, 2).Overlays().at(0);
    EXPECT_TRUE(!third.IsSet(0, 0) && !third.IsSet(0, 1) && third.IsSet(1, 1) && !third.IsSet(1, 0));
}

TEST_F(Overlays, UnusedBitsOfThePixels) {
    DicomDataSet set = support::OneRow({0x0005, 0x8006, 0x0007, 0xF008}, 16, 12, 11, false);
    set.PutWord(DicomTag(0x6000, 0x0010), "US", 1);
    set.PutWord(DicomTag(0x6000, 0x0011), "US", 4);
    set.PutWord(DicomTag(0x6000, 0x0100), "US", 16);
    set.PutWord(DicomTag(0x6000, 0x0102), "US", 15);
    const DicomFile file = Load(set);
    ASSERT_EQ(file.Overlays().size(), 1U);
    EXPECT_EQ(file.Overlays()[0].bits, (std::vector<std::uint8_t>{0, 1, 0, 1}));
    EXPECT_EQ(Values(file), (std::vector<int>{5, 6, 7, 8}));
    for (const auto& [position, isThere] :
         {std::pair<int, bool>{0, false}, {11, false}, {12, true}, {16, false}}) {
        set.PutWord(DicomTag(0x6000, 0x0102), "US", position);
        const DicomFile other = Load(set);
        EXPECT_EQ(other.Overlays().size(), isThere ? 1U : 0U) << position;
        EXPECT_EQ(other.Notes().empty(), isThere) << position;
    }
}

TEST_F(Overlays, DamagedPlanesCostANoteAndNoMore) {
    for (const auto& [rows, columns, bytes, left] :
         {std::array<int, 4>{65535, 65535, 2, 0}, {3, 2, 0, 0}, {0, 5, 2, -1}, {4, 8, 2, 2}, {4, 8, 4, 4}}) {
        DicomDataSet set = support::Ramp("MR", {});
        put_plane(set, 0x6002, 1, 1, std::string(static_cast<std::size_t>(bytes), '\xFF'));
        set.PutWord(DicomTag(0x6002, 0x0010), "US", rows);
        set.PutWord(DicomTag(0x6002, 0x0011), "US", columns);
        const DicomFile file = Load(set);
        SCOPED_TRACE(rows);
        EXPECT_EQ(file.Notes().empty(), rows == left && bytes == 4);
        // -1: the plane is left out.
        ASSERT_EQ(file.Overlays().empty(), left < 0);
        if (left >= 0) {
            EXPECT_EQ(file.Overlays()[0].rows, left);
        }
    }
}

TEST_F(Overlays, SupplementalPalettesGiveStoredValuesColours) {
    struct Case {
        const char* presentation;
        bool isSegmented;
        int bits;
        bool isThere;
    };
    for (const Case& c : {Case{"COLOR", false, 16, true},
                          {"MIXED", false, 8, true},
                          {"COLOR", true, 16, true},
                          {"MONOCHROME", false, 16, false}}) {
        SCOPED_TRACE(std::string(c.presentation) + std::to_string(c.bits));
        DicomDataSet set = support::Ramp("CT", {});
        set.PutText(tag::kPixelPresentation, "CS", c.presentation);
        for (unsigned channel = 0; channel < 3; ++channel) {
            set.elements[tag::kPaletteDescriptor + channel] = {
                "US", BytesOf({3, 100, static_cast<std::uint32_t>(c.bits)}, 2), {}};
            const std::uint32_t scale = c.bits == 16 ? 0x101 : 1, level = 10 + channel;
            if (c.isSegmented) {  // a discrete segment of 1, a linear one of 2
                set.elements[tag::kSegmentedPaletteData + channel] = {
                    "OW", BytesOf({0, 1, level * scale, 1, 2, (level + 20) * scale}, 2), {}};
            } else {
                std::string bytes =
                    BytesOf({level * scale, (level + 10) * scale, (level + 20) * scale}, c.bits / 8);
                set.elements[tag::kPaletteData + channel] = {
                    "OW", bytes + std::string(bytes.size() % 2, '\0'), {}};
            }
        }
        const DicomFile file = Load(set);
        ASSERT_EQ(file.Supplement().has_value(), c.isThere);
        if (!c.isThere) continue;
        EXPECT_FALSE(file.Supplement()->Has(99));
        EXPECT_EQ(file.Supplement()->At(100), 0x0A0B0CU);
        EXPECT_EQ(file.Supplement()->At(101), 0x141516U);
        EXPECT_EQ(file.Supplement()->At(250), 0x1E1F20U);
    }
}

/// Segments without a length, copied again and again, would never end.
TEST_F(Overlays, DamagedSupplementalPalettesCostANote) {
    std::string empty(4 * 30000, '\0');
    for (int i = 0; i < 30000; ++i) empty += BytesOf({2, 65535, 0, 0}, 2);
    for (const std::string& data : {std::string(), std::string("\x05\0", 2), empty}) {
        DicomDataSet set = support::Ramp("CT", {});
        set.PutText(tag::kPixelPresentation, "CS", "COLOR");
        for (unsigned channel = 0; channel < 3; ++channel) {
            set.elements[tag::kPaletteDescriptor + channel] = {"US", BytesOf({8, 0, 16}, 2), {}};
            set.elements[tag::kSegmentedPaletteData + channel] = {"OW", data, {}};
        }
        EXPECT_FALSE(Load(set).Supplement().has_value());
        EXPECT_EQ(Load(set).Notes().at(0).code, "palette");
    }
    // A palette of stored values has nothing to say of reduced ones.
    DicomDataSet deep = support::OneRow({0, 1000000}, 32, 32, 31, false);
    deep.PutText(tag::kPixelPresentation, "CS", "COLOR");
    deep.elements[tag::kPaletteDescriptor] = {"US", BytesOf({8, 0, 16}, 2), {}};
    EXPECT_EQ(Load(deep).Notes().back().code, "palette");
}

template <class Number, class Bits>
DicomDataSet real_image(const std::vector<Number>& values) {
    DicomDataSet set = support::OneRow(std::vector<std::uint32_t>(values.size()), 8, 8, 7, false);
    for (const std::uint32_t tag :
         {tag::kPixelData, tag::kBitsStored, tag::kHighBit, tag::kPixelRepresentation})
        set.Remove(tag);
    std::string bytes;
    for (const Number value : values) {
        Bits bits;
        std::memcpy(&bits, &value, sizeof bits);
        for (std::size_t b = 0; b < sizeof bits; ++b) bytes += static_cast<char>(bits >> (8 * b) & 0xFF);
    }
    set.PutWord(tag::kBitsAllocated, "US", 8 * static_cast<int>(sizeof(Bits)));
    set.elements[sizeof(Bits) == 4 ? tag::kFloatPixelData : tag::kDoubleFloatPixelData] = {
        sizeof(Bits) == 4 ? "OF" : "OD", bytes, {}};
    return set;
}

/// The ends of what a double holds, of which not even the distance is a number.
TEST_F(Reals, TheFarthestValuesAreTheEndsOfTheRange) {
    constexpr double kMost = std::numeric_limits<double>::max();
    const DicomFile file = Load(real_image<double, std::uint64_t>({-kMost, kMost, 0.0, std::nan("")}));
    EXPECT_EQ(Values(file), (std::vector<int>{1, 65535, 32768, 0}));
    EXPECT_TRUE(std::isfinite(file.DataSet().Number(tag::kRescaleIntercept, kMost * 2.0)));
}

/// Every value comes back by the rescale, to half a step of 65,535 over the range.
TEST_F(Reals, ValuesComeBackByTheRescale) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN(),
                     kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<std::vector<double>> rows = {{0.0, 0.0004, 0.002, 0.0011},
                                                   {-3.5e9, 7.25, 1e9, -1.0},
                                                   {-8000, 12, 57000, 1},
                                                   {3.25, 3.25, 3.25},
                                                   {1e-300, 3e-300, 2e-300},
                                                   {-8e307, 8e307, 0.0},
                                                   {0.5, kNan, kInfinity, -kInfinity, 0.25}};
    for (const std::vector<double>& values : rows) {
        SCOPED_TRACE(values[0]);
        const DicomFile file = Load(real_image<double, std::uint64_t>(values));
        const double slope = file.DataSet().Number(tag::kRescaleSlope, 0.0),
                     intercept = file.DataSet().Number(tag::kRescaleIntercept, 0.0);
        ASSERT_GT(slope, 0.0);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int pixel = file.Mono().Get(i);
            if (!std::isfinite(values[i])) {
                EXPECT_EQ(pixel, 0);
                continue;
            }
            EXPECT_NEAR(pixel * slope + intercept, values[i], slope * 0.5001 + std::fabs(values[i]) * 1e-12)
                << i;
        }
        EXPECT_TRUE(file.IsReduced());
    }
    // Whole numbers are exact.
    EXPECT_EQ(Load(real_image<float, std::uint32_t>({-8000.0F, 12.0F, 57000.0F}))
                  .DataSet()
                  .Number(tag::kRescaleSlope, 0.0),
              1.0);
    DicomDataSet padded = real_image<float, std::uint32_t>({1.0F, -9999.0F, 2.0F});
    padded.elements[tag::kFloatPixelPadding] = {"FL", BytesOf({0xC61C3C00}, 4), {}};
    const DicomFile file = Load(padded);
    EXPECT_EQ(file.Mono().Get(1), 0);
    EXPECT_TRUE(file.HasValue(0) && !file.HasValue(1) && file.HasValue(2));
    EXPECT_EQ(file.Notes().back().code, "absent");
}

TEST_F(Reals, WhatCannotBeRealIsRefused) {
    DicomDataSet set = real_image<float, std::uint32_t>({1.0F, 2.0F});
    set.PutWord(tag::kBitsAllocated, "US", 16);
    EXPECT_NE(Refusal(set).find("floating-point"), std::string::npos);
    set = real_image<double, std::uint64_t>({-8e307, 8e307});
    set.PutText(tag::kRescaleSlope, "DS", "1e10");
    EXPECT_NE(Refusal(set).find("beyond all reason"), std::string::npos);
    set = real_image<double, std::uint64_t>({1.0, 2.0});
    set.PutWord(tag::kRows, "US", 65535);
    EXPECT_NE(Refusal(set).find("cut short"), std::string::npos);
}

TEST(RealWorld, MappingsHaveARangeAndARule) {
    RealWorldMapping linear{"", "", "", "", 10.0, 20.0, 0.5, -1.0, {}};
    EXPECT_EQ(linear.Of(9.0), std::nullopt);
    EXPECT_EQ(linear.Of(20.0), 9.0);
    RealWorldMapping table{"", "", "", "", 10.0, 20.0, 1.0, 0.0, {5.0, 7.0}};
    EXPECT_EQ(table.Of(11.0), 7.0);
    EXPECT_EQ(table.Of(12.0), std::nullopt);
}

}  // namespace
