#include "frame/start.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include "companions/con/log.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "frame/plugins.h"
#include "xefile/xefile.h"

namespace xe::frame {

std::atomic<uint32_t> MessagesEnabled{0};

namespace {

// Created with the library, closed when it is unloaded.
std::timed_mutex g_startCountMutex;
uint32_t g_startCount = 0;

// The save-job counter's mutex is created on every first start and never
// closed while the process lives: a stop does not know whether a save job of
// an earlier start still counts on it. Older ones are kept here.
std::vector<std::unique_ptr<std::timed_mutex>> &CineNoMutexes() {
  static std::vector<std::unique_ptr<std::timed_mutex>> all;
  return all;
}
std::atomic<std::timed_mutex *> g_cineNoMutex{nullptr};
int32_t g_cineNo = -1;

std::unique_ptr<std::timed_mutex> g_saveBufferMutex;
uint32_t g_saveBufferCount = 0;

long ThreadId() { return static_cast<long>(syscall(SYS_gettid)); }

// Step 2 of the first start, run with the count mutex held.
int32_t FirstStart() {
  int32_t status = XE_OK;
  uint32_t flags = 0;
  con::XeGetDllsLogOption(kLogLibraryNumber, &flags);
  LogFlags = flags;

  // The encoder first, then the imaging plugin, so that the imaging warning
  // is the one a start without both reports.
  Merge(status, LoadEncoderPlugin());
  Merge(status, LoadImagingPlugin());

  g_cineNo = -1;
  auto cineNoMutex = std::unique_ptr<std::timed_mutex>(new (std::nothrow) std::timed_mutex);
  if (!cineNoMutex) {
    status = XE_ERR_MUTEX_CREATE;
  } else {
    if (LogOn())
      con::Debprintf("\nCreated mutex hlCineNoMutex = %d  by thread %d in XeStartXeFile",
                     static_cast<int>(CineNoMutexes().size() + 1), static_cast<int>(ThreadId()));
    g_cineNoMutex = cineNoMutex.get();
    CineNoMutexes().push_back(std::move(cineNoMutex));
  }
  g_saveBufferMutex.reset(new (std::nothrow) std::timed_mutex);
  if (!g_saveBufferMutex) {
    status = XE_ERR_MUTEX_CREATE;
  } else if (LogOn()) {
    con::Debprintf("\nCreated mutex hSaveCineBufferMutex = %d  by thread %d in XeStartXeFile",
                   static_cast<int>(CineNoMutexes().size()), static_cast<int>(ThreadId()));
  }
  g_saveBufferCount = 0;
  return status;
}

}  // namespace

int SoftwareVersionFromText() {
  int a = 0, b = 0, c = 0, d = 0;
  std::sscanf(kVersionText, "%d,%d,%d,%d", &a, &b, &c, &d);
  return c;
}

int32_t SoftwareVersion() {
  static const int32_t version = SoftwareVersionFromText();
  return version;
}

int32_t StartInternal() {
  int32_t status = con::XefAcquireMutex(&g_startCountMutex, kStartCountTimeoutMs);
  if (status != XE_OK) return status;
  if (g_startCount == 0) status = FirstStart();
  ++g_startCount;
  con::XefReleaseMutex(&g_startCountMutex);
  ErrCodeOnExit log(status);
  return status;
}

int32_t Stop() {
  int32_t status = con::XefAcquireMutex(&g_startCountMutex, kStartCountTimeoutMs);
  if (status != XE_OK) return status;
  if (g_startCount > 0) {
    uint32_t old = g_startCount--;
    if (old == 1) {
      FreePlugins();  // a plugin that cannot be freed changes nothing for the caller
      g_saveBufferMutex.reset();
    }
  }
  con::XefReleaseMutex(&g_startCountMutex);
  ErrCodeOnExit log(status);
  return status;
}

uint32_t StartCount() {
  std::lock_guard<std::timed_mutex> g(g_startCountMutex);
  return g_startCount;
}

int32_t NextCineNo(int32_t *number) {
  std::timed_mutex *m = g_cineNoMutex.load();
  if (!m) return XE_ERR_MUTEX_CREATE;
  int32_t status = con::XefAcquireMutex(m, kCineNoTimeoutMs);
  if (status != XE_OK) return status;
  ++g_cineNo;
  if (number) *number = g_cineNo;
  con::XefReleaseMutex(m);
  return XE_OK;
}

std::timed_mutex *SaveCineBufferMutex() { return g_saveBufferMutex.get(); }

}  // namespace xe::frame

namespace {

// Registers a client of the given version; registering the first client is
// what brings the library up.
int32_t XeRegisterClientEx(void *, void *, void *, uint32_t /*clientVersion*/) {
  return xe::frame::StartInternal();
}

}  // namespace

extern "C" {

XEFILE_API int32_t XeStartXeFile(void) {
  return XeRegisterClientEx(nullptr, nullptr, nullptr,
                            static_cast<uint32_t>(xe::frame::SoftwareVersion()));
}

XEFILE_API int32_t XeStartXeFileInternal(void) { return xe::frame::StartInternal(); }

XEFILE_API int32_t XeStopXeFile(void) { return xe::frame::Stop(); }

XEFILE_API int32_t XefEnableXefileMessages(uint32_t enable) {
  xe::frame::MessagesEnabled = enable;
  return 0;
}

}
