// "Fastest" (2 x 2 window), "Fast" (bilinear) and the normalised 3 x 3
// interpolation that serves any pattern and size.
#include <cstddef>

#include "companions/int/demosaic_common.h"

namespace xe::intl::dm {
namespace {

// ---- 2 x 2 window ----------------------------------------------------------

template <typename T>
void WindowRows(const Raw &raw, uint32_t begin, uint32_t end, const ImageView &out) {
  for (uint32_t r = begin; r < end; ++r) {
    uint32_t r0 = r + 1 < raw.h ? r : r - 1;
    const uint16_t *a = raw.Row(r0), *c = raw.Row(r0 + 1);
    T *o = reinterpret_cast<T *>(out.Row(r));
    // The colours of the window's four samples repeat every 4 columns.
    Colour ca[4], cc[4];
    for (uint32_t k = 0; k < 4; ++k) {
      ca[k] = raw.At(k, r0);
      cc[k] = raw.At(k, r0 + 1);
    }
    for (uint32_t x = 0; x < raw.w; ++x) {
      uint32_t x0 = x + 1 < raw.w ? x : x - 1;
      uint32_t sum[3] = {0, 0, 0};
      sum[ca[x0 & 3u]] += a[x0];
      sum[ca[(x0 + 1) & 3u]] += a[x0 + 1];
      sum[cc[x0 & 3u]] += c[x0];
      sum[cc[(x0 + 1) & 3u]] += c[x0 + 1];
      o[3 * x] = static_cast<T>(sum[kBlue]);
      o[3 * x + 1] = static_cast<T>((sum[kGreen] + 1) >> 1);
      o[3 * x + 2] = static_cast<T>(sum[kRed]);
    }
  }
}

// ---- normalised 3 x 3 ------------------------------------------------------

// The weighted mean of the samples of colour `want` in the 3 x 3
// neighbourhood of (x, r), direct neighbours weight 2, diagonal ones 1, of
// the values value(x, r); false when there is none.
template <typename V>
bool Mean3(const Raw &raw, uint32_t x, uint32_t r, Colour want, V value, float *mean) {
  float sum = 0.f, weight = 0.f;
  for (int32_t dy = -1; dy <= 1; ++dy) {
    int64_t yy = static_cast<int64_t>(r) + dy;
    if (yy < 0 || yy >= raw.h) continue;
    for (int32_t dx = -1; dx <= 1; ++dx) {
      int64_t xx = static_cast<int64_t>(x) + dx;
      if (xx < 0 || xx >= raw.w || (dx == 0 && dy == 0)) continue;
      uint32_t ux = static_cast<uint32_t>(xx), uy = static_cast<uint32_t>(yy);
      if (raw.At(ux, uy) != want) continue;
      float wgt = (dx == 0 || dy == 0) ? 2.f : 1.f;
      sum += wgt * value(ux, uy);
      weight += wgt;
    }
  }
  if (weight == 0.f) return false;
  *mean = sum / weight;
  return true;
}

// The mean of all samples of the 3 x 3 neighbourhood, the pixel included.
float MeanAll(const Raw &raw, uint32_t x, uint32_t r) {
  float sum = 0.f;
  uint32_t n = 0;
  for (uint32_t yy = r > 0 ? r - 1 : 0; yy <= r + 1 && yy < raw.h; ++yy)
    for (uint32_t xx = x > 0 ? x - 1 : 0; xx <= x + 1 && xx < raw.w; ++xx) {
      sum += raw.Row(yy)[xx];
      ++n;
    }
  return sum / static_cast<float>(n);
}

// Inside the image every neighbour exists, so which of them have a colour,
// and their weights, depend only on the pattern phase of the pixel (row
// parity, column modulo 4). The table keeps them in the order Mean3 visits
// them, so the sums come out the same to the last bit.
struct Neighbours {
  int8_t n = 0;
  int8_t dx[8] = {}, dy[8] = {};
  float wgt[8] = {};
  float weight = 0.f;
};
struct NeighbourTable {
  Neighbours of[2][4][3];
};

NeighbourTable MakeNeighbourTable(const Raw &raw) {
  NeighbourTable t;
  for (uint32_t py = 0; py < 2; ++py)
    for (uint32_t px = 0; px < 4; ++px)
      for (uint32_t c = 0; c < 3; ++c) {
        Neighbours &nb = t.of[py][px][c];
        // Phase (px, py) seen from column 4 + px, row 2 + py: all
        // neighbours have positive coordinates of the same phases.
        for (int32_t dy = -1; dy <= 1; ++dy)
          for (int32_t dx = -1; dx <= 1; ++dx) {
            if ((dx == 0 && dy == 0) || raw.At(4 + px + dx, 2 + py + dy) != static_cast<Colour>(c)) continue;
            nb.dx[nb.n] = static_cast<int8_t>(dx);
            nb.dy[nb.n] = static_cast<int8_t>(dy);
            nb.wgt[nb.n] = (dx == 0 || dy == 0) ? 2.f : 1.f;
            nb.weight += nb.wgt[nb.n];
            ++nb.n;
          }
      }
  return t;
}

template <typename V>
inline bool Mean3Inside(const Neighbours &nb, uint32_t x, uint32_t r, V value, float *mean) {
  if (nb.n == 0) return false;
  float sum = 0.f;
  for (int i = 0; i < nb.n; ++i)
    sum += nb.wgt[i] * value(static_cast<uint32_t>(static_cast<int32_t>(x) + nb.dx[i]),
                             static_cast<uint32_t>(static_cast<int32_t>(r) + nb.dy[i]));
  *mean = sum / nb.weight;
  return true;
}

// Mean3 through the table for a pixel with all eight neighbours.
template <typename V>
inline bool Mean3At(const Raw &raw, const NeighbourTable &t, uint32_t x, uint32_t r, Colour want,
                    V value, float *mean) {
  if (r >= 1 && r + 1 < raw.h && x >= 1 && x + 1 < raw.w)
    return Mean3Inside(t.of[r & 1u][x & 3u][want], x, r, value, mean);
  return Mean3(raw, x, r, want, value, mean);
}

template <typename T>
void NormalisedRows(const Raw &raw, const NeighbourTable &t, bool differences,
                    const std::vector<float> &green, uint32_t begin, uint32_t end, const ImageView &out) {
  const float maxv = raw.top;
  auto sample = [&](uint32_t x, uint32_t y) { return static_cast<float>(raw.Row(y)[x]); };
  auto diff = [&](uint32_t x, uint32_t y) {
    return static_cast<float>(raw.Row(y)[x]) - green[static_cast<size_t>(y) * raw.w + x];
  };
  for (uint32_t r = begin; r < end; ++r) {
    T *o = reinterpret_cast<T *>(out.Row(r));
    for (uint32_t x = 0; x < raw.w; ++x) {
      Colour own = raw.At(x, r);
      float g = green[static_cast<size_t>(r) * raw.w + x];
      float v[3];
      for (Colour c : {kRed, kBlue}) {
        if (c == own) {
          v[c] = sample(x, r);
        } else if (differences) {
          float d;
          v[c] = Mean3At(raw, t, x, r, c, diff, &d) ? g + d : g;
        } else if (!Mean3At(raw, t, x, r, c, sample, &v[c])) {
          v[c] = MeanAll(raw, x, r);
        }
      }
      o[3 * x] = Clamp<T>(v[kBlue], maxv);
      o[3 * x + 1] = Clamp<T>(g, maxv);
      o[3 * x + 2] = Clamp<T>(v[kRed], maxv);
    }
  }
}

// ---- bilinear on a 2 x 2 mosaic --------------------------------------------

// One row, in two vectorisable passes: the three channels into planar
// scratch rows, site and green pixels told apart by a mask rather than a
// branch, then the interleaving into the output. c is the row, a and d the
// rows above and below; `site` masks the row's red or blue sites (all ones
// there, zero at green); S is the output channel of the row's red or blue, O
// of the other colour (vertical and diagonal neighbours).
template <typename T, int S, int O>
[[gnu::always_inline]] inline void FastRow(const uint16_t *__restrict a, const uint16_t *__restrict c, const uint16_t *__restrict d,
             const uint16_t *__restrict site, uint16_t *__restrict cs, uint16_t *__restrict cg,
             uint16_t *__restrict co, T *__restrict o, uint32_t w) {
  for (ptrdiff_t x = 0, n = w; x < n; ++x) {  // signed: x - 1 reaches the border
    uint32_t h = c[x - 1] + c[x + 1], v = a[x] + d[x];
    uint32_t dg = a[x - 1] + a[x + 1] + d[x - 1] + d[x + 1];
    uint16_t m = site[x];
    uint16_t atSiteG = static_cast<uint16_t>((h + v + 2) >> 2), atSiteO = static_cast<uint16_t>((dg + 2) >> 2);
    uint16_t atGreenS = static_cast<uint16_t>((h + 1) >> 1), atGreenO = static_cast<uint16_t>((v + 1) >> 1);
    cs[x] = static_cast<uint16_t>((c[x] & m) | (atGreenS & ~m));
    cg[x] = static_cast<uint16_t>((atSiteG & m) | (c[x] & ~m));
    co[x] = static_cast<uint16_t>((atSiteO & m) | (atGreenO & ~m));
  }
  for (size_t x = 0; x < w; ++x) {
    o[3 * x + S] = static_cast<T>(cs[x]);
    o[3 * x + 1] = static_cast<T>(cg[x]);
    o[3 * x + O] = static_cast<T>(co[x]);
  }
}

// Scratch of a band of rows: the site masks of both column parities and
// three channel rows.
struct BandScratch {
  explicit BandScratch(uint32_t w) : buf(5 * static_cast<size_t>(w)) {
    mask[0] = buf.data();
    mask[1] = mask[0] + w;
    cs = mask[1] + w;
    cg = cs + w;
    co = cg + w;
    for (uint32_t x = 0; x < w; ++x) {
      mask[0][x] = (x & 1u) == 0 ? 0xFFFFu : 0;
      mask[1][x] = (x & 1u) == 1 ? 0xFFFFu : 0;
    }
  }
  std::vector<uint16_t> buf;
  uint16_t *mask[2];
  uint16_t *cs, *cg, *co;
};

template <typename T>
[[gnu::always_inline]] inline void FastRows(const Bayer &b, uint32_t begin, uint32_t end, const ImageView &out) {
  BandScratch scratch(b.w);
  uint16_t *const *mask = scratch.mask;
  uint16_t *cs = scratch.cs, *cg = scratch.cg, *co = scratch.co;
  for (uint32_t r = begin; r < end; ++r) {
    uint32_t py = r + kPad;
    // x = 0 sits at even padded x: the sites' parity is the parity of x.
    const uint16_t *a = b.ImageRow(r) - b.pw, *c = b.ImageRow(r), *d = b.ImageRow(r) + b.pw;
    const uint16_t *site = mask[b.SiteParity(py)];
    T *o = reinterpret_cast<T *>(out.Row(r));
    if (b.RedRow(py))
      FastRow<T, 2, 0>(a, c, d, site, cs, cg, co, o, b.w);
    else
      FastRow<T, 0, 2>(a, c, d, site, cs, cg, co, o, b.w);
  }
}

// The 2 x 2 window on a 2 x 2 mosaic, in the same two passes: c is the
// row, d the next row in memory; at a site the window holds the site's
// colour, a green right of it, a green in d and the other colour right of
// that; at a green the other way round.
template <typename T, int S, int O>
[[gnu::always_inline]] inline void WindowRow(const uint16_t *__restrict c, const uint16_t *__restrict d,
                                             const uint16_t *__restrict site, uint16_t *__restrict cs,
                                             uint16_t *__restrict cg, uint16_t *__restrict co, T *__restrict o,
                                             uint32_t w) {
  for (size_t x = 0; x < w; ++x) {
    uint16_t m = site[x];
    uint16_t g1 = static_cast<uint16_t>((c[x + 1] + d[x] + 1u) >> 1), g2 = static_cast<uint16_t>((c[x] + d[x + 1] + 1u) >> 1);
    cs[x] = static_cast<uint16_t>((c[x] & m) | (c[x + 1] & ~m));
    cg[x] = static_cast<uint16_t>((g1 & m) | (g2 & ~m));
    co[x] = static_cast<uint16_t>((d[x + 1] & m) | (d[x] & ~m));
  }
  for (size_t x = 0; x < w; ++x) {
    o[3 * x + S] = static_cast<T>(cs[x]);
    o[3 * x + 1] = static_cast<T>(cg[x]);
    o[3 * x + O] = static_cast<T>(co[x]);
  }
}

template <typename T>
[[gnu::always_inline]] inline void WindowBayerRows(const Bayer &b, uint32_t begin, uint32_t end,
                                                   const ImageView &out) {
  BandScratch scratch(b.w);
  uint16_t *const *mask = scratch.mask;
  uint16_t *cs = scratch.cs, *cg = scratch.cg, *co = scratch.co;
  for (uint32_t r = begin; r < end; ++r) {
    uint32_t py = r + kPad;
    const uint16_t *c = b.ImageRow(r), *d = c + b.pw;
    const uint16_t *site = mask[b.SiteParity(py)];
    T *o = reinterpret_cast<T *>(out.Row(r));
    if (b.RedRow(py))
      WindowRow<T, 2, 0>(c, d, site, cs, cg, co, o, b.w);
    else
      WindowRow<T, 0, 2>(c, d, site, cs, cg, co, o, b.w);
  }
}

// The bands, also built for AVX2 (taken at run time where the processor has
// it): the interleaving of the channels vectorises only there. A
// ThreadSanitizer build has one version: the run-time choice would run
// before the sanitizer is ready.
#if defined(__SANITIZE_THREAD__)
#define XE_AVX2_CLONES
#else
#define XE_AVX2_CLONES [[gnu::target_clones("avx2", "default")]]
#endif
XE_AVX2_CLONES void FastBand8(const Bayer &b, uint32_t begin, uint32_t end,
                                                         const ImageView &out) {
  FastRows<uint8_t>(b, begin, end, out);
}
XE_AVX2_CLONES void FastBand16(const Bayer &b, uint32_t begin, uint32_t end,
                                                          const ImageView &out) {
  FastRows<uint16_t>(b, begin, end, out);
}

XE_AVX2_CLONES void WindowBand8(const Bayer &b, uint32_t begin, uint32_t end,
                                                           const ImageView &out) {
  WindowBayerRows<uint8_t>(b, begin, end, out);
}
XE_AVX2_CLONES void WindowBand16(const Bayer &b, uint32_t begin, uint32_t end,
                                                            const ImageView &out) {
  WindowBayerRows<uint16_t>(b, begin, end, out);
}

}  // namespace

void DemosaicWindow(const Bayer &b, const ImageView &out) {
  ParallelFor(b.h, kGrain, [&](uint32_t begin, uint32_t end) {
    if (out.bits == 8)
      WindowBand8(b, begin, end, out);
    else
      WindowBand16(b, begin, end, out);
  });
}

void DemosaicWindow(const Raw &raw, const ImageView &out) {
  ParallelFor(raw.h, kGrain, [&](uint32_t begin, uint32_t end) {
    if (out.bits == 8)
      WindowRows<uint8_t>(raw, begin, end, out);
    else
      WindowRows<uint16_t>(raw, begin, end, out);
  });
}

void DemosaicNormalised(const Raw &raw, bool differences, const ImageView &out) {
  // Green first, for the differences and as the green channel.
  std::vector<float> green(static_cast<size_t>(raw.w) * raw.h);
  const NeighbourTable table = MakeNeighbourTable(raw);
  auto sample = [&](uint32_t x, uint32_t y) { return static_cast<float>(raw.Row(y)[x]); };
  ParallelFor(raw.h, kGrain, [&](uint32_t begin, uint32_t end) {
    for (uint32_t r = begin; r < end; ++r)
      for (uint32_t x = 0; x < raw.w; ++x) {
        float &g = green[static_cast<size_t>(r) * raw.w + x];
        if (raw.At(x, r) == kGreen)
          g = sample(x, r);
        else if (!Mean3At(raw, table, x, r, kGreen, sample, &g))
          g = MeanAll(raw, x, r);
      }
  });
  ParallelFor(raw.h, kGrain, [&](uint32_t begin, uint32_t end) {
    if (out.bits == 8)
      NormalisedRows<uint8_t>(raw, table, differences, green, begin, end, out);
    else
      NormalisedRows<uint16_t>(raw, table, differences, green, begin, end, out);
  });
}

void DemosaicFast(const Bayer &b, const ImageView &out) {
  ParallelFor(b.h, kGrain, [&](uint32_t begin, uint32_t end) {
    if (out.bits == 8)
      FastBand8(b, begin, end, out);
    else
      FastBand16(b, begin, end, out);
  });
}

}  // namespace xe::intl::dm
