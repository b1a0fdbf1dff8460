// "Medium": gradient-corrected linear interpolation. Each missing colour is
// the bilinear estimate plus a weighted Laplacian of the colour measured at
// the pixel, which restores much of the detail bilinear interpolation blurs.
// Fixed 5 x 5 kernels (in sixteenths):
//   green at red or blue:  8 c + 4 (direct) - 2 (two away, straight)
//   red or blue at green, along the row that holds it:
//       10 c + 8 (left, right) - 2 (two away left, right) - 2 (diagonal)
//       + 1 (two away up, down); transposed for the column
//   red at blue, blue at red: 12 c + 4 (diagonal) - 3 (two away, straight)
#include "companions/int/demosaic_common.h"

namespace xe::intl::dm {
namespace {

template <typename T>
inline T Out(int32_t v, int32_t maxv) {
  v = (v + 8) >> 4;
  return static_cast<T>(v < 0 ? 0 : (v > maxv ? maxv : v));
}

// One row: rows a2, a1 above (or below; the kernels are symmetric), c, d1,
// d2; S the output channel of the row's red or blue, O of the other colour.
template <typename T, int S, int O>
void MediumRow(const uint16_t *a2, const uint16_t *a1, const uint16_t *c, const uint16_t *d1,
               const uint16_t *d2, T *o, uint32_t w, uint32_t first, int32_t maxv) {
  auto site = [&](ptrdiff_t x) {
    int32_t cc = c[x];
    int32_t straight2 = c[x - 2] + c[x + 2] + a2[x] + d2[x];
    int32_t direct = c[x - 1] + c[x + 1] + a1[x] + d1[x];
    int32_t diag = a1[x - 1] + a1[x + 1] + d1[x - 1] + d1[x + 1];
    T *p = o + 3 * x;
    p[S] = static_cast<T>(cc);
    p[1] = Out<T>(8 * cc + 4 * direct - 2 * straight2, maxv);
    p[O] = Out<T>(12 * cc + 4 * diag - 3 * straight2, maxv);
  };
  auto green = [&](ptrdiff_t x) {
    int32_t cc = c[x];
    int32_t diag = a1[x - 1] + a1[x + 1] + d1[x - 1] + d1[x + 1];
    int32_t h1 = c[x - 1] + c[x + 1], h2 = c[x - 2] + c[x + 2];
    int32_t v1 = a1[x] + d1[x], v2 = a2[x] + d2[x];
    T *p = o + 3 * x;
    p[1] = static_cast<T>(cc);
    p[S] = Out<T>(10 * cc + 8 * h1 - 2 * h2 - 2 * diag + v2, maxv);
    p[O] = Out<T>(10 * cc + 8 * v1 - 2 * v2 - 2 * diag + h2, maxv);
  };
  ptrdiff_t x = 0, n = w;
  if (first == 1) green(x++);
  for (; x + 1 < n; x += 2) {
    site(x);
    green(x + 1);
  }
  if (x < n) site(x);
}

template <typename T>
void MediumRows(const Bayer &b, uint32_t begin, uint32_t end, const ImageView &out) {
  int32_t maxv = static_cast<int32_t>(b.top);
  for (uint32_t r = begin; r < end; ++r) {
    uint32_t py = r + kPad;
    const uint16_t *c = b.ImageRow(r);
    const uint16_t *a1 = c - b.pw, *a2 = c - 2 * b.pw, *d1 = c + b.pw, *d2 = c + 2 * b.pw;
    T *o = reinterpret_cast<T *>(out.Row(r));
    if (b.RedRow(py))
      MediumRow<T, 2, 0>(a2, a1, c, d1, d2, o, b.w, b.SiteParity(py), maxv);
    else
      MediumRow<T, 0, 2>(a2, a1, c, d1, d2, o, b.w, b.SiteParity(py), maxv);
  }
}

}  // namespace

void DemosaicMedium(const Bayer &b, const ImageView &out) {
  ParallelFor(b.h, kGrain, [&](uint32_t begin, uint32_t end) {
    if (out.bits == 8)
      MediumRows<uint8_t>(b, begin, end, out);
    else
      MediumRows<uint16_t>(b, begin, end, out);
  });
}

}  // namespace xe::intl::dm
