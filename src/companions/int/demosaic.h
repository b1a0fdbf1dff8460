// Demosaic: a mosaic of one sample per pixel (8 or 16 bits, the colour of
// each pixel given by its CFA code) becomes a colour image of three samples
// per pixel in blue, green, red order, in place.
//
// Algorithm ids (the low byte of the algorithm word; the processing chain
// passes the id with 0x100 added, which is ignored):
//
//   1 "Fastest"  2 x 2 reconstruction: every pixel takes the red, the mean of
//                the two greens and the blue of the 2 x 2 window of itself,
//                its right neighbour and the two pixels of the next row in
//                memory (the row above in the picture). At the last column
//                and row the window reaches into the image mirrored about
//                them (codes 3 and 4) or steps back by one (codes 1 and 2).
//                Any 2 x 2 window of each pattern holds one red, two greens
//                and one blue, so it serves all four CFA codes.
//   2 "Fast"     bilinear: each missing colour is the mean of the nearest
//                samples of that colour (2 or 4 of them).
//   5 "Medium"   gradient-corrected linear interpolation: bilinear plus a
//                fraction of the Laplacian of the pixel's own colour, 5 x 5
//                fixed kernels.
//   3 "Good"     edge-directed: green along the direction (horizontal or
//                vertical) of the smaller gradient plus second-derivative
//                correction (both when they are equal), then red and blue as
//                bilinear interpolation of the colour differences to green.
//   4 "Best"     directional colour differences with gradient weighting:
//                horizontal and vertical colour-difference estimates at every
//                pixel, blended from the four directions with weights that
//                fall with the colour-difference gradients over 5 x 5
//                windows; red and blue from the colour differences (diagonal
//                neighbours, then the four direct neighbours with the same
//                weights).
//   6 "None"     nothing: the mosaic and the header stay as they are.
//   Any other id is treated as 2 "Fast".
//
// CFA codes (image_view.h): the 2 x 2 codes 3 and 4 run every algorithm
// above. The 2 x 4 codes 1 and 2 run "Fastest" as described; "Fast" runs a
// normalised bilinear interpolation (the mean of the samples of the missing
// colour in the 3 x 3 neighbourhood, direct neighbours weighted 2, diagonal
// ones 1), and "Medium", "Good" and "Best" run the same interpolation on the
// differences to green, which keeps edges sharper. Images one pixel wide or
// high take that same normalised interpolation for every id; where no sample
// of a colour lies within the 3 x 3 neighbourhood, the mean of the
// neighbourhood's samples stands in (so a 1 x 1 image becomes grey). CFA code
// 0 and any code outside 1 to 4: the image is grey; each sample is copied to
// the three channels.
//
// Results: rounded and limited to 0 and the white of the header, 255 for
// 8-bit samples and 2^XefEffectiveBits - 1 for 16-bit ones (4095 for a
// header with biClrImportant 4096): the sharpening algorithms overshoot at
// edges, and a sample above the white would be read as a brighter one than
// the depth can hold.
//
// Borders: the Bayer algorithms see the image mirrored about its first and
// last rows and columns (which keeps the phase of the pattern), so no border
// is treated differently.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

enum DemosaicId : uint32_t {
  kDemosaicFastest = 1,
  kDemosaicFast = 2,
  kDemosaicGood = 3,
  kDemosaicBest = 4,
  kDemosaicMedium = 5,
  kDemosaicNone = 6,
};

// Mosaic to colour in place. `pixels` must hold the colour image: height rows
// of width x 3 samples, each row padded to whole 32-bit words. On success the
// header's bit count is tripled (8 -> 24, 16 -> 48) and biSizeImage is the
// colour image's size. Results do not depend on the number of threads.
// Status: 0; XE_ERR_NULL_ARGUMENT for a null header or pixels;
// XE_ERR_NOT_SUPPORTED (image and header unchanged) for a bit count other
// than 8 or 16, a compressed or packed header, a width or height of 0.
// Id 6 returns 0 and touches nothing.
int32_t XeInterpolateColor(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, uint32_t algo);

// The demosaic id for a stored algorithm word: its low byte when that is one
// of the ids 1 to 6, else 4 "Best". The camera version does not change it.
uint32_t XefAlgo(uint32_t algoWord, uint32_t cameraVersion);

}  // namespace xe::intl
