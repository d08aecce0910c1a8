#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "cli/app_test_support.h"
#include "io/isolated.h"
#include "io/present_error.h"
#include "present/presentation.h"
#include "present/renderer.h"

namespace {

/// Opens and draws; a refusal must be one line that names the file. Returns whether a picture came out.
bool present(const std::string& path) {
    try {
        OpenedImage image(path, PresentationOptions());
        const Picture picture = Render(image);
        EXPECT_EQ(picture.width, image.File().Columns());
        return true;
    } catch (const PresentError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.compare(0, path.size() + 2, path + ": "), 0) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        return false;
    }
}

/// The built-in samples and, where there are any, one real file of each transfer syntax.
std::vector<std::string> victims(const std::string& directory) {
    std::vector<std::string> paths = WriteSamples(directory);
    if (!support::TestData().empty()) {
        for (const char* name :
             {"ct_8bit_jpeg_baseline", "ct_deflated", "ct_jpeg_lossless_p14", "mr_small_big_endian",
              "mr_small_implicit_le", "mr_enhanced_10_frames_jpegls", "mr_12bit_rescale_j2k_lossless",
              "us_palette_8bit_rle", "nm_jpeg_12bit_lossy", "synth_ct_enhanced_mixed",
              "us_palette_16bit_segmented", "synth_ct_voi_lut_negative_first"}) {
            paths.push_back(support::TestData() + "/" + name + ".dcm");
        }
    }
    return paths;
}

TEST(Hostile, FilesCutAtAnyLengthAreRefusedOrDrawn) {
    support::TemporaryDirectory directory;
    const std::string cut = directory / "cut.dcm";
    for (const std::string& path : victims(directory.Path())) {
        const std::string bytes = support::ReadFile(path);
        ASSERT_TRUE(present(path)) << path;
        // Every so often through the header, a few times through the pixels, and the last bytes.
        std::vector<std::size_t> lengths{0, 1, 127, 131, 132, 133, bytes.size() - 1, bytes.size() - 9};
        for (std::size_t length = 140; length < 1600 && length < bytes.size(); length += 97)
            lengths.push_back(length);
        for (std::size_t part = 1; part < 4; ++part) lengths.push_back(bytes.size() * part / 4);
        for (std::size_t length : lengths) {
            SCOPED_TRACE(path + " cut to " + std::to_string(length));
            support::WriteFile(cut, bytes.substr(0, length));
            const bool isDrawn = present(cut);
            if (length <= bytes.size() * 3 / 4) {
                EXPECT_FALSE(isDrawn);
            }
        }
    }
}

TEST(Hostile, ChangedBytesAreRefusedOrDrawn) {
    support::TemporaryDirectory directory;
    const std::string changed = directory / "changed.dcm";
    for (const std::string& path : victims(directory.Path())) {
        const std::string bytes = support::ReadFile(path);
        for (unsigned seed = 1; seed <= 12; ++seed) {
            SCOPED_TRACE(path + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::string copy = bytes;
            // The header is where a byte does most harm; half of the changes go there.
            for (int change = 0; change < 6; ++change) {
                const std::size_t range =
                    change % 2 == 0 ? std::min<std::size_t>(copy.size(), 2500) : copy.size();
                copy[132 + random() % (range - 132)] = static_cast<char>(random());
            }
            support::WriteFile(changed, copy);
            present(changed);
        }
    }
}

TEST(Isolated, NoEndOfTheWorkEndsTheCaller) {
    const unsigned long long memory = 1ULL << 30;
    const std::string large(300000, 'a');
    EXPECT_EQ(RunIsolated([&] { return large; }, memory, 10).answer, large);
    EXPECT_EQ(RunIsolated([]() -> std::string { std::abort(); }, memory, 10).end, IsolatedResult::kDied);
    EXPECT_EQ(RunIsolated([]() -> std::string { throw 1; }, memory, 10).end, IsolatedResult::kDied);
    const auto eat = [] { return std::string(std::size_t{2} << 30, 'x'); };
    EXPECT_EQ(RunIsolated(eat, memory, 10).end, IsolatedResult::kDied);
    const auto spin = []() -> std::string {
        for (volatile int i = 0;;) i = 1 - i;
    };
    EXPECT_EQ(RunIsolated(spin, memory, 1).end, IsolatedResult::kOutOfTime);
}

}  // namespace
