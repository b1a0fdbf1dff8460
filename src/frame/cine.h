// The Cine record: one recording, whatever its source.
//
// A Cine is one heap block: the fixed fields below, then the file's Header,
// Bmih and Setup back to back (a writer emits their 7324 bytes in one call),
// then a variable tail that holds the tagged area directly behind the Setup
// and the 64-bit image offsets directly behind the tagged area. In memory the
// Header's offsets always describe this layout: OffImageHeader 44, OffSetup
// 84, OffImageOffsets 7324 plus the size of the tagged area, Version 1.
//
// The record is trivially copyable; XeDuplicateCine copies the whole block and
// then gives the copy its own file handle and working block. Every access to
// the tail is bounded by TailCapacity(), the bytes actually held.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "companions/int/packing.h"
#include "frame/file_io.h"
#include "frame/processing_params.h"
#include "frame/saving_options.h"
#include "xefile/xefile.h"

namespace xe {

#pragma pack(push, 1)
struct CineHeaders {
  CineFileHeader Header;
  BitmapInfoHeader Bmih;
  ::Setup Setup;
};
#pragma pack(pop)
static_assert(sizeof(CineHeaders) == 7324);
static_assert(offsetof(CineHeaders, Bmih) == 44);
static_assert(offsetof(CineHeaders, Setup) == 84);

constexpr uint32_t kHeadersSize = sizeof(CineHeaders);  // 7324
constexpr uint32_t kProcessingStateSize = 400;
// Room for a path: the longest path the system accepts.
constexpr uint32_t kPathSize = 4096;
// Room kept behind the tagged area of a file cine for the expansion of an old
// TIME_1 block into time and exposure blocks.
constexpr uint32_t kTime1Spare = 108;

// What a cine is.
enum CineKindCode : uint32_t { kOrdinaryCine = 0, kLiveCine = 1, kViewerCine = 2 };

// Source file types (also the non-negative FileType codes).
enum SourceType : int16_t {
  kSourceRawCine = 0,
  kSourceCine = 1,
  kSourceJpegCine = 2,
  kSourceAvi = 3,
  kSourceTiffCine = 4,
  kSourceMpeg = 5,
};

// The words of a save job kept in the cine. The table of running saves and
// SavePercent are guarded by the save-buffer mutex; StopSave is written by
// whoever stops the save and read by the job at each progress report, both
// through atomic references.
struct SaveControl {
  uint32_t SavePercent;       // last percent reported
  pfnCallback SaveCallback;   // the caller's progress callback, or null
  void *SaveThread;           // the thread of a background save
  uint32_t SaveThreadId;
  int32_t SaveResult;         // final status of the last job
  uint32_t StopSave;          // non-zero: stop at the next progress report
  int32_t SaveJobNumber;      // the job number of the '@' token
};

}  // namespace xe

// The record behind a CineHandle.
struct Cine {
  char FileName[xe::kPathSize];        // path in use: opened, or to save to
  xe::FileHandle FileHandle;           // the open cine file, or kNoFile
  void *MovieReader;               // reader of a movie file, or null
  uint32_t CineKind;
  uint32_t IsFileCine;             // images come from a file
  char OpenedFileName[xe::kPathSize];  // path opened, for opening again
  int16_t SourceFileType;
  int32_t CN;                      // camera number, -1 on a file cine
  int32_t CineNrRequested;
  // The block handed to the camera's image fetch, in this order.
  int32_t CineNr;                  // 1 on a file cine, -1 live
  int32_t FetchWords[2];
  int32_t ImageRangeCnt;           // range of the fetch in progress
  int32_t ImageRangeFirst;
  uint32_t FetchReserved;
  int32_t FirstImageOpened;
  uint32_t TimeFormat;             // 0 local, 1 UTC, 2 timecode
  xe::SavingOptions Saving;
  xe::ProcessingParams Processing;
  uint32_t CineUseCase;            // 0 none, 1 view, 2 save, 3 raw
  uint32_t *ProcessingState;       // 400-byte working block, owned
  uint32_t SaveAlgo;
  // View-state words kept for applications.
  uint32_t ViewWord564, ViewWord568, ViewWord580, ViewWord584, ViewWord592, ViewWord596;
  xe::intl::PackInfo PackInfo;   // the state of the packed-image conversions
  xe::SaveControl Save;
  BitmapInfoHeader BmihOpened;     // the image header as made; restored before each fetch
  uint32_t ParamsChanged;          // the processing chain must be rebuilt
  uint64_t BlockBytes;             // size of this heap block
  // Header, Bmih, Setup; the tail follows. Aligned so that the fields that
  // are aligned in the file are aligned in memory too.
  alignas(8) xe::CineHeaders H;
};

namespace xe {

using ::Cine;

static_assert(std::is_trivially_copyable_v<Cine>);
static_assert(std::is_standard_layout_v<Cine>);

// Offset of the tail (tagged area, then image offsets) from the record start.
constexpr uint64_t kTailOffset = offsetof(Cine, H) + sizeof(CineHeaders);

inline uint8_t *CineTail(Cine *c) { return reinterpret_cast<uint8_t *>(c) + kTailOffset; }
inline const uint8_t *CineTail(const Cine *c) {
  return reinterpret_cast<const uint8_t *>(c) + kTailOffset;
}
inline uint64_t TailCapacity(const Cine *c) {
  return c->BlockBytes > kTailOffset ? c->BlockBytes - kTailOffset : 0;
}

// Allocates a zeroed record with `tailBytes` of tail. Null when the block
// would pass the 4 GiB limit of a single allocation, or the heap is out.
Cine *AllocateCine(uint64_t tailBytes);
// Frees the record and its working block; closes nothing.
void FreeCine(Cine *c);
// Closes the cine file the record holds open, if any.
void CloseCineFile(Cine *c);

// Bytes of the tagged area in memory: OffImageOffsets - 7324, bounded by the
// tail held.
uint32_t TaggedAreaSize(const Cine *c);

// The image offset of index i (image FirstImageNo + i). False when the index
// or the offset array lies outside the record.
bool GetImageOffset(const Cine *c, uint32_t index, uint64_t *offset);
bool SetImageOffset(Cine *c, uint32_t index, uint64_t offset);
// The image offsets as bytes in the tail, or null when ImageCount entries are
// not all held.
uint8_t *ImageOffsetArray(Cine *c);
// The first `count` entries of the image offsets, whatever ImageCount says,
// or null when the record does not hold them. A save keeps its table here.
uint8_t *ImageOffsetSlots(Cine *c, uint32_t count);

// Aims the fused adjustment step of the processing parameters at the
// record's own items: a copied record must be aimed again before use.
void AimFusedPointers(Cine *c);

// 2 to the power `bits` minus 1 as a level, for depths from 0 to 31.
int32_t MaxLevelForDepth(uint32_t bits);

}  // namespace xe
