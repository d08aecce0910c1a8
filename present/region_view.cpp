#include "region_view.h"

#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>
#include <ZEV/ZEV_Painter.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <unordered_map>

#include "io/present_error.h"
#include "renderer.h"

namespace {

/// The pixel that a coordinate falls into; -1 outside.
int pixel_of(double coordinate, int count) {
    return coordinate >= 0.0 && coordinate < count ? static_cast<int>(coordinate) : -1;
}

/// The screen pixels that a rectangle of the image can reach, and one more on each side against rounding.
KIT_Rect on_screen(const KIT_Rect& inImage, const SPC_Affine& toScreen, int width, int height) {
    const double xs[] = {static_cast<double>(inImage.left), static_cast<double>(inImage.right)};
    const double ys[] = {static_cast<double>(inImage.top), static_cast<double>(inImage.bottom)};
    double left = width, right = 0.0, top = height, bottom = 0.0;
    for (const double x : xs) {
        for (const double y : ys) {
            left = std::min(left, toScreen.X(x, y) - 1.0), right = std::max(right, toScreen.X(x, y) + 2.0);
            top = std::min(top, toScreen.Y(x, y) - 1.0), bottom = std::max(bottom, toScreen.Y(x, y) + 2.0);
        }
    }
    const auto within = [](double value, int size) {
        return static_cast<int>(std::min(std::max(0.0, value), static_cast<double>(size)));
    };
    return {within(top, height), within(left, width), within(bottom, height), within(right, width)};
}

/// One row of the screen: the stored pixels under it, or with `smooth` the four around each of its points,
/// which are painted first and mixed then, since a window is no straight line.
class ScreenRow {
public:
    ScreenRow(OpenedImage& image, const SPC_Affine& toRaster, int width, bool smooth, Picture::Form form)
        : m_Raster(image.Raster()),
          m_Present(image.File().PresentPixels()),
          m_bColour(image.File().IsColour()),
          m_PixelBytes(m_bColour                      ? 4
                       : m_Raster.m_BitsPerPixel <= 8 ? 1
                                                      : 2),
          m_ToRaster(toRaster),
          m_Form(form),
          m_Samples(smooth ? 4 : 1),
          m_Pixels(Count(width) * m_PixelBytes),
          m_Shown(Count(width)),
          m_Painted(Count(width) * static_cast<std::size_t>(form)),
          m_Weights(smooth ? static_cast<std::size_t>(width) : 0) {
        m_Raster.Lock();
        m_pBytes = static_cast<const unsigned char*>(m_Raster.GetPixels());
    }
    ~ScreenRow() { m_Raster.Unlock(); }
    ScreenRow(const ScreenRow&) = delete;
    ScreenRow& operator=(const ScreenRow&) = delete;

    void Gather(int y, int width) {
        for (int x = 0; x < width; ++x) {
            const double rx = m_ToRaster.X(x + 0.5, y + 0.5), ry = m_ToRaster.Y(x + 0.5, y + 0.5);
            const int column = pixel_of(rx, m_Raster.m_Width), row = pixel_of(ry, m_Raster.m_Height);
            const bool isInside = column >= 0 && row >= 0;
            const std::size_t at = Count(x);
            if (m_Samples == 1 || !isInside) {
                for (std::size_t i = 0; i < m_Samples; ++i) take(at + i, column, row, isInside);
                continue;
            }
            const double left = std::floor(rx - 0.5), top = std::floor(ry - 0.5);
            const auto within = [](int i, int size) { return std::clamp(i, 0, size - 1); };
            for (int corner = 0; corner < 4; ++corner) {
                take(at + static_cast<std::size_t>(corner),
                     within(static_cast<int>(left) + corner % 2, m_Raster.m_Width),
                     within(static_cast<int>(top) + corner / 2, m_Raster.m_Height), true);
            }
            m_Weights[static_cast<std::size_t>(x)] = {rx - 0.5 - left, ry - 0.5 - top};
        }
    }

    /// Columns `from` to `to` of the row with a painter; what is in colour already needs none.
    void Paint(const ZEV_Painter* painter, const SupplementalPalette* supplement, int from, int to,
               std::uint8_t* out) {
        if (from >= to) return;
        const std::size_t first = Count(from), count = Count(to) - first,
                          bytes = static_cast<std::size_t>(m_Form);
        std::uint8_t* const painted = m_Painted.data() + first * bytes;
        const unsigned char* const pixels = m_Pixels.data() + first * m_PixelBytes;
        if (painter == nullptr) {
            for (std::size_t i = 0; i < count; ++i) {
                std::uint32_t pixel;
                std::memcpy(&pixel, pixels + 4 * i, 4);
                for (int c = 0; c < 3; ++c)
                    painted[3 * i + static_cast<std::size_t>(c)] =
                        static_cast<std::uint8_t>(pixel >> (16 - 8 * c));
            }
        } else {
            const auto paint = m_Form == Picture::kRgb ? &ZEV_Painter::PaintRgb : &ZEV_Painter::Paint;
            (painter->*paint)(pixels, 0, static_cast<int>(count), 1, painted, 0);
            if (supplement != nullptr) PaintSupplement(*supplement, m_Raster, pixels, count, m_Form, painted);
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (!m_Shown[first + i]) std::memset(painted + i * bytes, 0, bytes);
        }
        if (m_Samples == 1) {
            std::memcpy(out + static_cast<std::size_t>(from) * bytes, painted, count * bytes);
        } else if (m_Form == Picture::kGrey16) {
            for (int x = from; x < to; ++x) mix<std::uint16_t>(x, 1, out);
        } else {
            for (int x = from; x < to; ++x) mix<std::uint8_t>(x, 3, out);
        }
    }

private:
    struct Weights {
        double u, v;
    };

    std::size_t Count(int columns) const { return static_cast<std::size_t>(columns) * m_Samples; }

    void take(std::size_t at, int column, int row, bool isInside) {
        const std::size_t i = static_cast<std::size_t>(row) * static_cast<std::size_t>(m_Raster.m_Width) +
                              static_cast<std::size_t>(column);
        m_Shown[at] = isInside && i < m_Present;
        if (m_Shown[at]) std::memcpy(&m_Pixels[at * m_PixelBytes], m_pBytes + i * m_PixelBytes, m_PixelBytes);
    }

    template <class Sample>
    void mix(int x, std::size_t channels, std::uint8_t* out) const {
        const Weights w = m_Weights[static_cast<std::size_t>(x)];
        for (std::size_t c = 0; c < channels; ++c) {
            double level[4];
            for (std::size_t i = 0; i < 4; ++i) {
                Sample sample;
                std::memcpy(&sample, &m_Painted[((Count(x) + i) * channels + c) * sizeof sample],
                            sizeof sample);
                level[i] = sample;
            }
            const double upper = level[0] * (1 - w.u) + level[1] * w.u;
            const double lower = level[2] * (1 - w.u) + level[3] * w.u;
            const auto mixed = static_cast<Sample>(std::lround(upper * (1 - w.v) + lower * w.v));
            std::memcpy(out + (static_cast<std::size_t>(x) * channels + c) * sizeof mixed, &mixed,
                        sizeof mixed);
        }
    }

    refhost::MemoryRaster& m_Raster;
    std::size_t m_Present;
    bool m_bColour;
    std::size_t m_PixelBytes;
    SPC_Affine m_ToRaster;
    Picture::Form m_Form;
    std::size_t m_Samples;
    std::vector<unsigned char> m_Pixels;
    std::vector<unsigned char> m_Shown;
    std::vector<std::uint8_t> m_Painted;
    std::vector<Weights> m_Weights;
    const unsigned char* m_pBytes = nullptr;
};

}  // namespace

/// One region: the live object that the user changes, and the frozen copy that draws.
struct RegionView::Region {
    Region(const RegionSpec& s, std::shared_ptr<ImageSource> source, const PresentationOptions& options)
        : spec(s), image(std::move(source), options) {}
    RegionSpec spec;
    OpenedImage image;
};

namespace {

/// A region's own settings stand in for those of the image.
PresentationOptions over(PresentationOptions options, const RegionSpec& spec) {
    if (spec.center || !spec.preset.empty()) {
        options.automatic = false;
        options.voi.reset();
        options.preset.reset();
        options.center = spec.center;
        options.width = spec.width;
        if (!spec.preset.empty()) options.preset = spec.preset;
    }
    if (!spec.colorMap.empty()) options.colourMap = spec.colorMap;
    if (spec.gamma) options.gamma = spec.gamma;
    if (spec.invert) options.invert = !options.invert;
    return options;
}

}  // namespace

std::vector<RegionSpec> ParseRegions(const std::vector<std::string>& texts) {
    std::vector<RegionSpec> regions;
    regions.reserve(texts.size());
    for (const std::string& text : texts) regions.push_back(ParseRegion(text));
    return regions;
}

std::vector<RegionSpec> AllRegions(const OpenedImage& image, const ViewOptions& options) {
    std::vector<RegionSpec> regions = ParseRegions(image.SavedRegions());
    for (RegionSpec& region : ParseRegions(options.regions)) regions.push_back(std::move(region));
    return regions;
}

RegionView::RegionView(OpenedImage& image, const PresentationOptions& presentation,
                       const std::vector<RegionSpec>& regions, const Placement& placement, bool smooth)
    : m_Image(image),
      m_Width(placement.width),
      m_Height(placement.height),
      m_bSmooth(smooth),
      m_Space(placement.space) {
    if (image.File().IsColour() && !regions.empty()) {
        throw PresentError(image.File().Path(), "is in colour and takes no regions");
    }
    m_Image.View().Append(&m_Space);
    m_Masks.SetLiveParams(&m_LiveMasks);
    for (const RegionSpec& spec : regions) {
        m_Regions.push_back(std::make_unique<Region>(spec, image.Source(), over(presentation, spec)));
        ZEV_Params& live = m_Regions.back()->image.Params();
        // make_mask negates a run list itself.
        live.SetNegate(spec.negate && spec.shape == RegionSpec::kPolygon);
        live.SetActive(!spec.inactive);
    }
}

RegionView::~RegionView() { m_Image.View().Remove(&m_Space); }

/// A polygon in image pixels, which the set brings to the screen; or a run list, which the set takes as it
/// is, so that it is brought there and negated here.
KIT_Mask* RegionView::make_mask(const Region& region) const {
    const RegionSpec& spec = region.spec;
    if (spec.shape == RegionSpec::kPolygon) {
        KIT_PolygonMask::Ring ring;
        for (const RegionSpec::Point& p : spec.outline) ring.push_back({p.x, p.y});
        return new KIT_PolygonMask(std::move(ring));
    }
    const int columns = m_Image.File().Columns(), rows = m_Image.File().Rows();
    KIT_LinesMask inImage;
    KIT_Rect bounds(rows, columns, 0, 0);
    for (const RegionSpec::Run& run : spec.runs) {
        inImage.AddRun(run.y, run.left, run.right, nullptr);
        bounds.left = std::min(bounds.left, run.left), bounds.right = std::max(bounds.right, run.right);
        bounds.top = std::min(bounds.top, run.y), bounds.bottom = std::max(bounds.bottom, run.y + 1);
    }
    const SPC_Affine toRaster = m_Space.GetScreen2Raster();
    const KIT_Rect area = on_screen(bounds, toRaster.Inverse(), m_Width, m_Height);
    auto lines = std::make_unique<KIT_LinesMask>();
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            const int column = pixel_of(toRaster.X(x + 0.5, y + 0.5), columns);
            const int row = pixel_of(toRaster.Y(x + 0.5, y + 0.5), rows);
            if (column >= 0 && row >= 0 && inImage.HitTest(column, row)) lines->AddRun(y, x, x + 1, nullptr);
        }
    }
    if (spec.negate) lines->Inverse(KIT_Rect(0, 0, m_Height, m_Width));
    return lines.release();
}

void RegionView::enter_masks() {
    m_Masks.Freeze();
    m_Image.Frozen().Freeze();
    m_Image.Frozen().ConvertToMasks(&m_Masks, &m_Image.View());
    int number = 0;
    for (const std::unique_ptr<Region>& region : m_Regions) {
        ZEV_Params& frozen = region->image.Frozen();
        frozen.Freeze();
        m_Masks.UpdateMaskFromParam("region " + std::to_string(++number), &frozen, make_mask(*region), false,
                                    true, false);
    }
}

Picture RegionView::Draw(int bits) {
    RefuseColourIn16Bits(m_Image, bits);
    enter_masks();
    const TargetForm form(m_Image, PictureTarget(bits), KIT_Rect(0, 0, m_Height, m_Width));
    const ZEV_TableParams& tableParams = form.Params();
    const bool isColour = m_Image.File().IsColour();
    try {
        if (!isColour) m_Masks.UpdateMasks(tableParams);
    } catch (const KIT_PolygonMask::TooComplex& error) {
        throw UsageError(std::string("--region: ") + error.what());
    }

    Picture picture(m_Width, m_Height, bits == 16 ? Picture::kGrey16 : Picture::kRgb);
    ScreenRow row(m_Image, m_Space.GetScreen2Raster(), m_Width, m_bSmooth, picture.form);
    std::unique_ptr<ZEV_Painter> standard;
    if (!isColour) {
        standard = std::make_unique<ZEV_Painter>(m_Image.Frozen(), tableParams);
        if (!standard->IsReady()) throw std::bad_alloc();
    }
    const SupplementalPalette* const supplement = isColour ? nullptr : m_Image.Supplement();
    // One painter for each region's table.
    struct Paint {
        ZEV_Painter painter;
        const SupplementalPalette* supplement;
    };
    std::unordered_map<const KIT_Mask::Data*, Paint> paints;
    const auto paint_run = [&](const KIT_LinesMask::Run& run, int from, int to, std::uint8_t* out) {
        auto* const params = dynamic_cast<ZEV_Params*>(m_Masks.GetParamOf(run.data));
        if (params == nullptr) return row.Paint(standard.get(), supplement, from, to, out);
        auto found = paints.find(run.data);
        if (found == paints.end()) {
            const SupplementalPalette* own = nullptr;
            for (const auto& region : m_Regions) {
                if (&region->image.Frozen() == params) own = region->image.Supplement();
            }
            found = paints.emplace(run.data, Paint{ZEV_Painter(*params, tableParams), own}).first;
        }
        row.Paint(&found->second.painter, found->second.supplement, from, to, out);
    };
    const std::vector<KIT_LinesMask::Run>& runs = m_Masks.GetCombinedMask()->GetRuns();
    auto run = runs.begin();
    for (int y = 0; y < m_Height; ++y) {
        row.Gather(y, m_Width);
        int x = 0;
        while (run != runs.end() && run->y < y) ++run;
        for (; run != runs.end() && run->y == y; ++run) {
            const int from = std::clamp(run->left, 0, m_Width), to = std::clamp(run->right, 0, m_Width);
            row.Paint(standard.get(), supplement, x, from, picture.Row(y));
            paint_run(*run, from, to, picture.Row(y));
            x = to;
        }
        row.Paint(standard.get(), supplement, x, m_Width, picture.Row(y));
    }
    m_Masks.FinalizeAll(tableParams);
    m_Image.Frozen().Defrost();
    for (const std::unique_ptr<Region>& region : m_Regions) region->image.Frozen().Defrost();
    return picture;
}

int RegionView::RegionAt(int x, int y) {
    for (const KIT_LinesMask::Run& run : m_Masks.GetCombinedMask()->GetRuns()) {
        if (run.y != y || x < run.left || x >= run.right) continue;
        const ZEV_MaskableParam* const params = m_Masks.GetParamOf(run.data);
        for (std::size_t i = 0; i < m_Regions.size(); ++i) {
            if (params == &m_Regions[i]->image.Frozen()) return static_cast<int>(i) + 1;
        }
    }
    return 0;
}

OpenedImage& RegionView::ImageOf(int region) {
    return m_Regions.at(static_cast<std::size_t>(region) - 1)->image;
}
