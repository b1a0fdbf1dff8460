// The block chain of a cine written image by image, as the file holds it
// after closing: when fewer images came than were reserved the blocks are
// moved together, and each still says whether another one follows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "xefile/xefile.h"

namespace {

using fixture::GetU16;
using fixture::GetU32;

TEST(CineStreamWriterChain, OnlyTheLastBlockSaysNoMoreFollowAfterClosing) {
  ::Setup setup{};
  setup.RealBPP = 8;
  setup.BinChannels = 9;  // 2 bytes a sample
  setup.SamplesPerImage = 3;
  setup.AnaChannels = 1;
  setup.RangeSize = 5;
  XeCineWriterParams p{};
  p.Setup = &setup;
  p.Bmih.biWidth = 4;
  p.Bmih.biHeight = 2;
  p.Bmih.biBitCount = 8;
  p.Compression = XE_COMPRESSION_GRAY_COLOR;
  p.Timecode = 1;
  p.MaxImages = 4;
  // Tags in the order a camera makes them, and their bytes for each image.
  const std::vector<std::pair<uint16_t, uint32_t>> blocks = {
      {1002, 8}, {1003, 4}, {1005, 6}, {1006, 6}, {1004, 5}, {1007, 8}};
  const std::vector<uint8_t> pixels(8, 0x42);
  fixture::TempDir dir;
  for (uint32_t n : {0u, 3u, 4u}) {  // none, fewer than reserved, all
    SCOPED_TRACE(n);
    const std::string path = dir.path() + "/w" + std::to_string(n) + ".cine";
    CineWriterHandle w = nullptr;
    ASSERT_EQ(XefCineWriterOpen(path.c_str(), &p, &w), 0);
    for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(XefCineWriterAddImage(w, pixels.data(), nullptr, i, nullptr), 0);
    ASSERT_EQ(XefCineWriterClose(w), 0);

    const fixture::Bytes f = cinetest::FileBytes(path);
    ASSERT_GT(f.size(), 7324u);
    uint32_t at = 7324;
    for (size_t k = 0; k < blocks.size(); ++k) {
      SCOPED_TRACE(blocks[k].first);
      EXPECT_EQ(GetU16(f, at + 4), blocks[k].first);
      EXPECT_EQ(GetU16(f, at + 6), k + 1 < blocks.size() ? 1 : 0);
      EXPECT_EQ(GetU32(f, at), 8 + n * blocks[k].second);
      at += GetU32(f, at);
    }
    EXPECT_EQ(GetU32(f, 32), at) << "the table follows the last block";
    EXPECT_EQ(GetU32(f, 20), n);
    for (uint32_t i = 0; i < n; ++i) {
      const uint64_t record = fixture::GetU64(f, at + 8 * i);
      ASSERT_LT(record + 8, f.size());
      EXPECT_EQ(GetU32(f, record + 4), 8u) << "image " << i;
      EXPECT_EQ(f[record + 8], 0x42) << "image " << i;
    }
  }
}

}  // namespace
