#pragma once

#include <ZEV/ZEV_Masks.h>

#include <memory>
#include <string>
#include <vector>

#include "io/picture.h"
#include "placement.h"
#include "presentation.h"
#include "regions.h"

/// The regions of one view. Each is the image opened once more with the region's settings over the options,
/// and so has a live object and a frozen copy of its own; what draws is a frozen mask set.
class RegionView {
public:
    /// `presentation` is what the image was opened with. Throws UsageError and PresentError for settings that
    /// do not hold.
    /// `smooth`: bilinear instead of the nearest pixel.
    RegionView(OpenedImage& image, const PresentationOptions& presentation,
               const std::vector<RegionSpec>& regions, const Placement& placement, bool smooth = false);
    ~RegionView();
    RegionView(const RegionView&) = delete;
    RegionView& operator=(const RegionView&) = delete;

    /// Draws by the combined mask: each run with its own table, the default table elsewhere, black outside
    /// the image. In 8 bits of red, green and blue, or in 16 bits of grey.
    Picture Draw(int bits = 8);

    /// The region that a pixel of the picture last drawn lies in, from 1; 0 for none.
    int RegionAt(int x, int y);
    /// The image as this region opened it.
    OpenedImage& ImageOf(int region);

private:
    struct Region;

    void enter_masks();
    KIT_Mask* make_mask(const Region& region) const;

    OpenedImage& m_Image;
    int m_Width;
    int m_Height;
    bool m_bSmooth;
    SPC_SpaceInfo m_Space;
    ZEV_Masks m_LiveMasks;
    ZEV_Masks m_Masks;
    std::vector<std::unique_ptr<Region>> m_Regions;
};

std::vector<RegionSpec> ParseRegions(const std::vector<std::string>& texts);

/// The regions that a display-parameter file brought, then those of the options.
std::vector<RegionSpec> AllRegions(const OpenedImage& image, const ViewOptions& options);
