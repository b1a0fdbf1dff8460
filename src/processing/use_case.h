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
// clears ParamsChanged.
int32_t RefreshCineProcessingParams(Cine *c);

}  // namespace xe
