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

void write(const SPC_Affine& m, float matrix[4][4]) {
    const double rows[4][4] = {{m.a, m.b, 0, m.c}, {m.d, m.e, 0, m.f}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column)
            matrix[row][column] = static_cast<float>(rows[row][column]);
    }
}

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

void SPC_SpaceInfo::SetPixelSize(double width, double height) {
    if (width > 0) set(m_PixelWidth, width);
    if (height > 0) set(m_PixelHeight, height);
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

SPC_Affine SPC_Affine::Inverse() const {
    const double det = a * e - b * d;
    return {e / det, -b / det, (b * f - e * c) / det, -d / det, a / det, (d * c - a * f) / det};
}

SPC_Affine SPC_SpaceInfo::GetRaster2Screen() const {
    double sine, cosine;
    sine_and_cosine(m_Rotation, sine, cosine);
    const double fx = m_Zoom * (m_bFlipHorizontal ? -m_PixelWidth : m_PixelWidth);
    const double fy = m_Zoom * (m_bFlipVertical ? -m_PixelHeight : m_PixelHeight);
    SPC_Affine m{cosine * fx, -sine * fy, 0, sine * fx, cosine * fy, 0};
    m.c = m_ScreenWidth / 2 + m_PanX - m.X(m_RasterWidth / 2, m_RasterHeight / 2);
    m.f = m_ScreenHeight / 2 + m_PanY - m.Y(m_RasterWidth / 2, m_RasterHeight / 2);
    return m;
}

void SPC_SpaceInfo::GetRaster2ScreenTrasformMat(float matrix[4][4]) { write(GetRaster2Screen(), matrix); }

SPC_Affine SPC_SpaceInfo::GetScreen2Raster() const {
    float m[4][4];
    write(GetRaster2Screen(), m);
    return SPC_Affine{m[0][0], m[0][1], m[0][3], m[1][0], m[1][1], m[1][3]}.Inverse();
}

void SPC_SpaceInfo::GetScreen2PhysicalTrasformMat(float matrix[4][4]) {
    SPC_Affine m = GetRaster2Screen().Inverse();
    m.a *= m_SpacingX, m.b *= m_SpacingX, m.c *= m_SpacingX;
    m.d *= m_SpacingY, m.e *= m_SpacingY, m.f *= m_SpacingY;
    write(m, matrix);
}
