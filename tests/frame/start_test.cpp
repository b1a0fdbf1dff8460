// Library start and stop: nesting, and the process-wide mutexes and counters
// that the first start makes.
#include "frame/start.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "fixtures/cine_builder.h"
#include "frame/plugins.h"
#include "xefile/xefile.h"

namespace {

namespace frame = xe::frame;

// Points the plugin search at a folder for the life of the object.
class PluginDir {
 public:
  PluginDir() { frame::SetPluginDirectory(dir_.path()); }
  ~PluginDir() { frame::SetPluginDirectory(""); }

 private:
  fixture::TempDir dir_;
};

TEST(StartStop, StartsNestAndOnlyTheLastStopUndoesTheFirstStart) {
  PluginDir none;
  ASSERT_EQ(frame::StartCount(), 0u);
  EXPECT_EQ(XeStartXeFile(), XE_WARN_NO_IMAGING);
  EXPECT_EQ(XeStartXeFileInternal(), XE_OK) << "a nested start repeats no first-start work";
  EXPECT_EQ(frame::StartCount(), 2u);
  std::timed_mutex *saves = frame::SaveCineBufferMutex();
  ASSERT_NE(saves, nullptr);

  int32_t job = -7;
  ASSERT_EQ(frame::NextCineNo(&job), XE_OK);
  EXPECT_EQ(job, 0);
  ASSERT_EQ(frame::NextCineNo(&job), XE_OK);
  EXPECT_EQ(job, 1);

  EXPECT_EQ(XeStopXeFile(), XE_OK);
  EXPECT_EQ(frame::StartCount(), 1u);
  EXPECT_EQ(frame::SaveCineBufferMutex(), saves);
  EXPECT_EQ(frame::Stop(), XE_OK);
  EXPECT_EQ(frame::StartCount(), 0u);
  EXPECT_EQ(frame::SaveCineBufferMutex(), nullptr);

  // The job counter's mutex outlives the last stop; a new first start
  // counts jobs from 0 again.
  ASSERT_EQ(frame::NextCineNo(&job), XE_OK);
  EXPECT_EQ(job, 2);
  EXPECT_EQ(frame::StartInternal(), XE_WARN_NO_IMAGING);
  ASSERT_EQ(frame::NextCineNo(&job), XE_OK);
  EXPECT_EQ(job, 0);
  EXPECT_EQ(frame::Stop(), XE_OK);

  // A stop too many leaves the count at 0.
  EXPECT_EQ(frame::Stop(), XE_OK);
  EXPECT_EQ(frame::StartCount(), 0u);
}

TEST(StartStop, ConcurrentStartsStopsAndJobNumbersStayConsistent) {
  PluginDir none;
  ASSERT_EQ(frame::StartInternal(), XE_WARN_NO_IMAGING);
  constexpr int kThreads = 4, kJobs = 500;
  std::vector<std::vector<int32_t>> numbers(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&numbers, t] {
      for (int i = 0; i < kJobs; ++i) {
        int32_t n = -1;
        if (frame::NextCineNo(&n) == XE_OK) numbers[t].push_back(n);
        frame::StartInternal();
        frame::Stop();
      }
    });
  }
  for (auto &th : threads) th.join();
  EXPECT_EQ(frame::StartCount(), 1u);
  std::set<int32_t> all;
  for (const auto &v : numbers) all.insert(v.begin(), v.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kJobs));
  EXPECT_EQ(*all.begin(), 0);
  EXPECT_EQ(*all.rbegin(), kThreads * kJobs - 1);
  frame::Stop();
}

}  // namespace
