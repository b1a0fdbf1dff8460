// Exported entries around saving: the plain whole-cine save, the save of one
// image the caller holds, the copy of the image adjustments between Setups,
// the colour predicate, the remote progress handler, and the images of a
// header file.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "formats/tiff/tiff.h"
#include "saving/save_loop.h"
#include "support/bitmap.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
namespace su = fixture::setup;

Bytes Recording(uint32_t cfa, uint32_t enableColor) {
  fixture::CineBuilder b;
  b.Image(8, 4, cfa ? 16 : 8, 0, cfa ? 4096 : 0).Images(0, 2);
  if (cfa) b.Compression(2).setup().SetU32(su::kRealBPP, 12);
  b.setup().SetU32(su::kCFA, cfa).SetU32(su::kEnableColor, enableColor);
  return b.Build();
}

class Exports : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }
  fixture::TempDir dir;
};

TEST_F(Exports, SaveCineToFileSavesRawOnlyWhatHasColourAndNamesTheFile) {
  struct Case {
    uint32_t cfa, enableColor;
    uint16_t compression;  // of the file written for FileType 0
  } cases[] = {{2, 1, 2}, {2, 0, 0}, {0, 1, 0}};
  for (const Case &k : cases) {
    SCOPED_TRACE(testing::Message() << "CFA " << k.cfa << " colour " << k.enableColor);
    cinetest::Opened src(Recording(k.cfa, k.enableColor));
    ASSERT_EQ(src.status, 0);
    uint32_t colour = 7;
    EXPECT_EQ(XeIsColorCine(src.cine, &colour), 0);
    EXPECT_EQ(colour, k.cfa ? 1u : 0u);
    src.cine->Saving.FileType = 0;
    const std::string stem = dir.path() + "/c" + std::to_string(k.cfa) + std::to_string(k.enableColor);
    ASSERT_EQ(XeSaveCineToFile(stem.c_str(), src.cine), 0);
    const Bytes head = cinetest::FileBytes(stem + ".cine");  // the default extension is added
    ASSERT_GE(head.size(), 24u);
    EXPECT_EQ(head[4], k.compression);
    EXPECT_EQ(fixture::GetU32(head, 20), 2u);
  }
}

// A 4 x 2 16-bit image whose picture rows (top first) hold 0x03BC, 0x0123,
// 0x03FF, 0x0001 and then 1, 2, 3, 4, at the grey-level count `levels`.
struct Image16 {
  BitmapInfoHeader h = testsupport::Bitmap(4, 2, 16);
  std::vector<uint16_t> px{1, 2, 3, 4, 0x03BC, 0x0123, 0x03FF, 0x0001};  // bottom row first
  explicit Image16(uint32_t levels) { h.biClrImportant = levels; }
};

TEST_F(Exports, SaveImageToFileScalesWideTiffsAndReducesNarrowOnes) {
  struct Case {
    int16_t type;
    uint32_t levels;
    std::vector<uint16_t> top;  // the picture's first row as read back
  } cases[] = {
      {-10, 4096, {0x3BC0, 0x1230, 0x3FF0, 0x0010}},
      // A single image has no Setup of its own: its zero 16-to-8 gain counts
      // as 1 and keeps the top byte.
      {-8, 4096, {0x03, 0x01, 0x03, 0x00}},
  };
  for (const Case &k : cases) {
    SCOPED_TRACE(testing::Message() << k.type << " levels " << k.levels);
    Image16 im(k.levels);
    const std::string path = dir.path() + "/i.tif";
    const Time64 t{3, 1700000000};
    ASSERT_EQ(XeSaveImageToFile(path.c_str(), &im.h, reinterpret_cast<uint8_t *>(im.px.data()), k.type,
                                100, nullptr, &t),
              0);
    EXPECT_EQ(im.h.biBitCount, 16) << "the caller's header is left as it was";
    bool little = false;
    BitmapInfoHeader h{};
    std::vector<uint8_t> px;
    ASSERT_EQ(xe::ReadTiffFile(path.c_str(), &little, &h, &px), 0);
    std::vector<uint16_t> top(4);
    for (size_t i = 0; i < 4; ++i)
      top[i] = k.type == -8 ? px[i] : static_cast<uint16_t>(px[2 * i] | px[2 * i + 1] << 8);
    EXPECT_EQ(top, k.top);
  }
}

TEST_F(Exports, SaveImageToFileWritesRawStillsWithTheCallersOptions) {
  Image16 im(4096);
  const std::string path = dir.path() + "/i.raw";
  const uint32_t options = 2;  // binary, with the size first
  ASSERT_EQ(XeSaveImageToFile(path.c_str(), &im.h, reinterpret_cast<uint8_t *>(im.px.data()), -25, 100,
                              &options, nullptr),
            0);
  // The stored samples, not reduced to 8 bits, top row first.
  Bytes expected = fixture::Payload().U16(4).U16(2).U16(16).bytes();
  for (uint16_t v : {0x03BC, 0x0123, 0x03FF, 0x0001, 1, 2, 3, 4}) fixture::PutU16(expected, expected.size(), v);
  EXPECT_EQ(cinetest::FileBytes(path), expected);
}

TEST(SetupCopy, CopiesTheAdjustmentsAndNineBytesOfTheUserMatrix) {
  std::vector<uint8_t> src(sizeof(::Setup), 0xAB), dst(sizeof(::Setup), 0);
  ASSERT_EQ(XefCopySetupImProc(reinterpret_cast<::Setup *>(dst.data()), reinterpret_cast<const ::Setup *>(src.data())), 0);
  // The 34 adjustments (540 bytes), from Bright, flips, filter, crop, resample
  // and the white-balance gains to the float tone settings and fGain16_8.
  for (size_t at : {offsetof(::Setup, Bright), offsetof(::Setup, CropRect), offsetof(::Setup, fGain16_8)})
    EXPECT_EQ(dst[at], 0xAB) << at;
  // The matrix count is taken as bytes: two entries and the low byte of the
  // third; the other six entries stay as they were.
  const size_t m = offsetof(::Setup, fUserMatrix);
  EXPECT_EQ(dst[m + 8], 0xAB);
  EXPECT_EQ(dst[m + 9], 0);
  size_t changed = 0;
  for (uint8_t b : dst) changed += b != 0;
  EXPECT_EQ(changed, 540u + 9) << "nothing else, not TonePoints, ToneLabel nor the matrix label";
  EXPECT_EQ(XefCopySetupImProc(nullptr, reinterpret_cast<const ::Setup *>(src.data())), XE_ERR_NULL_ARGUMENT);
}

int32_t g_number = -1;
uint32_t g_percent = 0;
int32_t Remote(uint32_t percent, uint32_t number) {
  g_percent = percent;
  g_number = static_cast<int32_t>(number);
  return number == 15 ? 0 : 1;
}

TEST(RemoteProgress, SmallCallbackValuesNumberARemoteHandler) {
  ASSERT_EQ(XefSetFileLVCallback(Remote), 0);
  Cine *cine = reinterpret_cast<Cine *>(0x1000);
  struct Case {
    uint64_t value;
    int32_t number, answer;
  } cases[] = {{0, -1, 1}, {1, 1, 1}, {15, 15, 0}, {0x100000003ull, 3, 1}};
  for (const Case &k : cases) {
    g_number = -1;
    auto cb = reinterpret_cast<pfnCallback>(static_cast<uintptr_t>(k.value));
    EXPECT_EQ(xe::CallCB(cb, cine, 42), k.answer) << k.value;
    EXPECT_EQ(g_number, k.number) << k.value;
  }
  EXPECT_EQ(g_percent, 42u);
  XefSetFileLVCallback(nullptr);
}

TEST_F(Exports, ImagesOfAHeaderFileAreAFailureNotItsBytes) {
  fixture::CineBuilder b;
  b.Image(8, 4, 8).Images(0, 3).HeaderOnly();
  cinetest::Opened chd(b.Build(), ".chd");
  ASSERT_EQ(chd.status, 0);
  for (uint32_t useCase : {1u, 3u}) {
    XeSetUseCase(chd.cine, useCase);
    Bytes px(2 * 96, 0xEE);
    ImageRange r{0, 2};
    ImageHeader h{};
    EXPECT_EQ(XeGetCineImage(chd.cine, &r, px.data(), static_cast<uint32_t>(px.size()), &h), XE_ERR_FILE_READ)
        << useCase;
    EXPECT_EQ(px, Bytes(2 * 96, 0xEE)) << useCase;
  }
}

}  // namespace
