#include "formats/quicktime/quicktime_head.h"

#include <cstring>
#include <ctime>
#include <new>

namespace xe {
namespace {

// Added to calendar time for the times of a movie, which count from 1904.
// It is one day short of 1904 to 1970 (2082844800), so readers show the
// times a day early; the files of this format have always carried it so.
constexpr int64_t kFrom1904 = 2082758400;
constexpr uint32_t kOne = 0x00010000;  // 1.0 in 16.16 fixed point

// Big-endian values appended to the head, and atoms whose size is stored
// when their body is done.
class HeadBytes {
 public:
  explicit HeadBytes(std::vector<uint8_t> &b) : b_(b) {}
  void U8(uint8_t v) { b_.push_back(v); }
  void U16(uint16_t v) {
    U8(static_cast<uint8_t>(v >> 8));
    U8(static_cast<uint8_t>(v));
  }
  void U32(uint32_t v) {
    U16(static_cast<uint16_t>(v >> 16));
    U16(static_cast<uint16_t>(v));
  }
  void U64(uint64_t v) {
    U32(static_cast<uint32_t>(v >> 32));
    U32(static_cast<uint32_t>(v));
  }
  void Zeros(size_t n) { b_.insert(b_.end(), n, 0); }
  // Four characters of a type, a handler or a vendor.
  void Code(const char (&c)[5]) { b_.insert(b_.end(), c, c + 4); }
  // A counted name: its length byte, then its characters without a terminator.
  void Counted(const char *text) {
    const size_t n = std::strlen(text);
    U8(static_cast<uint8_t>(n));
    b_.insert(b_.end(), text, text + n);
  }
  // Starts an atom with a size of 0 and answers where it starts.
  size_t Begin(const char (&type)[5]) {
    const size_t at = b_.size();
    U32(0);
    Code(type);
    return at;
  }
  // Stores in the atom started at `at` the length reached.
  void End(size_t at) {
    const auto n = static_cast<uint32_t>(b_.size() - at);
    const uint8_t size[4] = {static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16),
                             static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
    std::memcpy(&b_[at], size, 4);
  }
  size_t Length() const { return b_.size(); }

 private:
  std::vector<uint8_t> &b_;
};

// Creation and modification time, both of one clock reading.
void Times(HeadBytes &o, QuickTimeClock clock) {
  const auto t = static_cast<uint32_t>(clock() + kFrom1904);
  o.U32(t);
  o.U32(t);
}

void Matrix(HeadBytes &o) {
  for (uint32_t v : {kOne, 0u, 0u, 0u, kOne, 0u, 0u, 0u, 0x40000000u}) o.U32(v);
}

void Mvhd(HeadBytes &o, const QuickTimeParams &p, QuickTimeClock clock) {
  const size_t at = o.Begin("mvhd");
  o.U32(0);
  Times(o, clock);
  o.U32(p.TimeScale);
  o.U32(p.FrameCount);
  o.U32(kOne);  // preferred rate
  o.U16(255);   // preferred volume
  o.Zeros(10);
  Matrix(o);
  for (int k = 0; k < 4; ++k) o.U32(0);  // preview time and duration, poster time, selection time
  o.U32(p.FrameCount);                   // selection duration
  o.U32(0);                              // current time
  // Next track ID 1 although track 1 exists: players take the file so.
  o.U32(1);
  o.End(at);
}

void Tkhd(HeadBytes &o, const QuickTimeParams &p, QuickTimeClock clock) {
  const size_t at = o.Begin("tkhd");
  o.U32(15);  // version 0; enabled, in movie, in preview, in poster
  Times(o, clock);
  o.U32(1);  // track ID
  o.U32(0);
  o.U32(p.FrameCount);
  o.Zeros(8);
  o.Zeros(8);  // layer, alternate group, volume, reserved
  Matrix(o);
  o.U32(p.Width << 16);
  o.U32(p.Height << 16);
  o.End(at);
}

void Mdhd(HeadBytes &o, const QuickTimeParams &p, QuickTimeClock clock) {
  const size_t at = o.Begin("mdhd");
  o.U32(0);
  Times(o, clock);
  o.U32(p.TimeScale);
  o.U32(p.FrameCount);
  o.U16(0);    // language
  o.U16(100);  // quality
  o.End(at);
}

void Hdlr(HeadBytes &o, const char (&kind)[5], const char (&subtype)[5], const char *name) {
  const size_t at = o.Begin("hdlr");
  o.U32(0);
  o.Code(kind);
  o.Code(subtype);
  o.Zeros(12);  // manufacturer, flags, flags mask
  o.Counted(name);
  o.End(at);
}

void Vmhd(HeadBytes &o) {
  const size_t at = o.Begin("vmhd");
  o.U32(1);
  o.U16(64);  // graphics mode: copy
  for (int k = 0; k < 3; ++k) o.U16(0x8000);
  o.End(at);
}

// The data lies in this file: one self-contained alias.
void Dinf(HeadBytes &o) {
  const size_t at = o.Begin("dinf");
  const size_t dref = o.Begin("dref");
  o.U32(0);
  o.U32(1);
  o.U32(12);
  o.Code("alis");
  o.U32(1);
  o.End(dref);
  o.End(at);
}

// One sample description of raw frames; an 8-bit one carries a grey ramp
// as its colour table.
void Stsd(HeadBytes &o, const QuickTimeParams &p) {
  const bool grey = p.Depth == 8;
  const size_t at = o.Begin("stsd");
  o.U32(0);
  o.U32(1);
  o.U32(grey ? 2142 : 86);
  o.Code("raw ");
  o.Zeros(6);
  o.U16(1);  // data reference index
  o.U16(0);  // version
  o.U16(0);  // revision
  o.Code("appl");
  o.U32(100);  // temporal quality
  o.U32(100);  // spatial quality
  o.U16(static_cast<uint16_t>(p.Width));
  o.U16(static_cast<uint16_t>(p.Height));
  o.U32(0x00480000);  // 72 dpi, both ways
  o.U32(0x00480000);
  o.U32(0);  // data size
  o.U16(1);  // frames per sample
  // The compressor name of 32 bytes stays so although the format is raw.
  const size_t name = o.Length();
  o.Counted("Sorenson Video");
  o.Zeros(32 - (o.Length() - name));
  o.U16(static_cast<uint16_t>(p.Depth));
  o.U16(grey ? 0 : 0xFFFF);
  if (grey) {
    o.U32(0);       // seed
    o.U16(0x8000);  // flags
    o.U16(255);     // last index
    for (uint32_t i = 0; i < 256; ++i) {
      o.U16(0);
      for (int c = 0; c < 3; ++c) o.U16(static_cast<uint16_t>(i << 8));
    }
  }
  o.End(at);
}

// Every frame is one sample of one tick, in a chunk of its own.
void SampleTables(HeadBytes &o, const QuickTimeParams &p) {
  size_t at = o.Begin("stts");
  o.U32(0);
  o.U32(1);
  o.U32(p.FrameCount);
  o.U32(1);
  o.End(at);

  at = o.Begin("stsc");
  o.U32(0);
  o.U32(1);
  o.U32(1);  // first chunk
  o.U32(1);  // samples per chunk
  o.U32(1);  // sample description
  o.End(at);

  // Every size written out, although all agree.
  const uint32_t frameSize = QuickTimeFrameSize(p);
  at = o.Begin("stsz");
  o.U32(0);
  o.U32(0);
  o.U32(p.FrameCount);
  for (uint32_t k = 0; k < p.FrameCount; ++k) o.U32(frameSize);
  o.End(at);

  // 64-bit offsets always, so that no size of movie hits a 4 GB limit.
  at = o.Begin("co64");
  o.U32(0);
  o.U32(p.FrameCount);
  for (uint32_t k = 0; k < p.FrameCount; ++k) o.U64(p.FirstFrameOffset + uint64_t{k} * frameSize);
  o.End(at);
}

void Head(HeadBytes &o, const QuickTimeParams &p, QuickTimeClock clock) {
  const size_t moov = o.Begin("moov");
  Mvhd(o, p, clock);
  const size_t trak = o.Begin("trak");
  Tkhd(o, p, clock);
  const size_t mdia = o.Begin("mdia");
  Mdhd(o, p, clock);
  Hdlr(o, "mhlr", "vide", "Apple Video Media Handler");
  const size_t minf = o.Begin("minf");
  Vmhd(o);
  Hdlr(o, "dhlr", "alis", "Apple Alias Data Handler");
  Dinf(o);
  const size_t stbl = o.Begin("stbl");
  Stsd(o, p);
  SampleTables(o, p);
  o.End(stbl);
  o.End(minf);
  o.End(mdia);
  o.End(trak);
  o.End(moov);
  o.Begin("mdat");  // size 0: runs to the end of the file, and stays so
}

}  // namespace

uint32_t QuickTimeFrameSize(const QuickTimeParams &p) { return p.Width * p.Height * p.Depth / 8; }

int64_t QuickTimeClockNow() { return static_cast<int64_t>(std::time(nullptr)); }

bool BuildQuickTimeHead(QuickTimeParams &p, std::vector<uint8_t> &head, QuickTimeClock clock) {
  // 4 bytes of sample size and 8 of offset per frame, and the fixed atoms;
  // the first frame's offset is held in 32 bits.
  const uint64_t capacity = uint64_t{p.FrameCount} * 12 + 3000;
  head.clear();
  if (capacity > UINT32_MAX) return false;
  try {
    head.reserve(capacity);
    HeadBytes o(head);
    p.FirstFrameOffset = 0;
    Head(o, p, clock);
    p.FirstFrameOffset = static_cast<uint32_t>(head.size());
    head.clear();
    Head(o, p, clock);
    return true;
  } catch (const std::bad_alloc &) {
    head.clear();
    head.shrink_to_fit();
    return false;
  }
}

}  // namespace xe
