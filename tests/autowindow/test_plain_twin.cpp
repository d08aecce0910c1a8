// The fast count against its plain twin, bin by bin.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "zev_aw_histogram.h"

namespace {

enum Kind { kUniform, kNarrow, kFlatWithSpots, kTwoFarValues, kKinds };

template <class Pixel>
void compare(std::mt19937& generator, int bits, bool isSigned, int kind) {
    const auto random = [&generator] { return static_cast<unsigned>(generator()); };
    const int columns = 130 + static_cast<int>(random() % 200), rows = 1 + static_cast<int>(random() % 9);
    const unsigned base = random();
    std::vector<Pixel> pixels(static_cast<std::size_t>((columns + 5) * rows));
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        // Bits above the depth as well: they do not count.
        unsigned value = random();
        if (kind == kNarrow) value = base + random() % 30;
        if (kind == kFlatWithSpots && random() % 50 != 0) value = base;
        if (kind == kTwoFarValues) value = i % 4 == 0 ? 0 : ~0u;
        pixels[i] = static_cast<Pixel>(value);
    }
    const zev::PixelRegion<Pixel> region{pixels.data() + 3, columns + 5, columns, rows};
    const zev::BinRule rule = zev::ResolveBinRule(bits, isSigned);
    const auto fast = std::make_unique<zev::Histogram<Pixel>>();
    std::vector<std::uint32_t> plain(zev::kBinsOf<Pixel>);
    zev::CountPlain(region, rule, plain.data());
    const std::uint32_t* const bins = fast->Count(region, rule);
    ASSERT_EQ(std::vector<std::uint32_t>(bins, bins + plain.size()), plain);
}

TEST(PlainTwin, CountsTheSame) {
    std::mt19937 random(20250703);
    for (const int bits : {1, 4, 8, 9, 12, 14, 15, 16}) {
        for (int kind = 0; kind < kKinds; ++kind) {
            for (int round = 0; round < 8; ++round) {
                SCOPED_TRACE(testing::Message() << bits << " bits, kind " << kind << ", round " << round);
                if (bits <= 8) compare<std::uint8_t>(random, bits, round % 2 != 0, kind);
                compare<std::uint16_t>(random, bits, round % 2 != 0, kind);
            }
        }
    }
}

}  // namespace
