// The cines a caller makes in memory, and the end that every creator of a
// cine shares (the file opener and XefNewCine).
#include "access/new_cine.h"

#include <cstddef>
#include <cstring>

#include "companions/con/services.h"
#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/setup_defaults.h"
#include "frame/memory.h"
#include "frame/messages.h"
#include "frame/start.h"
#include "processing/use_case.h"

namespace xe {
namespace {

constexpr int32_t kPelsPerMeter = 62500;

bool ValidDepth(int32_t d) { return d == 8 || d == 16 || d == 24 || d == 48; }

}  // namespace

void FillCreationFields(Cine *c) {
  const CineFileHeader &h = c->H.Header;
  c->Saving.SaveFirst = h.FirstImageNo;
  c->Saving.SaveCount = h.ImageCount;
  c->ImageRangeFirst = h.FirstImageNo;
  c->FirstImageOpened = h.FirstImageNo;
  c->FetchReserved = 0x80000000u;
  c->Saving.QFactor = 2;
  c->Saving.AviFrameRate = 5;
  c->ViewWord584 = static_cast<uint32_t>(h.FirstImageNo);
  c->ViewWord580 = 0x80000000u;
  con::CameraOptions options;
  con::cvXeGetCameraOptions(0, &options, 0);
  c->TimeFormat = options.TimeFormat;
}

int32_t FinishNewCine(Cine *c, int32_t status) {
  InitStampOptions(c);
  c->BmihOpened = c->H.Bmih;
  std::memset(&c->Save, 0, sizeof c->Save);
  c->Saving.FileType = DefaultFileType(c->H.Bmih.biBitCount);
  con::XefGetIntAlgoRegistryVal(c->IsFileCine ? "AlgoConvert" : "AlgoSave",
                                &c->Saving.InterpolationAlgo);
  ApplyFileTypeDefaults(c);
  c->CineNrRequested = c->CineNr;
  c->ParamsChanged = 0;
  if (!c->ProcessingState) {
    c->ProcessingState = static_cast<uint32_t *>(AllocZeroed(kProcessingStateSize));
    if (!c->ProcessingState) return XE_ERR_NO_MEMORY;
  }
  c->CineUseCase = 0;
  int32_t r = XeSetUseCase(c, 1);
  return r != 0 ? r : status;
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XefNewCine(CineHandle *out, int32_t width, int32_t height, int32_t bitDepth,
                              int32_t firstImage, uint32_t imageCount) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  *out = nullptr;
  if (width <= 0 || height <= 0 || !ValidDepth(bitDepth)) return status = XE_ERR_NOT_SUPPORTED;

  Cine *c = AllocateCine(8ull * imageCount);
  if (!c) {
    ShowTableMessage(kMsgCannotAllocate);
    return status = XE_ERR_CINE_ALLOC;
  }
  CineFileHeader &h = c->H.Header;
  h.Type = CINE_TYPE_CI;
  h.HeaderSize = sizeof(CineFileHeader);
  h.Compression = XE_COMPRESSION_GRAY_COLOR;
  h.Version = 1;
  h.FirstMovieImage = h.FirstImageNo = firstImage;
  h.TotalImageCount = h.ImageCount = imageCount;
  h.OffImageHeader = offsetof(CineHeaders, Bmih);
  h.OffSetup = offsetof(CineHeaders, Setup);
  h.OffImageOffsets = kHeadersSize;

  BitmapInfoHeader &b = c->H.Bmih;
  b.biSize = sizeof(BitmapInfoHeader);
  b.biWidth = width;
  b.biHeight = height;
  b.biPlanes = 1;
  b.biBitCount = static_cast<uint16_t>(bitDepth);
  b.biCompression = 0;
  b.biSizeImage = intl::XefPixarSize(&b);
  b.biXPelsPerMeter = b.biYPelsPerMeter = kPelsPerMeter;

  Setup &s = c->H.Setup;
  intl::XefFillSetupHardAdj(7, &s, 0);
  s.ImWidth = static_cast<uint16_t>(width);
  s.ImWidthAcq = static_cast<uint32_t>(width);
  s.ImHeight = static_cast<uint16_t>(height);
  s.ImHeightAcq = static_cast<uint32_t>(height);
  s.PostTrigger = imageCount;
  s.SoftwareVersion = static_cast<uint32_t>(frame::SoftwareVersion());
  // Samples of 16-bit containers are taken as using all 16 bits.
  s.RealBPP = (bitDepth == 16 || bitDepth == 48) ? 16 : 8;
  s.WhiteLevel = MaxLevelForDepth(s.RealBPP);
  intl::XefTimeUINT32(&h.TriggerTime.seconds);
  h.TriggerTime.fractions = 3;
  if (bitDepth == 8) s.CFA = 0;

  c->IsFileCine = 0;
  c->FileHandle = kNoFile;
  c->CN = -1;
  c->CineNr = 1;
  FillCreationFields(c);
  status = FinishNewCine(c, status);
  *out = c;
  return status;
}

}  // extern "C"
