// The information selectors: numbered questions and settings of a cine.
//
// The get and set switches are split by family: recording facts, profile,
// lens and record addresses (selectors_get.cpp, selectors_set.cpp), image
// processing and the use-case words (selectors_processing.cpp), save options
// and timecode (selectors_save.cpp). Each family answers whether it knows a
// selector; a selector no family knows is not listed.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/cine.h"
#include "frame/saving_options.h"

namespace xe {

// The get switch without the null checks; XE_ERR_NOT_SUPPORTED for a selector
// that is not listed.
int32_t GetCineInfo(Cine *c, uint32_t selector, void *value);
// The set switch without the null checks; XE_ERR_NOT_SUPPORTED for a selector
// that is not listed or cannot be set, else 0 whatever happened inside.
int32_t SetCineInfo(Cine *c, uint32_t selector, void *value);

// The families. Each returns false for a selector it does not hold.
bool GetProcessingInfo(Cine *c, uint32_t selector, void *value);
bool SetProcessingInfo(Cine *c, uint32_t selector, void *value);
bool GetSaveInfo(Cine *c, uint32_t selector, void *value);
bool SetSaveInfo(Cine *c, uint32_t selector, void *value);

// A value of the cine held by the camera, by the camera's cine-value code
// (4098 the cine name, 5100 to 5115 the colour and tone settings). The value
// has the wire form of the Setup field it mirrors, `size` bytes. On failure
// nothing is written. XE_CAM_NO_CAMERA when no camera answers at the cine's
// camera number; XE_CAM_SELECTOR_ABSENT while the driver offers no cine
// values.
constexpr uint32_t kCamCineName = 4098;
int32_t CameraCineGet(Cine *c, uint32_t code, void *value, uint32_t size);
int32_t CameraCineSet(Cine *c, uint32_t code, const void *value, uint32_t size);

// Rounds a size to a multiple of `step` (at least one step): a remainder
// below half a step is dropped, else the size is rounded up.
uint32_t SnapToMultiple(uint32_t value, uint32_t step);
// Brings a crop rectangle (right and bottom inclusive) inside a W x H image,
// its width a multiple of 16 and its height a multiple of 8 where the image
// allows.
void NormalizeCropRect(XeRect *rect, uint32_t W, uint32_t H);


// White-balance gains can be kept as metadata: a raw file cine (or a gray
// processed one) with bMetaWB set, or a camera of firmware above 583.
bool SupportsMetaWB(const Cine *c);

// Values pass as raw bytes: the caller's variable need not be aligned.
namespace sel {
inline void PutU32(void *value, uint32_t v) { std::memcpy(value, &v, 4); }
inline void PutI32(void *value, int32_t v) { std::memcpy(value, &v, 4); }
inline void PutF32(void *value, float v) { std::memcpy(value, &v, 4); }
inline void PutPtr(void *value, const void *p) { std::memcpy(value, &p, sizeof p); }
inline uint32_t GetU32(const void *value) {
  uint32_t v;
  std::memcpy(&v, value, 4);
  return v;
}
inline int32_t GetI32(const void *value) {
  int32_t v;
  std::memcpy(&v, value, 4);
  return v;
}
inline float GetF32(const void *value) {
  float v;
  std::memcpy(&v, value, 4);
  return v;
}
// A float setting changed: exact comparison, and a NaN always counts as a
// change.
inline bool FloatChanged(float before, float after) { return !(before == after); }
}  // namespace sel

}  // namespace xe
