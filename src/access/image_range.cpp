#include "access/image_range.h"

#include "companions/con/services.h"
#include "companions/con/status.h"
#include "frame/messages.h"

namespace xe {

int32_t RangeIntersect(ImageRange *range, const ImageRange &cine) {
  bool chosen = !(range->First == kWholeFirst || range->Cnt == kWholeCount ||
                  cine.First == kWholeFirst || cine.Cnt == kWholeCount);
  bool untouched = con::XefIntersectRanges(range, &cine) != 0;
  if (!chosen) return XE_OK;
  if (range->Cnt == 0) {
    ReportMessage(nullptr,
                  "Your selected range does not intersect with the cine image range. \n"
                  "The save range will contain 0 images",
                  "Warning", kStyleOk);
    return XE_WARN_RANGE_EMPTY;
  }
  if (!untouched) {
    ReportMessage(nullptr,
                  "Your selected range intersects partially with the cine image range. \n"
                  "The save range will be reduced",
                  "Warning", kStyleOk);
    return XE_WARN_RANGE_REDUCED;
  }
  return XE_OK;
}

}  // namespace xe
