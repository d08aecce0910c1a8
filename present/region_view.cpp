#include "region_view.h"

#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <refhost/MemoryContext.h>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "io/number.h"
#include "io/present_error.h"

namespace {

/// A screen of more pixels than this is a mistyped size.
constexpr int kLongestSide = 16384;

/// One side of a screen; 0 for a text that is not one.
int side_of(const std::string& text) {
    const std::optional<double> side = ParseNumber(text);
    const bool isSide = side && *side >= 1 && *side <= kLongestSide && *side == std::floor(*side);
    return isSide ? static_cast<int>(*side) : 0;
}

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

/// The entry of pixel value 0 of a table for true colour; null for none.
template <class In>
const unsigned int* origin_of(ZEV_AbstractWindowingTable* table) {
    auto* const typed = dynamic_cast<ZEV_WindowingTable<In, unsigned int>*>(table);
    return typed == nullptr ? nullptr : typed->GetTable();
}

const unsigned int* origin_of(ZEV_AbstractWindowingTable* table, const KIT_Raster& raster) {
    if (raster.m_BitsPerPixel <= 8) {
        return raster.m_bSigned ? origin_of<signed char>(table) : origin_of<unsigned char>(table);
    }
    return raster.m_bSigned ? origin_of<short>(table) : origin_of<unsigned short>(table);
}

/// The image's pixels through a table, or the pixels of an image in colour as they are; black where the file
/// lacks them.
class Pixels {
public:
    explicit Pixels(OpenedImage& image)
        : m_Raster(image.Raster()),
          m_Present(image.File().PresentPixels()),
          m_IsColour(image.File().IsColour()) {
        m_Raster.Lock();
        m_Bytes = static_cast<const unsigned char*>(m_Raster.GetPixels());
    }
    ~Pixels() { m_Raster.Unlock(); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    unsigned int At(int x, int y, const unsigned int* table) const {
        const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(m_Raster.m_Width) +
                              static_cast<std::size_t>(x);
        if (i >= m_Present) return 0;
        if (m_IsColour) {
            unsigned int pixel;
            std::memcpy(&pixel, m_Bytes + 4 * i, 4);
            return pixel;
        }
        if (table == nullptr) return 0;
        if (m_Raster.m_BitsPerPixel <= 8) {
            return m_Raster.m_bSigned ? table[static_cast<signed char>(m_Bytes[i])] : table[m_Bytes[i]];
        }
        if (m_Raster.m_bSigned) return table[reinterpret_cast<const short*>(m_Bytes)[i]];
        return table[reinterpret_cast<const unsigned short*>(m_Bytes)[i]];
    }

    /// Between the four pixels around a point, in display values: a table is no straight line.
    unsigned int Between(double x, double y, const unsigned int* table) const {
        const auto column = [this](int i) { return std::clamp(i, 0, m_Raster.m_Width - 1); };
        const auto row = [this](int i) { return std::clamp(i, 0, m_Raster.m_Height - 1); };
        const double left = std::floor(x - 0.5), top = std::floor(y - 0.5);
        const double u = x - 0.5 - left, v = y - 0.5 - top;
        const int x0 = static_cast<int>(left), y0 = static_cast<int>(top);
        const unsigned int corners[4] = {At(column(x0), row(y0), table), At(column(x0 + 1), row(y0), table),
                                         At(column(x0), row(y0 + 1), table),
                                         At(column(x0 + 1), row(y0 + 1), table)};
        unsigned int mixed = 0;
        for (int shift = 0; shift <= 16; shift += 8) {
            const auto level = [&](int i) { return static_cast<double>((corners[i] >> shift) & 0xFF); };
            const double upper = level(0) * (1 - u) + level(1) * u;
            const double lower = level(2) * (1 - u) + level(3) * u;
            mixed |= static_cast<unsigned int>(std::lround(upper * (1 - v) + lower * v)) << shift;
        }
        return mixed;
    }

private:
    refhost::MemoryRaster& m_Raster;
    std::size_t m_Present;
    bool m_IsColour;
    const unsigned char* m_Bytes;
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

bool ViewOptions::IsView() const {
    return !regions.empty() || zoom != 1.0 || !pan.empty() || rotate != 0.0 || !flip.empty() || !size.empty();
}

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
                       const std::vector<RegionSpec>& regions, const ViewOptions& options)
    : m_Image(image), m_Options(options), m_Width(image.File().Columns()), m_Height(image.File().Rows()) {
    if (!options.size.empty()) {
        const std::size_t by = options.size.find('x');
        m_Width = side_of(options.size.substr(0, by));
        m_Height = by == std::string::npos ? 0 : side_of(options.size.substr(by + 1));
        if (m_Width == 0 || m_Height == 0) {
            throw UsageError("--size: '" + options.size + "' is not WIDTHxHEIGHT, each 1 to " +
                             std::to_string(kLongestSide));
        }
    }
    if (image.File().IsColour() && !regions.empty()) {
        throw PresentError(image.File().Path(), "is in colour and takes no regions");
    }
    m_Space.SetRasterSize(image.File().Columns(), image.File().Rows());
    m_Space.SetScreenSize(m_Width, m_Height);
    m_Space.SetZoom(options.zoom);
    if (options.pan.size() == 2) m_Space.SetPan(options.pan[0], options.pan[1]);
    m_Space.SetRotation(options.rotate);
    m_Space.SetFlip(options.flip.find('h') != std::string::npos, options.flip.find('v') != std::string::npos);
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

Picture RegionView::Draw() {
    enter_masks();
    refhost::MemoryContext context(256);
    refhost::MemoryRaster target;
    target.m_PixelFormat = refhost::MemoryRaster::kTrueColor;
    target.m_BitsPerPixel = 32;
    const ZEV_TableParams tableParams(&m_Image.View(), &context, &m_Image.Raster(), &target,
                                      KIT_Rect(0, 0, m_Height, m_Width));
    const bool isColour = m_Image.File().IsColour();
    try {
        if (!isColour) m_Masks.UpdateMasks(tableParams);
    } catch (const KIT_PolygonMask::TooComplex& error) {
        throw UsageError(std::string("--region: ") + error.what());
    }

    const KIT_Raster& raster = m_Image.Raster();
    const unsigned int* const standard = isColour ? nullptr : origin_of(m_Masks.GetDefaultTable(), raster);
    if (!isColour && standard == nullptr)
        throw PresentError(m_Image.File().Path(), "no table can be made for its pixels");

    const SPC_Affine toRaster = m_Space.GetScreen2Raster();
    const Pixels pixels(m_Image);
    Picture picture(m_Width, m_Height);
    const auto draw = [&](int y, int from, int to, const unsigned int* table) {
        for (int x = from; x < to; ++x) {
            const double rx = toRaster.X(x + 0.5, y + 0.5), ry = toRaster.Y(x + 0.5, y + 0.5);
            const int column = pixel_of(rx, raster.m_Width), row = pixel_of(ry, raster.m_Height);
            if (column < 0 || row < 0) continue;
            const unsigned int display =
                m_Options.smooth ? pixels.Between(rx, ry, table) : pixels.At(column, row, table);
            std::uint8_t* const out = picture.At(x, y);
            out[0] = static_cast<std::uint8_t>(display >> 16);
            out[1] = static_cast<std::uint8_t>(display >> 8);
            out[2] = static_cast<std::uint8_t>(display);
        }
    };
    const std::vector<KIT_LinesMask::Run>& runs = m_Masks.GetCombinedMask()->GetRuns();
    auto run = runs.begin();
    for (int y = 0; y < m_Height; ++y) {
        int x = 0;
        while (run != runs.end() && run->y < y) ++run;
        for (; run != runs.end() && run->y == y; ++run) {
            const int from = std::clamp(run->left, 0, m_Width), to = std::clamp(run->right, 0, m_Width);
            draw(y, x, from, standard);
            const unsigned int* const own =
                origin_of(static_cast<ZEV_AbstractWindowingTable*>(run->data), raster);
            draw(y, from, to, own == nullptr ? standard : own);
            x = to;
        }
        draw(y, x, m_Width, standard);
    }
    m_Masks.FinalizeAll(tableParams);
    m_Image.Frozen().Defrost();
    for (const std::unique_ptr<Region>& region : m_Regions) region->image.Frozen().Defrost();
    return picture;
}
