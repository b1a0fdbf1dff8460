#include "cinefile/image_time.h"

#include <cmath>
#include <cstring>

#include "cinefile/tagged_blocks.h"
#include "companions/con/services.h"

namespace xe {
namespace {

// Index of `imageNo` counted from `origin`, or -1 when it lies before it.
int64_t IndexFrom(int32_t imageNo, int32_t origin) {
  int64_t d = static_cast<int64_t>(imageNo) - origin;
  return d < 0 ? -1 : d;
}

// Copies `size` bytes at `offset` of the block's data when they are within
// both BlockSize and the bytes held.
bool ReadEntry(const Cine *c, const uint8_t *block, uint64_t offset, uint32_t size, void *out) {
  if (offset + size > HeldDataBytes(c, block)) return false;
  std::memcpy(out, block + kBlockHeaderSize + offset, size);
  return true;
}

// Walks the chain from the first block, giving each block to `match` until it
// answers true, a block has Reserved bit 0 clear, or a block fails validation.
template <typename Match>
bool WalkBlocks(Cine *c, Match match) {
  uint8_t *b = FirstTaggedBlock(c);
  while (b) {
    TAGGED_BLOCK_HEADER h = BlockHeaderAt(b);
    if (match(b, h)) return true;
    if ((h.Reserved & 1) == 0) return false;
    b = NextBlock(c, b);
    if (b && !ValidateTaggedBlock(BlockHeaderAt(b))) return false;
  }
  return false;
}

}  // namespace

int32_t CineImageTime(Cine *c, int32_t imageNo, Time64 *out) {
  const CineFileHeader &hd = c->H.Header;
  bool found = WalkBlocks(c, [&](const uint8_t *b, const TAGGED_BLOCK_HEADER &h) {
    int64_t index = -1;
    if (h.Type == XE_TAG_TIME_1) index = IndexFrom(imageNo, hd.FirstMovieImage);
    if (h.Type == XE_TAG_TIME) index = IndexFrom(imageNo, hd.FirstImageNo);
    if (index < 0) return false;
    uint64_t at = static_cast<uint64_t>(index) * 8;
    return at < h.BlockSize - kBlockHeaderSize && ReadEntry(c, b, at, 8, out);
  });
  if (found) return 1;
  *out = hd.TriggerTime;
  con::XefAddSecondsToTime64(out, static_cast<double>(imageNo) / static_cast<double>(c->H.Setup.FrameRate));
  out->fractions |= 3u;
  return c->H.Setup.TrigFrame == 0 ? 1 : 0;
}

int32_t CineImageExposure(Cine *c, int32_t imageNo, uint32_t *out) {
  const CineFileHeader &hd = c->H.Header;
  bool found = WalkBlocks(c, [&](const uint8_t *b, const TAGGED_BLOCK_HEADER &h) {
    uint64_t data = h.BlockSize - kBlockHeaderSize;
    if (h.Type == XE_TAG_TIME_1) {
      int64_t index = IndexFrom(imageNo, hd.FirstMovieImage);
      uint64_t at = static_cast<uint64_t>(hd.TotalImageCount) * 8 + static_cast<uint64_t>(index) * 4;
      return index >= 0 && at < data && ReadEntry(c, b, at, 4, out);
    }
    if (h.Type == XE_TAG_EXPOSURE) {
      int64_t index = IndexFrom(imageNo, hd.FirstImageNo);
      uint64_t at = static_cast<uint64_t>(index) * 4;
      return index >= 0 && at < data && ReadEntry(c, b, at, 4, out);
    }
    return false;
  });
  if (found) return 1;
  double units = std::trunc(c->H.Setup.ShutterNs * 4294967296.0 / 1e9 + 0.5);
  *out = units >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<uint32_t>(units);
  return c->H.Setup.AutoExposure == 0 ? 1 : 0;
}

void RepairTriggerTime(Time64 *t, uint32_t cameraVersion, uint32_t softwareVersion) {
  if (t->seconds == 0) {
    t->seconds = t->fractions;
    t->fractions = 3;
  }
  if (cameraVersion >= 7 && softwareVersion < 604 && t->fractions < 1000000) {
    t->fractions =
        static_cast<uint32_t>(std::trunc(t->fractions * 4294967296.0 / 1e6 + 0.5)) | 3u;
  }
}

}  // namespace xe
