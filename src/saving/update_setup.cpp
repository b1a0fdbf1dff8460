#include "saving/update_setup.h"

#include <cstddef>
#include <memory>

#include "companions/con/status.h"
#include "companions/int/dib.h"

namespace xe {
namespace {

constexpr uint32_t kOffSetupField = offsetof(CineFileHeader, OffSetup);
constexpr uint32_t kLengthInSetup = offsetof(Setup, Length);

}  // namespace

int32_t UpdateCineFileSetup(Cine *c) {
  if (!c->IsFileCine || c->CineKind == kViewerCine) return XE_OK;
  const bool colour = c->H.Setup.CFA != 0;
  if (colour ? c->SourceFileType != kSourceRawCine : c->SourceFileType != kSourceCine) return XE_OK;

  int32_t status = XE_OK;
  uint64_t position = 0;
  Merge(status, XefFileTell64(c->FileHandle, &position));
  uint32_t offSetup = 0;
  uint16_t length = 0;
  Merge(status, XefFileSeek32(c->FileHandle, kOffSetupField));
  Merge(status, XefFileRead(c->FileHandle, &offSetup, sizeof offSetup));
  Merge(status, XefFileSeek64(c->FileHandle, uint64_t{offSetup} + kLengthInSetup));
  Merge(status, XefFileRead(c->FileHandle, &length, sizeof length));
  if (length > sizeof(Setup)) length = sizeof(Setup);

  auto stored = std::make_unique<Setup>();
  Merge(status, XefFileSeek64(c->FileHandle, offSetup));
  Merge(status, XefFileRead(c->FileHandle, stored.get(), length));
  const uint32_t packed = intl::XefIsPacked(&c->H.Bmih) ? 1 : 0;
  XefCopySetupImProcEx(stored.get(), &c->H.Setup, packed, packed);

  // The read handle shares reads only: the update needs the file alone.
  XefFileClose(c->FileHandle);
  c->FileHandle = kNoFile;
  FileHandle f = kNoFile;
  int32_t opened = XefFileOpenUpdate(c->OpenedFileName, &f);
  Merge(status, opened);
  if (opened >= 0) {
    Merge(status, XefFileSeek64(f, offSetup));
    Merge(status, XefFileWrite(f, stored.get(), length));
    XefFileClose(f);
  }
  Merge(status, XefFileOpenRead(c->OpenedFileName, &c->FileHandle));
  Merge(status, XefFileSeek64(c->FileHandle, position));
  return status;
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XefUpdateCineFileSetup(CineHandle cine) {
  if (!cine) return XE_ERR_NULL_CINE;
  int32_t status = UpdateCineFileSetup(cine);
  ErrCodeOnExit log(status);
  return status;
}
