// The file layer: every format reads and writes through these. Handles are
// POSIX descriptors (-1 for none), opened close-on-exec. Sharing is enforced
// with advisory open-file-description locks: a read open shares reads with
// other read opens; an update or a create shares nothing. So two users of the
// library that would step on each other get the sharing failure.
//
// Reads and writes are whole: a transfer of fewer bytes than asked is a
// failure, even where the system call itself succeeded.
#pragma once

#include <cstdint>

namespace xe {

using FileHandle = int;
constexpr FileHandle kNoFile = -1;

int32_t XefFileOpenRead(const char *path, FileHandle *out);
int32_t XefFileOpenUpdate(const char *path, FileHandle *out);
// Creates or truncates; an existing file that another user holds is left as
// it is.
int32_t XefFileCreate(const char *path, FileHandle *out);
int32_t XefFileRead(FileHandle h, void *buffer, uint32_t size);
int32_t XefFileWrite(FileHandle h, const void *buffer, uint32_t size);
int32_t XefFileSeek32(FileHandle h, uint32_t position);
int32_t XefFileSeek64(FileHandle h, uint64_t position);
// Seeks from the present position; the offset is a signed 32-bit value.
int32_t XefFileSeekRel(FileHandle h, int32_t offset);
int32_t XefFileSeekEnd(FileHandle h);
// Fails when the position is 4 GiB or more.
int32_t XefFileTell32(FileHandle h, uint32_t *position);
int32_t XefFileTell64(FileHandle h, uint64_t *position);
void XefFileClose(FileHandle h);
// Size of the open file, or -1.
int64_t FileSize(FileHandle h);

}  // namespace xe
