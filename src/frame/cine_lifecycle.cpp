// Creation of a cine in memory, duplication and destruction.
#include <cstring>

#include "companions/con/services.h"
#include "companions/int/dib.h"
#include "companions/int/setup_defaults.h"
#include "frame/cine.h"
#include "frame/memory.h"
#include "frame/messages.h"
#include "frame/start.h"
#include "frame/status.h"
#include "processing/chain_steps.h"

namespace xe {
namespace {

constexpr int32_t kPelsPerMeter = 62500;

bool ValidDepth(int32_t d) { return d == 8 || d == 16 || d == 24 || d == 48; }

}  // namespace

// The copy owns its own file position, working block and save control; a
// movie reader stays shared with the source, which must outlive the copy.
int32_t DuplicateCine(Cine **out, const Cine *src) {
  if (!out || !src) return XE_ERR_NULL_ARGUMENT;
  *out = nullptr;
  auto *copy = static_cast<Cine *>(AllocZeroed(src->BlockBytes));
  if (!copy) return XE_ERR_NO_MEMORY;
  std::memcpy(static_cast<void *>(copy), src, src->BlockBytes);
  copy->FileHandle = kNoFile;
  copy->ProcessingState = nullptr;
  // The fused step points into its own record: aim it at the copy's items.
  AimFusedPointers(copy);
  std::memset(&copy->Save, 0, sizeof copy->Save);
  int32_t status = XE_OK;
  if (src->IsFileCine) Merge(status, XefFileOpenRead(src->OpenedFileName, &copy->FileHandle));
  copy->ProcessingState = static_cast<uint32_t *>(AllocZeroed(kProcessingStateSize));
  if (!copy->ProcessingState) status = XE_ERR_NO_MEMORY;
  *out = copy;
  return status;
}

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

XEFILE_API int32_t XeDestroyCine(CineHandle cine) {
  if (!cine || cine->CineKind == kLiveCine) return 0;
  if (cine->FileHandle != kNoFile) XefFileClose(cine->FileHandle);
  FreeCine(cine);
  return 0;
}

XEFILE_API int32_t XefDuplicateCine(CineHandle *out, CineHandle src) {
  int32_t status = DuplicateCine(out, src);
  ErrCodeOnExit log(status);
  return status;
}

XEFILE_API int32_t XeDuplicateCine(CineHandle *out, CineHandle src) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (out) *out = nullptr;
  if (out && src && !src->IsFileCine && src->CineKind == kLiveCine)
    return status = XE_INFO_NOT_RECORDED;
  return status = DuplicateCine(out, src);
}

}
