// XefCineImageSearch: the walk from the cine's current image to the first
// image whose event bit (bit 1 of its time's fractions) answers a condition.
//
// The walk keeps its long-standing habits: the last image of the direction is
// never examined (the loop ends when it reaches it), and a forward walk that
// starts on the last image runs past the cine, with image numbers that wrap
// round as 32-bit numbers do, until a read fails, an image matches, or the
// walk comes back to the last image. Backward, the total of the progress is
// zero or negative, so no progress is reported.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "companions/con/status.h"
#include "frame/cine.h"

using namespace xe;

namespace {

enum Condition : uint32_t { kEventClear = 0, kEventSet = 1, kEventChanged = 2 };

// The event bit of image `image`, read as every caller reads an image time.
int32_t EventBit(Cine *c, int32_t image, uint32_t *bit) {
  Time64 t{};
  int32_t r = XeGetCineAuxData(c, image, XE_TAG_TIME, sizeof t, &t);
  *bit = (t.fractions & 2u) >> 1;
  return r;
}

// A double taken as a 32-bit integer the way the processor truncates it: a
// value that does not fit, infinity and NaN all give the lowest integer.
int32_t TruncateToI32(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(v);
}

// Images whose time may come from a block: a block is indexed from the first
// stored image (or, in its old form, from the first image of the recording)
// and holds no more entries than the cine's tail has room for. Every other
// image has a computed time: event bit set, and the same read status.
struct StoredSpan {
  int64_t lo, hi;
  bool Holds(int32_t image) const { return image >= lo && image <= hi; }
};

StoredSpan SpanOfStoredTimes(const Cine *c) {
  const CineFileHeader &h = c->H.Header;
  int64_t lo = std::min(h.FirstImageNo, h.FirstMovieImage);
  int64_t hi = std::max<int64_t>(h.FirstImageNo, h.FirstMovieImage) +
               static_cast<int64_t>(TailCapacity(c) / sizeof(Time64));
  return {lo, std::min<int64_t>(hi, INT32_MAX)};
}

// The next image after `image` (which lies outside `span`) that the walk of
// direction `step` meets and that is either `last` or inside the span: the
// images between them read as `image` does, so the walk may jump there.
int32_t NextOfInterest(int32_t image, int32_t step, int32_t last, const StoredSpan &span) {
  const auto u = [](int64_t v) { return static_cast<uint32_t>(v); };
  const uint32_t toLast = step > 0 ? u(int64_t{last} - image) : u(int64_t{image} - last);
  const uint32_t toSpan = step > 0 ? u(span.lo - image) : u(int64_t{image} - span.hi);
  const uint32_t d = std::min(toLast, toSpan);
  return static_cast<int32_t>(u(int64_t{image} + (step > 0 ? int64_t{d} : -int64_t{d})));
}

// The 32-bit image after `image` in the walk, wrapping round.
int32_t Step(int32_t image, int32_t step) {
  return static_cast<int32_t>(static_cast<uint32_t>(image) + static_cast<uint32_t>(step));
}

}  // namespace

extern "C" XEFILE_API int32_t XefCineImageSearch(CineHandle cine, uint32_t direction, uint32_t kind,
                                                 uint32_t *condition, uint64_t conditionSize,
                                                 int32_t *found, XeSearchProgress progress) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine || !found) return status = XE_ERR_NULL_ARGUMENT;

  const CineFileHeader &h = cine->H.Header;
  const int32_t start = cine->ImageRangeFirst;
  *found = start;
  const int64_t end = int64_t{h.FirstImageNo} + h.ImageCount;  // one past the last stored image
  int32_t last, first, step;
  if (direction == 0) {
    if (start >= end) return status = XE_INFO_SEARCH_AT_END;
    last = static_cast<int32_t>(end - 1);
    step = 1;
    first = Step(start, step);
  } else if (direction == 1) {
    if (start <= h.FirstImageNo) return status = XE_INFO_SEARCH_AT_END;
    last = h.FirstImageNo;
    step = -1;
    first = Step(start, step);
  } else {
    return status = XE_INFO_SEARCH_DIRECTION;
  }
  *found = last;
  const double total = static_cast<double>(int64_t{last} - first + 1);
  if (kind != 0) return status = XE_INFO_SEARCH_DIRECTION;
  if (!condition || conditionSize == 0) return status = XE_ERR_NULL_ARGUMENT;
  const uint32_t want = *condition;
  if (want > kEventChanged) return status = XE_INFO_SEARCH_DIRECTION;

  uint32_t startBit = 0;
  if (want == kEventChanged) {
    int32_t r = EventBit(cine, start, &startBit);
    if (r != XE_OK) return status = r;
  }

  // Progress can only be reported while the total is positive; without it
  // the images of computed time may be passed over in one jump.
  const bool mayJump = !progress || total <= 0;
  const StoredSpan span = SpanOfStoredTimes(cine);
  int32_t lastPercent = 0;
  for (int32_t i = first; i != last;) {
    uint32_t bit = 0;
    int32_t r = EventBit(cine, i, &bit);
    if (r != XE_OK) {
      status = r;
      break;
    }
    const bool match = want == kEventChanged ? bit != startBit : bit == want;
    if (match) {
      *found = i;
      return status = XE_OK;
    }
    if (progress) {
      const double done = static_cast<double>(std::llabs(int64_t{i} - first) + 1);
      const int32_t percent = TruncateToI32(std::round(done / total * 100.0));
      if (percent > lastPercent) {
        if (progress(i, 0, cine) == 0) break;
        lastPercent = percent;
      }
    }
    i = mayJump && !span.Holds(i) ? NextOfInterest(i, step, last, span) : Step(i, step);
  }
  Merge(status, XE_INFO_SEARCH_AT_END);
  return status;
}
