#include "processing/use_case.h"

#include "companions/con/log.h"
#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "processing/chain_steps.h"

namespace xe {

namespace {
// Room for the report of active steps in the refresh's log line.
constexpr size_t kReportSize = 2000;
}  // namespace

const char *AlgoSettingName(const Cine *c, uint32_t useCase) {
  if (useCase == kUseCaseView) return c->CineKind == kLiveCine ? "AlgoLive" : "AlgoView";
  return c->IsFileCine ? "AlgoConvert" : "AlgoSave";
}

int32_t RefreshCineProcessingParams(Cine *c) {
  if (!c) return XE_ERR_NULL_ARGUMENT;
  int32_t status = XE_OK;
  // Before its first use case a cine has no chain to rebuild.
  if (c->CineUseCase >= kUseCaseView && c->CineUseCase <= kUseCaseRaw) {
    status = ApplyActivationRules(c);
    ProcessingParams &p = c->Processing;
    // Without a demosaic the mosaic stays gray: no colour step may follow.
    if (XefIsColorCine(c) && p.demosaic.algo == kAlgoNone)
      for (uint32_t s : {kStepCompCT, kStepPostInterpWB, kStepSat, kStepHue})
        p.ActiveProcessings[s] = 0;
    FuseImProcSteps(c);
    ChooseScaleStep(c);
  }
  c->ParamsChanged = 0;
  if (LogOn()) {
    char report[kReportSize];
    ActiveStepsReport(c, report, sizeof report);
    con::Debprintf(
        "\nRefreshCineProcessingParams exits CineNr = %d CN = %d cineUseCase = %d, "
        "activeProcessings:%s",
        c->CineNr, c->CN, static_cast<int>(c->CineUseCase), report);
  }
  return status;
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
