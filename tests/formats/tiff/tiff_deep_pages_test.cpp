// Pages of 12 and 16 bits and a colour one in one multipage file, read back
// page by page: 16-bit samples go in as they are, 8-bit ones move to the high
// byte, and a 12-bit page keeps the top twelve bits of each sample.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "formats/tiff/tiff.h"
#include "support/bitmap.h"
#include "xefile/xefile.h"

namespace {

using fixture::GetU16;
using fixture::GetU32;

// Gray 4 x 2 pages, rows top-down as a page takes them (no row padding at
// this width, so the file's rows are what a TIFF reader expects).
const std::vector<uint16_t> kWide = {0x1234, 0xABCD, 0x0010, 0xFFFF, 0x0100, 0x0200, 0x0300, 0x0400};
const std::vector<uint8_t> kNarrow = {0x12, 0xAB, 0x00, 0xFF, 0x01, 0x02, 0x03, 0x04};

// The bitmap (bottom-up) that a reader makes of a page of these rows.
std::vector<uint16_t> BottomUp(const std::vector<uint16_t> &v) {
  std::vector<uint16_t> out(v.begin() + 4, v.end());
  out.insert(out.end(), v.begin(), v.begin() + 4);
  return out;
}

std::vector<uint16_t> Samples(const std::vector<uint8_t> &bytes) {
  std::vector<uint16_t> v(bytes.size() / 2);
  for (size_t i = 0; i < v.size(); ++i) v[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
  return v;
}

TEST(TiffDeepPages, TwelveAndSixteenBitPagesReadBack) {
  fixture::TempFile out(".tif");
  xe::FileHandle f = xe::kNoFile;
  ASSERT_EQ(xe::XefFileCreate(out.c_str(), &f), 0);
  const uint32_t head[2] = {0x002A4949u, 8};
  ASSERT_EQ(xe::XefFileWrite(f, head, sizeof head), 0);
  const Time64 t{3, 1700000000};
  uint32_t position = 8;
  std::vector<uint32_t> starts;
  auto page = [&](uint16_t bits, const void *px, size_t bytes, int16_t type, bool last) {
    BitmapInfoHeader h = testsupport::Bitmap(4, 2, bits, 0, bits >= 16 ? 0x10000 : 0);
    std::vector<uint8_t> copy(static_cast<const uint8_t *>(px), static_cast<const uint8_t *>(px) + bytes);
    starts.push_back(position);
    EXPECT_EQ(xe::WriteTiffPage(f, &h, copy.data(), &position, type, &t, last, true), 0) << type;
  };
  page(16, kWide.data(), 16, -9, false);
  page(16, kWide.data(), 16, -10, false);
  page(8, kNarrow.data(), 8, -10, false);
  // A colour page cut to 8 bits keeps the high bytes and gives its depth as one LONG.
  const std::vector<uint16_t> colour(24, 0x1234);
  page(48, colour.data(), 48, -8, true);
  xe::XefFileClose(f);

  const fixture::Bytes file = out.Read();
  ASSERT_EQ(file.size(), position);
  const uint32_t depth[4] = {12, 16, 16, 8}, bytes[4] = {12, 16, 16, 24};
  for (uint32_t p = 0; p < 4; ++p) {
    SCOPED_TRACE(p);
    const uint32_t at = starts[p];
    ASSERT_EQ(GetU16(file, at), 13u);
    EXPECT_EQ(GetU32(file, at + 2 + 3 * 12 + 8), depth[p]);  // tag 258
    EXPECT_EQ(GetU32(file, at + 2 + 8 * 12 + 8), bytes[p]);  // tag 279
    EXPECT_EQ(GetU32(file, at + 158), p < 3 ? starts[p + 1] : 0u);
  }
  EXPECT_EQ(GetU16(file, starts[3] + 2 + 3 * 12 + 2), 4u);  // LONG
  EXPECT_EQ(file[GetU32(file, starts[3] + 2 + 6 * 12 + 8)], 0x12);
  // The 12-bit strip holds each sample's top twelve bits, most significant first.
  const uint32_t strip = GetU32(file, starts[0] + 2 + 6 * 12 + 8);  // tag 273
  EXPECT_EQ(fixture::Bytes(file.begin() + strip, file.begin() + strip + 12),
            (fixture::Bytes{0x12, 0x3a, 0xbc, 0x00, 0x1f, 0xff, 0x01, 0x00, 0x20, 0x03, 0x00, 0x40}));

  // The 12-bit page, unpacked: the first sample of each pair comes back
  // left-aligned; the second keeps its low four bits in bits 0 to 3; and the
  // last three bytes of the picture are cleared: the bitmap reading of this
  // family of files has it so.
  BitmapInfoHeader h{};
  std::vector<uint8_t> px;
  ASSERT_EQ(xe::ReadTiffToDib(out.c_str(), &h, &px), 0);
  EXPECT_EQ(h.biBitCount, 16);
  EXPECT_EQ(Samples(px), BottomUp({0x1230, 0xAB0C, 0x0010, 0xFF0F, 0x0100, 0x0200, 0x0000, 0x0000}));

  // The other pages, as the images of a cine beside them.
  fixture::CineBuilder b;
  b.Image(4, 2, 16, 0, 0x10000).Images(0, 3);
  cinetest::Opened cine(b.Build());
  ASSERT_EQ(cine.status, 0);
  std::snprintf(cine.cine->OpenedFileName, sizeof cine.cine->OpenedFileName, "%s.chd",
                out.path().substr(0, out.path().size() - 4).c_str());
  std::vector<uint16_t> narrowWide;
  for (uint8_t v : kNarrow) narrowWide.push_back(static_cast<uint16_t>(v << 8));
  const std::vector<uint16_t> expected[2] = {BottomUp(kWide), BottomUp(narrowWide)};
  for (int32_t n = 1; n <= 2; ++n) {
    std::vector<uint8_t> image(16, 0xEE);
    cine.cine->ImageRangeFirst = n;
    ASSERT_EQ(xe::ReadTiffCineImage(cine.cine, image.data()), 0) << n;
    EXPECT_EQ(Samples(image), expected[n - 1]) << n;
  }
}

}  // namespace
