// Regions as the user writes them down, and the pictures drawn with them.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>

#include "app_test_support.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "present/region_view.h"
#include "present/regions.h"
#include "program_support.h"

namespace {

TEST(RegionSpec, ReadsWhatItWrites) {
    const struct {
        const char* text;
        const char* written;  ///< null: refused
    } rows[] = {
        {"polygon:1,2 3.5,4  5,6;center=-600;width=1600", "polygon:1,2 3.5,4 5,6;center=-600;width=1600"},
        {"rect:1,2,3,4;negate;invert;inactive", "polygon:1,2 3,2 3,4 1,4;invert;negate;inactive"},
        {"rect:1,2,3,4;preset=lung;colormap=Hot Iron;gamma=0.5;",
         "polygon:1,2 3,2 3,4 1,4;preset=lung;colormap=Hot Iron;gamma=0.5"},
        {"runs:1,2,3 4,5,6;center=1;width=2", "runs:1,2,3 4,5,6;center=1;width=2"},
        {"", nullptr},
        {"circle:1,2,3", nullptr},
        {"polygon:1,2 3,4", nullptr},
        {"polygon:1,2 3,4 5", nullptr},
        {"polygon:1,2 3,4 nan,5", nullptr},
        {"rect:1,2,3", nullptr},
        {"ellipse:1,2,0,4", nullptr},
        {"runs:-1,2,3", nullptr},
        {"rect:1,2,3,4;center=5", nullptr},
        {"rect:1,2,3,4;center=5;width=-1", nullptr},
        {"rect:1,2,3,4;center=5;width=6;preset=x", nullptr},
        {"rect:1,2,3,4;negate=1", nullptr},
        {"rect:1,2,3,4;colour=red", nullptr},
        {"rect:1,2,3,4;gamma", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        if (row.written == nullptr) {
            EXPECT_THROW(ParseRegion(row.text), UsageError);
            continue;
        }
        EXPECT_EQ(ParseRegion(row.text).ToText(), row.written);
        EXPECT_EQ(ParseRegion(row.written).ToText(), row.written);
    }
    // An ellipse of n points keeps its area.
    const RegionSpec ellipse = ParseRegion("ellipse:50,40,30,10");
    double area = 0;
    for (std::size_t i = 0; i < ellipse.outline.size(); ++i) {
        const auto& a = ellipse.outline[i];
        const auto& b = ellipse.outline[(i + 1) % ellipse.outline.size()];
        area += (a.x * b.y - b.x * a.y) / 2;
    }
    EXPECT_NEAR(area, 3.14159265 * 300, 3);
    EXPECT_THROW(ParseRegion("mask:/nowhere/mask.png"), PresentError);
}

/// The sample images, drawn in this process.
class Regions : public testing::Test {
protected:
    Regions() {
        LoadConfiguration("");
        WriteSamples(m_Directory.Path());
    }
    Picture Draw(const std::string& sample, const std::vector<std::string>& regions, ViewOptions view = {},
                 const PresentationOptions& options = {}) {
        OpenedImage image(m_Directory / sample, options);
        view.regions = regions;
        return RegionView(image, options, ParseRegions(regions), PlaceImage(image, view), view.smooth).Draw();
    }
    support::TemporaryDirectory m_Directory;
};

TEST_F(Regions, EachPixelHasTheWindowOfItsRegion) {
    const std::string file = "ct.dcm";
    const auto shown_with = [&](double center, double width, bool invert) {
        PresentationOptions options;
        options.center = center, options.width = width, options.invert = invert;
        return Draw(file, {}, {}, options);
    };
    const Picture plain = Draw(file, {}), lung = shown_with(-600, 1600, false),
                  bone = shown_with(500, 2000, true);
    const std::string inLung = ";center=-600;width=1600", inBone = ";center=500;width=2000;invert";
    const auto same = [](const Picture& a, const Picture& b, int x, int y) {
        return std::equal(a.At(x, y), a.At(x, y) + 3, b.At(x, y));
    };
    const struct {
        const char* name;
        std::vector<std::string> regions;
        std::function<const Picture*(double, double)> expected;  ///< by pixel centre
    } rows[] = {
        {"a rectangle",
         {"rect:100,100,300,250" + inLung},
         [&](double x, double y) { return x > 100 && x < 300 && y > 100 && y < 250 ? &lung : &plain; }},
        {"the later on top",
         {"rect:50,50,200,200" + inLung, "rect:150,150,300,300" + inBone},
         [&](double x, double y) {
             if (x > 150 && x < 300 && y > 150 && y < 300) return &bone;
             return x > 50 && x < 200 && y > 50 && y < 200 ? &lung : &plain;
         }},
        {"negated",
         {"rect:100,100,300,250;negate" + inLung},
         [&](double x, double y) { return x > 100 && x < 300 && y > 100 && y < 250 ? &plain : &lung; }},
        {"inactive", {"rect:100,100,300,250;inactive" + inLung}, [&](double, double) { return &plain; }},
        {"an ellipse",
         {"ellipse:250,200,120,60" + inBone},
         [&](double x, double y) {
             const double r = std::hypot((x - 250) / 120, (y - 200) / 60);
             return std::fabs(r - 1) < 0.02 ? nullptr : r < 1 ? &bone : &plain;
         }},
        {"crossing itself: inside where enclosed an odd number of times",
         {"polygon:100,100 300,100 300,300 100,300 100,100 150,150 250,150 250,250 150,250 150,150" + inLung},
         [&](double x, double y) {
             const bool outer = x > 100 && x < 300 && y > 100 && y < 300;
             const bool inner = x > 150 && x < 250 && y > 150 && y < 250;
             return outer && !inner ? &lung : &plain;
         }},
        {"runs, negated",
         {"runs:10,20,30 11,0,500;negate" + inLung},
         [&](double x, double y) {
             const bool inside = (y > 10 && y < 11 && x > 20 && x < 30) || (y > 11 && y < 12 && x < 500);
             return inside ? &plain : &lung;
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Picture picture = Draw(file, row.regions);
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const Picture* expected = row.expected(x + 0.5, y + 0.5);
                ASSERT_TRUE(expected == nullptr || same(picture, *expected, x, y)) << x << "," << y;
            }
        }
    }
}

TEST_F(Regions, AMaskPictureCoversWhatItsRunsCover) {
    Picture mask(512, 512);
    for (int y = 100; y < 140; ++y) {
        for (int x = 60; x < 90; ++x) mask.At(x, y)[0] = mask.At(x, y)[1] = mask.At(x, y)[2] = 255;
    }
    WritePng(m_Directory / "mask.png", mask);
    ViewOptions turned;
    turned.zoom = 0.7, turned.rotate = 30, turned.pan = {5, -9}, turned.flip = "h", turned.size = "200x150";
    const std::string window = ";center=-600;width=1600";
    for (const ViewOptions& view : {ViewOptions(), turned}) {
        EXPECT_EQ(Draw("ct.dcm", {"mask:" + m_Directory / "mask.png" + window}, view).bytes,
                  Draw("ct.dcm", {"rect:60,100,90,140" + window}, view).bytes);
    }
}

TEST_F(Regions, ViewsTurnAndFlipThePicture) {
    const Picture plain = Draw("ct.dcm", {});
    const int n = plain.width;
    const struct {
        const char* name;
        ViewOptions view;
        std::function<std::pair<int, int>(int, int)> source;
    } rows[] = {
        {"quarter turn",
         {{}, 1, {}, 90, "", "", false},
         [n](int x, int y) { return std::pair(y, n - 1 - x); }},
        {"flip", {{}, 1, {}, 0, "h", "", false}, [n](int x, int y) { return std::pair(n - 1 - x, y); }},
        {"half size",
         {{}, 0.5, {}, 0, "", "256x256", false},
         [](int x, int y) { return std::pair(2 * x + 1, 2 * y + 1); }},
        {"moved", {{}, 1, {3, -2}, 0, "", "", false}, [](int x, int y) { return std::pair(x - 3, y + 2); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Picture picture = Draw("ct.dcm", {}, row.view);
        for (int y = 0; y < picture.height; y += 5) {
            for (int x = 0; x < picture.width; x += 5) {
                const auto [sx, sy] = row.source(x, y);
                const bool outside = sx < 0 || sy < 0 || sx >= n || sy >= n;
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(picture.At(x, y)[c], outside ? 0 : plain.At(sx, sy)[c]) << x << "," << y;
            }
        }
    }
}

TEST_F(Regions, ViewsThatShowNothingAreRefused) {
    for (const double number : {std::nan(""), 1e300, -1e300, HUGE_VAL}) {
        for (int what = 0; what < 3; ++what) {
            ViewOptions view;
            if (what == 0) view.zoom = number;
            if (what == 1) view.rotate = number;
            if (what == 2) view.pan = {0.0, number};
            EXPECT_THROW(Draw("ct.dcm", {}, view), UsageError) << what << " " << number;
        }
    }
    ViewOptions none;
    none.zoom = 0.0;
    EXPECT_THROW(Draw("ct.dcm", {}, none), UsageError);
}

using SavedRegions = support::ProgramTest;

TEST_F(SavedRegions, AReopenedImageShowsThemAgain) {
    WriteSamples(m_Directory.Path());
    const std::string ct = m_Directory / "ct.dcm", ddp = m_Directory / "ddp.dcm", a = m_Directory / "a.ppm",
                      b = m_Directory / "b.ppm";
    Picture mask(512, 512);
    for (int i = 0; i < 900; ++i) mask.At(200 + i % 30, 100 + i / 30)[1] = 9;
    WritePng(m_Directory / "mask.png", mask);
    const std::string regions = " --region 'ellipse:150,250,70,110;center=-600;width=1600' --region 'mask:" +
                                m_Directory / "mask.png" + ";preset=Bone;invert' --gamma 0.8";
    ASSERT_EQ(Run("save " + ct + regions + " --ddp-out " + ddp).status, 0);
    std::filesystem::remove(m_Directory / "mask.png");
    ASSERT_EQ(Run("render " + ct + " --ddp " + ddp + " -o " + a).status, 0);
    WritePng(m_Directory / "mask.png", mask);
    ASSERT_EQ(Run("render " + ct + regions + " -o " + b).status, 0);
    EXPECT_EQ(support::ReadFile(a), support::ReadFile(b));
    EXPECT_EQ(Run("save " + ct + regions + " -o " + m_Directory / "copy.dcm").status, 2);
    EXPECT_EQ(Run("render " + ct + " --region 'rect:1,2,3,4;colormap=none' -o " + b).status, 2);
    EXPECT_EQ(Run("render " + m_Directory / "us.dcm" + " --region rect:1,2,3,4 -o " + b).status, 1);
}

TEST_F(SavedRegions, WhatACutFileLacksIsBlack) {
    const std::string image = m_Directory / "cut.dcm", picture = m_Directory / "cut.png";
    DicomDataSet mono = support::Ramp("CT", {}), padded = mono, colour = mono;
    padded.PutWord(tag::kPixelPaddingValue, "US", 5);
    colour.PutWord(tag::kSamplesPerPixel, "US", 3);
    colour.PutText(tag::kPhotometricInterpretation, "CS", "YBR_FULL");
    colour.elements[tag::kPixelData].bytes.resize(3 * 256, 'x');
    const struct {
        const char* name;
        const DicomDataSet& set;
        std::string options;
    } rows[] = {
        {"plain", mono, ""},
        {"inverted", mono, "--invert"},
        {"inverse map", support::PetRamp({}), ""},
        {"padded, low window", padded, "--center -1000 --width 10"},
        {"region", mono, "--region 'rect:0,0,16,16;invert'"},
        {"smooth", mono, "--invert --smooth --region rect:0,0,1,1"},
        {"colour", colour, "--brightness 90 --contrast 10"},
        {"colour in a view", colour, "--brightness 90 --contrast 10 --rotate 360"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string bytes = EncodeDicomFile(row.set);
        const std::size_t pixel = row.set.elements.at(tag::kPixelData).bytes.size() / 256;
        support::WriteFile(image, bytes.substr(0, bytes.size() - 100 * pixel));
        ASSERT_EQ(Run("render --partial " + image + " -o " + picture + " " + row.options).status, 0);
        const std::vector<std::uint8_t> drawn = ReadPng(picture).bytes;
        EXPECT_EQ(std::count(drawn.begin() + 3 * 156, drawn.end(), 0), drawn.end() - drawn.begin() - 3 * 156);
        EXPECT_GT(std::count_if(drawn.begin(), drawn.begin() + 3 * 156, [](int v) { return v > 0; }), 100);
    }
}

}  // namespace
