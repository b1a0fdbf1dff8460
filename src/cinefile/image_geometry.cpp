#include "cinefile/image_geometry.h"

#include <cstring>

#include "companions/int/dib.h"
#include "frame/memory.h"

namespace xe {
namespace {

// The head of an image record: AnnotationSize and ImageSize.
constexpr uint64_t kRecordHead = 8;
constexpr uint16_t kCompressionJpeg = 1;

bool DepthDeliverable(const BitmapInfoHeader &b) {
  if (b.biCompression == intl::kPackedCompression) return b.biBitCount == 16;
  if (b.biCompression != 0) return false;
  return b.biBitCount == 8 || b.biBitCount == 16 || b.biBitCount == 24 || b.biBitCount == 48;
}

}  // namespace

bool GeometryDeliverable(const BitmapInfoHeader &b) {
  if (b.biWidth <= 0 || b.biHeight <= 0 || b.biWidth > kMaxImageSide || b.biHeight > kMaxImageSide)
    return false;
  if (!DepthDeliverable(b)) return false;
  BitmapInfoHeader colour = b;
  colour.biCompression = 0;
  colour.biBitCount = 48;
  return intl::XefPixarSize(&colour) < kMaxAllocation;
}

bool OneImageFits(const BitmapInfoHeader &b, uint16_t compression, uint64_t fileSize) {
  const uint64_t payload = compression == kCompressionJpeg ? 0 : intl::XefPixarSize(&b);
  return kRecordHead + payload <= fileSize;
}

bool SomeImageInFile(const uint8_t *offsets, uint32_t count, uint64_t fileSize) {
  for (uint32_t i = 0; i < count; ++i) {
    uint64_t at;
    std::memcpy(&at, offsets + 8ull * i, 8);
    if (at < fileSize) return true;
  }
  return false;
}

}  // namespace xe
