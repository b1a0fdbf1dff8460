// The head of uncompressed movies byte by byte, and a movie that cannot be
// created. FFmpeg reads the frames in the interop test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "fixtures/cine_builder.h"
#include "formats/quicktime/quicktime_head.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;

// Movie times are calendar time plus 2082758400 s, one day short of 1904 to
// 1970, so readers show them a day early: the format's described offset.
int64_t FixedClock() { return 1700000000; }  // time word 0xE1785000
int64_t g_ticks = 0;
int64_t CountingClock() { return g_ticks++; }

Bytes HeadOf(uint32_t w, uint32_t h, uint32_t depth, uint32_t count, xe::QuickTimeClock clock = FixedClock) {
  xe::QuickTimeParams p;
  p.Width = w, p.Height = h, p.Depth = depth, p.TimeScale = depth == 24 ? 25 : 30, p.FrameCount = count;
  Bytes head;
  EXPECT_TRUE(xe::BuildQuickTimeHead(p, head, clock));
  EXPECT_EQ(p.FirstFrameOffset, head.size());
  return head;
}

uint64_t Be(const Bytes &b, size_t at, int bytes = 4) {
  uint64_t v = 0;
  for (int k = 0; k < bytes; ++k) v = v << 8 | b.at(at + k);
  return v;
}

// Bytes from text: pairs of hex digits, 'quoted' characters, T for the time
// word of FixedClock and M for the unit matrix.
Bytes FromText(const std::string &text) {
  Bytes out;
  auto hex = [&](const std::string &d) {
    for (size_t k = 0; k + 1 < d.size(); k += 2)
      out.push_back(static_cast<uint8_t>(std::stoul(d.substr(k, 2), nullptr, 16)));
  };
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\'') {
      const size_t end = text.find('\'', i + 1);
      out.insert(out.end(), text.begin() + static_cast<long>(i) + 1, text.begin() + static_cast<long>(end));
      i = end;
    } else if (text[i] == 'T') {
      hex("e1785000");
    } else if (text[i] == 'M') {
      hex("000100000000000000000000000000000001000000000000000000000000000040000000");
    } else if (std::isxdigit(static_cast<unsigned char>(text[i]))) {
      hex(text.substr(i++, 2));
    }
  }
  return out;
}

TEST(QuickTimeHead, ColourMovieHeadIsByteExact) {
  // 4 x 2 pixels of 24 bits, 2 frames at 25 a second: frames of 24 bytes from byte 665 on.
  const Bytes want = FromText(
      "00000291 'moov' 0000006c 'mvhd' 00000000 T T 00000019 00000002 00010000 00ff 00000000000000000000 M "
      "00000000 00000000 00000000 00000000 00000002 00000000 00000001 "
      "0000021d 'trak' 0000005c 'tkhd' 0000000f T T 00000001 00000000 00000002 0000000000000000 "
      "0000000000000000 M 00040000 00020000 "
      "000001b9 'mdia' 00000020 'mdhd' 00000000 T T 00000019 00000002 0000 0064 "
      "0000003a 'hdlr' 00000000 'mhlr' 'vide' 000000000000000000000000 19 'Apple Video Media Handler' "
      "00000157 'minf' 00000014 'vmhd' 00000001 0040 8000 8000 8000 "
      "00000039 'hdlr' 00000000 'dhlr' 'alis' 000000000000000000000000 18 'Apple Alias Data Handler' "
      "00000024 'dinf' 0000001c 'dref' 00000000 00000001 0000000c 'alis' 00000001 "
      "000000de 'stbl' 00000066 'stsd' 00000000 00000001 00000056 'raw ' 000000000000 0001 0000 0000 'appl' "
      "00000064 00000064 0004 0002 00480000 00480000 00000000 0001 "
      "0e 'Sorenson Video' 0000000000000000000000000000000000 0018 ffff "
      "00000018 'stts' 00000000 00000001 00000002 00000001 "
      "0000001c 'stsc' 00000000 00000001 00000001 00000001 00000001 "
      "0000001c 'stsz' 00000000 00000000 00000002 00000018 00000018 "
      "00000020 'co64' 00000000 00000002 0000000000000299 00000000000002b1 "
      "00000000 'mdat'");
  const Bytes head = HeadOf(4, 2, 24, 2);
  ASSERT_EQ(head.size(), want.size());
  const auto differs = std::mismatch(head.begin(), head.end(), want.begin()).first;
  EXPECT_EQ(differs - head.begin(), head.end() - head.begin()) << "first byte that differs";
}

TEST(QuickTimeHead, GreyMovieHasTheGreyRampAndFramesBehindMdat) {
  // 640 x 480 at 8 bits, 100 frames at 30 a second: the stsd entry at 459,
  // the stsz entries at 2673, co64 entries at 3089, frames from 3897 on.
  const Bytes head = HeadOf(640, 480, 8, 100);
  ASSERT_EQ(head.size(), 3897u);
  EXPECT_EQ(Be(head, 28, 8), 30ull << 32 | 100);  // mvhd time scale and duration
  EXPECT_EQ(Be(head, 459), 2142u);
  EXPECT_EQ(Be(head, 459 + 82), 0x00080000u);          // depth 8, colour table in the entry
  EXPECT_EQ(Be(head, 459 + 86, 8), 0x800000FFull);     // seed 0, flags 0x8000, last index 255
  for (uint64_t i = 0; i < 256; ++i)
    ASSERT_EQ(Be(head, 459 + 94 + 8 * i, 8), (i << 8) * 0x100010001ull) << "grey " << i;
  EXPECT_EQ(Be(head, 2669), 100u);
  EXPECT_EQ(Be(head, 3085), 100u);
  for (uint64_t k = 0; k < 100; ++k) {
    ASSERT_EQ(Be(head, 2673 + 4 * k), 307200u) << k;
    ASSERT_EQ(Be(head, 3089 + 8 * k, 8), 3897 + 307200 * k) << k;
  }
  EXPECT_EQ(Be(head, 3889, 8), 0x6d646174u);  // mdat of size 0

  // 2000 frames of 3 MiB: the last offset lies near 6 GiB.
  const Bytes big = HeadOf(1024, 1024, 24, 2000);
  EXPECT_EQ(Be(big, big.size() - 16, 8), big.size() + 1999ull * 3145728);
}

// The movie, track and media atoms each read the clock, once each, for
// both of their times; nothing else in the head depends on it.
TEST(QuickTimeHead, HeadsDifferOnlyInTheTimesOfThreeAtoms) {
  g_ticks = 100;
  Bytes counted = HeadOf(640, 480, 8, 3, CountingClock), fixed = HeadOf(640, 480, 8, 3);
  ASSERT_EQ(counted.size(), fixed.size());
  const size_t times[] = {20, 136, 236};  // in mvhd, tkhd and mdhd
  for (size_t at : times) EXPECT_EQ(Be(counted, at), Be(counted, at + 4)) << at;
  EXPECT_EQ(Be(counted, 136), Be(counted, 20) + 1);
  EXPECT_EQ(Be(counted, 236), Be(counted, 20) + 2);
  for (size_t at : times) {
    std::fill_n(counted.begin() + static_cast<long>(at), 8, 0);
    std::fill_n(fixed.begin() + static_cast<long>(at), 8, 0);
  }
  EXPECT_EQ(counted, fixed);
}

// A movie that cannot be created does not end the save at its open: the
// first image fails it, and the job still ends with its final steps.
std::vector<uint32_t> g_reports;
int32_t Record(uint32_t percent, CineHandle) {
  g_reports.push_back(percent);
  return 1;
}
class QuickTimeSave : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }
};
TEST_F(QuickTimeSave, UncreatableMovieFailsAtTheFirstImage) {
  fixture::CineBuilder b;
  cinetest::Opened src(b.Image(16, 8, 8).Images(-3, 10).Build());
  fixture::TempDir dir;
  const std::string path = dir.path() + "/taken.mov";
  std::filesystem::create_directory(path);
  ASSERT_EQ(XeSetCineSaveOptions(src.cine, path.c_str(), 8, 0, 100), 0);
  EXPECT_EQ(XeWriteCineFile(src.cine, Record), XE_ERR_FILE_WRITE);
  EXPECT_EQ(g_reports, (std::vector<uint32_t>{0, 100}));
}

}  // namespace
