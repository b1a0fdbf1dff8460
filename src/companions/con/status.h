// Status merging and the " ErrCode= %d" rule shared by every function, the
// companions included.
#pragma once

#include <cstdint>

#include "xefile/xefile_status.h"

namespace xe {

// Keeps one status across several calls: the latest failure beats everything
// before it, a warning never hides a failure, a later warning replaces an
// earlier one.
constexpr int32_t MergeStatus(int32_t status, int32_t result) {
  if (result < 0) return result;
  if (result > 0 && status >= 0) return result;
  return status;
}

inline void Merge(int32_t &status, int32_t result) { status = MergeStatus(status, result); }

// True when bit 0 of the log flags is set: diagnostics on.
bool LogOn();

// Appends " ErrCode= %d" to the function's entry line when it ends with a
// non-zero status and logging is on. Declare it right after the status.
class ErrCodeOnExit {
 public:
  explicit ErrCodeOnExit(const int32_t &status) : status_(status) {}
  ~ErrCodeOnExit();
  ErrCodeOnExit(const ErrCodeOnExit &) = delete;
  ErrCodeOnExit &operator=(const ErrCodeOnExit &) = delete;

 private:
  const int32_t &status_;
};

}  // namespace xe
