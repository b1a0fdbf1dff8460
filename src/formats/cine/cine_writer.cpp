#include "formats/cine/cine_writer.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "cinefile/tagged_blocks.h"
#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/messages.h"

namespace xe {
namespace {

constexpr uint32_t kOffImageCount = 20;       // ImageCount in the file header
constexpr uint32_t kOffTotalImageCount = 12;  // TotalImageCount
constexpr uint32_t kOffImageOffsets = 32;     // OffImageOffsets


// A save of more than 4 GiB of a block cannot be described by its BlockSize.
constexpr uint64_t kMaxWrittenBlock = 0xFFFFFFFFull - kBlockHeaderSize;

void WriteBlockHead(FileHandle f, uint64_t dataBytes, uint16_t type, uint16_t reserved,
                    int32_t &status) {
  uint8_t head[kBlockHeaderSize];
  WriteBlockHeader(head, static_cast<uint32_t>(dataBytes + kBlockHeaderSize), type, reserved);
  Merge(status, XefFileWrite(f, head, sizeof head));
}

// `count` x `per` bytes of a block's data from index `base`: what the source
// holds is copied, a range outside it is written as zeros, so the block keeps
// the size its header promises.
void WriteBlockData(FileHandle f, const uint8_t *data, uint64_t held, int64_t base, uint64_t per,
                    uint64_t count, int32_t &status) {
  uint64_t total = count * per;
  uint64_t from = base < 0 ? 0 : static_cast<uint64_t>(base) * per;
  uint64_t lead = base < 0 ? static_cast<uint64_t>(-base) * per : 0;
  if (lead > total) lead = total;
  uint64_t avail = from < held ? held - from : 0;
  uint64_t copy = std::min(total - lead, avail);
  static const uint8_t kZeros[4096] = {};
  auto zeros = [&](uint64_t n) {
    while (n > 0 && status >= 0) {
      uint32_t k = static_cast<uint32_t>(std::min<uint64_t>(n, sizeof kZeros));
      Merge(status, XefFileWrite(f, kZeros, k));
      n -= k;
    }
  };
  zeros(lead);
  if (copy) Merge(status, XefFileWrite(f, data + from, static_cast<uint32_t>(copy)));
  zeros(total - lead - copy);
}

// An old TIME_1 block must have been converted when the cine was read; one
// found here is written in the newer form: a time block, and an exposure
// block when the old one held exposures.
void WriteTime1Block(Cine *c, FileHandle f, const uint8_t *block, uint64_t held, int32_t &status) {
  ReportMessage(nullptr, "Cannot have TIME_1 block in memory!", "Internal error", kStyleError);
  const CineFileHeader &h = c->H.Header;
  const SavingOptions &o = c->Saving;
  TAGGED_BLOCK_HEADER bh = BlockHeaderAt(block);
  uint64_t total = h.TotalImageCount;
  int64_t d = static_cast<int64_t>(o.SaveFirst) - h.FirstMovieImage;
  bool exposures = bh.BlockSize >= total * 12 + 8;
  const uint8_t *data = block + kBlockHeaderSize;
  WriteBlockHead(f, uint64_t{o.SaveCount} * 8, kTagTime, exposures ? 1 : 0, status);
  WriteBlockData(f, data, held, d, 8, o.SaveCount, status);
  if (!exposures) return;
  // The exposure block keeps the size of its header; its data are the times'
  // length, as the old repair always wrote it.
  WriteBlockHead(f, uint64_t{o.SaveCount} * 4, kTagExposure, 0, status);
  uint64_t from = total * 8;
  const uint8_t *exp = data + std::min(from, held);
  WriteBlockData(f, exp, held > from ? held - from : 0, d, 4, uint64_t{o.SaveCount} * 2, status);
}

void WriteBlocks(Cine *c, FileHandle f, bool headerFile, int32_t &status) {
  const CineFileHeader &h = c->H.Header;
  if (h.OffImageOffsets - h.OffSetup == c->H.Setup.Length) return;
  const int64_t base = SaveBase(c);
  const uint64_t count = c->Saving.SaveCount;
  for (uint8_t *b = FirstTaggedBlockRaw(c); b && BlockHeaderHeld(c, b); b = NextBlock(c, b)) {
    TAGGED_BLOCK_HEADER bh = BlockHeaderAt(b);
    uint64_t held = HeldDataBytes(c, b);
    if (bh.Type == kTagTime1) {
      WriteTime1Block(c, f, b, held, status);
    } else if (bh.Type > kTagTime1 && bh.Type <= kTagTimecode && !(headerFile && bh.Type == kTagTimecode)) {
      uint64_t per = BytesPerImage(c, bh.Type);
      if (per && count * per <= kMaxWrittenBlock) {
        WriteBlockHead(f, count * per, bh.Type, bh.Reserved, status);
        WriteBlockData(f, b + kBlockHeaderSize, held, base, per, count, status);
      }
    }
    if (!(bh.Reserved & 1)) break;
  }
}

int32_t WriteU32At(FileHandle f, uint32_t position, uint32_t value) {
  int32_t status = XefFileSeek32(f, position);
  Merge(status, XefFileWrite(f, &value, sizeof value));
  return status;
}

// The image header of a cine that a merge or a head save writes.
void SetColourDepth(Cine *c, bool colour) {
  BitmapInfoHeader &b = c->H.Bmih;
  bool deep = intl::XefIs16BitDIB(&b);
  if (colour) b.biBitCount = deep ? 48 : 24;
  if (c->Saving.FileType == 0) b.biBitCount = deep ? 16 : 8;
}

// A head whose gray bit is set makes a gray cine; otherwise CFA keeps its
// filter pattern only.
void ApplyHeadCfa(Cine *c, uint32_t grayBit) {
  Setup &s = c->H.Setup;
  if (s.CFA & grayBit) {
    s.CFA = 0;
    c->H.Header.Compression = 0;
    c->H.Bmih.biBitCount = 8;
  } else {
    s.CFA &= 0xFF;
  }
}

void KeepOneHeadSerial(Setup &s, int32_t head) {
  uint32_t serial = s.HeadSerial[head];
  for (uint32_t &v : s.HeadSerial) v = 0xFFFFFFFFu;
  s.HeadSerial[0] = serial;
}

// The head, blocks and room for the table of the save range.
int32_t WriteHeaderWithTable(Cine *c) {
  const uint8_t *table = ImageOffsetSlots(c, c->Saving.SaveCount);
  return table ? WriteCineFileHeader(c, table) : XE_ERR_NO_MEMORY;
}

void CopyName(Cine *c, const char *name) {
  size_t n = strnlen(name, sizeof c->FileName - 1);
  std::memmove(c->FileName, name, n);
  c->FileName[n] = 0;
}

}  // namespace

uint16_t CompressionOfFileType(int16_t fileType) {
  switch (fileType) {
    case 0: return XE_COMPRESSION_RAW;
    case 2: return XE_COMPRESSION_JPEG;
    case 5: return XE_COMPRESSION_MOVIE;
    default: return XE_COMPRESSION_GRAY_COLOR;
  }
}

int64_t SaveBase(const Cine *c) {
  const CineFileHeader &h = c->H.Header;
  return static_cast<int64_t>(c->Saving.SaveFirst) -
         (c->IsFileCine ? h.FirstImageNo : h.FirstMovieImage);
}

int32_t WriteCineFileHeader(Cine *c, const uint8_t *table, bool headerFile) {
  int32_t status = XE_OK;
  FileHandle f = c->FileHandle;
  CineFileHeader &h = c->H.Header;
  const int32_t first = h.FirstImageNo;
  const uint32_t count = h.ImageCount;
  h.FirstImageNo = c->Saving.SaveFirst;
  h.ImageCount = c->Saving.SaveCount;
  Merge(status, XefFileWrite(f, &c->H, kHeadersSize));
  h.FirstImageNo = first;
  h.ImageCount = count;

  WriteBlocks(c, f, headerFile, status);

  uint32_t position = 0;
  int32_t tell = XefFileTell32(f, &position);
  Merge(status, tell);
  if (tell >= 0) {
    Merge(status, WriteU32At(f, kOffImageOffsets, position));
    Merge(status, XefFileSeek32(f, position));
  }
  if (table) Merge(status, XefFileWrite(f, table, c->Saving.SaveCount * 8u));
  return status;
}

int32_t CreateCineFileNew(Cine *out, const char *name) {
  if (LogOn())
    con::Debprintf("\n\nCreateCineFileNew(0x%x, \"%s\")",
                   static_cast<uint32_t>(reinterpret_cast<uintptr_t>(out)), name);
  int32_t status = XefFileCreate(name, &out->FileHandle);
  CopyName(out, name);
  out->H.Header.Compression = CompressionOfFileType(out->Saving.FileType);
  return MergeStatus(status, WriteHeaderWithTable(out));
}

int32_t CreateCineFile(Cine *c, const char *name, int32_t head, bool colour) {
  if (LogOn())
    con::Debprintf("\n\nCreateCineFile(0x%x, \"%s\", %d, %d)",
                   static_cast<uint32_t>(reinterpret_cast<uintptr_t>(c)), name, head, colour);
  int32_t status = XefFileCreate(name, &c->FileHandle);
  CopyName(c, name);
  c->H.Header.Compression = CompressionOfFileType(c->Saving.FileType);
  SetColourDepth(c, colour);
  if (head >= 0 && head < 4) {
    Setup &s = c->H.Setup;
    BitmapInfoHeader &b = c->H.Bmih;
    s.ImWidthAcq >>= 1;
    s.ImHeightAcq >>= 1;
    b.biWidth /= 2;
    b.biHeight /= 2;
    KeepOneHeadSerial(s, head);
    s.ImWidth = static_cast<uint16_t>(b.biWidth);
    s.ImHeight = static_cast<uint16_t>(b.biHeight);
    // Heads 0 to 3 test bits 29, 28, 31, 30 here.
    static constexpr uint32_t kGrayBit[4] = {1u << 29, 1u << 28, 1u << 31, 1u << 30};
    ApplyHeadCfa(c, kGrayBit[head]);
  }
  c->H.Bmih.biSizeImage = intl::XefPixarSize(&c->H.Bmih);
  return MergeStatus(status, WriteHeaderWithTable(c));
}

int32_t PrepareHeadCine(Cine *c, const char *name, int32_t head, bool colour, bool write) {
  int32_t status = XE_OK;
  CopyName(c, name);
  c->H.Header.Compression = CompressionOfFileType(c->Saving.FileType);
  SetColourDepth(c, colour);
  if (head >= 0 && head < 4) {
    Setup &s = c->H.Setup;
    BitmapInfoHeader &b = c->H.Bmih;
    KeepOneHeadSerial(s, head);
    b.biWidth /= 2;
    b.biHeight /= 2;
    s.ImWidth = static_cast<uint16_t>(b.biWidth);
    s.ImHeight = static_cast<uint16_t>(b.biHeight);
    s.ImWidthAcq = static_cast<uint32_t>(b.biWidth);
    s.ImHeightAcq = static_cast<uint32_t>(b.biHeight);
    // Heads 0 to 3 test bits 31, 30, 29, 28 here.
    ApplyHeadCfa(c, 1u << (31 - head));
  }
  c->H.Bmih.biSizeImage = intl::XefPixarSize(&c->H.Bmih);
  if (write) Merge(status, WriteHeaderWithTable(c));
  return status;
}

int32_t WriteImageRecord(Cine *writer, const uint8_t *pixels, uint32_t size) {
  const uint32_t head[2] = {kImageRecordHead, size};
  int32_t status = XefFileWrite(writer->FileHandle, head, sizeof head);
  if (status < 0) return status;
  return XefFileWrite(writer->FileHandle, pixels, size);
}

int32_t WriteImageOffsets(Cine *c) {
  FileHandle f = c->FileHandle;
  uint32_t position = 0;
  int32_t status = XefFileSeek32(f, kOffImageOffsets);
  Merge(status, XefFileRead(f, &position, sizeof position));
  if (status < 0) return status;
  Merge(status, XefFileSeek32(f, position));
  const uint8_t *table = ImageOffsetSlots(c, c->Saving.SaveCount);
  if (!table) return MergeStatus(status, XE_ERR_NO_MEMORY);
  Merge(status, XefFileWrite(f, table, c->Saving.SaveCount * 8u));
  return status;
}

int32_t PatchImageCounts(Cine *c) {
  int32_t status = WriteU32At(c->FileHandle, kOffImageCount, c->H.Header.ImageCount);
  Merge(status, WriteU32At(c->FileHandle, kOffTotalImageCount, c->H.Header.TotalImageCount));
  return status;
}

int32_t WriteChdFile(const char *name, Cine *c) {
  FileHandle kept = c->FileHandle;
  int32_t status = XefFileCreate(name, &c->FileHandle);
  if (status >= 0) {
    Merge(status, WriteCineFileHeader(c, nullptr, true));
    XefFileClose(c->FileHandle);
  }
  c->FileHandle = kept;
  return status;
}

}  // namespace xe
