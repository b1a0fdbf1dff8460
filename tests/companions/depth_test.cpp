// 16 to 8 bits: the gain of the processing chain and the level table of the
// display path, in place and into a second buffer.
#include "companions/int/depth.h"

#include <gtest/gtest.h>

#include "support/bitmap.h"

#include <cstring>
#include <tuple>
#include <vector>

#include "companions/int/dib.h"
#include "xefile/xefile_status.h"

namespace {

using namespace xe::intl;

BitmapInfoHeader Header(int32_t w, int32_t h, uint16_t bits, uint32_t clr = 0) {
  BitmapInfoHeader b = testsupport::Bitmap(w, h, bits, 0, clr);
  b.biSizeImage = XefPixarSize(&b);
  return b;
}

// A 16-bit image whose samples are `values` repeated, rows padded.
std::vector<uint8_t> Image16(const BitmapInfoHeader &h, const std::vector<uint16_t> &values) {
  std::vector<uint8_t> px(XefPixarSize(&h), 0xEE);
  const uint32_t perRow = h.biWidth * (h.biBitCount / 16);
  size_t k = 0;
  for (int32_t r = 0; r < h.biHeight; ++r)
    for (uint32_t i = 0; i < perRow; ++i, ++k)
      std::memcpy(&px[r * XefMemWidth(&h) + 2 * i], &values[k % values.size()], 2);
  return px;
}

// Every 257th value, in place and into a second buffer, over padded rows.
TEST(ProcessImage, GainOneKeepsTheTopByteAndTheHeaderBecomesEightBits) {
  std::vector<uint16_t> values;
  for (uint32_t v = 0; v < 65536; v += 257) values.push_back(static_cast<uint16_t>(v));
  for (uint16_t bits : {16, 48})
    for (int32_t w : {1, 3, 7}) {
      BitmapInfoHeader h = Header(w, 5, bits, 4096), h2 = h;
      const std::vector<uint8_t> src = Image16(h, values);
      std::vector<uint8_t> dst(src.size(), 0xEE), inPlace = src;
      ASSERT_EQ(XeProcessImage(src.data(), dst.data(), &h, 1, 1.0f), XE_OK);
      ASSERT_EQ(XeProcessImage(inPlace.data(), inPlace.data(), &h2, 1, 1.0f), XE_OK);
      EXPECT_EQ(std::tuple(+h.biBitCount, +h.biClrImportant, +h.biSizeImage),
                std::tuple(bits / 2, 0u, XefPixarSize(&h)));
      const uint32_t perRow = w * (bits / 16);
      for (uint32_t r = 0, k = 0; r < 5; ++r)
        for (uint32_t i = 0; i < perRow; ++i, ++k) {
          const size_t at = r * XefMemWidth(&h) + i;
          ASSERT_EQ(dst[at], values[k % values.size()] >> 8) << bits << " " << w;
          ASSERT_EQ(inPlace[at], dst[at]);
        }
    }
}

TEST(ProcessImage, FullGainMapsTheEffectiveRangeOntoEightBits) {
  BitmapInfoHeader h = Header(6, 3, 48, 4096);  // 12 bits in use
  std::vector<uint8_t> px = Image16(h, {0, 15, 16, 2048, 4095, 65535});
  ASSERT_EQ(XeProcessImage(px.data(), px.data(), &h, 1, 16.0f), XE_OK);
  const uint8_t want[] = {0, 0, 1, 128, 255, 255};
  for (uint32_t i = 0; i < 18; ++i) EXPECT_EQ(px[i], want[i % 6]) << i;
}

// A sample maps to itself alone, so the split of rows between threads is
// left to the thread-pool tests.
TEST(ProcessImage, BadInputLeavesTheImage) {
  const BitmapInfoHeader h = Header(9, 3, 48, 16384);
  const std::vector<uint8_t> src = Image16(h, {1, 700, 65535});
  std::vector<uint8_t> px = src;
  BitmapInfoHeader bad = h;
  EXPECT_EQ(XeProcessImage(px.data(), px.data(), &bad, 2, 1.0f), XE_ERR_NOT_SUPPORTED);
  bad.biBitCount = 24;
  EXPECT_EQ(XeProcessImage(px.data(), px.data(), &bad, 1, 1.0f), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(std::tuple(+bad.biBitCount, px), std::tuple(24, src));
  EXPECT_EQ(XeProcessImage(nullptr, px.data(), &bad, 1, 1.0f), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeProcessImage(px.data(), px.data(), nullptr, 1, 1.0f), XE_ERR_NULL_ARGUMENT);
  BitmapInfoHeader empty = Header(0, 4, 16);
  EXPECT_EQ(XeProcessImage(px.data(), px.data(), &empty, 1, 1.0f), XE_OK);
  EXPECT_EQ(empty.biBitCount, 8);
}

// The display table through a 4 x 1 16-bit gray image (no row padding).
std::vector<uint8_t> Reduce(const std::vector<uint16_t> &in, const int32_t *levels,
                            uint32_t clr = 0) {
  BitmapInfoHeader h = Header(static_cast<int32_t>(in.size()), 1, 16, clr);
  std::vector<uint8_t> out(in.size(), 0xEE);
  XefReduceDIB16To8(&h, levels, in.data(), out.data());
  EXPECT_EQ(std::tuple(+h.biBitCount, +h.biClrImportant, size_t{h.biSizeImage}), std::tuple(8, 0u, in.size()));
  return out;
}

TEST(ReduceDIB16To8, TableOfTheLevels) {
  EXPECT_EQ(Reduce({0, 2048, 4095, 4096, 40000, 65535}, nullptr),
            (std::vector<uint8_t>{0, 128, 255, 255, 255, 255}));
  const int32_t levels[2] = {100, 1000};  // span 999
  EXPECT_EQ(Reduce({99, 100, 600, 1099, 1100, 0}, levels),
            (std::vector<uint8_t>{0, 0, 128, 255, 255, 0}));
  // Above maxPix (1023 for 10 bits in use) everything is 255.
  EXPECT_EQ(Reduce({1023, 1024}, nullptr, 1024), (std::vector<uint8_t>{64, 255}));
  const int32_t flat[2] = {0, 1};  // span at least 1
  EXPECT_EQ(Reduce({0, 1, 2}, flat), (std::vector<uint8_t>{0, 255, 255}));
}

TEST(ReduceDIB16To8, ColourInPlaceAndHeadersItLeavesAlone) {
  BitmapInfoHeader h = Header(4, 9, 48);
  std::vector<uint16_t> src(4 * 9 * 3);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint16_t>(i * 37);
  std::vector<uint8_t> apart(src.size());
  BitmapInfoHeader h2 = h;
  XefReduceDIB16To8(&h2, nullptr, src.data(), apart.data());
  EXPECT_EQ(std::tuple(+h2.biBitCount, h2.biSizeImage), std::tuple(24, 4u * 9 * 3));
  std::vector<uint16_t> same = src;
  XefReduceDIB16To8(&h, nullptr, same.data(), reinterpret_cast<uint8_t *>(same.data()));
  EXPECT_EQ(std::memcmp(same.data(), apart.data(), apart.size()), 0);

  BitmapInfoHeader eight = Header(4, 1, 8);
  std::vector<uint8_t> out(4, 7);
  XefReduceDIB16To8(&eight, nullptr, src.data(), out.data());
  EXPECT_EQ(std::tuple(+eight.biBitCount, out), std::tuple(8, std::vector<uint8_t>(4, 7)));
  XefReduceDIB16To8(nullptr, nullptr, src.data(), out.data());
}

}  // namespace
