// Row-parallel work: every item done exactly once, whoever calls and however
// many call at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "companions/int/parallel.h"

namespace {

using xe::intl::ParallelFor;

TEST(ParallelFor, EveryItemOnceFromConcurrentAndNestedCallers) {
  xe::intl::SetPixelThreads(4);
  constexpr uint32_t kItems = 10007;
  std::vector<std::atomic<uint32_t>> hits(kItems);
  auto job = [&] {
    for (int round = 0; round < 50; ++round) {
      ParallelFor(kItems, 64, [&](uint32_t b, uint32_t e) {
        for (uint32_t i = b; i < e; ++i) hits[i].fetch_add(1);
        // Work started inside a job runs on the calling thread.
        ParallelFor(2, 1, [&](uint32_t, uint32_t) {});
      });
    }
  };
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t) callers.emplace_back(job);
  for (auto &t : callers) t.join();
  for (uint32_t i = 0; i < kItems; ++i) ASSERT_EQ(hits[i].load(), 200u) << i;
  xe::intl::SetPixelThreads(0);
}

TEST(ParallelFor, SmallCountsAndGrains) {
  xe::intl::SetPixelThreads(8);
  for (uint32_t count : {0u, 1u, 2u, 7u}) {
    std::vector<int> seen(count, 0);
    ParallelFor(count, 3, [&](uint32_t b, uint32_t e) {
      EXPECT_LE(b, e);
      for (uint32_t i = b; i < e; ++i) ++seen[i];
    });
    for (int v : seen) EXPECT_EQ(v, 1);
  }
  xe::intl::SetPixelThreads(0);
}

}  // namespace
