#pragma once

#include <nlohmann/json.hpp>

#include <vector>

#include "explanation.h"
#include "presentation.h"

using Json = nlohmann::ordered_json;

/// What `zev info --json` says of an image, without the "schema" number; docs/json.md has the keys. Texts of
/// the file need not be UTF-8.
Json DescribeImage(OpenedImage& image);

/// What the pixel values of an image are, the modality value first: docs/view.md, `values`.
Json DescribeValues(OpenedImage& image);

/// The members "image" and "points" of `zev explain --json`.
Json DescribeExplanations(const std::vector<Explanation>& explanations);

/// The range of an image's values as {"min", "max"}, or null.
template <class Range>
Json RangeOf(const Range& range) {
    return range ? Json{{"min", range->first}, {"max", range->second}} : Json(nullptr);
}
