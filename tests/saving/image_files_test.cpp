// Single images between a DIB in one block and a still file.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "fixtures/cine_builder.h"
#include "formats/tiff/tiff.h"
#include "support/bitmap.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;

// A DIB of `w` x 2 pixels: header, `colours` palette entries, then the rows
// as given (bottom-up, padded to 4 bytes).
Bytes Dib(int32_t w, uint16_t bits, uint32_t colours, const Bytes &pixels) {
  BitmapInfoHeader h = testsupport::Bitmap(w, 2, bits, 0, bits == 16 ? 4096 : 0);
  Bytes dib(sizeof h + 4 * colours, 0x77);
  std::memcpy(dib.data(), &h, sizeof h);
  dib.insert(dib.end(), pixels.begin(), pixels.end());
  return dib;
}

const BitmapInfoHeader *Head(const Bytes &dib) {
  return reinterpret_cast<const BitmapInfoHeader *>(dib.data());
}

TEST(ImageFiles, WriteTakesThePixelsBehindThePaletteAndAnyTypeSignAsAStillType) {
  // An 8-bit DIB has 256 palette entries: RAW binary (25 taken as -25)
  // writes its rows from the top of the picture.
  const Bytes rows{1, 2, 3, 4, 5, 6, 7, 8};
  const Bytes dib = Dib(4, 8, 256, rows);
  fixture::TempFile raw(".raw");
  ASSERT_EQ(XeWriteImageFile(raw.c_str(), Head(dib), 25, 0), 0);
  EXPECT_EQ(raw.Read(), (Bytes{5, 6, 7, 8, 1, 2, 3, 4}));

  // A 16-bit DIB (no palette) as TIFF type 8: 8-bit samples, the top byte.
  const Bytes wide{0x00, 0x12, 0xFF, 0x0F, 0x00, 0x80, 0x34, 0x01};
  fixture::TempFile tif(".tif");
  ASSERT_EQ(XeWriteImageFile(tif.c_str(), Head(Dib(2, 16, 0, wide)), uint64_t{90} << 32 | 8, 0), 0);
  bool little = false;
  BitmapInfoHeader h{};
  std::vector<uint8_t> px;
  ASSERT_EQ(xe::ReadTiffFile(tif.c_str(), &little, &h, &px), 0);
  EXPECT_EQ(h.biBitCount, 8);
  EXPECT_EQ(Bytes(px.begin(), px.begin() + 2), (Bytes{0x80, 0x01}));  // the top row comes first
}

TEST(ImageFiles, ImagingTypesAndReadingWaitForTheImagingPlugin) {
  const Bytes dib = Dib(4, 24, 0, Bytes(24, 9));
  fixture::TempFile bmp(".bmp");
  EXPECT_EQ(XeWriteImageFile(bmp.c_str(), Head(dib), 1, 0), XE_WARN_NO_IMAGING);
  BitmapInfoHeader in{};
  EXPECT_EQ(XeReadImageFile(bmp.c_str(), &in), XE_ERR_IMAGE_FILE_READ);
}

}  // namespace
