// XeGetCineInfo for the recording facts (0 to 41), the frame rate profile and
// lens (100 to 112, 450 to 452) and the addresses of the cine's records (1000
// to 1022); the other families answer from their own files. Integer values
// are written as 32 bits: u16 and u8 zero-extended, i16 sign-extended.
#include <cstring>

#include "companions/con/status.h"
#include "frame/cine.h"
#include "info/selectors.h"
#include "processing/chain_steps.h"
#include "processing/process_cine.h"
#include "processing/use_case.h"

namespace xe {
namespace {

using sel::PutF32;
using sel::PutI32;
using sel::PutPtr;
using sel::PutU32;

// The cine name; a camera cine takes the camera's name first.
void GetCineName(Cine *c, void *value) {
  Setup &s = c->H.Setup;
  if (!c->IsFileCine) {
    char name[sizeof s.CineName];
    if (CameraCineGet(c, kCamCineName, name, sizeof name) == XE_OK) {
      name[sizeof name - 1] = 0;
      std::memcpy(s.CineName, name, sizeof name);
    }
  }
  std::memcpy(value, s.CineName, sizeof s.CineName);
}

bool RecordingFact(Cine *c, uint32_t sel, void *value) {
  const Setup &s = c->H.Setup;
  const CineFileHeader &h = c->H.Header;
  switch (sel) {
    case CIS_CFA: PutU32(value, s.CFA); return true;
    case CIS_FrameRate: PutU32(value, s.FrameRate); return true;
    case CIS_Shutter: PutU32(value, s.Shutter); return true;
    case CIS_AutoExposure: PutU32(value, s.AutoExposure); return true;
    case CIS_RealBPP: PutU32(value, s.RealBPP); return true;
    case CIS_Serial: PutU32(value, s.Serial); return true;
    case CIS_HeadSerial0: case CIS_HeadSerial1: case CIS_HeadSerial2: case CIS_HeadSerial3:
      PutU32(value, s.HeadSerial[sel - CIS_HeadSerial0]);
      return true;
    case CIS_TriggerSeconds: PutU32(value, h.TriggerTime.seconds); return true;
    case CIS_TriggerFractions: PutU32(value, h.TriggerTime.fractions); return true;
    case CIS_IsFileCine: PutU32(value, c->IsFileCine); return true;
    case CIS_Is16Bit: PutU32(value, static_cast<uint32_t>(XefIs16BitCine(c))); return true;
    case CIS_IsColor: PutU32(value, static_cast<uint32_t>(XefIsColorCine(c))); return true;
    case CIS_IsMultiHead: PutU32(value, static_cast<uint32_t>(XefIsMultiHeadCine(c))); return true;
    case CIS_ShutterNs: PutU32(value, s.ShutterNs); return true;
    case CIS_EDRShutterNs: PutU32(value, s.EDRShutterNs); return true;
    case CIS_FrameDelayNs: PutU32(value, s.FrameDelayNs); return true;
    case CIS_SourceFileType: PutI32(value, c->SourceFileType); return true;
    case CIS_Compression: PutU32(value, h.Compression); return true;
    case CIS_CameraVersion: PutU32(value, s.CameraVersion); return true;
    case CIS_Rotate: PutI32(value, s.Rotate); return true;
    case CIS_ImWidth: PutU32(value, s.ImWidth); return true;
    case CIS_ImHeight: PutU32(value, s.ImHeight); return true;
    case CIS_ImWidthAcq: PutU32(value, s.ImWidthAcq); return true;
    case CIS_ImHeightAcq: PutU32(value, s.ImHeightAcq); return true;
    case CIS_PostTrigger: PutU32(value, s.PostTrigger); return true;
    case CIS_ImageCount: PutU32(value, h.ImageCount); return true;
    case CIS_TotalImageCount: PutU32(value, h.TotalImageCount); return true;
    case CIS_TrigFrame: PutU32(value, s.TrigFrame); return true;
    case CIS_AutoExpLevel: PutU32(value, s.AutoExpLevel); return true;
    case CIS_AutoExpTop: PutI32(value, s.AutoExpRect.top); return true;
    case CIS_AutoExpLeft: PutI32(value, s.AutoExpRect.left); return true;
    case CIS_AutoExpBottom: PutI32(value, s.AutoExpRect.bottom); return true;
    case CIS_AutoExpRight: PutI32(value, s.AutoExpRect.right); return true;
    case CIS_RecordingTimeZone: PutI32(value, s.RecordingTimeZone); return true;
    case CIS_FirstImageNo: PutI32(value, h.FirstImageNo); return true;
    case CIS_FirstMovieImage: PutI32(value, h.FirstMovieImage); return true;
    case CIS_CineName: GetCineName(c, value); return true;
    case CIS_TimeFormat: PutU32(value, c->TimeFormat); return true;
    default: return false;
  }
}

bool ProfileAndLens(Cine *c, uint32_t sel, void *value) {
  const Setup &s = c->H.Setup;
  if (sel >= CIS_FRPImgNr0 && sel <= CIS_FRPRate3) {
    uint32_t step = (sel - CIS_FRPImgNr0) / 2;
    if ((sel - CIS_FRPImgNr0) % 2 == 0)
      PutI32(value, s.FRPImgNr[step]);
    else
      PutU32(value, s.FRPRate[step]);
    return true;
  }
  switch (sel) {
    case CIS_FRPSteps: PutU32(value, s.FRPSteps); return true;
    case CIS_LastSaveStatus: PutI32(value, c->Save.SaveResult); return true;
    case CIS_LensDescription:
      std::memcpy(value, s.LensDescription, sizeof s.LensDescription);
      return true;
    case CIS_LensAperture: PutF32(value, s.LensAperture); return true;
    case CIS_LensFocalLength: PutF32(value, s.LensFocalLength); return true;
    case CIS_FRPImgNr: std::memcpy(value, s.FRPImgNr, sizeof s.FRPImgNr); return true;
    case CIS_FRPRate: std::memcpy(value, s.FRPRate, sizeof s.FRPRate); return true;
    case CIS_FRPShape: std::memcpy(value, s.FRPShape, sizeof s.FRPShape); return true;
    default: return false;
  }
}

bool RecordAddress(Cine *c, uint32_t sel, void *value) {
  switch (sel) {
    case CIS_PtrHeader: PutPtr(value, &c->H.Header); return true;
    case CIS_PtrSetup: PutPtr(value, &c->H.Setup); return true;
    case CIS_PtrBmih: PutPtr(value, &c->H.Bmih); return true;
    case CIS_PtrCine: PutPtr(value, c); return true;
    case CIS_PtrCN: PutPtr(value, &c->CN); return true;
    case CIS_PtrSaveFirst: PutPtr(value, &c->Saving.SaveFirst); return true;
    case CIS_PtrImageRangeFirst: PutPtr(value, &c->ImageRangeFirst); return true;
    case CIS_PtrCineNr: PutPtr(value, &c->CineNr); return true;
    case CIS_PtrViewWord584: PutPtr(value, &c->ViewWord584); return true;
    case CIS_PtrViewWord580: PutPtr(value, &c->ViewWord580); return true;
    case CIS_PtrDescription: PutPtr(value, c->H.Setup.Description); return true;
    case CIS_PtrOpenedFileName: PutPtr(value, c->OpenedFileName); return true;
    case CIS_PtrTimeFormat: PutPtr(value, &c->TimeFormat); return true;
    case CIS_PtrViewWord596: PutPtr(value, &c->ViewWord596); return true;
    case CIS_PtrSaveAlgo: PutPtr(value, &c->SaveAlgo); return true;
    case CIS_PtrViewWord592: PutPtr(value, &c->ViewWord592); return true;
    case CIS_PtrCineKind: PutPtr(value, &c->CineKind); return true;
    case CIS_PtrOpenedBmih: PutPtr(value, &c->BmihOpened); return true;
    case CIS_PtrPackInfo: PutPtr(value, &c->PackInfo); return true;
    case CIS_PtrSaveJobNo: PutPtr(value, &c->Save.SaveJobNumber); return true;
    case CIS_PtrParamsChanged: PutPtr(value, &c->ParamsChanged); return true;
    case CIS_PtrViewWord564: PutPtr(value, &c->ViewWord564); return true;
    case CIS_PtrViewWord568: PutPtr(value, &c->ViewWord568); return true;
    default: return false;
  }
}

// The bounds and the header of processed images, from the chain's header walk.
bool ChainSizes(Cine *c, uint32_t sel, void *value) {
  switch (sel) {
    case CIS_MaxImageSizeColor:
    case CIS_MaxImageSize: {
      uint32_t size = 0;
      PutU32(value, 0);
      if (sel == CIS_MaxImageSize) MaxImageSize(c, &size);
      else MaxImageSizeColor(c, &size);
      PutU32(value, size);
      return true;
    }
    case CIS_ProcessedHeader: {
      if (c->ParamsChanged) RefreshCineProcessingParams(c);
      ImageHeader h;
      ProcessedHeaderOf(c, &h);
      std::memcpy(value, &h, sizeof h);
      return true;
    }
    default: return false;
  }
}

}  // namespace

int32_t GetCineInfo(Cine *c, uint32_t selector, void *value) {
  if (ChainSizes(c, selector, value) || RecordingFact(c, selector, value) || ProfileAndLens(c, selector, value) ||
      RecordAddress(c, selector, value) || GetProcessingInfo(c, selector, value) ||
      GetSaveInfo(c, selector, value))
    return XE_OK;
  return XE_ERR_NOT_SUPPORTED;
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XeGetCineInfo(CineHandle cine, uint32_t selector, void *value) {
  if (!cine || !value) {
    int32_t status = XE_ERR_NULL_ARGUMENT;
    ErrCodeOnExit log(status);
    return status;
  }
  return GetCineInfo(cine, selector, value);
}

XEFILE_API uint32_t XevGetCineInfo(CineHandle cine, uint32_t selector) {
  // Room for the widest value any selector writes (20 rows of 256 bytes).
  alignas(8) uint8_t value[8192] = {};
  XeGetCineInfo(cine, selector, value);
  uint32_t v;
  std::memcpy(&v, value, 4);
  return v;
}

}
