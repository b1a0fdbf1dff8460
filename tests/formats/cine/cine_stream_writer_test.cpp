// A cine written image by image: readable after every image, complete and
// compact after closing, its block chain ending at the last block.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "xefile/xefile.h"

namespace {

struct Written {
  ::Setup setup{};
  XeCineWriterParams params{};
  std::vector<uint8_t> pixels;
  Written() {
    setup.CFA = 1;
    setup.RealBPP = 12;
    setup.FrameRate = 1000;
    setup.BinChannels = 4;
    setup.AnaChannels = 2;
    setup.SamplesPerImage = 1;
    setup.RangeCode = 1;
    setup.RangeSize = 6;
    params.Setup = &setup;
    params.Bmih.biWidth = 8;
    params.Bmih.biHeight = 4;
    params.Bmih.biBitCount = 16;
    params.Compression = XE_COMPRESSION_RAW;
    params.Timecode = 1;
    params.FirstImageNo = -2;
    params.TriggerTime = Time64{0, 1700000000};
    params.MaxImages = 8;
    pixels.resize(8 * 4 * 2);
  }
  const uint8_t *Image(uint32_t i) {
    for (size_t k = 0; k < pixels.size(); ++k) pixels[k] = static_cast<uint8_t>(i * 7 + k);
    return pixels.data();
  }
};

using Opened = cinetest::OpenedPath;

uint32_t Count(CineHandle c) {
  uint32_t n = 0;
  XeGetCineInfo(c, CIS_ImageCount, &n);
  return n;
}

// One image as stored.
std::vector<uint8_t> Raw(CineHandle c, int32_t image) { return cinetest::Images(c, image, 1, 3); }

TEST(CineStreamWriter, ReadableAfterEveryImageAndCompactWhenClosed) {
  fixture::TempDir dir;
  std::string path = dir.path() + "/s.cine", copy = dir.path() + "/copy.cine";
  Written in;
  CineWriterHandle w = nullptr;
  ASSERT_EQ(XefCineWriterOpen(path.c_str(), &in.params, &w), 0);
  for (uint32_t i = 0; i < 5; ++i) {
    uint8_t range[6] = {uint8_t(i), 1, 2, 3, 4, 5}, bin = uint8_t(i & 0xF);
    int16_t ana[2] = {int16_t(i * 10), int16_t(-1)};
    TC tc{};
    std::memset(&tc, static_cast<int>(i), sizeof tc);
    XeCineImageExtra extra{range, &bin, ana, &tc};
    Time64 t{i << 2, 1700000000};
    ASSERT_EQ(XefCineWriterAddImage(w, in.Image(i), i == 4 ? nullptr : &t, 100 + i, &extra), 0);
    // The writer holds the file alone; a copy shows what a reader would see.
    fixture::TempFile now(cinetest::FileBytes(path));
    Opened o(now.path());
    ASSERT_GE(o.status, 0) << i;
    EXPECT_EQ(Count(o.cine), i + 1);
    EXPECT_EQ(Raw(o.cine, -2 + int32_t(i)), std::vector<uint8_t>(in.Image(i), in.Image(i) + 64));
  }
  ASSERT_EQ(XefCineWriterClose(w), 0);

  Opened o(path);
  ASSERT_GE(o.status, 0);
  EXPECT_EQ(Count(o.cine), 5u);
  for (int32_t im = -2; im < 3; ++im) {
    uint32_t i = uint32_t(im + 2);
    EXPECT_EQ(Raw(o.cine, im), std::vector<uint8_t>(in.Image(i), in.Image(i) + 64));
    uint32_t exposure = 0;
    uint8_t range[6] = {};
    int16_t ana[2] = {};
    EXPECT_EQ(XefCineImageExposure(o.cine, im, &exposure), 1);
    ASSERT_EQ(XeGetCineAuxData(o.cine, im, 1004, 6, range) | XeGetCineAuxData(o.cine, im, 1006, 4, ana), 0);
    EXPECT_EQ(cinetest::Fields(exposure, uint32_t{range[0]}, ana[0]), cinetest::Fields(100 + i, i, int16_t(i * 10)));
  }
  // The image without a time got the trigger time plus its place at 1000 fps.
  Time64 t{};
  EXPECT_EQ(XeGetCineAuxData(o.cine, 2, 1002, 8, &t), 0);
  EXPECT_EQ(t.seconds, 1700000000u);
  EXPECT_NEAR(t.fractions / 4294967296.0, 0.002, 1e-6);
}

// Closed after fewer images than were reserved, the blocks are moved
// together, and each still says whether another one follows.
TEST(CineStreamWriter, OnlyTheLastBlockSaysNoMoreFollowAfterClosing) {
  Written in;
  in.params.MaxImages = 4;
  // Tags in the order a camera makes them, and their bytes for each image.
  const std::pair<uint16_t, uint32_t> blocks[] = {{1002, 8}, {1003, 4}, {1005, 1},
                                                  {1006, 4}, {1004, 6}, {1007, 8}};
  fixture::TempDir dir;
  for (uint32_t n : {0u, 3u, 4u}) {  // none, fewer than reserved, all
    SCOPED_TRACE(n);
    const std::string path = dir.path() + "/w" + std::to_string(n) + ".cine";
    CineWriterHandle w = nullptr;
    ASSERT_EQ(XefCineWriterOpen(path.c_str(), &in.params, &w), 0);
    for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(XefCineWriterAddImage(w, in.Image(i), nullptr, i, nullptr), 0);
    ASSERT_EQ(XefCineWriterClose(w), 0);

    const fixture::Bytes f = cinetest::FileBytes(path);
    ASSERT_GT(f.size(), 7324u);
    uint32_t at = 7324;
    for (size_t k = 0; k < std::size(blocks); ++k) {
      SCOPED_TRACE(blocks[k].first);
      EXPECT_EQ(fixture::GetU16(f, at + 4), blocks[k].first);
      EXPECT_EQ(fixture::GetU16(f, at + 6), k + 1 < std::size(blocks) ? 1 : 0);
      EXPECT_EQ(fixture::GetU32(f, at), 8 + n * blocks[k].second);
      at += fixture::GetU32(f, at);
    }
    EXPECT_EQ(fixture::GetU32(f, 32), at) << "the table follows the last block";
    EXPECT_EQ(fixture::GetU32(f, 20), n);
    for (uint32_t i = 0; i < n; ++i) {
      const uint64_t record = fixture::GetU64(f, at + 8 * i);
      ASSERT_LT(record + 8, f.size());
      EXPECT_EQ(fixture::GetU32(f, record + 4), 64u) << "image " << i;
      EXPECT_EQ(f[record + 8], in.Image(i)[0]) << "image " << i;
    }
  }
}

TEST(CineStreamWriter, RefusesWhatTheFormatCannotHold) {
  fixture::TempDir dir;
  std::string path = dir.path() + "/r.cine";
  Written in;
  CineWriterHandle w = nullptr;
  in.params.Bmih.biBitCount = 12;
  EXPECT_EQ(XefCineWriterOpen(path.c_str(), &in.params, &w), XE_ERR_NOT_SUPPORTED);
  in.params.Bmih.biBitCount = 16;
  in.params.MaxImages = 2;
  ASSERT_EQ(XefCineWriterOpen(path.c_str(), &in.params, &w), 0);
  for (uint32_t i = 0; i < 2; ++i) EXPECT_EQ(XefCineWriterAddImage(w, in.Image(i), nullptr, 0, nullptr), 0);
  EXPECT_EQ(XefCineWriterAddImage(w, in.Image(2), nullptr, 0, nullptr), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XefCineWriterClose(w), 0);
  Opened o(path);
  ASSERT_GE(o.status, 0);
  EXPECT_EQ(Count(o.cine), 2u);
  EXPECT_EQ(XefCineWriterOpen((dir.path() + "/no/such/dir/x.cine").c_str(), &in.params, &w),
            XE_ERR_FILE_OPEN);
}

}  // namespace
