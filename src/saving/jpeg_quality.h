// The JPEG quality of the save options, kept as a quantisation factor.
#pragma once

#include <cstdint>

namespace xe {

// The JPEG quantisation factor of a quality from 1 (worst) to 100 (best), and
// back; values outside are limited first (quality 1 to 100, factor 2 to 255).
uint32_t QFactorOfQuality(uint32_t quality);
uint32_t QualityOfQFactor(uint32_t qFactor);

}  // namespace xe
