// The stretch to the black and white levels, bit shifts of 16-bit samples,
// the levels a depth starts from, and the checks the mosaic steps share.
#include <algorithm>
#include <new>
#include <vector>

#include "companions/int/dib.h"
#include "companions/int/mosaic.h"
#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace mosaic_detail {

int32_t OpenImage(const BitmapInfoHeader *h, uint8_t *pixels, uint32_t accept, ImageView *view) {
  *view = ImageView{};
  if (!h || !pixels) return XE_ERR_NULL_ARGUMENT;
  uint32_t kind = 0;
  switch (h->biBitCount) {
    case 8: kind = kAccept8; break;
    case 16: kind = kAccept16; break;
    case 24: kind = kAccept24; break;
    case 48: kind = kAccept48; break;
    default: break;
  }
  if (!(kind & accept) || h->biCompression != 0 || h->biWidth < 0) return XE_ERR_NOT_SUPPORTED;
  if (h->biWidth == 0 || h->biHeight == 0) return XE_OK;
  if (!MakeView(h, pixels, view)) {
    *view = ImageView{};
    return XE_ERR_NOT_SUPPORTED;
  }
  return XE_OK;
}

uint32_t TopSample(const BitmapInfoHeader *h, const ImageView &view) {
  return view.bits == 8 ? 255u : std::min(XefMaxPixDIB(h), 65535u);
}

uint32_t RowGrain(const ImageView &view) {
  const uint32_t samples = std::max(1u, view.width * view.channels);
  return std::max(1u, 65536u / samples);
}

}  // namespace mosaic_detail

using namespace mosaic_detail;

namespace {

// Runs body(row samples, count) over every row of the view, on the pixel
// threads. Sample is uint8_t or uint16_t as the view says.
template <typename Sample, typename Body>
void ForEachRow(const ImageView &v, const Body &body) {
  const uint32_t n = v.width * v.channels;
  ParallelFor(v.height, RowGrain(v), [&](uint32_t begin, uint32_t end) {
    for (uint32_t r = begin; r < end; ++r) body(reinterpret_cast<Sample *>(v.Row(r)), n);
  });
}

template <typename Sample>
void ApplyTable(const ImageView &v, const uint16_t *table) {
  ForEachRow<Sample>(v, [table](Sample *s, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i) s[i] = static_cast<Sample>(table[s[i]]);
  });
}

}  // namespace

int32_t XeAdjustToMaxLevels(BitmapInfoHeader *h, uint8_t *pixels, int32_t black, int32_t white) {
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptAll, &v);
  if (status != XE_OK) return status;
  const uint32_t b = static_cast<uint32_t>(black) & 0xFFFFu;
  const uint32_t w = static_cast<uint32_t>(white) & 0xFFFFu;
  if (w <= b) return XE_ERR_NOT_SUPPORTED;
  if (v.width == 0) return XE_OK;

  const uint64_t top = TopSample(h, v);
  const uint64_t span = w - b;
  // One table per thread, kept between images: a fetch of many images takes
  // its memory once.
  thread_local std::vector<uint16_t> table;
  try {
    table.resize(v.bits == 8 ? 256u : 65536u);
  } catch (const std::bad_alloc &) {
    return XE_ERR_NO_MEMORY;
  }
  for (uint32_t i = 0; i < table.size(); ++i) {
    uint64_t out = 0;
    if (i >= w)
      out = top;
    else if (i > b)
      out = ((i - b) * top + span / 2) / span;
    table[i] = static_cast<uint16_t>(out);
  }
  if (v.bits == 8)
    ApplyTable<uint8_t>(v, table.data());
  else
    ApplyTable<uint16_t>(v, table.data());
  return XE_OK;
}

int32_t XefShiftPixar(BitmapInfoHeader *h, int32_t shift, uint8_t *pixels) {
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAccept16 | kAccept48, &v);
  if (status != XE_OK || v.width == 0 || shift == 0) return status;

  if (shift > 0) {
    if (shift >= 16) {
      ForEachRow<uint16_t>(v, [](uint16_t *s, uint32_t n) {
        for (uint32_t i = 0; i < n; ++i) s[i] = s[i] ? 65535 : 0;
      });
      return XE_OK;
    }
    // Samples above `keep` would lose bits: they become 65535.
    const uint32_t bits = static_cast<uint32_t>(shift);
    const uint16_t keep = static_cast<uint16_t>(65535u >> bits);
    ForEachRow<uint16_t>(v, [bits, keep](uint16_t *s, uint32_t n) {
      const uint32_t b = bits;
      const uint16_t k = keep;
      for (uint32_t i = 0; i < n; ++i) s[i] = s[i] > k ? uint16_t{65535} : static_cast<uint16_t>(s[i] << b);
    });
    return XE_OK;
  }
  // Compared before negating, so that the most negative shift cannot overflow.
  if (shift <= -16) {
    ForEachRow<uint16_t>(v, [](uint16_t *s, uint32_t n) { std::fill_n(s, n, uint16_t{0}); });
    return XE_OK;
  }
  const uint32_t bits = static_cast<uint32_t>(-shift);
  ForEachRow<uint16_t>(v, [bits](uint16_t *s, uint32_t n) {
    for (uint32_t i = 0; i < n; ++i) s[i] = static_cast<uint16_t>(s[i] >> bits);
  });
  return XE_OK;
}

int32_t XefInitBWLevels(int32_t /*cn*/, Setup *setup, uint32_t bitCount, uint32_t packed) {
  if (!setup) return XE_ERR_NULL_ARGUMENT;
  int32_t white = 0;
  if (packed) {
    white = 16383;
  } else if (bitCount == 8 || bitCount == 24) {
    white = 255;
  } else if (bitCount == 16 || bitCount == 48) {
    const uint32_t bits = std::clamp(setup->RealBPP, 8u, 16u);
    white = static_cast<int32_t>((1u << bits) - 1);
  } else {
    return XE_ERR_NOT_SUPPORTED;
  }
  setup->BlackLevel = 0;
  setup->WhiteLevel = white;
  return XE_OK;
}

}  // namespace xe::intl
