#include "companions/con/services.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

#include "companions/con/camera_driver.h"
#include "companions/con/settings.h"
#include "xefile/xefile_status.h"

namespace xe::con {

int32_t XefAcquireMutex(MutexHandle mutex, uint32_t timeoutMs) {
  if (!mutex) return XE_ERR_NULL_ARGUMENT;
#if defined(__SANITIZE_THREAD__)
  // ThreadSanitizer does not see the timed lock of the C++ library; polling
  // with try_lock keeps its view of the mutex right.
  auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!mutex->try_lock()) {
    if (std::chrono::steady_clock::now() >= end) return XE_ERR_MUTEX_TIMEOUT;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return XE_OK;
#else
  return mutex->try_lock_for(std::chrono::milliseconds(timeoutMs)) ? XE_OK : XE_ERR_MUTEX_TIMEOUT;
#endif
}

int32_t XefReleaseMutex(MutexHandle mutex) {
  if (!mutex) return XE_ERR_NULL_ARGUMENT;
  mutex->unlock();
  return XE_OK;
}

uint32_t XefMilisec() {
  using namespace std::chrono;
  return static_cast<uint32_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

int32_t XefIntersectRanges(ImageRange *range, const ImageRange *by) {
  if (!range || !by) return 0;
  int64_t a0 = range->First, a1 = a0 + range->Cnt;  // half-open
  int64_t b0 = by->First, b1 = b0 + by->Cnt;
  int64_t lo = std::max(a0, b0), hi = std::min(a1, b1);
  if (hi <= lo) {
    bool unchanged = range->Cnt == 0;
    range->Cnt = 0;
    return unchanged ? 1 : 0;
  }
  bool unchanged = lo == a0 && hi == a1;
  range->First = static_cast<int32_t>(lo);
  range->Cnt = static_cast<uint32_t>(hi - lo);
  return unchanged ? 1 : 0;
}

void XefAddSecondsToTime64(Time64 *t, double seconds) {
  if (!t || std::isnan(seconds)) return;
  constexpr long double kScale = 4294967296.0L;
  const __int128 kMax = (static_cast<__int128>(1) << 64) - 1;
  uint32_t flags = t->fractions & 3u;
  __int128 now = (static_cast<__int128>(t->seconds) << 32) | (t->fractions & ~3u);
  // |delta| below 2^64 converts exactly enough to a 128-bit count; beyond it
  // the result is at one end of the scale whatever the start.
  long double delta = std::roundl(static_cast<long double>(seconds) * kScale);
  const long double kLimit = 18446744073709551616.0L;  // 2^64
  __int128 sum;
  if (delta >= kLimit) {
    sum = kMax;
  } else if (delta <= -kLimit) {
    sum = 0;
  } else {
    sum = std::clamp<__int128>(now + static_cast<__int128>(delta), 0, kMax);
  }
  t->seconds = static_cast<uint32_t>(sum >> 32);
  t->fractions = (static_cast<uint32_t>(sum) & ~3u) | flags;
}

double XefSubTime64(const Time64 *a, const Time64 *b) {
  if (!a || !b) return 0.0;
  double s = static_cast<double>(static_cast<int64_t>(a->seconds) - static_cast<int64_t>(b->seconds));
  double f = (static_cast<double>(a->fractions & ~3u) - static_cast<double>(b->fractions & ~3u)) /
             4294967296.0;
  return s + f;
}

uint32_t XefOuiToFactorySerial(uint32_t serial, uint32_t cameraVersion) {
  // Those models report the serial with the maker's prefix added.
  if (XefIsFirewireCamera(cameraVersion) && serial != 0) return serial - 0x58000;
  return serial;
}

int32_t cvXeGetCameraOptions(int32_t /*cn*/, CameraOptions *options, uint32_t) {
  if (!options) return XE_ERR_NULL_ARGUMENT;
  std::memset(options, 0, sizeof *options);
  uint32_t format = 0;
  XefGetIntAlgoRegistryVal("TimeFormat", &format);
  options->TimeFormat = std::min<uint32_t>(format, 2);
  options->BitDepth = 16;
  return XE_OK;
}

}  // namespace xe::con
