// The front of automatic windowing: tables, calculators, and which of them measures what.

#include <ZEV/ZEV_AutoWindowing.h>

#include <atomic>
#include <map>
#include <mutex>

#include "zev_aw_calculators.h"

float zev::g_UnsignedSquares[zev::kSquares];
float zev::g_SignedSquares[zev::kSquares];

namespace {

using CalculatorMap = std::map<SPC_Modality::MODALITY, ZEV_AWBaseCalc*>;

std::atomic<bool> g_TablesBuilt{false};
CalculatorMap* g_Calculators = nullptr;  ///< with its calculators it lives until the process ends

void build_once() {
    if (g_TablesBuilt.load(std::memory_order_acquire)) return;
    static std::mutex mutex;
    const std::lock_guard<std::mutex> guard(mutex);
    if (g_TablesBuilt.load(std::memory_order_relaxed)) return;

    constexpr int kHalf = zev::kSquares / 2;
    for (int i = 0; i < zev::kSquares; ++i) {
        const float value = static_cast<float>(i);
        const float signedValue = static_cast<float>(i - kHalf);
        zev::g_UnsignedSquares[i] = value * value;
        zev::g_SignedSquares[i] = signedValue * signedValue;
    }
    static auto* const mean = new ZEV_AWCalc;
    static auto* const vendor = new ZEV_AWCalcMR;
    static auto* const cuts = new ZEV_AWCalcCR;
    static auto* const range = new ZEV_AWCalcNM;
    g_Calculators = new CalculatorMap{{SPC_Modality::MODALITY_CT, mean},
                                      {SPC_Modality::MODALITY_MR, vendor},
                                      {SPC_Modality::MODALITY_CR, cuts},
                                      {SPC_Modality::MODALITY_MG, cuts},
                                      {SPC_Modality::MODALITY_NM, range}};
    g_TablesBuilt.store(true, std::memory_order_release);
}

ZEV_AWBaseCalc* find_calculator(SPC_Modality::MODALITY modality) {
    if (g_Calculators == nullptr) return nullptr;
    const auto found = g_Calculators->find(modality);
    return found != g_Calculators->end() ? found->second : g_Calculators->at(SPC_Modality::MODALITY_CT);
}

}  // namespace

ZEV_AutoWindowing::ZEV_AutoWindowing() { build_once(); }
ZEV_AutoWindowing::~ZEV_AutoWindowing() = default;

int ZEV_AutoWindowing::Calc(KIT_Raster* raster, int x0, int y0, int x1, int y1, int bSkipLow, int* width,
                            int* center, SPC_Modality::MODALITY modality) {
    ZEV_AWBaseCalc* const calculator = find_calculator(modality);
    return calculator == nullptr ? -1 : calculator->Calc(raster, x0, y0, x1, y1, bSkipLow, width, center);
}

int ZEV_AutoWindowing::Calc(KIT_Raster* raster, int* width, int* center, KIT_Rect* rect,
                            SPC_Modality::MODALITY modality) {
    ZEV_AWBaseCalc* const calculator = find_calculator(modality);
    return calculator == nullptr ? -1 : calculator->Calc(raster, width, center, rect);
}
