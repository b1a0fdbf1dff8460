#include "frame/memory.h"

#include <cstdlib>

namespace xe {

void *AllocZeroed(uint64_t size) {
  if (size == 0 || size > kMaxAllocation) return nullptr;
  return std::calloc(1, static_cast<size_t>(size));
}

void FreeMemory(void *block) { std::free(block); }

}  // namespace xe
