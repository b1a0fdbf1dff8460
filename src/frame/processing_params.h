// The parameter set of the processing chain, held in each cine.
//
// ActiveProcessings is indexed by step number (chain_steps.h); non-zero means
// the step runs. The other members are grouped by the step that reads them.
// RefreshCineProcessingParams fills them from the Setup and the use case;
// a member is written only while its step is active, so a step that is off
// keeps the value of the last refresh that set it.
//
// The record is trivially copyable: the chain takes a copy per image run and
// XeDuplicateCine copies it with the cine. The eight pointers of the fused
// step aim into the same record, so after a byte copy into another cine they
// must be aimed again (AimFusedPointers) before they are followed.
#pragma once

#include <cstdint>
#include <type_traits>

#include "xefile/xefile_records.h"

namespace xe {

constexpr uint32_t kStepCount = 36;

struct AlignPixParams {           // step 1
  int32_t srcBitsPerSample;
  uint32_t destBitsPerSample;
};

struct BadPixelParams {           // step 7
  uint32_t BadPixelCount;
  void *BadPixelTable;
};

struct To8BpsParams {             // step 11
  float fOffset16_8;
  float fGain16_8;
};

struct MosaicWBParams {           // step 12
  uint32_t CFA;
  float wbGainR;
  float wbGainB;
};

struct DemosaicParams {           // step 14
  uint32_t algo;                  // the id, with 0x100 added when the step is active
  uint32_t CFA;
};

struct PostInterpWBParams {       // step 15
  float R;
  float B;
};

struct FlipParams {               // step 21
  int32_t flipH;
  int32_t flipV;
};

struct FilterParams {             // step 23
  int32_t code;
  int32_t param;
  XeUserFilter userFilter;        // 112 bytes
};
static_assert(sizeof(XeUserFilter) == 112);

// Step 24: the items of steps 16 to 23, reached through these pointers.
struct FusedImProcParams {
  float *bright;
  float *contrast;
  float *sat;
  float *hue;
  float *gamma;
  FlipParams *flip;
  int32_t *angle;
  FilterParams *filter;
};

struct StampParams {              // step 25
  int32_t stampTime;
  int32_t stampSignals;
};

struct ScaleParams {              // steps 28, 30, 31
  uint32_t widthOut;
  uint32_t heightOut;
  uint32_t kernelSize;
};

struct CropParams {               // step 29; right and bottom inclusive
  uint32_t L;
  uint32_t T;
  uint32_t R;
  uint32_t B;
};

struct ProcessingParams {
  uint32_t ActiveProcessings[kStepCount];
  void *DemosaicCallback;         // the caller's XeDemosaicCallback, or null
  uint32_t BufferState;           // 2 once the images are unpacked to 16 bits
  uint32_t unpackedBitDepth;      // step 2
  AlignPixParams align;           // step 1
  BadPixelParams badPixels;       // step 7
  uint32_t packedBitDepth;        // step 9
  To8BpsParams to8;               // step 11
  MosaicWBParams mosaicWB;        // step 12
  uint32_t kct;                   // step 13
  DemosaicParams demosaic;        // step 14
  PostInterpWBParams postWB;      // step 15
  float bright;                   // step 16
  float contrast;                 // step 17
  float sat;                      // step 18
  float hue;                      // step 19
  float gamma;                    // step 20
  FlipParams flip;                // step 21
  int32_t angle;                  // step 22
  FilterParams filter;            // step 23
  FusedImProcParams fused;        // step 24
  StampParams stamp;              // step 25
  uint32_t sideStampCode;         // step 26
  ScaleParams resample;           // step 28
  CropParams crop;                // step 29
  ScaleParams downsample;         // step 30
  ScaleParams upsample;           // step 31
};
static_assert(std::is_trivially_copyable_v<ProcessingParams>);
static_assert(std::is_standard_layout_v<ProcessingParams>);

// The kernel size of the chain's resampling steps.
constexpr uint32_t kResampleKernel = 5;

}  // namespace xe
