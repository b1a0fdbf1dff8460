#include "saving/jpeg_quality.h"

#include <algorithm>
#include <cmath>

namespace xe {

// Quality q and quantisation factor f lie on the line q = 100.7826 - 0.3913 f,
// which gives quality 100 for factor 2 and quality 1 for factor 255. Both
// ways round half away from zero.
constexpr double kQualityAtFactor0 = 100.78260869565217;
constexpr double kQualityPerFactor = 0.391304347826087;

uint32_t QFactorOfQuality(uint32_t quality) {
  uint32_t v = std::clamp<uint32_t>(quality, 1, 100);
  return static_cast<uint32_t>(std::round((v - kQualityAtFactor0) / -kQualityPerFactor));
}

uint32_t QualityOfQFactor(uint32_t qFactor) {
  uint32_t f = std::clamp<uint32_t>(qFactor, 2, 255);
  return static_cast<uint32_t>(std::round(kQualityAtFactor0 - f * kQualityPerFactor));
}

}  // namespace xe
