// Questions answered from the Cine record: range, trigger time, image header,
// colour switch and the predicates.
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/cine.h"

using namespace xe;

namespace {

bool Is16Bit(const Cine *c) { return c->H.Setup.RealBPP > 8; }
bool IsColor(const Cine *c) { return c->H.Setup.CFA != 0; }

uint32_t PowerOfTwoClamped(uint32_t bits) { return bits >= 32 ? 0xFFFFFFFFu : 1u << bits; }

}  // namespace

extern "C" {

XEFILE_API int32_t XeGetCineRange(CineHandle cine, int32_t *first, int32_t *last) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  const CineFileHeader &h = cine->H.Header;
  if (first) *first = h.FirstMovieImage;
  if (last)
    *last = static_cast<int32_t>(static_cast<int64_t>(h.FirstMovieImage) + h.TotalImageCount - 1);
  return status;
}

XEFILE_API int32_t XeGetCineTriggerTime(CineHandle cine, Time64 *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  *out = cine->H.Header.TriggerTime;
  return status;
}

XEFILE_API int32_t XeGetCineBMIH(CineHandle cine, BitmapInfoHeader *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  BitmapInfoHeader b = cine->H.Bmih;
  const Setup &s = cine->H.Setup;
  if (cine->H.Header.Compression == XE_COMPRESSION_RAW) b.biBitCount = Is16Bit(cine) ? 48 : 24;
  if (s.Rotate == 90 || s.Rotate == -90) {
    int32_t w = b.biWidth;
    b.biWidth = b.biHeight;
    b.biHeight = w;
  }
  b.biCompression = 0;
  b.biClrImportant = PowerOfTwoClamped(s.RealBPP);
  b.biSizeImage = intl::XefPixarSize(&b);
  *out = b;
  return status;
}

XEFILE_API int32_t XeEnableCineColor(CineHandle cine, uint32_t enable) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  Setup &s = cine->H.Setup;
  s.bEnableColor = enable;
  bool color = enable != 0 && IsColor(cine);
  cine->H.Bmih.biBitCount = color ? (Is16Bit(cine) ? 48 : 24) : (Is16Bit(cine) ? 16 : 8);
  cine->H.Bmih.biSizeImage = intl::XefPixarSize(&cine->H.Bmih);
  cine->ParamsChanged = 1;
  return status;
}

XEFILE_API int32_t XefIs16BitCine(CineHandle cine) { return cine && Is16Bit(cine) ? 1 : 0; }

XEFILE_API int32_t XefIsColorCine(CineHandle cine) { return cine && IsColor(cine) ? 1 : 0; }

XEFILE_API int32_t XeIsColorCine(CineHandle cine, uint32_t *result) {
  if (result) *result = cine && IsColor(cine) ? 1 : 0;
  return 0;
}

XEFILE_API int32_t XefIsColorCineHead(CineHandle cine, int32_t head) {
  if (!cine) return 0;
  uint32_t cfa = cine->H.Setup.CFA;
  if ((cfa & 0xFFu) == 0) return 0;
  if (head < 0 || head > 31) return 1;
  return (cfa & (0x80000000u >> head)) == 0 ? 1 : 0;
}

XEFILE_API int32_t XefIsRawCine(CineHandle cine) {
  if (!cine) return 0;
  if (!cine->IsFileCine) return 1;
  return cine->SourceFileType == kSourceRawCine && cine->BmihOpened.biBitCount < 17 ? 1 : 0;
}

XEFILE_API int32_t XefIsBWPackedCine(CineHandle cine) {
  if (!cine || IsColor(cine)) return 0;
  return intl::XefIsPacked(&cine->H.Bmih) || intl::XefIsPacked(&cine->BmihOpened) ? 1 : 0;
}

XEFILE_API int32_t XefWasMultiHeadCamera(CineHandle cine) {
  if (!cine) return 0;
  uint32_t v = cine->H.Setup.CameraVersion;
  return v == 6 || v == 62 ? 1 : 0;
}

XEFILE_API int32_t XefIsMultiHeadCine(CineHandle cine) {
  if (!cine) return 0;
  const Setup &s = cine->H.Setup;
  if (!cine->IsFileCine) return s.CameraVersion == 6 || s.CameraVersion == 62 ? 1 : 0;
  if (s.CameraVersion == 6) return 1;
  return s.CameraVersion == 62 && s.HeadSerial[1] != 0xFFFFFFFFu &&
                 s.HeadSerial[2] != 0xFFFFFFFFu && s.HeadSerial[3] != 0xFFFFFFFFu
             ? 1
             : 0;
}

XEFILE_API int32_t XefIsJPEGCompressed(int16_t fileType) {
  return fileType == 2 || fileType == 6 || fileType == 7 || (fileType >= -24 && fileType <= -18)
             ? 1
             : 0;
}

XEFILE_API int32_t XefMaxPixLin(CineHandle cine) {
  if (!cine) return 0;
  uint32_t bpp = cine->H.Setup.RealBPP;
  if ((intl::XefIsPacked(&cine->BmihOpened) && bpp >= 9) || intl::XefIsPacked(&cine->H.Bmih))
    return 16383;
  return MaxLevelForDepth(bpp);
}

}
