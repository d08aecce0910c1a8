#include "overlay_planes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace {

constexpr unsigned kFirstGroup = 0x6000, kLastGroup = 0x601E;
constexpr unsigned kRows = 0x0010, kColumns = 0x0011, kFrames = 0x0015, kDescription = 0x0022, kType = 0x0040,
                   kOrigin = 0x0050, kFrameOrigin = 0x0051, kBitsAllocated = 0x0100, kBitPosition = 0x0102,
                   kLabel = 0x1500, kData = 0x3000;

/// Which of the plane's frames belongs to a frame of the image; nothing where none does.
std::optional<std::size_t> plane_frame(const DicomDataSet& set, unsigned group, int frame) {
    const double count = set.Number(DicomTag(group, kFrames), 1.0);
    const int origin = set.Word(DicomTag(group, kFrameOrigin), 0);
    // A single plane that names no frame lies on all of them.
    if (count <= 1.0 && origin == 0) return 0;
    const int index = frame + 1 - std::max(origin, 1);
    if (index < 0 || !(index < std::max(count, 1.0))) return std::nullopt;
    return static_cast<std::size_t>(index);
}

/// The bits of native overlay data, the first in the lowest place of each byte.
void take_data(const std::string& bytes, std::size_t index, OverlayPlane& plane, bool* isCutShort) {
    const std::uint64_t size =
        static_cast<std::uint64_t>(plane.rows) * static_cast<std::uint64_t>(plane.columns);
    const std::uint64_t have = std::uint64_t{bytes.size()} * 8, first = index * size;
    const std::uint64_t rows =
        first >= have ? 0
                      : std::min<std::uint64_t>(static_cast<std::uint64_t>(plane.rows),
                                                (have - first) / static_cast<std::uint64_t>(plane.columns));
    *isCutShort = rows < static_cast<std::uint64_t>(plane.rows);
    plane.rows = static_cast<int>(rows);
    plane.bits.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(plane.columns));
    for (std::size_t i = 0; i < plane.bits.size(); ++i) {
        const auto at = static_cast<std::size_t>(first + i);
        plane.bits[i] = static_cast<unsigned char>(bytes[at >> 3]) >> (at & 7) & 1U;
    }
}

void take_embedded(const StoredFrame& cells, int position, OverlayPlane& plane) {
    plane.isEmbedded = true;
    plane.rows = cells.rows, plane.columns = cells.columns;
    plane.bits.resize(cells.Pixels());
    for (std::size_t i = 0; i < cells.present; ++i)
        plane.bits[i] = static_cast<std::uint8_t>(cells.Bits(i) >> position & 1U);
}

}  // namespace

std::vector<unsigned> OverlayGroups(const DicomDataSet& set) {
    std::vector<unsigned> groups;
    for (unsigned group = kFirstGroup; group <= kLastGroup; group += 2) {
        const auto first = set.elements.lower_bound(DicomTag(group, 0));
        if (first != set.elements.end() && first->first >> 16 == group &&
            (set.Has(DicomTag(group, kRows)) || set.Has(DicomTag(group, kData)) ||
             set.Has(DicomTag(group, kBitPosition))))
            groups.push_back(group);
    }
    return groups;
}

std::vector<OverlayPlane> ReadOverlayPlanes(const DicomDataSet& set, int frame, const StoredFrame* cells,
                                            std::vector<std::string>* problems) {
    std::vector<OverlayPlane> planes;
    for (const unsigned group : OverlayGroups(set)) {
        char number[8];
        std::snprintf(number, sizeof number, "%04X", group);
        const auto complain = [&](const std::string& what) {
            problems->push_back(std::string("overlay ") + number + " " + what);
        };
        const auto word = [&](unsigned element) { return set.Word(DicomTag(group, element), 0); };
        const auto text = [&](unsigned element) { return set.Text(DicomTag(group, element)); };
        OverlayPlane plane;
        plane.group = group;
        plane.rows = word(kRows), plane.columns = word(kColumns);
        plane.type = text(kType), plane.label = text(kLabel), plane.description = text(kDescription);
        // Row and column of its first pixel, from 1.
        plane.top = static_cast<std::int16_t>(set.Word(DicomTag(group, kOrigin), 1, 0)) - 1;
        plane.left = static_cast<std::int16_t>(set.Word(DicomTag(group, kOrigin), 1, 1)) - 1;
        const std::optional<std::size_t> index = plane_frame(set, group, frame);
        if (!index) continue;
        if (const DicomElement* const data = set.Find(DicomTag(group, kData))) {
            if (plane.rows == 0 || plane.columns == 0) {
                complain("has no rows or columns");
                continue;
            }
            bool isCutShort = false;
            take_data(data->bytes, *index, plane, &isCutShort);
            if (isCutShort) complain("is cut short");
        } else {
            const int position = word(kBitPosition);
            if (cells == nullptr && word(kBitsAllocated) >= 2) {
                complain("lies in the pixels, which are compressed");
                continue;
            }
            if (cells == nullptr || cells->samples != 1 || cells->isReal || word(kBitsAllocated) < 2 ||
                position >= 8 * cells->sampleBytes) {
                complain("has no data");
                continue;
            }
            if (position > cells->highBit - cells->bitsStored && position <= cells->highBit) {
                complain("names bit " + std::to_string(position) + ", which belongs to the pixel values");
                continue;
            }
            take_embedded(*cells, position, plane);
        }
        planes.push_back(std::move(plane));
    }
    return planes;
}
