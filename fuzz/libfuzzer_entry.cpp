// The libFuzzer entry of one harness; XEFUZZ_BODY names its body
// (fuzz_targets.h).
#include "fuzz_targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  xefuzz::XEFUZZ_BODY(data, size);
  return 0;
}
