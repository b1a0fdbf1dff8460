#include "cinefile/cine_reader.h"

#include <strings.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "cinefile/image_geometry.h"
#include "cinefile/image_time.h"
#include "cinefile/setup_load.h"
#include "cinefile/time1_block.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/memory.h"
#include "frame/messages.h"

namespace xe {
namespace {

// Bytes of the Setup read before its Length is known.
constexpr uint32_t kSetupHeadBytes = 146;

// biClrImportant as the grey-level count of the sample depths that have one.
void SetGreyLevels(BitmapInfoHeader *b, uint32_t realBpp) {
  switch (realBpp) {
    case 8: b->biClrImportant = 0; break;
    case 10: case 12: case 14: case 16: b->biClrImportant = 1u << realBpp; break;
    default: break;  // kept as stored
  }
}

void ReportOpenError(int32_t status) {
  char text[64];
  std::snprintf(text, sizeof text, "Cannot open this file, error code: %d", status);
  ReportMessage(nullptr, text, nullptr, kStyleError);
}

int32_t Fail(int32_t status, Cine *c, Cine **out) {
  FreeCine(c);
  *out = nullptr;
  ReportOpenError(status);
  return status;
}

int32_t AllocationFailure(Cine **out) {
  ShowTableMessage(kMsgCannotAllocate);
  *out = nullptr;
  return XE_ERR_CINE_ALLOC;
}

}  // namespace

bool IsHeaderFilePath(const char *path) {
  size_t n = path ? std::strlen(path) : 0;
  return n >= 4 && strcasecmp(path + n - 4, ".chd") == 0;
}

int32_t ReadCineFile(FileHandle fd, const char *path, const CineFileHeader &header, int32_t status,
                     Cine **out) {
  *out = nullptr;
  const bool headerFile = IsHeaderFilePath(path);
  const uint32_t entrySize = header.Version == 0 ? 4 : 8;

  // The Setup, over zeros, as long as the file's record says, at most 7240.
  Setup setup{};
  auto *setupBytes = reinterpret_cast<uint8_t *>(&setup);
  Merge(status, XefFileSeek32(fd, header.OffSetup));
  Merge(status, XefFileRead(fd, setupBytes, kSetupHeadBytes));
  const uint32_t fileLength = setup.Length;
  if (fileLength < kSetupHeadBytes) {
    Merge(status, XE_ERR_FILE_READ);  // a record too short to hold its own Length
  } else {
    uint32_t rest = (fileLength < sizeof(Setup) ? fileLength : sizeof(Setup)) - kSetupHeadBytes;
    Merge(status, XefFileRead(fd, setupBytes + kSetupHeadBytes, rest));
  }
  if (status < 0) return Fail(status, nullptr, out);

  int32_t tagged = static_cast<int32_t>(header.OffImageOffsets - fileLength - header.OffSetup);
  const uint32_t taggedSize = tagged < 8 ? 0 : static_cast<uint32_t>(tagged);

  const uint64_t offsetBytes = static_cast<uint64_t>(entrySize) * header.ImageCount;
  const uint64_t tailBytes = kTime1Spare + static_cast<uint64_t>(taggedSize) + 8ull * header.ImageCount;
  if (kTailOffset + tailBytes > kMaxAllocation) return AllocationFailure(out);

  // A file too short for its tagged area or its offsets fails those reads;
  // it is refused before a record of that size is allocated.
  const int64_t fileSize = FileSize(fd);
  uint64_t needed = static_cast<uint64_t>(header.OffSetup) + fileLength + taggedSize;
  if (!headerFile && static_cast<uint64_t>(header.OffImageOffsets) + offsetBytes > needed)
    needed = static_cast<uint64_t>(header.OffImageOffsets) + offsetBytes;
  if (fileSize < 0 || needed > static_cast<uint64_t>(fileSize))
    return Fail(XE_ERR_FILE_READ, nullptr, out);

  // A geometry whose images cannot be delivered, or whose one image is
  // larger than the whole file, is a header that does not describe the file:
  // refused before anything is sized from it.
  BitmapInfoHeader bmih{};
  Merge(status, XefFileSeek32(fd, header.OffImageHeader));
  Merge(status, XefFileRead(fd, &bmih, sizeof bmih));
  if (status < 0) return Fail(status, nullptr, out);
  if (!GeometryDeliverable(bmih) ||
      (!headerFile && header.ImageCount > 0 &&
       !OneImageFits(bmih, header.Compression, static_cast<uint64_t>(fileSize))))
    return Fail(XE_ERR_FILE_READ, nullptr, out);

  Cine *c = AllocateCine(tailBytes);
  if (!c) return AllocationFailure(out);

  CineFileHeader &h = c->H.Header;
  h = header;
  h.OffImageHeader = offsetof(CineHeaders, Bmih);
  h.OffSetup = offsetof(CineHeaders, Setup);
  h.OffImageOffsets = kHeadersSize + taggedSize;
  RepairTriggerTime(&h.TriggerTime, setup.CameraVersion, setup.SoftwareVersion);

  BitmapInfoHeader &b = c->H.Bmih;
  b = bmih;
  b.biSizeImage = intl::XefPixarSize(&b);
  SetGreyLevels(&b, setup.RealBPP);

  c->H.Setup = setup;
  ApplySetupLoadCorrections(c, fileLength);

  if (taggedSize) {
    Merge(status, XefFileSeek64(fd, static_cast<uint64_t>(header.OffSetup) + fileLength));
    Merge(status, XefFileRead(fd, CineTail(c), taggedSize));
    if (status >= 0) ConvertTime1Block(c);
  }

  if (!headerFile) {
    uint8_t *offsets = ImageOffsetArray(c);
    if (!offsets) {
      Merge(status, XE_ERR_FILE_READ);
    } else {
      Merge(status, XefFileSeek32(fd, header.OffImageOffsets));
      Merge(status, XefFileRead(fd, offsets, static_cast<uint32_t>(offsetBytes)));
      if (entrySize == 4) {
        // Widen in place from the last entry to the first, so no entry is
        // overwritten before it is read.
        for (uint32_t i = header.ImageCount; i-- > 0;) {
          uint32_t v32;
          std::memcpy(&v32, offsets + 4ull * i, 4);
          uint64_t v64 = v32;
          std::memcpy(offsets + 8ull * i, &v64, 8);
        }
      }
      if (status >= 0 && header.ImageCount > 0 &&
          !SomeImageInFile(offsets, header.ImageCount, static_cast<uint64_t>(fileSize)))
        Merge(status, XE_ERR_FILE_READ);
    }
  }
  h.Version = 1;
  if (status < 0) return Fail(status, c, out);
  *out = c;
  return status;
}

}  // namespace xe
