// The image adjustments of IMPROCOPTIONS: white balance of colour data,
// brightness, contrast, saturation, hue and gamma, then flips, a quarter
// turn and a filter, all in one call. The model is documented for callers in
// include/xefile/xefile.h ("Image adjustments"); the notes here are about
// how it is computed.
//
// Tone and colour are one pass over the image, fused with the flips: rows
// are taken in pairs (r, height-1-r), adjusted in place and swapped or
// mirrored while they are in the cache. The per-sample steps (white balance,
// brightness, contrast, gamma) are lookup tables built for the call; with a
// colour matrix (saturation or hue) the samples go through the first table
// into a 16-bit intermediate scale, through the matrix in float (in blocks
// that the compiler vectorises), and out through the gamma table. Without a
// matrix both tables are composed into one per channel.
//
// A quarter turn and a filter need a second buffer of the image's size,
// allocated for the call. A turn moves the pixels into it, and the tone pass
// brings them back adjusted; a filter reads the adjusted image from it and
// writes into the caller's buffer. So an image costs one pass, plus one for a
// turn and one for a filter.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

// Applies the adjustments in place. With a quarter turn the header's width
// and height are exchanged and biSizeImage recomputed; the buffer must then
// hold XefPixarSize of the turned header (the chain sizes its buffers so).
//
// XE_ERR_NULL_ARGUMENT for a null argument; XE_ERR_NOT_SUPPORTED for a bit
// count other than 8, 16, 24 or 48, a compressed image, a negative width, a
// filter code outside 0 to 5 or a user filter that cannot be applied (dim
// other than 1, 3, 5; shifts outside 0 to 31); XE_ERR_NO_MEMORY when the
// second buffer cannot be had. Every failure leaves header and pixels as they
// were. An empty image succeeds without change.
int32_t XeImProc(BitmapInfoHeader *h, uint8_t *pixels, const IMPROCOPTIONS *o);

// The contrast factor of the integer Contrast (the inverse of the Setup
// conversion): 1 + Contrast * d / 100 with d = 0.9 below 0, else 9.0. The
// adjustment uses 0 for a factor below 0.
double ContrastFactor(int32_t contrast);

// Rounds half away from zero into the int32 range (NaN gives 0).
int32_t RoundToInt32(double v);

// Fills `out` from the Setup: all zero, Gamma, WBRed and WBBlue 1.0, then
// Bright = round(fOffset * 1000), Contrast = round((fGain - 1) * 100 / d)
// with d = 0.9 when fGain is below 1 else 9.0, Saturation =
// round((fSaturation - 1) * 100), Hue = round(fHue), Gamma = fGamma, the
// flips, Rotate, WBView, FilterCode, FilterParam and UserFilter as they are.
// Rounding is half away from zero. XE_ERR_NULL_ARGUMENT for a null argument.
int32_t XeSetImProcOptions(IMPROCOPTIONS *out, const Setup *s);

// The integer form of a gamma: round(gamma * 100), half away from zero (2.2
// gives 220).
int32_t XefGammaF2I(float gamma);

// Keep the integer settings of a Setup (Bright, Contrast, Gamma, Saturation,
// Hue) and the float ones (fOffset, fGain, fGamma, fSaturation, fHue) in step.
// XefUpdateNewImProc sets the float fields from the integer ones,
// XefUpdateOldImProc the integer fields from the float ones. The selector
// names the pair that changed: 202 fOffset/Bright, 203 fGain/Contrast, 204
// fGamma/Gamma, 205 fSaturation/Saturation, 206 fHue/Hue, or 0 for all five.
// The integer forms are those of XeSetImProcOptions (Gamma by XefGammaF2I);
// the float forms are their inverses: fOffset = Bright / 1000, fGain =
// ContrastFactor(Contrast), fGamma = Gamma / 100, fSaturation = 1 +
// Saturation / 100, fHue = Hue. XE_ERR_NULL_ARGUMENT for a null Setup,
// XE_ERR_NOT_SUPPORTED (nothing changed) for another selector.
int32_t XefUpdateNewImProc(Setup *s, uint32_t selector);
int32_t XefUpdateOldImProc(Setup *s, uint32_t selector);

}  // namespace xe::intl
