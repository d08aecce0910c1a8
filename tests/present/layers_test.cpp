#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "cli/sample_state.h"
#include "present/annotations.h"
#include "present/cielab.h"
#include "present/overlays.h"
#include "present/shutters.h"

namespace {

constexpr int kSide = 64;

/// A picture of 64 x 64 black pixels under a view of an image of as many.
struct Sheet {
    Picture picture{kSide, kSide, Picture::kGrey8};
    Canvas canvas;

    explicit Sheet(const SPC_Affine& toScreen = {1, 0, 0, 0, 1, 0})
        : canvas{picture, toScreen, toScreen.Inverse(), {0, 0, kSide, kSide}} {}
    int At(int x, int y) const { return *picture.At(x, y); }
    int Lit() const {
        int count = 0;
        for (const std::uint8_t level : picture.bytes) count += level > 0 ? 1 : 0;
        return count;
    }
    void Draw(const Layers& layers) const {
        for (const auto& layer : layers) layer->Draw(canvas);
    }
};

DicomElement floats(const std::vector<float>& numbers) {
    std::string bytes;
    for (const float number : numbers) {
        std::uint32_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift & 0xFF);
    }
    return {"FL", bytes, {}};
}

DicomDataSet graphic(const char* type, const std::vector<float>& points, const char* units = "PIXEL") {
    DicomDataSet item;
    item.PutText(DicomTag(0x0070, 0x0005), "CS", units);
    item.PutWord(DicomTag(0x0070, 0x0020), "US", 2);
    item.PutWord(DicomTag(0x0070, 0x0021), "US", static_cast<int>(points.size() / 2));
    item.elements[DicomTag(0x0070, 0x0022)] = floats(points);
    item.PutText(DicomTag(0x0070, 0x0023), "CS", type);
    return item;
}

PresentationState state_with(const std::vector<DicomDataSet>& graphics) {
    PresentationState state;
    DicomDataSet item;
    item.PutText(DicomTag(0x0070, 0x0002), "CS", "L");
    item.elements[DicomTag(0x0070, 0x0009)] = {"SQ", "", graphics};
    state.set.elements[DicomTag(0x0070, 0x0001)] = {"SQ", "", {item}};
    return state;
}

TEST(Annotations, EachShapeGoesThroughItsPoints) {
    struct Case {
        const char* type;
        std::vector<float> points;
        std::vector<std::pair<int, int>> lit, dark;
        const char* units = "PIXEL";
    };
    const std::vector<Case> cases = {
        {"POLYLINE",
         {10.5F, 10.5F, 50.5F, 10.5F, 50.5F, 40.5F},
         {{10, 10}, {30, 10}, {50, 10}, {50, 40}},
         {{30, 13}, {45, 40}}},
        {"CIRCLE", {32, 32, 52, 32}, {{51, 32}, {12, 32}, {32, 51}, {46, 46}}, {{32, 32}, {50, 50}}},
        {"ELLIPSE",
         {12, 32, 52, 32, 32, 22, 32, 42},
         {{12, 32}, {51, 32}, {32, 22}, {32, 41}},
         {{32, 32}, {32, 12}}},
        {"INTERPOLATED", {10, 32, 32, 12, 54, 32}, {{10, 31}, {32, 12}, {53, 31}}, {{32, 32}}},
        {"POINT", {20.5F, 20.5F}, {{20, 20}, {23, 20}, {20, 17}}, {{23, 23}}},
        {"POLYLINE", {0.25F, 0.5F, 0.75F, 0.5F}, {{17, 31}, {46, 32}}, {{8, 32}, {56, 32}}, "DISPLAY"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        Sheet sheet;
        std::vector<Note> notes;
        sheet.Draw(AnnotationLayers(state_with({graphic(c.type, c.points, c.units)}), "1", 0, &notes));
        for (const auto& [x, y] : c.lit) EXPECT_GT(sheet.At(x, y), 60) << x << "," << y;
        for (const auto& [x, y] : c.dark) EXPECT_EQ(sheet.At(x, y), 0) << x << "," << y;
        EXPECT_TRUE(notes.empty());
    }
    // Round on a displayed area that is not square.
    Sheet wide;
    wide.canvas.area.bottom = 32;
    wide.Draw(AnnotationLayers(state_with({graphic("CIRCLE", {0.5F, 0.5F, 0.5F, 0.75F}, "DISPLAY")}), "1", 0,
                               nullptr));
    EXPECT_GT(wide.At(40, 16), 60);
    EXPECT_EQ(wide.At(48, 16), 0);
    // Twice as large and turned by a quarter: the line keeps its width.
    Sheet turned({0, -2, 64, 2, 0, 0});
    turned.Draw(AnnotationLayers(state_with({graphic("POLYLINE", {4, 16, 28, 16})}), "1", 0, nullptr));
    EXPECT_GT(turned.At(31, 30) + turned.At(32, 30), 200);
    EXPECT_EQ(turned.At(29, 30) + turned.At(34, 30), 0);
}

TEST(Annotations, DamagedOnesAreLeftOutWithANote) {
    const float nan = std::nanf("");
    DicomDataSet wrongCount = graphic("POLYLINE", {1, 1, 9, 9}), solid = wrongCount;
    wrongCount.PutWord(DicomTag(0x0070, 0x0021), "US", 3);
    solid.PutWord(DicomTag(0x0070, 0x0020), "US", 3);
    const std::vector<DicomDataSet> damaged = {wrongCount,
                                               solid,
                                               graphic("POLYLINE", {1, 1}),
                                               graphic("POLYLINE", {1, nan, 2, 2}),
                                               graphic("POLYLINE", {1e30F, 0, 2, 2}),
                                               graphic("SPIRAL", {1, 1, 2, 2}),
                                               graphic("POLYLINE", {1, 1, 2, 2}, "MATRIX"),
                                               graphic("ELLIPSE", {1, 1, 2, 2, 3, 3}),
                                               graphic("POLYLINE", std::vector<float>(200000, 3.0F))};
    Sheet sheet;
    std::vector<Note> notes;
    sheet.Draw(AnnotationLayers(state_with(damaged), "1", 0, &notes));
    EXPECT_EQ(sheet.Lit(), 0);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].text, "9 annotations of the presentation state cannot be drawn");
    // Far outside, and a zigzag over everything: within the picture, and done.
    std::vector<float> zigzag;
    for (int i = 0; i < 8000; ++i) zigzag.insert(zigzag.end(), {i % 2 ? 9e6F : -9e6F, float(i % 64)});
    sheet.Draw(AnnotationLayers(state_with({graphic("POLYLINE", zigzag), graphic("CIRCLE", {1e6F, 0, 0, 0})}),
                                "1", 0, nullptr));
    EXPECT_GT(sheet.Lit(), 3000);
}

TEST(Annotations, LayersComeInTheirOrderAndForTheirFrames) {
    PresentationState state = state_with({graphic("POLYLINE", {0, 32, 64, 32})});
    DicomElement& annotations = state.set.elements[DicomTag(0x0070, 0x0001)];
    annotations.items.push_back(annotations.items[0]);
    annotations.items[1].PutText(DicomTag(0x0070, 0x0002), "CS", "UNDER");
    DicomDataSet image;
    image.PutText(tag::kReferencedSopInstance, "UI", "1.2.3");
    image.PutText(tag::kReferencedFrameNumber, "IS", "2\\5");
    annotations.items[1].elements[tag::kReferencedImages] = {"SQ", "", {image}};
    std::vector<DicomDataSet> known(2);
    known[0].PutText(DicomTag(0x0070, 0x0002), "CS", "L");
    known[0].PutText(DicomTag(0x0070, 0x0062), "IS", "2");
    known[1].PutText(DicomTag(0x0070, 0x0002), "CS", "UNDER");
    known[1].PutText(DicomTag(0x0070, 0x0062), "IS", "1");
    known[1].PutWord(DicomTag(0x0070, 0x0066), "US", 0x8080);
    state.set.elements[DicomTag(0x0070, 0x0060)] = {"SQ", "", known};
    const Layers both = AnnotationLayers(state, "1.2.3", 4, nullptr);
    ASSERT_EQ(both.size(), 2U);
    EXPECT_EQ(both[0]->Name(), "annotations 'UNDER'");
    EXPECT_EQ(AnnotationLayers(state, "1.2.3", 2, nullptr).size(), 1U);
    EXPECT_EQ(AnnotationLayers(state, "1.2.4", 4, nullptr).size(), 1U);
}

TEST(Annotations, TextShowsInItsBox) {
    DicomDataSet image;
    for (const std::uint32_t tag : {tag::kRescaleIntercept, tag::kRescaleSlope, tag::kRescaleType})
        image.PutText(tag, "DS", "1");
    image.PutText(tag::kSopInstance, "UI", "1.2.3");
    PresentationState state;
    state.set = MakeSampleState(image, "2.25.1");
    Picture picture(512, 512, Picture::kGrey8);
    const SPC_Affine same{1, 0, 0, 0, 1, 0};
    std::vector<Note> notes;
    const Layers layers = AnnotationLayers(state, "1.2.3", 0, &notes);
    for (const auto& layer : layers) layer->Draw({picture, same, same, {0, 0, 512, 512}});
    if (!notes.empty()) GTEST_SKIP() << notes[0].text;
    int lit = 0;
    for (int y = 10; y < 52; ++y) {
        for (int x = 10; x < 230; ++x) lit += *picture.At(x, y) > 128 ? 1 : 0;
    }
    EXPECT_GT(lit, 300);
    EXPECT_LT(lit, 4000);
}

TEST(Shutters, CoverWhatTheyDoNotLeaveVisible) {
    struct Case {
        const char* shape;
        std::vector<std::pair<std::uint32_t, const char*>> numbers;
        std::vector<std::pair<int, int>> visible, covered;
    };
    const auto tag = [](unsigned element) { return DicomTag(0x0018, element); };
    const std::vector<Case> cases = {
        {"RECTANGULAR",
         {{tag(0x1602), "11"}, {tag(0x1604), "20"}, {tag(0x1606), "31"}, {tag(0x1608), "40"}},
         {{10, 30}, {19, 39}},
         {{9, 30}, {20, 35}, {15, 29}, {15, 40}}},
        {"CIRCULAR",
         {{tag(0x1610), "30\\20"}, {tag(0x1612), "10"}},
         {{19, 29}, {29, 29}, {19, 19}},
         {{30, 29}, {27, 37}}},
        {"POLYGONAL",
         {{tag(0x1620), "11\\11\\11\\51\\51\\11"}},
         {{12, 12}, {40, 12}, {20, 35}},
         {{40, 40}, {5, 12}}},
        // The pixels of all four edges are visible, and those of the lowest vertex.
        {"POLYGONAL",
         {{tag(0x1620), "11\\11\\11\\20\\20\\20\\20\\11"}},
         {{10, 10}, {19, 10}, {10, 19}, {15, 19}, {19, 19}},
         {{9, 15}, {20, 15}, {15, 9}, {15, 20}}},
        {"POLYGONAL", {{tag(0x1620), "3\\6\\6\\9\\9\\6\\6\\3"}}, {{5, 2}, {5, 8}}, {{5, 9}, {4, 8}}},
        {"RECTANGULAR\\CIRCULAR",
         {{tag(0x1602), "1"},
          {tag(0x1604), "20"},
          {tag(0x1606), "1"},
          {tag(0x1608), "64"},
          {tag(0x1610), "30\\20"},
          {tag(0x1612), "10"}},
         {{15, 29}},
         {{25, 29}, {2, 2}}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.shape);
        PresentationState state;
        state.set.PutText(tag(0x1600), "CS", c.shape);
        for (const auto& [number, text] : c.numbers) state.set.PutText(number, "IS", text);
        state.set.PutWord(tag(0x1622), "US", 0xFFFF);
        Sheet sheet;
        sheet.Draw(ShutterLayers(state, kSide, kSide));
        for (const auto& [x, y] : c.visible) EXPECT_EQ(sheet.At(x, y), 0) << x << "," << y;
        for (const auto& [x, y] : c.covered) EXPECT_EQ(sheet.At(x, y), 255) << x << "," << y;
    }
    // The radius counts pixels along a row: half as many of twice the height.
    PresentationState tall;
    tall.set.PutText(tag(0x1600), "CS", "CIRCULAR");
    tall.set.PutText(tag(0x1610), "IS", "30\\20");
    tall.set.PutText(tag(0x1612), "IS", "10");
    tall.set.PutWord(tag(0x1622), "US", 0xFFFF);
    Sheet sheet;
    sheet.Draw(ShutterLayers(tall, kSide, kSide, 2.0));
    EXPECT_TRUE(sheet.At(29, 29) == 0 && sheet.At(19, 34) == 0 && sheet.At(19, 35) == 255);
    for (const char* shape : {"RECTANGULAR", "CIRCULAR", "POLYGONAL", "BITMAP"}) {
        PresentationState state;
        state.set.PutText(tag(0x1600), "CS", shape);
        EXPECT_THROW(ShutterLayers(state, kSide, kSide), std::runtime_error) << shape;
    }
}

TEST(Overlays, ThinLinesStayVisible) {
    OverlayPlane plane;
    plane.rows = plane.columns = kSide;
    plane.bits.assign(kSide * kSide, 0);
    for (std::size_t y = 0; y < kSide; ++y) plane.bits[y * kSide + 33] = 1;
    Sheet same;
    same.Draw(OverlayLayers({plane}, Ink()));
    EXPECT_EQ(same.Lit(), kSide);
    EXPECT_EQ(same.At(33, 7), 255);
    Sheet small({0.125, 0, 0, 0, 0.125, 0});
    small.Draw(OverlayLayers({plane}, Ink()));
    EXPECT_EQ(small.Lit(), kSide / 8);
    EXPECT_GE(small.At(4, 3), 60);
    // Also where 40 pixels share one.
    Sheet tiny({0.025, 0, 0, 0, 0.025, 0});
    tiny.Draw(OverlayLayers({plane}, Ink()));
    EXPECT_GE(tiny.At(0, 0), 60);
    plane.left = -40000, plane.top = 32000;
    Sheet outside({1000.0, 0, 0, 0, 1000.0, 0});
    outside.Draw(OverlayLayers({plane}, Ink()));
    EXPECT_EQ(outside.Lit(), 0);
}

/// Figures of the sRGB colours' CIELab values by D50.
TEST(CieLab, IsConvertedToSrgb) {
    struct Case {
        double l, a, b;
        int red, green, blue;
    };
    for (const Case& c : {Case{100, 0, 0, 255, 255, 255},
                          {0, 0, 0, 0, 0, 0},
                          {54.29, 80.80, 69.89, 255, 0, 0},
                          {87.82, -79.27, 80.99, 0, 255, 0},
                          {29.57, 68.29, -112.03, 0, 0, 255}}) {
        const auto coded = [](double value) { return (value + 128.0) * 65535.0 / 255.0; };
        const Ink ink = InkOfCieLab(c.l * 655.35, coded(c.a), coded(c.b));
        EXPECT_NEAR(ink.red / 257.0, c.red, 2.0) << c.l;
        EXPECT_NEAR(ink.green / 257.0, c.green, 2.0) << c.l;
        EXPECT_NEAR(ink.blue / 257.0, c.blue, 2.0) << c.l;
    }
}

}  // namespace
