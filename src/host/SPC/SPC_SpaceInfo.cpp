#include <SPC/SPC_SpaceInfo.h>

#include <cmath>
#include <cstring>

namespace {

constexpr double kPi = 3.14159265358979323846;

/// Quarter turns without rounding.
void sine_and_cosine(double degrees, double& sine, double& cosine) {
    const double turned = std::remainder(degrees, 360.0);
    if (turned == 0.0) {
        sine = 0, cosine = 1;
    } else if (turned == 90.0) {
        sine = 1, cosine = 0;
    } else if (turned == -90.0) {
        sine = -1, cosine = 0;
    } else if (std::fabs(turned) == 180.0) {
        sine = 0, cosine = -1;
    } else {
        sine = std::sin(turned * kPi / 180.0), cosine = std::cos(turned * kPi / 180.0);
    }
}

/// x' = a x + b y + c, y' = d x + e y + f.
struct Affine {
    double a, b, c, d, e, f;

    Affine inverse() const {
        const double det = a * e - b * d;
        return {e / det, -b / det, (b * f - e * c) / det, -d / det, a / det, (d * c - a * f) / det};
    }
    void write(float matrix[4][4]) const {
        const double rows[4][4] = {{a, b, 0, c}, {d, e, 0, f}, {0, 0, 1, 0}, {0, 0, 0, 1}};
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column)
                matrix[row][column] = static_cast<float>(rows[row][column]);
        }
    }
};

}  // namespace

SPC_SpaceInfo::SPC_SpaceInfo() { SetName("SPC_SpaceInfo"); }

KIT_BaseParams& SPC_SpaceInfo::operator=(const KIT_BaseParams& other) {
    return *this = static_cast<const SPC_SpaceInfo&>(other);
}

KIT_BaseParams* SPC_SpaceInfo::Clone() { return new SPC_SpaceInfo; }

void SPC_SpaceInfo::Freeze() {
    if (m_pLiveParams == nullptr) return;
    KIT_BaseParams* const live = m_pLiveParams;
    *this = *static_cast<const SPC_SpaceInfo*>(live);
}

void SPC_SpaceInfo::set(double& member, double value) {
    if (!std::isfinite(value) || member == value) return;
    member = value;
    MarkChange();
}

void SPC_SpaceInfo::SetRasterSize(int width, int height) {
    set(m_RasterWidth, width);
    set(m_RasterHeight, height);
}

void SPC_SpaceInfo::SetScreenSize(int width, int height) {
    set(m_ScreenWidth, width);
    set(m_ScreenHeight, height);
}

void SPC_SpaceInfo::SetZoom(double zoom) {
    if (zoom > 0) set(m_Zoom, zoom);
}

void SPC_SpaceInfo::SetPan(double x, double y) {
    set(m_PanX, x);
    set(m_PanY, y);
}

void SPC_SpaceInfo::SetRotation(double degrees) { set(m_Rotation, degrees); }

void SPC_SpaceInfo::SetFlip(bool horizontal, bool vertical) {
    if (m_bFlipHorizontal == horizontal && m_bFlipVertical == vertical) return;
    m_bFlipHorizontal = horizontal;
    m_bFlipVertical = vertical;
    MarkChange();
}

void SPC_SpaceInfo::SetPixelSpacing(double across, double down) {
    if (across > 0) set(m_SpacingX, across);
    if (down > 0) set(m_SpacingY, down);
}

namespace {

Affine raster_to_screen(double rasterWidth, double rasterHeight, double screenWidth, double screenHeight,
                        double zoom, double panX, double panY, double rotation, bool flipX, bool flipY) {
    double sine, cosine;
    sine_and_cosine(rotation, sine, cosine);
    const double fx = flipX ? -zoom : zoom;
    const double fy = flipY ? -zoom : zoom;
    Affine m{cosine * fx, -sine * fy, 0, sine * fx, cosine * fy, 0};
    m.c = screenWidth / 2 + panX - (m.a * rasterWidth / 2 + m.b * rasterHeight / 2);
    m.f = screenHeight / 2 + panY - (m.d * rasterWidth / 2 + m.e * rasterHeight / 2);
    return m;
}

}  // namespace

void SPC_SpaceInfo::GetRaster2ScreenTrasformMat(float matrix[4][4]) {
    raster_to_screen(m_RasterWidth, m_RasterHeight, m_ScreenWidth, m_ScreenHeight, m_Zoom, m_PanX, m_PanY,
                     m_Rotation, m_bFlipHorizontal, m_bFlipVertical)
        .write(matrix);
}

void SPC_SpaceInfo::GetScreen2PhysicalTrasformMat(float matrix[4][4]) {
    Affine m = raster_to_screen(m_RasterWidth, m_RasterHeight, m_ScreenWidth, m_ScreenHeight, m_Zoom, m_PanX,
                                m_PanY, m_Rotation, m_bFlipHorizontal, m_bFlipVertical)
                   .inverse();
    m.a *= m_SpacingX, m.b *= m_SpacingX, m.c *= m_SpacingX;
    m.d *= m_SpacingY, m.e *= m_SpacingY, m.f *= m_SpacingY;
    m.write(matrix);
}
