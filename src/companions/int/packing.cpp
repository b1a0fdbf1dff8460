#include "companions/int/packing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "companions/con/status.h"
#include "companions/int/dib.h"

namespace xe::intl {

// The linearisation curve
// -----------------------
//   L(c) = round(gain * (c + a * c^2)),  a = 15360 / 1023^2,  c = 0 .. 1023,
// limited to 0 .. 16383 (a gain that is not positive gives 0 everywhere).
//
// At gain 1.0 the ends are L(0) = 0 and L(1023) = 1023 + 15360 = 16383. The
// step from c to c + 1 is 1 + a * (2c + 1): just above 1 at the dark end and
// about 31 at the top. For large values L is close to a * c^2, so the step is
// about 2 * sqrt(a * L): it grows with the square root of the signal, as the
// photon noise of the sensor does, and the 10 bits are spent where the eye and
// the noise can tell levels apart. Because every step before rounding exceeds
// 1, the rounded curve is strictly increasing: the 1024 codes give 1024
// distinct linear values, and the inverse returns every code exactly.
void XefFillMagazineLUT(uint16_t table[1024], float gain) {
  if (!table) return;
  constexpr double kA = 15360.0 / (1023.0 * 1023.0);
  const double g = gain;
  for (uint32_t c = 0; c < kPackedCodes; ++c) {
    const double x = static_cast<double>(c);
    const double v = g * (x + kA * x * x);
    uint16_t out = 0;
    if (v >= kLinearLevels - 1) {
      out = kLinearLevels - 1;
    } else if (v > 0) {  // also false for NaN
      out = static_cast<uint16_t>(std::lround(v));
    }
    table[c] = out;
  }
}

int32_t XefBuildLinearizationLut(uint32_t code, int16_t sourceBits, int16_t targetBits,
                                 uint16_t *table) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (code != kPackedCompression || sourceBits != static_cast<int16_t>(kPackedBits) ||
      targetBits != 14)
    return status = XE_ERR_LUT_BITS;
  if (!table) return status = XE_ERR_NULL_ARGUMENT;
  XefFillMagazineLUT(table, 1.0f);
  return status;
}

namespace {

struct Tables {
  std::array<uint16_t, kPackedCodes> forward;
  std::array<uint16_t, kLinearLevels> inverse;
};

const Tables &TheTables() {
  static const Tables tables = [] {
    Tables t{};
    XefFillMagazineLUT(t.forward.data(), 1.0f);
    // Nearest code for every value. The curve increases, so the distance to
    // L(c) falls and then rises along c: move up while the next code is
    // strictly nearer, which leaves ties at the lower code.
    uint32_t c = 0;
    for (uint32_t v = 0; v < kLinearLevels; ++v) {
      while (c + 1 < kPackedCodes) {
        const int32_t here = std::abs(static_cast<int32_t>(t.forward[c]) - static_cast<int32_t>(v));
        const int32_t next =
            std::abs(static_cast<int32_t>(t.forward[c + 1]) - static_cast<int32_t>(v));
        if (next >= here) break;
        ++c;
      }
      t.inverse[v] = static_cast<uint16_t>(c);
    }
    return t;
  }();
  return tables;
}

// Samples handled per pass. A multiple of 4, so that a pass covers whole
// five-byte groups; the working buffer lives on the stack.
constexpr size_t kChunk = 2048;

struct Geometry {
  uint64_t width = 0;
  uint64_t samples = 0;   // width x height
  uint64_t stride = 0;    // bytes of an unpacked row
  uint64_t packed = 0;    // bytes of the packed image
  uint64_t unpacked = 0;  // bytes of the unpacked image
};

// Sizes of the image in both forms; false when the unpacked one, the larger,
// does not fit the 32-bit size of a header (no caller holds such a buffer).
bool Measure(const BitmapInfoHeader *h, Geometry *g) {
  const uint64_t w = h->biWidth > 0 ? static_cast<uint64_t>(h->biWidth) : 0;
  const uint64_t rows = static_cast<uint64_t>(std::llabs(static_cast<long long>(h->biHeight)));
  g->width = w;
  g->stride = (w * 16 + 31) / 32 * 4;
  g->unpacked = g->stride * rows;  // below 2^63
  if (g->unpacked > 0xFFFFFFFFull) return false;
  g->samples = w * rows;
  g->packed = (g->samples * kPackedBits + 7) / 8;
  return true;
}

// Calls f(sampleOffset, pixelByteOffset, count) for each piece of one row that
// the samples [first, first + count) of the image cover in the unpacked form.
template <typename F>
void ForEachRowPiece(const Geometry &g, uint64_t first, uint64_t count, F &&f) {
  if (count == 0) return;
  uint64_t row = first / g.width;
  uint64_t x = first % g.width;
  uint64_t done = 0;
  while (done < count) {
    const uint64_t n = std::min(g.width - x, count - done);
    f(done, row * g.stride + x * 2, n);
    done += n;
    ++row;
    x = 0;
  }
}

// Sample i of the stream, for the few samples of a last partial group. Its
// ten bits lie within bytes 10i/8 and 10i/8 + 1, both inside the image.
uint16_t ReadSample(const uint8_t *packed, uint64_t i) {
  const uint64_t bit = i * kPackedBits;
  const uint64_t byte = bit / 8;
  const uint32_t two = (static_cast<uint32_t>(packed[byte]) << 8) | packed[byte + 1];
  return static_cast<uint16_t>((two >> (6 - bit % 8)) & 0x3FF);
}

// A group of four samples is 40 bits: the first 32 read as one big-endian
// word, the last 8 as the fifth byte. These loops work on 5-byte groups, a
// stride that the baseline x86-64 vector unit cannot shuffle, so they stay
// scalar at a handful of operations per four samples.

// Decodes whole groups: 5 * n / 4 bytes to n samples, n a multiple of 4.
void DecodeGroups(const uint8_t *__restrict src, uint16_t *__restrict dst, size_t n) {
  for (size_t g = 0; g < n / 4; ++g) {
    uint32_t hi;
    std::memcpy(&hi, src + 5 * g, 4);
    hi = __builtin_bswap32(hi);
    dst[4 * g + 0] = static_cast<uint16_t>(hi >> 22);
    dst[4 * g + 1] = static_cast<uint16_t>((hi >> 12) & 0x3FF);
    dst[4 * g + 2] = static_cast<uint16_t>((hi >> 2) & 0x3FF);
    dst[4 * g + 3] = static_cast<uint16_t>(((hi & 0x3) << 8) | src[5 * g + 4]);
  }
}

// Encodes whole groups: n codes (each below 1024, n a multiple of 4) to
// 5 * n / 4 bytes.
void EncodeGroups(const uint16_t *__restrict src, uint8_t *__restrict dst, size_t n) {
  for (size_t g = 0; g < n / 4; ++g) {
    const uint32_t s0 = src[4 * g], s1 = src[4 * g + 1], s2 = src[4 * g + 2], s3 = src[4 * g + 3];
    const uint32_t hi = __builtin_bswap32((s0 << 22) | (s1 << 12) | (s2 << 2) | (s3 >> 8));
    std::memcpy(dst + 5 * g, &hi, 4);
    dst[5 * g + 4] = static_cast<uint8_t>(s3);
  }
}

// Table look-ups are gathers, scalar on the baseline target.
void Linearize(uint16_t *__restrict s, size_t n, const uint16_t *__restrict lut) {
  for (size_t i = 0; i < n; ++i) s[i] = lut[s[i]];
}

// Samples to 10-bit codes: through the inverse curve for linear samples,
// else limited to 1023. The plain limit runs in blocks of 16 so that the
// compiler vectorises it at -O2 as well.
void ToCodes(uint16_t *__restrict s, size_t n, bool linear) {
  if (linear) {
    const uint16_t *inv = InverseLinearizationTable();
    for (size_t i = 0; i < n; ++i) s[i] = inv[std::min<uint16_t>(s[i], kLinearLevels - 1)];
    return;
  }
  size_t i = 0;
  for (; i + 16 <= n; i += 16)
    for (size_t j = 0; j < 16; ++j) s[i + j] = std::min<uint16_t>(s[i + j], kPackedCodes - 1);
  for (; i < n; ++i) s[i] = std::min<uint16_t>(s[i], kPackedCodes - 1);
}

// Copies samples between the working buffer and the padded rows of the
// unpacked image. memcpy, because the caller's buffer need not be aligned.
// Storing the end of a row also clears its padding, so that the unpacked
// image does not depend on what the buffer held before; the padding lies
// behind the row's last sample and so behind every byte still to be read.
void StoreRows(const Geometry &g, uint8_t *pixels, uint64_t first, const uint16_t *s, uint64_t n) {
  const uint64_t rowBytes = g.width * 2;
  ForEachRowPiece(g, first, n, [&](uint64_t k, uint64_t at, uint64_t count) {
    std::memcpy(pixels + at, s + k, count * 2);
    const uint64_t end = at + count * 2;
    if (end % g.stride == rowBytes) std::memset(pixels + end, 0, g.stride - rowBytes);
  });
}

void LoadRows(const Geometry &g, const uint8_t *pixels, uint64_t first, uint16_t *s, uint64_t n) {
  ForEachRowPiece(g, first, n, [&](uint64_t k, uint64_t at, uint64_t count) {
    std::memcpy(s + k, pixels + at, count * 2);
  });
}

}  // namespace

const uint16_t *LinearizationTable() { return TheTables().forward.data(); }
const uint16_t *InverseLinearizationTable() { return TheTables().inverse.data(); }

// Unpacking works from the last sample to the first. Sample i is read from
// bytes below 10i/8 + 2 and written at byte 2i or later (more with row
// padding), so the samples above i, already written, lie at 2i + 2 or later
// and never reach a byte that is still to be read.
int32_t XefUnpackImage(BitmapInfoHeader *h, uint8_t *pixels, const PackInfo *info, uint32_t mode) {
  (void)info;
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!h || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  Geometry g;
  if (!XefIsPacked(h) || (mode != kUnpackPlain && mode != kUnpackLinear) || !Measure(h, &g))
    return status = XE_ERR_NOT_SUPPORTED;

  const bool linear = mode == kUnpackLinear;
  const uint16_t *lut = linear ? LinearizationTable() : nullptr;
  uint16_t work[kChunk];

  const uint64_t whole = g.samples / 4 * 4;
  const uint64_t tail = g.samples - whole;
  for (uint64_t k = 0; k < tail; ++k) work[k] = ReadSample(pixels, whole + k);
  if (linear) Linearize(work, tail, lut);
  StoreRows(g, pixels, whole, work, tail);

  uint64_t end = whole;
  while (end > 0) {
    const uint64_t start = end > kChunk ? end - kChunk : 0;
    const size_t n = static_cast<size_t>(end - start);
    DecodeGroups(pixels + start / 4 * 5, work, n);
    if (linear) Linearize(work, n, lut);
    StoreRows(g, pixels, start, work, n);
    end = start;
  }

  h->biCompression = 0;
  h->biBitCount = 16;
  h->biClrImportant = linear ? kLinearLevels : kPackedCodes;
  h->biSizeImage = static_cast<uint32_t>(g.unpacked);
  return status;
}

// Repacking works from the first sample to the last: the codes of samples
// [start, end) land below byte 10 * end / 8 + 1, and the samples still to be
// read lie at byte 2 * end or later.
int32_t XefRepackImage(BitmapInfoHeader *h, uint8_t *pixels, const PackInfo *info,
                       uint32_t bitDepth) {
  (void)info;
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!h || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  Geometry g;
  const bool linear = h->biClrImportant == kLinearLevels;
  if (bitDepth != kPackedBits || XefIsPacked(h) || h->biBitCount != 16 ||
      (!linear && h->biClrImportant != kPackedCodes) || !Measure(h, &g))
    return status = XE_ERR_NOT_SUPPORTED;

  uint16_t work[kChunk];
  const uint64_t whole = g.samples / 4 * 4;
  for (uint64_t start = 0; start < whole; start += kChunk) {
    const size_t n = static_cast<size_t>(std::min<uint64_t>(kChunk, whole - start));
    LoadRows(g, pixels, start, work, n);
    ToCodes(work, n, linear);
    EncodeGroups(work, pixels + start / 4 * 5, n);
  }

  // A last partial group: its samples are read before any of its bytes are
  // written, and the bits behind the last sample are cleared.
  const uint64_t tail = g.samples - whole;
  if (tail > 0) {
    LoadRows(g, pixels, whole, work, tail);
    ToCodes(work, static_cast<size_t>(tail), linear);
    uint8_t *out = pixels + whole / 4 * 5;
    const uint64_t bytes = g.packed - whole / 4 * 5;
    std::memset(out, 0, static_cast<size_t>(bytes));
    for (uint64_t k = 0; k < tail; ++k) {
      const uint64_t bit = k * kPackedBits;
      const uint32_t two = static_cast<uint32_t>(work[k]) << (6 - bit % 8);
      out[bit / 8] = static_cast<uint8_t>(out[bit / 8] | (two >> 8));
      out[bit / 8 + 1] = static_cast<uint8_t>(out[bit / 8 + 1] | (two & 0xFF));
    }
  }

  h->biCompression = kPackedCompression;
  h->biBitCount = 16;
  h->biClrImportant = kPackedCodes;
  h->biSizeImage = static_cast<uint32_t>(g.packed);
  return status;
}

}  // namespace xe::intl
