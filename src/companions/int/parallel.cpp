#include "companions/int/parallel.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "companions/con/settings.h"

#ifdef _OPENMP
#include <omp.h>
#endif

namespace xe::intl {
namespace {

std::atomic<uint32_t> g_override{0};

uint32_t FromSettings() {
  static const uint32_t threads = [] {
    uint32_t v = 0;
    con::XefGetIntAlgoRegistryVal("Threads", &v);
    uint32_t cores = std::max(1u, std::thread::hardware_concurrency());
    return v == 0 ? cores : std::min(v, cores);
  }();
  return threads;
}

}  // namespace

uint32_t PixelThreads() {
  uint32_t o = g_override.load();
  return o ? o : FromSettings();
}

void SetPixelThreads(uint32_t threads) { g_override.store(threads); }

void ParallelFor(uint32_t count, uint32_t grain, const std::function<void(uint32_t, uint32_t)> &body) {
  if (count == 0) return;
  grain = std::max(grain, 1u);
  uint32_t tasks = std::min(PixelThreads(), (count + grain - 1) / grain);
  if (tasks <= 1) {
    body(0, count);
    return;
  }
#ifdef _OPENMP
#pragma omp parallel for num_threads(tasks) schedule(static, 1)
  for (uint32_t t = 0; t < tasks; ++t) {
    uint32_t begin = static_cast<uint32_t>(static_cast<uint64_t>(count) * t / tasks);
    uint32_t end = static_cast<uint32_t>(static_cast<uint64_t>(count) * (t + 1) / tasks);
    body(begin, end);
  }
#else
  body(0, count);
#endif
}

}  // namespace xe::intl
