#pragma once

#include <MAPPER/Mapper_WindowingManager.h>

/// What the library passes to, and reads from, the LUT services.
namespace zev {

/// Highest output of a VOI LUT that is only asked for its window.
constexpr int kVoiMaxOutput = 255;
/// The manager keeps the LUT that it hands out.
constexpr auto kVoiLutKeptByManager = static_cast<VOI_LUT_OWNERSHIP>(0);

/// Function codes of windowing entries and VOI LUTs.
constexpr int kFunctionSigmoid = 4;
constexpr int kFunctionTable = 5;
constexpr int kFunctionLinear = 6;

}  // namespace zev
