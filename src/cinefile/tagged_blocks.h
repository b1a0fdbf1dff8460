// The tagged area: a chain of blocks directly behind the Setup, in the file
// and in the Cine. A block is an 8-byte header (BlockSize, Type, Reserved)
// and its data; Reserved bit 0 set means another block follows, BlockSize on.
//
// Blocks are addressed by pointers into the cine's tail. Every function here
// stays inside the bytes the cine holds: a block that runs past them is
// treated as absent.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

constexpr uint32_t kMaxBlockSize = 80000000;

// The block tags.
constexpr uint16_t kTagSkipped = 1000;   // not read; kept by the clipper, left out by writers
constexpr uint16_t kTagTime1 = 1001;     // old form of times and exposures, never in memory
constexpr uint16_t kTagTime = 1002;
constexpr uint16_t kTagExposure = 1003;
constexpr uint16_t kTagRange = 1004;
constexpr uint16_t kTagBinSignals = 1005;
constexpr uint16_t kTagAnaSignals = 1006;
constexpr uint16_t kTagTimecode = 1007;
constexpr uint32_t kBlockHeaderSize = 8;

// The header of the block at `block`, which must hold 8 bytes.
TAGGED_BLOCK_HEADER BlockHeaderAt(const uint8_t *block);
void WriteBlockHeader(uint8_t *block, uint32_t size, uint16_t type, uint16_t reserved);

// True for a Type from 1000 to 1007, a Reserved of 0 or 1 and a BlockSize of
// 8 to 80000000.
bool IsValidBlock(const TAGGED_BLOCK_HEADER &h);
// IsValidBlock, reporting "Cine structure error in the tagged area" when it
// fails. 1 valid, 0 not.
int ValidateTaggedBlock(const TAGGED_BLOCK_HEADER &h);

// True when the 8 header bytes at `block` lie inside the cine's tail.
bool BlockHeaderHeld(const Cine *c, const uint8_t *block);
// Bytes of the block's data that the cine holds: BlockSize - 8, cut at the
// end of the tail.
uint64_t HeldDataBytes(const Cine *c, const uint8_t *block);
// The block BlockSize on from `block`, or null when its header is not held or
// BlockSize is below 8.
uint8_t *NextBlock(Cine *c, uint8_t *block);

// The block behind the Setup, validated; null when the cine has no tagged
// area (Length + OffSetup not below OffImageOffsets, or fewer than 8 bytes).
uint8_t *FirstTaggedBlock(Cine *c);
// The same without validation (null only for a missing area).
uint8_t *FirstTaggedBlockRaw(Cine *c);
// Follows the chain while Reserved bit 0 is set. The result is the
// validation of the block found (1) or 0; *out is null when not found.
int FindTaggedBlock(Cine *c, uint16_t tag, uint8_t **out);

// Bytes each image takes in a block of `tag`: 1002 8, 1003 4, 1004 RangeSize,
// 1005 (BinChannels + 7) / 8 x SamplesPerImage, 1006 AnaChannels x
// SamplesPerImage x 2, 1007 8; 0 for any other tag.
uint64_t BytesPerImage(const Cine *c, uint16_t tag);

}  // namespace xe
