#include "companions/int/filters.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "companions/int/parallel.h"

namespace xe::intl {
namespace {

// The rows around one output row, each widened by `pad` pixels on both sides
// with copies of the edge pixels and converted to int32, so that the kernels
// run without any test at the borders. The window holds dim image rows in
// slots (image row % dim); moving down one row converts only the new one.
struct Window {
  uint32_t dim = 0, pad = 0, channels = 0, width = 0;
  size_t len = 0;  // samples of one widened row
  std::vector<int32_t> buf;
  std::vector<int64_t> slotRow;  // the image row in each slot, -1 for none
  const int32_t *rows[5] = {};   // row k of the window, k = 0 the top of the picture
  std::vector<int64_t> acc;      // sums of the user filter, one row

  Window(uint32_t d, const ImageView &v)
      : dim(d), pad(d / 2), channels(v.channels), width(v.width),
        len(static_cast<size_t>(v.width + 2 * (d / 2)) * v.channels), buf(len * d),
        slotRow(d, -1) {}

  const int32_t *Row(uint32_t k) const { return rows[k]; }

  // Sets the window for output row r (memory order); the rows above and below
  // the image repeat the edge rows. Window row k is memory row r + pad - k.
  template <typename T>
  void Load(const ImageView &v, uint32_t r) {
    for (uint32_t k = 0; k < dim; ++k) {
      const int64_t want = static_cast<int64_t>(r) + pad - k;
      const int64_t sr = std::clamp<int64_t>(want, 0, v.height - 1);
      const size_t slot = static_cast<size_t>(sr % dim);
      int32_t *d = buf.data() + len * slot;
      rows[k] = d;
      if (slotRow[slot] == sr) continue;
      slotRow[slot] = sr;
      const T *s = reinterpret_cast<const T *>(v.Row(static_cast<uint32_t>(sr)));
      const uint32_t n = width * channels;
      for (uint32_t p = 0; p < pad; ++p)
        for (uint32_t c = 0; c < channels; ++c) {
          d[p * channels + c] = s[c];
          d[(pad + width + p) * channels + c] = s[(width - 1) * channels + c];
        }
      int32_t *mid = d + pad * channels;
#pragma omp simd
      for (uint32_t i = 0; i < n; ++i) mid[i] = s[i];
    }
  }
};

// Rounds half up and limits to 0..maxValue. |x| stays far below 2^31 here
// (at most 10 * 8 * 65535 around a sample), and rounding by truncation is
// right for every x above -0.5; anything lower ends at 0 all the same.
template <typename T>
inline T Clip(float x, int32_t maxValue) {
  return static_cast<T>(std::clamp(static_cast<int32_t>(x + 0.5f), 0, maxValue));
}

template <typename T>
inline T ClipI(int64_t x, int64_t maxValue) {
  return static_cast<T>(std::clamp<int64_t>(x, 0, maxValue));
}

#define XE_MINMAX(a, b)            \
  {                                \
    const int32_t lo = std::min(a, b); \
    b = std::max(a, b);            \
    a = lo;                        \
  }

template <typename T>
void FilterRow(Window &w, T *out, int32_t code, float a, const XeUserFilter &u,
               uint32_t maxValue) {
  const uint32_t n = w.width * w.channels;
  const int32_t C = static_cast<int32_t>(w.channels);
  const int32_t top = static_cast<int32_t>(maxValue);
  // The 3 x 3 neighbourhood of output sample i: top, middle and bottom rows
  // of the picture, each at the pixel to the left (0), the pixel (1) and the
  // pixel to the right (2).
  const int32_t *t0 = w.Row(0), *t1 = t0 + C, *t2 = t1 + C;
  const int32_t *m0 = w.dim >= 3 ? w.Row(1) : t0, *m1 = m0 + C, *m2 = m1 + C;
  const int32_t *b0 = w.dim >= 3 ? w.Row(2) : t0, *b1 = b0 + C, *b2 = b1 + C;
  switch (code) {
    case kFilterSharpen: {
#pragma omp simd
      for (uint32_t i = 0; i < n; ++i) {
        const int32_t d = 4 * m1[i] - t1[i] - b1[i] - m0[i] - m2[i];
        out[i] = Clip<T>(static_cast<float>(m1[i]) + a * static_cast<float>(d), top);
      }
      break;
    }
    case kFilterEdgeEnhance: {
#pragma omp simd
      for (uint32_t i = 0; i < n; ++i) {
        const int32_t d = 8 * m1[i] - t0[i] - t1[i] - t2[i] - m0[i] - m2[i] - b0[i] - b1[i] - b2[i];
        out[i] = Clip<T>(static_cast<float>(m1[i]) + a * static_cast<float>(d), top);
      }
      break;
    }
    case kFilterSmooth: {
#pragma omp simd
      for (uint32_t i = 0; i < n; ++i) {
        const int32_t s = t0[i] + 2 * t1[i] + t2[i] + 2 * (m0[i] + 2 * m1[i] + m2[i]) + b0[i] +
                          2 * b1[i] + b2[i];
        out[i] = static_cast<T>((s + 8) >> 4);
      }
      break;
    }
    case kFilterMedian: {
#pragma omp simd
      for (uint32_t i = 0; i < n; ++i) {
        int32_t p0 = t0[i], p1 = t1[i], p2 = t2[i], p3 = m0[i], p4 = m1[i], p5 = m2[i], p6 = b0[i],
                p7 = b1[i], p8 = b2[i];
        // The classic 19-exchange median network of nine values.
        XE_MINMAX(p1, p2) XE_MINMAX(p4, p5) XE_MINMAX(p7, p8)
        XE_MINMAX(p0, p1) XE_MINMAX(p3, p4) XE_MINMAX(p6, p7)
        XE_MINMAX(p1, p2) XE_MINMAX(p4, p5) XE_MINMAX(p7, p8)
        XE_MINMAX(p0, p3) XE_MINMAX(p5, p8) XE_MINMAX(p4, p7)
        XE_MINMAX(p3, p6) XE_MINMAX(p1, p4) XE_MINMAX(p2, p5)
        XE_MINMAX(p4, p7) XE_MINMAX(p4, p2) XE_MINMAX(p6, p4)
        XE_MINMAX(p4, p2)
        out[i] = static_cast<T>(p4);
      }
      break;
    }
    case kFilterUser: {
      const int32_t dim = u.dim, pad = dim / 2;
      const int64_t round = u.shifts > 0 ? int64_t{1} << (u.shifts - 1) : 0;
      std::vector<int64_t> &acc = w.acc;
      acc.assign(n, round);
      for (int32_t k = 0; k < dim; ++k) {
        const int32_t *row = w.Row(static_cast<uint32_t>(k)) + pad * C;
        for (int32_t j = 0; j < dim; ++j) {
          const int64_t c = u.Coef[k][j];
          if (c == 0) continue;
          const int32_t *s = row + (j - pad) * C;
#pragma omp simd
          for (uint32_t i = 0; i < n; ++i) acc[i] += c * s[i];
        }
      }
      for (uint32_t i = 0; i < n; ++i)
        out[i] = ClipI<T>((acc[i] >> u.shifts) + u.bias, maxValue);
      break;
    }
    default: break;
  }
}

#undef XE_MINMAX

template <typename T>
void FilterImage(const ImageView &src, const ImageView &dst, int32_t code, int32_t param,
                 const XeUserFilter &user, uint32_t maxValue) {
  const uint32_t dim = code == kFilterUser ? static_cast<uint32_t>(user.dim) : 3;
  const float a = FilterStrength(param);
  ParallelFor(src.height, 8, [&](uint32_t r0, uint32_t r1) {
    Window w(dim, src);
    for (uint32_t r = r0; r < r1; ++r) {
      w.Load<T>(src, r);
      FilterRow<T>(w, reinterpret_cast<T *>(dst.Row(r)), code, a, user, maxValue);
      const size_t used = sizeof(T) * dst.width * dst.channels;
      std::memset(dst.Row(r) + used, 0, dst.stride - used);  // row padding
    }
  });
}

}  // namespace

bool FilterIsValid(int32_t code, const XeUserFilter &user) {
  if (code < kFilterNone || code > kFilterUser) return false;
  if (code != kFilterUser) return true;
  return (user.dim == 1 || user.dim == 3 || user.dim == 5) && user.shifts >= 0 &&
         user.shifts <= 31;
}

float FilterStrength(int32_t param) {
  if (param <= 0) return 1.0f;
  return static_cast<float>(std::min(param, 1000)) / 100.0f;
}

void ApplyFilter(const ImageView &src, const ImageView &dst, int32_t code, int32_t param,
                 const XeUserFilter &user, uint32_t maxValue) {
  if (src.bits == 8)
    FilterImage<uint8_t>(src, dst, code, param, user, std::min(maxValue, 255u));
  else
    FilterImage<uint16_t>(src, dst, code, param, user, std::min(maxValue, 65535u));
}

}  // namespace xe::intl
