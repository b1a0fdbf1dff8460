// A file that keeps only a part of its recording (its first stored image
// after the first recorded one) saved again and clipped: every kept image
// keeps its own pixels, time, exposure and per-image blocks. Also the old
// TIME_1 block met in memory, whose table counts from the first image of the
// recording rather than from the first stored one.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
using fixture::Payload;
namespace su = fixture::setup;

// Recorded: images -10 to 19. Stored: -4 to 3.
constexpr int32_t kMovieFirst = -10, kTotal = 30, kFirst = -4, kCount = 8;

Bytes PartialRecording() {
  fixture::CineBuilder b;
  b.Image(8, 4, 16, 0, 4096).Compression(2).Range(kMovieFirst, kTotal, kFirst, kCount);
  b.setup().SetU32(su::kCFA, 2).SetU32(su::kEnableColor, 1).SetU32(su::kRealBPP, 12);
  b.setup().SetU32(su::kFrameRate, 500).SetU16(su::kBinChannels, 9).SetU16(su::kSamplesPerImage, 2);
  b.setup().SetU16(su::kAnaChannels, 1).SetU32(su::kRangeCode, 1).SetU32(su::kRangeSize, 3);
  Payload times, exposures, bin, ana, range, tc;
  for (uint32_t i = 0; i < kCount; ++i) {
    times.Time((i * 0x10000000u) | 3, 1700000000 + i);
    exposures.U32(4294967u * (i + 1));
    bin.U16(static_cast<uint16_t>(0x101 * i)).U16(static_cast<uint16_t>(~i));  // 2 bytes x 2 samples
    ana.U16(static_cast<uint16_t>(300 + i)).U16(static_cast<uint16_t>(700 - i));
    range.U8(static_cast<uint8_t>(i)).U8(0x5A).U8(static_cast<uint8_t>(0xF0 | i));
    tc.U64(0x0102030400000000ull + i);
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures).AddBlock(1005, bin).AddBlock(1006, ana);
  b.AddBlock(1004, range).AddBlock(1007, tc);
  return b.Build();
}

using cinetest::Aux;

// Time and exposure as stored (not through the microsecond rounding of the
// aux data), and every block of the image, compared with the source.
void ExpectSamePerImageData(CineHandle src, CineHandle out, int32_t first, int32_t last) {
  for (int32_t n = first; n <= last; ++n) {
    SCOPED_TRACE(n);
    Time64 a{}, b{};
    EXPECT_EQ(XefCineImageTime(out, n, &b), 1);
    XefCineImageTime(src, n, &a);
    EXPECT_EQ(std::make_pair(b.seconds, b.fractions), std::make_pair(a.seconds, a.fractions));
    uint32_t ea = 0, eb = 0;
    EXPECT_EQ(XefCineImageExposure(out, n, &eb), 1);
    XefCineImageExposure(src, n, &ea);
    EXPECT_EQ(eb, ea);
    for (auto [tag, size] : {std::pair{1004u, 3u}, {1005u, 4u}, {1006u, 4u}, {1007u, 8u}})
      EXPECT_EQ(Aux(out, n, tag, size), Aux(src, n, tag, size)) << tag;
  }
}

using cinetest::Images;
using Saved = cinetest::OpenedPath;

class PartialResave : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }
  fixture::TempDir dir;
};

TEST_F(PartialResave, RawAndProcessedSavesKeepEachImagesData) {
  cinetest::Opened src(PartialRecording());
  ASSERT_EQ(src.status, 0);
  struct Case {
    int16_t type;
    int32_t first, last;
  } cases[] = {{0, kFirst, kFirst + kCount - 1}, {0, -2, 1}, {1, -3, 3}};
  for (const Case &k : cases) {
    SCOPED_TRACE(testing::Message() << "type " << k.type << " from " << k.first);
    const std::string path = dir.path() + "/p" + std::to_string(k.type) + std::to_string(k.first) + ".cine";
    ASSERT_EQ(XeSetCineSaveRange(src.cine, k.first, k.last), 0);
    ASSERT_EQ(XeSetCineSaveOptions(src.cine, path.c_str(), static_cast<uint16_t>(k.type), 0, 100), 0);
    ASSERT_EQ(XeWriteCineFile(src.cine, nullptr), 0);
    Saved out(path);
    ASSERT_EQ(out.status, 0);
    const uint32_t n = static_cast<uint32_t>(k.last - k.first + 1);
    // The recording is described as it was; the stored part is the range.
    const CineFileHeader &h = out.cine->H.Header;
    EXPECT_EQ(cinetest::Fields(h.FirstMovieImage, h.TotalImageCount, h.FirstImageNo, h.ImageCount),
              cinetest::Fields(kMovieFirst, uint32_t{kTotal}, k.first, n));
    ExpectSamePerImageData(src.cine, out.cine, k.first, k.last);
    EXPECT_EQ(Images(out.cine, k.first, n, 3), Images(src.cine, k.first, n, k.type == 0 ? 3 : 2));
  }
}

// ---- TIME_1 in memory ------------------------------------------------------

constexpr uint32_t kShutterNs = 1000000;

// A gray partial recording whose one block is made, in memory, an old TIME_1
// block of the whole recording: time i has seconds 1000 + i, exposure i is
// 500 + i, for i counted from image -10.
struct Time1InMemory {
  cinetest::Opened cine{Build()};
  static Bytes Build() {
    fixture::CineBuilder b;
    b.Image(8, 2, 8).Range(kMovieFirst, kTotal, kFirst, kCount);
    b.setup().SetU32(su::kShutterNs, kShutterNs);
    Payload p;
    for (uint32_t i = 0; i < kTotal; ++i) p.Time(3, 1000 + i);
    for (uint32_t i = 0; i < kTotal; ++i) p.U32(500 + i);
    return b.AddBlock(1002, p).Build();
  }
  Time1InMemory() {
    uint8_t *block = xe::FirstTaggedBlock(cine.cine);
    EXPECT_NE(block, nullptr);
    if (block) xe::WriteBlockHeader(block, 8 + kTotal * 12, 1001, 0);
  }
};

// Time seconds and exposure of image n as answered, -1 when not from a block.
std::pair<int64_t, int64_t> TimeAndExposure(CineHandle c, int32_t n) {
  Time64 t{};
  uint32_t e = 0;
  XefCineImageTime(c, n, &t);
  XefCineImageExposure(c, n, &e);
  return {t.seconds < 1700000000u ? int64_t{t.seconds} : -1, e == 4294967u ? -1 : int64_t{e}};
}

std::pair<int64_t, int64_t> Entry(int32_t n) { return {1000 + n - kMovieFirst, 500 + n - kMovieFirst}; }

TEST_F(PartialResave, Time1TimesAndExposuresAreReadSavedAndClipped) {
  Time1InMemory t;
  ASSERT_EQ(t.cine.status, 0);
  // The old table counts from the first recorded image, so images before the
  // first stored one are found in it too.
  for (int32_t n : {kMovieFirst, kFirst, 0, kMovieFirst + kTotal - 1})
    EXPECT_EQ(TimeAndExposure(t.cine.cine, n), Entry(n)) << n;
  // One past the recording: computed from the shutter, not read past the block.
  EXPECT_EQ(TimeAndExposure(t.cine.cine, kMovieFirst + kTotal).second, -1);

  // A save writes time and exposure blocks of the saved images.
  const std::string path = dir.path() + "/t1.cine";
  ASSERT_EQ(XeSetCineSaveRange(t.cine.cine, -3, 2), 0);
  ASSERT_EQ(XeSetCineSaveOptions(t.cine.cine, path.c_str(), 1, 0, 100), 0);
  EXPECT_EQ(XeWriteCineFile(t.cine.cine, nullptr), 0);
  Saved out(path);
  ASSERT_EQ(out.status, 0);
  for (int32_t n = -3; n <= 2; ++n) EXPECT_EQ(TimeAndExposure(out.cine, n), Entry(n)) << n;
  EXPECT_EQ(Images(out.cine, -3, 6, 3), Images(t.cine.cine, -3, 6, 2));

  // A file cine is clipped from its first stored image.
  ImageRange r{kFirst, 5};
  ASSERT_EQ(XeClipCine(t.cine.cine, &r), 0);
  for (int32_t n = kFirst; n < kFirst + 5; ++n)
    EXPECT_EQ(TimeAndExposure(t.cine.cine, n), Entry(n)) << n;
  EXPECT_NE(XefGetCineTaggedBlock(t.cine.cine, 1003), nullptr);
}

}  // namespace
