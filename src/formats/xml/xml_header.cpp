#include "formats/xml/xml_header.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "cinefile/image_time.h"
#include "cinefile/tagged_blocks.h"
#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/time_print.h"
#include "companions/sig/signal_values.h"
#include "frame/file_paths.h"
#include "frame/messages.h"
#include "ui/range_data_text.h"

namespace xe {

// ---- Element writer --------------------------------------------------------

namespace {

constexpr uint32_t kBufferSize = 1u << 16;
constexpr size_t kTagSize = 128;
constexpr size_t kAttrSize = 256;
// Room of one printed value: the widest is a pair of floats of any size.
constexpr size_t kValueSize = 512;

}  // namespace

XmlWriter::XmlWriter(FileHandle file) : file_(file), buffer_(new (std::nothrow) char[kBufferSize]) {}

void XmlWriter::Raw(std::string_view text) {
  if (text.size() > kBufferSize - used_) Flush();
  // Without its buffer the writer writes each piece as it comes.
  if (!buffer_ || text.size() >= kBufferSize) {
    Merge(status_, XefFileWrite(file_, text.data(), static_cast<uint32_t>(text.size())));
    return;
  }
  std::memcpy(buffer_.get() + used_, text.data(), text.size());
  used_ += static_cast<uint32_t>(text.size());
}

int32_t XmlWriter::Flush() {
  if (used_ > 0) Merge(status_, XefFileWrite(file_, buffer_.get(), used_));
  used_ = 0;
  return status_;
}

void XmlWriter::StartTag(const char *tag, const char *attr1, const char *value1,
                         const char *attr2, const char *value2) {
  char a1[kAttrSize] = "", a2[kAttrSize] = "", text[kTagSize];
  if (attr1) std::snprintf(a1, sizeof a1, " %s=%c%s%c", attr1, 34, value1, 34);
  if (attr2) std::snprintf(a2, sizeof a2, " %s=%c%s%c", attr2, 34, value2, 34);
  // A tag longer than its buffer is cut.
  if (std::snprintf(text, sizeof text, "<%s%s%s>", tag, a1, a2) < 0) return;
  Raw(text);
}

void XmlWriter::Open(const char *tag) { StartTag(tag, nullptr, nullptr, nullptr, nullptr); }

void XmlWriter::Open(const char *tag, const char *attr, const char *value) {
  StartTag(tag, attr, value, nullptr, nullptr);
}

void XmlWriter::Open(const char *tag, const char *attr1, const char *value1, const char *attr2,
                     const char *value2) {
  StartTag(tag, attr1, value1, attr2, value2);
}

void XmlWriter::Close(const char *tag) {
  char text[kTagSize];
  std::snprintf(text, sizeof text, "</%s>", tag);
  Raw(text);
}

void XmlWriter::Element(const char *tag, std::string_view value) {
  Open(tag);
  Raw(value);
  Close(tag);
}

void XmlWriter::Element(const char *tag, const char *attr, const char *attrValue,
                        std::string_view value) {
  Open(tag, attr, attrValue);
  Raw(value);
  Close(tag);
}

void XmlWriter::VElement(const char *tag, const char *attr, const char *attrValue,
                         const char *format, va_list args) {
  char value[kValueSize];
  std::vsnprintf(value, sizeof value, format, args);
  // The value ends at its first zero, as a printed text does.
  if (attr)
    Element(tag, attr, attrValue, value);
  else
    Element(tag, value);
}

void XmlWriter::Value(const char *tag, const char *format, ...) {
  va_list args;
  va_start(args, format);
  VElement(tag, nullptr, nullptr, format, args);
  va_end(args);
}

void XmlWriter::ValueAt(const char *tag, const char *attr, int32_t attrValue, const char *format,
                        ...) {
  char number[16];
  std::snprintf(number, sizeof number, "%d", attrValue);
  va_list args;
  va_start(args, format);
  VElement(tag, attr, number, format, args);
  va_end(args);
}

// ---- The header --------------------------------------------------------------

namespace {

// Date and time of a stamp as the two parts of its text: "Ddd Mmm DD YYYY"
// and everything from the time of day on.
void WriteDateTime(XmlWriter &w, const Cine *c, const Time64 &t, const char *attr,
                   const char *attrValue) {
  char text[intl::kTimeTextSize] = "";
  intl::XefPrintTime64(text, &t, c->TimeFormat, &c->H.Setup);
  std::string_view all(text);
  std::string_view date = all.substr(0, 15);
  std::string_view time = all.size() > 16 ? all.substr(16) : std::string_view();
  w.Element("Date", attr, attrValue, date);
  w.Element("Time", attr, attrValue, time);
}

void WriteFileHeader(XmlWriter &w, const Cine *c) {
  const CineFileHeader &h = c->H.Header;
  w.Open("CineFileHeader");
  w.Element("Type", "CI");
  w.Value("Compression", "%d", h.Compression);
  w.Value("Version", "%d", h.Version);
  w.Value("FirstMovieImage", "%d", h.FirstMovieImage);
  w.Value("TotalImageCount", "%u", h.TotalImageCount);
  w.Value("FirstImageNo", "%d", c->Saving.SaveFirst);
  w.Value("ImageCount", "%u", c->Saving.SaveCount);
  w.Open("TriggerTime");
  Time64 trigger = h.TriggerTime;
  WriteDateTime(w, c, trigger, nullptr, nullptr);
  w.Close("TriggerTime");
  w.Close("CineFileHeader");
}

void WriteBitmapHeader(XmlWriter &w, const BitmapInfoHeader &b) {
  w.Open("BitmapInfoHeader");
  w.Value("biSize", "%u", b.biSize);
  w.Value("biWidth", "%d", b.biWidth);
  w.Value("biHeight", "%d", b.biHeight);
  w.Value("biPlanes", "%d", b.biPlanes);
  w.Value("biBitCount", "%d", b.biBitCount);
  w.Value("biCompression", "%u", b.biCompression);
  w.Value("biSizeImage", "%u", b.biSizeImage);
  w.Value("biXPelsPerMeter", "%d", b.biXPelsPerMeter);
  w.Value("biYPelsPerMeter", "%d", b.biYPelsPerMeter);
  w.Value("biClrUsed", "%u", b.biClrUsed);
  w.Value("biClrImportant", "%u", b.biClrImportant);
  w.Close("BitmapInfoHeader");
}

// One block's data and the images of the save in it. Image i of the save is
// image number SaveFirst + i, and its entry stands at index base + i of the
// block.
struct SavedBlock {
  const Cine *c;
  const uint8_t *data;
  uint32_t held;   // bytes of data the cine holds
  int64_t base;

  int32_t ImageNo(uint32_t i) const {
    return static_cast<int32_t>(static_cast<int64_t>(c->Saving.SaveFirst) + i);
  }
  // The entry index of image i, or -1 before the block.
  int64_t Index(uint32_t i) const { return base + i; }
  // True once the entries of `bytes` each from image i on lie past the data.
  bool PastEnd(uint32_t i, uint64_t bytes) const {
    return bytes > 0 && Index(i) >= 0 && (static_cast<uint64_t>(Index(i)) + 1) * bytes > held;
  }
};

void Number(char (&out)[16], int64_t v) {
  std::snprintf(out, sizeof out, "%d", static_cast<int32_t>(v));
}

void WriteTimeBlock(XmlWriter &w, const SavedBlock &b) {
  w.Open("TIMEBLOCK");
  for (uint32_t i = 0; i < b.c->Saving.SaveCount; ++i) {
    if (b.PastEnd(i, sizeof(Time64))) break;
    if (b.Index(i) < 0) continue;
    Time64 t;
    std::memcpy(&t, b.data + b.Index(i) * sizeof(Time64), sizeof t);
    char frame[16];
    Number(frame, b.ImageNo(i));
    WriteDateTime(w, b.c, t, "frame", frame);
  }
  w.Close("TIMEBLOCK");
}

void WriteExposureBlock(XmlWriter &w, Cine *c) {
  w.Open("EXPOSUREBLOCK");
  for (uint32_t i = 0; i < c->Saving.SaveCount; ++i) {
    auto n = static_cast<int32_t>(static_cast<int64_t>(c->Saving.SaveFirst) + i);
    uint32_t exposure = 0;
    CineImageExposure(c, n, &exposure);
    w.ValueAt("Exp", "frame", n, "%.3f", exposure / 4294967296.0 * 1000000.0);
  }
  w.Close("EXPOSUREBLOCK");
}

// The signals of one kind: for each image a frame, for each channel its
// samples. `value` gives the text of sample `sampleNo` of a channel.
template <typename SampleText>
void WriteSignalBlock(XmlWriter &w, const SavedBlock &b, const char *blockTag,
                      const char *channelTag, uint32_t channels, const char (*names)[11],
                      uint64_t bytesPerImage, SampleText value) {
  const uint32_t samples = b.c->H.Setup.SamplesPerImage;
  w.Open(blockTag);
  for (uint32_t i = 0; i < b.c->Saving.SaveCount; ++i) {
    if (b.PastEnd(i, bytesPerImage)) break;
    if (b.Index(i) < 0) continue;
    char frame[16];
    Number(frame, b.ImageNo(i));
    w.Open("frame", "no", frame);
    for (uint32_t ch = 0; ch < channels; ++ch) {
      char no[16];
      Number(no, ch);
      if (ch < sig::kNamedChannels) {
        char name[12] = "";
        std::memcpy(name, names[ch], 11);
        w.Open(channelTag, "no", no, "name", name);
      } else {
        w.Open(channelTag, "no", no);
      }
      for (uint32_t s = 0; s < samples; ++s) {
        auto sampleNo = static_cast<uint32_t>(static_cast<uint64_t>(b.Index(i)) * samples + s);
        char text[kValueSize];
        value(sampleNo, ch, text);
        char sampleIndex[16];
        Number(sampleIndex, s);
        w.Element("sample", "no", sampleIndex, text);
      }
      w.Close(channelTag);
    }
    w.Close("frame");
  }
  w.Close(blockTag);
}

void WriteBinarySignals(XmlWriter &w, const SavedBlock &b) {
  const Setup &s = b.c->H.Setup;
  uint32_t channels = s.BinChannels > 0 ? static_cast<uint32_t>(s.BinChannels) : 0;
  WriteSignalBlock(w, b, "BINSIGBLOCK", "BinCh", channels, s.BinName, BytesPerImage(b.c, XE_TAG_BINSIG),
                   [&](uint32_t sampleNo, uint32_t ch, char *text) {
                     std::snprintf(text, kValueSize, "%d",
                                   sig::XefBinSigVal(b.data, b.held, sampleNo, ch, &s));
                   });
}

void WriteAnalogSignals(XmlWriter &w, const SavedBlock &b) {
  const Setup &s = b.c->H.Setup;
  uint32_t channels = s.AnaChannels > 0 ? static_cast<uint32_t>(s.AnaChannels) : 0;
  WriteSignalBlock(w, b, "ANASIGBLOCK", "AnaCh", channels, s.AnaName, BytesPerImage(b.c, XE_TAG_ANASIG),
                   [&](uint32_t sampleNo, uint32_t ch, char *text) {
                     int32_t raw = sig::XefAnaSigVal(b.data, b.held, &s, sampleNo, ch);
                     std::snprintf(text, kValueSize, "%f", sig::XefRealSigVal(raw, ch, &s));
                   });
}

// The tagged blocks in their order. The walk runs only when the cine has a
// tagged area, and stops after the block that says no other follows.
void WriteBlocks(XmlWriter &w, Cine *c) {
  const CineFileHeader &h = c->H.Header;
  int64_t origin = c->IsFileCine ? h.FirstImageNo : h.FirstMovieImage;
  int64_t base = static_cast<int64_t>(c->Saving.SaveFirst) - origin;
  for (uint8_t *block = FirstTaggedBlockRaw(c); block; block = NextBlock(c, block)) {
    TAGGED_BLOCK_HEADER bh = BlockHeaderAt(block);
    uint64_t held = HeldDataBytes(c, block);
    SavedBlock b{c, block + kBlockHeaderSize,
                 static_cast<uint32_t>(held < UINT32_MAX ? held : UINT32_MAX), base};
    switch (bh.Type) {
      case XE_TAG_TIME_1:
        ReportMessage(nullptr, "Cannot have TIME_1 block in memory!", "Internal error",
                      kStyleError);
        break;
      case XE_TAG_TIME: WriteTimeBlock(w, b); break;
      case XE_TAG_EXPOSURE: WriteExposureBlock(w, c); break;
      case XE_TAG_BINSIG: WriteBinarySignals(w, b); break;
      case XE_TAG_ANASIG: WriteAnalogSignals(w, b); break;
      default: break;
    }
    if ((bh.Reserved & 1) == 0) break;
  }
}

// The angles carry the degree sign and both quotes: escaped so that the
// file stays well-formed.
std::string_view EscapeAngle(const char *text, char (&out)[kRangeTextSize * 6]) {
  size_t n = 0;
  for (const char *p = text; *p; ++p) {
    const char *piece = nullptr;
    switch (static_cast<unsigned char>(*p)) {
      case 176: piece = "&#176;"; break;
      case '"': piece = "&quot;"; break;
      case '\'': piece = "&#39;"; break;
      default: out[n++] = *p; continue;
    }
    size_t len = std::strlen(piece);
    std::memcpy(out + n, piece, len);
    n += len;
  }
  return {out, n};
}

void WriteRangeBlock(XmlWriter &w, Cine *c) {
  if (!XefGetCineTaggedBlock(c, XE_TAG_RANGE_DATA)) return;
  const uint32_t code = c->H.Setup.RangeCode;
  w.Open("RANGEBLOCK");
  for (uint32_t i = 0; i < c->Saving.SaveCount; ++i) {
    auto n = static_cast<int32_t>(static_cast<int64_t>(c->Saving.SaveFirst) + i);
    char frame[16];
    if (code == 1) {
      // Only here the attribute is the position in the save.
      Number(frame, i);
      char text[kRangeTextSize] = "", escaped[kRangeTextSize * 6];
      FormatRangeData(c, n, 1, 1, text);
      w.Element("Azimuth", "frame", frame, EscapeAngle(text, escaped));
      text[0] = '\0';
      FormatRangeData(c, n, 1, 2, text);
      w.Element("Elevation", "frame", frame, EscapeAngle(text, escaped));
    } else {
      Number(frame, n);
      char text[kRangeTextSize] = "";
      FormatRangeData(c, n, code, 0, text);
      w.Element("RangeData", "frame", frame, text);
    }
  }
  w.Close("RANGEBLOCK");
}

}  // namespace

int32_t WriteXmlHeader(Cine *out) {
  if (!out || !out->Saving.XmlHeader) return 0;
  int32_t status = 0;
  ErrCodeOnExit onExit(status);
  char path[kPathSize];
  std::memcpy(path, out->FileName, kPathSize);
  path[kPathSize - 1] = '\0';
  XefReplaceFileExtension(path, ".xml");
  if (LogOn()) con::Debprintf("\nWriteXmlHeader %s", path);

  FileHandle file = kNoFile;
  Merge(status, XefFileCreate(path, &file));
  XmlWriter w(file);
  w.Raw("<?xml version=\"1.0\"?>\n");
  w.Raw("<!-- xml cine header file -->");
  w.Open("chd");
  WriteFileHeader(w, out);
  WriteBitmapHeader(w, out->H.Bmih);
  WriteXmlCameraSetup(w, out->H.Setup);
  WriteBlocks(w, out);
  WriteRangeBlock(w, out);
  w.Close("chd");
  Merge(status, w.Flush());
  if (file != kNoFile) XefFileClose(file);
  return status;
}

}  // namespace xe
