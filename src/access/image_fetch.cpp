// XeGetCineImage: images of a cine by number into the caller's buffer, raw
// from the source and then through the processing chain of the use case.
#include "access/image_fetch.h"

#include <cstdio>

#include "access/file_image.h"
#include "companions/con/log.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "processing/process_cine.h"

namespace xe {

int32_t GetCineRawImage(Cine *c, const ImageRange *range, uint8_t *pixels, uint32_t size,
                        ImageHeader *header) {
  // Room for every image of the range as the chain may leave it.
  uint64_t count = range ? range->Cnt : 1;
  uint32_t bound = 0;
  MaxImageSizeColor(c, &bound);
  if (static_cast<uint64_t>(bound) * count > size) return XE_ERR_BUFFER_TOO_SMALL;
  if (!c->IsFileCine) {
    // Images of a camera cine come from the camera's memory; without a
    // camera there is no recorded image to be had.
    RawImageHeader(c, header);
    return XE_INFO_NOT_RECORDED;
  }
  return GetFileImage(c, range, pixels, size, header);
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeGetCineImage(CineHandle cine, ImageRange *range, uint8_t *pixels,
                                             uint32_t bufferSize, ImageHeader *header) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine || !pixels || !header) return status = XE_ERR_NULL_ARGUMENT;
  uint32_t started = 0;
  if (LogOn()) {
    con::Debprintf("\nXeGetCineImage(hC = 0x%x, pRng = 0x%x, pPixel = 0x%x, bufferByteSize = %d, "
                   "pIH = 0x%x)",
                   static_cast<unsigned>(reinterpret_cast<uintptr_t>(cine)),
                   static_cast<unsigned>(reinterpret_cast<uintptr_t>(range)),
                   static_cast<unsigned>(reinterpret_cast<uintptr_t>(pixels)),
                   static_cast<int>(bufferSize),
                   static_cast<unsigned>(reinterpret_cast<uintptr_t>(header)));
    started = con::XefMilisec();
  }
  Merge(status, GetCineRawImage(cine, range, pixels, bufferSize, header));
  if (status >= 0) Merge(status, ProcessCine(cine, range, pixels, header));
  if (LogOn()) {
    unsigned hc = static_cast<unsigned>(reinterpret_cast<uintptr_t>(cine));
    unsigned px = static_cast<unsigned>(reinterpret_cast<uintptr_t>(pixels));
    char label[96];
    std::snprintf(label, sizeof label, "\nXeGetCineImage(hC = 0x%x, pPixel = 0x%x) pIH", hc, px);
    con::DebPrIH(header, label);
    con::Debprintf("\nXeGetCineImage(hC = 0x%x, pPixel = 0x%x) returns. Duration %d", hc, px,
                   static_cast<int>(con::XefMilisec() - started));
  }
  return status;
}
