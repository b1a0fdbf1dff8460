// XeSetCineSaveOptions: output pattern, type, time stamp and JPEG quality
// of a cine in one call. The pattern goes through its selector, so it is
// checked and limited as a selector value is.
#include <cstdint>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/cine.h"
#include "info/selectors.h"
#include "saving/jpeg_quality.h"

namespace {

unsigned Addr(const void *p) { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p)); }

}  // namespace

using namespace xe;

extern "C" {

// The type and stamp are stored as they come: the defaults of a type are run
// only by selector 502.
XEFILE_API int32_t XeSetCineSaveOptions(CineHandle cine, const char *fileName, uint16_t fileType,
                                        uint32_t stampTime, int32_t quality) {
  if (LogOn())
    con::Debprintf("\nXeSetCineSaveOptions: Cine: 0x%x szFileName 0x%x (%s) StampTime:%d CCIQuality:%d",
                   Addr(cine), Addr(fileName), fileName ? fileName : "", stampTime, quality);
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (fileName) SetCineInfo(cine, CIS_FileName, const_cast<char *>(fileName));
  cine->Saving.FileType = static_cast<int16_t>(fileType);
  cine->Saving.StampTime = stampTime;
  // A negative quality, taken as unsigned, is above 100.
  cine->Saving.QFactor = QFactorOfQuality(static_cast<uint32_t>(quality));
  return status;
}

}  // extern "C"
