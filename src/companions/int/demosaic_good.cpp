// "Good": edge-directed green, then red and blue from colour differences.
//
// Green at a red or blue site c: along each direction the mean of the two
// greens plus a quarter of the second derivative of c's colour,
//   gH = (gW + gE) / 2 + (2 c - cWW - cEE) / 4,
// and the direction taken is the one with the smaller variation
//   |gW - gE| + |2 c - cWW - cEE|   (the mean of both when equal).
// Red and blue are then green plus the bilinear interpolation of the
// differences red - green and blue - green, which follow edges far better
// than the colours themselves.
#include <cmath>

#include "companions/int/demosaic_common.h"

namespace xe::intl::dm {

void DemosaicGood(const Bayer &b, const ImageView &out) {
  Plane G(b);
  ForRows(b, 2, [&](uint32_t py) {
    const uint16_t *a2 = b.Row(py - 2), *a1 = b.Row(py - 1), *c = b.Row(py), *d1 = b.Row(py + 1),
                   *d2 = b.Row(py + 2);
    float *g = G.Row(py);
    uint32_t site = b.SiteParity(py);
    for (uint32_t px = 2; px < b.pw - 2; ++px) {
      float cc = c[px];
      if ((px & 1u) != site) {
        g[px] = cc;
        continue;
      }
      float lh = 2.f * cc - c[px - 2] - c[px + 2], lv = 2.f * cc - a2[px] - d2[px];
      float gh = 0.5f * (c[px - 1] + c[px + 1]) + 0.25f * lh;
      float gv = 0.5f * (a1[px] + d1[px]) + 0.25f * lv;
      float dh = std::fabs(static_cast<float>(c[px - 1]) - c[px + 1]) + std::fabs(lh);
      float dv = std::fabs(static_cast<float>(a1[px]) - d1[px]) + std::fabs(lv);
      g[px] = dh < dv ? gh : (dv < dh ? gv : 0.5f * (gh + gv));
    }
  });
  // Differences to green at the sites: the mosaic less green (0 at green).
  Plane D(b);
  ForRows(b, 2, [&](uint32_t py) {
    const uint16_t *c = b.Row(py);
    const float *g = G.Row(py);
    float *d = D.Row(py);
    for (uint32_t px = 2; px < b.pw - 2; ++px) d[px] = c[px] - g[px];
  });
  Plane R(b), B(b);
  ForRows(b, 3, [&](uint32_t py) {
    const float *da = D.Row(py - 1), *dc = D.Row(py), *dd = D.Row(py + 1), *g = G.Row(py);
    bool redRow = b.RedRow(py);
    uint32_t site = b.SiteParity(py);
    float *own = redRow ? R.Row(py) : B.Row(py), *other = redRow ? B.Row(py) : R.Row(py);
    for (uint32_t px = 3; px < b.pw - 3; ++px) {
      if ((px & 1u) == site) {
        own[px] = g[px] + dc[px];
        other[px] = g[px] + 0.25f * (da[px - 1] + da[px + 1] + dd[px - 1] + dd[px + 1]);
      } else {
        own[px] = g[px] + 0.5f * (dc[px - 1] + dc[px + 1]);
        other[px] = g[px] + 0.5f * (da[px] + dd[px]);
      }
    }
  });
  StorePlanes(b, R, G, B, out);
}

}  // namespace xe::intl::dm
