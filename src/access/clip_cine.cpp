// XeClipCine: a cine in memory cut to a smaller range of images. The per-image
// blocks are rewritten in place to hold only the kept images, and the image
// offsets move behind them. The offsets are moved from the first entry on,
// without skipping the images cut at the front: a file cine is clipped from
// its first image only, or its image data no longer match the numbers.
#include <algorithm>
#include <cstring>

#include "access/image_range.h"
#include "cinefile/tagged_blocks.h"
#include "companions/con/status.h"
#include "frame/cine.h"
#include "frame/messages.h"

namespace xe {
namespace {


// Copies `count` entries of `per` bytes from index `k` of the data at `from`
// to the data of the block at `to`, bounded by the area. False when they do
// not fit.
bool MoveEntries(uint8_t *area, uint64_t areaSize, uint64_t to, uint64_t from, uint64_t held,
                 uint64_t k, uint64_t per, uint64_t count) {
  uint64_t bytes = count * per;
  if (to + kBlockHeaderSize + bytes > areaSize) return false;
  uint64_t src = per && k > held / per ? held : k * per;  // an index past what is held copies nothing
  uint64_t copy = src < held ? std::min(bytes, held - src) : 0;
  std::memmove(area + to + kBlockHeaderSize, area + from + kBlockHeaderSize + src, copy);
  std::memset(area + to + kBlockHeaderSize + copy, 0, bytes - copy);
  return true;
}

// Rewrites the chain for the kept images k to k + m - 1; an old TIME_1
// table, which spans the whole recording, keeps entries from `k1` on.
// XE_ERR_NULL_CINE for a block that cannot be clipped (the timecode among
// them): the blocks before it are rewritten already.
int32_t ClipBlocks(Cine *c, uint64_t k, uint64_t k1, uint64_t m, uint64_t *end) {
  uint8_t *area = CineTail(c);
  const uint64_t areaSize = TaggedAreaSize(c);
  const uint64_t total = c->H.Header.TotalImageCount;
  uint64_t rpos = 0, wpos = 0;
  for (;;) {
    if (rpos + kBlockHeaderSize > areaSize) break;
    // The header is kept aside: a rewritten block may cover the next one's.
    const TAGGED_BLOCK_HEADER h = BlockHeaderAt(area + rpos);
    if (h.BlockSize < kBlockHeaderSize) return XE_ERR_NULL_CINE;
    const uint64_t held = std::min<uint64_t>(h.BlockSize, areaSize - rpos) - kBlockHeaderSize;
    if (h.Type == kTagSkipped) {
      if (wpos + kBlockHeaderSize <= areaSize) wpos += BlockHeaderAt(area + wpos).BlockSize;
    } else if (h.Type == kTagTime1) {
      ReportMessage(nullptr, "Cannot have TIME_1 block in memory!", "Internal error", kStyleError);
      const bool exposures = h.BlockSize >= total * 12 + 8;
      const uint64_t timesFrom = rpos;
      if (!MoveEntries(area, areaSize, wpos, timesFrom, held, k1, 8, m)) return XE_ERR_NULL_CINE;
      WriteBlockHeader(area + wpos, static_cast<uint32_t>(m * 8 + 8), kTagTime, exposures ? 1 : h.Reserved);
      wpos += m * 8 + 8;
      if (exposures) {
        uint64_t expHeld = held > total * 8 ? held - total * 8 : 0;
        // Exposures lie behind the times of the whole recording.
        if (!MoveEntries(area, areaSize, wpos, rpos + total * 8, expHeld, k1, 4, m)) return XE_ERR_NULL_CINE;
        WriteBlockHeader(area + wpos, static_cast<uint32_t>(m * 4 + 8), kTagExposure, h.Reserved);
        wpos += m * 4 + 8;
      }
    } else if (h.Type > kTagTime1 && h.Type <= kTagAnaSignals) {
      const uint64_t per = BytesPerImage(c, h.Type);
      if (!MoveEntries(area, areaSize, wpos, rpos, held, k, per, m)) return XE_ERR_NULL_CINE;
      WriteBlockHeader(area + wpos, static_cast<uint32_t>(m * per + 8), h.Type, h.Reserved);
      wpos += m * per + 8;
    } else {
      return XE_ERR_NULL_CINE;
    }
    rpos += h.BlockSize;
    if (!(h.Reserved & 1)) break;
  }
  *end = std::min(wpos, areaSize);
  return XE_OK;
}

int32_t ClipCine(Cine *c, ImageRange *range) {
  CineFileHeader &hd = c->H.Header;
  ImageRange whole = c->IsFileCine ? ImageRange{hd.FirstImageNo, hd.ImageCount}
                                   : ImageRange{hd.FirstMovieImage, hd.TotalImageCount};
  int32_t status = RangeIntersect(range, whole);
  const uint64_t k = static_cast<uint64_t>(static_cast<int64_t>(range->First) - whole.First);
  const uint64_t m = range->Cnt;
  // A TIME_1 table counts from the first image of the recording.
  const int64_t fromMovieFirst = static_cast<int64_t>(range->First) - hd.FirstMovieImage;
  const uint64_t k1 = fromMovieFirst < 0 ? UINT64_MAX : static_cast<uint64_t>(fromMovieFirst);

  uint64_t end = TaggedAreaSize(c);
  const uint32_t oldTagged = TaggedAreaSize(c);
  if (hd.OffImageOffsets - hd.OffSetup != c->H.Setup.Length && oldTagged >= kBlockHeaderSize) {
    int32_t st = ClipBlocks(c, k, k1, m, &end);
    if (st < 0) return st;
  }
  // The offsets move from their old place to the end of the rewritten blocks.
  uint8_t *from = ImageOffsetSlots(c, static_cast<uint32_t>(std::min<uint64_t>(m, hd.ImageCount)));
  uint64_t entries = from ? std::min<uint64_t>(m, hd.ImageCount) : 0;
  hd.OffImageOffsets = static_cast<uint32_t>(kHeadersSize + end);
  if (entries) std::memmove(CineTail(c) + end, from, entries * 8);
  hd.FirstImageNo = range->First;
  hd.ImageCount = range->Cnt;
  return status;
}

}  // namespace
}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeClipCine(CineHandle cine, ImageRange *range) {
  if (!cine) return XE_ERR_NULL_CINE;
  if (!range) return XE_ERR_NULL_ARGUMENT;
  int32_t status = ClipCine(cine, range);
  ErrCodeOnExit log(status);
  return status;
}
