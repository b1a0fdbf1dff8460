// Progress reports of a save: the callback value is a function, the number
// of a remote handler, or nothing (then the user-interrupt test decides).
#include <atomic>
#include <cstdint>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "saving/save_loop.h"

namespace xe {
namespace {

// Values up to this are handler numbers, not addresses.
constexpr uint64_t kLastRemoteHandler = 15;

std::atomic<XeRemoteProgress> g_remoteHandler{nullptr};

// There is no interactive abort here: a save is stopped through its callback.
bool UserInterrupt() { return false; }

}  // namespace

int32_t CallCB(pfnCallback cb, Cine *cine, uint32_t percent) {
  uint64_t value = reinterpret_cast<uintptr_t>(cb);
  if (LogOn())
    con::Debprintf("\nCallCB: pfnCallback=0x%x CH=0x%x Percent:%d", static_cast<uint32_t>(value),
                   static_cast<uint32_t>(reinterpret_cast<uintptr_t>(cine)), percent);
  if (!cb) return UserInterrupt() ? 0 : 1;
  if ((value & 0xFFFFFFFFu) <= kLastRemoteHandler) {
    XeRemoteProgress handler = g_remoteHandler.load();
    return handler ? handler(percent, static_cast<uint32_t>(value)) : 1;
  }
  return cb(percent, cine);
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XefSetFileLVCallback(XeRemoteProgress handler) {
  g_remoteHandler.store(handler);
  return XE_OK;
}
