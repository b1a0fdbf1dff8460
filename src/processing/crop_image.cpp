#include "processing/crop_image.h"

#include <cstring>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/image_view.h"

namespace xe {
namespace {

int32_t Refuse(const ImageHeader *h, const XeRect &r) {
  if (LogOn())
    con::Debprintf("\nCropImage(%dx%d, left = %d, top = %d, right = %d, bottom = %d) refused", h->biWidth,
                   h->biHeight, r.left, r.top, r.right, r.bottom);
  return XE_WARN_CROP_REFUSED;
}

}  // namespace

int32_t CropImage(const uint8_t *in, ImageHeader *h, uint8_t *out, XeRect rect) {
  if (!in || !h || !out) return XE_ERR_NULL_ARGUMENT;
  intl::ImageView src;
  if (!intl::MakeView(intl::AsBmih(h), const_cast<uint8_t *>(in), &src)) return Refuse(h, rect);
  // In 64 bits: right - left + 1 must not wrap for any pair of values.
  const int64_t left = rect.left, top = rect.top, right = rect.right, bottom = rect.bottom;
  const int64_t width = right - left + 1, height = bottom - top + 1;
  if (left < 0 || top < 0 || right < 0 || bottom < 0 || right < left || bottom < top || width > src.width ||
      height > src.height || right >= src.width || bottom >= src.height)
    return Refuse(h, rect);
  if (width == src.width && height == src.height) return XE_OK;

  ImageHeader next = *h;
  next.biWidth = static_cast<int32_t>(width);
  next.biHeight = static_cast<int32_t>(h->biHeight < 0 ? -height : height);
  intl::ImageView dst;
  intl::MakeView(intl::AsBmih(&next), out, &dst);  // smaller than the source: always a view

  // The first memory row of the cut: bottom-up images start at the picture's
  // bottom row.
  const uint32_t first = static_cast<uint32_t>(h->biHeight < 0 ? top : src.height - bottom - 1);
  const uint32_t pixelBytes = src.channels * src.bits / 8;
  const uint64_t used = static_cast<uint64_t>(dst.width) * pixelBytes;
  const uint64_t skip = static_cast<uint64_t>(left) * pixelBytes;
  // In place each row moves to an address at or below its own, and never
  // onto a source row still to be read, so the rows go in order, one by one.
  for (uint32_t i = 0; i < dst.height; ++i) {
    uint8_t *to = dst.Row(i);
    std::memmove(to, src.Row(first + i) + skip, used);
    std::memset(to + used, 0, dst.stride - used);
  }
  h->biWidth = next.biWidth;
  h->biHeight = next.biHeight;
  h->biSizeImage = intl::XefPixarSize(intl::AsBmih(&next));
  return XE_OK;
}

}  // namespace xe
