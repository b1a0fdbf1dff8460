// The programs of this folder are linked with write() and calloc() wrapped:
// a test names the writes of one file that are to fail as on a full disk,
// and reads the largest zeroed allocation made since it last asked.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace faults {

// Fails with ENOSPC each write to the file at `path` for which `fails`
// answers true, given the file position and the byte count of the write;
// `written` (may be empty) hears of each write to it that went through.
// Set before a save and cleared after it (the save's threads end inside).
struct FailingWrites {
  FailingWrites(const std::string &path, std::function<bool(int fd, off_t at, size_t n)> fails,
                std::function<void(size_t n)> written = nullptr);
  ~FailingWrites();
  FailingWrites(const FailingWrites &) = delete;
  FailingWrites &operator=(const FailingWrites &) = delete;
};

// The largest calloc() since the last call, in bytes.
uint64_t TakeLargestAllocation();

}  // namespace faults
