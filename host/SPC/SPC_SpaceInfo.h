#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_BaseParams.h>

/// A map of the plane: x' = a x + b y + c, y' = d x + e y + f.
struct HOST_API SPC_Affine {
    double a, b, c, d, e, f;

    double X(double x, double y) const { return a * x + b * y + c; }
    double Y(double x, double y) const { return d * x + e * y + f; }
    SPC_Affine Inverse() const;
};

/// Where the image lies in its view: zoom, pan, rotation and flip. A parameter object named "SPC_SpaceInfo".
///
/// The raster's centre lies on the screen's centre, moved by the pan; around it the raster is stretched to
/// square pixels, flipped, then rotated clockwise, then zoomed. Points are column vectors; a matrix is given
/// row by row.
class HOST_API SPC_SpaceInfo : public KIT_BaseParams {
public:
    SPC_SpaceInfo();

    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    SPC_SpaceInfo(const SPC_SpaceInfo&) = default;
    SPC_SpaceInfo& operator=(const SPC_SpaceInfo&) = default;
    KIT_BaseParams* Clone() override;
    void Freeze() override;

    /// In pixels; each setter marks a change when a value moves.
    void SetRasterSize(int width, int height);
    void SetScreenSize(int width, int height);
    /// Screen pixels per raster pixel; above 0 and finite, others are ignored.
    void SetZoom(double zoom);
    /// In screen pixels, to the right and downward.
    void SetPan(double x, double y);
    /// Width and height that a raster pixel takes at zoom 1; above 0 and finite, others are ignored.
    void SetPixelSize(double width, double height);
    /// Degrees clockwise.
    void SetRotation(double degrees);
    void SetFlip(bool horizontal, bool vertical);
    /// Millimetres per raster pixel, across and down; above 0 and finite, others are ignored.
    void SetPixelSpacing(double across, double down);

    double GetZoom() const { return m_Zoom; }
    double GetRotation() const { return m_Rotation; }
    bool IsFlippedHorizontally() const { return m_bFlipHorizontal; }
    bool IsFlippedVertically() const { return m_bFlipVertical; }

    /// Raster to screen coordinates.
    void GetRaster2ScreenTrasformMat(float matrix[4][4]);
    SPC_Affine GetRaster2Screen() const;
    /// Screen to raster coordinates: the inverse, in double precision, of the matrix above with its rounded
    /// elements, so that a point falls into the pixel in which the masks carried by that matrix have it.
    SPC_Affine GetScreen2Raster() const;
    /// Screen to physical coordinates in millimetres from the raster's top left corner.
    void GetScreen2PhysicalTrasformMat(float matrix[4][4]);

private:
    void set(double& member, double value);

    double m_RasterWidth = 0, m_RasterHeight = 0;
    double m_ScreenWidth = 0, m_ScreenHeight = 0;
    double m_Zoom = 1;
    double m_PixelWidth = 1, m_PixelHeight = 1;
    double m_PanX = 0, m_PanY = 0;
    double m_Rotation = 0;
    bool m_bFlipHorizontal = false, m_bFlipVertical = false;
    double m_SpacingX = 1, m_SpacingY = 1;
};
