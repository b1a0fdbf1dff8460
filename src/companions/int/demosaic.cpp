#include "companions/int/demosaic.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "companions/int/demosaic_common.h"
#include "companions/int/dib.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace dm {
namespace {

// Index i of [-pad, n + pad) mirrored into [0, n) about the first and last
// sample (n >= 2); the mirror keeps the parity of i.
int32_t Mirror(int32_t i, int32_t n) {
  int32_t p = 2 * (n - 1);
  i %= p;
  if (i < 0) i += p;
  return i < n ? i : p - i;
}

template <typename T>
void CopyRow(const T *src, uint32_t w, uint16_t *dst) {
  for (uint32_t x = 0; x < w; ++x) dst[x] = src[x];
}

void CopyMosaicRow(const ImageView &v, uint32_t r, uint16_t *dst) {
  if (v.bits == 8)
    CopyRow(v.Row(r), v.width, dst);
  else
    CopyRow(v.Row16(r), v.width, dst);
}

// Grey: every sample to the three channels.
template <typename T>
void GreyRows(const std::vector<uint16_t> &m, uint32_t w, uint32_t begin, uint32_t end, const ImageView &out) {
  for (uint32_t r = begin; r < end; ++r) {
    const uint16_t *s = m.data() + static_cast<size_t>(r) * w;
    T *o = reinterpret_cast<T *>(out.Row(r));
    for (uint32_t x = 0; x < w; ++x) {
      T v = static_cast<T>(s[x]);
      o[3 * x] = v;
      o[3 * x + 1] = v;
      o[3 * x + 2] = v;
    }
  }
}

template <typename T>
void StoreRows(const Bayer &b, const Plane &R, const Plane &G, const Plane &B, const ImageView &out) {
  ParallelFor(b.h, kGrain, [&](uint32_t begin, uint32_t end) {
    for (uint32_t r = begin; r < end; ++r) {
      const float *pr = R.Row(r + kPad) + kPad, *pg = G.Row(r + kPad) + kPad, *pb = B.Row(r + kPad) + kPad;
      T *o = reinterpret_cast<T *>(out.Row(r));
      for (uint32_t x = 0; x < b.w; ++x) {
        o[3 * x] = Clamp<T>(pb[x], b.top);
        o[3 * x + 1] = Clamp<T>(pg[x], b.top);
        o[3 * x + 2] = Clamp<T>(pr[x], b.top);
      }
    }
  });
}

// The cache of plane buffers: at most kCached of them, at most kCacheBytes
// in all (enough for the planes of "Best" on a 2048 x 2048 image).
constexpr size_t kCached = 8;
constexpr size_t kCacheBytes = size_t{160} << 20;
std::mutex g_cacheMutex;
std::vector<Buffer> g_cache;

}  // namespace

Buffer TakeBuffer(size_t bytes) {
  {
    std::lock_guard<std::mutex> lock(g_cacheMutex);
    // The smallest cached buffer that is big enough.
    size_t best = g_cache.size();
    for (size_t i = 0; i < g_cache.size(); ++i)
      if (g_cache[i].bytes >= bytes && (best == g_cache.size() || g_cache[i].bytes < g_cache[best].bytes)) best = i;
    if (best < g_cache.size()) {
      Buffer b = std::move(g_cache[best]);
      g_cache.erase(g_cache.begin() + static_cast<ptrdiff_t>(best));
      return b;
    }
  }
  return Buffer{std::unique_ptr<std::byte[]>(new std::byte[bytes]), bytes};
}

void GiveBack(Buffer &&b) {
  if (!b.data) return;
  std::lock_guard<std::mutex> lock(g_cacheMutex);
  g_cache.push_back(std::move(b));
  // Over the limits: drop the smallest buffers first.
  auto bytes = [] {
    size_t n = 0;
    for (const Buffer &c : g_cache) n += c.bytes;
    return n;
  };
  while (!g_cache.empty() && (g_cache.size() > kCached || bytes() > kCacheBytes)) {
    auto smallest = std::min_element(g_cache.begin(), g_cache.end(),
                                     [](const Buffer &x, const Buffer &y) { return x.bytes < y.bytes; });
    g_cache.erase(smallest);
  }
}

void MakeBayer(const ImageView &mosaic, uint32_t code, uint32_t white, Bayer *b) {
  b->w = mosaic.width;
  b->h = mosaic.height;
  b->pw = b->w + 2 * kPad;
  b->ph = b->h + 2 * kPad;
  b->maxv = static_cast<float>(MaxSample(mosaic));
  b->top = static_cast<float>(white);
  b->buf = TakeBuffer(static_cast<size_t>(b->pw) * b->ph * sizeof(uint16_t));
  b->m = reinterpret_cast<uint16_t *>(b->buf.data.get());
  for (uint32_t y = 0; y < 2; ++y)
    for (uint32_t x = 0; x < 2; ++x)
      if (CfaColour(code, x, y, b->h) == kRed) {
        b->rx = x;  // kPad is even: the same parity in padded coordinates
        b->ry = y;
      }
  // Image rows into place, then the mirrored columns, then the mirrored rows.
  ParallelFor(b->h, 64, [&](uint32_t begin, uint32_t end) {
    for (uint32_t r = begin; r < end; ++r) {
      uint16_t *row = b->m + static_cast<size_t>(r + kPad) * b->pw;
      CopyMosaicRow(mosaic, r, row + kPad);
      for (uint32_t i = 0; i < kPad; ++i) {
        row[i] = row[kPad + Mirror(static_cast<int32_t>(i) - static_cast<int32_t>(kPad), b->w)];
        row[kPad + b->w + i] = row[kPad + Mirror(static_cast<int32_t>(b->w + i), b->w)];
      }
    }
  });
  for (uint32_t i = 0; i < kPad; ++i) {
    uint32_t top = kPad + Mirror(static_cast<int32_t>(i) - static_cast<int32_t>(kPad), b->h);
    uint32_t bottom = kPad + Mirror(static_cast<int32_t>(b->h + i), b->h);
    std::memcpy(&b->m[static_cast<size_t>(i) * b->pw], &b->m[static_cast<size_t>(top) * b->pw], b->pw * 2);
    std::memcpy(&b->m[static_cast<size_t>(kPad + b->h + i) * b->pw], &b->m[static_cast<size_t>(bottom) * b->pw],
                b->pw * 2);
  }
}

void MakeRaw(const ImageView &mosaic, uint32_t code, uint32_t top, Raw *raw) {
  raw->top = static_cast<float>(top);
  raw->w = mosaic.width;
  raw->h = mosaic.height;
  raw->m.resize(static_cast<size_t>(raw->w) * raw->h);
  for (uint32_t y = 0; y < 2; ++y)
    for (uint32_t x = 0; x < 4; ++x) raw->col[y][x] = CfaColour(code, x, y, raw->h);
  ParallelFor(raw->h, 64, [&](uint32_t begin, uint32_t end) {
    for (uint32_t r = begin; r < end; ++r) CopyMosaicRow(mosaic, r, raw->m.data() + static_cast<size_t>(r) * raw->w);
  });
}

void StorePlanes(const Bayer &b, const Plane &R, const Plane &G, const Plane &B, const ImageView &out) {
  if (out.bits == 8)
    StoreRows<uint8_t>(b, R, G, B, out);
  else
    StoreRows<uint16_t>(b, R, G, B, out);
}

}  // namespace dm

uint32_t XefAlgo(uint32_t algoWord, uint32_t /*cameraVersion*/) {
  uint32_t id = algoWord & 0xFFu;
  return id >= kDemosaicFastest && id <= kDemosaicNone ? id : kDemosaicBest;
}

int32_t XeInterpolateColor(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, uint32_t algo) {
  if (!h || !pixels) return XE_ERR_NULL_ARGUMENT;
  uint32_t id = algo & 0xFFu;
  if (id == kDemosaicNone) return XE_OK;
  if (id < kDemosaicFastest || id > kDemosaicNone) id = kDemosaicFast;
  if (h->biCompression != 0 || (h->biBitCount != 8 && h->biBitCount != 16)) return XE_ERR_NOT_SUPPORTED;
  ImageView mosaic;
  if (!MakeView(h, pixels, &mosaic)) return XE_ERR_NOT_SUPPORTED;
  BitmapInfoHeader colour = *h;
  colour.biBitCount = static_cast<uint16_t>(h->biBitCount * 3);
  uint32_t size = XefPixarSize(&colour);
  ImageView out;
  if (size == 0xFFFFFFFFu || !MakeView(&colour, pixels, &out)) return XE_ERR_NOT_SUPPORTED;

  // Sharpening interpolations overshoot at edges: results are limited to the
  // white of the header (4095 for 12-bit samples), not only to the container.
  const uint32_t top = mosaic.bits == 8 ? 255u : std::min(XefMaxPixDIB(h), 65535u);
  uint32_t code = CfaCode(cfa);
  if (code == 0) {
    std::vector<uint16_t> m(static_cast<size_t>(mosaic.width) * mosaic.height);
    for (uint32_t r = 0; r < mosaic.height; ++r) dm::CopyMosaicRow(mosaic, r, m.data() + static_cast<size_t>(r) * mosaic.width);
    ParallelFor(out.height, 64, [&](uint32_t begin, uint32_t end) {
      if (out.bits == 8)
        dm::GreyRows<uint8_t>(m, out.width, begin, end, out);
      else
        dm::GreyRows<uint16_t>(m, out.width, begin, end, out);
    });
  } else if (id == kDemosaicFastest && code <= 2 && mosaic.width >= 2 && mosaic.height >= 2) {
    dm::Raw raw;
    dm::MakeRaw(mosaic, code, top, &raw);
    dm::DemosaicWindow(raw, out);
  } else if (code <= 2 || mosaic.width < 2 || mosaic.height < 2) {
    dm::Raw raw;
    dm::MakeRaw(mosaic, code, top, &raw);
    dm::DemosaicNormalised(raw, id != kDemosaicFast && id != kDemosaicFastest, out);
  } else {
    dm::Bayer b;
    dm::MakeBayer(mosaic, code, top, &b);
    switch (id) {
      case kDemosaicFastest: dm::DemosaicWindow(b, out); break;
      case kDemosaicMedium: dm::DemosaicMedium(b, out); break;
      case kDemosaicGood: dm::DemosaicGood(b, out); break;
      case kDemosaicBest: dm::DemosaicBest(b, out); break;
      default: dm::DemosaicFast(b, out); break;
    }
  }
  h->biBitCount = colour.biBitCount;
  h->biSizeImage = size;
  return XE_OK;
}

}  // namespace xe::intl
