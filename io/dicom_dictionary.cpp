#include "dicom_dictionary.h"

#include <algorithm>
#include <iterator>

namespace {

struct Entry {
    std::uint32_t tag;
    /// "xs" for US or SS.
    char vr[3];
};

/// Ascending; the last entry is that of every other tag. Written by dictionary/write_dictionary.cpp.
constexpr Entry kEntries[] = {
#include "dicom_dictionary.inc"
};

}  // namespace

std::string RepresentationOf(std::uint32_t tag, bool isSigned) {
    const Entry* other = std::end(kEntries) - 1;
    const Entry* found =
        std::lower_bound(std::begin(kEntries), other, tag,
                         [](const Entry& entry, std::uint32_t wanted) { return entry.tag < wanted; });
    if (found->tag != tag) found = other;
    if (found->vr[0] == 'x') return isSigned ? "SS" : "US";
    return found->vr;
}
