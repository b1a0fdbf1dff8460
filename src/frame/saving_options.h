// SavingOptions: what a save of a cine will produce. It lives in the cine;
// a save works on duplicates of it.
#pragma once

#include <cstdint>

#include "frame/stamp_options.h"

struct Cine;

namespace xe {

// FileType codes: negative ones write a file per image.
enum FileTypeCode : int16_t {
  kTypeRawCine = 0,
  kTypeCine = 1,
  kTypeJpegCine = 2,
  kTypeAvi = 3,
  kTypeMultipageTiff = 4,
  kTypeMpeg = 5,
  kTypeMxfPal = 6,
  kTypeMxfNtsc = 7,
  kTypeQuickTime = 8,
  kTypeTiff8 = -8,
  kTypeTiff12 = -9,
  kTypeTiff16 = -10,
  kTypeRaw = -25,
  kTypeDng = -26,
  kTypeDpx = -27,
};

struct SavingOptions {
  int32_t SaveFirst;             // first image to save; 0x80000000 with SaveCount ~0: whole cine
  uint32_t SaveCount;
  int16_t FileType;              // target format: negative one file per image
  uint16_t RawFileOptions;       // raw files: bit 0 ASCII, bit 1 dimensions and depth
  uint32_t Save16Bit;            // keep more than 8 bits where the format can
  uint32_t QFactor;              // JPEG quantisation, 2 (best) to 255
  uint32_t StampTime;            // non-zero stamps the time; 3 time from trigger
  uint32_t SplitQuarters;
  uint32_t AviFrameRate;
  uint32_t AviCompressorIndex;
  void *WriteGraph;              // the movie writer of a running save
  uint32_t KeepWriteGraph;
  uint32_t HeadMask;             // bit n: save head n as a cine of its own
  uint32_t HeadIndex;
  StampOptions Stamps;
  uint32_t XmlHeader;            // write the XML header after the save
  uint32_t InterpolationAlgo;
  uint32_t DpxFlags;
  uint16_t DpxRefWhite;
  uint16_t DpxRefBlack;
  float DpxGamma;
  float DpxFilmGamma;
  uint32_t DpxSoftClip;
  uint32_t DngFlags;
  uint32_t BayerGreenSplit;
  double ColorMatrix1[9];
  uint32_t SavePacked;           // keep packed image data packed
  uint32_t PlaybackRate;         // QuickTime time scale, frames per second
};

// Bits of DpxFlags.
constexpr uint32_t kDpxBigEndian = 1u << 0;     // "SDPX", headers and samples swapped
constexpr uint32_t kDpxTo10Bit = 1u << 1;       // linear samples reduced or expanded to 10 bits
constexpr uint32_t kDpxPackingShift = 2;        // two bits: packing of 10 and 12-bit samples
constexpr uint32_t kDpxPackingMask = 3u << kDpxPackingShift;
constexpr uint32_t kDpxLog = 1u << 4;           // 10-bit printing-density log samples
constexpr uint32_t kDpxWriteLut = 1u << 5;      // LUT text files beside the image
constexpr uint16_t kDpxMaxLevel = 1023;         // top 10-bit log code value

// The defaults of the target type, run when a cine is made and whenever its
// FileType changes.
void ApplyFileTypeDefaults(Cine *cine);

// True when the cine can carry packed images: a camera cine whose camera
// transfers packed images with more than 8 bits, or a file cine whose images
// are packed.
bool CanCarryPacked(const Cine *c);
// SavePacked may be on for this cine and its target type: it can carry packed
// images and FileType is -26, 0, or 1 with a gray image.
bool PackedSaveAllowed(const Cine *c);

// The file type a cine is saved to after it is made: 0 (raw cine) for images
// of up to 16 bits, else 1.
int16_t DefaultFileType(uint16_t biBitCount);

}  // namespace xe
