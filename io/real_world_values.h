#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dicom_elements.h"

/// A mapping from stored pixel values to real-world values (PS3.3 C.7.6.16.2.11).
struct RealWorldMapping {
    std::string label;
    std::string explanation;
    /// A UCUM code and what it means.
    std::string unitsCode;
    std::string unitsMeaning;
    double first = 0.0;
    double last = 0.0;
    double slope = 1.0;
    double intercept = 0.0;
    /// One value for each stored value from the first on; slope and intercept where it is empty.
    std::vector<double> table;

    /// Nothing for a value outside of the mapping's range.
    std::optional<double> Of(double stored) const;
};

/// The mappings of a data set whose functional groups are at the top level; those without a range or a rule
/// are left out.
std::vector<RealWorldMapping> ReadRealWorldMappings(const DicomDataSet& set);
