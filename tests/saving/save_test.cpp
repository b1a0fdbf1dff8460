// Saves to cine files read back through the reader: images, per-image data,
// ranges, stops, failures and the saving thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "companions/con/settings.h"
#include "fixtures/cine_builder.h"
#include "formats/cine/cine_writer.h"
#include "formats/dpx/dpx_options.h"
#include "formats/tiff/tiff.h"
#include "frame/saving_options.h"
#include "support/bitmap.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
using fixture::Payload;
namespace su = fixture::setup;
namespace con = xe::con;

constexpr int32_t kFirst = -3;
constexpr uint32_t kCount = 10;

// A raw colour recording of 16-bit samples (12 significant) with times,
// exposures, binary and analog signals and range data.
Bytes Recording(bool colour = true, bool timecode = false) {
  fixture::CineBuilder b;
  b.Image(16, 8, colour ? 16 : 8, 0, colour ? 4096 : 0).Images(kFirst, kCount);
  if (colour) b.Compression(2);
  b.setup().SetU32(su::kCFA, colour ? 1 : 0).SetU32(su::kEnableColor, colour ? 1 : 0);
  b.setup().SetU32(su::kRealBPP, colour ? 12 : 8).SetU32(su::kFrameRate, 1000);
  b.setup().SetU16(su::kBinChannels, 4).SetU16(su::kSamplesPerImage, 1);
  b.setup().SetU16(su::kAnaChannels, 2);
  b.setup().SetU32(su::kRangeCode, 1).SetU32(su::kRangeSize, 6);
  Payload times, exposures, bin, ana, range, tc;
  for (uint32_t i = 0; i < kCount; ++i) {
    times.Time(i * 4294967u & ~3u, 1700000000 + i);
    exposures.U32(1000 + i);
    bin.U8(static_cast<uint8_t>(i & 0xF));
    ana.U16(static_cast<uint16_t>(100 * i)).U16(static_cast<uint16_t>(65535 - i));
    for (uint32_t k = 0; k < 6; ++k) range.U8(static_cast<uint8_t>(i * 6 + k));
    tc.U64(0x10000000ull + i);
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures).AddBlock(1005, bin).AddBlock(1006, ana);
  b.AddBlock(1004, range);
  if (timecode) b.AddBlock(1007, tc);
  return b.Build();
}

using Saved = cinetest::OpenedPath;
using cinetest::Images;

using cinetest::Aux;

// The stored images of a cine: first image and count.
std::pair<int32_t, uint32_t> Stored(CineHandle c) {
  int32_t first = 0;
  uint32_t count = 0;
  XeGetCineInfo(c, CIS_FirstImageNo, &first);
  XeGetCineInfo(c, CIS_ImageCount, &count);
  return {first, count};
}

class SaveTest : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }
  std::string Out(const std::string &name) const { return dir.path() + "/" + name; }
  int32_t Save(CineHandle c, const std::string &path, int16_t type, pfnCallback cb = nullptr) {
    EXPECT_EQ(XeSetCineSaveOptions(c, path.c_str(), static_cast<uint16_t>(type), 0, 100), 0);
    return XeWriteCineFile(c, cb);
  }
  fixture::TempDir dir;
};

TEST_F(SaveTest, SavingThreadWritesTheSameBytes) {
  cinetest::Opened src(Recording());
  for (int16_t type : {0, 1}) {
    con::XefSetRegistryVal("SaveNoThread", "0");
    ASSERT_EQ(Save(src.cine, Out("a.cine"), type), 0);
    con::XefSetRegistryVal("SaveNoThread", "1");
    ASSERT_EQ(Save(src.cine, Out("b.cine"), type), 0);
    EXPECT_EQ(cinetest::FileBytes(Out("a.cine")), cinetest::FileBytes(Out("b.cine"))) << type;
  }
  con::XefSetRegistryVal("SaveNoThread", "0");
}

std::vector<uint32_t> g_reports;
uint32_t g_stopAt = 0;
int32_t StopAt(uint32_t percent, CineHandle) {
  g_reports.push_back(percent);
  return percent >= g_stopAt ? 0 : 1;
}

TEST_F(SaveTest, StoppedSaveLeavesAFileWithTheImagesWritten) {
  cinetest::Opened src(Recording());
  for (const char *noThread : {"0", "1"}) {
    con::XefSetRegistryVal("SaveNoThread", noThread);
    g_reports.clear();
    g_stopAt = 30;  // one image per group: stops before the fourth
    ASSERT_EQ(Save(src.cine, Out("stopped.cine"), 0, StopAt), 0);
    EXPECT_EQ(g_reports, (std::vector<uint32_t>{0, 10, 20, 30, 100}));
    Saved out(Out("stopped.cine"));
    ASSERT_GE(out.status, 0);
    EXPECT_EQ(Stored(out.cine), std::make_pair(kFirst, 3u));
    EXPECT_EQ(Images(out.cine, kFirst, 3, 3), Images(src.cine, kFirst, 3, 3));
    // The table keeps the slots of the whole range.
    Bytes bytes = cinetest::FileBytes(Out("stopped.cine"));
    uint32_t table = fixture::GetU32(bytes, 32);
    EXPECT_GE(bytes.size(), table + 10 * 8);
  }
  con::XefSetRegistryVal("SaveNoThread", "0");
}

TEST_F(SaveTest, RangeOutsideTheCineGivesAnEmptyValidFile) {
  cinetest::Opened src(Recording());
  XeSetCineSaveRange(src.cine, 100, 120);
  g_reports.clear();
  g_stopAt = 1000;
  EXPECT_EQ(Save(src.cine, Out("empty.cine"), 0, StopAt), XE_WARN_RANGE_EMPTY);
  EXPECT_EQ(g_reports, (std::vector<uint32_t>{100}));
  Saved out(Out("empty.cine"));
  ASSERT_GE(out.status, 0);
  EXPECT_EQ(Stored(out.cine).second, 0u);
}

// Formats without a writer in this build, with no plugin loaded: a save of a
// plugin's cine or movie type answers the plugin's warning at once, a still
// type of the imaging plugin runs the whole range, a type of the library
// itself is refused (DNG after its first image, or before it for a gray cine).
TEST_F(SaveTest, FormatsWithoutAWriterAnswerByTheirPlugin) {
  cinetest::Opened colour(Recording()), gray(Recording(false));
  const std::vector<uint32_t> end{100};
  std::vector<uint32_t> whole;
  for (uint32_t p = 0; p <= 100; p += 10) whole.push_back(p);
  struct Case {
    int16_t type;
    bool isGray;
    int32_t status;
    std::vector<uint32_t> reports;
  } cases[] = {
      {2, false, XE_WARN_NO_IMAGING, end},        {3, false, XE_ERR_NOT_SUPPORTED, end},
      {5, false, XE_OK, end},                     {6, false, XE_WARN_NO_ENCODER, end},
      {-1, false, XE_WARN_NO_IMAGING, whole},
      {-26, false, XE_ERR_NOT_SUPPORTED, {0, 100}}, {-26, true, XE_ERR_NOT_SUPPORTED, end},
  };
  g_stopAt = 1000;
  for (const Case &k : cases) {
    SCOPED_TRACE(testing::Message() << "FileType " << k.type << (k.isGray ? " gray" : ""));
    g_reports.clear();
    EXPECT_EQ(Save(k.isGray ? gray.cine : colour.cine, Out("t!3.out"), k.type, StopAt), k.status);
    EXPECT_EQ(g_reports, k.reports);
  }
}

// Each save's first report starts a save of the next cine, so that all of
// them are running at once.
std::vector<CineHandle> g_chain;
std::vector<int32_t> g_results;
int32_t StartNext(uint32_t percent, CineHandle c) {
  if (percent != 0) return 1;
  for (size_t i = 0; i + 1 < g_chain.size(); ++i)
    if (g_chain[i] == c) g_results[i + 1] = XeWriteCineFile(g_chain[i + 1], StartNext);
  return 1;
}

TEST_F(SaveTest, TwentyFirstConcurrentSaveIsRefused) {
  std::vector<std::unique_ptr<cinetest::Opened>> cines;
  Bytes bytes = Recording();
  for (int i = 0; i < 21; ++i) {
    cines.push_back(std::make_unique<cinetest::Opened>(bytes));
    std::string path = Out("c" + std::to_string(i) + ".cine");
    XeSetCineSaveOptions(cines.back()->cine, path.c_str(), 0, 0, 100);
    XeSetCineSaveRange(cines.back()->cine, kFirst, kFirst);
    g_chain.push_back(cines.back()->cine);
  }
  g_results.assign(21, 1);
  g_results[0] = XeWriteCineFile(g_chain[0], StartNext);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(g_results[i], 0) << i;
  EXPECT_EQ(g_results[20], XE_ERR_SAVE_SLOTS_FULL);
  EXPECT_EQ(XefIsFileOrDirectory(Out("c20.cine").c_str()), 0);
  g_chain.clear();
}

TEST_F(SaveTest, TiffSavesOfARawColourCineReadBack) {
  cinetest::Opened src(Recording(true, true));
  XeSetCineSaveRange(src.cine, 0, 2);
  uint32_t save16 = 1;
  XeSetCineInfo(src.cine, CIS_Save16Bit, &save16);
  // Type, file of image 1, bits per pixel written.
  struct Case {
    int16_t type;
    const char *pattern, *file;
    uint16_t bits;
  } cases[] = {{-8, "e!1.tif", "e1.tif", 24}, {-9, "t!1.tif", "t1.tif", 36},
               {-10, "s!1.tif", "s1.tif", 48}, {4, "m.tif", "m.tif", 24}};
  for (const Case &k : cases) {
    SCOPED_TRACE(k.type);
    ASSERT_EQ(Save(src.cine, Out(k.pattern), k.type), 0);
    bool little = false;
    BitmapInfoHeader h{};
    std::vector<uint8_t> px;
    ASSERT_EQ(xe::ReadTiffFile(Out(k.file).c_str(), &little, &h, &px), 0);
    EXPECT_EQ(cinetest::Fields(little, h.biWidth, h.biHeight, h.biBitCount), cinetest::Fields(true, 16, 8, k.bits));
  }
  // Still files get a header file named after the first, without the timecode block.
  Saved chd(Out("s0tif.chd"));
  ASSERT_GE(chd.status, 0);
  EXPECT_EQ(Stored(chd.cine), std::make_pair(0, 3u));
  EXPECT_NE(XefGetCineTaggedBlock(chd.cine, 1003), nullptr);
  EXPECT_EQ(XefGetCineTaggedBlock(chd.cine, 1007), nullptr);
}

TEST_F(SaveTest, ClipCutsBlocksAndRefusesTimecode) {
  cinetest::Opened src(Recording());
  CineHandle dup = nullptr;
  ASSERT_EQ(XeDuplicateCine(&dup, src.cine), 0);
  ImageRange r{kFirst, 4};
  EXPECT_EQ(XeClipCine(dup, &r), 0);
  EXPECT_EQ(Stored(dup), std::make_pair(kFirst, 4u));
  EXPECT_EQ(Aux(dup, kFirst + 3, 1006, 4), Aux(src.cine, kFirst + 3, 1006, 4));
  EXPECT_EQ(Images(dup, kFirst, 4, 3), Images(src.cine, kFirst, 4, 3));
  r = ImageRange{500, 3};
  EXPECT_EQ(XeClipCine(dup, &r), XE_WARN_RANGE_EMPTY);
  XeDestroyCine(dup);

  cinetest::Opened tc(Recording(true, true));
  r = ImageRange{kFirst, 2};
  EXPECT_EQ(XeClipCine(tc.cine, &r), XE_ERR_NULL_CINE);
  EXPECT_EQ(Stored(tc.cine).second, kCount);
}

TEST_F(SaveTest, UpdateCineFileSetupWritesAdjustmentsBack) {
  fixture::TempFile file(Recording());
  CineHandle c = nullptr;
  ASSERT_GE(XeNewCineFromFile(file.c_str(), &c), 0);
  float gamma = 1.7f;
  ASSERT_EQ(XeSetCineInfo(c, CIS_fGamma, &gamma), 0);
  EXPECT_EQ(XeSetCineInfo(c, CIS_FlushSetupToFile, &gamma), 0);
  XeDestroyCine(c);
  Bytes bytes = file.Read();
  float stored = 0;
  std::memcpy(&stored, bytes.data() + 84 + su::kfGamma, 4);
  EXPECT_FLOAT_EQ(stored, 1.7f);
}

TEST_F(SaveTest, DpxFilesCarryTheirTimecodeAndOnlyTheFirstWritesLuts) {
  cinetest::Opened c(Recording(true, true));
  ASSERT_EQ(c.status, 0);
  for (auto [selector, v] : {std::pair{CIS_FileType, static_cast<uint32_t>(-27)}, {CIS_DpxLog, 1u},
                             {CIS_DpxWriteLut, 1u}})
    ASSERT_EQ(XeSetCineInfo(c.cine, selector, &v), 0);
  ASSERT_EQ(XeSetCineSaveRange(c.cine, 0, 2), 0);
  ASSERT_EQ(Save(c.cine, Out("s!4.dpx"), -27), 0);
  std::vector<std::string> dpx, lut;
  for (const auto &e : std::filesystem::directory_iterator(dir.path()))
    (e.path().extension() == ".dpx" ? dpx : lut).push_back(e.path().filename().string());
  std::sort(dpx.begin(), dpx.end());
  std::sort(lut.begin(), lut.end());
  ASSERT_EQ(dpx.size(), 3u);
  const std::string stem = dpx[0].substr(0, dpx[0].size() - 4);
  EXPECT_EQ(lut, (std::vector<std::string>{stem + "dpx.chd", stem + "lin2log.lut", stem + "log2lin.lut"}));
  for (int32_t i = 0; i < 3; ++i) {
    const Bytes f = cinetest::FileBytes(Out(dpx[i]));
    ASSERT_GT(f.size(), 2080u);
    EXPECT_EQ(cinetest::Fields(f[801], f[803]), cinetest::Fields<uint8_t>(1, 10));  // log, 10 bits
    EXPECT_EQ(Bytes(f.begin() + 1920, f.begin() + 1928), Aux(c.cine, i, XE_TAG_TIMECODE, 8)) << i;
  }
}

TEST_F(SaveTest, SingleDpxStillTakesTheOptionsBlockAndNoTimecode) {
  xe::DpxOptions o;
  o.DpxFlags = xe::kDpxBigEndian;
  const BitmapInfoHeader h = testsupport::Bitmap(2, 1, 8);
  const uint8_t px[4] = {1, 2};
  ASSERT_EQ(XeSaveImageToFile(Out("a.dpx").c_str(), &h, px, -27, 0, &o, nullptr), 0);
  const Bytes f = cinetest::FileBytes(Out("a.dpx"));
  ASSERT_EQ(f.size(), 2082u);
  EXPECT_EQ(std::string(f.begin(), f.begin() + 4), "SDPX");
  EXPECT_EQ(Bytes(f.begin() + 1920, f.begin() + 1928), Bytes(8, 0));
  EXPECT_EQ(Bytes(f.begin() + 2080, f.end()), (Bytes{1, 2}));
}

}  // namespace
