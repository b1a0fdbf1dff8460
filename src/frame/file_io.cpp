#include "frame/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/messages.h"

namespace xe {
namespace {

// Status of a file operation, with the " ErrCode= %d" rule.
int32_t Fail(int32_t status) {
  if (LogOn()) con::Debprintf(" ErrCode= %d", status);
  return status;
}

void ReportOpenFailure(const char *path, bool sharing) {
  char text[4200];
  std::snprintf(text, sizeof text,
                sharing ? "Cannot open the file %s. Sharing error" : "Cannot open the file %s.",
                path ? path : "");
  ReportMessage(nullptr, text, nullptr, kStyleError);
}

enum class LockResult { Taken, Conflict };

// Takes a whole-file lock that lives as long as the descriptor. File systems
// without such locks are treated as sharing everything.
LockResult Lock(int fd, short type) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = 0;
  fl.l_len = 0;
  fl.l_pid = 0;
  if (fcntl(fd, F_OFD_SETLK, &fl) == 0) return LockResult::Taken;
  if (errno == EAGAIN || errno == EACCES) return LockResult::Conflict;
  return LockResult::Taken;
}

int32_t Open(const char *path, int flags, short lockType, bool truncate, FileHandle *out) {
  if (out) *out = kNoFile;
  if (!path || !out) {
    ReportOpenFailure(path, false);
    return Fail(XE_ERR_FILE_OPEN);
  }
  int fd = ::open(path, flags | O_CLOEXEC, 0644);
  if (fd < 0) {
    ReportOpenFailure(path, false);
    return Fail(XE_ERR_FILE_OPEN);
  }
  struct stat st {};
  if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    ReportOpenFailure(path, false);
    return Fail(XE_ERR_FILE_OPEN);
  }
  if (Lock(fd, lockType) == LockResult::Conflict) {
    ::close(fd);
    ReportOpenFailure(path, true);
    return Fail(XE_ERR_FILE_OPEN);
  }
  if (truncate && ftruncate(fd, 0) != 0) {
    ::close(fd);
    ReportOpenFailure(path, false);
    return Fail(XE_ERR_FILE_OPEN);
  }
  *out = fd;
  return XE_OK;
}

int32_t SeekTo(FileHandle h, off_t offset, int whence) {
  if (h < 0 || ::lseek(h, offset, whence) < 0) return Fail(XE_ERR_FILE_SEEK);
  return XE_OK;
}

}  // namespace

int32_t XefFileOpenRead(const char *path, FileHandle *out) {
  return Open(path, O_RDONLY, F_RDLCK, false, out);
}

int32_t XefFileOpenUpdate(const char *path, FileHandle *out) {
  return Open(path, O_RDWR, F_WRLCK, false, out);
}

int32_t XefFileCreate(const char *path, FileHandle *out) {
  return Open(path, O_RDWR | O_CREAT, F_WRLCK, true, out);
}

int32_t XefFileRead(FileHandle h, void *buffer, uint32_t size) {
  if (h < 0 || (!buffer && size)) return Fail(XE_ERR_FILE_READ);
  auto *p = static_cast<uint8_t *>(buffer);
  uint32_t done = 0;
  while (done < size) {
    ssize_t n = ::read(h, p + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return Fail(XE_ERR_FILE_READ);
    done += static_cast<uint32_t>(n);
  }
  return XE_OK;
}

int32_t XefFileWrite(FileHandle h, const void *buffer, uint32_t size) {
  if (h < 0 || (!buffer && size)) return Fail(XE_ERR_FILE_WRITE);
  const auto *p = static_cast<const uint8_t *>(buffer);
  uint32_t done = 0;
  while (done < size) {
    ssize_t n = ::write(h, p + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return Fail(XE_ERR_FILE_WRITE);
    done += static_cast<uint32_t>(n);
  }
  return XE_OK;
}

int32_t XefFileSeek32(FileHandle h, uint32_t position) {
  return SeekTo(h, static_cast<off_t>(position), SEEK_SET);
}

int32_t XefFileSeek64(FileHandle h, uint64_t position) {
  if (position > static_cast<uint64_t>(INT64_MAX)) return Fail(XE_ERR_FILE_SEEK);
  return SeekTo(h, static_cast<off_t>(position), SEEK_SET);
}

int32_t XefFileSeekRel(FileHandle h, int32_t offset) {
  return SeekTo(h, static_cast<off_t>(offset), SEEK_CUR);
}

int32_t XefFileSeekEnd(FileHandle h) { return SeekTo(h, 0, SEEK_END); }

int32_t XefFileTell64(FileHandle h, uint64_t *position) {
  off_t pos = h >= 0 ? ::lseek(h, 0, SEEK_CUR) : -1;
  if (pos < 0) return Fail(XE_ERR_FILE_SEEK);
  if (position) *position = static_cast<uint64_t>(pos);
  return XE_OK;
}

int32_t XefFileTell32(FileHandle h, uint32_t *position) {
  off_t pos = h >= 0 ? ::lseek(h, 0, SEEK_CUR) : -1;
  if (pos < 0 || pos >= static_cast<off_t>(0x100000000LL)) return Fail(XE_ERR_FILE_SEEK);
  if (position) *position = static_cast<uint32_t>(pos);
  return XE_OK;
}

void XefFileClose(FileHandle h) {
  if (h >= 0) ::close(h);
}

int64_t FileSize(FileHandle h) {
  struct stat st {};
  if (h < 0 || fstat(h, &st) != 0) return -1;
  return static_cast<int64_t>(st.st_size);
}

}  // namespace xe
