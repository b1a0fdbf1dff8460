// Duplication and destruction of a cine.
#include <cstring>

#include "companions/con/status.h"
#include "frame/cine.h"
#include "frame/file_io.h"
#include "frame/memory.h"

namespace xe {

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

void CloseCineFile(Cine *c) {
  if (c->FileHandle != kNoFile) XefFileClose(c->FileHandle);
  c->FileHandle = kNoFile;
}

}  // namespace xe

using namespace xe;

extern "C" {


XEFILE_API int32_t XeDestroyCine(CineHandle cine) {
  if (!cine || cine->CineKind == kLiveCine) return 0;
  CloseCineFile(cine);
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
