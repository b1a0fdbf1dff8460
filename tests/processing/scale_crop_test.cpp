// Resampling and cropping in the chain's buffers: phases and taps of the
// filter, limits, bottom-up rows, and the padding around them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "companions/int/dib.h"
#include "processing/crop_image.h"
#include "processing/scale_image.h"
#include "xefile/xefile_status.h"

namespace {

struct Image {
  ImageHeader h{};
  std::vector<uint8_t> px;  // starts as 0xEE, so stale padding shows
  uint32_t ch() const { return h.biBitCount % 24 == 0 ? 3 : 1; }
  uint32_t bytes() const { return h.biBitCount % 16 == 0 ? 2 : 1; }
  uint32_t rows() const { return std::abs(h.biHeight); }
  uint32_t stride() const { return xe::intl::XefMemWidth(reinterpret_cast<const BitmapInfoHeader *>(&h)); }
  uint8_t *at(uint32_t x, uint32_t y, uint32_t c) { return &px[y * stride() + (x * ch() + c) * bytes()]; }
  uint32_t get(uint32_t x, uint32_t y, uint32_t c = 0) {
    uint16_t v = 0;
    std::memcpy(&v, at(x, y, c), bytes());
    return v;
  }
  template <class F> void fill(F f) {
    for (uint32_t i = 0; i < h.biWidth * rows() * ch(); ++i) {
      uint32_t v = f(i / ch() % h.biWidth, i / ch() / h.biWidth, i % ch());
      std::memcpy(at(i / ch() % h.biWidth, i / ch() / h.biWidth, i % ch()), &v, bytes());
    }
  }
  bool padding_clear() const {
    for (uint32_t b = 0; b < stride() * rows(); ++b)
      if (b % stride() >= h.biWidth * ch() * bytes() && px[b]) return false;
    return true;
  }
};

Image Make(int32_t w, int32_t h, uint16_t bits, uint32_t levels = 0) {
  Image img;
  img.h.biSize = 48;
  img.h.biWidth = w;
  img.h.biHeight = h;
  img.h.biPlanes = 1;
  img.h.biBitCount = bits;
  img.h.biClrImportant = levels;
  img.h.biSizeImage = xe::intl::XefPixarSize(reinterpret_cast<const BitmapInfoHeader *>(&img.h));
  img.px.assign(img.h.biSizeImage, 0xEE);
  return img;
}

int32_t Scale(Image &img, uint32_t w, uint32_t h, uint32_t kernel = 5) {
  img.px.resize(std::max<uint64_t>(img.px.size(), (w * img.ch() * img.bytes() + 3) / 4 * 4 * h));
  return xe::ScaleImage(img.px.data(), &img.h, img.px.data(), w, h, kernel);
}

// The filter in double precision: output i reads backwards from i*S/D, the
// window centred half a kernel behind the exact position.
double Reference(const std::vector<double> &in, uint32_t i, uint32_t dest, uint32_t kernel) {
  const uint32_t source = in.size(), taps = std::min<uint32_t>(kernel, source);
  const double r = std::min(double(dest) / source, double(source) / dest), exact = double(i) * source / dest;
  const int64_t base = int64_t(std::floor(exact + 1e-9));
  double sum = 0, weights = 0;
  for (uint32_t t = 0; t < taps; ++t) {
    double x = t - taps * 0.5 + (exact - base);
    double w = (std::cos(M_PI * x / 4) * 0.5 + 0.5) * (x == 0 ? 1.0 : std::sin(M_PI * x * r) / (M_PI * x * r));
    sum += w * in[std::max<int64_t>(base - t, 0)];
    weights += w;
  }
  return sum / weights;
}

// One row: the vertical pass has a single tap, so the horizontal filter shows
// alone. 1280 to 640 has one phase with r = 0.5; the others have several, and
// kernels longer than the window or the source.
TEST(ScaleImage, RowFollowsTheFilter) {
  for (auto [from, to, kernel] : {std::tuple{1280u, 640u, 5u}, {640u, 1280u, 5u}, {5u, 7u, 5u}, {7u, 5u, 5u},
                                  {100u, 3u, 12u}, {3u, 100u, 60u}, {48u, 36u, 9u}}) {
    Image img = Make(from, 1, 8);
    std::vector<double> in(from);
    std::mt19937 rng(from + to);
    for (double &v : in) v = rng() % 256;
    img.fill([&](uint32_t x, uint32_t, uint32_t) { return uint32_t(in[x]); });
    ASSERT_EQ(Scale(img, to, 1, kernel), XE_OK);
    for (uint32_t x = 0; x < to; ++x)
      ASSERT_NEAR(img.get(x, 0), std::clamp(Reference(in, x, to, kernel), 0.0, 255.0), 0.53) << from << " " << x;
    EXPECT_TRUE(img.padding_clear());
  }
  // A step at almost the same size rings beyond the 12-bit white: limited to 4095.
  Image twelve = Make(64, 1, 16, 4096);
  twelve.fill([](uint32_t x, uint32_t, uint32_t) { return x < 32 ? 0u : 4095u; });
  std::vector<double> step(64, 0.0);
  std::fill(step.begin() + 32, step.end(), 4095.0);
  ASSERT_EQ(Scale(twelve, 65, 1, 12), XE_OK);
  uint32_t over = 0;
  for (uint32_t x = 0; x < 65; ++x)
    if (Reference(step, x, 65, 12) > 4096) {
      ++over;
      EXPECT_EQ(twelve.get(x, 0), 4095u);
    }
  EXPECT_GT(over, 0u);
}

// Flat planes stay flat per channel at every depth; the header and padding
// follow the new size.
TEST(ScaleImage, DepthsAndPadding) {
  for (uint16_t bits : {8, 16, 24, 48}) {
    for (auto [w, h] : {std::pair{640u, 16u}, {2560u, 64u}, {97u, 33u}}) {
      Image img = Make(1280, 32, bits);
      img.fill([](uint32_t, uint32_t, uint32_t c) { return 17 + 50 * c; });
      ASSERT_EQ(Scale(img, w, h), XE_OK);
      EXPECT_EQ(img.h.biSizeImage, img.stride() * h);
      for (uint32_t y = 0; y < h; y += 3)
        for (uint32_t x = 0; x < w; x += 5) ASSERT_EQ(img.get(x, y, img.ch() - 1), 17 + 50 * (img.ch() - 1));
      EXPECT_TRUE(img.padding_clear());
    }
  }
}

// Refusals leave header and pixels alone; the limits themselves pass, and a
// 1x1 image fills any size with its value.
TEST(ScaleImage, LimitsSameSizeAndSinglePixel) {
  Image img = Make(64, 48, 48);
  img.fill([](uint32_t x, uint32_t y, uint32_t c) { return x * 7 + y * 3 + c; });
  const Image before = img;
  for (auto [w, h, k, status] : {std::tuple{65537u, 48u, 5u, XE_WARN_RESAMPLE_REFUSED}, {64u, 39041u, 5u, 2008},
                                 {32u, 24u, 61u, 2008}, {0u, 24u, 5u, 2008}, {32u, 0u, 5u, 2008},
                                 {64u, 48u, 60u, XE_OK},  // the same size: nothing to do
                                 {65536u, 39040u, 5u, XE_ERR_NO_MEMORY}}) {  // allowed, but 15 GB
    EXPECT_EQ(xe::ScaleImage(img.px.data(), &img.h, img.px.data(), w, h, k), status) << w << "x" << h;
    EXPECT_TRUE(img.px == before.px && std::memcmp(&img.h, &before.h, 48) == 0);
  }
  img.h.biCompression = 256;  // packed
  EXPECT_EQ(Scale(img, 32, 24), XE_WARN_RESAMPLE_REFUSED);
  EXPECT_EQ(xe::ScaleImage(nullptr, &img.h, img.px.data(), 32, 24, 5), XE_ERR_NULL_ARGUMENT);
  for (auto [w, h] : {std::pair{65536u, 1u}, {1u, 39040u}, {3u, 3u}}) {
    Image dot = Make(1, 1, 16);
    dot.fill([](uint32_t, uint32_t, uint32_t) { return 1234u; });
    ASSERT_EQ(Scale(dot, w, h, 60), XE_OK);
    for (uint32_t i = 0; i < w * h; ++i) ASSERT_EQ(dot.get(i % w, i / w), 1234u);
  }
}

// Output memory row i is picture row bottom - i (bottom-up) or top + i
// (negative height), columns from left, padding cleared, in place or apart.
TEST(CropImage, RowsAndDepths) {
  for (uint16_t bits : {8, 16, 24, 48})
    for (int32_t sign : {1, -1})
      for (bool inPlace : {true, false}) {
        Image img = Make(37, 23 * sign, bits), out = Make(13, 18 * sign, bits);
        auto value = [&](uint32_t x, uint32_t row, uint32_t c) {
          return ((row * 40 + x) * 3 + c) & (bits % 16 ? 255 : 65535);
        };
        img.fill([&](uint32_t x, uint32_t y, uint32_t c) { return value(x, sign > 0 ? 22 - y : y, c); });
        ImageHeader header = img.h;
        ASSERT_EQ(xe::CropImage(img.px.data(), &header, (inPlace ? img : out).px.data(), XeRect{5, 3, 17, 20}), XE_OK);
        if (inPlace) out.px.assign(img.px.begin(), img.px.begin() + header.biSizeImage);
        EXPECT_EQ(std::memcmp(&header, &out.h, 48), 0);
        for (uint32_t i = 0; i < 18; ++i)
          for (uint32_t x = 0; x < 13; ++x)
            ASSERT_EQ(out.get(x, i, out.ch() - 1), value(5 + x, sign > 0 ? 20 - i : 3 + i, out.ch() - 1)) << bits;
        EXPECT_TRUE(out.padding_clear());
      }
}

// Rectangles not inside the image are refused with nothing changed, among
// them right or bottom just past the image with a width that fits; the whole
// image passes unchanged.
TEST(CropImage, RefusedAndWholeRectangles) {
  Image img = Make(40, 30, 16);
  img.fill([](uint32_t x, uint32_t y, uint32_t) { return x * 100 + y; });
  const Image before = img;
  for (XeRect r : {XeRect{5, 0, 40, 29}, {0, 3, 39, 30}, {0, 0, 40, 29}, {-1, 0, 10, 10}, {0, -1, 10, 10},
                   {10, 0, 9, 10}, {0, 10, 10, 9}, {0, 0, INT32_MAX, 10}, {INT32_MIN, 0, INT32_MAX, 10}}) {
    EXPECT_EQ(xe::CropImage(img.px.data(), &img.h, img.px.data(), r), XE_WARN_CROP_REFUSED) << r.left << " " << r.right;
    EXPECT_TRUE(img.px == before.px && std::memcmp(&img.h, &before.h, 48) == 0);
  }
  EXPECT_EQ(xe::CropImage(img.px.data(), &img.h, img.px.data(), XeRect{0, 0, 39, 29}), XE_OK);
  EXPECT_TRUE(img.px == before.px && std::memcmp(&img.h, &before.h, 48) == 0);
  EXPECT_EQ(xe::CropImage(img.px.data(), nullptr, img.px.data(), XeRect{}), XE_ERR_NULL_ARGUMENT);
}

}  // namespace
