// Work over the rows of an image spread across the cores. Each row range is
// computed by exactly one thread and no result depends on how the rows were
// split, so pixel results never depend on the number of threads.
//
// The setting "Threads" limits the threads used (0 or absent: all cores).
#pragma once

#include <cstdint>
#include <functional>

namespace xe::intl {

// Calls body(begin, end) over [0, count) in contiguous ranges of at least
// `grain` items, in parallel when there is enough work.
void ParallelFor(uint32_t count, uint32_t grain, const std::function<void(uint32_t, uint32_t)> &body);

// The threads the pixel functions use now.
uint32_t PixelThreads();
// Overrides the setting for this process (0 puts the setting back); for
// benchmarks and tests that compare thread counts.
void SetPixelThreads(uint32_t threads);

}  // namespace xe::intl
