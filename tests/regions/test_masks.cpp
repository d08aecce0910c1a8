// The mask set: counters, ownership, staleness, and a brute-force twin over random scenes.

#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_PolygonMask.h>
#include <SPC/SPC_SpaceInfo.h>
#include <ZEV/ZEV_Masks.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <random>

#include "support.h"
#include "zev_mask_items.h"

namespace {

using support::LogCapture;
using Table = ZEV_WindowingTable<unsigned char, unsigned char>;

/// A parameter whose tables differ by their address.
class Region : public ZEV_MaskableParam {
public:
    using ZEV_MaskableParam::operator=;
    void ConvertToMasks(ZEV_Masks*, KIT_BaseParamsVec*) override {}
    ZEV_AbstractWindowingTable* BuildTable(ZEV_TableParams) override {
        ++builds;
        ZEV_AbstractWindowingTable* const built = failing ? nullptr : new Table(Table::Storage::PrivateHeap);
        table = built;
        return built;
    }
    void Finalize(ZEV_TableParams) override { ++finalized; }
    KIT_Mask::Data* table = nullptr;
    int builds = 0, finalized = 0;
    bool failing = false;
};

KIT_PolygonMask* square(double left, double top, double size) {
    return new KIT_PolygonMask(
        {{left, top}, {left + size, top}, {left + size, top + size}, {left, top + size}});
}

/// Counts its deletions.
class Counted : public KIT_LinesMask {
public:
    explicit Counted(int& deleted) : m_Deleted(deleted) {}
    ~Counted() override { ++m_Deleted; }

private:
    int& m_Deleted;
};

class Masks : public testing::Test {
protected:
    Masks() {
        masks.SetLiveParams(&live);
        space.SetRasterSize(16, 16), space.SetScreenSize(16, 16);
        vec.Append(&space);
        source.m_BitsPerPixel = 8;
    }
    ZEV_TableParams Params() { return ZEV_TableParams(&vec, nullptr, &source, nullptr, rect); }
    void Update() { masks.UpdateMasks(Params()); }
    KIT_Mask::Data* At(int x, int y) { return masks.GetCombinedMask()->GetData(x, y); }
    ZEV_Masks live, masks;
    SPC_SpaceInfo space;
    KIT_BaseParamsVec vec{L"view"};
    refhost::MemoryRaster source;
    KIT_Rect rect{0, 0, 16, 16};
    Region base, a, b;
};

TEST_F(Masks, TheLaterRegionIsOnTopAndEachHasItsTable) {
    masks.UpdateMaskFromParam("a", &a, square(2, 2, 8), false, true, false);
    masks.UpdateMaskFromParam("b", &b, square(6, 6, 8), false, true, true);
    masks.UpdateMaskFromParam("ZEV", &base, nullptr, true, true, false);
    EXPECT_FALSE(masks.IsDynamicMask());
    EXPECT_EQ(masks.MasksCountWithoutDefault(), 2);
    Update();
    EXPECT_EQ(At(1, 1), nullptr);
    EXPECT_EQ(At(3, 3), a.table);
    EXPECT_EQ(At(7, 7), b.table);
    EXPECT_EQ(static_cast<KIT_Mask::Data*>(masks.GetDefaultTable()), base.table);
    // One changed table: one build, no geometry, and no run with the old table.
    const int total = masks.GetTotalCC().GetCount();
    a.MarkTableChange();
    EXPECT_NE(masks.GetTotalCC().GetCount(), total);
    Update();
    EXPECT_EQ(base.builds * 100 + a.builds * 10 + b.builds, 121);
    EXPECT_EQ(At(3, 3), a.table);
    // A region that is switched off keeps its table and loses its runs.
    a.SetActive(false);
    Update();
    EXPECT_EQ(At(3, 3), nullptr);
    EXPECT_EQ(a.builds, 2);
    masks.FinalizeAll(Params());
    EXPECT_EQ(a.finalized + b.finalized + base.finalized, 3);
    a.SetActive(true), a.SetNegate(true);
    Update();
    EXPECT_EQ(At(0, 0), a.table);
    EXPECT_EQ(At(3, 3), nullptr);
    EXPECT_EQ(a.builds, 2);
}

TEST_F(Masks, WithoutADefaultRegionAReplacedTableIsInNoRun) {
    masks.UpdateMaskFromParam("a", &a, square(2, 2, 8), false, true, false);
    Update();
    const auto runs = masks.GetCombinedMask()->GetRuns().size();
    a.MarkTableChange(), a.failing = true;
    Update();
    EXPECT_EQ(At(3, 3), nullptr);
    EXPECT_EQ(masks.GetCombinedMask()->GetRuns().size(), runs);
    // Another parameter under the same name takes a new shape and lets everything go.
    masks.UpdateMaskFromParam("a", &b, square(0, 0, 2), false, true, false);
    Update();
    EXPECT_EQ(At(1, 1), b.table);
    EXPECT_EQ(At(3, 3), nullptr);
}

TEST_F(Masks, WhenAGivenMaskIsTaken) {
    a.MarkMaskChange();
    std::unique_ptr<KIT_PolygonMask> ours(square(0, 0, 4));
    masks.UpdateMaskFromParam("a", &a, square(2, 2, 4), false, true, false);
    // A new item's counter is 0, not the parameter's: the next shape is taken, the one after is not looked
    // at.
    masks.UpdateMaskFromParam("a", &a, square(8, 8, 4), true, true, false);
    masks.UpdateMaskFromParam("a", &a, ours.get(), false, true, false);
    Update();
    EXPECT_NE(At(9, 9), nullptr);
    EXPECT_EQ(At(1, 1), nullptr);
    // A new shape on an item that has runs shows when the geometry changes.
    a.MarkMaskChange();
    masks.UpdateMaskFromParam("a", &a, ours.release(), false, true, false);
    Update();
    EXPECT_EQ(At(1, 1), nullptr);
    a.SetActive(false), Update(), a.SetActive(true);
    Update();
    EXPECT_NE(At(1, 1), nullptr);
}

TEST_F(Masks, TheOwnedMaskMayComeAgainUnderAnotherParameter) {
    KIT_PolygonMask* const mask = square(2, 2, 8);
    masks.UpdateMaskFromParam("a", &a, mask, false, true, false);
    Update();
    masks.UpdateMaskFromParam("a", &b, mask, false, false, false);
    Update();
    EXPECT_EQ(At(3, 3), b.table);
    // Also an empty one, which is not taken a second time, is deleted once.
    int deleted = 0;
    auto* const empty = new Counted(deleted);
    masks.UpdateMaskFromParam("empty", &a, empty, false, true, false);
    masks.UpdateMaskFromParam("empty", &b, empty, false, false, false);
    EXPECT_EQ(deleted, 1);
}

TEST(PolygonMask, HostileOutlinesStayInsideTheCut) {
    const double distant = 1e308, nan = std::nan("");
    const KIT_PolygonMask::Ring rings[] = {{{-distant, -distant}, {distant, distant}, {0, 1.5e308}},
                                           {{nan, 0}, {5, 0}, {0, 5}},
                                           {{-9e8, -9e8}, {9e8, -9e8}, {3, 9e8}},
                                           {{1, 1}, {2, 2}},
                                           {{3, 3}, {3, 3}, {3, 3}}};
    for (const auto& ring : rings) {
        KIT_PolygonMask polygon(ring);
        const std::unique_ptr<KIT_PolygonMask> cut(polygon.IntersectWithDisplayRect(0, 0, 10, 8));
        const std::unique_ptr<KIT_LinesMask> lines(cut->ConvertToLinesMask());
        for (const auto& run : lines->GetRuns()) {
            EXPECT_TRUE(run.left >= 0 && run.left < run.right && run.right <= 10 && run.y >= 0 && run.y < 8);
        }
    }
}

TEST_F(Masks, RefusalsAndEmptySets) {
    LogCapture log(3);
    ZEV_Masks plain;
    std::unique_ptr<KIT_PolygonMask> mask(square(0, 0, 4));
    plain.UpdateMaskFromParam("a", &a, mask.get(), false, false, true);
    EXPECT_FALSE(plain.IsDynamicMask());
    masks.UpdateMaskFromParam("a", nullptr, mask.get(), false, false, true);
    EXPECT_EQ(masks.GetDefaultTable(), nullptr);
    EXPECT_EQ(masks.MasksCountWithoutDefault(), -1);
    masks.UpdateMaskFromParam("a", &a, mask.get(), false, false, true);
    Update();
    vec.Remove(&space);
    Update();
    EXPECT_TRUE(masks.GetCombinedMask()->IsEmpty());
    rect = KIT_Rect();
    vec.Append(&space);
    Update();
    const std::vector<std::string> expected = {
        "3 ZEV_Masks::UpdateMaskFromParam The masks parameter is not meant to be used in the UI side\n",
        "3 ZEV_Masks::UpdateMaskFromParam UpdateMaskFromParam was called with no parameter\n",
        "3 ZEV_Masks::zoom_masks_and_convert_to_lines No space info in the view\n",
        "3 ZEV_Masks::zoom_masks_and_convert_to_lines The clipped mask is NULL\n"};
    EXPECT_EQ(log.lines, expected);
    const std::unique_ptr<KIT_BaseParams> clone(masks.Clone());
    EXPECT_EQ(static_cast<ZEV_Masks&>(*clone).MasksCountWithoutDefault(), -1);
    ZEV_Masks copy(masks);
    EXPECT_TRUE(copy.IsDynamicMask());
    EXPECT_EQ(copy.MasksCountWithoutDefault(), -1);
}

TEST(MaskItem, TolerancesAndMasks) {
    Region param;
    ZEV_Masks::PolygonItem item("x", &param, nullptr, true);
    float zero[4][4] = {}, close[4][4] = {}, distant[4][4] = {};
    close[2][3] = 0.0004f, distant[2][3] = 0.0006f;
    EXPECT_TRUE(item.IsPolygon());
    EXPECT_TRUE(item.ScreenMatrixChanged(zero));
    item.SetLines(new KIT_LinesMask, zero, zero, KIT_Rect(1, 2, 3, 4));
    EXPECT_FALSE(item.ScreenMatrixChanged(close) || item.RasterMatrixChanged(close));
    EXPECT_TRUE(item.ScreenMatrixChanged(distant) && item.RasterMatrixChanged(distant));
    EXPECT_TRUE(item.RectDiffers(KIT_Rect(2, 1, 3, 4)));
    // An empty mask is not taken and stays the caller's; its counter is taken all the same.
    KIT_LinesMask empty;
    item.SetMask(&empty, KIT_ChangeCounter(7), true);
    EXPECT_EQ(item.GetMask(), nullptr);
    EXPECT_EQ(item.GetMaskCC().GetCount(), 7);
    // The mask that it holds: kept, and owned if it was owned before or is now.
    int deleted = 0;
    for (const auto& [before, now] : {std::pair{true, false}, {false, true}}) {
        auto* const mask = new Counted(deleted);
        mask->AddRun(0, 0, 1, nullptr);
        item.SetMask(mask, KIT_ChangeCounter(8), before);
        item.SetMask(mask, KIT_ChangeCounter(9), now);
        EXPECT_EQ(item.GetMask(), mask);
    }
    item.SetMask(nullptr, KIT_ChangeCounter(10), false);
    EXPECT_EQ(deleted, 2);
}

// ---- the twin

constexpr int kSide = 24;
using Bitmap = std::vector<char>;

struct TwinItem {
    Region* param;
    KIT_PolygonMask::Ring ring;  ///< empty for a run list
    Bitmap shape;                ///< of a run list
    Bitmap lines;                ///< empty for none
    float raster[4][4] = {}, screen[4][4] = {};
    KIT_Rect rect;
};

bool differs(const float a[4][4], const float b[4][4]) {
    for (int i = 0; i < 16; ++i) {
        if (std::fabs(static_cast<double>(a[i / 4][i % 4] - b[i / 4][i % 4])) > 0.0005) return true;
    }
    return false;
}

/// Whether a point lies inside by counting the edges to its left.
bool inside(const KIT_PolygonMask::Ring& ring, double x, double y) {
    bool odd = false;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        if ((ring[i].y <= y) == (ring[j].y <= y)) continue;
        const auto& upper = ring[i].y < ring[j].y ? ring[i] : ring[j];
        const auto& lower = ring[i].y < ring[j].y ? ring[j] : ring[i];
        odd ^= upper.x + (y - upper.y) * ((lower.x - upper.x) / (lower.y - upper.y)) <= x;
    }
    return odd;
}

Bitmap draw(const TwinItem& item, const float m[4][4], const KIT_Rect& rect) {
    KIT_PolygonMask::Ring ring = item.ring;
    for (auto& p : ring) {
        p = {double(m[0][0]) * p.x + double(m[0][1]) * p.y + double(m[0][3]),
             double(m[1][0]) * p.x + double(m[1][1]) * p.y + double(m[1][3])};
    }
    Bitmap bitmap(kSide * kSide);
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x) {
            bitmap[static_cast<std::size_t>(y * kSide + x)] =
                inside(ring, x + 0.5, y + 0.5) != item.param->GetNegate();
        }
    }
    return bitmap;
}

TEST(MasksTwin, RandomScenes) {
    const unsigned seed = 20261122;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const auto real = [&random](double from, double to) {
        return std::uniform_real_distribution<>(from, to)(random);
    };
    for (int scene = 0; scene < 1500; ++scene) {
        ZEV_Masks live, masks;
        masks.SetLiveParams(&live);
        SPC_SpaceInfo space;
        space.SetRasterSize(kSide, kSide), space.SetScreenSize(kSide, kSide);
        KIT_BaseParamsVec vec(L"view");
        vec.Append(&space);
        refhost::MemoryRaster source;
        source.m_BitsPerPixel = 8;
        std::vector<Region> regions(static_cast<std::size_t>(2 + below(4)));
        std::vector<TwinItem> twin;
        for (std::size_t i = 0; i < regions.size(); ++i) {
            TwinItem item{&regions[i], {}, {}, {}, {}, {}, {}};
            regions[i].SetNegate(below(4) == 0);
            KIT_Mask* mask = nullptr;
            if (below(4) == 0) {
                auto* lines = new KIT_LinesMask;
                item.shape.resize(kSide * kSide);
                for (int run = 0; run < 1 + below(9); ++run) {
                    const int y = below(kSide), x = below(kSide), end = x + below(kSide - x) + 1;
                    lines->AddRun(y, x, end, nullptr);
                    std::fill_n(item.shape.begin() + y * kSide + x, end - x, char(1));
                }
                mask = lines;
            } else {
                for (int p = 0; p < 3 + below(6); ++p) item.ring.push_back({real(-8, 32), real(-8, 32)});
                mask = new KIT_PolygonMask(item.ring);
            }
            const bool front = below(2) == 0;
            masks.UpdateMaskFromParam(std::to_string(i), &regions[i], mask, front, true, false);
            twin.insert(front ? twin.begin() : twin.end(), item);
        }
        KIT_Rect rect(0, 0, kSide, kSide);
        for (int step = 0; step < 5; ++step) {
            switch (below(6)) {
                case 0:
                    space.SetZoom(real(0.3, 3)), space.SetRotation(real(0, 360));
                    break;
                case 1:
                    space.SetPan(real(-9, 9), real(-9, 9));
                    break;
                case 2:
                    rect = KIT_Rect(below(8), below(8), 12 + below(12), 12 + below(12));
                    break;
                case 3:
                    regions[random() % regions.size()].SetActive(below(2) == 0);
                    break;
                case 4:
                    regions[random() % regions.size()].MarkTableChange();
                    break;
                default:
                    regions[random() % regions.size()].SetNegate(below(2) == 0);
                    break;
            }
            masks.UpdateMasks(ZEV_TableParams(&vec, nullptr, &source, nullptr, rect));

            float r[4][4], p[4][4];
            space.GetRaster2ScreenTrasformMat(r), space.GetScreen2PhysicalTrasformMat(p);
            for (TwinItem& item : twin) {
                Bitmap lines;
                KIT_Rect newRect;
                if (item.param->GetActive()) {
                    const bool polygon = !item.ring.empty();
                    const bool none = item.lines.empty();
                    const bool stale = (polygon && (none || differs(item.raster, r))) || item.rect != rect ||
                                       none || differs(item.screen, p);
                    if (!stale) continue;
                    if (polygon) {
                        newRect = rect;
                        lines = draw(item, r, rect);
                    } else {
                        newRect = item.rect;
                        // Negated within its own rectangle, which stays 0: nothing is left.
                        lines = item.param->GetNegate() ? Bitmap(kSide * kSide) : item.shape;
                    }
                }
                item.lines = lines;
                item.rect = newRect;
                std::memcpy(item.raster, r, sizeof r), std::memcpy(item.screen, p, sizeof p);
            }
            for (int y = 0; y < kSide; ++y) {
                for (int x = 0; x < kSide; ++x) {
                    KIT_Mask::Data* expected = nullptr;
                    for (const TwinItem& item : twin) {
                        if (!item.lines.empty() && item.lines[static_cast<std::size_t>(y * kSide + x)]) {
                            expected = item.param->table;
                        }
                    }
                    ASSERT_EQ(masks.GetCombinedMask()->GetData(x, y), expected)
                        << "scene " << scene << " step " << step << " at " << x << "," << y;
                }
            }
        }
    }
}

}  // namespace
