// The save range of a cine, cut to its images by the range rule.
#pragma once

#include <cstdint>

#include "access/image_range.h"

struct Cine;

namespace xe {

// Cuts SaveFirst and SaveCount of the cine by its FirstImageNo and ImageCount.
int32_t ClipSaveRange(Cine *c);

}  // namespace xe
