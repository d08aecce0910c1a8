#include <MAPPER/Mapper_PrinterLUT.h>

#include <algorithm>

namespace {

/// Runs the samples from `first` up to `last` through the curve.
template <typename Sample>
void Apply(Sample* first, const Sample* last, const std::vector<unsigned short>& curve) {
    const std::size_t top = curve.size() - 1;
    for (; first != last; ++first) {
        *first = static_cast<Sample>(curve[std::min(static_cast<std::size_t>(*first), top)]);
    }
}

}  // namespace

Mapper_PrinterLUT::Mapper_PrinterLUT(const unsigned short* entries, std::size_t count, int bits)
    : m_Bits(std::max(1, std::min(bits, 16))) {
    if (entries != nullptr) m_Entries.assign(entries, entries + count);
}

std::vector<unsigned short> Mapper_PrinterLUT::curve_for(int bits) const {
    const unsigned long long top = (1ull << bits) - 1;
    const unsigned long long full = (1ull << m_Bits) - 1;
    const unsigned long long last = m_Entries.size() - 1;
    std::vector<unsigned short> curve;
    curve.reserve(top + 1);
    for (unsigned long long sample = 0; sample <= top; ++sample) {
        // Both divisions round to the nearest, halves up.
        const unsigned long long entry = m_Entries[(sample * last * 2 + top) / (top * 2)];
        curve.push_back(static_cast<unsigned short>((std::min(entry, full) * top * 2 + full) / (full * 2)));
    }
    return curve;
}

unsigned long Mapper_PrinterLUT::ApplyPrinterLUT(void* pixels, unsigned long count,
                                                 unsigned short bitsAllocated, unsigned short bitsStored,
                                                 unsigned short samplesPerPixel, int width, int height,
                                                 Mapper_Point* topLeft, Mapper_Point* bottomRight) const {
    const bool bytes = bitsAllocated == 8;
    if (pixels == nullptr || m_Entries.empty() || samplesPerPixel == 0 || width < 1 || height < 1 ||
        (!bytes && bitsAllocated != 16)) {
        return 0;
    }
    const Mapper_Point from = topLeft == nullptr ? Mapper_Point(0, 0) : *topLeft;
    const Mapper_Point to = bottomRight == nullptr ? Mapper_Point(width - 1, height - 1) : *bottomRight;
    const int left = std::max(0, std::min(from.m_X, to.m_X));
    const int right = std::min(width - 1, std::max(from.m_X, to.m_X));
    const int top = std::max(0, std::min(from.m_Y, to.m_Y));
    const int bottom = std::min(height - 1, std::max(from.m_Y, to.m_Y));
    if (left > right) return 0;

    const std::vector<unsigned short> curve =
        curve_for(std::max(1, std::min<int>(bitsStored, bitsAllocated)));
    unsigned long changed = 0;
    for (int y = top; y <= bottom; ++y) {
        const unsigned long long row = static_cast<unsigned long long>(y) * static_cast<unsigned int>(width);
        const unsigned long long first = row + static_cast<unsigned int>(left);
        const unsigned long long end =
            std::min<unsigned long long>(row + static_cast<unsigned int>(right) + 1, count);
        if (first >= end) break;
        if (bytes) {
            unsigned char* const samples = static_cast<unsigned char*>(pixels);
            Apply(samples + first * samplesPerPixel, samples + end * samplesPerPixel, curve);
        } else {
            unsigned short* const samples = static_cast<unsigned short*>(pixels);
            Apply(samples + first * samplesPerPixel, samples + end * samplesPerPixel, curve);
        }
        changed += static_cast<unsigned long>(end - first);
    }
    return changed;
}
