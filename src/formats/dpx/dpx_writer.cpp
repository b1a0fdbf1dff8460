#include "formats/dpx/dpx_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "formats/dpx/log_lut.h"
#include "frame/file_io.h"
#include "frame/saving_options.h"

namespace xe {
namespace {

// ---- Headers ---------------------------------------------------------------

constexpr uint32_t kGenericSize = 1664;
constexpr uint32_t kIndustrySize = 384;
constexpr uint32_t kUserSize = 32;
constexpr uint32_t kMagic = 0x53445058;  // "XPDS" stored little-endian, "SDPX" swapped

// Offsets of the fields that are not zero.
constexpr uint32_t kAtMagic = 0, kAtImageOffset = 4, kAtVersion = 8, kAtFileSize = 16, kAtDittoKey = 20,
                   kAtGenericSize = 24, kAtIndustrySize = 28, kAtUserSize = 32, kAtEncryptionKey = 660;
constexpr uint32_t kAtElementCount = 770, kAtPixelsPerLine = 772, kAtLinesPerElement = 776;
constexpr uint32_t kAtDescriptor = 800, kAtTransfer = 801, kAtBitSize = 803, kAtPacking = 804,
                   kAtElementDataOffset = 808;
constexpr uint32_t kAtTimeCode = 1920, kAtUserBits = 1924;

constexpr uint8_t kDescriptorLuma = 6, kDescriptorRgb = 50;
constexpr uint8_t kTransferPrintingDensity = 1, kTransferLinear = 2;

// Runs of header fields of one width, in file order. Only the width matters:
// a big-endian file reverses each 2- and 4-byte field and copies the others
// (version, texts, border and aspect ratio) as they stand.
struct Run {
  uint16_t width, count;
};
constexpr Run kFileInformation[] = {{4, 2}, {8, 1}, {4, 5}, {100, 1}, {24, 1}, {100, 1}, {200, 2}, {4, 1}, {104, 1}};
constexpr Run kImageInformation[] = {{2, 2}, {4, 2}};
constexpr Run kImageElement[] = {{4, 5}, {1, 4}, {2, 2}, {4, 3}, {32, 1}};  // eight of them
constexpr Run kImageInformationTail[] = {{52, 1}};
constexpr Run kOrientation[] = {{4, 6}, {100, 1}, {24, 1}, {32, 2}, {8, 2}, {4, 2}, {20, 1}};
constexpr Run kFilm[] = {{2, 3}, {6, 1}, {4, 1}, {32, 1}, {4, 5}, {32, 1}, {100, 1}, {56, 1}};
constexpr Run kTelevision[] = {{4, 2}, {1, 4}, {4, 10}, {76, 1}};
constexpr Run kUserData[] = {{32, 1}};

struct Section {
  std::span<const Run> runs;
  uint16_t repeat;
};
constexpr Section kHeaderLayout[] = {
    {kFileInformation, 1}, {kImageInformation, 1}, {kImageElement, 8}, {kImageInformationTail, 1},
    {kOrientation, 1},     {kFilm, 1},             {kTelevision, 1},  {kUserData, 1}};

constexpr uint32_t Bytes(std::span<const Run> runs) {
  uint32_t n = 0;
  for (const Run &r : runs) n += uint32_t{r.width} * r.count;
  return n;
}
constexpr uint32_t LayoutBytes() {
  uint32_t n = 0;
  for (const Section &s : kHeaderLayout) n += Bytes(s.runs) * s.repeat;
  return n;
}
static_assert(Bytes(kFileInformation) == 768 && Bytes(kImageElement) == 72 && Bytes(kOrientation) == 256 &&
              Bytes(kFilm) == 256 && Bytes(kTelevision) == 128);
static_assert(LayoutBytes() == kDpxDataOffset && kGenericSize + kIndustrySize + kUserSize == kDpxDataOffset);

using Header = std::array<uint8_t, kDpxDataOffset>;

void Put16(Header &hd, uint32_t at, uint16_t v) { std::memcpy(hd.data() + at, &v, 2); }
void Put32(Header &hd, uint32_t at, uint32_t v) { std::memcpy(hd.data() + at, &v, 4); }

void SwapFields(Header &hd) {
  uint8_t *p = hd.data();
  for (const Section &s : kHeaderLayout)
    for (uint16_t k = 0; k < s.repeat; ++k)
      for (const Run &r : s.runs)
        for (uint16_t i = 0; i < r.count; ++i, p += r.width)
          if (r.width == 2 || r.width == 4) std::reverse(p, p + r.width);
}

// ---- Samples ---------------------------------------------------------------

// The samples of the bitmap, top row first, each row left to right, through
// `map`, into `out`: one walk, every read inside the rows the header gives.
template <typename Src, typename Dst, typename Map>
void CopyTopDown(const BitmapInfoHeader *h, const uint8_t *pixels, uint64_t perRow, Dst *out, Map map) {
  const uint64_t stride = intl::XefMemWidth(h);
  const uint64_t rows = static_cast<uint64_t>(h->biHeight < 0 ? -int64_t{h->biHeight} : h->biHeight);
  const bool bottomUp = h->biHeight > 0;
  for (uint64_t r = 0; r < rows; ++r) {
    const uint8_t *row = pixels + stride * (bottomUp ? rows - 1 - r : r);
    for (uint64_t i = 0; i < perRow; ++i) {
      Src v;
      std::memcpy(&v, row + i * sizeof(Src), sizeof v);
      *out++ = static_cast<Dst>(map(uint32_t{v}));
    }
  }
}

// The packed data size of `n` samples: the sizes DPX readers of these files
// take, including the short count of a 10-bit stream's last group.
uint64_t PackedBytes(uint32_t depth, uint32_t method, uint64_t n) {
  switch (depth) {
    case 8: return n;
    case 10:
      if (method == 0) return (n >> 4) * 20 + ((n & 15) + 1) / 3;
      return (n + 2) / 3 * 4;
    case 12:
      if (method == 0) return 4 * ((n >> 3) * 3 + ((n & 7) != 0) * ((n & 7) / 3 + 1));
      return 2 * n;
    default: return 2 * n;
  }
}

// A continuous stream of `bits`-bit samples, low bits first, written over
// the samples it is made of (it never overtakes its reading). Bytes up to
// `end` behind the stream are zero.
void PackStream(uint8_t *buf, uint64_t n, uint32_t bits, uint64_t end) {
  const uint32_t mask = (1u << bits) - 1;
  uint64_t acc = 0, at = 0;
  uint32_t held = 0;
  for (uint64_t i = 0; i < n; ++i) {
    uint16_t v;
    std::memcpy(&v, buf + 2 * i, 2);
    acc |= uint64_t{v & mask} << held;
    for (held += bits; held >= 8; held -= 8, acc >>= 8) buf[at++] = static_cast<uint8_t>(acc);
  }
  if (held) buf[at++] = static_cast<uint8_t>(acc);
  std::fill(buf + at, buf + std::max(at, end), uint8_t{0});
}

// Three 10-bit samples to a 32-bit word, from bit `shift` on, written over
// the samples; a last short word has zero in place of the missing ones.
void PackWordsOfThree(uint8_t *buf, uint64_t n, uint32_t shift) {
  for (uint64_t i = 0, at = 0; i < n; i += 3, at += 4) {
    uint32_t word = 0;
    for (uint64_t k = 0; k < 3 && i + k < n; ++k) {
      uint16_t v;
      std::memcpy(&v, buf + 2 * (i + k), 2);
      word |= uint32_t{v & 0x3FFu} << (shift + 10 * k);
    }
    std::memcpy(buf + at, &word, 4);
  }
}

// Packs the n samples of `depth` bits by `method` in place. 14-bit samples
// are taken to 16 bits by the copy. Answers the data size, or a status.
int32_t Pack(uint8_t *buf, uint64_t n, uint32_t depth, uint32_t method, uint64_t *size) {
  *size = PackedBytes(depth, method, n);
  if ((depth == 10 || depth == 12) && method > 2) return kDpxBadPacking;
  if (depth == 10 && method == 0) PackStream(buf, n, 10, (*size + 3) / 4 * 4);
  if (depth == 10 && method > 0) PackWordsOfThree(buf, n, method == 1 ? 2 : 0);
  if (depth == 12 && method == 0) PackStream(buf, n, 12, *size);
  if (depth == 12 && method == 1)
    for (uint64_t i = 0; i < n; ++i) {
      uint16_t v;
      std::memcpy(&v, buf + 2 * i, 2);
      v = static_cast<uint16_t>(v << 4);
      std::memcpy(buf + 2 * i, &v, 2);
    }
  return 0;
}

// Big-endian data: byte pairs swapped for 16-bit words, groups of four
// reversed for 32-bit words and for the 10-bit stream, as the readers of
// these files expect.
void SwapSamples(uint8_t *buf, uint64_t bytes, uint32_t depth, uint32_t method) {
  if (depth == 8) return;
  const uint32_t group = depth == 10 || (depth == 12 && method == 0) ? 4 : 2;
  for (uint64_t i = 0; i + group <= bytes; i += group) std::reverse(buf + i, buf + i + group);
}

// The working buffers of a thread, kept from image to image so that a range
// allocates once, with the lin-to-log table of the last parameters.
struct Work {
  std::vector<uint16_t> samples, lut;
  uint32_t lutDepth = 0;
  DpxOptions lutFor{};
};

bool SameCurve(const DpxOptions &a, const DpxOptions &b) {
  return a.DpxRefWhite == b.DpxRefWhite && a.DpxRefBlack == b.DpxRefBlack && a.DpxGamma == b.DpxGamma &&
         a.DpxFilmGamma == b.DpxFilmGamma;
}

const std::vector<uint16_t> &LinToLog(Work &w, uint32_t depth, const DpxOptions &o) {
  if (w.lutDepth != depth || !SameCurve(w.lutFor, o)) {
    w.lutDepth = 0;
    w.lut.resize(size_t{1} << depth);
    BuildLinToLogLut(w.lut.data(), depth, o);
    w.lutDepth = depth;
    w.lutFor = o;
  }
  return w.lut;
}

int32_t WriteFile(const char *name, const Header &hd, const uint8_t *data, uint64_t size) {
  FileHandle f = kNoFile;
  if (XefFileCreate(name, &f) < 0) return kDpxNotCreated;
  bool ok = XefFileWrite(f, hd.data(), kGenericSize + kIndustrySize + kUserSize) >= 0;
  // The file layer writes at most 4 GiB - 1 at once.
  for (uint64_t done = 0; ok && done < size;) {
    const uint32_t piece = static_cast<uint32_t>(std::min<uint64_t>(size - done, 1u << 30));
    ok = XefFileWrite(f, data + done, piece) >= 0;
    done += piece;
  }
  XefFileClose(f);
  if (ok) return 0;
  // A file cut short would still claim its whole size.
  std::remove(name);
  return kDpxWriteFailed;
}

}  // namespace

int32_t WriteDpxImage(const char *name, const BitmapInfoHeader *h, const uint8_t *pixels, uint64_t timeCode,
                      const DpxOptions &o) {
  int32_t status = 0;
  const uint16_t bitCount = h->biBitCount;
  const uint32_t components = bitCount > 16 ? 3 : 1;
  const bool wideSource = bitCount == 16 || bitCount == 48;
  const bool knownForm = (bitCount == 8 || bitCount == 16 || bitCount == 24 || bitCount == 48) &&
                         !intl::XefIsPacked(h);
  const uint64_t width = h->biWidth > 0 ? static_cast<uint64_t>(h->biWidth) : 0;
  const uint64_t height = static_cast<uint64_t>(h->biHeight < 0 ? -int64_t{h->biHeight} : h->biHeight);
  const uint64_t perRow = width * components;
  const uint64_t n = perRow * height;
  // Samples of one byte hold 8 bits, whatever the header's level count says.
  const uint32_t depth = wideSource ? intl::XefEffectiveBits(h) : 8;
  const uint32_t method = (o.DpxFlags & kDpxPackingMask) >> kDpxPackingShift;
  // Log samples need more than 8 bits to come from; an image of 10 bits
  // already has what the 10-bit request asks.
  const bool log = (o.DpxFlags & kDpxLog) && wideSource;
  const bool to10 = !log && (o.DpxFlags & kDpxTo10Bit) && h->biClrImportant != 1024;

  Header hd{};
  Put32(hd, kAtMagic, kMagic);
  Put32(hd, kAtImageOffset, kDpxDataOffset);
  std::memcpy(hd.data() + kAtVersion, "V2.0", 5);
  Put32(hd, kAtDittoKey, 1);
  Put32(hd, kAtGenericSize, kGenericSize);
  Put32(hd, kAtIndustrySize, kIndustrySize);
  Put32(hd, kAtUserSize, kUserSize);
  Put32(hd, kAtEncryptionKey, 0xFFFFFFFFu);
  Put16(hd, kAtElementCount, 1);
  hd[kAtDescriptor] = components == 3 ? kDescriptorRgb : kDescriptorLuma;
  hd[kAtTransfer] = log ? kTransferPrintingDensity : kTransferLinear;
  Put16(hd, kAtPacking, static_cast<uint16_t>(method));
  Put32(hd, kAtElementDataOffset, kDpxDataOffset);
  Put32(hd, kAtTimeCode, static_cast<uint32_t>(timeCode));
  Put32(hd, kAtUserBits, static_cast<uint32_t>(timeCode >> 32));

  // The sample depth written: log and the 10-bit request give 10, a 14-bit
  // source is written as 16.
  const uint32_t outDepth = log || to10 ? 10 : depth == 14 ? 16 : depth;
  if (!knownForm || (!log && !to10 && depth != 8 && depth != 10 && depth != 12 && depth != 14 && depth != 16))
    status = kDpxBadDepth;
  // The file size field holds 32 bits.
  if (status == 0 && (n > 0xFFFFFFFFull || PackedBytes(outDepth, method, n) + kDpxDataOffset > 0xFFFFFFFFull))
    status = kDpxNoMemory;

  thread_local Work work;
  std::vector<uint16_t> &buf = work.samples;
  uint64_t dataSize = 0;
  if (status == 0) {
    try {
      // Room for the samples and for a packed form rounded up to whole words.
      buf.resize((std::max(2 * n, PackedBytes(outDepth, method, n)) + 7) / 8 * 4 + 2);
      if (log && (o.DpxFlags & kDpxWriteLut))
        Merge(status, WriteLutFiles(LutFileName(name, true).c_str(), LutFileName(name, false).c_str(), depth, o,
                                    true));
      const std::vector<uint16_t> &lut = log ? LinToLog(work, depth, o) : work.lut;
      // The top code value of a depth above 8 is never written.
      const uint32_t top = (1u << depth) - 1;
      const uint32_t limit = depth > 8 ? top - 1 : top;
      auto clamp = [limit](uint32_t v) { return std::min(v, limit); };
      uint8_t *bytes = reinterpret_cast<uint8_t *>(buf.data());
      if (log) {
        CopyTopDown<uint16_t>(h, pixels, perRow, buf.data(), [&](uint32_t v) { return lut[clamp(v)]; });
      } else if (to10 && depth > 10) {
        const uint32_t shift = depth - 10;
        CopyTopDown<uint16_t>(h, pixels, perRow, buf.data(), [&](uint32_t v) { return clamp(v) >> shift; });
      } else if (to10) {
        const uint32_t shift = 10 - std::min(depth, 10u);
        if (wideSource) CopyTopDown<uint16_t>(h, pixels, perRow, buf.data(), [&](uint32_t v) { return v << shift; });
        else CopyTopDown<uint8_t>(h, pixels, perRow, buf.data(), [&](uint32_t v) { return v << shift; });
      } else if (!wideSource) {
        CopyTopDown<uint8_t>(h, pixels, perRow, bytes, [](uint32_t v) { return v; });
      } else if (depth == 8) {
        CopyTopDown<uint16_t>(h, pixels, perRow, bytes, [](uint32_t v) { return std::min(v, 255u); });
      } else {
        const uint32_t scale = depth == 14 ? 4 : 1;
        CopyTopDown<uint16_t>(h, pixels, perRow, buf.data(), [&](uint32_t v) { return clamp(v) * scale; });
      }
      const int32_t packed = Pack(bytes, n, outDepth, method, &dataSize);
      Merge(status, packed);
      if (packed == 0) {
        Put32(hd, kAtPixelsPerLine, static_cast<uint32_t>(width));
        Put32(hd, kAtLinesPerElement, static_cast<uint32_t>(height));
        hd[kAtBitSize] = static_cast<uint8_t>(outDepth);
        if (o.DpxFlags & kDpxBigEndian) SwapSamples(bytes, (dataSize + 3) / 4 * 4, outDepth, method);
      } else {
        dataSize = 0;
      }
    } catch (const std::bad_alloc &) {
      Merge(status, kDpxNoMemory);
      dataSize = 0;
    }
  }
  Put32(hd, kAtFileSize, static_cast<uint32_t>(kDpxDataOffset + dataSize));
  if (o.DpxFlags & kDpxBigEndian) SwapFields(hd);
  Merge(status, WriteFile(name, hd, reinterpret_cast<const uint8_t *>(buf.data()), dataSize));
  if (status != 0 && LogOn()) con::Debprintf(" ErrCode= %d", status);
  return status;
}

namespace {

class DpxWriter final : public ImageWriter {
 public:
  int32_t Open(const OutputDescription &d) override {
    const SavingOptions &o = *d.Options;
    options_ = {o.DpxFlags, o.DpxRefWhite, o.DpxRefBlack, o.DpxGamma, o.DpxFilmGamma, o.DpxSoftClip};
    return 0;
  }
  int32_t Write(const OutputImage &image) override {
    int32_t status = WriteDpxImage(image.FileName, intl::AsBmih(image.Header), image.Pixels, image.TimeCode, options_);
    options_.DpxFlags &= ~kDpxWriteLut;
    return status;
  }
  int32_t Close(bool) override { return 0; }

 private:
  DpxOptions options_;
};

}  // namespace

WriterPtr MakeDpxWriter(int16_t) { return NewWriter<DpxWriter>(); }

}  // namespace xe
