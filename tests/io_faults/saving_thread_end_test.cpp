// A processed cine save that fails at a missing image while the saving thread
// is still writing the group before it, on a disk slower than the wait for
// the thread's end: the job waits for the thread before it closes the file
// and frees the buffers, and nothing is left behind (the sanitizer build
// runs this with leak detection).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "cinefile/cine_test_support.h"
#include "io_faults.h"
#include "saving/saving_thread.h"
#include "xefile/xefile.h"

namespace {

constexpr uint32_t kCount = 6;
constexpr uint32_t kMissing = 3;  // index of the first image that is not in the file

TEST(SavingThreadEnd, AFailedSaveWaitsForASlowThreadAndKeepsTheImagesBeforeTheFailure) {
  XeStartXeFile();
  fixture::CineBuilder b;
  b.Image(16, 8, 16, 0, 4096).Compression(2).Images(0, kCount);
  b.setup().SetU32(fixture::setup::kCFA, 1).SetU32(fixture::setup::kEnableColor, 1);
  b.setup().SetU32(fixture::setup::kRealBPP, 12);
  const uint64_t size = b.Build().size();
  b.OffsetOverride(kMissing, size + 4096);
  cinetest::Opened src(b.Build());
  ASSERT_EQ(src.status, 0);

  fixture::TempDir dir;
  const std::string path = dir.path() + "/out.cine";
  ASSERT_EQ(XeSetCineSaveOptions(src.cine, path.c_str(), 1, 0, 100), 0);
  xe::SetSavingThreadEndTimeout(5);
  int32_t status;
  std::atomic<bool> returned{false}, lateWrite{false};
  {
    faults::FailingWrites slow(path, [&](int, off_t, size_t n) {
      if (n >= 16 * 8 * 2) std::this_thread::sleep_for(std::chrono::milliseconds(100));
      lateWrite = lateWrite || returned;
      return false;
    });
    status = XeWriteCineFile(src.cine, nullptr);
    returned = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
  EXPECT_FALSE(lateWrite);  // the file was finished when the save returned
  xe::SetSavingThreadEndTimeout(10000);
  EXPECT_EQ(status, XE_ERR_FILE_READ);

  CineHandle out = nullptr;
  ASSERT_EQ(XeNewCineFromFile(path.c_str(), &out), 0);
  EXPECT_EQ(XevGetCineInfo(out, CIS_ImageCount), kMissing);
  XeDestroyCine(out);
  XeStopXeFile();
}

}  // namespace
