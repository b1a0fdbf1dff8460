// Use cases of a cine (1 view, 2 save, 3 raw) and the words of its working
// block that each use case gives meaning to.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

enum UseCase : uint32_t { kUseCaseNone = 0, kUseCaseView = 1, kUseCaseSave = 2, kUseCaseRaw = 3 };

// Word 0 of the working block in use cases 1 and 2: the demosaic algorithm id.
constexpr uint32_t kWordAlgo = 0;
// The demosaic id that means "no demosaic"; refused for saves.
constexpr uint32_t kAlgoNone = 6;

// The setting that keeps the demosaic id of a use case for this cine.
const char *AlgoSettingName(const Cine *c, uint32_t useCase);

// Rebuilds the processing chain of the present use case from the settings and
// the working block: the activation rules in chain order, no colour steps
// after a colour cine's "None" demosaic, the fusing of the adjustments into
// step 24 and the choice of 30 or 31 for a planned resample. Clears
// ParamsChanged. XE_ERR_NULL_ARGUMENT for a null cine.
int32_t RefreshCineProcessingParams(Cine *c);

}  // namespace xe
