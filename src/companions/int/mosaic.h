// Pixel steps on raw sensor images: white balance and colour cross-talk on
// mosaic data, the stretch to the black and white levels, bit shifts, bad
// pixels and the channel view.
//
// Images are the unpacked bitmaps of image_view.h: 8 or 16-bit samples, one
// per pixel for gray and mosaic images (biBitCount 8, 16) or three in the
// order blue, green, red for colour (24, 48); rows stored bottom-up and
// padded to whole 32-bit words. A negative biHeight is taken as its
// magnitude, with rows still bottom-up. Every function works in place.
//
// The top of the sample range is 255 for 8-bit samples and
// 2^XefEffectiveBits(h) - 1 for 16-bit samples (for example 4095 for a
// header with biClrImportant 4096).
//
// The colour filter pattern is the low byte of CFA (codes 1 to 4, see
// image_view.h); any other value is gray. The pattern is given in picture
// coordinates, so its phase in memory depends on the height.
//
// Common results: XE_OK; XE_ERR_NULL_ARGUMENT (-200) for a null header,
// pixel or required table pointer; XE_ERR_NOT_SUPPORTED (-2018) for a
// biBitCount the function does not handle, a packed image (biCompression not
// 0) or a negative width, with the image unchanged. An image with a width or
// height of 0 is accepted and nothing is done. XE_ERR_NO_MEMORY (-201) when
// a working block cannot be had, image unchanged. Whole-image passes run
// over the rows on all pixel threads; no result depends on the thread count.
#pragma once

#include <cstdint>

#include "companions/int/image_view.h"
#include "xefile/xefile_records.h"

namespace xe::intl {

// ---- White balance and cross-talk on mosaic data (mosaic_balance.cpp) -----

// White balance of a mosaic (biBitCount 8 or 16): each red site is
// multiplied by gains[0], each blue site by gains[1], green sites stay.
// Results are rounded to the nearest integer (halves up) and limited to the
// top of the sample range; a sample already above the top (a header whose
// depth understates the data) is never raised, so a gain of exactly 1.0
// leaves its colour bit-identical. A gray image (CFA code 0) is left as it
// is, XE_OK. Gains must be finite and not negative, else
// XE_ERR_NOT_SUPPORTED. Colour images (24, 48) are refused: their balance
// belongs to the adjustments.
int32_t XeWBAdjustUnint(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, const float gains[2]);

// Colour cross-talk compensation of a mosaic (biBitCount 8 or 16).
//
// Model: a site keeps the share 1 - k of its own light and receives the
// share k of the mean of its 4-neighbours (left, right, up, down) that lie
// under a filter of another colour:
//     measured = (1 - k) * true + k * mean(other-colour neighbours)
// with k = kct / 1000. The compensation inverts it with the measured
// neighbours:
//     true = (measured - k * mean) / (1 - k)
// rounded to the nearest integer and limited to 0 and the top of the range.
// A flat field stays flat. Neighbours outside the image and neighbours of
// the same colour (the adjacent greens of the 2 x 4 patterns) do not count;
// a site without any counted neighbour stays. kct 0 leaves the image
// unchanged; kct above kMaxCrossTalk is taken as kMaxCrossTalk. Gray images
// (CFA code 0) are left as they are, XE_OK. Colour images are refused.
int32_t XefCompCT(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, uint32_t kct);

// Cross-talk coefficients are in thousandths of the light of a site.
constexpr uint32_t kCrossTalkScale = 1000;
// Half the light of a site: beyond it the model describes no real sensor.
constexpr uint32_t kMaxCrossTalk = 500;

// The cross-talk coefficient (thousandths) of a camera model, from a table
// of models that need compensation. The table is empty: no model
// compensates by default, and every model answers 0.
uint32_t XefGetCompCTCoef(uint32_t cameraVersion);

// ---- Levels and depth (mosaic_levels.cpp) ----------------------------------

// Stretches the samples linearly so that `black` becomes 0 and `white` the
// top of the range:
//     out = round((v - black) * top / (white - black)), limited to 0..top
// (halves up). Gray, mosaic and colour images (8, 16, 24, 48 bits); every
// sample goes through the same table. Only the low 16 bits of each level
// count, taken as unsigned (the chain passes them so). White not above
// black: XE_ERR_NOT_SUPPORTED and the image unchanged. Black 0 and white at
// the top maps every sample in range to itself; samples above the top are
// limited to it.
int32_t XeAdjustToMaxLevels(BitmapInfoHeader *h, uint8_t *pixels, int32_t black, int32_t white);

// Shifts every 16-bit sample (biBitCount 16 or 48) left by `shift` bits when
// it is positive, right by -shift bits when negative. A left shift saturates
// at 65535 (the container, not the header's depth: the caller sets the new
// depth in the header, which this function leaves unchanged); a right shift
// drops the low bits. Shifts of 16 bits or more give 0, or 65535 for a
// non-zero sample shifted left. 8-bit images (8, 24) are refused with
// XE_ERR_NOT_SUPPORTED. Shift 0: nothing to do, XE_OK.
int32_t XefShiftPixar(BitmapInfoHeader *h, int32_t shift, uint8_t *pixels);

// Sets the Setup's BlackLevel to 0 and its WhiteLevel to the top of the
// samples the camera delivers at `bitCount` bits per pixel:
//   packed (non-zero `packed`): 16383, the range of the linearised samples;
//   8 or 24 bits: 255;
//   16 or 48 bits: 2^RealBPP - 1, with the Setup's RealBPP limited to 8..16.
// `cn` is not needed: the Setup carries the depth. Another bit count:
// XE_ERR_NOT_SUPPORTED, Setup unchanged; a null Setup: XE_ERR_NULL_ARGUMENT.
int32_t XefInitBWLevels(int32_t cn, Setup *setup, uint32_t bitCount, uint32_t packed);

// ---- Bad pixels and the channel view (mosaic_pixels.cpp) ------------------

// A bad-pixel table is an array of entries (y << 16) | x, x and y in picture
// coordinates: x from the left, y from the top row of the picture (the last
// row in memory). Entries outside the image are ignored; order and repeats
// do not matter.
constexpr uint32_t BadPixelEntry(uint32_t x, uint32_t y) { return (y << 16) | (x & 0xFFFFu); }
constexpr uint32_t BadPixelX(uint32_t entry) { return entry & 0xFFFFu; }
constexpr uint32_t BadPixelY(uint32_t entry) { return entry >> 16; }

// Replaces each listed pixel by the mean (rounded, halves up) of its nearest
// good neighbours; listed pixels never serve as neighbours, so the result
// does not depend on the order of the table.
//  - Mosaic (CFA codes 1 to 4, biBitCount 8 or 16): the sites of the same
//    filter colour in the 5 x 5 window around the pixel, taking only those
//    at the smallest distance that has a good one (a red site of a 2 x 2
//    pattern: the four at 2 pixels, else the four diagonal ones).
//  - Gray (8, 16) and each component of colour (24, 48; CFA ignored): the
//    good 8-neighbours; when none is good, the good pixels of the ring
//    around them (5 x 5 window).
// A pixel without any good neighbour in its window stays as it is.
int32_t XefRepairPix(BitmapInfoHeader *h, uint32_t cfa, uint32_t count, const uint32_t *table,
                     uint8_t *pixels);

// Marks each listed pixel: gray and mosaic images get the top of the range
// (white), colour images pure red (blue 0, green 0, red at the top). A null
// table is accepted with a count of 0.
int32_t XefShowBadPixels(BitmapInfoHeader *h, uint32_t count, const uint32_t *table,
                         uint8_t *pixels);

// Channel view of a mosaic (biBitCount 8 or 16), same size, in place.
// Mode kSeparateChannels: the four sites of each 2 x 2 cell, in picture
// coordinates, go to four quarter-size planes side by side: the top-left
// site of every cell to the top-left quadrant, the top-right site to the
// top-right quadrant, the bottom-left to the bottom-left and the
// bottom-right to the bottom-right, each plane keeping the order of the
// cells. Mode kJoinChannels puts a channel view back together. With an odd
// width the last column, with an odd height the bottom row of the picture
// (memory row 0), stays where it is. The CFA pattern is not needed and
// every camera model lays out its sites in 2 x 2 cells, so `cameraVersion`
// does not change the result. Other modes and colour images:
// XE_ERR_NOT_SUPPORTED.
int32_t XefSeparateChannels(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cameraVersion,
                            uint32_t mode);

constexpr uint32_t kJoinChannels = 0;
constexpr uint32_t kSeparateChannels = 1;

// ---- Shared by the steps above ----------------------------------------------
namespace mosaic_detail {

// Bit counts a step accepts.
constexpr uint32_t kAccept8 = 1, kAccept16 = 2, kAccept24 = 4, kAccept48 = 8;
constexpr uint32_t kAcceptSingle = kAccept8 | kAccept16;
constexpr uint32_t kAcceptAll = kAccept8 | kAccept16 | kAccept24 | kAccept48;

// Checks the header and pixels against the accepted bit counts and fills the
// view. XE_OK with an empty view (width 0) when there is nothing to do.
int32_t OpenImage(const BitmapInfoHeader *h, uint8_t *pixels, uint32_t accept, ImageView *view);

// The top of the sample range of an image of this header and view.
uint32_t TopSample(const BitmapInfoHeader *h, const ImageView &view);

// Rows per task so that one task has at least about 64k samples.
uint32_t RowGrain(const ImageView &view);

}  // namespace mosaic_detail
}  // namespace xe::intl
