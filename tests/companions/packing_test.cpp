// Packed 10-bit images: the bit layout, in-place unpack and repack, and the
// linearisation curve.
#include "companions/int/packing.h"

#include <gtest/gtest.h>

#include "support/bitmap.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

namespace {

using namespace xe::intl;

BitmapInfoHeader PackedHeader(int32_t w, int32_t h) {
  BitmapInfoHeader b = testsupport::Bitmap(w, h, 16, 256, 1024);
  b.biSizeImage = static_cast<uint32_t>((uint64_t(w) * uint64_t(h) * 10 + 7) / 8);
  return b;
}

size_t Stride(int32_t w) { return (static_cast<size_t>(w) * 2 + 3) / 4 * 4; }

using testsupport::Packed10;

// Exactly as large as the unpacked image, the packed bytes at its start: the
// sanitizer sees any access beyond it.
std::vector<uint8_t> Buffer(const std::vector<uint8_t> &packed, int32_t w, int32_t h) {
  std::vector<uint8_t> buf(Stride(w) * h, 0xCD);
  std::memcpy(buf.data(), packed.data(), packed.size());
  return buf;
}

uint16_t At(const std::vector<uint8_t> &buf, int32_t w, int32_t x, int32_t y) {
  uint16_t v;
  std::memcpy(&v, buf.data() + y * Stride(w) + x * 2, 2);
  return v;
}

// Unpacks in the given mode, checks every sample and the header, repacks and
// expects the original bytes back.
void RoundTrip(int32_t w, int32_t h, const std::vector<uint16_t> &codes, uint32_t mode) {
  SCOPED_TRACE(::testing::Message() << w << "x" << h << " mode " << mode);
  const std::vector<uint8_t> packed = Packed10(codes);
  std::vector<uint8_t> buf = Buffer(packed, w, h);
  BitmapInfoHeader b = PackedHeader(w, h);
  ASSERT_EQ(XefUnpackImage(&b, buf.data(), nullptr, mode), 0);
  EXPECT_EQ(std::tuple(b.biCompression, +b.biBitCount, b.biClrImportant, size_t{b.biSizeImage}),
            std::tuple(0u, 16, mode == 1 ? 16384u : 1024u, buf.size()));
  const uint16_t *lut = LinearizationTable();
  for (int32_t y = 0; y < h; ++y) {
    for (int32_t x = 0; x < w; ++x) {
      const uint16_t code = codes[y * w + x];
      ASSERT_EQ(At(buf, w, x, y), mode == 1 ? lut[code] : code) << "at " << x << "," << y;
    }
    ASSERT_TRUE(Stride(w) == size_t(w) * 2 || At(buf, w, w, y) == 0) << "padding of row " << y;
  }
  ASSERT_EQ(XefRepackImage(&b, buf.data(), nullptr, 10), 0);
  EXPECT_EQ(std::tuple(b.biCompression, b.biClrImportant, size_t{b.biSizeImage}),
            std::tuple(256u, 1024u, packed.size()));
  EXPECT_EQ(std::vector<uint8_t>(buf.begin(), buf.begin() + packed.size()), packed);
}

TEST(PackedLayout, FourSamplesFillFiveBytesMostSignificantBitFirst) {
  const std::vector<uint16_t> codes = {0x3FF, 0x000, 0x155, 0x2AA};
  // 1111111111 0000000000 0101010101 1010101010
  const std::vector<uint8_t> bytes = {0xFF, 0xC0, 0x05, 0x56, 0xAA};
  ASSERT_EQ(Packed10(codes), bytes);
  RoundTrip(2, 2, codes, 0);  // a group of four across two rows
}

// Widths that are not multiples of four put groups across rows; 41 x 25
// holds every code once and a partial group; 131 x 47 spans several passes
// of the working buffer.
TEST(PackedLayout, EveryCodeAndOddWidthsSurviveBothModes) {
  const int32_t sizes[][2] = {{5, 3}, {7, 1}, {1, 1}, {3, 3}, {6, 2}, {1, 5}, {2, 3}, {41, 25}, {131, 47}};
  for (const auto &s : sizes) {
    std::vector<uint16_t> codes(s[0] * s[1]);
    for (size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<uint16_t>((i * 389 + 1000) % 1024);
    RoundTrip(s[0], s[1], codes, 1);
    RoundTrip(s[0], s[1], codes, 0);
  }
}

TEST(PackedLayout, RepackClampsSamplesBeyondTheDepth) {
  // 37 samples: two whole blocks of 16 and a partial group, values beyond
  // the depth spread over all of them.
  const uint16_t *inv = InverseLinearizationTable();
  for (uint32_t levels : {1024u, 16384u}) {
    BitmapInfoHeader b = PackedHeader(37, 1);
    b.biCompression = 0;
    b.biClrImportant = levels;
    std::vector<uint16_t> in(37), codes(37);
    for (uint16_t i = 0; i < 37; ++i) {
      in[i] = i % 3 == 0 ? static_cast<uint16_t>(levels + 700u * i) : static_cast<uint16_t>(i * 27);
      const uint16_t top = static_cast<uint16_t>(levels - 1);
      codes[i] = levels == 1024 ? std::min(in[i], top) : inv[std::min(in[i], top)];
    }
    std::vector<uint8_t> buf(Stride(37));
    std::memcpy(buf.data(), in.data(), 74);
    ASSERT_EQ(XefRepackImage(&b, buf.data(), nullptr, 10), 0);
    EXPECT_EQ(codes[36], 1023);
    buf.resize(b.biSizeImage);
    EXPECT_EQ(buf, Packed10(codes)) << levels;
  }
}

TEST(PackedLayout, RefusalsChangeNothing) {
  std::vector<uint8_t> buf(64, 0x5A);
  const std::vector<uint8_t> before = buf;
  BitmapInfoHeader plain = PackedHeader(4, 2);
  plain.biCompression = 0;
  BitmapInfoHeader b = plain;
  EXPECT_EQ(XefUnpackImage(&b, buf.data(), nullptr, 1), -2018);
  b.biClrImportant = 4096;  // 12-bit samples have no packed form
  EXPECT_EQ(XefRepackImage(&b, buf.data(), nullptr, 10), -2018);
  b.biClrImportant = 1024;
  EXPECT_EQ(XefRepackImage(&b, buf.data(), nullptr, 12), -2018);
  BitmapInfoHeader packed = PackedHeader(4, 2);
  EXPECT_EQ(XefUnpackImage(&packed, buf.data(), nullptr, 2), -2018);
  EXPECT_EQ(XefRepackImage(&packed, buf.data(), nullptr, 10), -2018);
  BitmapInfoHeader huge = PackedHeader(0x7FFFFFFF, 0x7FFFFFFF);
  EXPECT_EQ(XefUnpackImage(&huge, buf.data(), nullptr, 0), -2018);
  EXPECT_EQ(XefUnpackImage(nullptr, buf.data(), nullptr, 0), -200);
  EXPECT_EQ(XefUnpackImage(&packed, nullptr, nullptr, 0), -200);
  EXPECT_EQ(XefRepackImage(&b, nullptr, nullptr, 10), -200);
  EXPECT_EQ(std::memcmp(&b, &plain, sizeof b), 0);
  EXPECT_EQ(packed.biCompression, 256u);
  EXPECT_EQ(huge.biCompression, 256u);
  EXPECT_EQ(buf, before);
}

TEST(LinearizationCurve, StrictlyIncreasingFullScaleWithAnExactInverse) {
  const uint16_t *lin = LinearizationTable();
  const uint16_t *inv = InverseLinearizationTable();
  EXPECT_EQ(lin[0], 0);
  EXPECT_EQ(lin[1023], 16383);
  for (int c = 1; c < 1024; ++c) ASSERT_GT(lin[c], lin[c - 1]) << c;
  for (int c = 0; c < 1024; ++c) ASSERT_EQ(inv[lin[c]], c);
  // Every value goes to a nearest code, and a tie to the lower one.
  for (int v = 0; v < 16384; ++v) {
    const int c = inv[v], d = std::abs(lin[c] - v);
    ASSERT_TRUE(c == 0 || std::abs(lin[c - 1] - v) > d) << v;
    ASSERT_TRUE(c == 1023 || std::abs(lin[c + 1] - v) >= d) << v;
  }
}

}  // namespace
