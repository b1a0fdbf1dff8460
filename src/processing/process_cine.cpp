#include "processing/process_cine.h"

#include <cstring>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "processing/chain_steps.h"
#include "processing/use_case.h"
#include "xefile/xefile_status.h"

namespace xe {

namespace {

// The pixels logged with a processed image: enough to recognise it.
constexpr uint32_t kLoggedPixelBytes = 64;

unsigned Addr(const void *p) { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p)); }

bool AnyStepToRun(const Cine *c) {
  for (uint32_t s = 0; s < kStepCount; ++s)
    if (s != kStepPreSaveAdjustFormat && StepActive(c, s)) return true;
  return false;
}

// The chain on one image. Steps may switch steps on or off as they go, so
// each is looked up when its turn comes.
int32_t RunChain(Cine *c, const ImageRange *range, uint8_t *pixels, ImageHeader *h) {
  int32_t status = XE_OK;
  for (uint32_t step : kChainOrder)
    if (StepActive(c, step)) Merge(status, ImageStep(c, range, step, pixels, h));
  return status;
}

uint32_t SizeOf(const ImageHeader *h) { return intl::XefPixarSize(intl::AsBmih(h)); }

}  // namespace

int32_t ProcessCine(Cine *c, const ImageRange *range, uint8_t *pixels, ImageHeader *ih) {
  if (!c || !pixels || !ih) return XE_ERR_NULL_ARGUMENT;
  if (LogOn()) {
    con::Debprintf("\nProcessCine(hC = 0x%x, pRng = 0x%x, pInputPixel = 0x%x, pIH = 0x%x)",
                   Addr(c), Addr(range), Addr(pixels), Addr(ih));
    con::DebPrIH(ih, "pIH content ");
  }
  if (c->ParamsChanged) RefreshCineProcessingParams(c);
  std::memcpy(ih, &c->H.Bmih, sizeof(BitmapInfoHeader));
  ih->biSize = sizeof(ImageHeader);

  ImageRange r = range ? *range : ImageRange{c->ImageRangeFirst, 1};
  const uint32_t count = r.Cnt;
  // PRESAVEADJUSTFORMAT alone changes only the cine's headers, never an image.
  if (count == 0 || !AnyStepToRun(c)) return XE_OK;

  const size_t crtImgSize = SizeOf(ih);
  uint32_t max = 0;
  MaxImageSize(c, &max);
  const size_t maxImgSize = max;
  if (LogOn())
    con::Debprintf("\nProcessCine(hC = 0x%x, pRng = 0x%x, pInputPixel = 0x%x, pIH = 0x%x) "
                   "crtImgSize = %d, maxImgSize = %d",
                   Addr(c), Addr(range), Addr(pixels), Addr(ih), static_cast<int>(crtImgSize),
                   static_cast<int>(maxImgSize));

  // Processed images may grow. The inputs of images 2 to count go to the end
  // of the room for count grown images, so that no output reaches an input
  // that is still to be processed. Input k (from 0) then starts at
  // max*count - (count-k)*crt, which is k*crt where nothing grows.
  auto inputAt = [&](uint32_t k) -> uint8_t * {
    return pixels + maxImgSize * count - (count - k) * crtImgSize;
  };
  if (count > 1 && maxImgSize != crtImgSize)
    std::memmove(inputAt(1), pixels + crtImgSize, (count - 1) * crtImgSize);

  // Every image starts from the chain as it stands now.
  const ProcessingParams chain = c->Processing;

  ImageHeader work = *ih;
  r.Cnt = 1;
  int32_t status = RunChain(c, &r, pixels, &work);
  size_t done = SizeOf(&work);

  for (uint32_t k = 1; k < count; ++k) {
    ++r.First;
    uint8_t *target = pixels + done;
    uint8_t *input = inputAt(k);
    if (input != target) std::memmove(target, input, crtImgSize);
    c->Processing = chain;
    AimFusedPointers(c);
    work = *ih;
    Merge(status, RunChain(c, &r, target, &work));
    done += SizeOf(&work);
  }
  *ih = work;

  if (LogOn()) {
    con::Debprintf("\nProcessCine(hC = 0x%x, pRng = 0x%x, pInputPixel = 0x%x, pIH = 0x%x) "
                   "returns. CineNr: %d, res: %dx%dx%d",
                   Addr(c), Addr(range), Addr(pixels), Addr(ih), c->CineNr, ih->biWidth,
                   ih->biHeight, ih->biBitCount);
    con::DebPrIH(ih, "pIH");
    const uint32_t shown = SizeOf(ih) < kLoggedPixelBytes ? SizeOf(ih) : kLoggedPixelBytes;
    con::DebPrMem(pixels, shown, "Image:");
  }
  return status;
}

}  // namespace xe
