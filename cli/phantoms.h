#pragma once

#include <cstdint>
#include <vector>

/// A drawing of made-up anatomy in whole numbers, the same on every machine.
class Phantom {
public:
    Phantom(int width, int height, int background);

    int Width() const { return m_Width; }
    int Height() const { return m_Height; }
    const std::vector<std::int32_t>& Pixels() const { return m_Pixels; }

    /// All lengths in pixels. `soft` is the width of the edge. A filled shape replaces what lies under it.
    void Ellipse(double x, double y, double radiusX, double radiusY, int value, double soft = 1.5);
    /// A line with round ends whose radius goes from the first to the second.
    void Bone(double x1, double y1, double x2, double y2, double radius1, double radius2, int value,
              double soft = 1.5);
    /// Adds `value` instead of replacing, as a shadow does: densest in the middle, nothing at the edge.
    void AddEllipse(double x, double y, double radiusX, double radiusY, int value);
    void AddVessel(double x1, double y1, double x2, double y2, double radius1, double radius2, int value);
    /// Adds noise of up to +- amplitude; of pixels from `low` on only.
    void AddNoise(int amplitude, int low = -1000000);
    /// Adds patches of about `size` pixels that differ by up to +- amplitude.
    void AddTexture(int size, int amplitude, int low, int high);
    void Limit(int low, int high);
    std::int32_t& At(int x, int y) {
        return m_Pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_Width) +
                        static_cast<std::size_t>(x)];
    }

private:
    int m_Width;
    int m_Height;
    std::uint32_t m_Seed = 1;
    std::vector<std::int32_t> m_Pixels;
};

Phantom DrawChest();    // CT: stored values, modality units + 1024
Phantom DrawHead();     // MR, 12 bit
Phantom DrawHand();     // CR, 12 bit, a low value is bright
Phantom DrawBreast();   // MG, 12 bit, 0 to 40 outside the body
Phantom DrawBody();     // NM, 8 bit
Phantom DrawVessels();  // XA, 12 bit
Phantom DrawUptake();   // PT: 2000 for an uptake of 1
Phantom DrawDoppler();  // US: 0 to 127 tissue, 128 to 191 flow away, from 192 on flow towards the probe
