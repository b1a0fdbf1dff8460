// Shared pieces of the demosaic algorithms: the working copies of a mosaic
// and the writer of the colour rows.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "companions/int/image_view.h"
#include "companions/int/parallel.h"

namespace xe::intl::dm {

// Rows per task of ParallelFor.
constexpr uint32_t kGrain = 16;

// Working memory of the planes. Buffers go back to a small cache when a
// plane is done with them, so that a sequence of images does not fault fresh
// pages in (and have them cleared) for every image. Contents are undefined.
struct Buffer {
  std::unique_ptr<std::byte[]> data;
  size_t bytes = 0;
};
Buffer TakeBuffer(size_t bytes);
void GiveBack(Buffer &&b);

// A 2 x 2 mosaic copied out of the caller's buffer, mirrored about its first
// and last rows and columns by kPad samples (the mirror keeps the phase of
// the pattern). Padded sample (px, py) is image pixel (px - kPad, py - kPad).
constexpr uint32_t kPad = 12;  // even, so the phase of padded and image coordinates agree

struct Bayer {
  Buffer buf;
  uint16_t *m = nullptr;
  uint32_t w = 0, h = 0;    // image
  uint32_t pw = 0, ph = 0;  // padded
  uint32_t rx = 0, ry = 0;  // the parity of x and of y of the red sites
  float maxv = 255.f;       // the largest sample of the container (255 or 65535)
  float top = 255.f;        // the white of the header: results are limited to it

  Bayer() = default;
  Bayer(const Bayer &) = delete;
  Bayer &operator=(const Bayer &) = delete;
  ~Bayer() { GiveBack(std::move(buf)); }
  const uint16_t *Row(uint32_t py) const { return m + static_cast<size_t>(py) * pw; }
  // The pixels of image row r, index 0 at the first image column (indices
  // down to -kPad are valid).
  const uint16_t *ImageRow(uint32_t r) const { return Row(r + kPad) + kPad; }
  bool RedRow(uint32_t py) const { return (py & 1u) == ry; }
  // Parity of x of the red (in a red row) or blue (in a blue row) sites.
  uint32_t SiteParity(uint32_t py) const { return RedRow(py) ? rx : rx ^ 1u; }
  bool IsGreen(uint32_t px, uint32_t py) const { return (px & 1u) != SiteParity(py); }
};

// The copy for CFA code 3 or 4 of an image of at least 2 x 2; `white` is the
// largest value a result may take.
void MakeBayer(const ImageView &mosaic, uint32_t code, uint32_t white, Bayer *b);

// A float plane of the padded size; every algorithm writes what it reads.
struct Plane {
  Buffer buf;
  float *v = nullptr;
  uint32_t pw = 0;
  explicit Plane(const Bayer &b)
      : buf(TakeBuffer(static_cast<size_t>(b.pw) * b.ph * sizeof(float))),
        v(reinterpret_cast<float *>(buf.data.get())), pw(b.pw) {}
  ~Plane() { GiveBack(std::move(buf)); }
  Plane(const Plane &) = delete;
  Plane &operator=(const Plane &) = delete;
  float *Row(uint32_t py) { return v + static_cast<size_t>(py) * pw; }
  const float *Row(uint32_t py) const { return v + static_cast<size_t>(py) * pw; }
};

// Runs body(py) for the padded rows [margin, ph - margin), in parallel.
template <typename F>
void ForRows(const Bayer &b, uint32_t margin, F &&body) {
  uint32_t first = margin, last = b.ph - margin;
  ParallelFor(last - first, kGrain, [&](uint32_t begin, uint32_t end) {
    for (uint32_t i = begin; i < end; ++i) body(first + i);
  });
}

template <typename T>
inline T Clamp(float v, float maxv) {
  v = v < 0.f ? 0.f : (v > maxv ? maxv : v);
  return static_cast<T>(v + 0.5f);
}

// Writes red, green and blue planes (padded) into the colour view.
void StorePlanes(const Bayer &b, const Plane &R, const Plane &G, const Plane &B, const ImageView &out);

// The algorithms on a 2 x 2 mosaic; `out` is the colour view over the
// caller's buffer (the mosaic is no longer needed there).
void DemosaicWindow(const Bayer &b, const ImageView &out);
void DemosaicFast(const Bayer &b, const ImageView &out);
void DemosaicMedium(const Bayer &b, const ImageView &out);
void DemosaicGood(const Bayer &b, const ImageView &out);
void DemosaicBest(const Bayer &b, const ImageView &out);

// A mosaic of any pattern, copied without a border, with the colour of each
// pixel from a table of 2 rows by 4 columns.
struct Raw {
  std::vector<uint16_t> m;
  uint32_t w = 0, h = 0;
  Colour col[2][4] = {};
  float top = 255.f;  // the white of the header: results are limited to it
  const uint16_t *Row(uint32_t r) const { return m.data() + static_cast<size_t>(r) * w; }
  Colour At(uint32_t x, uint32_t r) const { return col[r & 1u][x & 3u]; }
};

void MakeRaw(const ImageView &mosaic, uint32_t code, uint32_t top, Raw *raw);

// The 2 x 2 window reconstruction (any code, width and height at least 2).
void DemosaicWindow(const Raw &raw, const ImageView &out);
// The normalised 3 x 3 interpolation of any pattern and size; with
// `differences` it interpolates red and blue as differences to green.
void DemosaicNormalised(const Raw &raw, bool differences, const ImageView &out);

}  // namespace xe::intl::dm
