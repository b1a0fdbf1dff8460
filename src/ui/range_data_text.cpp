#include "ui/range_data_text.h"

#include <cmath>
#include <cstdio>

#include "cinefile/tagged_blocks.h"

namespace xe {
namespace {

constexpr uint32_t kAnglesBytes = 6;
constexpr uint32_t kTrackingBytes = 16;

uint32_t U24At(const uint8_t *p) { return p[0] | (p[1] << 8) | (static_cast<uint32_t>(p[2]) << 16); }

uint32_t U32At(const uint8_t *p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

uint32_t Bits(uint32_t word, uint32_t first, uint32_t count) {
  return (word >> first) & ((1u << count) - 1);
}

// An angle in 1/16777216 of a circle as degrees, minutes and seconds.
void FormatAngle(uint32_t value, char *out) {
  double minutes = value * 360.0 * 60.0 / 16777216.0;
  auto whole = static_cast<int32_t>(std::trunc(minutes));
  std::snprintf(out, kRangeTextSize, "%d\260%02d'%05.2f\"", whole / 60, whole % 60,
                (minutes - whole) * 60.0);
}

// Degrees and thousandths, negated when the sign bit is set.
double SignedDegrees(uint32_t word, uint32_t first) {
  double v = Bits(word, first + 10, 12) + Bits(word, first, 10) / 1000.0;
  return Bits(word, first + 22, 1) ? -v : v;
}

void FormatTracking(const uint8_t *r, char *out) {
  uint32_t w0 = U32At(r), w1 = U32At(r + 4), w2 = U32At(r + 8), w3 = U32At(r + 12);
  double range = (w0 >> 4) * 1000.0 + (w0 & 15) * 100.0;
  double seconds = Bits(w2, 20, 6) + Bits(w2, 10, 10) / 1000.0;
  std::snprintf(out, kRangeTextSize, "Site ID: %d  %d %02d:%02d:%06.3f AZ: %.3f EL: %.3f RNG: %.2f",
                static_cast<int>(Bits(w2, 0, 10)), static_cast<int>(Bits(w1, 23, 9)),
                static_cast<int>(Bits(w3, 0, 5)), static_cast<int>(Bits(w2, 26, 6)), seconds,
                SignedDegrees(w1, 0), SignedDegrees(w3, 5), range);
}

// The record as hexadecimal, as much of it as the text holds.
void FormatHex(const uint8_t *r, uint64_t size, char *out) {
  uint64_t shown = size < (kRangeTextSize - 1) / 2 ? size : (kRangeTextSize - 1) / 2;
  for (uint64_t k = 0; k < shown; ++k) std::snprintf(out + 2 * k, 3, "%02x", r[k]);
  out[2 * shown] = '\0';
}

}  // namespace

void FormatRangeData(Cine *c, int32_t imageNo, uint32_t mode, uint32_t item, char *out) {
  if (!c || !out) return;
  auto *data = static_cast<const uint8_t *>(XefGetCineTaggedBlock(c, XE_TAG_RANGE_DATA));
  if (!data) return;
  if (mode == 0) {
    out[0] = '\0';
    return;
  }
  // The block's data is wholly held (XefGetCineTaggedBlock answers only then).
  uint64_t held = BlockHeaderAt(data - kBlockHeaderSize).BlockSize - kBlockHeaderSize;
  const Setup &s = c->H.Setup;
  int64_t index = static_cast<int64_t>(imageNo) - c->H.Header.FirstImageNo;
  if (index < 0) return;
  uint64_t at = static_cast<uint64_t>(index) * s.RangeSize;
  uint64_t need = mode == 1 ? kAnglesBytes : mode == 2 ? kTrackingBytes : s.RangeSize;
  if (at + need > held) return;
  const uint8_t *r = data + at;
  switch (mode) {
    case 1:
      if (item == 1) FormatAngle(U24At(r), out);
      if (item == 2) FormatAngle(U24At(r + 3), out);
      break;
    case 2: FormatTracking(r, out); break;
    default: FormatHex(r, s.RangeSize, out); break;
  }
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API void XefFormatRangeData(CineHandle cine, int32_t imageNo, uint32_t mode,
                                              uint32_t item, char *out) {
  FormatRangeData(cine, imageNo, mode, item, out);
}
