#include "cinefile/time1_block.h"

#include <cstring>
#include <vector>

#include "cinefile/tagged_blocks.h"
#include "companions/con/log.h"
#include "companions/con/status.h"

namespace xe {
namespace {

void DropTaggedArea(Cine *c) {
  if (LogOn()) con::Debprintf("\nTIME_1 block does not hold the stored images; tagged area dropped");
  c->H.Header.OffImageOffsets = kHeadersSize;
}

}  // namespace

void ConvertTime1Block(Cine *c) {
  uint8_t *b = FirstTaggedBlockRaw(c);
  if (!b || !BlockHeaderHeld(c, b)) return;
  if (BlockHeaderAt(b).Type == XE_TAG_SKIP) b = NextBlock(c, b);
  if (!b || BlockHeaderAt(b).Type != XE_TAG_TIME_1) return;

  const CineFileHeader &hd = c->H.Header;
  const uint64_t S = BlockHeaderAt(b).BlockSize;
  const uint64_t T = hd.TotalImageCount;
  const uint64_t N = hd.ImageCount;
  const int64_t d = static_cast<int64_t>(hd.FirstImageNo) - hd.FirstMovieImage;
  const uint64_t pos = static_cast<uint64_t>(b - CineTail(c));
  const uint64_t areaEnd = TaggedAreaSize(c);

  // The old block must lie within the area read, and hold the times of the
  // stored images.
  if (S < kBlockHeaderSize || pos + S > areaEnd || d < 0 ||
      (static_cast<uint64_t>(d) + N) * 8 > S - kBlockHeaderSize) {
    DropTaggedArea(c);
    return;
  }
  bool exposures = S - kBlockHeaderSize >= T * 12 &&
                   T * 8 + (static_cast<uint64_t>(d) + N) * 4 <= S - kBlockHeaderSize;

  const uint64_t timeBlock = N * 8 + kBlockHeaderSize;
  const uint64_t expBlock = exposures ? N * 4 + kBlockHeaderSize : 0;
  const uint64_t newEnd = pos + timeBlock + expBlock;
  // The room is the area read plus the spare bytes kept behind it; the
  // image offsets follow at the new end.
  if (newEnd + 8 * N > TailCapacity(c) || newEnd > areaEnd + kTime1Spare) {
    DropTaggedArea(c);
    return;
  }

  uint8_t *data = b + kBlockHeaderSize;
  std::vector<uint8_t> oldExposures;
  if (exposures) {
    const uint8_t *src = data + T * 8 + static_cast<uint64_t>(d) * 4;
    oldExposures.assign(src, src + N * 4);
  }
  std::memmove(data, data + static_cast<uint64_t>(d) * 8, N * 8);
  WriteBlockHeader(b, static_cast<uint32_t>(timeBlock), XE_TAG_TIME, exposures ? 1 : 0);
  if (exposures) {
    uint8_t *e = b + timeBlock;
    WriteBlockHeader(e, static_cast<uint32_t>(expBlock), XE_TAG_EXPOSURE, 0);
    std::memcpy(e + kBlockHeaderSize, oldExposures.data(), oldExposures.size());
  }
  c->H.Header.OffImageOffsets = static_cast<uint32_t>(kHeadersSize + newEnd);
}

}  // namespace xe
