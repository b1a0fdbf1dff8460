// The file layer: sharing between opens, whole reads and writes, seeks and
// the 32-bit position limit.
#include "frame/file_io.h"

#include <gtest/gtest.h>

#include <string>

#include "fixtures/cine_builder.h"
#include "xefile/xefile_status.h"

namespace {

using fixture::Bytes;
using fixture::TempFile;

Bytes Counting(size_t n) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(i * 3 + 1);
  return b;
}

// Closes a handle at the end of a scope.
struct Handle {
  xe::FileHandle h = xe::kNoFile;
  ~Handle() { xe::XefFileClose(h); }
};

TEST(FileSharing, ReadersShareButUpdateAndCreateExcludeEveryone) {
  TempFile file(Counting(64));
  Handle r1, r2, u, c;
  ASSERT_EQ(xe::XefFileOpenRead(file.c_str(), &r1.h), XE_OK);
  ASSERT_EQ(xe::XefFileOpenRead(file.c_str(), &r2.h), XE_OK);

  u.h = 123;
  EXPECT_EQ(xe::XefFileOpenUpdate(file.c_str(), &u.h), XE_ERR_FILE_OPEN);
  EXPECT_EQ(u.h, xe::kNoFile);

  // A create that cannot have the file must not have truncated it either.
  EXPECT_EQ(xe::XefFileCreate(file.c_str(), &c.h), XE_ERR_FILE_OPEN);
  EXPECT_EQ(file.Read(), Counting(64));

  xe::XefFileClose(r1.h);
  xe::XefFileClose(r2.h);
  r1.h = r2.h = xe::kNoFile;
  ASSERT_EQ(xe::XefFileOpenUpdate(file.c_str(), &u.h), XE_OK);
  EXPECT_EQ(xe::XefFileOpenRead(file.c_str(), &r1.h), XE_ERR_FILE_OPEN);
  EXPECT_EQ(xe::XefFileOpenUpdate(file.c_str(), &r2.h), XE_ERR_FILE_OPEN);
}

TEST(FileSharing, MissingFilesAndFoldersDoNotOpen) {
  TempFile missing;
  fixture::TempDir dir;
  Handle h;
  EXPECT_EQ(xe::XefFileOpenUpdate(missing.c_str(), &h.h), XE_ERR_FILE_OPEN);
  EXPECT_EQ(xe::XefFileOpenRead(dir.path().c_str(), &h.h), XE_ERR_FILE_OPEN);
  EXPECT_EQ(h.h, xe::kNoFile);
}

TEST(FileTransfer, ReadsAndWritesAreWholeOrFail) {
  TempFile file;
  Handle h;
  ASSERT_EQ(xe::XefFileCreate(file.c_str(), &h.h), XE_OK);
  Bytes data = Counting(10);
  ASSERT_EQ(xe::XefFileWrite(h.h, data.data(), 10), XE_OK);
  ASSERT_EQ(xe::XefFileSeek32(h.h, 0), XE_OK);

  // The system call succeeds with 10 bytes; 16 were asked.
  uint8_t buf[16] = {};
  EXPECT_EQ(xe::XefFileRead(h.h, buf, 16), XE_ERR_FILE_READ);
  ASSERT_EQ(xe::XefFileSeek32(h.h, 0), XE_OK);
  ASSERT_EQ(xe::XefFileRead(h.h, buf, 10), XE_OK);
  EXPECT_EQ(Bytes(buf, buf + 10), data);
  EXPECT_EQ(xe::XefFileRead(h.h, buf, 1), XE_ERR_FILE_READ);
  EXPECT_EQ(xe::XefFileRead(h.h, buf, 0), XE_OK);
  EXPECT_EQ(xe::FileSize(h.h), 10);

  // A create of an existing file that nobody holds truncates it.
  xe::XefFileClose(h.h);
  ASSERT_EQ(xe::XefFileCreate(file.c_str(), &h.h), XE_OK);
  EXPECT_EQ(xe::FileSize(h.h), 0);
  xe::XefFileClose(h.h);

  file.Write(data);
  ASSERT_EQ(xe::XefFileOpenRead(file.c_str(), &h.h), XE_OK);
  EXPECT_EQ(xe::XefFileWrite(h.h, data.data(), 1), XE_ERR_FILE_WRITE);
}

TEST(FileSeek, RelativeSeeksGoBothWaysAndNeverBeforeTheStart) {
  TempFile file(Counting(100));
  Handle h;
  ASSERT_EQ(xe::XefFileOpenRead(file.c_str(), &h.h), XE_OK);
  uint32_t pos32 = 0;
  uint64_t pos64 = 0;
  ASSERT_EQ(xe::XefFileSeekEnd(h.h), XE_OK);
  ASSERT_EQ(xe::XefFileSeekRel(h.h, -30), XE_OK);
  uint8_t b = 0;
  ASSERT_EQ(xe::XefFileRead(h.h, &b, 1), XE_OK);
  EXPECT_EQ(b, Counting(100)[70]);
  ASSERT_EQ(xe::XefFileSeekRel(h.h, 5), XE_OK);
  ASSERT_EQ(xe::XefFileTell64(h.h, &pos64), XE_OK);
  EXPECT_EQ(pos64, 76u);

  EXPECT_EQ(xe::XefFileSeekRel(h.h, -77), XE_ERR_FILE_SEEK);
  ASSERT_EQ(xe::XefFileTell64(h.h, &pos64), XE_OK);
  EXPECT_EQ(pos64, 76u);

  // The largest 32-bit position lies past the end; that is allowed.
  ASSERT_EQ(xe::XefFileSeek32(h.h, 0xFFFFFFFFu), XE_OK);
  ASSERT_EQ(xe::XefFileTell32(h.h, &pos32), XE_OK);
  EXPECT_EQ(pos32, 0xFFFFFFFFu);
  EXPECT_EQ(xe::XefFileRead(h.h, &b, 1), XE_ERR_FILE_READ);

  EXPECT_EQ(xe::XefFileSeek64(h.h, 1ull << 63), XE_ERR_FILE_SEEK);
}

// Reads past 4 GiB are checked by the fetch of images stored there.
TEST(FileSeek, PositionsFromFourGiBOnNeedTheWideTell) {
  TempFile file;
  Handle h;
  ASSERT_EQ(xe::XefFileCreate(file.c_str(), &h.h), XE_OK);
  uint32_t pos32 = 7;
  uint64_t pos64 = 0;
  ASSERT_EQ(xe::XefFileSeek64(h.h, (1ull << 32) - 1), XE_OK);
  ASSERT_EQ(xe::XefFileTell32(h.h, &pos32), XE_OK);
  EXPECT_EQ(pos32, 0xFFFFFFFFu);
  ASSERT_EQ(xe::XefFileSeekRel(h.h, 1), XE_OK);
  EXPECT_EQ(xe::XefFileTell32(h.h, &pos32), XE_ERR_FILE_SEEK);
  ASSERT_EQ(xe::XefFileTell64(h.h, &pos64), XE_OK);
  EXPECT_EQ(pos64, 1ull << 32);
}

}  // namespace
