// XeGetCineAuxData: the per-image entry of one tag.
#include <cmath>
#include <cstring>

#include "cinefile/image_time.h"
#include "cinefile/tagged_blocks.h"
#include "cinefile/timecode.h"
#include "companions/con/status.h"

using namespace xe;

namespace {

// Copies the entry of `image` from the first block of `tag`. XE_ERR_AUX_TAG_ABSENT
// when the chain has no such block.
int32_t CopyFromBlock(Cine *c, int32_t image, uint16_t tag, uint32_t size, void *out) {
  const CineFileHeader &hd = c->H.Header;
  uint8_t *b = FirstTaggedBlock(c);
  while (b) {
    TAGGED_BLOCK_HEADER h = BlockHeaderAt(b);
    if (h.Type == tag) {
      if (image < hd.FirstImageNo) return XE_ERR_AUX_OUT_OF_RANGE;
      uint64_t at = static_cast<uint64_t>(static_cast<int64_t>(image) - hd.FirstImageNo) *
                    BytesPerImage(c, h.Type);
      if (at >= h.BlockSize - kBlockHeaderSize) return XE_ERR_AUX_OUT_OF_RANGE;
      // The caller's size is trusted only inside the block held.
      if (at + size > HeldDataBytes(c, b)) return XE_ERR_AUX_OUT_OF_RANGE;
      std::memcpy(out, b + kBlockHeaderSize + at, size);
      return XE_OK;
    }
    if ((h.Reserved & 1) == 0) break;
    b = NextBlock(c, b);
  }
  return XE_ERR_AUX_TAG_ABSENT;
}

int32_t Timecode(Cine *c, int32_t image, uint32_t size, void *out) {
  int32_t r = CopyFromBlock(c, image, XE_TAG_TIMECODE, size, out);
  if (r != XE_ERR_AUX_TAG_ABSENT) return r;
  if (size < sizeof(TC)) return XE_ERR_AUX_TOO_SMALL;
  const Setup &s = c->H.Setup;
  TC tc = TCFromImageOffset(image, s.TCRate, s.TimeCode, 0);
  std::memcpy(out, &tc, sizeof tc);
  return XE_OK;
}

}  // namespace

extern "C" XEFILE_API int32_t XeGetCineAuxData(CineHandle cine, int32_t image, uint32_t tag,
                                               uint32_t size, void *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  switch (tag) {
    case XE_TAG_TCU: {
      if (size < sizeof(TCU)) return status = XE_ERR_AUX_TOO_SMALL;
      TC tc{};
      status = Timecode(cine, image, sizeof tc, &tc);
      if (status == XE_OK) UnpackTC(tc, static_cast<TCU *>(out));
      return status;
    }
    case XE_TAG_TIME: {
      if (size < sizeof(Time64)) return status = XE_ERR_AUX_TOO_SMALL;
      Time64 t{};
      if (!CineImageTime(cine, image, &t)) return status = XE_ERR_AUX_OUT_OF_RANGE;
      std::memcpy(out, &t, sizeof t);
      return status;
    }
    case XE_TAG_EXPOSURE: {
      if (size < sizeof(uint32_t)) return status = XE_ERR_AUX_TOO_SMALL;
      uint32_t e = 0;
      if (!CineImageExposure(cine, image, &e)) return status = XE_ERR_AUX_OUT_OF_RANGE;
      uint32_t us = static_cast<uint32_t>(std::trunc(e * 1e6 / 4294967296.0 + 0.5));
      std::memcpy(out, &us, sizeof us);
      return status;
    }
    case XE_TAG_TIMECODE:
      return status = Timecode(cine, image, size, out);
    default:
      if (tag > 0xFFFF) return status = XE_ERR_AUX_TAG_ABSENT;
      return status = CopyFromBlock(cine, image, static_cast<uint16_t>(tag), size, out);
  }
}
