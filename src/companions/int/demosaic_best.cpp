// "Best": directional colour differences with gradient weighting.
//
// 1. At every pixel, a horizontal and a vertical estimate of the colour
//    difference green - (red or blue): along the row (column) the missing
//    colour is the mean of the two neighbours plus a quarter of the second
//    derivative of the colour measured at the pixel.
// 2. The gradients of these differences, |d(x-1) - d(x+1)| along the
//    direction, summed over 5 x 5 windows, give one weight per direction
//    (north, south, west, east): 1 / (window sum)^2, the window set off by two
//    pixels towards that side. A direction that crosses an edge sees large
//    gradients and drops out.
// 3. Green at a red or blue site is the sample plus the weighted blend of the
//    four directions' differences, each smoothed along its direction by the
//    taps 0.56, 0.35, 0.08, 0.01 (the pixel first).
// 4. Red at blue sites and blue at red sites: green less the mean difference
//    of the four diagonal neighbours, weighted against the diagonal
//    gradients; red and blue at green sites: green less the blend of the four
//    direct neighbours' differences with the weights of step 2.
// (A further pass that re-estimated green from the full difference planes,
// or a median of the differences, did not improve natural images.)
#include <cmath>

#include "companions/int/demosaic_common.h"

namespace xe::intl::dm {
namespace {

constexpr float kTaps[4] = {0.56f, 0.35f, 0.08f, 0.01f};

// Sums of 5 x 5 windows of p, in place, over padded rows and columns
// [margin, size - margin) (p is read 2 further out).
void Box5(const Bayer &b, Plane &p, Plane &tmp, uint32_t margin) {
  ForRows(b, margin - 2, [&](uint32_t py) {
    const float *s = p.Row(py);
    float *t = tmp.Row(py);
    for (uint32_t px = margin; px < b.pw - margin; ++px) t[px] = s[px - 2] + s[px - 1] + s[px] + s[px + 1] + s[px + 2];
  });
  ForRows(b, margin, [&](uint32_t py) {
    const float *t0 = tmp.Row(py - 2), *t1 = tmp.Row(py - 1), *t2 = tmp.Row(py), *t3 = tmp.Row(py + 1),
                *t4 = tmp.Row(py + 2);
    float *s = p.Row(py);
    for (uint32_t px = margin; px < b.pw - margin; ++px) s[px] = t0[px] + t1[px] + t2[px] + t3[px] + t4[px];
  });
}

inline float Weight(float gradientSum, float eps) {
  float v = gradientSum + eps;
  return 1.f / (v * v);
}

// Red and blue differences at green sites from the four direct neighbours,
// weighted by the direction weights WH and WV.
void DifferencesAtGreen(const Bayer &b, const Plane &WH, const Plane &WV, Plane &DR, Plane &DB, uint32_t margin) {
  ForRows(b, margin, [&](uint32_t py) {
    const float *wvn = WV.Row(py - 1), *wvs = WV.Row(py + 1), *wh = WH.Row(py);
    uint32_t site = b.SiteParity(py);
    for (Plane *D : {&DR, &DB}) {
      const float *dn = D->Row(py - 1), *ds = D->Row(py + 1);
      float *dc = D->Row(py);
      for (uint32_t px = margin + ((margin & 1u) == site ? 1u : 0u); px < b.pw - margin; px += 2) {
        float wn = wvn[px], ws = wvs[px], ww = wh[px - 1], we = wh[px + 1];
        dc[px] = (wn * dn[px] + ws * ds[px] + ww * dc[px - 1] + we * dc[px + 1]) / (wn + ws + ww + we);
      }
    }
  });
}

}  // namespace

void DemosaicBest(const Bayer &b, const ImageView &out) {
  // Keeps weights finite in flat areas; small against real gradients.
  const float eps = b.maxv / 255.f;
  // 1. Directional differences green - other colour.
  Plane dH(b), dV(b);
  ForRows(b, 2, [&](uint32_t py) {
    const uint16_t *a2 = b.Row(py - 2), *a1 = b.Row(py - 1), *c = b.Row(py), *d1 = b.Row(py + 1),
                   *d2 = b.Row(py + 2);
    float *h = dH.Row(py), *v = dV.Row(py);
    float sign = 1.f;
    uint32_t site = b.SiteParity(py);
    for (uint32_t px = 2; px < b.pw - 2; ++px) {
      float cc = c[px];
      float eh = 0.5f * (c[px - 1] + c[px + 1]) + 0.25f * (2.f * cc - c[px - 2] - c[px + 2]);
      float ev = 0.5f * (a1[px] + d1[px]) + 0.25f * (2.f * cc - a2[px] - d2[px]);
      sign = (px & 1u) == site ? 1.f : -1.f;
      h[px] = sign * (eh - cc);
      v[px] = sign * (ev - cc);
    }
  });
  // 2. Gradients of the differences, then their 5 x 5 window sums.
  Plane BH(b), BV(b), tmp(b);
  ForRows(b, 3, [&](uint32_t py) {
    const float *h = dH.Row(py), *va = dV.Row(py - 1), *vd = dV.Row(py + 1);
    float *gh = BH.Row(py), *gv = BV.Row(py);
    for (uint32_t px = 3; px < b.pw - 3; ++px) {
      gh[px] = std::fabs(h[px - 1] - h[px + 1]);
      gv[px] = std::fabs(va[px] - vd[px]);
    }
  });
  Box5(b, BH, tmp, 5);
  Box5(b, BV, tmp, 5);
  // The window sums become the weights, in place.
  Plane &WH = BH, &WV = BV;
  ForRows(b, 5, [&](uint32_t py) {
    float *wh = WH.Row(py), *wv = WV.Row(py);
    for (uint32_t px = 5; px < b.pw - 5; ++px) {
      wh[px] = Weight(wh[px], eps);
      wv[px] = Weight(wv[px], eps);
    }
  });
  // 3. Green at the red and blue sites.
  Plane G(b);
  ForRows(b, 7, [&](uint32_t py) {
    const uint16_t *c = b.Row(py);
    const float *h = dH.Row(py), *wvn = WV.Row(py - 2), *wvs = WV.Row(py + 2), *wh = WH.Row(py);
    const float *vr[7];
    for (int k = 0; k < 7; ++k) vr[k] = dV.Row(py + k - 3);
    float *g = G.Row(py);
    // The first red or blue site and the first green of the row.
    uint32_t site = b.SiteParity(py), first = (7u & 1u) == site ? 7u : 8u, green = 15u - first;
    for (uint32_t px = green; px < b.pw - 7; px += 2) g[px] = c[px];
    for (uint32_t px = first; px < b.pw - 7; px += 2) {
      float fn = 0.f, fs = 0.f, fw = 0.f, fe = 0.f;
      for (int k = 0; k < 4; ++k) {
        fn += kTaps[k] * vr[3 - k][px];
        fs += kTaps[k] * vr[3 + k][px];
        fw += kTaps[k] * h[px - k];
        fe += kTaps[k] * h[px + k];
      }
      float wn = wvn[px], ws = wvs[px], ww = wh[px - 2], we = wh[px + 2];
      g[px] = c[px] + (wn * fn + ws * fs + ww * fw + we * fe) / (wn + ws + ww + we);
    }
  });
  // 4. Differences green - red and green - blue at the sites; the planes of
  // step 1 are free now.
  Plane &DR = dH, &DB = dV;
  auto atSites = [&](uint32_t margin) {
    ForRows(b, margin, [&](uint32_t py) {
      const uint16_t *ca = b.Row(py - 1), *c = b.Row(py), *cd = b.Row(py + 1);
      const float *ga = G.Row(py - 1), *g = G.Row(py), *gd = G.Row(py + 1);
      bool redRow = b.RedRow(py);
      float *own = redRow ? DR.Row(py) : DB.Row(py), *other = redRow ? DB.Row(py) : DR.Row(py);
      uint32_t site = b.SiteParity(py);
      for (uint32_t px = margin + ((margin & 1u) == site ? 0u : 1u); px < b.pw - margin; px += 2) {
        own[px] = g[px] - c[px];
        float nw = ga[px - 1] - ca[px - 1], ne = ga[px + 1] - ca[px + 1];
        float sw = gd[px - 1] - cd[px - 1], se = gd[px + 1] - cd[px + 1];
        float w1 = Weight(std::fabs(nw - se) + std::fabs(static_cast<float>(ca[px - 1]) - cd[px + 1]), eps);
        float w2 = Weight(std::fabs(ne - sw) + std::fabs(static_cast<float>(ca[px + 1]) - cd[px - 1]), eps);
        other[px] = (w1 * (nw + se) + w2 * (ne + sw)) / (2.f * (w1 + w2));
      }
    });
  };
  atSites(kPad - 1);
  DifferencesAtGreen(b, WH, WV, DR, DB, kPad);
  // Colours from green and the differences.
  ForRows(b, kPad, [&](uint32_t py) {
    const float *g = G.Row(py);
    float *r = DR.Row(py), *bl = DB.Row(py);
    for (uint32_t px = kPad; px < b.pw - kPad; ++px) {
      r[px] = g[px] - r[px];
      bl[px] = g[px] - bl[px];
    }
  });
  StorePlanes(b, DR, G, DB, out);
}

}  // namespace xe::intl::dm
