#pragma once

#include <SPC/SPC_SpaceInfo.h>
#include <ZEV/ZEV_Masks.h>

#include <memory>
#include <string>
#include <vector>

#include "io/picture.h"
#include "presentation.h"
#include "regions.h"

/// Where the image lies on the screen, and the regions drawn on it.
struct ViewOptions {
    std::vector<std::string> regions;
    double zoom = 1.0;
    std::vector<double> pan;  ///< x,y in screen pixels
    double rotate = 0.0;      ///< degrees clockwise
    std::string flip;         ///< "h", "v", "hv" or empty
    std::string size;         ///< WxH; when empty the image's own size times the zoom
    bool smooth = false;      ///< bilinear instead of the nearest pixel
    /// Anything but the picture at its own size.
    bool IsView() const;
};

/// The regions of one view. Each is the image opened once more with the region's settings over the options,
/// and so has a live object and a frozen copy of its own; what draws is a frozen mask set.
class RegionView {
public:
    /// `presentation` is what the image was opened with. Throws UsageError and PresentError for settings that
    /// do not hold.
    RegionView(OpenedImage& image, const PresentationOptions& presentation,
               const std::vector<RegionSpec>& regions, const ViewOptions& options);
    ~RegionView();
    RegionView(const RegionView&) = delete;
    RegionView& operator=(const RegionView&) = delete;

    /// Draws by the combined mask: each run with its own table, the default table elsewhere, black outside
    /// the image. In 8 bits of red, green and blue, or in 16 bits of grey.
    Picture Draw(int bits = 8);

private:
    struct Region;

    void enter_masks();
    KIT_Mask* make_mask(const Region& region) const;

    OpenedImage& m_Image;
    ViewOptions m_Options;
    int m_Width = 0;
    int m_Height = 0;
    SPC_SpaceInfo m_Space;
    ZEV_Masks m_LiveMasks;
    ZEV_Masks m_Masks;
    std::vector<std::unique_ptr<Region>> m_Regions;
};

std::vector<RegionSpec> ParseRegions(const std::vector<std::string>& texts);

/// The regions that a display-parameter file brought, then those of the options.
std::vector<RegionSpec> AllRegions(const OpenedImage& image, const ViewOptions& options);
