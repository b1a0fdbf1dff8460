// The exported saves: XeWriteCineFile registers the job in the table of
// running saves (at most 20), splits a multi-head camera save into one job
// per head, runs the jobs and reports the last progress; XeSaveCineToFile and
// XeSaveCineFromCamera are its plainer forms.
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "companions/con/camera_driver.h"
#include "companions/con/log.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "formats/cine/cine_writer.h"
#include "frame/messages.h"
#include "frame/start.h"
#include "saving/file_names.h"
#include "saving/save_jobs.h"
#include "saving/save_loop.h"

namespace xe {
namespace {

constexpr uint32_t kMaxSaves = 20;
constexpr uint32_t kMultiHeadVersion = 62;
constexpr uint32_t kHeads = 4;

// The running saves; guarded by the save-buffer mutex.
std::array<Cine *, kMaxSaves> g_saves{};
uint32_t g_saveCount = 0;

int32_t LockTable() {
  std::timed_mutex *m = frame::SaveCineBufferMutex();
  if (!m) return XE_ERR_MUTEX_TIMEOUT;
  return con::XefAcquireMutex(m, frame::kSaveBufferTimeoutMs);
}
void UnlockTable() { con::XefReleaseMutex(frame::SaveCineBufferMutex()); }

int32_t FindSave(const Cine *c) {
  for (uint32_t i = 0; i < g_saveCount; ++i)
    if (g_saves[i] == c) return static_cast<int32_t>(i);
  return -1;
}

void RemoveSave(const Cine *c) {
  int32_t i = FindSave(c);
  if (i < 0) return;
  for (uint32_t k = static_cast<uint32_t>(i); k + 1 < g_saveCount; ++k) g_saves[k] = g_saves[k + 1];
  g_saves[--g_saveCount] = nullptr;
}

// The camera's model and heads, as its own Setup tells them.
uint32_t CameraVersionOf(int32_t cn) {
  const Setup *s = nullptr;
  con::XefGetStrPointers(cn, &s, nullptr, nullptr, nullptr);
  return s ? s->CameraVersion : 0;
}
bool CameraHasHead(int32_t cn, uint32_t head) {
  const Setup *s = nullptr;
  con::XefGetStrPointers(cn, &s, nullptr, nullptr, nullptr);
  return s && s->HeadSerial[head] != 0xFFFFFFFFu;
}

// "_Head_1" to "_Head_4" before the extension of the output name, which
// starts at the first dot of the last path component.
void HeadFileName(const char *name, uint32_t head, char *out) {
  const char *slash = std::strrchr(name, '/');
  const char *base = slash ? slash + 1 : name;
  const char *dot = std::strchr(base, '.');
  size_t stem = dot ? static_cast<size_t>(dot - name) : std::strlen(name);
  std::snprintf(out, kPathSize, "%.*s_Head_%u%s", static_cast<int>(stem), name, head + 1,
                dot ? dot : "");
}

// One job per head chosen by the mask, on a copy of the cine each.
int32_t SaveHeads(Cine *c, int32_t &lastResult) {
  int32_t status = XE_OK;
  SavingOptions &o = c->Saving;
  const uint32_t keep = o.KeepWriteGraph;
  o.KeepWriteGraph = 1;
  std::array<Cine *, kHeads> heads{};
  for (uint32_t n = 0; n < kHeads; ++n) {
    if (!(o.HeadMask & (1u << n))) continue;
    int32_t st = XefDuplicateCine(&heads[n], c);
    Merge(status, st);
    if (st < 0) {
      heads[n] = nullptr;
      continue;
    }
    char name[kPathSize];
    HeadFileName(c->FileName, n, name);
    Merge(status, PrepareHeadCine(heads[n], name, static_cast<int32_t>(n), XefIsColorCine(c), false));
    heads[n]->Saving.HeadIndex = n;
  }
  for (uint32_t n = 0; n < kHeads; ++n) {
    if (!heads[n]) continue;
    if (CameraHasHead(c->CN, n)) {
      lastResult = SaveCine(heads[n], SaveProgressOf);
      Merge(status, lastResult);
    }
    if (LogOn()) con::Debprintf("\nXeWriteCineFile, before DestroyCine(ppMHArray[i]); i=%u", n);
    XeDestroyCine(heads[n]);
    if (LogOn()) con::Debprintf("\nXeWriteCineFile, after DestroyCine(ppMHArray[i]);");
  }
  o.KeepWriteGraph = keep;
  if (!keep) o.WriteGraph = nullptr;  // the graph of the heads ends with them
  return status;
}

}  // namespace

int32_t SaveProgressOf(uint32_t percent, Cine *c) {
  int32_t st = LockTable();
  if (st < 0) {
    c->Save.SaveResult = st;
    return 0;
  }
  c->Save.SavePercent = percent;
  UnlockTable();
  if (std::atomic_ref<uint32_t>(c->Save.StopSave).load()) return 0;
  if (c->Save.SaveCallback && percent != 100) return c->Save.SaveCallback(percent, c);
  return 1;
}

int32_t WriteCineFile(Cine *c, pfnCallback callback) {
  const BitmapInfoHeader &b = c->H.Bmih;
  if (LogOn())
    con::Debprintf("\nXeWriteCineFile FromFile: %d, FromFileType: %d, Color: %d, 16Bits: %d, "
                   "Res %dx%d, Rotate: %d, --> ToFileType: %d",
                   c->IsFileCine, c->SourceFileType, XefIsColorCine(c), XefIs16BitCine(c),
                   b.biWidth, b.biHeight, c->H.Setup.Rotate, c->Saving.FileType);
  int32_t status = XE_OK;
  bool registered = false;
  int32_t st = frame::NextCineNo(&c->Save.SaveJobNumber);
  if (st < 0) {
    if (c->IsFileCine) return st;
    Merge(status, st);
  } else {
    st = LockTable();
    if (st < 0) return MergeStatus(status, st);
    bool found = FindSave(c) >= 0;
    if (!found && g_saveCount >= kMaxSaves) {
      UnlockTable();
      status = XE_ERR_SAVE_SLOTS_FULL;
    } else {
      if (!found) {
        g_saves[g_saveCount++] = c;
        registered = true;
        c->Save.SavePercent = 0;
        c->Save.SaveResult = 0;
        c->Save.SaveThread = nullptr;
        std::atomic_ref<uint32_t>(c->Save.StopSave).store(0);
        c->Save.SaveCallback = callback;
      }
      UnlockTable();
    }
  }
  if (status != XE_ERR_SAVE_SLOTS_FULL && st >= 0) {
    // A gray cine has no raw form of its own: it saves processed.
    if (c->Saving.FileType == kTypeRawCine && !XefIsColorCine(c)) c->Saving.FileType = kTypeCine;
    int32_t last = XE_OK;
    if (c->IsFileCine || c->Saving.HeadMask == 0 || CameraVersionOf(c->CN) != kMultiHeadVersion) {
      last = SaveCine(c, SaveProgressOf);
      Merge(status, last);
    } else {
      Merge(status, SaveHeads(c, last));
    }
    if (last == XE_ERR_COMPRESSOR)
      ReportMessage(nullptr, "Could not use selected compressor.\r\n\r\n", "AVI Error", kStyleError);
    if (LockTable() >= 0) {
      RemoveSave(c);
      UnlockTable();
    }
    c->Save.SaveResult = status;
    if (registered) {
      SaveProgressOf(100, c);
      if (c->Save.SaveCallback) c->Save.SaveCallback(100, c);
    }
  }
  if (status != 0 && LogOn()) con::Debprintf(" ErrCode= %d", status);
  return status;
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeWriteCineFile(CineHandle cine, pfnCallback callback) {
  if (!cine) return XE_ERR_NULL_CINE;
  return WriteCineFile(cine, callback);
}

extern "C" XEFILE_API int32_t XeSaveCineToFile(const char *name, CineHandle cine) {
  if (!cine) return XE_ERR_NULL_CINE;
  if (!name) return XE_ERR_NULL_ARGUMENT;
  size_t n = strnlen(name, kPathSize - 1);
  std::memmove(cine->FileName, name, n);
  cine->FileName[n] = 0;
  SavingOptions &o = cine->Saving;
  if (o.FileType == kTypeRawCine && (cine->H.Setup.CFA == 0 || cine->H.Setup.bEnableColor == 0))
    o.FileType = kTypeCine;
  ApplyDefaultExtension(cine->FileName, o.FileType);
  return SaveCine(cine, nullptr);
}

extern "C" XEFILE_API int32_t XeSaveCineFromCamera(uint32_t cn, const char *name, uint16_t fileType,
                                                   int32_t first, uint32_t count, uint32_t qFactor,
                                                   uint32_t stampTime, uint32_t option) {
  (void)name, (void)fileType, (void)first, (void)count, (void)qFactor, (void)stampTime, (void)option;
  // The camera describes its cine 1 first; without a camera that fails here.
  Setup setup{};
  int32_t status = con::XefSetupFromCineParams(static_cast<int32_t>(cn), 1, &setup);
  if (status < 0) return status;
  // Cines of a live camera are made by the camera-backed cine layer, which
  // this build does not have.
  return XE_CAM_NO_CAMERA;
}
