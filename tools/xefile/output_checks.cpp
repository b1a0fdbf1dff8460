#include "output_checks.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tool.h"

namespace xetool {

void RefuseExisting(const std::string &path) {
  struct stat st {};
  if (lstat(path.c_str(), &st) == 0) FailWith(path + " exists (--no-clobber)");
}

std::string ExistingFolderOf(const std::string &path) {
  std::string folder = path;
  for (;;) {
    const size_t slash = folder.find_last_of('/');
    if (slash == std::string::npos) return ".";
    folder.resize(slash == 0 ? 1 : slash);
    struct stat st {};
    if (stat(folder.c_str(), &st) == 0) return folder;
    if (folder == "/") return folder;
  }
}

void CheckOutputPath(const std::string &path, const std::string &input) {
  struct stat out {}, in {};
  if (stat(path.c_str(), &out) == 0) {
    if (S_ISDIR(out.st_mode)) FailWith(path + ": the output is a directory");
    if (stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
      FailWith(path + ": the output is the input file " + input);
    // An existing file is replaced where it is: it must be writable.
    if (access(path.c_str(), W_OK) != 0) FailWith(path + ": " + std::strerror(errno));
  }
  const std::string folder = ExistingFolderOf(path);
  struct stat dir {};
  if (stat(folder.c_str(), &dir) == 0 && !S_ISDIR(dir.st_mode))
    FailWith(path + ": " + folder + " is not a directory");
  if (access(folder.c_str(), W_OK | X_OK) != 0)
    FailWith(path + ": cannot write in " + folder + ": " + std::strerror(errno));
}

bool FreeBytes(const std::string &path, uint64_t *bytes) {
  struct statvfs vfs {};
  if (statvfs(ExistingFolderOf(path).c_str(), &vfs) != 0) return false;
  *bytes = static_cast<uint64_t>(vfs.f_bavail) * vfs.f_frsize;
  return true;
}

std::string SizeText(uint64_t bytes) {
  if (bytes < (1u << 20)) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / (1u << 20));
  return text;
}

}  // namespace xetool
