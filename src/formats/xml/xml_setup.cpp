// The CameraSetup element of the XML header: one table of the Setup fields in
// record order, each with the offset that gates it. A record is only printed
// as far as it reaches: a field is written when Length is greater than its
// offset, so an old, shorter record shows only the fields it holds.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "formats/xml/xml_header.h"

namespace xe {
namespace {

// How a field is printed.
enum class Kind : uint8_t {
  Int,        // "%d" of the integer
  Uint,       // "%u"
  Float,      // "%f"
  Bool,       // "true" or "false"
  Text,       // the characters up to the terminator, within the field
  Mark,       // "%c%c" of two characters
  IntList,    // containers of items with the attribute no, by kind of item
  UintList,
  FloatList,
  TextList,
  Pairs,      // items "%f %f" from an array of pairs
  Rect,       // left, right, top, bottom
  WBGains,    // 4 items, each with R and B
  WBView,     // R and B
  UserFilter  // dim, shifts, bias and the Coef items
};

// How many items a container holds.
enum class Count : uint8_t { One, All, BinChannels, AnaChannels, FRPSteps, MCCnt, TonePoints };

struct SetupItem {
  const char *name;   // element name
  size_t listed;      // written when Length exceeds this
  size_t at;          // offset of the field in the record
  size_t size;        // bytes of the field
  size_t itemSize;    // bytes of one item of a container
  bool isSigned;      // an integer item is signed
  Kind kind;
  Count count;
};

#define XE_SETUP_ITEM(name, field, listed, kind, count)                               \
  SetupItem {                                                                         \
    name, listed, offsetof(::Setup, field), sizeof(::Setup::field),                   \
        sizeof(std::remove_extent_t<decltype(::Setup::field)>),                       \
        std::is_signed_v<std::remove_all_extents_t<decltype(::Setup::field)>>,        \
        Kind::kind, Count::count                                                      \
  }
#define ONE(field, listed, kind) XE_SETUP_ITEM(#field, field, listed, kind, One)
#define LIST(field, listed, kind, count) XE_SETUP_ITEM(#field, field, listed, kind, count)

constexpr SetupItem kItems[] = {
    ONE(TrigFrame, 17, Int),
    ONE(Mark, 140, Mark),
    ONE(Length, 142, Int),
    ONE(SigOption, 146, Int),
    ONE(BinChannels, 148, Int),
    ONE(SamplesPerImage, 150, Int),
    LIST(BinName, 151, TextList, BinChannels),
    ONE(AnaOption, 239, Int),
    ONE(AnaChannels, 241, Int),
    ONE(AnaBoard, 244, Int),
    LIST(ChOption, 245, IntList, AnaChannels),
    LIST(AnaGain, 261, FloatList, AnaChannels),
    LIST(AnaUnit, 293, TextList, AnaChannels),
    LIST(AnaName, 341, TextList, AnaChannels),
    ONE(lFirstImage, 429, Int),
    ONE(dwImageCount, 433, Uint),
    ONE(nQFactor, 437, Int),
    ONE(wCineFileType, 439, Int),
    LIST(szCinePath, 441, TextList, All),
    ONE(ImWidth, 737, Int),
    ONE(ImHeight, 739, Int),
    ONE(Serial, 743, Uint),
    ONE(Saturation, 747, Int),
    ONE(AutoExposure, 752, Uint),
    ONE(bFlipH, 756, Bool),
    ONE(bFlipV, 760, Bool),
    ONE(Grid, 764, Uint),
    ONE(FrameRate, 768, Uint),
    ONE(PostTrigger, 780, Uint),
    ONE(bEnableColor, 788, Bool),
    ONE(CameraVersion, 792, Uint),
    ONE(FirmwareVersion, 796, Uint),
    ONE(SoftwareVersion, 800, Uint),
    ONE(RecordingTimeZone, 804, Int),
    ONE(CFA, 808, Uint),
    ONE(Bright, 812, Int),
    ONE(Contrast, 816, Int),
    ONE(Gamma, 820, Int),
    ONE(AutoExpLevel, 828, Uint),
    ONE(AutoExpSpeed, 832, Uint),
    ONE(AutoExpRect, 836, Rect),
    ONE(WBGain, 852, WBGains),
    ONE(Rotate, 884, Int),
    ONE(WBView, 888, WBView),
    ONE(RealBPP, 896, Uint),
    ONE(Conv8Min, 900, Uint),
    ONE(Conv8Max, 904, Uint),
    ONE(FilterCode, 908, Int),
    ONE(FilterParam, 912, Int),
    XE_SETUP_ITEM("UF", UserFilter, 916, UserFilter, One),
    ONE(BlackCalSVer, 1028, Uint),
    ONE(WhiteCalSVer, 1032, Uint),
    ONE(GrayCalSVer, 1036, Uint),
    XE_SETUP_ITEM("bStampTime", bStampTimeConRec, 1040, Bool, One),
    ONE(SoundDest, 1044, Uint),
    ONE(FRPSteps, 1048, Uint),
    LIST(FRPImgNr, 1052, IntList, FRPSteps),
    LIST(FRPRate, 1116, UintList, FRPSteps),
    LIST(FRPExp, 1180, UintList, FRPSteps),
    ONE(MCCnt, 1244, Int),
    LIST(MCPercent, 1248, FloatList, MCCnt),
    ONE(CICalib, 1504, Uint),
    ONE(CalibWidth, 1508, Uint),
    ONE(CalibHeight, 1512, Uint),
    ONE(CalibRate, 1516, Uint),
    ONE(CalibExp, 1520, Uint),
    ONE(CalibEDR, 1524, Uint),
    ONE(CalibTemp, 1528, Uint),
    LIST(HeadSerial, 1532, UintList, All),
    ONE(RangeCode, 1548, Uint),
    ONE(RangeSize, 1552, Uint),
    ONE(Decimation, 1556, Uint),
    ONE(MasterSerial, 1560, Uint),
    ONE(Sensor, 1564, Uint),
    ONE(ShutterNs, 1568, Uint),
    ONE(EDRShutterNs, 1572, Uint),
    ONE(FrameDelayNs, 1576, Uint),
    ONE(ImPosXAcq, 1580, Uint),
    ONE(ImPosYAcq, 1584, Uint),
    ONE(ImWidthAcq, 1588, Uint),
    ONE(ImHeightAcq, 1592, Uint),
    ONE(Description, 1596, Text),
    ONE(RisingEdge, 5692, Bool),
    ONE(FilterTime, 5696, Uint),
    ONE(LongReady, 5700, Bool),
    ONE(ShutterOff, 5704, Bool),
    ONE(bMetaWB, 5724, Bool),
    ONE(Hue, 5728, Int),
    ONE(BlackLevel, 5732, Int),
    ONE(WhiteLevel, 5736, Int),
    ONE(LensDescription, 5740, Text),
    ONE(LensAperture, 5996, Float),
    ONE(LensFocusDistance, 6000, Float),
    ONE(LensFocalLength, 6004, Float),
    ONE(fOffset, 6008, Float),
    ONE(fGain, 6012, Float),
    ONE(fSaturation, 6016, Float),
    ONE(fHue, 6020, Float),
    ONE(fGamma, 6024, Float),
    ONE(fGammaR, 6028, Float),
    ONE(fGammaB, 6032, Float),
    ONE(fFlare, 6036, Float),
    ONE(fPedestalR, 6040, Float),
    ONE(fPedestalG, 6044, Float),
    ONE(fPedestalB, 6048, Float),
    ONE(fChroma, 6052, Float),
    ONE(ToneLabel, 6056, Text),
    ONE(TonePoints, 6312, Int),
    LIST(fTone, 6316, Pairs, TonePoints),
    ONE(UserMatrixLabel, 6572, Text),
    ONE(EnableMatrices, 6828, Bool),
    LIST(fUserMatrix, 6832, FloatList, All),
    ONE(EnableCrop, 6868, Bool),
    ONE(CropRect, 6872, Rect),
    ONE(EnableResample, 6888, Bool),
    ONE(ResampleWidth, 6892, Uint),
    ONE(ResampleHeight, 6896, Uint),
    ONE(fGain16_8, 6900, Float),
    LIST(FRPShape, 6904, IntList, All),
};

#undef ONE
#undef LIST
#undef XE_SETUP_ITEM

// The index of the first entry whose field does not stand at the offset
// that gates it, or that breaks the record order; -1 when all agree.
constexpr int FirstMisplacedItem() {
  for (size_t k = 0; k < std::size(kItems); ++k) {
    if (kItems[k].at != kItems[k].listed) return static_cast<int>(k);
    if (k > 0 && kItems[k].at <= kItems[k - 1].at) return static_cast<int>(k);
  }
  return -1;
}
static_assert(FirstMisplacedItem() == -1, "a Setup field moved away from its gating offset");

int64_t ReadInt(const uint8_t *p, size_t size, bool isSigned) {
  switch (size) {
    case 1: return isSigned ? static_cast<int8_t>(p[0]) : p[0];
    case 2: {
      uint16_t v;
      std::memcpy(&v, p, 2);
      return isSigned ? static_cast<int16_t>(v) : v;
    }
    default: {
      uint32_t v;
      std::memcpy(&v, p, 4);
      return isSigned ? static_cast<int32_t>(v) : v;
    }
  }
}

float ReadFloat(const uint8_t *p) {
  float v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

std::string_view TextIn(const uint8_t *p, size_t size) {
  const char *text = reinterpret_cast<const char *>(p);
  return {text, strnlen(text, size)};
}

// Items of a container, within the room of the field.
size_t ItemCount(const ::Setup &s, const SetupItem &item) {
  size_t room = item.size / item.itemSize;
  int64_t n = 0;
  switch (item.count) {
    case Count::One: n = 1; break;
    case Count::All: n = static_cast<int64_t>(room); break;
    case Count::BinChannels: n = std::min<int64_t>(s.BinChannels, 8); break;
    case Count::AnaChannels: n = std::min<int64_t>(s.AnaChannels, 8); break;
    case Count::FRPSteps: n = s.FRPSteps; break;
    case Count::MCCnt: n = s.MCCnt; break;
    case Count::TonePoints: n = s.TonePoints; break;
  }
  return static_cast<size_t>(std::clamp<int64_t>(n, 0, static_cast<int64_t>(room)));
}

void WriteContainer(XmlWriter &w, const ::Setup &s, const SetupItem &item, const uint8_t *p) {
  w.Open(item.name);
  size_t n = ItemCount(s, item);
  for (size_t k = 0; k < n; ++k) {
    const uint8_t *at = p + k * item.itemSize;
    auto no = static_cast<int32_t>(k);
    switch (item.kind) {
      case Kind::IntList:
        w.ValueAt(item.name, "no", no, "%d",
                  static_cast<int32_t>(ReadInt(at, item.itemSize, item.isSigned)));
        break;
      case Kind::UintList:
        w.ValueAt(item.name, "no", no, "%u",
                  static_cast<uint32_t>(ReadInt(at, item.itemSize, item.isSigned)));
        break;
      case Kind::FloatList: w.ValueAt(item.name, "no", no, "%f", ReadFloat(at)); break;
      case Kind::Pairs:
        w.ValueAt(item.name, "no", no, "%f %f", ReadFloat(at), ReadFloat(at + 4));
        break;
      default: {
        char index[16];
        std::snprintf(index, sizeof index, "%d", no);
        w.Element(item.name, "no", index, TextIn(at, item.itemSize));
        break;
      }
    }
  }
  w.Close(item.name);
}

void WriteRect(XmlWriter &w, const char *name, const XeRect &r) {
  w.Open(name);
  w.Value("left", "%d", r.left);
  w.Value("right", "%d", r.right);
  w.Value("top", "%d", r.top);
  w.Value("bottom", "%d", r.bottom);
  w.Close(name);
}

void WriteGains(XmlWriter &w, const WBGAIN &g) {
  w.Value("R", "%f", g.R);
  w.Value("B", "%f", g.B);
}

void WriteUserFilter(XmlWriter &w, const char *name, const XeUserFilter &f) {
  w.Open(name);
  w.Value("dim", "%d", f.dim);
  w.Value("shifts", "%d", f.shifts);
  w.Value("bias", "%d", f.bias);
  w.Open("Coef");
  int32_t dim = f.dim;
  dim = std::clamp(dim, 0, 5);
  for (int32_t i = 0; i < dim; ++i) {
    for (int32_t j = 0; j < dim; ++j) {
      char iText[16], jText[16], value[16];
      std::snprintf(iText, sizeof iText, "%d", i);
      std::snprintf(jText, sizeof jText, "%d", j);
      std::snprintf(value, sizeof value, "%d", f.Coef[i][j]);
      w.Open("Coef", "i", iText, "j", jText);
      w.Raw(value);
      w.Close("Coef");
    }
  }
  w.Close("Coef");
  w.Close(name);
}

void WriteItem(XmlWriter &w, const ::Setup &s, const SetupItem &item) {
  const uint8_t *p = reinterpret_cast<const uint8_t *>(&s) + item.at;
  switch (item.kind) {
    case Kind::Int:
      w.Value(item.name, "%d", static_cast<int32_t>(ReadInt(p, item.size, item.isSigned)));
      break;
    case Kind::Uint:
      w.Value(item.name, "%u", static_cast<uint32_t>(ReadInt(p, item.size, item.isSigned)));
      break;
    case Kind::Float: w.Value(item.name, "%f", ReadFloat(p)); break;
    case Kind::Bool:
      w.Element(item.name, ReadInt(p, item.size, false) != 0 ? "true" : "false");
      break;
    case Kind::Text: w.Element(item.name, TextIn(p, item.size)); break;
    // A zero character ends the value, as it ends any printed text.
    case Kind::Mark: w.Value(item.name, "%c%c", p[0], p[1]); break;
    case Kind::Rect: {
      XeRect r;
      std::memcpy(&r, p, sizeof r);
      WriteRect(w, item.name, r);
      break;
    }
    case Kind::WBGains: {
      WBGAIN g[4];
      std::memcpy(g, p, sizeof g);
      w.Open(item.name);
      for (int32_t k = 0; k < 4; ++k) {
        char index[16];
        std::snprintf(index, sizeof index, "%d", k);
        w.Open(item.name, "no", index);
        WriteGains(w, g[k]);
        w.Close(item.name);
      }
      w.Close(item.name);
      break;
    }
    case Kind::WBView: {
      WBGAIN g;
      std::memcpy(&g, p, sizeof g);
      w.Open(item.name);
      WriteGains(w, g);
      w.Close(item.name);
      break;
    }
    case Kind::UserFilter: {
      XeUserFilter f;
      std::memcpy(&f, p, sizeof f);
      WriteUserFilter(w, item.name, f);
      break;
    }
    default: WriteContainer(w, s, item, p); break;
  }
}

}  // namespace

void WriteXmlCameraSetup(XmlWriter &w, const ::Setup &s) {
  w.Open("CameraSetup");
  for (const SetupItem &item : kItems) {
    if (s.Length > item.at) WriteItem(w, s, item);
  }
  w.Close("CameraSetup");
}

}  // namespace xe
