// The saving thread's two time-outs on a disk slower than they allow: the
// wait for a free writer ends the save with the groups handed over so far,
// and a failed save waits for the thread before it closes the file and
// frees the buffers, so nothing is written after it returns or left behind
// (the sanitizer build runs this with leak detection).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <tuple>

#include "cinefile/cine_test_support.h"
#include "io_faults.h"
#include "saving/saving_thread.h"
#include "xefile/xefile.h"

namespace {

constexpr uint32_t kCount = 6;
constexpr uint32_t kImageBytes = 16 * 8 * 2;

// A processed save of a 6-image colour cine whose image `missing` (kCount:
// none) is not in the file, with image writes of 100 ms each and the
// thread's waits set as given: the save's status, whether a write came after
// it returned, and the images the file says it holds.
std::tuple<int32_t, bool, uint32_t> RunSlowSave(uint32_t missing, int64_t writerFreeMs, int64_t endMs) {
  XeStartXeFile();
  fixture::CineBuilder b;
  b.Image(16, 8, 16, 0, 4096).Compression(2).Images(0, kCount);
  b.setup().SetU32(fixture::setup::kCFA, 1).SetU32(fixture::setup::kEnableColor, 1);
  b.setup().SetU32(fixture::setup::kRealBPP, 12);
  if (missing < kCount) b.OffsetOverride(missing, b.Build().size() + 4096);
  cinetest::Opened src(b.Build());
  EXPECT_EQ(src.status, 0);

  fixture::TempDir dir;
  const std::string path = dir.path() + "/out.cine";
  EXPECT_EQ(XeSetCineSaveOptions(src.cine, path.c_str(), 1, 0, 100), 0);
  xe::SetSavingThreadTimeouts(writerFreeMs, endMs);
  int32_t status = 0;
  std::atomic<bool> returned{false}, late{false};
  {
    faults::FailingWrites slow(path, [&](int, off_t, size_t n) {
      if (n >= kImageBytes) std::this_thread::sleep_for(std::chrono::milliseconds(100));
      late = late || returned;
      return false;
    });
    status = XeWriteCineFile(src.cine, nullptr);
    returned = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
  xe::SetSavingThreadTimeouts(60000, 10000);
  CineHandle out = nullptr;
  EXPECT_EQ(XeNewCineFromFile(path.c_str(), &out), 0);
  const uint32_t images = XevGetCineInfo(out, CIS_ImageCount);
  XeDestroyCine(out);
  XeStopXeFile();
  return {status, late.load(), images};
}

TEST(SavingThreadTimeouts, EachWaitEndsTheSaveWithNoWriteAfterItReturns) {
  // Image 0 is handed over; the writer is still busy with it when image 1 is
  // ready, so the save stops there with one image counted in the file.
  EXPECT_EQ(RunSlowSave(kCount, 5, 10000), std::make_tuple(XE_ERR_SEMAPHORE_TIMEOUT, false, 1u));
  // Image 3 is missing: the failed save waits for the slow thread to finish
  // the images before it, and the file is complete when the save returns.
  EXPECT_EQ(RunSlowSave(3, 60000, 5), std::make_tuple(XE_ERR_FILE_READ, false, 3u));
}

}  // namespace
