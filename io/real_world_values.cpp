#include "real_world_values.h"

#include <cmath>

namespace {

constexpr std::uint32_t kExplanation = DicomTag(0x0028, 0x3003), kUnits = DicomTag(0x0040, 0x08EA),
                        kCodeValue = DicomTag(0x0008, 0x0100), kCodeMeaning = DicomTag(0x0008, 0x0104),
                        kLabel = DicomTag(0x0040, 0x9210), kLast = DicomTag(0x0040, 0x9211),
                        kTable = DicomTag(0x0040, 0x9212), kRealLast = DicomTag(0x0040, 0x9213),
                        kRealFirst = DicomTag(0x0040, 0x9214), kFirst = DicomTag(0x0040, 0x9216),
                        kIntercept = DicomTag(0x0040, 0x9224), kSlope = DicomTag(0x0040, 0x9225);

/// The first number of the first attribute that has one.
std::optional<double> number(const DicomDataSet& set, std::initializer_list<std::uint32_t> tags) {
    for (const std::uint32_t tag : tags) {
        const std::vector<double> numbers = set.Numbers(tag, 1);
        if (!numbers.empty() && std::isfinite(numbers[0])) return numbers[0];
    }
    return std::nullopt;
}

std::optional<RealWorldMapping> read(const DicomDataSet& item) {
    const std::optional<double> first = number(item, {kRealFirst, kFirst}),
                                last = number(item, {kRealLast, kLast}), slope = number(item, {kSlope});
    RealWorldMapping mapping;
    mapping.table = item.Numbers(kTable, 65536);
    if (!first || !last || (!slope && mapping.table.empty())) return std::nullopt;
    mapping.first = *first, mapping.last = *last;
    mapping.slope = slope.value_or(1.0);
    mapping.intercept = number(item, {kIntercept}).value_or(0.0);
    mapping.label = item.Text(kLabel);
    mapping.explanation = item.Text(kExplanation);
    if (const DicomDataSet* const units = item.FirstItem(kUnits)) {
        mapping.unitsCode = units->Text(kCodeValue);
        mapping.unitsMeaning = units->Text(kCodeMeaning);
    }
    return mapping;
}

}  // namespace

std::optional<double> RealWorldMapping::Of(double stored) const {
    if (!(stored >= first && stored <= last)) return std::nullopt;
    if (table.empty()) return stored * slope + intercept;
    const double index = std::floor(stored - first);
    if (!(index < static_cast<double>(table.size()))) return std::nullopt;
    return table[static_cast<std::size_t>(index)];
}

std::vector<RealWorldMapping> ReadRealWorldMappings(const DicomDataSet& set) {
    std::vector<RealWorldMapping> mappings;
    const DicomElement* const sequence = set.Find(tag::kRealWorldValueMapping);
    if (sequence == nullptr) return mappings;
    for (const DicomDataSet& item : sequence->items) {
        if (auto mapping = read(item)) mappings.push_back(std::move(*mapping));
    }
    return mappings;
}
