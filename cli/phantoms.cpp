#include "phantoms.h"

#include <algorithm>
#include <cmath>

namespace {

/// A hash of position and seed: noise without a state, so that it depends on no order.
std::uint32_t scramble(std::uint32_t value) {
    value ^= value >> 16;
    value *= 0x7FEB352DU;
    value ^= value >> 15;
    value *= 0x846CA68BU;
    return value ^ (value >> 16);
}

int noise(std::uint32_t seed, int x, int y, int amplitude) {
    const std::uint32_t bits =
        scramble(seed * 0x9E3779B9U ^ scramble(static_cast<std::uint32_t>(y * 65536 + x)));
    const int range = 2 * amplitude + 1;
    // The mean of two draws: small differences are likelier than large ones.
    return (static_cast<int>(bits % static_cast<unsigned>(range)) +
            static_cast<int>((bits >> 16) % static_cast<unsigned>(range))) /
               2 -
           amplitude;
}

double clamp01(double value) { return std::clamp(value, 0.0, 1.0); }

/// Distance to the axis of a shape with round ends, less its radius there.
double outside_line(double px, double py, double x1, double y1, double x2, double y2, double r1, double r2) {
    const double dx = x2 - x1, dy = y2 - y1;
    const double length2 = dx * dx + dy * dy;
    const double t = length2 > 0 ? clamp01(((px - x1) * dx + (py - y1) * dy) / length2) : 0;
    const double ex = px - (x1 + t * dx), ey = py - (y1 + t * dy);
    return std::sqrt(ex * ex + ey * ey) - (r1 + t * (r2 - r1));
}

template <typename Draw>
void for_box(int width, int height, double left, double top, double right, double bottom, Draw draw) {
    const int x0 = std::max(0, static_cast<int>(left) - 3),
              x1 = std::min(width - 1, static_cast<int>(right) + 3);
    const int y0 = std::max(0, static_cast<int>(top) - 3),
              y1 = std::min(height - 1, static_cast<int>(bottom) + 3);
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) draw(x, y);
    }
}

void blend(std::int32_t& pixel, int value, double cover) {
    pixel = static_cast<std::int32_t>(std::floor(pixel + (value - pixel) * cover + 0.5));
}

}  // namespace

Phantom::Phantom(int width, int height, int background)
    : m_Width(width),
      m_Height(height),
      m_Pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), background) {}

void Phantom::Ellipse(double cx, double cy, double rx, double ry, int value, double soft) {
    for_box(m_Width, m_Height, cx - rx - soft, cy - ry - soft, cx + rx + soft, cy + ry + soft,
            [&](int x, int y) {
                const double dx = (x - cx) / rx, dy = (y - cy) / ry;
                const double inside = (1 - std::sqrt(dx * dx + dy * dy)) * std::min(rx, ry);
                blend(At(x, y), value, clamp01(inside / soft + 0.5));
            });
}

void Phantom::Bone(double x1, double y1, double x2, double y2, double r1, double r2, int value, double soft) {
    const double r = std::max(r1, r2) + soft;
    for_box(m_Width, m_Height, std::min(x1, x2) - r, std::min(y1, y2) - r, std::max(x1, x2) + r,
            std::max(y1, y2) + r, [&](int x, int y) {
                const double outside = outside_line(x, y, x1, y1, x2, y2, r1, r2);
                blend(At(x, y), value, clamp01(0.5 - outside / soft));
            });
}

void Phantom::AddEllipse(double cx, double cy, double rx, double ry, int value) {
    for_box(m_Width, m_Height, cx - rx, cy - ry, cx + rx, cy + ry, [&](int x, int y) {
        const double dx = (x - cx) / rx, dy = (y - cy) / ry;
        const double depth = 1 - dx * dx - dy * dy;
        if (depth > 0) At(x, y) += static_cast<int>(value * std::sqrt(depth));
    });
}

void Phantom::AddVessel(double x1, double y1, double x2, double y2, double r1, double r2, int value) {
    const double r = std::max(r1, r2);
    for_box(m_Width, m_Height, std::min(x1, x2) - r, std::min(y1, y2) - r, std::max(x1, x2) + r,
            std::max(y1, y2) + r, [&](int x, int y) {
                const double depth = -outside_line(x, y, x1, y1, x2, y2, r1, r2) / r;
                if (depth > 0) At(x, y) += static_cast<int>(value * std::sqrt(std::min(1.0, depth)));
            });
}

void Phantom::AddNoise(int amplitude, int low) {
    ++m_Seed;
    for (int y = 0; y < m_Height; ++y) {
        for (int x = 0; x < m_Width; ++x) {
            if (At(x, y) >= low) At(x, y) += noise(m_Seed, x, y, amplitude);
        }
    }
}

void Phantom::AddTexture(int size, int amplitude, int low, int high) {
    ++m_Seed;
    for (int y = 0; y < m_Height; ++y) {
        for (int x = 0; x < m_Width; ++x) {
            if (At(x, y) < low || At(x, y) > high) continue;
            const int cx = x / size, cy = y / size, fx = x % size, fy = y % size;
            const int top =
                noise(m_Seed, cx, cy, amplitude) * (size - fx) + noise(m_Seed, cx + 1, cy, amplitude) * fx;
            const int bottom = noise(m_Seed, cx, cy + 1, amplitude) * (size - fx) +
                               noise(m_Seed, cx + 1, cy + 1, amplitude) * fx;
            At(x, y) += (top * (size - fy) + bottom * fy) / (size * size);
        }
    }
}

void Phantom::Limit(int low, int high) {
    for (std::int32_t& pixel : m_Pixels) pixel = std::clamp(pixel, low, high);
}

Phantom DrawChest() {
    constexpr int kAir = 24, kLung = 174, kFat = 924, kMuscle = 1074, kBlood = 1284, kBone = 1624,
                  kMarrow = 1304;
    Phantom chest(512, 512, kAir);
    chest.Ellipse(256, 470, 235, 60, 304);  // the table top
    chest.Ellipse(256, 462, 238, 60, kAir);
    chest.Ellipse(256, 252, 218, 166, kFat);
    chest.Ellipse(256, 252, 200, 148, kMuscle);
    for (int side : {-1, 1}) {
        for (int i = 0; i < 6; ++i) {  // ribs, cut across
            const double dx[] = {60, 110, 152, 178, 186, 176}, dy[] = {-128, -108, -78, -36, 14, 64};
            chest.Ellipse(256 + side * dx[i], 252 + dy[i], 13, 8, kBone);
            chest.Ellipse(256 + side * dx[i], 252 + dy[i], 8, 4, kMarrow);
        }
        chest.Ellipse(256 + side * 104, 258, 72, 104, kLung, 3);
        chest.Ellipse(256 + side * 150, 352, 34, 10, kBone);  // shoulder blades
    }
    chest.AddTexture(7, 70, 100, 300);
    chest.AddTexture(3, 50, 100, 330);
    for (int i = 0; i < 12; ++i) {  // vessels of the lungs
        const double dx = 46 + (i * 37) % 84, dy = -70 + (i * 53) % 150, r = 2.0 + i % 4;
        chest.Ellipse(256 + (i % 2 == 0 ? -dx : dx), 258 + dy, r, r, kMuscle);
    }
    chest.Ellipse(274, 226, 66, 62, kMuscle + 6, 3);  // heart and its chambers
    chest.Ellipse(258, 214, 26, 22, kBlood, 4);
    chest.Ellipse(296, 238, 28, 30, kBlood - 40, 4);
    chest.Ellipse(232, 322, 15, 15, kBlood + 20, 2);  // aorta
    chest.Ellipse(256, 306, 7, 5, kAir + 120);        // oesophagus
    chest.Ellipse(256, 354, 34, 28, kBone);
    chest.Ellipse(256, 354, 28, 22, kMarrow, 3);
    chest.Ellipse(256, 390, 13, 11, kMuscle);
    for (int side : {-1, 1}) chest.Bone(256 + side * 20, 384, 256 + side * 52, 396, 8, 5, kBone);
    chest.Bone(256, 402, 256, 424, 8, 5, kBone);
    chest.Ellipse(256, 116, 22, 9, kBone);  // breastbone
    chest.AddNoise(26);
    chest.Limit(0, 4095);
    // Outside the scanner's circle there are no data.
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x) {
            if ((x - 256) * (x - 256) + (y - 256) * (y - 256) > 255 * 255) chest.At(x, y) = -2000;
        }
    }
    return chest;
}

Phantom DrawHead() {
    Phantom head(256, 256, 12);
    head.Ellipse(128, 128, 92, 112, 2300);
    head.Ellipse(128, 128, 86, 106, 300);  // skull
    head.Ellipse(128, 128, 79, 99, 160);   // fluid around the brain
    head.Ellipse(128, 128, 76, 96, 1050);  // grey matter
    for (int i = 0; i < 44; ++i) {         // folds
        const double angleX[] = {1.0, 0.9, 0.62, 0.22, -0.22, -0.62, -0.9, -1.0, -0.9, -0.62, -0.22};
        const double angleY[] = {0.0, 0.43, 0.78, 0.97, 0.97, 0.78, 0.43, 0.0, -0.43, -0.78, -0.97};
        const double mirror = i / 22 == 0 ? 1 : -1, reach = i / 11 % 2 == 0 ? 0.93 : 0.84;
        const double ux = angleX[i % 11], uy = mirror * angleY[i % 11];
        head.Bone(128 + 76 * ux, 128 + 96 * uy, 128 + 76 * reach * ux, 128 + 96 * reach * uy, 1.5, 1, 240);
    }
    for (int side : {-1, 1}) {
        head.Ellipse(128 + side * 34, 118, 26, 60, 1500, 8);  // white matter
        head.Ellipse(128 + side * 32, 172, 24, 30, 1500, 8);
        head.Ellipse(128 + side * 11, 108, 7, 24, 180, 2);  // ventricles
        head.Ellipse(128 + side * 17, 146, 6, 20, 180, 2);
        head.Ellipse(128 + side * 27, 124, 9, 16, 1180, 3);  // deep nuclei
    }
    head.Bone(128, 36, 128, 92, 1, 1, 200);
    head.Bone(128, 172, 128, 220, 1, 1, 200);
    head.Ellipse(168, 92, 9, 8, 2600, 3);  // a lesion
    head.AddTexture(9, 90, 900, 2000);
    head.AddNoise(60);
    head.Limit(0, 4095);
    return head;
}

Phantom DrawHand() {
    constexpr int kAir = 3700;
    Phantom hand(400, 512, kAir);
    struct Finger {
        double x[4], y[4], r;
    };
    // From the wrist to the tip: base of the palm, knuckle, two joints; the tip lies beyond the last joint.
    const Finger fingers[] = {{{158, 96, 62, 40}, {392, 318, 262, 214}, 15},
                              {{176, 150, 136, 128}, {372, 246, 164, 106}, 14},
                              {{196, 194, 192, 190}, {368, 234, 142, 78}, 14},
                              {{216, 238, 250, 258}, {372, 246, 162, 104}, 13},
                              {{234, 280, 308, 326}, {382, 274, 208, 162}, 12}};
    for (const Finger& f : fingers) {  // flesh
        for (int i = 0; i < 3; ++i) {
            hand.Bone(f.x[i], f.y[i], f.x[i + 1], f.y[i + 1], f.r + 10, f.r + 6 - i, 2500, 8);
        }
        const double tipX = f.x[3] + 0.6 * (f.x[3] - f.x[2]), tipY = f.y[3] + 0.6 * (f.y[3] - f.y[2]);
        hand.Bone(f.x[3], f.y[3], tipX, tipY, f.r + 5, f.r, 2550, 8);
    }
    hand.Bone(196, 300, 198, 400, 72, 56, 2250, 14);
    hand.Bone(198, 400, 200, 540, 56, 50, 2150, 14);
    for (const Finger& f : fingers) {  // a bone of each limb: thick ends, a bright rim and a darker core
        for (int i = 0; i < 4; ++i) {
            const double x1 = f.x[i], y1 = f.y[i];
            const double x2 = i < 3 ? f.x[i + 1] : x1 + 0.6 * (f.x[3] - f.x[2]);
            const double y2 = i < 3 ? f.y[i + 1] : y1 + 0.6 * (f.y[3] - f.y[2]);
            const double dx = x2 - x1, dy = y2 - y1, length = std::sqrt(dx * dx + dy * dy);
            const double gap = 7 / length, r = f.r - 4 - i;
            const double ax = x1 + gap * dx, ay = y1 + gap * dy, bx = x2 - gap * dx, by = y2 - gap * dy;
            const double mx = (ax + bx) / 2, my = (ay + by) / 2;
            hand.Bone(ax, ay, mx, my, r + 2, r - 3, 950, 3);
            hand.Bone(mx, my, bx, by, r - 3, i == 3 ? r - 4 : r + 1, 950, 3);
            hand.Bone(ax, ay, mx, my, r - 3, r - 6, 1350, 5);
            hand.Bone(mx, my, bx, by, r - 6, r - 5, 1350, 5);
        }
    }
    const double wrist[][4] = {{168, 402, 15, 12}, {192, 394, 13, 11}, {214, 394, 14, 12}, {236, 402, 12, 11},
                               {172, 426, 17, 12}, {200, 420, 14, 13}, {228, 424, 14, 12}};
    for (const auto& w : wrist) {
        hand.Ellipse(w[0], w[1], w[2], w[3], 1000, 3);
        hand.Ellipse(w[0], w[1], w[2] - 5, w[3] - 4, 1250, 4);
    }
    hand.Bone(180, 450, 176, 540, 22, 16, 850, 3);  // radius and ulna
    hand.Bone(180, 458, 176, 540, 14, 9, 1250, 6);
    hand.Bone(230, 452, 236, 540, 14, 12, 850, 3);
    hand.Bone(230, 458, 236, 540, 8, 6, 1250, 5);
    hand.Ellipse(193, 190, 20, 5, 260);  // a ring
    hand.Ellipse(193, 188, 17, 2, 900);
    for (int step = 0; step < 8; ++step) {  // a step wedge at the lower edge
        hand.Bone(24, 300 + 24 * step, 44, 300 + 24 * step, 11, 11, 3500 - 420 * step, 1);
    }
    hand.AddTexture(5, 50, 0, 3000);
    hand.AddNoise(45);
    hand.Limit(0, 4095);
    return hand;
}

Phantom DrawBreast() {
    Phantom breast(384, 512, 0);
    breast.AddNoise(20);
    breast.Limit(0, 20);
    breast.Ellipse(0, 262, 300, 218, 1100, 24);
    breast.Ellipse(0, 262, 284, 202, 1500, 40);
    breast.Ellipse(306, 266, 12, 14, 2100, 6);
    for (int i = 0; i < 26; ++i) {  // lobes along the ducts
        const double x = 60 + (i * 61) % 170, y = 150 + (i * 89) % 230;
        breast.AddEllipse(x, y, 24 + (i * 7) % 22, 16 + (i * 5) % 24, 240);
    }
    for (int i = 0; i < 9; ++i) {
        const double y = 130 + 33 * i;
        breast.AddVessel(292, 264, 60 + (i * 29) % 50, y, 3, 5, 150);
    }
    for (int i = 0; i < 3; ++i)
        breast.AddVessel(0, 90 + 14 * i, 150 - 30 * i, 40 + 70 * i, 46 - 8 * i, 18, 260);
    breast.Ellipse(120, 300, 17, 15, 3000, 8);  // a mass
    for (int i = 0; i < 14; ++i) {              // calcifications
        breast.Ellipse(176 + (i * 17) % 31, 205 + (i * 23) % 29, 1.2, 1.2, 3900);
    }
    breast.AddTexture(6, 160, 900, 3500);
    breast.AddNoise(50, 200);
    breast.Limit(0, 4095);
    return breast;
}

Phantom DrawBody() {
    Phantom body(256, 256, 2);
    const double cx = 128;
    body.Ellipse(cx, 24, 15, 18, 26, 4);
    body.Bone(cx, 40, cx, 52, 7, 8, 22, 4);
    body.Bone(cx, 70, cx, 138, 32, 26, 24, 8);
    for (int side : {-1, 1}) {
        body.Bone(cx + side * 30, 60, cx + side * 52, 108, 9, 7, 16, 4);
        body.Bone(cx + side * 52, 108, cx + side * 60, 156, 7, 4, 14, 4);
        body.Bone(cx + side * 14, 150, cx + side * 18, 202, 14, 9, 20, 5);
        body.Bone(cx + side * 18, 202, cx + side * 18, 250, 8, 5, 16, 4);
        for (int rib = 0; rib < 7; ++rib) {
            body.Bone(cx + side * 4, 60 + 8 * rib, cx + side * (22 + rib), 66 + 9 * rib, 1.6, 1.4, 58, 2);
        }
        body.Ellipse(cx + side * 29, 60, 6, 5, 92, 5);   // shoulders
        body.Ellipse(cx + side * 15, 112, 6, 9, 84, 5);  // kidneys
        body.Ellipse(cx + side * 17, 146, 11, 10, 78, 6);
        body.Ellipse(cx + side * 18, 200, 7, 7, 66, 5);
    }
    for (int bone = 0; bone < 14; ++bone) body.Ellipse(cx, 48 + 7 * bone, 4, 3, 96 + bone, 3);
    body.Ellipse(cx, 160, 8, 6, 190, 6);  // bladder
    body.Ellipse(cx - 13, 84, 4, 3, 220, 3);
    body.Ellipse(cx + 20, 222, 4, 5, 200, 3);
    body.AddTexture(2, 9, 10, 255);
    body.AddNoise(7, 10);
    body.AddNoise(2);
    body.Limit(0, 255);
    return body;
}

namespace {

/// A vessel that forks: each of the two goes on thinner and shorter. Directions turn by a fixed rotation.
void grow(Phantom& heart, double x, double y, double dx, double dy, double radius, int level,
          std::uint32_t seed) {
    if (level == 0) return;
    const double sway = noise(seed, level, 7, 100) / 400.0;
    const double ex = x + dx - sway * dy, ey = y + dy + sway * dx;
    heart.AddVessel(x, y, ex, ey, radius, radius * 0.82, -900);
    const double turns[2][2] = {{0.90, 0.43}, {0.80, -0.60}};
    for (int fork = 0; fork < 2; ++fork) {
        const double c = turns[fork][0],
                     s = (seed + static_cast<unsigned>(level)) % 2 == 0 ? turns[fork][1] : -turns[fork][1];
        const double shrink = fork == 0 ? 0.86 : 0.7;
        grow(heart, ex, ey, shrink * (c * dx - s * dy), shrink * (s * dx + c * dy),
             radius * (fork == 0 ? 0.8 : 0.62), level - 1, seed * 2 + static_cast<unsigned>(fork));
    }
}

}  // namespace

Phantom DrawVessels() {
    Phantom heart(512, 512, 2500);
    heart.AddEllipse(250, 280, 230, 200, -500);
    heart.AddEllipse(430, 520, 330, 160, -600);  // the diaphragm's dome
    for (int rib = 0; rib < 5; ++rib) {
        const double y = 40 + 100 * rib;
        heart.AddVessel(-20, y, 250, y + 26, 15, 15, -110);
        heart.AddVessel(250, y + 26, 540, y - 10, 15, 15, -110);
    }
    heart.AddVessel(206, -10, 190, 110, 7, 7, -500);  // the catheter
    heart.AddVessel(190, 110, 216, 150, 7, 6, -500);
    grow(heart, 214, 148, 62, 22, 13, 7, 3);
    grow(heart, 214, 148, 30, 60, 12, 7, 6);
    heart.AddTexture(24, 90, 0, 4095);
    heart.AddNoise(70);
    heart.Limit(0, 4095);
    return heart;
}

Phantom DrawUptake() {
    constexpr int kUnit = 2000;
    const auto uptake = [](double value) { return static_cast<int>(value * kUnit); };
    Phantom body(200, 300, 60);
    const double cx = 100;
    body.Ellipse(cx, 38, 24, 30, uptake(0.6), 3);
    body.Ellipse(cx, 34, 19, 22, uptake(7.5), 4);  // brain
    body.Ellipse(cx, 37, 10, 12, uptake(4.0), 6);
    body.Bone(cx, 62, cx, 82, 12, 14, uptake(0.7), 3);
    body.Bone(cx, 108, cx, 214, 47, 38, uptake(0.8), 5);
    for (int side : {-1, 1}) {
        body.Bone(cx + side * 50, 100, cx + side * 66, 196, 11, 8, uptake(0.6), 4);
        body.Bone(cx + side * 20, 236, cx + side * 25, 310, 23, 18, uptake(0.7), 4);
        body.Ellipse(cx + side * 23, 122, 17, 32, uptake(0.35), 4);  // lungs
    }
    for (int bone = 0; bone < 20; ++bone) body.Ellipse(cx, 72 + 8 * bone, 5, 3, uptake(1.4), 3);
    body.Ellipse(cx + 10, 138, 16, 15, uptake(3.6), 4);  // heart
    body.Ellipse(cx + 10, 138, 7, 7, uptake(1.6), 4);
    body.Ellipse(cx - 20, 172, 29, 19, uptake(2.3), 5);  // liver
    body.Ellipse(cx + 34, 168, 9, 14, uptake(1.9), 4);
    for (int i = 0; i < 9; ++i) {  // gut
        body.AddEllipse(cx - 24 + (i * 23) % 52, 198 + (i * 17) % 38, 9, 6, uptake(0.8));
    }
    for (int side : {-1, 1}) body.Ellipse(cx + side * 27, 194, 7, 12, uptake(3.4), 4);  // kidneys
    body.Ellipse(cx, 262, 13, 10, uptake(12.0), 5);                                     // bladder
    const double lesions[][4] = {{-25, 112, 6, 8.5}, {6, 104, 4, 6.0},  {-4, 116, 3.5, 5.0},
                                 {-30, 176, 5, 9.5}, {-8, 166, 4, 6.5}, {27, 238, 4, 5.5}};
    for (const auto& lesion : lesions) {
        body.Ellipse(cx + lesion[0], lesion[1], lesion[2], lesion[2], uptake(lesion[3]), 4);
    }
    body.AddTexture(4, uptake(0.12), uptake(0.2), 32767);
    body.AddTexture(3, uptake(0.25), uptake(1.2), 32767);
    body.AddNoise(uptake(0.05));
    body.Limit(0, 32767);
    return body;
}

Phantom DrawDoppler() {
    constexpr int kWidth = 320, kHeight = 256, kAway = 128, kNear = 192, kFastest = 63;
    Phantom neck(kWidth, kHeight, 52);
    for (int layer = 0; layer < 5; ++layer) {  // skin, fat and muscle
        const double y = 10 + 17 * layer;
        neck.Bone(-20, y + 6, 340, y - 4, 2.0 + layer % 2, 2, 88 - 6 * layer, 4);
    }
    neck.Ellipse(196, 64, 70, 18, 74, 14);
    neck.Ellipse(90, 210, 90, 40, 40, 20);
    struct Vessel {
        double x1, y1, x2, y2, radius;
        int flow;
    };
    const Vessel vessels[] = {{-20, 128, 200, 150, 17, kNear},
                              {196, 148, 340, 124, 12, kNear},
                              {196, 154, 340, 190, 10, kNear},
                              {-20, 86, 340, 92, 13, kAway}};
    for (const Vessel& v : vessels) neck.Bone(v.x1, v.y1, v.x2, v.y2, v.radius + 4, v.radius + 4, 104, 3);
    for (const Vessel& v : vessels) neck.Bone(v.x1, v.y1, v.x2, v.y2, v.radius, v.radius, 10, 3);
    neck.AddTexture(3, 26, 20, 127);
    neck.AddTexture(2, 18, 20, 127);
    neck.AddNoise(9);
    neck.Limit(0, 127);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            std::int32_t& pixel = neck.At(x, y);
            if (x > 62 + y / 8 && x < 238 + y / 8 && y > 52 && y < 196) {
                double fastest = 0.12;  // slower blood gives no signal
                for (const Vessel& v : vessels) {
                    const double speed =
                        -outside_line(x, y, v.x1, v.y1, v.x2, v.y2, v.radius, v.radius) / v.radius;
                    if (speed <= fastest) continue;
                    fastest = speed;
                    pixel = v.flow +
                            std::clamp(static_cast<int>(kFastest * speed) - 6 + noise(7, x / 2, y / 2, 6), 0,
                                       kFastest);
                }
            }
            // The probe sees a sector.
            const double dx = x - kWidth / 2.0, dy = y + 70.0, r = std::sqrt(dx * dx + dy * dy);
            if (r < 82 || r > 318 || std::fabs(dx) > 0.62 * dy) pixel = 0;
        }
    }
    return neck;
}
