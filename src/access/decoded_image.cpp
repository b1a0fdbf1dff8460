// ReadFileImage and the two exported calls on it: a file image decoded for
// display, and the same image with the adjustments of the Setup applied.
#include "access/decoded_image.h"

#include <algorithm>
#include <cstdlib>

#include "access/file_image.h"
#include "companions/con/status.h"
#include "companions/int/demosaic.h"
#include "companions/int/dib.h"
#include "companions/int/improc.h"
#include "companions/int/mosaic.h"
#include "companions/int/packing.h"
#include "processing/process_cine.h"

namespace xe {
namespace {

// Linearised packed samples run from 0 to this level.
constexpr int32_t kLinearWhite = static_cast<int32_t>(intl::kLinearLevels) - 1;

bool InStoredRange(const Cine *c, int32_t image) {
  const CineFileHeader &h = c->H.Header;
  int64_t index = static_cast<int64_t>(image) - h.FirstImageNo;
  return index >= 0 && index < static_cast<int64_t>(h.ImageCount);
}


uint64_t Rows(const BitmapInfoHeader &h) { return static_cast<uint64_t>(std::llabs(h.biHeight)); }

// The unpacked form of a packed header, for the room it needs.
uint64_t UnpackedSize(const BitmapInfoHeader &packed) {
  BitmapInfoHeader u = packed;
  u.biBitCount = 16;
  u.biCompression = 0;
  return static_cast<uint64_t>(intl::XefMemWidth(&u)) * Rows(u);
}

// The colour form of a mosaic header, for the room the demosaic needs.
uint64_t ColourSize(const BitmapInfoHeader &mosaic) {
  BitmapInfoHeader c = mosaic;
  c.biBitCount = static_cast<uint16_t>(mosaic.biBitCount * 3);
  c.biCompression = 0;
  return intl::XefPixarSize(&c);
}

// Decodes the image just read into `pixels`: unpacks packed samples, then a
// raw mosaic is stretched to its levels, balanced when the balance is kept
// as metadata, and demosaiced.
int32_t DecodeFileImage(Cine *c, uint8_t *pixels, uint64_t room, BitmapInfoHeader *h) {
  Setup &s = c->H.Setup;
  const uint16_t compression = c->H.Header.Compression;
  const bool packed = intl::XefIsPacked(&c->BmihOpened);
  // JPEG images come decoded from the read.
  if (compression == XE_COMPRESSION_JPEG) return XE_OK;

  if (packed) {
    c->PackInfo.CFA = s.CFA;
    c->PackInfo.GainR = s.WBGain[0].R;
    c->PackInfo.GainG = 1.0f;
    c->PackInfo.GainB = s.WBGain[0].B;
    if (UnpackedSize(*h) > room) return XE_ERR_BUFFER_TOO_SMALL;
    int32_t status = intl::XefUnpackImage(h, pixels, &c->PackInfo, intl::kUnpackLinear);
    if (status < 0) return status;
    s.BlackLevel = 0;
    s.WhiteLevel = kLinearWhite;
  }
  if (compression != XE_COMPRESSION_RAW) return XE_OK;

  int32_t status = XE_OK;
  if (!packed) {
    // Only the low 16 bits of the levels count. Levels that do not span a
    // range (a Setup that never had them) leave the samples as they are.
    int32_t black = s.BlackLevel & 0xFFFF, white = s.WhiteLevel & 0xFFFF;
    if (white > black) Merge(status, intl::XeAdjustToMaxLevels(h, pixels, black, white));
  }
  // The mosaic of a stamped multi-head file keeps its frame; it stays raw.
  if (XefIsMultiHeadCine(c) && IsSideStampedFile(c)) return status;
  if (s.bMetaWB && !packed) {
    const float gains[2] = {s.WBGain[0].R, s.WBGain[0].B};
    Merge(status, intl::XeWBAdjustUnint(h, pixels, s.CFA, gains));
  }
  if (ColourSize(*h) > room) return XE_ERR_BUFFER_TOO_SMALL;
  uint32_t algo = intl::XefAlgo(c->Saving.InterpolationAlgo, s.CameraVersion);
  Merge(status, intl::XeInterpolateColor(h, pixels, s.CFA, algo));
  return status;
}

}  // namespace

uint32_t DecodedImageRoom(const Cine *c) {
  const BitmapInfoHeader &stored = c->BmihOpened;
  BitmapInfoHeader b = stored;
  bool deep = intl::XefIs16BitDIB(&stored) || intl::XefIsPacked(&stored);
  b.biBitCount = deep ? 48 : 24;
  b.biCompression = 0;
  uint32_t room = std::max(intl::XefPixarSize(&stored), intl::XefPixarSize(&b));
  // A quarter turn keeps the samples but not the padding of the rows.
  std::swap(b.biWidth, b.biHeight);
  return std::max(room, intl::XefPixarSize(&b));
}

int32_t ReadCineFileImage(Cine *c, int32_t image, uint8_t *pixels, BitmapInfoHeader *decoded,
                          bool *read) {
  *read = false;
  *decoded = c->BmihOpened;
  if (!c->IsFileCine) return XE_INFO_NOT_RECORDED;
  c->ImageRangeFirst = image;
  return ReadFileImage(c, pixels, DecodedImageRoom(c), decoded, read);
}

int32_t ReadFileImage(Cine *c, uint8_t *pixels, uint64_t room, BitmapInfoHeader *decoded,
                      bool *read) {
  *read = false;
  *decoded = c->BmihOpened;
  if (!InStoredRange(c, c->ImageRangeFirst)) return XE_OK;
  // The stored image is read by its stored header; the cine keeps its own.
  const BitmapInfoHeader kept = c->H.Bmih;
  c->H.Bmih = c->BmihOpened;
  ImageHeader stored;
  int32_t status = ReadRawFileImage(c, &stored, pixels, room);
  c->H.Bmih = kept;
  if (status < 0) return status;
  *read = true;
  Merge(status, DecodeFileImage(c, pixels, room, decoded));
  return status;
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeReadCineFileImage(CineHandle cine, int32_t image, uint8_t *pixels) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!pixels) return status = XE_ERR_NULL_ARGUMENT;
  BitmapInfoHeader decoded;
  bool read = false;
  return status = ReadCineFileImage(cine, image, pixels, &decoded, &read);
}

extern "C" XEFILE_API int32_t XeReadCineProcessedImage(CineHandle cine, int32_t image,
                                                       uint8_t *pixels) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!pixels) return status = XE_ERR_NULL_ARGUMENT;
  // The header of the adjustments is the decoded one: a raw image is colour
  // at the depth of its samples, and a quarter turn of the options exchanges
  // its width and height as it is applied.
  BitmapInfoHeader h;
  bool read = false;
  // Whatever the read did, the answer is 0; only an image that was read is
  // adjusted.
  if (ReadCineFileImage(cine, image, pixels, &h, &read) < 0 || !read) return status;
  IMPROCOPTIONS options;
  intl::XeSetImProcOptions(&options, &cine->H.Setup);
  XeCineImProc(cine, &h, pixels, &options);
  return status;
}
