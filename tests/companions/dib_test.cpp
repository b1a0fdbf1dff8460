// Row strides and image sizes of bitmaps, padded and packed.
#include "companions/int/dib.h"

#include <gtest/gtest.h>

#include "support/bitmap.h"

#include <tuple>

namespace {

using namespace xe::intl;

using testsupport::Bitmap;
BitmapInfoHeader Header(int32_t w, int32_t h, uint16_t bits, uint32_t compression = 0,
                        uint32_t levels = 0) {
  return Bitmap(w, h, bits, compression, levels);
}

TEST(DibSizes, RowsArePaddedToWholeWords) {
  struct Case {
    int32_t w, h;
    uint16_t bits;
    uint32_t row, image;
  };
  const Case cases[] = {
      {3, 2, 8, 4, 8},      {4, 2, 8, 4, 8},     {5, 3, 8, 8, 24},    {3, 2, 16, 8, 16},
      {2, 1, 16, 4, 4},     {1, 1, 24, 4, 4},    {5, 2, 24, 16, 32},  {4, 1, 24, 12, 12},
      {3, 2, 48, 20, 40},   {1, 5, 48, 8, 40},   {1280, 800, 16, 2560, 2048000},
      {7, -3, 8, 8, 24},  // a top-down image has as many rows
  };
  for (const Case &c : cases) {
    BitmapInfoHeader b = Header(c.w, c.h, c.bits);
    SCOPED_TRACE(::testing::Message() << c.w << "x" << c.h << "x" << c.bits);
    EXPECT_EQ(XefMemWidth(&b), c.row);
    EXPECT_EQ(XefPixarSize(&b), c.image);
  }
}

TEST(DibSizes, PackedImagesAreAContinuousTenBitStream) {
  struct Case {
    int32_t w, h;
    uint32_t image;
  };
  // w x h x 10 / 8, rounded up to a byte; no padding of rows.
  const Case cases[] = {{4, 1, 5}, {1, 1, 2}, {6, 3, 23}, {7, 2, 18}, {3, 3, 12}, {1280, 2, 3200}};
  for (const Case &c : cases) {
    BitmapInfoHeader b = Header(c.w, c.h, 16, kPackedCompression, 1024);
    EXPECT_EQ(XefPixarSize(&b), c.image) << c.w << "x" << c.h;
    EXPECT_EQ(XefEffectiveBits(&b), 10u);
  }
}

TEST(DibSizes, HostileHeadersSaturateInsteadOfWrapping) {
  BitmapInfoHeader huge = Header(0x7FFFFFFF, 0x7FFFFFFF, 48);
  EXPECT_EQ(XefPixarSize(&huge), 0xFFFFFFFFu);
  BitmapInfoHeader wraps = Header(65536, 65536, 8);  // exactly 2^32 bytes
  EXPECT_EQ(XefPixarSize(&wraps), 0xFFFFFFFFu);
  BitmapInfoHeader negative = Header(-8, 4, 8);
  EXPECT_EQ(XefPixarSize(&negative), 0u);
  EXPECT_EQ(XefPixarSize(nullptr), 0u);
}

// A level count that is not a power of two says nothing about the bits.
TEST(DibKinds, BitsInUseComeFromTheLevelCount) {
  const std::tuple<uint16_t, uint32_t, uint32_t> cases[] = {
      {16, 4096, 12}, {16, 1000, 16}, {8, 0, 8}, {48, 16384, 14}};
  for (auto [bits, levels, inUse] : cases) {
    BitmapInfoHeader b = Header(4, 4, bits, 0, levels);
    EXPECT_EQ(XefEffectiveBits(&b), inUse) << bits << " " << levels;
  }
}

}  // namespace
