#include "companions/int/depth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "companions/int/dib.h"
#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

// Runs body(begin, end) over `count` units that narrow from srcStride bytes
// to dstStride bytes. Over separate buffers all units run in parallel. In
// place, unit u is written over bytes of units before it, so units go in
// batches [a, b) with b * dstStride <= a * srcStride: everything a batch
// writes lies in units already done, and within a batch the units run in
// parallel. Each unit itself must be worked front to back.
void NarrowingFor(const void *src, const void *dst, uint64_t count, uint64_t srcStride,
                  uint64_t dstStride, uint32_t grain,
                  const std::function<void(uint64_t, uint64_t)> &body) {
  const auto run = [&](uint64_t a, uint64_t b) {
    while (a < b) {  // ParallelFor counts in 32 bits
      const uint64_t n = std::min<uint64_t>(b - a, 0x40000000u);
      ParallelFor(static_cast<uint32_t>(n), grain, [&](uint32_t x, uint32_t y) {
        body(a + x, a + y);
      });
      a += n;
    }
  };
  const auto s = reinterpret_cast<uintptr_t>(src);
  const auto d = reinterpret_cast<uintptr_t>(dst);
  // Separate buffers, or the same rows in the same places: no unit writes
  // over another's samples.
  if (s + count * srcStride <= d || d + count * dstStride <= s ||
      (s == d && srcStride == dstStride)) {
    run(0, count);
    return;
  }
  uint64_t a = 0;
  while (a < count) {
    uint64_t b = a == 0 ? 1 : a * srcStride / dstStride;
    b = std::clamp<uint64_t>(b, a + 1, count);
    run(a, b);
    a = b;
  }
}

}  // namespace

int32_t XeProcessImage(const uint8_t *src, uint8_t *dst, BitmapInfoHeader *h, uint32_t mode,
                       float gain) {
  if (!src || !dst || !h) return XE_ERR_NULL_ARGUMENT;
  if (mode != kReduceTo8 || h->biCompression != 0 || h->biWidth < 0 ||
      (h->biBitCount != 16 && h->biBitCount != 48))
    return XE_ERR_NOT_SUPPORTED;
  const double g = std::isfinite(gain) && gain > 0.0f ? gain : 1.0;

  BitmapInfoHeader out = *h;
  out.biBitCount = static_cast<uint16_t>(h->biBitCount / 2);
  out.biClrImportant = 0;
  out.biSizeImage = XefPixarSize(&out);

  const uint64_t width = static_cast<uint64_t>(h->biWidth);
  const uint64_t height = static_cast<uint64_t>(std::llabs(static_cast<long long>(h->biHeight)));
  if (width > 0 && height > 0) {
    std::array<uint8_t, 65536> lut;
    for (uint32_t v = 0; v < 65536; ++v)
      lut[v] = static_cast<uint8_t>(std::min(255.0, std::floor(v * g / 256.0)));
    const uint64_t samples = width * (h->biBitCount / 16);
    const uint64_t srcStride = XefMemWidth(h), dstStride = XefMemWidth(&out);
    NarrowingFor(src, dst, height, srcStride, dstStride, 16, [&](uint64_t r0, uint64_t r1) {
      for (uint64_t r = r0; r < r1; ++r) {
        const uint8_t *s = src + r * srcStride;
        uint8_t *d = dst + r * dstStride;
        for (uint64_t i = 0; i < samples; ++i) {
          uint16_t v;
          std::memcpy(&v, s + 2 * i, 2);
          d[i] = lut[v];
        }
        std::memset(d + samples, 0, dstStride - samples);  // row padding
      }
    });
  }
  *h = out;
  return XE_OK;
}

void XefReduceDIB16To8(BitmapInfoHeader *h, const int32_t *levels, const uint16_t *src,
                       uint8_t *dst) {
  if (!h || !src || !dst || !XefIs16BitDIB(h)) return;
  const int64_t maxPix = XefMaxPixDIB(h);
  int64_t low = 0, span = 4095;
  if (levels) {
    low = levels[0];
    span = std::max<int64_t>(static_cast<int64_t>(levels[1]) - 1, 1);
  }
  std::array<uint8_t, 65536> table;
  for (int64_t v = 0; v < 65536; ++v) {
    int64_t t = 255;
    if (v <= maxPix) t = std::clamp<int64_t>((v * 255 - low * 255 + span / 2) / span, 0, 255);
    table[static_cast<size_t>(v)] = static_cast<uint8_t>(t);
  }
  const uint64_t width = h->biWidth > 0 ? static_cast<uint64_t>(h->biWidth) : 0;
  const uint64_t height = static_cast<uint64_t>(std::llabs(static_cast<long long>(h->biHeight)));
  const uint64_t samples = h->biBitCount * height * width / 16;
  constexpr uint64_t kChunk = 4096;
  const auto *s8 = reinterpret_cast<const uint8_t *>(src);
  NarrowingFor(s8, dst, (samples + kChunk - 1) / kChunk, 2 * kChunk, kChunk, 4,
               [&](uint64_t c0, uint64_t c1) {
                 const uint64_t end = std::min(samples, c1 * kChunk);
                 for (uint64_t i = c0 * kChunk; i < end; ++i) {
                   uint16_t v;
                   std::memcpy(&v, s8 + 2 * i, 2);
                   dst[i] = table[v];
                 }
               });
  h->biBitCount = static_cast<uint16_t>(h->biBitCount / 2);
  h->biClrImportant = 0;
  h->biSizeImage = static_cast<uint32_t>((h->biBitCount == 24 ? 3 : 1) * height * width);
}

}  // namespace xe::intl
