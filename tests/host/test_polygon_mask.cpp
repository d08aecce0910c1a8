#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>

/// In whole numbers, twice as fine as the pixels: a centre on a left edge is inside, one on a right edge
/// outside.
TEST(PolygonMask, CentresOnEdgesAreDecidedExactly) {
    std::mt19937 random(20261123);
    const auto coordinate = [&random] { return static_cast<int>(random() % 24u); };
    for (int round = 0; round < 3000; ++round) {
        KIT_PolygonMask::Ring ring = {{0, 0}, {18, 14}, {18, 0}};  // centre (13, 10) lies on its left edge
        for (auto& point : ring) {
            if (round > 0) point = {double(coordinate()), double(coordinate())};
        }
        KIT_PolygonMask polygon(ring);
        const std::unique_ptr<KIT_LinesMask> lines(polygon.ConvertToLinesMask());
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 24; ++x) {
                bool inside = false;
                for (std::size_t i = 0; i < 3; ++i) {
                    auto a = ring[i], b = ring[(i + 1) % 3];
                    if (a.y > b.y) std::swap(a, b);
                    const auto twice = [](double value) { return static_cast<std::int64_t>(2 * value); };
                    if (twice(a.y) > 2 * y + 1 || twice(b.y) <= 2 * y + 1) continue;
                    const std::int64_t side = (2 * x + 1 - twice(a.x)) * (twice(b.y) - twice(a.y)) -
                                              (2 * y + 1 - twice(a.y)) * (twice(b.x) - twice(a.x));
                    if (side >= 0) inside = !inside;
                }
                ASSERT_EQ(lines->HitTest(x, y), inside) << "round " << round << " at " << x << ", " << y;
                ASSERT_EQ(polygon.HitTest(x, y), inside) << "round " << round << " at " << x << ", " << y;
            }
        }
    }
}

/// Kept for all lines at once, the crossings of this outline took gigabytes.
TEST(PolygonMask, ACombOfManyPointsIsConvertedAndOneTooManyIsRefused) {
    const auto comb = [](int points, double height) {
        KIT_PolygonMask::Ring ring;
        for (int i = 0; i < points; ++i) ring.push_back({i * 0.01, i % 2 == 0 ? 0.0 : height});
        return KIT_PolygonMask(ring);
    };
    KIT_PolygonMask legal = comb(31500, 700);
    const std::unique_ptr<KIT_LinesMask> lines(legal.ConvertToLinesMask());
    for (int x = 0; x < 320; x += 7) EXPECT_EQ(lines->HitTest(x, 2 * x), legal.HitTest(x, 2 * x)) << x;
    EXPECT_THROW(comb(31500, 60000).ConvertToLinesMask(), KIT_PolygonMask::TooComplex);
}
