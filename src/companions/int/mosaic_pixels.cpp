// Bad pixels (repair and marking) and the channel view of a mosaic.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "companions/int/mosaic.h"
#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {

using namespace mosaic_detail;

namespace {

// ---- Bad pixels -------------------------------------------------------------

struct Offset {
  int32_t dx, dy;   // picture coordinates: dy grows downwards in the picture
  uint32_t ring;    // neighbours of a lower ring are taken first
};

// The candidates of the 5 x 5 window, nearest first. Mosaic: one ring per
// distance from the centre. Gray and colour: the 8-neighbours, then the
// outer ring of the window.
std::vector<Offset> Candidates(bool mosaic) {
  std::vector<Offset> out;
  for (int32_t dy = -2; dy <= 2; ++dy)
    for (int32_t dx = -2; dx <= 2; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const uint32_t ring = mosaic ? static_cast<uint32_t>(dx * dx + dy * dy)
                                   : static_cast<uint32_t>(std::max(std::abs(dx), std::abs(dy)));
      out.push_back({dx, dy, ring});
    }
  std::stable_sort(out.begin(), out.end(), [](const Offset &a, const Offset &b) { return a.ring < b.ring; });
  return out;
}

template <typename Sample>
class Repair {
 public:
  Repair(const ImageView &v, uint32_t code, const std::vector<uint32_t> &bad)
      : v_(v), code_(code), bad_(bad), candidates_(Candidates(code != 0)) {}

  void Run() const {
    ParallelFor(static_cast<uint32_t>(bad_.size()), 256, [this](uint32_t begin, uint32_t end) {
      for (uint32_t i = begin; i < end; ++i) Fix(BadPixelX(bad_[i]), BadPixelY(bad_[i]));
    });
  }

 private:
  Sample *At(uint32_t x, uint32_t y) const {
    return reinterpret_cast<Sample *>(v_.Row(v_.height - 1 - y)) + static_cast<size_t>(x) * v_.channels;
  }
  Colour ColourAt(uint32_t x, uint32_t y) const { return CfaColour(code_, x, v_.height - 1 - y, v_.height); }
  // Entries hold 16-bit coordinates: a pixel beyond them cannot be listed.
  bool Listed(uint32_t x, uint32_t y) const {
    return x <= 0xFFFFu && y <= 0xFFFFu &&
           std::binary_search(bad_.begin(), bad_.end(), BadPixelEntry(x, y));
  }

  // Listed pixels are only written, never read; every other pixel is only
  // read. So the pixels can be fixed in any order and on any thread.
  void Fix(uint32_t x, uint32_t y) const {
    const Colour own = ColourAt(x, y);
    const uint32_t channels = v_.channels;
    size_t i = 0;
    while (i < candidates_.size()) {
      const uint32_t ring = candidates_[i].ring;
      uint32_t sum[3] = {0, 0, 0}, n = 0;
      for (; i < candidates_.size() && candidates_[i].ring == ring; ++i) {
        const int64_t nx = int64_t{x} + candidates_[i].dx, ny = int64_t{y} + candidates_[i].dy;
        if (nx < 0 || ny < 0 || nx >= v_.width || ny >= v_.height) continue;
        const uint32_t ux = static_cast<uint32_t>(nx), uy = static_cast<uint32_t>(ny);
        if (code_ != 0 && ColourAt(ux, uy) != own) continue;
        if (Listed(ux, uy)) continue;
        const Sample *s = At(ux, uy);
        for (uint32_t c = 0; c < channels; ++c) sum[c] += s[c];
        ++n;
      }
      if (n == 0) continue;
      Sample *d = At(x, y);
      for (uint32_t c = 0; c < channels; ++c) d[c] = static_cast<Sample>((sum[c] + n / 2) / n);
      return;
    }
  }

  const ImageView &v_;
  uint32_t code_;
  const std::vector<uint32_t> &bad_;
  std::vector<Offset> candidates_;
};

// ---- Channel view -------------------------------------------------------------

// Picture row y is memory row height - 1 - y. `copy` holds the image as it
// was; rows and columns beyond the whole cells are not touched.
template <typename Sample>
void Rearrange(const ImageView &v, const uint8_t *copy, bool separate) {
  const uint32_t halfW = v.width / 2, halfH = v.height / 2;
  // Sizes in locals, so that stores to 8-bit samples cannot alias them.
  ParallelFor(2 * halfH, RowGrain(v), [v, copy, separate, halfW, halfH](uint32_t begin, uint32_t end) {
    const size_t hw = halfW;
    const uint32_t hh = halfH, height = v.height;
    const size_t stride = v.stride;
    for (uint32_t y = begin; y < end; ++y) {
      Sample *d = reinterpret_cast<Sample *>(v.Row(height - 1 - y));
      // Separating: view row y is row y % hh of the plane of the cells' row
      // y / hh. Joining: the inverse.
      const uint32_t from = separate ? 2 * (y % hh) + y / hh : (y & 1u) * hh + y / 2;
      const Sample *s = reinterpret_cast<const Sample *>(copy + stride * (height - 1 - from));
      if (separate) {
        for (size_t i = 0; i < hw; ++i) d[i] = s[2 * i];
        for (size_t i = 0; i < hw; ++i) d[hw + i] = s[2 * i + 1];
      } else {
        for (size_t i = 0; i < hw; ++i) d[2 * i] = s[i];
        for (size_t i = 0; i < hw; ++i) d[2 * i + 1] = s[hw + i];
      }
    }
  });
}

}  // namespace

int32_t XefRepairPix(BitmapInfoHeader *h, uint32_t cfa, uint32_t count, const uint32_t *table,
                     uint8_t *pixels) {
  if (!h || !pixels || (count != 0 && !table)) return XE_ERR_NULL_ARGUMENT;
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptAll, &v);
  if (status != XE_OK || v.width == 0 || count == 0) return status;

  std::vector<uint32_t> bad;
  try {
    bad.reserve(count);
  } catch (const std::bad_alloc &) {
    return XE_ERR_NO_MEMORY;
  }
  for (uint32_t i = 0; i < count; ++i)
    if (BadPixelX(table[i]) < v.width && BadPixelY(table[i]) < v.height) bad.push_back(table[i]);
  std::sort(bad.begin(), bad.end());
  bad.erase(std::unique(bad.begin(), bad.end()), bad.end());

  const uint32_t code = v.channels == 1 ? CfaCode(cfa) : 0;
  if (v.bits == 8)
    Repair<uint8_t>(v, code, bad).Run();
  else
    Repair<uint16_t>(v, code, bad).Run();
  return XE_OK;
}

int32_t XefShowBadPixels(BitmapInfoHeader *h, uint32_t count, const uint32_t *table, uint8_t *pixels) {
  if (!h || !pixels || (count != 0 && !table)) return XE_ERR_NULL_ARGUMENT;
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptAll, &v);
  if (status != XE_OK || v.width == 0) return status;
  const uint32_t top = TopSample(h, v);
  const uint32_t size = v.bits / 8;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t x = BadPixelX(table[i]), y = BadPixelY(table[i]);
    if (x >= v.width || y >= v.height) continue;
    uint8_t *p = v.Row(v.height - 1 - y) + static_cast<size_t>(x) * v.channels * size;
    // One sample, or blue, green, red.
    for (uint32_t c = 0; c < v.channels; ++c) {
      const uint32_t value = c + 1 == v.channels ? top : 0;
      if (size == 1)
        p[c] = static_cast<uint8_t>(value);
      else
        reinterpret_cast<uint16_t *>(p)[c] = static_cast<uint16_t>(value);
    }
  }
  return XE_OK;
}

int32_t XefSeparateChannels(BitmapInfoHeader *h, uint8_t *pixels, uint32_t /*cameraVersion*/,
                            uint32_t mode) {
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptSingle, &v);
  if (status != XE_OK) return status;
  if (mode != kSeparateChannels && mode != kJoinChannels) return XE_ERR_NOT_SUPPORTED;
  if (v.width < 2 || v.height < 2) return XE_OK;

  std::vector<uint8_t> copy;
  try {
    copy.resize(static_cast<size_t>(v.stride) * v.height);
  } catch (const std::bad_alloc &) {
    return XE_ERR_NO_MEMORY;
  }
  ParallelFor(v.height, RowGrain(v), [&](uint32_t begin, uint32_t end) {
    std::memcpy(copy.data() + static_cast<size_t>(v.stride) * begin, v.Row(begin),
                static_cast<size_t>(v.stride) * (end - begin));
  });
  if (v.bits == 8)
    Rearrange<uint8_t>(v, copy.data(), mode == kSeparateChannels);
  else
    Rearrange<uint16_t>(v, copy.data(), mode == kSeparateChannels);
  return XE_OK;
}

}  // namespace xe::intl
