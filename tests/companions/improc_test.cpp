// The image adjustments: neutral identity, flips and quarter turns, tone and
// colour worked by hand, filters, the Setup conversions and bad input.
#include "companions/int/improc.h"

#include <gtest/gtest.h>

#include "companions/sample_image.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <vector>

#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "xefile/xefile_selectors.h"
#include "xefile/xefile_status.h"

namespace {

using namespace xe::intl;

// Room for the image and its quarter turn, exactly as large as the larger of
// the two so that the sanitizer sees any access beyond; padding 0, as the
// adjustments leave it.
struct Image : companiontest::Image {
  Image(int32_t w, int32_t ht, uint16_t bits, uint32_t levels = 0)
      : companiontest::Image(w, ht, bits, levels, 0) {
    BitmapInfoHeader t = h;
    std::swap(t.biWidth, t.biHeight);
    px.resize(std::max(h.biSizeImage, XefPixarSize(&t)), 0);
  }
  int32_t Apply(const IMPROCOPTIONS &o) { return XeImProc(&h, px.data(), &o); }
  // The bytes of the image as its header describes it now.
  std::vector<uint8_t> Bytes() const { return {px.begin(), px.begin() + XefPixarSize(&h)}; }
};

IMPROCOPTIONS Neutral() {
  IMPROCOPTIONS o{};
  o.Gamma = 1.0f;
  o.WBRed = 1.0f;
  o.WBBlue = 1.0f;
  return o;
}

const uint16_t kFormats[] = {8, 16, 24, 48};
const int32_t kSizes[][2] = {{1, 1}, {1, 4}, {2, 2}, {3, 5}, {5, 3}, {33, 17}};

// Flips move every sample where the picture says, and come before a
// clockwise quarter turn; the opposite turn brings the image back, other
// angles are ignored.
TEST(ImProc, FlipsAndQuarterTurnsMoveEveryPixel) {
  for (uint16_t bits : kFormats)
    for (auto [width, height] : kSizes) {
      const uint32_t w = static_cast<uint32_t>(width), ht = static_cast<uint32_t>(height);
      Image orig(width, height, bits);
      orig.FillRandom(7 + w + ht, bits == 8 || bits == 24 ? 255 : 65535);
      for (int flips = 0; flips <= 3; ++flips) {
        // The picture column and row that (x, y) of the flipped image comes from.
        auto sx = [&](uint32_t x) { return (flips & 1) ? w - 1 - x : x; };
        auto sy = [&](uint32_t y) { return (flips & 2) ? ht - 1 - y : y; };
        Image img = orig;
        ASSERT_EQ(XeFlips(&img.h, img.px.data(), flips & 1, flips & 2), XE_OK);
        for (uint32_t y = 0; y < ht; ++y)
          for (uint32_t x = 0; x < w; ++x)
            for (uint32_t c = 0; c < img.Channels(); ++c)
              ASSERT_EQ(img.Get(x, y, c), orig.Get(sx(x), sy(y), c)) << bits << " " << flips;
        img = orig;
        IMPROCOPTIONS o = Neutral();
        o.FlipH = flips & 1;
        o.FlipV = (flips & 2) ? 1 : 0;
        o.Rotate = 90;
        ASSERT_EQ(img.Apply(o), XE_OK);
        EXPECT_EQ(std::tuple(img.h.biWidth, img.h.biHeight, img.h.biSizeImage),
                  std::tuple(height, width, XefPixarSize(&img.h)));
        // Clockwise: picture (x, y) of the turned image is (y, H-1-x) of the flipped one.
        for (uint32_t y = 0; y < w; ++y)
          for (uint32_t x = 0; x < ht; ++x)
            ASSERT_EQ(img.Get(x, y), orig.Get(sx(y), sy(ht - 1 - x))) << bits << " " << flips;
        if (flips != 0) continue;
        for (int32_t degrees : {-90, 45}) {
          o.Rotate = degrees;
          ASSERT_EQ(img.Apply(o), XE_OK);
        }
        EXPECT_EQ(img.Bytes(), orig.Bytes()) << bits << " " << w << "x" << ht;
      }
    }
}

// One 8-bit gray row through the options; returns the samples.
std::vector<uint32_t> Gray8(const std::vector<uint32_t> &in, const IMPROCOPTIONS &o,
                            uint16_t bits = 8, uint32_t clr = 0) {
  Image img(static_cast<int32_t>(in.size()), 1, bits, clr);
  for (uint32_t x = 0; x < in.size(); ++x) img.Set(x, 0, in[x]);
  EXPECT_EQ(img.Apply(o), XE_OK);
  std::vector<uint32_t> out;
  for (uint32_t x = 0; x < in.size(); ++x) out.push_back(img.Get(x, 0));
  return out;
}

TEST(ImProc, BrightnessContrastAndGammaWorkedByHand) {
  struct Case {
    int32_t bright, contrast;
    float gamma;
    uint32_t levels;  // 0: 8 bits, else 16-bit samples with that many levels
    std::vector<uint32_t> in, out;
  };
  const Case cases[] = {
      {100, 0, 1.0f, 0, {0, 100, 240, 255}, {26, 126, 255, 255}},  // +25.5 of 255
      {-1000, 0, 1.0f, 0, {0, 255}, {0, 0}},
      {0, 10, 1.0f, 0, {100, 128, 200, 0}, {75, 128, 255, 0}},  // factor 1.9 around 127.5
      {0, 0, 2.0f, 0, {0, 64, 255, 16}, {0, 128, 255, 64}},     // 255 * sqrt(v / 255)
      {0, 0, 0.0f, 0, {0, 64, 255}, {0, 64, 255}},              // gamma 0 is not usable: neutral
      // 12 bits in 16: full scale is 4095, half of it +2047.5.
      {500, 0, 1.0f, 4096, {0, 1000, 3000}, {2048, 3048, 4095}},
      // 1000 + 4095 is limited to 4095 before the contrast: 4095 * 0.775 = 3173.6.
      {1000, -50, 1.0f, 4096, {0, 1000}, {3174, 3174}},
  };
  for (const Case &c : cases) {
    IMPROCOPTIONS o = Neutral();
    o.Bright = c.bright;
    o.Contrast = c.contrast;
    o.Gamma = c.gamma;
    EXPECT_EQ(Gray8(c.in, o, c.levels ? 16 : 8, c.levels), c.out) << c.bright << " " << c.contrast;
  }
}

TEST(ImProc, ColourWhiteBalanceSaturationAndHue) {
  for (uint16_t bits : {24, 48}) {
    const uint32_t top = bits == 24 ? 255 : 65535;
    Image orig(9, 4, bits);
    orig.FillRandom(bits, top);
    orig.Set(0, 0, 0, 0), orig.Set(0, 0, 0, 1), orig.Set(0, 0, top, 2);  // pure red

    Image wb = orig;
    IMPROCOPTIONS o = Neutral();
    o.WBRed = 2.0f;
    o.WBBlue = 0.5f;
    ASSERT_EQ(wb.Apply(o), XE_OK);
    for (uint32_t x = 0; x < 9; ++x)
      EXPECT_EQ(std::tuple(wb.Get(x, 1, 2), wb.Get(x, 1, 1), wb.Get(x, 1, 0)),
                std::tuple(std::min(top, 2 * orig.Get(x, 1, 2)), orig.Get(x, 1, 1),
                           (orig.Get(x, 1, 0) + 1) / 2));

    Image blank = orig;  // a gain of 0 is applied, not taken as unset
    o.WBRed = 0.0f;
    ASSERT_EQ(blank.Apply(o), XE_OK);
    EXPECT_EQ(std::tuple(blank.Get(3, 2, 2), blank.Get(3, 2, 0)), std::tuple(0u, wb.Get(3, 2, 0)));

    Image gray = orig;
    o = Neutral();
    o.Saturation = -100;
    ASSERT_EQ(gray.Apply(o), XE_OK);
    // Full desaturation leaves the luma: red weighs 0.299, green 0.587, blue 0.114.
    const double luma = 0.299 * orig.Get(5, 3, 2) + 0.587 * orig.Get(5, 3, 1) + 0.114 * orig.Get(5, 3, 0);
    EXPECT_NEAR(gray.Get(5, 3, 1), luma, 1.0);
    for (uint32_t r = 0; r < 4; ++r)
      for (uint32_t x = 0; x < 9; ++x)
        EXPECT_EQ(std::tuple(gray.Get(x, r, 0), gray.Get(x, r, 2)),
                  std::tuple(gray.Get(x, r, 1), gray.Get(x, r, 1)));

    Image turned = orig;
    o = Neutral();
    o.Hue = 120;  // red turns towards green
    ASSERT_EQ(turned.Apply(o), XE_OK);
    EXPECT_GT(turned.Get(0, 0, 1), std::max(turned.Get(0, 0, 2), turned.Get(0, 0, 0)));
  }
}

TEST(ImProc, UserFilterBoxAndOrientation) {
  for (uint16_t bits : kFormats) {
    Image orig(5, 4, bits);
    orig.FillRandom(bits + 1, bits == 8 || bits == 24 ? 255 : 65535);
    IMPROCOPTIONS o = Neutral();
    o.FilterCode = 5;
    o.UserFilter.dim = 3;
    // Only the coefficient above the centre: each pixel takes the one above
    // it in the picture, the top row repeats itself.
    o.UserFilter.Coef[0][1] = 1;
    Image img = orig;
    ASSERT_EQ(img.Apply(o), XE_OK);
    for (uint32_t y = 0; y < 4; ++y)
      for (uint32_t x = 0; x < 5; ++x)
        for (uint32_t c = 0; c < img.Channels(); ++c)
          ASSERT_EQ(img.Get(x, y, c), orig.Get(x, y == 0 ? 0 : y - 1, c));
  }
  // A 3 x 3 box summed and shifted by 3 (divided by 8, rounded) on a gray
  // 3 x 3 image, edges repeated: worked by hand.
  Image img(3, 3, 8);
  const uint32_t v[3][3] = {{8, 16, 24}, {0, 40, 0}, {80, 0, 8}};  // picture rows
  img.Fill([&](uint32_t x, uint32_t y, uint32_t) { return v[y][x]; });
  IMPROCOPTIONS o = Neutral();
  o.FilterCode = 5;
  o.UserFilter.dim = 3;
  o.UserFilter.shifts = 3;
  o.UserFilter.bias = 1;
  for (auto &row : o.UserFilter.Coef)
    for (auto &c : row) c = 1;
  o.UserFilter.Coef[3][3] = 99;  // outside dim: not used
  ASSERT_EQ(img.Apply(o), XE_OK);
  // Centre: 176 / 8 = 22, + 1. Pixel (0,0): rows 0,0,1 x columns 0,0,1 =
  // 8+8+16 + 8+8+16 + 0+0+40 = 104 -> 13 + 1. Pixel (2,2): rows 1,2,2 x
  // columns 1,2,2 = 40+0+0 + 0+8+8 + 0+8+8 = 72 -> 9 + 1.
  EXPECT_EQ(std::tuple(img.Get(1, 1), img.Get(0, 0), img.Get(2, 2)), std::tuple(23u, 14u, 10u));
}

TEST(ImProc, FixedFiltersKeepFlatImagesAndTheMedianRemovesAnOutlier) {
  for (int32_t code = 1; code <= 4; ++code)
    for (uint16_t bits : kFormats) {
      const bool twelve = bits == 16 || bits == 48;  // 12 bits in use
      Image img(6, 5, bits, twelve ? 4096 : 0);
      img.Fill([](uint32_t, uint32_t, uint32_t c) { return 100 + c; });
      const Image flat = img;
      IMPROCOPTIONS o = Neutral();
      o.FilterCode = code;
      ASSERT_EQ(img.Apply(o), XE_OK);
      EXPECT_EQ(img.px, flat.px) << code << " " << bits;
      img.Set(2, 2, twelve ? 1100 : 250);
      ASSERT_EQ(img.Apply(o), XE_OK);
      if (code == 4) {
        EXPECT_EQ(img.px, flat.px);
      } else if (code == 1) {
        EXPECT_EQ(img.Get(2, 2, 0), twelve ? 4095u : 255u);  // 250 + 4 * 150, 1100 + 4 * 1000
        EXPECT_EQ(img.Get(2, 3, 0), 0u);                      // 100 - 150
      }
    }
}

TEST(ImProc, RefusedInputLeavesTheImageAlone) {
  Image img(4, 3, 24);
  img.FillRandom(5, 255);
  const Image before = img;
  IMPROCOPTIONS o = Neutral();
  o.Bright = 300;  // would change the image if it ran
  // Filter code, kernel size and shifts: sizes and shifts out of range, an unknown code.
  const int32_t bad[][3] = {{5, 4, 0}, {5, 7, 0}, {5, 0, 0}, {5, 3, -1}, {5, 3, 32}, {6, 3, 0}};
  for (auto [code, dim, shifts] : bad) {
    o.FilterCode = code;
    o.UserFilter.dim = dim;
    o.UserFilter.shifts = shifts;
    EXPECT_EQ(img.Apply(o), XE_ERR_NOT_SUPPORTED) << code << " " << dim << " " << shifts;
  }
  o.FilterCode = 0;
  img.h.biBitCount = 32;
  EXPECT_EQ(img.Apply(o), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeFlips(&img.h, img.px.data(), 1, 1), XE_ERR_NOT_SUPPORTED);
  img.h.biBitCount = 24;
  img.h.biCompression = 256;
  EXPECT_EQ(img.Apply(o), XE_ERR_NOT_SUPPORTED);
  img.h.biCompression = 0;
  EXPECT_EQ(img.px, before.px);
  EXPECT_EQ(XeImProc(&img.h, nullptr, &o), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeFlips(nullptr, img.px.data(), 1, 0), XE_ERR_NULL_ARGUMENT);
  img.h.biWidth = 0;
  EXPECT_EQ(img.Apply(o), XE_OK);
  EXPECT_EQ(img.px, before.px);
}

TEST(ImProcSettings, OptionsFromTheSetupRoundHalfAwayFromZero) {
  ::Setup s{};
  s.fGamma = 2.2f;
  s.WBView = {1.5f, 0.75f};
  s.UserFilter.Coef[2][2] = -9;
  IMPROCOPTIONS o;
  std::memset(&o, 0xAB, sizeof o);
  // Gain, offset, saturation, hue and the integers; the halves round away from 0.
  const std::tuple<float, float, float, float, int32_t, int32_t, int32_t, int32_t> cases[] = {
      {0.55f, 0.0625f, 1.125f, 2.5f, -50, 63, 13, 3},
      {1.9f, -0.0625f, 0.875f, -2.5f, 10, -63, -13, -3},
      {1.0f, 1e20f, 1.0f, 0.0f, 0, INT32_MAX, 0, 0}};  // limited, not undefined
  for (auto [gain, offset, sat, hue, contrast, bright, saturation, hueInt] : cases) {
    s.fGain = gain;
    s.fOffset = offset;
    s.fSaturation = sat;
    s.fHue = hue;
    ASSERT_EQ(XeSetImProcOptions(&o, &s), XE_OK);
    EXPECT_EQ(std::tuple(o.Contrast, o.Bright, o.Saturation, o.Hue),
              std::tuple(contrast, bright, saturation, hueInt));
  }
  EXPECT_EQ(std::tuple(o.Gamma, o.WBBlue, o.UserFilter.Coef[2][2]), std::tuple(2.2f, 0.75f, -9));
  for (uint8_t b : o.Reserved160) EXPECT_EQ(b, 0);
  EXPECT_EQ(XeSetImProcOptions(nullptr, &s), XE_ERR_NULL_ARGUMENT);
}

TEST(ImProcSettings, IntegerAndFloatFieldsFollowEachOther) {
  ::Setup s{};
  s.Bright = -250;
  s.Contrast = -50;
  s.Gamma = 180;
  s.Saturation = 40;
  s.Hue = -30;
  ASSERT_EQ(XefUpdateNewImProc(&s, 0), XE_OK);
  EXPECT_EQ(std::tuple(s.fOffset, s.fGain, s.fGamma, s.fSaturation, s.fHue),
            std::tuple(-0.25f, 0.55f, 1.8f, 1.4f, -30.0f));
  for (int32_t c : {-111, -1, 0, 1, 37, 100, 500}) {  // every contrast comes back
    s.Contrast = c;
    ASSERT_EQ(XefUpdateNewImProc(&s, CIS_fGain), XE_OK);
    s.Contrast = 12345;
    ASSERT_EQ(XefUpdateOldImProc(&s, CIS_fGain), XE_OK);
    EXPECT_EQ(s.Contrast, c);
  }
  const ::Setup kept = s;
  EXPECT_EQ(XefUpdateOldImProc(&s, CIS_FlipH), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XefUpdateNewImProc(&s, 201), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(std::memcmp(&s, &kept, sizeof s), 0);
}

}  // namespace
