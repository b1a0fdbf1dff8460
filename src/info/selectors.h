// The information selectors: numbered questions and settings of a cine.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// The get switch without the null checks; XE_ERR_NOT_SUPPORTED for a selector
// that is not listed.
int32_t GetCineInfo(Cine *c, uint32_t selector, void *value);

}  // namespace xe
