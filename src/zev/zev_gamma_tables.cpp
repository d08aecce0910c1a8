// The process-wide gamma tables.

#include <ZEV/ZEV_WindowingTable.h>

#include <atomic>
#include <cmath>
#include <memory>

#include "zev_log.h"
#include "zev_table_creator.h"

namespace {

/// Gammas 0.1 to 5.0 in steps of 0.1.
constexpr int kGammaSlots = 50;
constexpr int kNaturalSlot = 9;

using Gamma8 = ZEV_WindowingTable<unsigned char, unsigned char>;
using Gamma16 = ZEV_WindowingTable<unsigned short, unsigned short>;

/// Slot = table index * 50 + gamma index; table index 0 is 8 bits, 1 is 16. A slot is filled once and never
/// freed, so that a table may be read until the process ends.
std::atomic<ZEV_AbstractWindowingTable*> g_GammaTables[2 * kGammaSlots];

/// top * (i / top) ^ gamma, nearest. The power is taken in double and rounded to float, since the C
/// libraries' own float powers differ in the last bit; the product with top is rounded to float before 0.5 is
/// added in double.
template <class Entry>
void fill_power(Entry* table, int top, float gamma) {
    const float scale = static_cast<float>(top);
    for (int i = 0; i <= top; ++i) {
        const float base = static_cast<float>(i) / scale;
        const float power =
            static_cast<float>(std::pow(static_cast<double>(base), static_cast<double>(gamma)));
        table[i] = static_cast<Entry>(zev::TruncToInt(static_cast<double>(power * scale) + 0.5));
    }
}

std::unique_ptr<ZEV_AbstractWindowingTable> make_gamma8(int gammaIndex, float gamma) {
    auto table = std::make_unique<Gamma8>(Gamma8::Storage::Ordinary);
    unsigned char* const entries = table->GetTable();
    if (gammaIndex == kNaturalSlot) {
        for (int i = 0; i < 256; ++i) entries[i] = static_cast<unsigned char>(i);
    } else {
        fill_power(entries, 255, gamma);
    }
    return table;
}

std::unique_ptr<ZEV_AbstractWindowingTable> make_gamma16(int gammaIndex, float gamma, int depth) {
    auto table = std::make_unique<Gamma16>(Gamma16::Storage::Ordinary);
    unsigned short* const entries = table->GetTable();
    // In 16-bit arithmetic: the identity reaches twice as far as the depth's top level.
    const unsigned shifted = depth >= 0 && depth <= 16 ? 1u << depth : 0u;
    if (gammaIndex == kNaturalSlot) {
        const int last = static_cast<unsigned short>(2u * shifted - 1u);
        for (int i = 0; i <= last; ++i) entries[i] = static_cast<unsigned short>(i);
    } else {
        fill_power(entries, static_cast<unsigned short>(shifted - 1u), gamma);
    }
    return table;
}

}  // namespace

ZEV_AbstractWindowingTable* ZEV_Params::TableCreator::GetGammaTable() {
    const int tableIndex = m_TrueColorTarget != 0 || m_OutputDepth == 8 ? 0 : 1;
    // The product is rounded to float first.
    int gammaIndex = zev::Subtract(zev::TruncToInt(static_cast<double>(m_Gamma * 10.0f) + 0.5), 1);
    float gamma = m_Gamma;
    if (gammaIndex < 0 || gammaIndex >= kGammaSlots) {
        ZEV_LOG("ZEV_Params::TableCreator::GetGammaTable", zev::kLogAssertion,
                "Assertion Failed: <%s>, Aborting.\n",
                "(gamma_index < 50 && table_index < 2) && \"Gamma table index out of bound.\n\"");
        if (m_Gamma == kGammaDisabled || m_Gamma != m_Gamma) {
            gammaIndex = kNaturalSlot;
        } else if (gammaIndex < 0) {
            gammaIndex = 0;
            gamma = kGammaLowest;
        } else {
            gammaIndex = kGammaSlots - 1;
            gamma = kGammaHighest;
        }
    }
    std::atomic<ZEV_AbstractWindowingTable*>& slot = g_GammaTables[tableIndex * kGammaSlots + gammaIndex];
    ZEV_AbstractWindowingTable* table = slot.load(std::memory_order_acquire);
    if (table != nullptr) return table;
    std::unique_ptr<ZEV_AbstractWindowingTable> made =
        tableIndex == 0 ? make_gamma8(gammaIndex, gamma) : make_gamma16(gammaIndex, gamma, m_OutputDepth);
    // Of two threads that meet here the first keeps its table; the other's is freed.
    if (slot.compare_exchange_strong(table, made.get(), std::memory_order_acq_rel)) return made.release();
    return table;
}
