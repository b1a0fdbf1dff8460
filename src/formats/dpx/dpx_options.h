// The DPX options of a save: the DPX words of SavingOptions in the order
// and widths in which the cine keeps them, so that a caller's word block
// can be taken as it stands.
#pragma once

#include <cstdint>
#include <type_traits>

namespace xe {

struct DpxOptions {
  uint32_t DpxFlags = 0;       // kDpx* bits of frame/saving_options.h
  uint16_t DpxRefWhite = 685;  // 10-bit log code of reference white
  uint16_t DpxRefBlack = 95;   // 10-bit log code of reference black
  float DpxGamma = 1.0f;       // display gamma
  float DpxFilmGamma = 0.6f;   // gamma of the negative
  uint32_t DpxSoftClip = 0;    // printed in LUT files only
};
static_assert(sizeof(DpxOptions) == 20 && std::is_trivially_copyable_v<DpxOptions>);

// Statuses of the DPX writer and its LUT files: positive and its own, folded
// into the caller's status like warnings.
constexpr int32_t kDpxNotCreated = 1;
constexpr int32_t kDpxWriteFailed = 2;
constexpr int32_t kDpxNoMemory = 8;
constexpr int32_t kDpxBadDepth = 16;    // depth not 8, 10, 12, 14 or 16
constexpr int32_t kDpxBadPacking = 32;  // packing not 0 to 2 for 10 or 12 bits

}  // namespace xe
