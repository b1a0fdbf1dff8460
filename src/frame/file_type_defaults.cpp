#include <bit>

#include "companions/con/camera_driver.h"
#include "companions/int/dib.h"
#include "frame/cine.h"

namespace xe {
namespace {


// The DNG ColorMatrix1 sets, row by row, chosen by bit 0 of DngFlags. The
// values are kept as the exact doubles that files written so far carry.
constexpr uint64_t kColorMatrixBits[2][9] = {
    {0x4009119CE075F6FD, 0xBFF9DE69AD42C3CA, 0xBFDF67A0F9096BBA, 0xBFEF5182A9930BE1,
     0x3FFEA858793DD97F, 0x3FA126E978D4FDF4, 0x3FB27525460AA64C, 0xBFCD532617C1BDA5,
     0x3FF67C84B5DCC63F},
    {0x3FFF95E9E1B089A0, 0xBFE84A8C154C985F, 0xBFD0F41F212D7732, 0xBFE7B15B573EAB36,
     0x3FFA978D4FDF3B64, 0x3FB020C49BA5E354, 0xBFC2C710CB295E9E, 0x3FD1D495182A9931,
     0x3FE778D4FDF3B646},
};

void DpxDefaults(SavingOptions &o) {
  o.DpxFlags = 4;  // little-endian, linear, packing method 1
  o.DpxGamma = 1.0f;
  o.DpxRefBlack = 95;
  o.DpxFilmGamma = 0.6f;
  o.DpxRefWhite = 685;
}

// Raw data (a camera cine or a raw cine file) takes the second matrix set.
void DngDefaults(Cine *c) {
  SavingOptions &o = c->Saving;
  o.DngFlags = (!c->IsFileCine || c->SourceFileType == kSourceRawCine) ? 1 : 0;
  o.BayerGreenSplit = 0;
  for (int i = 0; i < 9; ++i)
    o.ColorMatrix1[i] = std::bit_cast<double>(kColorMatrixBits[o.DngFlags & 1][i]);
}

// A movie plays at 25 images a second where the video output runs at 50 or
// 25 Hz, else at 30.
uint32_t PlaybackRateDefault(const Cine *c) {
  uint32_t f = con::XefVideoFrequency(c->IsFileCine ? 0 : c->CN);
  return (f == 50000 || f == 25000) ? 25 : 30;
}

}  // namespace

int16_t DefaultFileType(uint16_t biBitCount) { return biBitCount <= 16 ? kSourceRawCine : kSourceCine; }

bool CanCarryPacked(const Cine *c) {
  if (c->IsFileCine) return intl::XefIsPacked(&c->H.Bmih);
  return con::XevGet(c->CN, con::kGetPackedTransfer) != 0 && c->H.Setup.RealBPP > 8;
}

// Packed data can stay packed in a raw cine, a DNG, or a gray cine.
bool PackedSaveAllowed(const Cine *c) {
  int16_t t = c->Saving.FileType;
  bool packedTarget = t == kTypeDng || t == kSourceRawCine || (t == kSourceCine && c->H.Setup.CFA == 0);
  return packedTarget && CanCarryPacked(c);
}

void ApplyFileTypeDefaults(Cine *c) {
  SavingOptions &o = c->Saving;
  o.SavePacked = PackedSaveAllowed(c) ? 1 : 0;
  if (c->H.Setup.RealBPP > 8) o.Save16Bit = 1;
  switch (o.FileType) {
    case kTypeDpx: DpxDefaults(o); break;
    case kTypeDng: DngDefaults(c); break;
    case kTypeAvi: o.QFactor = 2; break;
    case kTypeQuickTime: o.PlaybackRate = PlaybackRateDefault(c); break;
    default: break;
  }
}

}  // namespace xe
