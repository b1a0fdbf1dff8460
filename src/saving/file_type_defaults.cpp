#include "frame/cine.h"
#include "companions/int/dib.h"

namespace xe {

int16_t DefaultFileType(uint16_t biBitCount) { return biBitCount <= 16 ? kSourceRawCine : kSourceCine; }

void ApplyFileTypeDefaults(Cine *c) {
  SavingOptions &o = c->Saving;
  const Setup &s = c->H.Setup;
  // Packed data can stay packed in a raw cine, a DNG, or a gray cine.
  bool packedSource = c->IsFileCine && intl::XefIsPacked(&c->H.Bmih);
  bool packedTarget = o.FileType == -26 || o.FileType == 0 || (o.FileType == 1 && s.CFA == 0);
  o.SavePacked = packedSource && packedTarget ? 1 : 0;
  if (s.RealBPP > 8) o.Save16Bit = 1;
  if (o.FileType == 3) o.QFactor = 2;
}

}  // namespace xe
