#pragma once

#include <ZEV/ZEV_Painter.h>

#include <cstddef>

namespace zev {

/// Paints `count` pixels that lie one behind the other. outBytes is 1, 2 or 4, the plan's own, or 3 for red,
/// green and blue of a plan of 4.
void PaintRun(const ZEV_Painter::Plan& plan, const void* pixels, std::size_t count, void* out, int outBytes);

/// Whether this machine has the vector instructions for ramps. Plans for tables are painted everywhere.
bool CanPaintRamps();

}  // namespace zev
