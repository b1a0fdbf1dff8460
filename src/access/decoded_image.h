// Images of a cine decoded far enough to be shown: packed samples unpacked
// and linearised, raw mosaics stretched to their levels, white balanced when
// the balance is metadata, and demosaiced. These are the older fetch paths;
// XeGetCineImage and the processing chain are the newer ones.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Bytes one decoded image of the cine can take: the image in colour at the
// sample size it is stored with (48 bits for 16-bit or packed samples, else
// 24), also with width and height exchanged, and never less than the stored
// image. The older public calls take no buffer size; this is the room they
// document and the bound every step of theirs is held to.
uint32_t DecodedImageRoom(const Cine *c);

// Reads image ImageRangeFirst and decodes it in `pixels` (`room` bytes). On
// return `decoded` describes the pixels. The cine's Bmih is the same as on
// entry: the decode works on a copy of BmihOpened. An image outside the
// stored ones is not an error: the result is 0, `decoded` is BmihOpened and
// the pixels stay as they were (`*read` is false then, true after a read).
// A packed image sets the Setup's levels to 0 and 16383, the range of the
// linearised samples.
int32_t ReadFileImage(Cine *c, uint8_t *pixels, uint64_t room, BitmapInfoHeader *decoded,
                      bool *read);

// XeReadCineFileImage without the argument checks: image `image` decoded in
// `pixels`, which hold DecodedImageRoom bytes. Camera cines have no file to
// read (XE_INFO_NOT_RECORDED): their images come through the older fetch.
int32_t ReadCineFileImage(Cine *c, int32_t image, uint8_t *pixels, BitmapInfoHeader *decoded,
                          bool *read);

// Options of the older fetch.
constexpr uint32_t kOlderReduceTo8 = 0x1;      // 16-bit results become 8-bit
constexpr uint32_t kOlderNoProcessing = 0x2;   // no adjustments of the Setup
constexpr uint32_t kOlderNoColour = 0x4;       // gray results from colour cines

// The older fetch of the range ImageRangeFirst, ImageRangeCnt into `pixels`,
// images one after the other at the stride of the delivered header (the
// buffer holds (count - 1) strides plus DecodedImageRoom). `head` names the
// head of a multi-head camera, -1 for all. `result` receives the header of
// the delivered images: colour or gray by the cine, doubled above 8 bits,
// and after an image was delivered, that image's final header.
int32_t OlderFetch(Cine *c, uint32_t options, int32_t head, BitmapInfoHeader *result,
                   uint8_t *pixels);

// The head an older fetch uses: the given one only on a multi-head camera
// cine and for heads 0 to 3, else -1.
int32_t OlderFetchHead(const Cine *c, int32_t head);

// The option word of a camera image transfer for the older fetch, and the
// header that goes with it (from BmihOpened, into `transfer`).
uint32_t CameraTransferOptions(const Cine *c, int32_t head, uint32_t options,
                               BitmapInfoHeader *transfer);

}  // namespace xe
