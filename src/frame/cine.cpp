#include "frame/cine.h"

#include <cstring>

#include "companions/con/settings.h"
#include "frame/memory.h"

namespace xe {

Cine *AllocateCine(uint64_t tailBytes) {
  const uint64_t fixed = sizeof(Cine) > kTailOffset ? sizeof(Cine) : kTailOffset;
  if (tailBytes > kMaxAllocation) return nullptr;
  // The tail starts at kTailOffset, which may lie inside the padding at the
  // end of the struct; the block holds both the struct and the whole tail.
  uint64_t bytes = kTailOffset + tailBytes;
  if (bytes < fixed) bytes = fixed;
  auto *c = static_cast<Cine *>(AllocZeroed(bytes));
  if (!c) return nullptr;
  c->BlockBytes = bytes;
  c->FileHandle = kNoFile;
  return c;
}

void FreeCine(Cine *c) {
  if (!c) return;
  FreeMemory(c->ProcessingState);
  FreeMemory(c);
}

uint32_t TaggedAreaSize(const Cine *c) {
  uint32_t off = c->H.Header.OffImageOffsets;
  if (off <= kHeadersSize) return 0;
  uint64_t size = off - kHeadersSize;
  return size <= TailCapacity(c) ? static_cast<uint32_t>(size) : 0;
}

namespace {

// Byte position of offset entry `index` in the tail, when the entry is held.
bool OffsetPosition(const Cine *c, uint32_t index, uint64_t *pos) {
  uint32_t off = c->H.Header.OffImageOffsets;
  if (off < kHeadersSize) return false;
  uint64_t p = static_cast<uint64_t>(off - kHeadersSize) + 8ull * index;
  if (p + 8 > TailCapacity(c)) return false;
  *pos = p;
  return true;
}

}  // namespace

bool GetImageOffset(const Cine *c, uint32_t index, uint64_t *offset) {
  uint64_t pos;
  if (!c || index >= c->H.Header.ImageCount || !OffsetPosition(c, index, &pos)) return false;
  std::memcpy(offset, CineTail(c) + pos, 8);
  return true;
}

bool SetImageOffset(Cine *c, uint32_t index, uint64_t offset) {
  uint64_t pos;
  if (!c || index >= c->H.Header.ImageCount || !OffsetPosition(c, index, &pos)) return false;
  std::memcpy(CineTail(c) + pos, &offset, 8);
  return true;
}

uint8_t *ImageOffsetArray(Cine *c) {
  uint64_t pos;
  uint32_t n = c->H.Header.ImageCount;
  if (!OffsetPosition(c, 0, &pos)) return n == 0 ? CineTail(c) : nullptr;
  if (pos + 8ull * n > TailCapacity(c)) return nullptr;
  return CineTail(c) + pos;
}

uint8_t *ImageOffsetSlots(Cine *c, uint32_t count) {
  uint64_t pos = TaggedAreaSize(c);
  if (c->H.Header.OffImageOffsets < kHeadersSize || pos + 8ull * count > TailCapacity(c)) return nullptr;
  return CineTail(c) + pos;
}

int32_t MaxLevelForDepth(uint32_t bits) {
  if (bits >= 31) return INT32_MAX;
  return static_cast<int32_t>((1u << bits) - 1);
}

void AimFusedPointers(Cine *c) {
  ProcessingParams &p = c->Processing;
  p.fused = {&p.bright, &p.contrast, &p.sat, &p.hue, &p.gamma, &p.flip, &p.angle, &p.filter};
}

}  // namespace xe
