// The repair of a multipage TIFF left short, on hand-made files: the chain
// is cut after the last whole page, whatever the offsets say.
#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures/cine_builder.h"
#include "tiff_repair.h"

namespace {

using fixture::Bytes;

// A classic TIFF of pages of 4 strip bytes each: a directory of two entries
// (StripOffsets, StripByteCounts) and its strip. `next[i]` is page i's
// next-directory offset; -1 links to the following page, 42 bytes on (a
// 30-byte directory, its strip, 8 bytes of padding). Page 0 is at 8, its
// next offset at 34; page 1 at 50, its next offset at 76; two pages end at 92.
Bytes Pages(bool big, const std::vector<int64_t> &next, uint32_t lastStripBytes = 4) {
  Bytes b;
  auto u16 = [&](uint32_t v) {
    for (int i = 0; i < 2; ++i) b.push_back(static_cast<uint8_t>(v >> 8 * (big ? 1 - i : i)));
  };
  auto u32 = [&](uint64_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> 8 * (big ? 3 - i : i)));
  };
  b.push_back(big ? 'M' : 'I'), b.push_back(big ? 'M' : 'I');
  u16(42), u32(8);
  for (size_t i = 0; i < next.size(); ++i) {
    const uint32_t at = static_cast<uint32_t>(b.size());
    u16(2);
    u16(273), u16(4), u32(1), u32(at + 30);
    u16(279), u16(4), u32(1), u32(i + 1 == next.size() ? lastStripBytes : 4);
    u32(next[i] < 0 ? at + 42 : static_cast<uint64_t>(next[i]));
    b.resize(b.size() + 12, 0xAB);
  }
  return b;
}

TEST(TiffRepair, CutsTheChainAfterTheLastWholePage) {
  const struct {
    const char *what;
    Bytes bytes;
    int64_t pages;
    size_t zeroAt;  // where the repair writes 0; 0 for no write
  } cases[] = {
      {"ends properly", Pages(false, {-1, 0}), 2, 0},
      {"last next past the end", Pages(false, {-1, -1}), 2, 76},
      {"next into the file's last bytes", Pages(false, {-1, 90}), 2, 76},
      {"next back into the chain", Pages(false, {-1, 8}), 2, 76},
      {"last strip cut short", Pages(false, {-1, 0}, 400), 1, 34},
      {"big-endian", Pages(true, {-1, -1}), 2, 76},
      {"no whole page", Pages(false, {0}, 400), 0, 0},
      {"not a TIFF", Bytes{'P', '5', '\n', '1'}, -1, 0},
  };
  for (const auto &k : cases) {
    fixture::TempFile file(k.bytes, ".tif");
    EXPECT_EQ(xetool::CountTiffPages(file.path()), k.pages) << k.what;
    EXPECT_EQ(xetool::RepairMultipageTiff(file.path()), k.pages) << k.what;
    Bytes expected = k.bytes;
    if (k.zeroAt) std::fill_n(expected.begin() + static_cast<long>(k.zeroAt), 4, 0);
    EXPECT_EQ(file.Read(), expected) << k.what;
    EXPECT_EQ(xetool::CountTiffPages(file.path()), k.pages) << k.what;
  }
}

}  // namespace
