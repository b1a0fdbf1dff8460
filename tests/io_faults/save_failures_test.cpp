// Cine saves whose writes fail at a chosen place: the last image, the table
// of image offsets written at the end, the image count patched after a stop.
// Each failure reaches the save's status, with and without the saving thread.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <string>

#include "cinefile/cine_test_support.h"
#include "companions/con/settings.h"
#include "io_faults.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
constexpr int32_t kFirst = -2;
constexpr uint32_t kCount = 6;
constexpr uint32_t kRecord = 8 + 16 * 8 * 2;  // record head and a 16 x 8 16-bit image

Bytes Recording() {
  fixture::CineBuilder b;
  b.Image(16, 8, 16, 0, 4096).Compression(2).Images(kFirst, kCount);
  b.setup().SetU32(fixture::setup::kCFA, 1).SetU32(fixture::setup::kEnableColor, 1);
  b.setup().SetU32(fixture::setup::kRealBPP, 12);
  fixture::Payload times;
  for (uint32_t i = 0; i < kCount; ++i) times.Time(3, 1700000000 + i);
  return b.AddBlock(1002, times).Build();
}

off_t SizeOf(int fd) {
  struct stat st {};
  fstat(fd, &st);
  return st.st_size;
}

uint32_t g_stopAt = 1000;
int32_t StopAt(uint32_t percent, CineHandle) { return percent < g_stopAt; }

using Saved = cinetest::OpenedPath;

class SaveFailures : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override {
    xe::con::XefSetRegistryVal("SaveNoThread", "0");
    XeStopXeFile();
  }
  fixture::TempDir dir;
};

TEST_F(SaveFailures, AFailedWriteAnywhereIsTheSavesStatus) {
  cinetest::Opened src(Recording());
  ASSERT_EQ(src.status, 0);
  const std::string path = dir.path() + "/out.cine";
  ASSERT_EQ(XeSetCineSaveOptions(src.cine, path.c_str(), 0, 0, 100), 0);
  ASSERT_EQ(XeWriteCineFile(src.cine, nullptr), 0);
  const Bytes bytes = cinetest::FileBytes(path);
  const off_t size = off_t(bytes.size()), table = fixture::GetU32(bytes, 32);
  ASSERT_EQ(size, table + 8 * kCount + kCount * kRecord);

  struct Case {
    const char *what;
    std::function<bool(int, off_t, size_t)> fails;
    uint32_t stopAt;
    int32_t stored;  // images the file says it holds; -1: not asked
  } cases[] = {
      // A disk that fills up just before the last image: the saving thread
      // writes it after the loop has ended, and its failure still counts.
      {"last image", [&](int, off_t at, size_t n) { return at + off_t(n) > size - off_t(kRecord); }, 1000,
       kCount - 1},
      // The table goes in place of the room kept for it, behind which the
      // images now stand.
      {"table", [&](int fd, off_t at, size_t n) { return at == table && SizeOf(fd) > table + off_t(n); },
       1000, kCount},
      {"count after a stop", [](int, off_t at, size_t n) { return at == 20 && n == 4; }, 50, -1},
  };
  for (const char *noThread : {"0", "1"}) {
    xe::con::XefSetRegistryVal("SaveNoThread", noThread);
    for (const Case &k : cases) {
      SCOPED_TRACE(testing::Message() << k.what << ", SaveNoThread " << noThread);
      g_stopAt = k.stopAt;
      int32_t status;
      {
        faults::FailingWrites failing(path, k.fails);
        status = XeWriteCineFile(src.cine, StopAt);
      }
      EXPECT_EQ(status, XE_ERR_FILE_WRITE);
      if (k.stored < 0) continue;
      Saved out(path);
      ASSERT_EQ(out.status, 0);
      EXPECT_EQ(XevGetCineInfo(out.cine, CIS_ImageCount), uint32_t(k.stored));
      if (k.stored < int32_t(kCount)) {
        EXPECT_EQ(cinetest::Images(out.cine, kFirst, k.stored, 3),
                  cinetest::Images(src.cine, kFirst, k.stored, 3));
      }
    }
  }
}

}  // namespace
