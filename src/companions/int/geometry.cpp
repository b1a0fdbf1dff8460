#include "companions/int/geometry.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

// One pixel as a value, so that rows of any format swap and copy by pixels.
template <uint32_t N>
struct Pixel {
  uint8_t b[N];
};

template <uint32_t N>
void MirrorT(uint8_t *row, uint32_t width) {
  auto *p = reinterpret_cast<Pixel<N> *>(row);
  std::reverse(p, p + width);
}

template <uint32_t N>
void SwapMirroredT(uint8_t *a, uint8_t *b, uint32_t width) {
  // a[i] <-> b[width-1-i]: the half turn of a pair of rows.
  auto *pa = reinterpret_cast<Pixel<N> *>(a);
  auto *pb = reinterpret_cast<Pixel<N> *>(b);
  for (uint32_t i = 0; i < width; ++i) std::swap(pa[i], pb[width - 1 - i]);
}

uint32_t PixelBytes(const ImageView &v) { return v.channels * v.bits / 8; }

template <uint32_t N>
void RotateT(const ImageView &src, const ImageView &dst, int32_t turn) {
  // Memory rows are bottom-up. For a clockwise turn of a W x H picture,
  // out[rn][x] = in[x][W-1-rn]; anticlockwise, out[rn][x] = in[H-1-x][rn].
  const uint32_t W = src.width, H = src.height;
  constexpr uint32_t kTile = 32;
  const uint32_t tiles = (dst.height + kTile - 1) / kTile;
  ParallelFor(tiles, 1, [&](uint32_t t0, uint32_t t1) {
    for (uint32_t t = t0; t < t1; ++t) {
      const uint32_t rn0 = t * kTile, rn1 = std::min(dst.height, rn0 + kTile);
      for (uint32_t rn = rn0; rn < rn1; ++rn)  // row padding
        std::memset(dst.Row(rn) + N * dst.width, 0, dst.stride - N * dst.width);
      for (uint32_t x0 = 0; x0 < dst.width; x0 += kTile) {
        const uint32_t x1 = std::min(dst.width, x0 + kTile);
        for (uint32_t rn = rn0; rn < rn1; ++rn) {
          auto *out = reinterpret_cast<Pixel<N> *>(dst.Row(rn));
          for (uint32_t x = x0; x < x1; ++x) {
            const uint32_t sr = turn > 0 ? x : H - 1 - x;
            const uint32_t sx = turn > 0 ? W - 1 - rn : rn;
            out[x] = reinterpret_cast<const Pixel<N> *>(src.Row(sr))[sx];
          }
        }
      }
    }
  });
}

}  // namespace

void MirrorRow(const ImageView &v, uint8_t *row) {
  switch (PixelBytes(v)) {
    case 1: MirrorT<1>(row, v.width); break;
    case 2: MirrorT<2>(row, v.width); break;
    case 3: MirrorT<3>(row, v.width); break;
    case 6: MirrorT<6>(row, v.width); break;
    default: break;
  }
}

void FlipRows(const ImageView &v, bool horizontal, bool vertical, uint32_t begin, uint32_t end) {
  const uint32_t bytes = PixelBytes(v) * v.width;
  for (uint32_t a = begin; a < end; ++a) {
    const uint32_t b = v.height - 1 - a;
    uint8_t *ra = v.Row(a), *rb = v.Row(b);
    if (vertical && horizontal && a != b) {
      switch (PixelBytes(v)) {
        case 1: SwapMirroredT<1>(ra, rb, v.width); break;
        case 2: SwapMirroredT<2>(ra, rb, v.width); break;
        case 3: SwapMirroredT<3>(ra, rb, v.width); break;
        case 6: SwapMirroredT<6>(ra, rb, v.width); break;
        default: break;
      }
    } else if (vertical && a != b) {
      std::swap_ranges(ra, ra + bytes, rb);
    } else if (horizontal) {
      MirrorRow(v, ra);
      if (a != b) MirrorRow(v, rb);
    }
  }
}

int32_t XeFlips(BitmapInfoHeader *h, uint8_t *pixels, uint32_t horizontal, uint32_t vertical) {
  if (!h || !pixels) return XE_ERR_NULL_ARGUMENT;
  const uint16_t bc = h->biBitCount;
  if (h->biCompression != 0 || h->biWidth < 0 || (bc != 8 && bc != 16 && bc != 24 && bc != 48))
    return XE_ERR_NOT_SUPPORTED;
  ImageView v;
  if (!MakeView(h, pixels, &v)) return XE_OK;  // empty image
  if (!horizontal && !vertical) return XE_OK;
  ParallelFor((v.height + 1) / 2, 16, [&](uint32_t b, uint32_t e) {
    FlipRows(v, horizontal != 0, vertical != 0, b, e);
  });
  return XE_OK;
}

int32_t QuarterTurn(int32_t degrees) {
  if (degrees == 90 || degrees == -270) return 1;
  if (degrees == -90 || degrees == 270) return -1;
  return 0;
}

void RotateQuarter(const ImageView &src, const ImageView &dst, int32_t turn) {
  switch (PixelBytes(src)) {
    case 1: RotateT<1>(src, dst, turn); break;
    case 2: RotateT<2>(src, dst, turn); break;
    case 3: RotateT<3>(src, dst, turn); break;
    case 6: RotateT<6>(src, dst, turn); break;
    default: break;
  }
}

}  // namespace xe::intl
