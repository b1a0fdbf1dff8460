// DPX files as written: the headers byte by byte in both orders, the sample
// forms and data sizes of each depth and packing, and the refusals.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "formats/dpx/dpx_writer.h"
#include "frame/saving_options.h"
#include "support/bitmap.h"

namespace {

constexpr uint32_t kData = 2080;

// A bitmap whose sample i of the picture (top row first) is value(i), stored
// bottom-up with rows padded to whole words.
struct Picture {
  BitmapInfoHeader h;
  std::vector<uint8_t> px;
  Picture(int32_t w, int32_t rows, uint16_t bits, uint32_t levels, const std::function<uint32_t(uint32_t)> &value)
      : h(testsupport::Bitmap(w, rows, bits, 0, levels)) {
    const uint32_t perRow = w * (bits > 16 ? 3 : 1), size = bits == 16 || bits == 48 ? 2 : 1;
    const uint32_t stride = (perRow * size + 3) / 4 * 4;
    px.assign(stride * rows, 0xEE);  // padding that must not show
    for (int32_t r = 0; r < rows; ++r)
      for (uint32_t i = 0; i < perRow; ++i) {
        const uint32_t v = value(r * perRow + i);
        std::memcpy(&px[stride * (rows - 1 - r) + size * i], &v, size);
      }
  }
};

fixture::Bytes Write(const Picture &p, uint32_t flags, int32_t expectStatus = 0, uint64_t timeCode = 0) {
  fixture::TempDir dir;
  const std::string path = dir.path() + "/a.dpx";
  xe::DpxOptions o;
  o.DpxFlags = flags;
  EXPECT_EQ(xe::WriteDpxImage(path.c_str(), &p.h, p.px.data(), timeCode, o), expectStatus);
  return cinetest::FileBytes(path);
}

uint32_t Le(const fixture::Bytes &f, size_t at, size_t width) {
  uint32_t v = 0;
  for (size_t k = width; k-- > 0;) v = v << 8 | f.at(at + k);
  return v;
}

TEST(DpxWriter, HeadersAreByteExactInBothOrders) {
  // 3 x 2 samples of 10 bits held in 16, packing method 1 (the default).
  Picture p(3, 2, 16, 1024, [](uint32_t i) { return i + 1; });
  for (bool big : {false, true}) {
    SCOPED_TRACE(big);
    const fixture::Bytes f = Write(p, 4 | (big ? xe::kDpxBigEndian : 0), 0, 0x1122334455667788);
    fixture::Bytes want(kData + 8, 0);
    auto put = [&](size_t at, size_t width, uint32_t v) {
      for (size_t k = 0; k < width; ++k) want[at + (big ? width - 1 - k : k)] = static_cast<uint8_t>(v >> 8 * k);
    };
    std::memcpy(&want[8], "V2.0", 4);
    const uint32_t fields[][3] = {{0, 4, 0x53445058}, {4, 4, kData},   {16, 4, kData + 8}, {20, 4, 1},
                                  {24, 4, 1664},      {28, 4, 384},    {32, 4, 32},        {660, 4, 0xFFFFFFFF},
                                  {770, 2, 1},        {772, 4, 3},     {776, 4, 2},        {800, 1, 6},
                                  {801, 1, 2},        {803, 1, 10},    {804, 2, 1},        {808, 4, kData},
                                  {1920, 4, 0x55667788}, {1924, 4, 0x11223344},
                                  // Top row first: 1 2 3, then 4 5 6, three to a word from bit 2.
                                  {kData, 4, 1 << 2 | 2 << 12 | 3 << 22}, {kData + 4, 4, 4 << 2 | 5 << 12 | 6 << 22}};
    for (const auto &[at, width, v] : fields) put(at, width, v);
    ASSERT_EQ(f.size(), want.size());
    for (size_t i = 0; i < f.size(); ++i) ASSERT_EQ(f[i], want[i]) << "byte " << i;
  }
}

TEST(DpxWriter, DepthsPackingsAndRequests) {
  struct Case {
    int32_t w, h;
    uint16_t bits;
    uint32_t levels, flags, sample;
    int32_t status;
    uint32_t fileSize, bitSize, transfer, at, width, value;
  } cases[] = {
      // 10 bits, method 0: (n >> 4) x 20 + ((n & 15) + 1) / 3 bytes; 1023 is clamped.
      {1024, 512, 16, 1024, 0, 1023, 0, 657440, 10, 2, 0, 2, 1022 | (1022 & 63) << 10},
      // Method 1 with 4 samples: 2 words, the second holding only s3 << 2.
      {4, 1, 16, 1024, 4, 9, 0, kData + 8, 10, 2, 4, 4, 9 << 2},
      // Method 2: right-aligned, the top two bits padding.
      {1, 1, 16, 1024, 8, 9, 0, kData + 4, 10, 2, 0, 4, 9},
      // 12 bits, method 1: the top code 4095 is clamped to 4094, then << 4.
      {2, 1, 16, 4096, 4, 4095, 0, kData + 4, 12, 2, 2, 2, 65504},
      {2, 1, 16, 4096, 8, 4095, 0, kData + 4, 12, 2, 2, 2, 4094},
      // 14 bits are written as 16: 16383 clamped to 16382, times 4.
      {1, 1, 16, 16384, 4, 16383, 0, kData + 2, 16, 2, 0, 2, 65528},
      // An 8-bit image asked for log is written linear.
      {1, 1, 24, 0, xe::kDpxLog, 7, 0, kData + 3, 8, 2, 2, 1, 7},
      {1, 1, 16, 4096, xe::kDpxLog | 4, 0, 0, kData + 4, 10, 1, 0, 4, 95 << 2},
      // The 10-bit request: 12-bit samples shifted down, 8-bit ones up.
      {1, 1, 16, 4096, xe::kDpxTo10Bit | 8, 4000, 0, kData + 4, 10, 2, 0, 4, 1000},
      {1, 1, 8, 0, xe::kDpxTo10Bit | 8, 200, 0, kData + 4, 10, 2, 0, 4, 800},
      // No element for packing 3 or an 11-bit linear image; the headers stay.
      {2, 2, 16, 1024, 12, 5, 32, kData, 0, 2, 0, 0, 0},
      {2, 2, 16, 2048, 4, 5, 16, kData, 0, 2, 0, 0, 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << "x" << c.bits << " levels " << c.levels << " flags "
                                    << c.flags);
    Picture p(c.w, c.h, c.bits, c.levels, [&](uint32_t) { return c.sample; });
    const fixture::Bytes f = Write(p, c.flags, c.status);
    ASSERT_EQ(f.size(), c.fileSize);
    EXPECT_EQ(cinetest::Fields(Le(f, 16, 4), Le(f, 772, 4), uint32_t{f[803]}, uint32_t{f[801]}, uint32_t{f[800]}),
              cinetest::Fields(c.fileSize, c.status ? 0u : uint32_t(c.w), c.bitSize, c.transfer,
                               c.bits > 16 ? 50u : 6u));
    EXPECT_EQ(c.width ? Le(f, kData + c.at, c.width) : 0u, c.value);
  }
  Picture p(1, 1, 8, 0, [](uint32_t) { return 1; });
  EXPECT_EQ(xe::WriteDpxImage("/nonexistent-dir/a.dpx", &p.h, p.px.data(), 0, xe::DpxOptions{}), 1);
}

// Samples written bit by bit, low bits first.
fixture::Bytes Stream(const std::vector<uint32_t> &s, uint32_t bits, size_t bytes) {
  fixture::Bytes out(bytes, 0);
  for (size_t b = 0; b < s.size() * bits && b / 8 < bytes; ++b)
    if (s[b / bits] >> (b % bits) & 1) out[b / 8] |= static_cast<uint8_t>(1 << b % 8);
  return out;
}

TEST(DpxWriter, Method0StreamsAndTheirByteSwaps) {
  struct Case {
    uint32_t levels, bits, n, bytes;
  } cases[] = {{1024, 10, 16, 20}, {4096, 12, 16, 24}, {4096, 12, 5, 8}, {1024, 10, 20, 21}};
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << c.bits << " bits, " << c.n);
    std::vector<uint32_t> s(c.n);
    for (uint32_t i = 0; i < c.n; ++i) s[i] = (i * 397 + 5) % ((1u << c.bits) - 1);
    Picture p(c.n, 1, 16, c.levels, [&](uint32_t i) { return s[i]; });
    const fixture::Bytes le = Write(p, 0), be = Write(p, xe::kDpxBigEndian);
    const fixture::Bytes want = Stream(s, c.bits, c.bytes);
    ASSERT_EQ(le.size(), kData + c.bytes);
    EXPECT_EQ(fixture::Bytes(le.begin() + kData, le.end()), want);
    // Big-endian: each whole group of four bytes reversed, for 10 bits too.
    for (size_t i = 0; i + 4 <= c.bytes; ++i) EXPECT_EQ(be[kData + i], want[i / 4 * 4 + 3 - i % 4]) << i;
  }
}

}  // namespace
