// Neighbourhood filters of the image adjustments: the codes of FilterCode and
// the caller's own convolution (XeUserFilter). The meaning of each code is
// documented with the image adjustments in include/xefile/xefile.h.
//
// Pixels outside the image are taken as copies of the nearest edge pixel,
// so every size from 1 x 1 up is filtered. Results are limited to 0 and the
// largest sample value of the image's depth.
#pragma once

#include <cstdint>

#include "companions/int/image_view.h"
#include "xefile/xefile_records.h"

namespace xe::intl {

enum FilterCode : int32_t {
  kFilterNone = 0,
  kFilterSharpen = 1,       // v + a (4v - four neighbours)
  kFilterSmooth = 2,        // 3 x 3 binomial (1 2 1) x (1 2 1) / 16
  kFilterEdgeEnhance = 3,   // v + a (8v - eight neighbours)
  kFilterMedian = 4,        // median of the 3 x 3 neighbourhood
  kFilterUser = 5,          // XeUserFilter
};

// True when the code (and, for kFilterUser, the user filter) can be applied:
// codes 0 to 5; a user filter needs dim 1, 3 or 5 and shifts 0 to 31.
bool FilterIsValid(int32_t code, const XeUserFilter &user);

// The strength a of the sharpening codes from FilterParam, in percent:
// 1 to 1000 is used as it is, 0 or negative gives 100, above 1000 gives 1000.
float FilterStrength(int32_t param);

// Filters `src` into `dst` (same size and format, not overlapping) with a
// valid code other than kFilterNone. `maxValue` is the largest sample value
// of the image's depth. Uses all pixel threads.
void ApplyFilter(const ImageView &src, const ImageView &dst, int32_t code, int32_t param,
                 const XeUserFilter &user, uint32_t maxValue);

}  // namespace xe::intl
