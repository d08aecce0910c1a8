// The front of automatic windowing: tables, calculators, and which of them measures what.

#include <ZEV/ZEV_AutoWindowing.h>

#include <memory>
#include <mutex>

#include "zev_aw_calculators.h"

std::atomic<bool> ZEV_AutoWindowing::s_bTablesBuilt{false};
float ZEV_AutoWindowing::s_UnsignedSquares[65536];
float ZEV_AutoWindowing::s_SignedSquares[65536];
ZEV_AutoWindowing::CalculatorMap* ZEV_AutoWindowing::s_Calculators = nullptr;
std::atomic<HMODULE> ZEV_AutoWindowing::s_hVendorLibrary{nullptr};

ZEV_AutoWindowing::ZEV_AutoWindowing() { build_once(); }
ZEV_AutoWindowing::~ZEV_AutoWindowing() = default;

void ZEV_AutoWindowing::build_once() {
    if (s_bTablesBuilt.load(std::memory_order_acquire)) return;
    static std::mutex mutex;
    const std::lock_guard<std::mutex> guard(mutex);
    if (s_bTablesBuilt.load(std::memory_order_relaxed)) return;

    for (int i = 0; i < 65536; ++i) {
        const float value = static_cast<float>(i);
        const float signedValue = static_cast<float>(i - 32768);
        s_UnsignedSquares[i] = value * value;
        s_SignedSquares[i] = signedValue * signedValue;
    }
    auto map = std::make_unique<CalculatorMap>();
    auto mean = std::make_unique<ZEV_AWCalc>();
    auto vendor = std::make_unique<ZEV_AWCalcMR>();
    auto cuts = std::make_unique<ZEV_AWCalcCR>();
    auto range = std::make_unique<ZEV_AWCalcNM>();
    (*map)[SPC_Modality::MODALITY_CT] = mean.get();
    (*map)[SPC_Modality::MODALITY_MR] = vendor.get();
    (*map)[SPC_Modality::MODALITY_CR] = cuts.get();
    (*map)[SPC_Modality::MODALITY_MG] = cuts.get();
    (*map)[SPC_Modality::MODALITY_NM] = range.get();
    // The map holds the calculators from here on, for as long as the process lives.
    mean.release(), vendor.release(), cuts.release(), range.release();
    s_Calculators = map.release();
    s_bTablesBuilt.store(true, std::memory_order_release);
}

ZEV_AWBaseCalc* ZEV_AutoWindowing::find_calculator(SPC_Modality::MODALITY modality) {
    if (s_Calculators == nullptr) return nullptr;
    const auto found = s_Calculators->find(modality);
    return found != s_Calculators->end() ? found->second : s_Calculators->at(SPC_Modality::MODALITY_CT);
}

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
