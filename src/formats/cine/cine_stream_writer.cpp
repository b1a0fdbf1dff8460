// A cine written image by image by a caller that makes the images itself.
//
// The file is laid out for a reserved number of images: the head, then each
// per-image block with room for all of them, then the table of image offsets
// with room for all, then the image records as they come. Each image is
// written first, then its block entries and table entry, and the header's
// counts last, so the file is a valid cine after every image. Room that is
// never written stays a hole of the file. Closing moves the blocks and the
// table together, cut to the images written.
#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "cinefile/tagged_blocks.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "formats/cine/cine_writer.h"
#include "frame/cine.h"

struct XeCineWriter {
  xe::FileHandle File = xe::kNoFile;
  Cine *Record = nullptr;       // the head as written (no tail)
  uint32_t Capacity = 0;
  uint32_t Count = 0;
  uint32_t ImageBytes = 0;
  uint64_t NextImage = 0;       // where the next image record goes
  uint64_t TablePos = 0;
  int32_t Failed = 0;           // the first failure: the writer takes no more
  struct Block {
    uint16_t Type;
    uint32_t PerImage;
    uint64_t DataPos;
  };
  std::vector<Block> Blocks;
};

namespace xe {
namespace {

constexpr uint32_t kDefaultCapacity = 1u << 20;
constexpr uint32_t kOffTotalImageCount = 12;
constexpr uint32_t kOffImageCount = 20;
constexpr uint32_t kOffImageOffsets = 32;
constexpr uint32_t kMoveChunk = 1u << 20;

int32_t WriteAt(FileHandle f, uint64_t pos, const void *data, uint32_t size) {
  int32_t status = XefFileSeek64(f, pos);
  if (status < 0) return status;
  return XefFileWrite(f, data, size);
}

bool ValidHeader(const BitmapInfoHeader &b, uint16_t compression, const Setup &s) {
  if (b.biWidth <= 0 || b.biHeight <= 0) return false;
  // Packed 10-bit samples stand for a 16-bit gray or mosaic image.
  const bool packed = intl::XefIsPacked(&b);
  if ((b.biCompression != 0 && !packed) || (packed && b.biBitCount != 16)) return false;
  if (b.biBitCount != 8 && b.biBitCount != 16 && b.biBitCount != 24 && b.biBitCount != 48) return false;
  if (compression == XE_COMPRESSION_RAW)
    return s.CFA != 0 && (b.biBitCount == 8 || b.biBitCount == 16);
  if (compression != XE_COMPRESSION_GRAY_COLOR) return false;
  uint64_t size = static_cast<uint64_t>(b.biWidth) * b.biBitCount / 8 * b.biHeight;
  return size < 0x7FFFFFFFull;
}

// The per-image blocks this Setup asks for, in the order a camera makes them.
std::vector<XeCineWriter::Block> BlocksFor(const Cine *c, bool timecode) {
  std::vector<XeCineWriter::Block> blocks;
  const Setup &s = c->H.Setup;
  auto add = [&](uint16_t type) {
    uint64_t per = BytesPerImage(c, type);
    if (per) blocks.push_back({type, static_cast<uint32_t>(per), 0});
  };
  add(kTagTime);
  add(kTagExposure);
  if (s.BinChannels && s.SamplesPerImage) add(kTagBinSignals);
  if (s.AnaChannels && s.SamplesPerImage) add(kTagAnaSignals);
  if (s.RangeSize) add(kTagRange);
  if (timecode) add(kTagTimecode);
  return blocks;
}

void FillRecord(Cine *c, const XeCineWriterParams &p) {
  Setup &s = c->H.Setup;
  s = *p.Setup;
  s.Length = sizeof(Setup);
  BitmapInfoHeader &b = c->H.Bmih;
  b = p.Bmih;
  b.biSize = sizeof(BitmapInfoHeader);
  b.biPlanes = 1;
  if (!s.RealBPP) s.RealBPP = intl::XefIs16BitDIB(&b) ? 16 : 8;
  if (intl::XefIs16BitDIB(&b) && !b.biClrImportant) b.biClrImportant = 1u << std::min<uint32_t>(s.RealBPP, 16);
  b.biSizeImage = intl::XefPixarSize(&b);
  s.ImWidth = static_cast<uint16_t>(b.biWidth);
  s.ImHeight = static_cast<uint16_t>(b.biHeight);
  CineFileHeader &h = c->H.Header;
  h.Type = 0x4943;  // "CI"
  h.HeaderSize = sizeof(CineFileHeader);
  h.Compression = p.Compression;
  h.Version = 1;
  h.FirstMovieImage = h.FirstImageNo = p.FirstImageNo;
  h.TotalImageCount = h.ImageCount = 0;
  h.OffImageHeader = offsetof(CineHeaders, Bmih);
  h.OffSetup = offsetof(CineHeaders, Setup);
  h.OffImageOffsets = kHeadersSize;
  h.TriggerTime = p.TriggerTime;
  c->IsFileCine = 1;
  c->Saving.SaveFirst = p.FirstImageNo;
  c->Saving.SaveCount = 0;
}

// Writes the head through the cine writer, then the reserved blocks and
// table; sets where the images begin.
int32_t LayOut(XeCineWriter *w) {
  int32_t status = WriteCineFileHeader(w->Record, nullptr);
  uint64_t pos = kHeadersSize;
  for (size_t i = 0; i < w->Blocks.size(); ++i) {
    XeCineWriter::Block &b = w->Blocks[i];
    uint8_t head[kBlockHeaderSize];
    uint64_t data = uint64_t{w->Capacity} * b.PerImage;
    WriteBlockHeader(head, static_cast<uint32_t>(data + kBlockHeaderSize), b.Type,
                     i + 1 < w->Blocks.size() ? 1 : 0);
    Merge(status, WriteAt(w->File, pos, head, sizeof head));
    b.DataPos = pos + kBlockHeaderSize;
    pos = b.DataPos + data;
  }
  w->TablePos = pos;
  w->NextImage = pos + uint64_t{w->Capacity} * 8;
  if (pos > 0xFFFFFFFFull) return XE_ERR_NOT_SUPPORTED;
  uint32_t table = static_cast<uint32_t>(pos);
  Merge(status, WriteAt(w->File, kOffImageOffsets, &table, sizeof table));
  return status;
}

// The count of the header is written last: until then the file holds one
// image less.
int32_t WriteCounts(XeCineWriter *w, uint32_t count) {
  int32_t status = WriteAt(w->File, kOffImageCount, &count, sizeof count);
  Merge(status, WriteAt(w->File, kOffTotalImageCount, &count, sizeof count));
  return status;
}

// Moves `size` bytes from `from` to `to` (not after it) in chunks.
int32_t MoveDown(FileHandle f, uint64_t from, uint64_t to, uint64_t size, std::vector<uint8_t> &buf) {
  int32_t status = XE_OK;
  for (uint64_t done = 0; done < size && status >= 0; done += kMoveChunk) {
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(kMoveChunk, size - done));
    Merge(status, XefFileSeek64(f, from + done));
    Merge(status, XefFileRead(f, buf.data(), n));
    Merge(status, WriteAt(f, to + done, buf.data(), n));
  }
  return status;
}

// Cuts the blocks and the table to the images written, one after another
// behind the head, and frees the room left behind them.
int32_t Compact(XeCineWriter *w) {
  if (w->Count == w->Capacity) return XE_OK;
  std::vector<uint8_t> buf(kMoveChunk);
  int32_t status = XE_OK;
  uint64_t pos = kHeadersSize;
  for (size_t i = 0; i < w->Blocks.size() && status >= 0; ++i) {
    const XeCineWriter::Block &b = w->Blocks[i];
    uint64_t data = uint64_t{w->Count} * b.PerImage;
    uint8_t head[kBlockHeaderSize];
    WriteBlockHeader(head, static_cast<uint32_t>(data + kBlockHeaderSize), b.Type,
                     i + 1 < w->Blocks.size() ? 1 : 0);
    Merge(status, MoveDown(w->File, b.DataPos, pos + kBlockHeaderSize, data, buf));
    Merge(status, WriteAt(w->File, pos, head, sizeof head));
    pos += kBlockHeaderSize + data;
  }
  Merge(status, MoveDown(w->File, w->TablePos, pos, uint64_t{w->Count} * 8, buf));
  uint32_t table = static_cast<uint32_t>(pos);
  Merge(status, WriteAt(w->File, kOffImageOffsets, &table, sizeof table));
  // The room between the table and the first image is given back.
  uint64_t end = pos + uint64_t{w->Count} * 8;
  uint64_t images = w->TablePos + uint64_t{w->Capacity} * 8;
  if (status >= 0 && images > end)
    fallocate(w->File, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(end),
              static_cast<off_t>(images - end));  // a file system without holes keeps the bytes
  return status;
}

}  // namespace
}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XefCineWriterOpen(const char *path, const XeCineWriterParams *params,
                                     CineWriterHandle *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  *out = nullptr;
  if (!path || !params || !params->Setup) return status = XE_ERR_NULL_ARGUMENT;
  if (!ValidHeader(params->Bmih, params->Compression, *params->Setup))
    return status = XE_ERR_NOT_SUPPORTED;
  auto w = std::unique_ptr<XeCineWriter>(new (std::nothrow) XeCineWriter);
  if (!w) return status = XE_ERR_NO_MEMORY;
  w->Record = AllocateCine(0);
  if (!w->Record) return status = XE_ERR_NO_MEMORY;
  FillRecord(w->Record, *params);
  w->ImageBytes = w->Record->H.Bmih.biSizeImage;
  w->Blocks = BlocksFor(w->Record, params->Timecode != 0);
  // A block holds at most 80000000 bytes: that bounds the reserved room.
  uint32_t widest = 8;
  for (const auto &b : w->Blocks) widest = std::max(widest, b.PerImage);
  const uint32_t limit = (kMaxBlockSize - kBlockHeaderSize) / widest;
  w->Capacity = params->MaxImages ? params->MaxImages : std::min(kDefaultCapacity, limit);
  if (w->Capacity > limit) {
    FreeCine(w->Record);
    return status = XE_ERR_NOT_SUPPORTED;
  }
  status = XefFileCreate(path, &w->File);
  if (status < 0) {
    FreeCine(w->Record);
    return status;
  }
  w->Record->FileHandle = w->File;
  Merge(status, LayOut(w.get()));
  if (status < 0) {
    XefFileClose(w->File);
    FreeCine(w->Record);
    return status;
  }
  *out = w.release();
  return status;
}

XEFILE_API int32_t XefCineWriterAddImage(CineWriterHandle w, const uint8_t *pixels,
                                         const Time64 *time, uint32_t exposure,
                                         const XeCineImageExtra *extra) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!w || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  if (w->Failed) return status = w->Failed;
  if (w->Count >= w->Capacity) return status = XE_ERR_NOT_SUPPORTED;
  Cine *c = w->Record;
  const uint32_t i = w->Count;

  Time64 t;
  if (time) {
    t = *time;
  } else {
    // The image's place at the frame rate, from the trigger.
    t = c->H.Header.TriggerTime;
    t.fractions &= ~3u;
    double rate = c->H.Setup.FrameRate ? c->H.Setup.FrameRate : 1.0;
    con::XefAddSecondsToTime64(&t, (static_cast<double>(c->H.Header.FirstImageNo) + i) / rate);
  }
  Merge(status, XefFileSeek64(w->File, w->NextImage));
  Merge(status, WriteImageRecord(c, pixels, w->ImageBytes));
  static const uint8_t kZeros[64] = {};
  for (const auto &b : w->Blocks) {
    const void *entry = kZeros;
    switch (b.Type) {
      case kTagTime: entry = &t; break;
      case kTagExposure: entry = &exposure; break;
      case kTagRange: entry = extra ? extra->RangeData : nullptr; break;
      case kTagBinSignals: entry = extra ? extra->BinSignals : nullptr; break;
      case kTagAnaSignals: entry = extra ? extra->AnaSignals : nullptr; break;
      case kTagTimecode: entry = extra ? static_cast<const void *>(extra->Timecode) : nullptr; break;
      default: break;
    }
    uint64_t at = b.DataPos + uint64_t{i} * b.PerImage;
    if (entry) {
      Merge(status, WriteAt(w->File, at, entry, b.PerImage));
    } else {
      // Data of no image: zeros, written in pieces of the zero block.
      for (uint32_t done = 0; done < b.PerImage; done += sizeof kZeros)
        Merge(status, WriteAt(w->File, at + done, kZeros,
                              std::min<uint32_t>(sizeof kZeros, b.PerImage - done)));
    }
  }
  Merge(status, WriteAt(w->File, w->TablePos + uint64_t{i} * 8, &w->NextImage, 8));
  if (status < 0) {
    w->Failed = status;
    return status;
  }
  Merge(status, WriteCounts(w, i + 1));
  if (status < 0) {
    w->Failed = status;
    return status;
  }
  w->Count = i + 1;
  w->NextImage += kImageRecordHead + uint64_t{w->ImageBytes};
  return status;
}

XEFILE_API uint32_t XefCineWriterImageCount(CineWriterHandle w) { return w ? w->Count : 0; }

XEFILE_API int32_t XefCineWriterClose(CineWriterHandle w) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!w) return status = XE_ERR_NULL_ARGUMENT;
  Merge(status, WriteCounts(w, w->Count));
  Merge(status, Compact(w));
  XefFileClose(w->File);
  FreeCine(w->Record);
  if (w->Failed) Merge(status, w->Failed);
  delete w;
  return status;
}

}  // extern "C"
