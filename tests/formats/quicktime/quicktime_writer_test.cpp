// The head of uncompressed movies byte by byte, and movies saved from a cine
// through the public calls, read back frame by frame.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "formats/quicktime/quicktime_head.h"
#include "movie_test_support.h"
#include "xefile/xefile.h"

namespace {

using movietest::Be;
using movietest::Be32;
using movietest::Body;
using movietest::Bytes;
using movietest::MovieFrames;
using movietest::Recording;

// Movie times are calendar time plus 2082758400 s, one day short of 1904 to
// 1970, so readers show them a day early: the format's described offset.
int64_t FixedClock() { return 1700000000; }  // time word 0xE1785000
int64_t g_ticks = 0;
int64_t CountingClock() { return g_ticks++; }

Bytes HeadOf(uint32_t w, uint32_t h, uint32_t depth, uint32_t rate, uint32_t count, xe::QuickTimeClock clock,
             uint32_t *firstFrame = nullptr) {
  xe::QuickTimeParams p;
  p.Width = w, p.Height = h, p.Depth = depth, p.TimeScale = rate, p.FrameCount = count;
  Bytes head;
  EXPECT_TRUE(xe::BuildQuickTimeHead(p, head, clock));
  if (firstFrame) *firstFrame = p.FirstFrameOffset;
  return head;
}

// Bytes from text: pairs of hex digits, 'quoted' characters, T for the time
// word of FixedClock and M for the unit matrix.
Bytes FromText(const std::string &text) {
  Bytes out;
  auto hex = [&](const std::string &digits) {
    for (size_t k = 0; k + 1 < digits.size(); k += 2) out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(k, 2), nullptr, 16)));
  };
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\'') {
      const size_t end = text.find('\'', i + 1);
      out.insert(out.end(), text.begin() + static_cast<long>(i) + 1, text.begin() + static_cast<long>(end));
      i = end;
    } else if (c == 'T') {
      hex("e1785000");
    } else if (c == 'M') {
      hex("000100000000000000000000000000000001000000000000000000000000000040000000");
    } else if (std::isxdigit(static_cast<unsigned char>(c))) {
      hex(text.substr(i, 2));
      ++i;
    }
  }
  return out;
}

TEST(QuickTimeHead, ColourMovieHeadIsByteExact) {
  // 4 x 2 pixels of 24 bits, 2 frames at 25 a second: frames of 24 bytes
  // from byte 665 on. Containers (no body given) hold the atoms below them.
  const std::vector<std::pair<std::string, const char *>> want = {
      {"moov", nullptr},
      {"moov/mvhd", "00000000 T T 00000019 00000002 00010000 00ff 00000000000000000000 M "
                    "00000000 00000000 00000000 00000000 00000002 00000000 00000001"},
      {"moov/trak", nullptr},
      {"moov/trak/tkhd", "0000000f T T 00000001 00000000 00000002 0000000000000000 0000000000000000 M "
                         "00040000 00020000"},
      {"moov/trak/mdia", nullptr},
      {"moov/trak/mdia/mdhd", "00000000 T T 00000019 00000002 0000 0064"},
      {"moov/trak/mdia/hdlr", "00000000 'mhlr' 'vide' 000000000000000000000000 19 'Apple Video Media Handler'"},
      {"moov/trak/mdia/minf", nullptr},
      {"moov/trak/mdia/minf/vmhd", "00000001 0040 8000 8000 8000"},
      {"moov/trak/mdia/minf/hdlr", "00000000 'dhlr' 'alis' 000000000000000000000000 18 'Apple Alias Data Handler'"},
      {"moov/trak/mdia/minf/dinf", nullptr},
      {"moov/trak/mdia/minf/dinf/dref", "00000000 00000001 0000000c 'alis' 00000001"},
      {"moov/trak/mdia/minf/stbl", nullptr},
      {"moov/trak/mdia/minf/stbl/stsd",
       "00000000 00000001 00000056 'raw ' 000000000000 0001 0000 0000 'appl' 00000064 00000064 0004 0002 "
       "00480000 00480000 00000000 0001 0e 'Sorenson Video' 0000000000000000000000000000000000 0018 ffff"},
      {"moov/trak/mdia/minf/stbl/stts", "00000000 00000001 00000002 00000001"},
      {"moov/trak/mdia/minf/stbl/stsc", "00000000 00000001 00000001 00000001 00000001"},
      {"moov/trak/mdia/minf/stbl/stsz", "00000000 00000000 00000002 00000018 00000018"},
      {"moov/trak/mdia/minf/stbl/co64", "00000000 00000002 0000000000000299 00000000000002b1"},
      {"mdat", ""},
  };
  uint32_t first = 0;
  const Bytes head = HeadOf(4, 2, 24, 25, 2, FixedClock, &first);
  EXPECT_EQ(head.size(), 665u);
  EXPECT_EQ(first, 665u);
  const std::vector<movietest::Atom> atoms = movietest::Walk(head);
  ASSERT_EQ(atoms.size(), want.size());
  for (size_t k = 0; k < want.size(); ++k) {
    ASSERT_EQ(atoms[k].path, want[k].first);
    if (!want[k].second) continue;
    const Bytes body(head.begin() + static_cast<long>(atoms[k].at) + 8,
                     head.begin() + static_cast<long>(atoms[k].at + atoms[k].size));
    EXPECT_EQ(body, FromText(want[k].second)) << want[k].first;
  }
}

TEST(QuickTimeHead, GreyMovieHasTheGreyRampAndFramesBehindMdat) {
  // 640 x 480 at 8 bits, 100 frames at 30 a second: 100/30 s of frames of 307200 bytes.
  uint32_t first = 0;
  const Bytes head = HeadOf(640, 480, 8, 30, 100, FixedClock, &first);
  const auto atoms = movietest::Walk(head);
  EXPECT_EQ(head.size(), 3897u);
  EXPECT_EQ(std::string(head.end() - 4, head.end()), "mdat");
  const size_t mvhd = Body(atoms, "moov/mvhd");
  EXPECT_EQ(Be32(head, mvhd + 12), 30u);
  EXPECT_EQ(Be32(head, mvhd + 16), 100u);
  const size_t entry = Body(atoms, "moov/trak/mdia/minf/stbl/stsd") + 8;
  EXPECT_EQ(Be32(head, entry), 2142u);
  EXPECT_EQ(Be(head, entry + 82, 2), 8u);  // depth
  EXPECT_EQ(Be(head, entry + 84, 2), 0u);  // colour table in the entry
  EXPECT_EQ(Be(head, entry + 86, 8), 0x800000FFull);  // seed 0, flags 0x8000, last index 255
  for (uint64_t i = 0; i < 256; ++i)
    ASSERT_EQ(Be(head, entry + 94 + 8 * i, 8), (i << 8) * 0x100010001ull) << "grey " << i;
  const size_t stsz = Body(atoms, "moov/trak/mdia/minf/stbl/stsz");
  const size_t co64 = Body(atoms, "moov/trak/mdia/minf/stbl/co64");
  EXPECT_EQ(Be32(head, stsz + 8), 100u);
  EXPECT_EQ(Be32(head, co64 + 4), 100u);
  for (uint64_t k = 0; k < 100; ++k) {
    ASSERT_EQ(Be32(head, stsz + 12 + 4 * k), 307200u) << k;
    ASSERT_EQ(Be(head, co64 + 8 + 8 * k, 8), head.size() + 307200 * k) << k;
  }
  EXPECT_EQ(first, head.size());
}

TEST(QuickTimeHead, OffsetsPastFourGigabytesAreSummedIn64Bits) {
  // 2000 frames of 3 MiB: the last starts near 6 GiB.
  const Bytes head = HeadOf(1024, 1024, 24, 30, 2000, FixedClock);
  const size_t co64 = Body(movietest::Walk(head), "moov/trak/mdia/minf/stbl/co64");
  EXPECT_EQ(Be(head, co64 + 8 + 8 * 1999, 8), head.size() + 1999ull * 3145728);
  EXPECT_EQ(Be32(head, head.size() - 8), 0u);  // mdat size stays 0
}

// The movie, track and media atoms each read the clock, once each, for
// both of their times; nothing else in the head depends on it.
TEST(QuickTimeHead, HeadsDifferOnlyInTheTimesOfThreeAtoms) {
  g_ticks = 100;
  Bytes counted = HeadOf(640, 480, 8, 30, 3, CountingClock);
  Bytes fixed = HeadOf(640, 480, 8, 30, 3, FixedClock);
  ASSERT_EQ(counted.size(), fixed.size());
  const auto atoms = movietest::Walk(counted);
  std::vector<uint32_t> times;
  for (const char *path : {"moov/mvhd", "moov/trak/tkhd", "moov/trak/mdia/mdhd"}) {
    const size_t at = Body(atoms, path) + 4;
    EXPECT_EQ(Be32(counted, at), Be32(counted, at + 4)) << path;
    times.push_back(Be32(counted, at) - 2082758400u);
    std::fill_n(counted.begin() + static_cast<long>(at), 8, 0);
    std::fill_n(fixed.begin() + static_cast<long>(at), 8, 0);
  }
  EXPECT_EQ(times[1], times[0] + 1);
  EXPECT_EQ(times[2], times[0] + 2);
  EXPECT_EQ(counted, fixed);
}

// Saves through the public calls of a gray and a colour cine of 10 images.
class QuickTimeSave : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }

  int32_t Save(CineHandle c, const std::string &path, pfnCallback cb = nullptr) {
    EXPECT_EQ(XeSetCineSaveOptions(c, path.c_str(), 8, 0, 100), 0);
    return XeWriteCineFile(c, cb);
  }
  fixture::TempDir dir;
};

TEST_F(QuickTimeSave, FramesFollowTheHeadTopDownAndRedFirst) {
  for (uint16_t bits : {8, 24}) {
    SCOPED_TRACE(bits);
    cinetest::Opened src(Recording(bits));
    const std::string path = dir.path() + "/m.mov";
    ASSERT_EQ(XevSetCineInfo(src.cine, CIS_MovieTimeScale, 24), 0);
    ASSERT_EQ(Save(src.cine, path), 0);
    const Bytes file = cinetest::FileBytes(path);
    const auto atoms = movietest::Walk(file);
    const size_t co64 = Body(atoms, "moov/trak/mdia/minf/stbl/co64");
    const size_t first = Be(file, co64 + 8, 8);
    EXPECT_EQ(Be32(file, Body(atoms, "moov/mvhd") + 12), 24u);
    EXPECT_EQ(Be32(file, co64 + 4), 10u);
    EXPECT_EQ(Bytes(file.begin() + static_cast<long>(first), file.end()), MovieFrames(src.cine, 10, bits));
  }
}

std::vector<uint32_t> g_reports;
int32_t StopAt30(uint32_t percent, CineHandle) {
  g_reports.push_back(percent);
  return percent < 30;
}

TEST_F(QuickTimeSave, StoppedSaveKeepsThePromisedCount) {
  cinetest::Opened src(Recording(8));
  const std::string path = dir.path() + "/stopped.mov";
  g_reports.clear();
  ASSERT_EQ(Save(src.cine, path, StopAt30), 0);
  EXPECT_EQ(g_reports, (std::vector<uint32_t>{0, 10, 20, 30, 100}));
  const Bytes file = cinetest::FileBytes(path);
  const size_t stsz = Body(movietest::Walk(file), "moov/trak/mdia/minf/stbl/stsz");
  EXPECT_EQ(Be32(file, stsz + 8), 10u);
  EXPECT_EQ(file.size(), 2697u + 10 * 12 + 3 * 128);  // head of 10 frames, 3 frames of 16 x 8
}

// A movie that cannot be created fails at the first image; the job still
// ends with its final steps.
TEST_F(QuickTimeSave, UncreatableMovieFailsAtTheFirstImage) {
  cinetest::Opened src(Recording(8));
  const std::string path = dir.path() + "/taken.mov";
  std::filesystem::create_directory(path);
  g_reports.clear();
  EXPECT_EQ(Save(src.cine, path, StopAt30), XE_ERR_FILE_WRITE);
  EXPECT_EQ(g_reports, (std::vector<uint32_t>{0, 100}));
}

}  // namespace
