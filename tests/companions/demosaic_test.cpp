// Demosaic: quality against known colour images, exactness on flat fields,
// the bottom-up phase of the patterns, tiny sizes and bad input.
#include "companions/int/demosaic.h"

#include <gtest/gtest.h>

#include "companions/sample_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "xefile/xefile.h"

namespace {

using namespace xe::intl;

const uint32_t kIds[] = {kDemosaicFastest, kDemosaicFast, kDemosaicMedium, kDemosaicGood, kDemosaicBest};

// The patterns written out again here (picture coordinates, top row first;
// 0 red, 1 green, 2 blue), so that a fault in the library's table or phase
// shows.
int PictureColour(uint32_t code, uint32_t x, uint32_t y) {
  static const int p1[2][4] = {{1, 2, 0, 1}, {0, 1, 1, 2}};
  static const int p2[2][4] = {{2, 1, 1, 0}, {1, 0, 2, 1}};
  static const int p3[2][2] = {{1, 2}, {0, 1}};
  static const int p4[2][2] = {{0, 1}, {1, 2}};
  switch (code) {
    case 1: return p1[y & 1][x & 3];
    case 2: return p2[y & 1][x & 3];
    case 3: return p3[y & 1][x & 1];
    default: return p4[y & 1][x & 1];
  }
}

// A colour picture, top row first, samples 0 to 1 in red, green, blue.
struct Picture {
  uint32_t w, h;
  std::vector<float> rgb;
  float *At(uint32_t x, uint32_t y) { return &rgb[3 * (static_cast<size_t>(y) * w + x)]; }
};

template <typename F>
Picture Make(uint32_t w, uint32_t h, F f) {
  Picture p{w, h, std::vector<float>(3 * static_cast<size_t>(w) * h)};
  for (uint32_t y = 0; y < h; ++y)
    for (uint32_t x = 0; x < w; ++x) f(static_cast<float>(x), static_cast<float>(y), p.At(x, y));
  return p;
}

// Discs, a diagonal bar and a block with sharp edges on a ramp; the colours
// are tints, as in most scenes, so that edges are mostly edges of brightness.
Picture Edges(uint32_t w, uint32_t h) {
  return Make(w, h, [](float x, float y, float *c) {
    float l = 0.2f + 0.003f * x, t[3] = {1.1f, 1.f, 0.9f};
    if ((x - 20) * (x - 20) + (y - 22) * (y - 22) < 150) l = 0.8f, t[0] = 1.15f, t[2] = 0.8f;
    if ((x - 50) * (x - 50) + (y - 40) * (y - 40) < 200) l = 0.6f, t[0] = 0.85f, t[2] = 1.2f;
    if (x + y > 70 && x + y < 74) l = 0.9f;
    if (y > 50 && x > 10 && x < 40) l = 0.1f;
    for (int k = 0; k < 3; ++k) c[k] = std::min(1.f, l * t[k]);
  });
}

// Fine luminance texture under a slowly changing tint.
Picture Texture(uint32_t w, uint32_t h) {
  return Make(w, h, [](float x, float y, float *c) {
    float l = 0.5f + 0.3f * std::sin(0.7f * x + 0.4f * y) * std::cos(0.3f * y);
    c[0] = l + 0.1f * std::sin(0.05f * x);
    c[1] = l;
    c[2] = l - 0.1f * std::cos(0.04f * y);
  });
}

using companiontest::Image;

// The mosaic of a picture in a buffer big enough for the colour result. With
// `wrongPhase` each row is sampled through the pattern row of its neighbour:
// what a library that counted pattern rows from the wrong end would take for
// this picture. `white` is the sample of 1.0 when not the top of the depth.
Image Mosaic(Picture &p, uint32_t code, uint32_t bits, bool wrongPhase = false, float white = 0) {
  Image im(static_cast<int32_t>(p.w), static_cast<int32_t>(p.h), static_cast<uint16_t>(bits));
  const float maxv = white > 0 ? white : bits == 8 ? 255.f : 65535.f;
  im.Fill([&](uint32_t x, uint32_t y, uint32_t) {
    const int colour = PictureColour(code, x, y + (wrongPhase ? 1 : 0));
    return static_cast<uint32_t>(std::lround(p.At(x, y)[colour] * maxv));
  });
  im.px.resize((3 * bits * p.w + 31) / 32 * 4 * p.h);  // rows of whole words
  return im;
}

// Colour PSNR of a demosaicked image against the picture, leaving out a
// border of 2 pixels.
double Psnr(const Image &im, Picture &p) {
  double maxv = im.h.biBitCount == 24 ? 255.0 : 65535.0, se = 0;
  size_t n = 0;
  for (uint32_t y = 2; y + 2 < p.h; ++y)
    for (uint32_t x = 2; x + 2 < p.w; ++x)
      for (uint32_t ch = 0; ch < 3; ++ch) {
        double d = im.Get(x, y, 2 - ch) / maxv - p.At(x, y)[ch];
        se += d * d;
        ++n;
      }
  return 10.0 * std::log10(1.0 / (se / n));
}

double Demosaicked(Picture &p, uint32_t code, uint32_t id) {
  Image im = Mosaic(p, code, 8);
  EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), code, id + 0x100), 0);
  EXPECT_EQ(std::tuple(+im.h.biBitCount, im.h.biSizeImage), std::tuple(24, (3 * p.w + 3) / 4 * 4 * p.h));
  return Psnr(im, p);
}

TEST(Demosaic, QualityOfEveryIdOnEveryPattern) {
  Picture edges = Edges(72, 61), texture = Texture(64, 50);
  // Lowest PSNR in dB by id position in kIds, for the 2 x 2 codes and for
  // the 2 x 4 codes (which run a simpler interpolation beyond "Fast").
  const double edges2x2[] = {19, 22, 25, 26, 28}, texture2x2[] = {21, 28, 34, 36, 45};
  const double edges2x4[] = {19, 22, 24, 24, 24}, texture2x4[] = {21, 28, 31, 31, 31};
  for (uint32_t code = 1; code <= 4; ++code)
    for (size_t i = 0; i < std::size(kIds); ++i) {
      SCOPED_TRACE(testing::Message() << "code " << code << " id " << kIds[i]);
      bool bayer = code >= 3;
      EXPECT_GT(Demosaicked(edges, code, kIds[i]), bayer ? edges2x2[i] : edges2x4[i]);
      EXPECT_GT(Demosaicked(texture, code, kIds[i]), bayer ? texture2x2[i] : texture2x4[i]);
    }
}

TEST(Demosaic, BottomUpPhaseOfThePattern) {
  // Memory row 0 is the bottom picture row: with an odd height it lies on
  // pattern row 0, with an even one on pattern row 1. Only the mosaic of
  // the right phase comes back close to the picture, at either height.
  for (uint32_t h : {51u, 50u}) {
    Picture texture = Texture(60, h);
    for (uint32_t code : {1u, 3u, 4u}) {
      Image right = Mosaic(texture, code, 8), wrong = Mosaic(texture, code, 8, true);
      ASSERT_EQ(XeInterpolateColor(&right.h, right.px.data(), code, kDemosaicGood), 0);
      ASSERT_EQ(XeInterpolateColor(&wrong.h, wrong.px.data(), code, kDemosaicGood), 0);
      const double good = Psnr(right, texture);
      EXPECT_GT(good, 28) << "code " << code << " height " << h;
      EXPECT_GT(good, Psnr(wrong, texture) + 6) << "code " << code << " height " << h;
    }
  }
}

TEST(Demosaic, FlatGreyIsExactAtEverySizeAndDepth) {
  const uint32_t sizes[][2] = {{1, 1}, {2, 2}, {3, 5}, {7, 1}, {1, 7}, {2, 3}, {5, 2}, {17, 13}};
  for (auto [w, h] : sizes)
    for (uint32_t bits : {8u, 16u})
      for (uint32_t code = 0; code <= 5; ++code)
        for (uint32_t id : {1u, 2u, 3u, 4u, 5u, 0u, 77u}) {
          Picture flat = Make(w, h, [](float, float, float *c) { c[0] = c[1] = c[2] = 0.4f; });
          Image im = Mosaic(flat, code, bits);
          ASSERT_EQ(XeInterpolateColor(&im.h, im.px.data(), code, id), 0);
          const uint32_t v = im.Get(0, 0);
          for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x)
              for (uint32_t ch = 0; ch < 3; ++ch)
                ASSERT_EQ(im.Get(x, y, ch), v) << w << "x" << h << " bits " << bits << " code " << code
                                                   << " id " << id;
        }
}

// Sharpening interpolations overshoot at a hard edge; a 12-bit sample above
// 4095 would be scaled by later writers into a wrong (or wrapped) value.
TEST(Demosaic, SharpEdgesStayWithinTheWhiteOfTheHeader) {
  // White on the left, near black on the right.
  Picture edge = Make(32, 16, [](float x, float, float *c) { c[0] = c[1] = c[2] = x < 16 ? 1 : 0.025f; });
  for (auto [bits, levels, white] : {std::tuple(16u, 4096u, 4095u), std::tuple(8u, 0u, 255u)})
    for (uint32_t code : {1u, 3u, 4u})
      for (uint32_t id : kIds) {
        Image im = Mosaic(edge, code, bits, false, static_cast<float>(white));
        im.h.biClrImportant = levels;
        ASSERT_EQ(XeInterpolateColor(&im.h, im.px.data(), code, id), 0);
        uint32_t top = 0;
        for (uint32_t y = 0; y < 16; ++y)
          for (uint32_t x = 0; x < 32; ++x)
            for (uint32_t ch = 0; ch < 3; ++ch) top = std::max(top, im.Get(x, y, ch));
        EXPECT_EQ(top, white) << "bits " << bits << " code " << code << " id " << id;
      }
}

TEST(Demosaic, NoneAndBadInputLeaveTheImageAloneAndGreyCopiesEachSample) {
  Picture p = Texture(10, 6);
  Image im = Mosaic(p, 4, 16);
  const Image before = im;
  auto unchanged = [&] {
    EXPECT_EQ(std::memcmp(&im.h, &before.h, sizeof im.h), 0);
    EXPECT_EQ(im.px, before.px);
  };
  EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), 4, kDemosaicNone), 0);
  EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), 4, kDemosaicNone + 0x100), 0);
  unchanged();
  EXPECT_EQ(XeInterpolateColor(nullptr, im.px.data(), 4, 2), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeInterpolateColor(&im.h, nullptr, 4, 2), XE_ERR_NULL_ARGUMENT);
  for (uint16_t bits : {1, 4, 10, 12, 24, 32, 48}) {
    im.h.biBitCount = bits;
    EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), 4, 2), XE_ERR_NOT_SUPPORTED) << bits;
    im.h.biBitCount = before.h.biBitCount;
  }
  im.h.biCompression = XE_BI_PACKED;
  EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), 4, 2), XE_ERR_NOT_SUPPORTED);
  im.h.biCompression = 0;
  im.h.biWidth = 0;
  EXPECT_EQ(XeInterpolateColor(&im.h, im.px.data(), 4, 2), XE_ERR_NOT_SUPPORTED);
  im.h.biWidth = before.h.biWidth;
  unchanged();
  ASSERT_EQ(XeInterpolateColor(&im.h, im.px.data(), 0, kDemosaicBest), 0);
  for (uint32_t y = 0; y < 6; ++y)
    for (uint32_t x = 0; x < 10; ++x)
      for (uint32_t ch = 0; ch < 3; ++ch) EXPECT_EQ(im.Get(x, y, ch), before.Get(x, y)) << x << "," << y;
}

// The stored word holds the id in its low byte; 0 and unknown ids are "Good".
// Listed by speed: "Medium" came last and has id 5, in the third place.
TEST(Demosaic, StoredWordsAndTheListOfIds) {
  const uint32_t cases[][3] = {{3, 0, 3}, {0x105, 7, 5}, {0, 0, 4}, {7, 0, 4}};
  for (auto [word, cfa, id] : cases) EXPECT_EQ(XefAlgo(word, cfa), id) << word;
  uint8_t ids[6], pos[7];
  char names[6][20];
  ASSERT_EQ(XefInitIntAlgoIDs(ids, pos, names), 0);
  EXPECT_EQ(std::tuple(+ids[2], +pos[5], +pos[0], std::string(names[2])), std::tuple(5, 2, 0xFF, "Medium"));
}

}  // namespace
