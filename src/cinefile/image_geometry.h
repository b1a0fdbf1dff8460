// Checks of the image geometry a cine file's header states against what the
// library can deliver and what the file can hold, made at open so that a
// damaged header is refused before any buffer is sized from it.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe {

// The longest side of an image the library accepts. No sensor comes near it;
// a larger value is a damaged header, and images of it could not be
// processed (the chain's own limit for resampled widths is the same).
constexpr int32_t kMaxImageSide = 65536;

// True when images of this bitmap header can be read and delivered: width
// and height from 1 to kMaxImageSide, 8, 16, 24 or 48 bits per pixel
// unpacked (biCompression 0) or 16-bit packed (biCompression 256), and the
// image in colour at 16 bits per sample below 4 GiB.
bool GeometryDeliverable(const BitmapInfoHeader &b);

// True when one image record (its 8-byte head and the payload of
// XefPixarSize bytes) fits in a file of fileSize bytes. JPEG cines
// (Compression 1) hold payloads of any size: only the head counts.
bool OneImageFits(const BitmapInfoHeader &b, uint16_t compression, uint64_t fileSize);

// True when at least one of `count` 64-bit image offsets points inside a
// file of fileSize bytes. A file truncated inside its images keeps the ones
// before the cut and still opens; a file none of whose offsets lands inside
// it holds none of the images its header announces.
bool SomeImageInFile(const uint8_t *offsets, uint32_t count, uint64_t fileSize);

}  // namespace xe
