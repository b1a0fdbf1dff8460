#include "processing/use_case.h"

#include "companions/con/log.h"
#include "companions/con/settings.h"
#include "frame/status.h"

namespace xe {

const char *AlgoSettingName(const Cine *c, uint32_t useCase) {
  if (useCase == kUseCaseView) return c->CineKind == kLiveCine ? "AlgoLive" : "AlgoView";
  return c->IsFileCine ? "AlgoConvert" : "AlgoSave";
}

int32_t RefreshCineProcessingParams(Cine *c) {
  c->ParamsChanged = 0;
  return XE_OK;
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XeSetUseCase(CineHandle cine, uint32_t useCase) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_ARGUMENT;
  if (LogOn())
    con::Debprintf("\nXeSetUseCase CineNr = %d, CN = %d, cineUseCaseID = %d BEGIN", cine->CineNr,
                   cine->CN, static_cast<int>(useCase));
  if (useCase == cine->CineUseCase) return status;
  uint32_t *w = cine->ProcessingState;
  if (!w) return status = XE_ERR_NO_MEMORY;
  switch (useCase) {
    case kUseCaseView:
      con::XefGetIntAlgoRegistryVal(AlgoSettingName(cine, kUseCaseView), &w[kWordAlgo]);
      w[2] = 1;
      w[3] = 1;
      w[4] = w[5] = w[6] = 0;
      w[7] = 1;
      cine->CineUseCase = kUseCaseView;
      break;
    case kUseCaseSave:
      con::XefGetIntAlgoRegistryVal(AlgoSettingName(cine, kUseCaseSave), &w[kWordAlgo]);
      w[1] = 1;
      w[3] = w[4] = 0;
      w[5] = 1;
      cine->CineUseCase = kUseCaseSave;
      break;
    case kUseCaseRaw:
      cine->CineUseCase = kUseCaseRaw;
      break;
    default:
      break;
  }
  int32_t r = RefreshCineProcessingParams(cine);
  if (r != 0) status = r;
  if (LogOn()) con::Debprintf("\nXeSetUseCase END");
  return status;
}

XEFILE_API int32_t XeGetUseCase(CineHandle cine, uint32_t *useCase) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_ARGUMENT;
  if (useCase) *useCase = cine->CineUseCase;
  return status;
}

}
