#include "frame/stamp_options.h"

#include <cstring>

#include "frame/cine.h"

namespace xe {

void InitStampOptions(Cine *cine) {
  if (!cine) return;
  std::memset(&cine->Saving.Stamps, 0, sizeof cine->Saving.Stamps);
}

}  // namespace xe
