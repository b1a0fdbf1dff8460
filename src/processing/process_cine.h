// ProcessCine: the fixed chain of processing steps that a fetched image goes
// through in the cine's use case, the per-step image work, and the size
// bounds that buffers for processed images are made from.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Runs the active steps of the chain over the images of `range` (null: the
// current image, one) in place. The images lie one after another in
// `pixels`, XefPixarSize of the cine's header apart, as the raw fetch left
// them; `pixels` must hold MaxImageSize bytes per image. On return `header`
// describes the processed images (all 48 bytes) and they lie one after
// another at their processed size. A step's failure does not stop the chain:
// the statuses of all steps of all images are merged (MergeStatus). Without
// an active step other than PRESAVEADJUSTFORMAT the images stay as fetched
// and only the first 40 bytes of `header` are set (biSize 48).
int32_t ProcessCine(Cine *c, const ImageRange *range, uint8_t *pixels, ImageHeader *header);

// Runs one step on one image in place and updates `h` as far as the step
// changes it. A number above 34 does nothing.
int32_t ImageStep(Cine *c, const ImageRange *range, uint32_t step, uint8_t *pixels, ImageHeader *h);

// The largest size an image takes anywhere along the active chain.
int32_t MaxImageSize(Cine *c, uint32_t *size);
// The same, raised so that a colour form of the largest header always fits;
// a live cine starts from the camera's largest resolution.
int32_t MaxImageSizeColor(Cine *c, uint32_t *size);

// The Setup's Conv8Max from RealBPP, fGain16_8 and SavePacked.
void RecomputeConv8Max(Cine *c);

// Changes the cine's BitmapInfoHeader and Setup as if the active chain had
// run on them, so that a saved file describes the processed images.
int32_t ApplyChainToCine(Cine *c);

// A file whose images carry a side-stamp frame around the picture.
bool IsSideStampedFile(const Cine *c);

}  // namespace xe
