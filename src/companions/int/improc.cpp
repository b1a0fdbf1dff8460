#include "companions/int/improc.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <numbers>
#include <vector>

#include "companions/int/dib.h"
#include "companions/int/filters.h"
#include "companions/int/geometry.h"
#include "companions/int/image_view.h"
#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

// Luma weights of red, green and blue, and the scales of the two chroma axes
// U = ku (B - Y), V = kv (R - Y) in which hue turns.
constexpr double kWr = 0.299, kWg = 0.587, kWb = 0.114;
constexpr double kKu = 0.492111, kKv = 0.877283;

constexpr uint32_t kBlock = 256;  // pixels per block of the colour matrix

double UsableGain(float g) { return std::isfinite(g) && g >= 0.0f ? g : 1.0; }
double UsableGamma(float g) { return std::isfinite(g) && g > 0.0f ? g : 1.0; }

struct TonePlan {
  bool tone = false;     // any per-sample or colour change
  bool matrix = false;   // saturation or hue on colour data
  uint32_t channels = 1;
  // Without a matrix: input -> output, one table per channel (blue, green,
  // red). With a matrix: input -> intermediate (0..K), then `gamma` maps the
  // intermediate to the output.
  std::vector<uint16_t> lut[3];
  std::vector<uint16_t> gamma;
  float m[3][3] = {};    // the colour matrix in blue, green, red order
  float k = 0;           // top of the intermediate scale
};

// The 3 x 3 matrix of saturation s and hue turn theta, in red, green, blue
// order: Y is kept, the chroma vector (U, V) is turned by theta
// (counter-clockwise: red towards yellow and green) and scaled by s.
void ColourMatrix(double s, double theta, double out[3][3]) {
  const double c = std::cos(theta), sn = std::sin(theta);
  for (int in = 0; in < 3; ++in) {
    const double R = in == 0, G = in == 1, B = in == 2;
    const double Y = kWr * R + kWg * G + kWb * B;
    const double U = kKu * (B - Y), V = kKv * (R - Y);
    const double U2 = s * (U * c - V * sn), V2 = s * (U * sn + V * c);
    const double dB = U2 / kKu, dR = V2 / kKv;
    const double dG = -(kWr * dR + kWb * dB) / kWg;
    out[0][in] = Y + dR;
    out[1][in] = Y + dG;
    out[2][in] = Y + dB;
  }
}

// Builds the tables. `maxValue` is the top of the image's depth (2^b - 1),
// `entries` the number of possible input values (256 or 65536).
void MakePlan(const IMPROCOPTIONS &o, uint32_t channels, uint32_t bits, uint32_t maxValue,
              TonePlan &p) {
  // The vectors keep their room from the last plan of this thread.
  p.tone = p.matrix = false;
  p.k = 0;
  p.channels = channels;
  const bool colour = channels == 3;
  const double wbR = colour ? UsableGain(o.WBRed) : 1.0;
  const double wbB = colour ? UsableGain(o.WBBlue) : 1.0;
  const double gamma = UsableGamma(o.Gamma);
  const double contrast = std::max(0.0, ContrastFactor(o.Contrast));
  const int32_t hue = static_cast<int32_t>(((static_cast<int64_t>(o.Hue) % 360) + 360) % 360);
  const double sat = std::max(0.0, 1.0 + o.Saturation / 100.0);
  p.matrix = colour && (hue != 0 || o.Saturation != 0);
  p.tone = p.matrix || wbR != 1.0 || wbB != 1.0 || gamma != 1.0 || o.Bright != 0 ||
           o.Contrast != 0;
  if (!p.tone) return;

  if (p.matrix) {
    double rgb[3][3];
    ColourMatrix(sat, hue * std::numbers::pi / 180.0, rgb);
    // To blue, green, red order: index 2 - i.
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) p.m[i][j] = static_cast<float>(rgb[2 - i][2 - j]);
  }

  // The intermediate scale: the depth widened to 16 bits.
  uint32_t depth = 0;
  while (depth < 16 && (1u << depth) <= maxValue) ++depth;
  const uint32_t shift = 16 - depth;
  const double M = maxValue;
  const double K = std::ldexp(M, static_cast<int>(shift));
  p.k = static_cast<float>(K);
  const uint32_t entries = bits == 8 ? 256u : 65536u;
  const double offset = o.Bright * M / 1000.0;

  // Intermediate -> output: gamma, x^(1/gamma) on the normalised value.
  const uint32_t kEntries = static_cast<uint32_t>(K) + 1;
  p.gamma.resize(kEntries);
  ParallelFor(kEntries, 4096, [&](uint32_t b, uint32_t e) {
    for (uint32_t y = b; y < e; ++y) {
      const double v = gamma == 1.0 ? std::ldexp(static_cast<double>(y), -static_cast<int>(shift))
                                    : M * std::pow(y / K, 1.0 / gamma);
      p.gamma[y] = static_cast<uint16_t>(std::min(M, std::floor(v + 0.5)));
    }
  });

  const double gains[3] = {wbB, 1.0, wbR};
  for (uint32_t c = 0; c < channels; ++c) {
    std::vector<uint16_t> &lut = p.lut[c];
    lut.resize(entries);
    // White balance, brightness and contrast, each limited to the range as
    // if the steps ran one after another.
    for (uint32_t v = 0; v < entries; ++v) {
      double x = std::clamp(v * gains[c], 0.0, M);
      x = std::clamp(x + offset, 0.0, M);
      x = std::clamp((x - M / 2) * contrast + M / 2, 0.0, M);
      const uint32_t y = static_cast<uint32_t>(std::floor(std::ldexp(x, shift) + 0.5));
      lut[v] = p.matrix ? static_cast<uint16_t>(y) : p.gamma[y];
    }
  }
}

// The plan of the last options this thread used: a run of images with the
// same options (every image of a fetch or a save) builds its tables once and
// takes no memory after the first image.
const TonePlan &PlanFor(const IMPROCOPTIONS &o, uint32_t channels, uint32_t bits,
                        uint32_t maxValue) {
  struct Cached {
    bool valid = false;
    IMPROCOPTIONS options{};
    uint32_t channels = 0, bits = 0, maxValue = 0;
    TonePlan plan;
  };
  thread_local Cached cache;
  if (!cache.valid || cache.channels != channels || cache.bits != bits ||
      cache.maxValue != maxValue || std::memcmp(&cache.options, &o, sizeof o) != 0) {
    cache.valid = false;
    MakePlan(o, channels, bits, maxValue, cache.plan);
    cache.options = o;
    cache.channels = channels;
    cache.bits = bits;
    cache.maxValue = maxValue;
    cache.valid = true;
  }
  return cache.plan;
}

template <typename T>
void ToneRowDirect(const TonePlan &p, const T *src, T *dst, uint32_t width) {
  if (p.channels == 1) {
    const uint16_t *l = p.lut[0].data();
    for (uint32_t i = 0; i < width; ++i) dst[i] = static_cast<T>(l[src[i]]);
    return;
  }
  const uint16_t *lb = p.lut[0].data(), *lg = p.lut[1].data(), *lr = p.lut[2].data();
  for (uint32_t i = 0; i < width; ++i) {
    const T b = src[3 * i], g = src[3 * i + 1], r = src[3 * i + 2];
    dst[3 * i] = static_cast<T>(lb[b]);
    dst[3 * i + 1] = static_cast<T>(lg[g]);
    dst[3 * i + 2] = static_cast<T>(lr[r]);
  }
}

template <typename T>
void ToneRowMatrix(const TonePlan &p, const T *src, T *dst, uint32_t width) {
  alignas(64) float fb[kBlock], fg[kBlock], fr[kBlock];
  alignas(64) int32_t ob[kBlock], og[kBlock], orr[kBlock];
  const uint16_t *lb = p.lut[0].data(), *lg = p.lut[1].data(), *lr = p.lut[2].data();
  const uint16_t *gam = p.gamma.data();
  const float m00 = p.m[0][0], m01 = p.m[0][1], m02 = p.m[0][2];
  const float m10 = p.m[1][0], m11 = p.m[1][1], m12 = p.m[1][2];
  const float m20 = p.m[2][0], m21 = p.m[2][1], m22 = p.m[2][2];
  const float k = p.k;
  for (uint32_t x0 = 0; x0 < width; x0 += kBlock) {
    const uint32_t n = std::min(kBlock, width - x0);
    const T *s = src + 3 * static_cast<size_t>(x0);
    T *d = dst + 3 * static_cast<size_t>(x0);
    for (uint32_t i = 0; i < n; ++i) {
      fb[i] = lb[s[3 * i]];
      fg[i] = lg[s[3 * i + 1]];
      fr[i] = lr[s[3 * i + 2]];
    }
#pragma omp simd
    for (uint32_t i = 0; i < n; ++i) {
      const float b = fb[i], g = fg[i], r = fr[i];
      const float nb = std::clamp(m00 * b + m01 * g + m02 * r, 0.0f, k);
      const float ng = std::clamp(m10 * b + m11 * g + m12 * r, 0.0f, k);
      const float nr = std::clamp(m20 * b + m21 * g + m22 * r, 0.0f, k);
      ob[i] = static_cast<int32_t>(nb + 0.5f);
      og[i] = static_cast<int32_t>(ng + 0.5f);
      orr[i] = static_cast<int32_t>(nr + 0.5f);
    }
    for (uint32_t i = 0; i < n; ++i) {
      d[3 * i] = static_cast<T>(gam[ob[i]]);
      d[3 * i + 1] = static_cast<T>(gam[og[i]]);
      d[3 * i + 2] = static_cast<T>(gam[orr[i]]);
    }
  }
}

template <typename T>
void ToneRow(const TonePlan &p, const uint8_t *src, uint8_t *dst, uint32_t width) {
  const T *s = reinterpret_cast<const T *>(src);
  T *d = reinterpret_cast<T *>(dst);
  if (p.matrix)
    ToneRowMatrix<T>(p, s, d, width);
  else
    ToneRowDirect<T>(p, s, d, width);
}

void ToneRowAny(const TonePlan &p, const ImageView &v, const uint8_t *src, uint8_t *dst) {
  if (!p.tone) {
    if (src != dst) std::memcpy(dst, src, static_cast<size_t>(v.width) * v.channels * v.bits / 8);
    return;
  }
  if (v.bits == 8)
    ToneRow<uint8_t>(p, src, dst, v.width);
  else
    ToneRow<uint16_t>(p, src, dst, v.width);
}

// Tone and flips in one pass, from `src` into `dst` (the same view for work
// in place, or a second buffer of the same format).
void ToneAndFlip(const TonePlan &p, const ImageView &src, const ImageView &dst, bool flipH,
                 bool flipV) {
  const bool inPlace = src.data == dst.data;
  const size_t used = static_cast<size_t>(dst.width) * dst.channels * dst.bits / 8;
  ParallelFor((src.height + 1) / 2, 8, [&](uint32_t b, uint32_t e) {
    for (uint32_t a = b; a < e; ++a) {
      const uint32_t z = src.height - 1 - a;
      if (inPlace) {
        ToneRowAny(p, src, src.Row(a), src.Row(a));
        if (z != a) ToneRowAny(p, src, src.Row(z), src.Row(z));
        FlipRows(src, flipH, flipV, a, a + 1);
      } else {
        ToneRowAny(p, src, src.Row(a), dst.Row(flipV ? z : a));
        if (z != a) ToneRowAny(p, src, src.Row(z), dst.Row(flipV ? a : z));
        for (uint32_t r : {a, z}) {
          if (flipH) MirrorRow(dst, dst.Row(r));
          std::memset(dst.Row(r) + used, 0, dst.stride - used);  // row padding
          if (z == a) break;  // the middle row of an odd height
        }
      }
    }
  });
}

}  // namespace

double ContrastFactor(int32_t contrast) {
  const double d = contrast < 0 ? 0.9 : 9.0;
  return 1.0 + contrast * d / 100.0;
}

int32_t RoundToInt32(double v) {
  if (std::isnan(v)) return 0;
  const double r = std::round(v);  // half away from zero
  if (r <= -2147483648.0) return INT32_MIN;
  if (r >= 2147483647.0) return INT32_MAX;
  return static_cast<int32_t>(r);
}

int32_t XeImProc(BitmapInfoHeader *h, uint8_t *pixels, const IMPROCOPTIONS *o) {
  if (!h || !pixels || !o) return XE_ERR_NULL_ARGUMENT;
  const uint16_t bc = h->biBitCount;
  if (h->biCompression != 0 || h->biWidth < 0 || (bc != 8 && bc != 16 && bc != 24 && bc != 48))
    return XE_ERR_NOT_SUPPORTED;
  if (!FilterIsValid(o->FilterCode, o->UserFilter)) return XE_ERR_NOT_SUPPORTED;
  ImageView v;
  if (!MakeView(h, pixels, &v)) return XE_OK;  // no pixels

  const uint32_t maxValue = std::min(XefMaxPixDIB(h), MaxSample(v));
  const TonePlan &plan = PlanFor(*o, v.channels, v.bits, maxValue);
  const bool flipH = o->FlipH != 0, flipV = o->FlipV != 0;
  const int32_t turn = QuarterTurn(o->Rotate);
  const int32_t code = o->FilterCode;
  if (!plan.tone && !flipH && !flipV && turn == 0 && code == kFilterNone) return XE_OK;

  BitmapInfoHeader out = *h;
  if (turn != 0) {
    out.biWidth = static_cast<int32_t>(v.height);
    out.biHeight = h->biHeight < 0 ? -static_cast<int32_t>(v.width) : static_cast<int32_t>(v.width);
  }
  std::unique_ptr<uint8_t[]> second;
  if (turn != 0 || code != kFilterNone) {
    const uint32_t size = std::max(XefPixarSize(h), XefPixarSize(&out));
    if (size == 0xFFFFFFFFu) return XE_ERR_NO_MEMORY;
    second.reset(new (std::nothrow) uint8_t[size]);
    if (!second) return XE_ERR_NO_MEMORY;
  }

  if (turn == 0 && code == kFilterNone) {
    ToneAndFlip(plan, v, v, flipH, flipV);
    return XE_OK;
  }
  ImageView outView;
  MakeView(&out, pixels, &outView);
  if (turn == 0) {
    // Adjust into the second buffer, filter back into the image.
    ImageView tmp = v;
    tmp.data = second.get();
    ToneAndFlip(plan, v, tmp, flipH, flipV);
    ApplyFilter(tmp, v, code, o->FilterParam, o->UserFilter, maxValue);
    return XE_OK;
  }
  // Turn first into the second buffer, then adjust on the way back (or in
  // place before the filter). Tone does not care where a pixel is, and after
  // a quarter turn a left-right flip is a top-bottom one and the reverse.
  ImageView turned = outView;
  turned.data = second.get();
  RotateQuarter(v, turned, turn);
  if (code == kFilterNone) {
    ToneAndFlip(plan, turned, outView, flipV, flipH);
  } else {
    ToneAndFlip(plan, turned, turned, flipV, flipH);
    ApplyFilter(turned, outView, code, o->FilterParam, o->UserFilter, maxValue);
  }
  *h = out;
  h->biSizeImage = XefPixarSize(&out);
  return XE_OK;
}

}  // namespace xe::intl
