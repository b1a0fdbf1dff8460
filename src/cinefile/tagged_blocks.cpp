#include "cinefile/tagged_blocks.h"

#include <cstdio>
#include <cstring>

#include "frame/messages.h"

namespace xe {

TAGGED_BLOCK_HEADER BlockHeaderAt(const uint8_t *block) {
  TAGGED_BLOCK_HEADER h;
  std::memcpy(&h, block, sizeof h);
  return h;
}

void WriteBlockHeader(uint8_t *block, uint32_t size, uint16_t type, uint16_t reserved) {
  TAGGED_BLOCK_HEADER h{size, type, reserved};
  std::memcpy(block, &h, sizeof h);
}

bool IsValidBlock(const TAGGED_BLOCK_HEADER &h) {
  return h.Type >= XE_TAG_SKIP && h.Type <= XE_TAG_TIMECODE && h.Reserved <= 1 &&
         h.BlockSize >= kBlockHeaderSize && h.BlockSize <= kMaxBlockSize;
}

int ValidateTaggedBlock(const TAGGED_BLOCK_HEADER &h) {
  if (IsValidBlock(h)) return 1;
  char text[160];
  std::snprintf(text, sizeof text,
                "Cine structure error in the tagged area:\n unknown tag: 0x%04x, length: 0x%08x, "
                "wReserved: 0x%04x",
                h.Type, h.BlockSize, h.Reserved);
  ReportMessage(nullptr, text, "Error", kStyleError);
  return 0;
}

bool BlockHeaderHeld(const Cine *c, const uint8_t *block) {
  const uint8_t *tail = CineTail(c);
  if (!block || block < tail) return false;
  return static_cast<uint64_t>(block - tail) + kBlockHeaderSize <= TailCapacity(c);
}

uint64_t HeldDataBytes(const Cine *c, const uint8_t *block) {
  if (!BlockHeaderHeld(c, block)) return 0;
  TAGGED_BLOCK_HEADER h = BlockHeaderAt(block);
  if (h.BlockSize < kBlockHeaderSize) return 0;
  uint64_t pos = static_cast<uint64_t>(block - CineTail(c)) + kBlockHeaderSize;
  uint64_t held = TailCapacity(c) - pos;
  uint64_t data = h.BlockSize - kBlockHeaderSize;
  return data < held ? data : held;
}

uint8_t *NextBlock(Cine *c, uint8_t *block) {
  if (!BlockHeaderHeld(c, block)) return nullptr;
  TAGGED_BLOCK_HEADER h = BlockHeaderAt(block);
  if (h.BlockSize < kBlockHeaderSize) return nullptr;
  uint64_t pos = static_cast<uint64_t>(block - CineTail(c)) + h.BlockSize;
  if (pos + kBlockHeaderSize > TailCapacity(c)) return nullptr;
  return CineTail(c) + pos;
}

uint8_t *FirstTaggedBlockRaw(Cine *c) {
  const CineFileHeader &hd = c->H.Header;
  uint64_t setupEnd = static_cast<uint64_t>(c->H.Setup.Length) + hd.OffSetup;
  if (setupEnd >= hd.OffImageOffsets) return nullptr;
  if (TaggedAreaSize(c) < kBlockHeaderSize) return nullptr;
  return CineTail(c);
}

uint8_t *FirstTaggedBlock(Cine *c) {
  uint8_t *b = FirstTaggedBlockRaw(c);
  if (!b || !ValidateTaggedBlock(BlockHeaderAt(b))) return nullptr;
  return b;
}

int FindTaggedBlock(Cine *c, uint16_t tag, uint8_t **out) {
  *out = nullptr;
  uint8_t *b = FirstTaggedBlock(c);
  while (b) {
    TAGGED_BLOCK_HEADER h = BlockHeaderAt(b);
    if (h.Type == tag) {
      int valid = ValidateTaggedBlock(h);
      if (valid) *out = b;
      return valid;
    }
    if ((h.Reserved & 1) == 0) return 0;
    b = NextBlock(c, b);
  }
  return 0;
}

uint64_t BytesPerImage(const Cine *c, uint16_t tag) {
  const Setup &s = c->H.Setup;
  switch (tag) {
    case XE_TAG_TIME: return 8;
    case XE_TAG_EXPOSURE: return 4;
    case XE_TAG_RANGE_DATA: return s.RangeSize;
    case XE_TAG_BINSIG:
      return s.BinChannels > 0 ? static_cast<uint64_t>((s.BinChannels + 7) / 8) * s.SamplesPerImage
                               : 0;
    case XE_TAG_ANASIG:
      return s.AnaChannels > 0 ? static_cast<uint64_t>(s.AnaChannels) * s.SamplesPerImage * 2 : 0;
    case XE_TAG_TIMECODE: return 8;
    default: return 0;
  }
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API void *XefGetCineTaggedBlock(CineHandle cine, uint32_t tag) {
  if (!cine) return nullptr;
  const Setup &s = cine->H.Setup;
  if (tag == XE_TAG_ANASIG && (s.AnaChannels == 0 || s.SamplesPerImage == 0)) return nullptr;
  if (tag == XE_TAG_BINSIG && (s.BinChannels == 0 || s.SamplesPerImage == 0)) return nullptr;
  // The walk checks no Reserved word: past the last block it reads the first
  // image offsets as a block header. Callers ask only for tags they know to
  // be present.
  uint8_t *b = CineTail(cine);
  while (BlockHeaderHeld(cine, b)) {
    TAGGED_BLOCK_HEADER h = BlockHeaderAt(b);
    if (h.Type < XE_TAG_SKIP || h.Type > XE_TAG_TIMECODE) return nullptr;
    if (h.Type == tag) {
      // Hand out only a block whose data the cine wholly holds.
      if (h.BlockSize < kBlockHeaderSize || HeldDataBytes(cine, b) < h.BlockSize - kBlockHeaderSize)
        return nullptr;
      return b + kBlockHeaderSize;
    }
    b = NextBlock(cine, b);
  }
  return nullptr;
}
