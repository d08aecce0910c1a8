// Any text as a region, which must read back as itself; any outline as a mask, against the test of single
// pixels.

#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>

#include <memory>

#include "input.h"
#include "io/present_error.h"
#include "present/regions.h"

namespace {

void check_text(const std::string& text) {
    // A mask names a file.
    if (text.find("mask") != std::string::npos) return;
    try {
        const std::string written = ParseRegion(text).ToText();
        fuzz::Require(ParseRegion(written).ToText() == written);
    } catch (const UsageError&) {
    } catch (const PresentError&) {
    }
}

void check_lines(fuzz::Input& input, KIT_PolygonMask& polygon) {
    std::unique_ptr<KIT_LinesMask> lines;
    try {
        lines.reset(polygon.ConvertToLinesMask());
    } catch (const KIT_PolygonMask::TooComplex&) {
        return;
    }
    std::size_t runs = 0;
    for (const KIT_LinesMask::Run& run : lines->GetRuns()) {
        fuzz::Require(run.left < run.right);
        if (++runs > 2000) break;
        for (const int x : {run.left - 1, run.left, run.right - 1, run.right})
            fuzz::Require(polygon.HitTest(x, run.y) == lines->HitTest(x, run.y));
    }
    for (int count = 0; count < 8; ++count) {
        const int x = input.ConsumeIntegralInRange(-20, 300), y = input.ConsumeIntegralInRange(-20, 300);
        fuzz::Require(polygon.HitTest(x, y) == lines->HitTest(x, y));
    }
    lines->Inverse(KIT_Rect(-5, -5, 40, 300));
    lines->GetRuns();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    if (input.ConsumeBool()) {
        check_text(input.ConsumeRemainingBytesAsString());
        return 0;
    }
    const bool wild = input.ConsumeIntegralInRange(0, 9) == 0;
    const auto coordinate = [&] {
        if (wild && input.ConsumeBool()) return input.ConsumeFloatingPoint<double>();
        return input.ConsumeIntegralInRange(-2000, 5000) / 16.0;
    };
    KIT_PolygonMask::Ring ring;
    for (int points = input.ConsumeIntegralInRange(0, 40); points > 0; --points) {
        const double x = coordinate();
        ring.push_back({x, coordinate()});
    }
    KIT_PolygonMask polygon(ring);
    const std::unique_ptr<KIT_PolygonMask> cut(polygon.IntersectWithDisplayRect(
        input.ConsumeIntegralInRange(-10, 50), input.ConsumeIntegralInRange(-10, 50),
        input.ConsumeIntegralInRange(0, 300), input.ConsumeIntegralInRange(0, 300)));
    float matrix[4][4];
    for (auto& row : matrix) {
        for (float& value : row) value = input.ConsumeIntegralInRange(-64, 64) / 32.0f;
    }
    const std::unique_ptr<KIT_PolygonMask> moved(polygon.ApplyMatrix(matrix));
    // Without a cut a wild outline may have as many lines as numbers go.
    if (!wild) check_lines(input, polygon), check_lines(input, *moved);
    if (cut != nullptr) check_lines(input, *cut);
    return 0;
}
