#include <MAPPER/Mapper_VOILut.h>

#include <algorithm>
#include <cmath>

namespace {

/// A level as an entry: limited to what the entry holds, and for 32 bits the byte four times.
template <typename Out>
Out ToEntry(int level);
template <>
unsigned char ToEntry<unsigned char>(int level) {
    return static_cast<unsigned char>(std::min(level, 255));
}
template <>
unsigned short ToEntry<unsigned short>(int level) {
    return static_cast<unsigned short>(std::min(level, 65535));
}
template <>
unsigned int ToEntry<unsigned int>(int level) {
    return static_cast<unsigned int>(std::min(level, 255)) * 0x01010101u;
}

/// The nearest level from 0 to `top`, halves up; NaN, which only absurd numbers lead to, gives 0.
int RoundToLevel(double value, int top) {
    return static_cast<int>(std::max(0.0, std::min(std::floor(value + 0.5), static_cast<double>(top))));
}

}  // namespace

Mapper_VOILut::Mapper_VOILut(const Mapper_WindowingEntry& entry, const Mapper_Rescale& rescale, int maxOutput)
    : m_FunctionCode(entry.m_FunctionCode),
      m_Center(entry.GetCenter()),
      m_Width(entry.GetWidth()),
      m_Rescale(rescale),
      m_MaxOutput(maxOutput),
      m_pTable(entry.GetTable()) {
    if (m_pTable == nullptr) return;
    const double full = m_pTable->GetTop();
    m_Outputs.reserve(m_pTable->m_Entries.size());
    for (unsigned short value : m_pTable->m_Entries) {
        m_Outputs.push_back(RoundToLevel(static_cast<double>(value) * maxOutput / full, maxOutput));
    }
}

Mapper_VOILut::~Mapper_VOILut() = default;

bool Mapper_VOILut::IsReversing() const { return m_pTable != nullptr && m_pTable->IsReversing(); }

int Mapper_VOILut::GetFunctionCode() const { return m_FunctionCode; }

template <typename Out>
void Mapper_VOILut::fill(Out* table, int size, double center, double width, bool inverse) const {
    if (table == nullptr || size < 1) return;
    if (!std::isfinite(center) || !std::isfinite(width)) {
        center = m_Center;
        width = m_Width;
    }
    const double top = m_MaxOutput;
    const int offset = m_Rescale.m_bSigned ? size / 2 : 0;
    const auto fill_with = [&](auto level_at) {
        for (int i = 0; i < size; ++i) {
            const double x = (i - offset) * m_Rescale.m_Slope + m_Rescale.m_Intercept;
            const int level = level_at(x);
            table[i] = ToEntry<Out>(inverse ? m_MaxOutput - level : level);
        }
    };

    if (m_pTable != nullptr) {
        const double count = static_cast<double>(m_Outputs.size());
        const double start = center - std::floor(width / 2);
        fill_with([&](double x) {
            if (width <= 0) return x < center ? m_Outputs.front() : m_Outputs.back();
            const double index = std::floor((x - start) * count / width);
            return m_Outputs[static_cast<std::size_t>(std::max(0.0, std::min(index, count - 1)))];
        });
    } else if (m_FunctionCode == Mapper_WindowingEntry::FUNCTION_SIGMOID) {
        fill_with([&](double x) {
            if (width <= 0) return x < center ? 0 : m_MaxOutput;
            return RoundToLevel(top / (1.0 + std::exp(-4.0 * (x - center) / width)), m_MaxOutput);
        });
    } else {
        // A window narrower than 1 is the step that width 1 is.
        const double range = std::max(width, 1.0) - 1.0;
        const double middle = center - 0.5;
        fill_with([&](double x) {
            if (x <= middle - range / 2) return 0;
            if (x > middle + range / 2) return m_MaxOutput;
            // One division, so that a level and a half stays exactly that for whole numbers.
            return RoundToLevel((x - middle + range / 2) * top / range, m_MaxOutput);
        });
    }
}

void Mapper_VOILut::FillWindowingTable8(unsigned char* table, int size, double center, double width,
                                        bool inverse) const {
    fill(table, size, center, width, inverse);
}

void Mapper_VOILut::FillWindowingTable16(unsigned short* table, int size, double center, double width,
                                         bool inverse) const {
    fill(table, size, center, width, inverse);
}

void Mapper_VOILut::FillWindowingTable32(unsigned int* table, int size, double center, double width,
                                         bool inverse) const {
    fill(table, size, center, width, inverse);
}
