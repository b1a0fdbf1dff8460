// The range rule of fetches and saves: a chosen range is cut to the images
// of the cine, with a warning when that changes it.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe {

// The value that stands for "the whole" on either side of a range.
constexpr int32_t kWholeFirst = INT32_MIN;
constexpr uint32_t kWholeCount = 0xFFFFFFFFu;

// Cuts `range` by `cine`. A "whole" marker on either side means no range was
// chosen: the cut is made and nothing is said (0). Otherwise a range that
// does not meet the cine becomes empty (XE_WARN_RANGE_EMPTY) and one that was
// cut answers XE_WARN_RANGE_REDUCED; both are reported as warnings.
int32_t RangeIntersect(ImageRange *range, const ImageRange &cine);

}  // namespace xe
