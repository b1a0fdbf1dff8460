// Row strides and image sizes of bitmaps, padded and packed.
#include "companions/int/dib.h"

#include <gtest/gtest.h>

#include "support/bitmap.h"

#include <tuple>

namespace {

using namespace xe::intl;

using testsupport::Bitmap;

TEST(DibSizes, RowsArePaddedToWholeWords) {
  // Width, height, bits per pixel, then the row and the image in bytes.
  const std::tuple<int32_t, int32_t, uint16_t, uint32_t, uint32_t> cases[] = {
      {3, 2, 8, 4, 8},    {4, 2, 8, 4, 8},   {3, 2, 16, 8, 16},  {1, 1, 24, 4, 4},  {5, 2, 24, 16, 32},
      {4, 1, 24, 12, 12}, {3, 2, 48, 20, 40}, {1280, 800, 16, 2560, 2048000},
      {7, -3, 8, 8, 24},  // a top-down image has as many rows
  };
  for (auto [w, h, bits, row, image] : cases) {
    BitmapInfoHeader b = Bitmap(w, h, bits);
    EXPECT_EQ(std::tuple(XefMemWidth(&b), XefPixarSize(&b)), std::tuple(row, image))
        << w << "x" << h << "x" << bits;
  }
}

TEST(DibSizes, PackedImagesAreAContinuousTenBitStream) {
  // w x h x 10 / 8, rounded up to a byte; no padding of rows.
  const std::tuple<int32_t, int32_t, uint32_t> cases[] = {{4, 1, 5},  {1, 1, 2},  {6, 3, 23},
                                                          {7, 2, 18}, {3, 3, 12}, {1280, 2, 3200}};
  for (auto [w, h, image] : cases) {
    BitmapInfoHeader b = Bitmap(w, h, 16, kPackedCompression, 1024);
    EXPECT_EQ(XefPixarSize(&b), image) << w << "x" << h;
    EXPECT_EQ(XefEffectiveBits(&b), 10u);
  }
}

TEST(DibSizes, HostileHeadersSaturateInsteadOfWrapping) {
  BitmapInfoHeader huge = Bitmap(0x7FFFFFFF, 0x7FFFFFFF, 48);
  EXPECT_EQ(XefPixarSize(&huge), 0xFFFFFFFFu);
  BitmapInfoHeader wraps = Bitmap(65536, 65536, 8);  // exactly 2^32 bytes
  EXPECT_EQ(XefPixarSize(&wraps), 0xFFFFFFFFu);
  BitmapInfoHeader negative = Bitmap(-8, 4, 8);
  EXPECT_EQ(XefPixarSize(&negative), 0u);
  EXPECT_EQ(XefPixarSize(nullptr), 0u);
}

}  // namespace
