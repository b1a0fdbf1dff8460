// Space and file-size limits of the file system that holds a path. There
// are no drive letters here: XefGetDiskSpace answers for the file system of
// the current directory, and the path forms for the file system of the
// path, or of its nearest existing parent when the path is not there yet (a
// save asks about files it is about to create).
#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "xefile/xefile.h"

namespace {

constexpr uint32_t kNoLimitMB = 0xFFFFFFFFu;
constexpr uint32_t kFat32LimitMB = 4096;

// Runs `query` on `path`, then on each parent while the one before is
// missing. False when no path, or when the query fails for another reason.
template <class Query>
bool OnNearestExisting(const char *path, Query query) {
  if (!path || !*path) return false;
  std::string p(path);
  for (size_t tries = 0; tries <= p.size() + 1; ++tries) {
    if (query(p.c_str())) return true;
    if (errno != ENOENT && errno != ENOTDIR) return false;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    size_t sep = p.find_last_of('/');
    if (sep == std::string::npos) {
      if (p == ".") return false;
      p.assign(1, '.');
    } else {
      p.resize(sep == 0 ? 1 : sep);
    }
  }
  return false;
}

uint32_t ToMB(uint64_t bytes) { return static_cast<uint32_t>(bytes >> 20); }

}  // namespace

extern "C" {

// FAT file systems (vfat, msdos) hold files below 4 GiB; the others have no
// limit a save could reach. A file system that cannot be told has none.
XEFILE_API uint32_t XefMaxFileSizeForPartition(const char *path) {
  struct statfs fs;
  if (!OnNearestExisting(path, [&fs](const char *p) { return statfs(p, &fs) == 0; })) return kNoLimitMB;
  return fs.f_type == MSDOS_SUPER_MAGIC ? kFat32LimitMB : kNoLimitMB;
}

XEFILE_API int32_t XefGetDiskSpaceOfPath(const char *path, uint64_t *total, uint64_t *freeBytes,
                                         uint32_t *totalMB, uint32_t *freeMB, uint32_t *cluster) {
  if (!cluster) return 0;
  struct statvfs fs;
  if (!OnNearestExisting(path, [&fs](const char *p) { return statvfs(p, &fs) == 0; })) return 0;
  uint64_t unit = fs.f_frsize;
  uint64_t all = static_cast<uint64_t>(fs.f_blocks) * unit;
  uint64_t avail = static_cast<uint64_t>(fs.f_bavail) * unit;  // free to this user
  *cluster = static_cast<uint32_t>(unit);
  if (total) *total = all;
  if (freeBytes) *freeBytes = avail;
  if (totalMB) *totalMB = ToMB(all);
  if (freeMB) *freeMB = ToMB(avail);
  return 1;
}

XEFILE_API int32_t XefGetDiskSpace(char /*drive*/, uint64_t *total, uint64_t *freeBytes,
                                   uint32_t *totalMB, uint32_t *freeMB, uint32_t *cluster) {
  return XefGetDiskSpaceOfPath(".", total, freeBytes, totalMB, freeMB, cluster);
}

}  // extern "C"
