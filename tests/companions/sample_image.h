// A bitmap for the pixel tests, read and written in picture coordinates (x
// from the left, y from the top) whatever the bottom-up row order in memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "companions/int/dib.h"
#include "support/bitmap.h"

namespace companiontest {

struct Image {
  BitmapInfoHeader h{};
  std::vector<uint8_t> px;

  // A buffer of exactly the image's size; the row padding holds `pad`, so
  // that writes into it show.
  Image(int32_t w, int32_t height, uint16_t bits, uint32_t levels = 0, uint8_t pad = 0xCD) {
    h = testsupport::Bitmap(w, height, bits, 0, levels);
    h.biSizeImage = xe::intl::XefPixarSize(&h);
    px.assign(h.biSizeImage, pad);
    Fill([](uint32_t, uint32_t, uint32_t) { return 0u; });
  }
  uint32_t W() const { return static_cast<uint32_t>(h.biWidth); }
  uint32_t H() const { return static_cast<uint32_t>(std::abs(h.biHeight)); }
  uint32_t Channels() const { return h.biBitCount == 24 || h.biBitCount == 48 ? 3 : 1; }
  uint32_t SampleBytes() const { return h.biBitCount == 16 || h.biBitCount == 48 ? 2 : 1; }
  size_t Offset(uint32_t x, uint32_t y, uint32_t c) const {
    return static_cast<size_t>(xe::intl::XefMemWidth(&h)) * (H() - 1 - y) +
           (x * Channels() + c) * SampleBytes();
  }
  uint32_t Get(uint32_t x, uint32_t y, uint32_t c = 0) const {
    if (SampleBytes() == 1) return px[Offset(x, y, c)];
    uint16_t v;
    std::memcpy(&v, &px[Offset(x, y, c)], 2);
    return v;
  }
  void Set(uint32_t x, uint32_t y, uint32_t value, uint32_t c = 0) {
    if (SampleBytes() == 1) {
      px[Offset(x, y, c)] = static_cast<uint8_t>(value);
      return;
    }
    const uint16_t v = static_cast<uint16_t>(value);
    std::memcpy(&px[Offset(x, y, c)], &v, 2);
  }
  template <typename F>
  void Fill(F f) {
    for (uint32_t y = 0; y < H(); ++y)
      for (uint32_t x = 0; x < W(); ++x)
        for (uint32_t c = 0; c < Channels(); ++c) Set(x, y, f(x, y, c), c);
  }
  void FillRandom(uint32_t seed, uint32_t max) {
    std::mt19937 rng(seed);
    Fill([&](uint32_t, uint32_t, uint32_t) { return static_cast<uint32_t>(rng() % (max + 1)); });
  }
  uint8_t *P() { return px.data(); }
};

}  // namespace companiontest
