// The one allocation wrapper of the library. Sizes are 32-bit, so no single
// allocation goes above 4 GiB; a request that does not fit fails like an
// exhausted heap.
#pragma once

#include <cstdint>

namespace xe {

// Zeroed memory of `size` bytes, or null. Freed with FreeMemory.
void *AllocZeroed(uint64_t size);
void FreeMemory(void *block);

// The largest size AllocZeroed accepts.
constexpr uint64_t kMaxAllocation = 0xFFFFFFFFull;

}  // namespace xe
