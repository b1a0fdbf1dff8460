// The save-option selectors (500 to 560, 1030 to 1032) and the timecode of
// image 0 (470 to 473). The options are only stored here, limited where a
// format cannot hold a value; saves read them later from the cine.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "cinefile/timecode.h"
#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/cine.h"
#include "info/selectors.h"
#include "processing/use_case.h"
#include "saving/jpeg_quality.h"

namespace xe {

namespace {

using sel::GetU32;
using sel::PutI32;
using sel::PutU32;

constexpr uint32_t kCompressorRows = 20;
constexpr uint32_t kCompressorNameSize = 256;

void SetFlag(uint32_t &flags, uint32_t bit, bool on) { flags = on ? flags | bit : flags & ~bit; }

// Only a 16-bit file cine read from a cine of its own kind, saved to a cine,
// can keep more than 8 bits this way; packed images cannot.
bool Save16BitAllowed(Cine *c) {
  auto cineType = [](int16_t t) { return t == kSourceRawCine || t == kSourceCine; };
  return c->IsFileCine && XefIs16BitCine(c) && cineType(c->SourceFileType) &&
         cineType(c->Saving.FileType) && c->H.Bmih.biCompression != intl::kPackedCompression;
}

const char *SaveAlgoSetting(const Cine *c) { return AlgoSettingName(c, kUseCaseSave); }

// The names of the movie compressors: "none" (uncompressed), then the
// encoders of the movie plugin, which does not list them yet.
void GetCompressorNames(void *value) {
  std::memset(value, 0, kCompressorRows * kCompressorNameSize);
  std::memcpy(value, "none", 5);
}

void GetFileName(const Cine *c, void *value) {
  size_t n = strnlen(c->FileName, sizeof c->FileName - 1);
  std::memcpy(value, c->FileName, n);
  static_cast<char *>(value)[n] = 0;
}

void SetFileName(Cine *c, const void *value) {
  const char *text = static_cast<const char *>(value);
  size_t n = strnlen(text, sizeof c->FileName - 1);
  std::memmove(c->FileName, text, n);
  c->FileName[n] = 0;
}

void GetSaveAlgo(Cine *c, void *value) {
  con::XefGetIntAlgoRegistryVal(SaveAlgoSetting(c), &c->SaveAlgo);
  PutU32(value, c->SaveAlgo);
}

// Saves always demosaic: id 6 is refused and the present id handed back.
void SetSaveAlgo(Cine *c, void *value) {
  uint32_t v = GetU32(value);
  if (v == kAlgoNone) {
    PutU32(value, c->SaveAlgo);
    return;
  }
  c->SaveAlgo = v;
  char text[16];
  std::snprintf(text, sizeof text, "%d", static_cast<int>(v));
  con::XefSetRegistryVal(SaveAlgoSetting(c), text);
}

// ---- Timecode of image 0: the timecode block follows every change ----

void SetTimeCode(Cine *c, const TC &tc) {
  Setup &s = c->H.Setup;
  bool changed = std::memcmp(&s.TimeCode, &tc, sizeof tc) != 0;
  s.TimeCode = tc;
  if (changed) RebuildTimecodeBlock(c);  // a cine without the block keeps none
}

void SetTimecodeRate(Cine *c, float Setup::*field, float v) {
  Setup &s = c->H.Setup;
  bool changed = FramesPerSecond(s.*field) != FramesPerSecond(v);
  s.*field = v;
  if (changed) RebuildTimecodeBlock(c);
}

bool GetTimecode(Cine *c, uint32_t selector, void *value) {
  const Setup &s = c->H.Setup;
  switch (selector) {
    case CIS_TC: std::memcpy(value, &s.TimeCode, sizeof s.TimeCode); return true;
    case CIS_TCU: {
      TCU u;
      UnpackTC(s.TimeCode, &u);
      std::memcpy(value, &u, sizeof u);
      return true;
    }
    case CIS_TCBaseRate: sel::PutF32(value, s.TCBaseRate); return true;
    case CIS_TCRate: sel::PutF32(value, s.TCRate); return true;
    default: return false;
  }
}

bool SetTimecode(Cine *c, uint32_t selector, void *value) {
  switch (selector) {
    case CIS_TC: {
      TC tc;
      std::memcpy(&tc, value, sizeof tc);
      SetTimeCode(c, tc);
      return true;
    }
    case CIS_TCU: {
      TCU u;
      std::memcpy(&u, value, sizeof u);
      SetTimeCode(c, PackTC(u));
      return true;
    }
    case CIS_TCBaseRate: SetTimecodeRate(c, &Setup::TCBaseRate, sel::GetF32(value)); return true;
    case CIS_TCRate: SetTimecodeRate(c, &Setup::TCRate, sel::GetF32(value)); return true;
    default: return false;
  }
}

}  // namespace

bool GetSaveInfo(Cine *c, uint32_t selector, void *value) {
  const SavingOptions &o = c->Saving;
  uint8_t *out = static_cast<uint8_t *>(value);
  switch (selector) {
    case CIS_SaveRange:
      PutI32(out, o.SaveFirst);
      PutU32(out + 4, o.SaveCount);
      return true;
    case CIS_FileName: GetFileName(c, value); return true;
    case CIS_FileType: PutI32(value, o.FileType); return true;
    case CIS_Save16Bit: PutU32(value, o.Save16Bit); return true;
    case CIS_SavePacked: PutU32(value, o.SavePacked); return true;
    case CIS_XmlHeader: PutU32(value, o.XmlHeader); return true;
    case CIS_StampTime: PutU32(value, o.StampTime); return true;
    case CIS_AviFrameRate: PutU32(value, o.AviFrameRate); return true;
    case CIS_VideoCompressorNames: GetCompressorNames(value); return true;
    case CIS_VideoCompressor: PutU32(value, o.AviCompressorIndex); return true;
    case CIS_DpxLittleEndian: PutU32(value, (o.DpxFlags & kDpxBigEndian) ? 0 : 1); return true;
    case CIS_DpxTo10Bit: PutU32(value, (o.DpxFlags & kDpxTo10Bit) ? 1 : 0); return true;
    case CIS_DpxPacking: PutU32(value, (o.DpxFlags & kDpxPackingMask) >> kDpxPackingShift); return true;
    case CIS_DpxLog: PutU32(value, (o.DpxFlags & kDpxLog) ? 1 : 0); return true;
    case CIS_DpxWriteLut: PutU32(value, (o.DpxFlags & kDpxWriteLut) ? 1 : 0); return true;
    case CIS_DpxRefWhite: PutU32(value, o.DpxRefWhite); return true;
    case CIS_DpxRefBlack: PutU32(value, o.DpxRefBlack); return true;
    case CIS_DpxGamma: sel::PutF32(value, o.DpxGamma); return true;
    case CIS_DpxFilmGamma: sel::PutF32(value, o.DpxFilmGamma); return true;
    case CIS_MovieTimeScale: PutU32(value, o.PlaybackRate); return true;
    case CIS_Quality: PutU32(value, QualityOfQFactor(o.QFactor)); return true;
    case CIS_DngOption2324: PutU32(value, o.DpxSoftClip & 0xFFFFu); return true;
    case CIS_DngOption2332: PutU32(value, o.BayerGreenSplit); return true;
    case CIS_SaveAlgo: GetSaveAlgo(c, value); return true;
    default: return GetTimecode(c, selector, value);
  }
}

bool SetSaveInfo(Cine *c, uint32_t selector, void *value) {
  SavingOptions &o = c->Saving;
  // Read only by the selectors whose value is a number: a text may be
  // shorter than 4 bytes.
  auto v = [value] { return GetU32(value); };
  switch (selector) {
    case CIS_SaveRange:
      o.SaveFirst = sel::GetI32(value);
      o.SaveCount = GetU32(static_cast<uint8_t *>(value) + 4);
      return true;
    case CIS_FileName: SetFileName(c, value); return true;
    case CIS_FileType: {
      int16_t type = static_cast<int16_t>(v() & 0xFFFFu);
      if (type != o.FileType) {
        o.FileType = type;
        ApplyFileTypeDefaults(c);
      }
      return true;
    }
    case CIS_Save16Bit:
      if (Save16BitAllowed(c))
        o.Save16Bit = v();
      else
        PutU32(value, 0);
      return true;
    case CIS_SavePacked:
      o.SavePacked = PackedSaveAllowed(c) ? v() : 0;
      PutU32(value, o.SavePacked);
      return true;
    case CIS_XmlHeader: o.XmlHeader = v(); return true;
    case CIS_StampTime: o.StampTime = v(); return true;
    case CIS_AviFrameRate: o.AviFrameRate = v(); return true;
    case CIS_VideoCompressor: o.AviCompressorIndex = v(); return true;
    case CIS_DpxLittleEndian: SetFlag(o.DpxFlags, kDpxBigEndian, v() == 0); return true;
    case CIS_DpxTo10Bit: SetFlag(o.DpxFlags, kDpxTo10Bit, v() != 0); return true;
    case CIS_DpxPacking:
      o.DpxFlags = (o.DpxFlags & ~kDpxPackingMask) | ((v() & 3u) << kDpxPackingShift);
      return true;
    case CIS_DpxLog: SetFlag(o.DpxFlags, kDpxLog, v() != 0); return true;
    case CIS_DpxWriteLut: SetFlag(o.DpxFlags, kDpxWriteLut, v() != 0); return true;
    case CIS_DpxRefWhite:
      o.DpxRefWhite = static_cast<uint16_t>(std::min<uint32_t>(v(), kDpxMaxLevel));
      PutU32(value, o.DpxRefWhite);
      return true;
    case CIS_DpxRefBlack:
      o.DpxRefBlack = static_cast<uint16_t>(std::min<uint32_t>(v(), o.DpxRefWhite));
      PutU32(value, o.DpxRefBlack);
      return true;
    case CIS_DpxGamma: o.DpxGamma = sel::GetF32(value); return true;
    case CIS_DpxFilmGamma: o.DpxFilmGamma = sel::GetF32(value); return true;
    case CIS_MovieTimeScale: o.PlaybackRate = v(); return true;
    case CIS_Quality:
      o.QFactor = QFactorOfQuality(v());
      PutU32(value, QualityOfQFactor(o.QFactor));
      return true;
    case CIS_DngOption2324: o.DpxSoftClip = v() & 0xFFFFu; return true;
    case CIS_DngOption2332: o.BayerGreenSplit = v(); return true;
    case CIS_SaveAlgo: SetSaveAlgo(c, value); return true;
    default: return SetTimecode(c, selector, value);
  }
}

}  // namespace xe
