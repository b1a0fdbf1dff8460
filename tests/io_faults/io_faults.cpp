#include "io_faults.h"

#include <errno.h>
#include <limits.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>

namespace {

std::string g_path;
std::function<bool(int, off_t, size_t)> g_fails;
std::function<void(size_t)> g_written;
std::atomic<bool> g_armed{false};
std::atomic<uint64_t> g_largest{0};

bool IsTheFile(int fd) {
  char link[64], target[PATH_MAX];
  snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, target, sizeof target - 1);
  return n > 0 && g_path == std::string(target, static_cast<size_t>(n));
}

}  // namespace

extern "C" {
ssize_t __real_write(int fd, const void *buffer, size_t n);
void *__real_calloc(size_t n, size_t size);

ssize_t __wrap_write(int fd, const void *buffer, size_t n) {
  if (!g_armed.load() || !IsTheFile(fd)) return __real_write(fd, buffer, n);
  if (g_fails(fd, lseek(fd, 0, SEEK_CUR), n)) {
    errno = ENOSPC;
    return -1;
  }
  ssize_t done = __real_write(fd, buffer, n);
  if (done > 0 && g_written) g_written(static_cast<size_t>(done));
  return done;
}

void *__wrap_calloc(size_t n, size_t size) {
  uint64_t bytes = uint64_t{n} * size;
  uint64_t seen = g_largest.load();
  while (bytes > seen && !g_largest.compare_exchange_weak(seen, bytes)) {
  }
  return __real_calloc(n, size);
}
}

namespace faults {

FailingWrites::FailingWrites(const std::string &path, std::function<bool(int, off_t, size_t)> fails,
                             std::function<void(size_t)> written) {
  // The file may not exist yet: its folder is made canonical, as the
  // system names the file of a descriptor.
  std::filesystem::path p(path);
  std::error_code ec;
  auto folder = std::filesystem::canonical(p.parent_path(), ec);
  g_path = ec ? path : (folder / p.filename()).string();
  g_fails = std::move(fails);
  g_written = std::move(written);
  g_armed.store(true);
}

FailingWrites::~FailingWrites() {
  g_armed.store(false);
  g_fails = nullptr;
  g_written = nullptr;
}

uint64_t TakeLargestAllocation() { return g_largest.exchange(0); }

}  // namespace faults
