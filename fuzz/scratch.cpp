#include "scratch.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace xefuzz {
namespace {

std::string MakeScratchDir() {
  std::string base = "/dev/shm";
  if (access(base.c_str(), W_OK) != 0) {
    const char *tmp = std::getenv("TMPDIR");
    base = tmp && *tmp ? tmp : "/tmp";
  }
  std::string pattern = base + "/xefile-fuzz-XXXXXX";
  if (!mkdtemp(pattern.data())) return {};
  static std::string removed;
  removed = pattern;
  std::atexit([] {
    std::error_code ec;
    std::filesystem::remove_all(removed, ec);
  });
  return pattern;
}

}  // namespace

const std::string &ScratchDir() {
  static const std::string dir = MakeScratchDir();
  return dir;
}

std::string WriteScratch(const char *name, const uint8_t *data, size_t size) {
  if (ScratchDir().empty()) return {};
  std::string path = ScratchDir() + "/" + name;
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return {};
  size_t done = 0;
  while (done < size) {
    const ssize_t n = write(fd, data + done, size - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  close(fd);
  return done == size ? path : std::string{};
}

std::string OutputDir() {
  if (ScratchDir().empty()) return {};
  std::string dir = ScratchDir() + "/out";
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  return dir;
}

void RemoveOutputs() {
  if (ScratchDir().empty()) return;
  std::error_code ec;
  std::filesystem::remove_all(ScratchDir() + "/out", ec);
}

}  // namespace xefuzz
