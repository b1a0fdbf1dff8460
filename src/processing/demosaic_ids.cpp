// The demosaic ids in the order in which interfaces list them.
#include <cstring>

#include "xefile/xefile.h"

namespace {

struct AlgoEntry {
  uint8_t id;
  const char *name;
};

constexpr AlgoEntry kAlgos[6] = {
    {XE_DEMOSAIC_FASTEST, "Fastest"}, {XE_DEMOSAIC_FAST, "Fast"}, {XE_DEMOSAIC_MEDIUM, "Medium"},
    {XE_DEMOSAIC_GOOD, "Good"},       {XE_DEMOSAIC_BEST, "Best"}, {XE_DEMOSAIC_NONE, "None"},
};

}  // namespace

extern "C" XEFILE_API int32_t XefInitIntAlgoIDs(uint8_t idByPosition[6], uint8_t positionById[7],
                                                char names[6][20]) {
  if (positionById) positionById[0] = 0xFF;
  for (uint8_t p = 0; p < 6; ++p) {
    if (idByPosition) idByPosition[p] = kAlgos[p].id;
    if (positionById) positionById[kAlgos[p].id] = p;
    if (names) {
      std::memset(names[p], 0, 20);
      std::strncpy(names[p], kAlgos[p].name, 19);
    }
  }
  return XE_OK;
}
