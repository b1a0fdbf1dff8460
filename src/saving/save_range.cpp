#include "saving/save_range.h"

#include "companions/con/status.h"
#include "frame/cine.h"

namespace xe {

int32_t ClipSaveRange(Cine *c) {
  ImageRange range{c->Saving.SaveFirst, c->Saving.SaveCount};
  ImageRange cine{c->H.Header.FirstImageNo, c->H.Header.ImageCount};
  int32_t status = RangeIntersect(&range, cine);
  c->Saving.SaveFirst = range.First;
  c->Saving.SaveCount = range.Cnt;
  return status;
}

}  // namespace xe
