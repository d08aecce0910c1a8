#pragma once

#include <SPC/SPC_SpaceInfo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "io/picture.h"

/// A colour of 16 bits per channel.
struct Ink {
    std::uint16_t red = 0xFFFF, green = 0xFFFF, blue = 0xFFFF;

    static Ink Grey(std::uint16_t level) { return {level, level, level}; }
    bool IsGrey() const { return red == green && green == blue; }
};

/// A picture of an image under a view. Image coordinates are those of regions: pixel (x, y) covers x to x + 1
/// and y to y + 1; picture coordinates likewise.
struct Canvas {
    /// Where a displayed area lies, in picture coordinates, upright: its annotations in fractions refer to
    /// it.
    struct Area {
        double left, top, right, bottom;
    };

    Picture& picture;
    SPC_Affine toScreen;
    SPC_Affine toImage;
    Area area;

    /// Mixes a colour into a pixel of the picture, with a coverage from 0 to 1; in a grey picture its
    /// brightness (ITU-R BT.601). Outside the picture nothing happens.
    void Blend(int x, int y, const Ink& ink, double coverage) const;
};

/// Something that is drawn on top of an image's pixels.
class Layer {
public:
    virtual ~Layer() = default;
    /// What it is, for people: "overlay 6000 'Sagittal'", "shutter", "annotations 'LAYER1'".
    virtual std::string Name() const = 0;
    /// It has a colour that a grey picture cannot show.
    virtual bool IsColoured() const = 0;
    /// What it draws is within the canvas, whatever its own coordinates.
    virtual void Draw(const Canvas& canvas) const = 0;

    /// Place of its graphic layer among those of the presentation state; 0 is at the bottom.
    std::size_t order = 0;
};

using Layers = std::vector<std::unique_ptr<Layer>>;
