// XeWriteImageFile and XeReadImageFile: single images between a DIB the
// caller holds and a still file, outside any cine.
#include <cstdint>
#include <cstring>

#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/plugins.h"
#include "saving/jpeg_quality.h"
#include "saving/still_image.h"
#include "xefile/xefile.h"

using namespace xe;

extern "C" {

// The type sits in the low 32 bits of `parameters` and the quality in the
// high ones. Whatever its sign the type is taken as a still type: 3 and -3
// both write FileType -3. No format options, no time (the TIFF date is now),
// and a 16-to-8 reduction with gain 1.0, which keeps the top byte.
XEFILE_API int32_t XeWriteImageFile(const char *name, const BitmapInfoHeader *dib,
                                    uint64_t parameters, uint32_t /*reserved*/) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  const uint8_t *pixels = intl::XefDIBPixar(dib);
  if (!name || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  const int64_t given = static_cast<int32_t>(parameters & 0xFFFFFFFFu);
  const int64_t type = given > 0 ? -given : given;
  if (type < INT16_MIN) return status = XE_ERR_NOT_SUPPORTED;
  ImageHeader h{};
  std::memcpy(&h, dib, sizeof *dib);
  h.biSize = sizeof h;
  SavingOptions o = LoneStillOptions();
  o.QFactor = QFactorOfQuality(static_cast<uint32_t>(parameters >> 32));
  Setup setup{};
  setup.fGain16_8 = 1.0f;
  return status = WriteStillImage(name, &h, pixels, static_cast<int16_t>(type), o, nullptr, setup);
}

// Every still file is read through the imaging plugin's file facts (the
// TIFF files of 12 to 48 bits then go to this library's TIFF reader). The
// plugin's table has no image reading yet: present, it answers as for a
// missing entry point.
XEFILE_API int32_t XeReadImageFile(const char *name, BitmapInfoHeader *dib) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!name || !dib) return status = XE_ERR_NULL_ARGUMENT;
  if (!frame::ImagingAvailable()) return status = XE_ERR_IMAGE_FILE_READ;
  return status = XE_ERR_ENTRY_POINT;
}

}  // extern "C"
