// One delivered image to a PGM/PPM file or a baseline TIFF file, top row
// first, red first, samples of more than 8 bits scaled to 16 bits; or, for
// stored (raw) images, the samples as they are with the file's largest value
// at the top of their depth.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "tool.h"

namespace xetool {
namespace {

enum class Format { kNone, kPgm, kPpm, kPnm, kTiff };

Format FormatOf(const std::string &path) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return Format::kNone;
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ext == "pgm") return Format::kPgm;
  if (ext == "ppm") return Format::kPpm;
  if (ext == "pnm") return Format::kPnm;
  if (ext == "tif" || ext == "tiff") return Format::kTiff;
  return Format::kNone;
}

// The delivered image read as rows of samples, top row first, red first.
class ImageRows {
 public:
  ImageRows(const ImageHeader &h, const uint8_t *pixels, bool topDown, bool stored = false)
      : h_(h), pixels_(pixels), topDown_(topDown), stored_(stored) {
    const unsigned bits = h.biBitCount;
    channels_ = (bits == 24 || bits == 48) ? 3 : 1;
    sampleBytes_ = (bits == 16 || bits == 48) ? 2 : 1;
    width_ = static_cast<uint32_t>(std::abs(static_cast<int64_t>(h.biWidth)));
    height_ = static_cast<uint32_t>(std::abs(static_cast<int64_t>(h.biHeight)));
    stride_ = (uint64_t{width_} * bits + 31) / 32 * 4;
    top_ = SampleTop();
    maxval_ = sampleBytes_ == 1 ? 255 : stored_ ? StoredTop() : 65535;
  }
  static bool Supported(unsigned bits) { return bits == 8 || bits == 16 || bits == 24 || bits == 48; }

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }
  uint32_t channels() const { return channels_; }
  uint32_t outBytes() const { return sampleBytes_; }
  // The largest value written: 255, 65535, or for stored samples the top
  // of their depth (4095 for 12 bits).
  uint32_t maxval() const { return maxval_; }
  uint64_t rowSamples() const { return uint64_t{width_} * channels_; }

  // Row y of the picture (0 the top) into `out`, rowSamples() values.
  void Row(uint32_t y, uint16_t *out) const {
    const uint32_t row = topDown_ ? y : height_ - 1 - y;
    const uint8_t *p = pixels_ + stride_ * row;
    for (uint32_t x = 0; x < width_; ++x)
      for (uint32_t c = 0; c < channels_; ++c) {
        // Colour pixels are blue, green, red in memory.
        const uint32_t from = channels_ == 3 ? 2 - c : c;
        const uint8_t *q = p + (uint64_t{x} * channels_ + from) * sampleBytes_;
        const uint32_t v = sampleBytes_ == 2 ? uint32_t{q[0]} | uint32_t{q[1]} << 8 : q[0];
        out[uint64_t{x} * channels_ + c] = Scale(v);
      }
  }

 private:
  // The greatest value a sample can take: the white level of 16-bit images.
  uint32_t SampleTop() const {
    if (sampleBytes_ == 1) return 255;
    if (h_.WhiteLevel > 0 && h_.WhiteLevel <= 65535) return static_cast<uint32_t>(h_.WhiteLevel);
    if (h_.biClrImportant > 1 && h_.biClrImportant <= 65536) return h_.biClrImportant - 1;
    return 65535;
  }
  // 2^bits - 1 of the depth that biClrImportant gives (2^RealBPP), else 65535.
  uint32_t StoredTop() const {
    const uint32_t c = h_.biClrImportant;
    return c >= 256 && c <= 65536 && (c & (c - 1)) == 0 ? c - 1 : 65535;
  }
  uint16_t Scale(uint32_t v) const {
    if (stored_) return static_cast<uint16_t>(std::min(v, maxval_));
    const uint32_t top = top_, full = maxval();
    v = std::min(v, top);
    if (top == full) return static_cast<uint16_t>(v);
    return static_cast<uint16_t>((uint64_t{v} * full + top / 2) / top);
  }

  ImageHeader h_;
  const uint8_t *pixels_;
  bool topDown_, stored_;
  uint32_t channels_, sampleBytes_, width_, height_, top_, maxval_ = 255;
  uint64_t stride_;
};

struct FileCloser {
  void operator()(FILE *f) const { std::fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// TIFF files come from the library's own writer, which takes rows bottom-up
// as the library delivers them: a top-down image is turned over first.
void WriteTiff(const std::string &path, const ImageHeader &h, const uint8_t *pixels, bool topDown) {
  BitmapInfoHeader b{};
  std::memcpy(&b, &h, sizeof b);
  b.biSize = sizeof b;
  const uint32_t height = static_cast<uint32_t>(std::abs(static_cast<int64_t>(b.biHeight)));
  const uint64_t stride = (uint64_t{static_cast<uint32_t>(std::abs(static_cast<int64_t>(b.biWidth)))} *
                               b.biBitCount + 31) / 32 * 4;
  std::vector<uint8_t> turned;
  if (topDown) {
    turned.resize(stride * height);
    for (uint32_t y = 0; y < height; ++y)
      std::memcpy(turned.data() + stride * y, pixels + stride * (height - 1 - y), stride);
    pixels = turned.data();
  }
  const bool deep = b.biBitCount == 16 || b.biBitCount == 48;
  const int32_t status = XeSaveImageToFile(path.c_str(), &b, pixels, deep ? -10 : -8, 100, nullptr, nullptr);
  if (status < 0) Fail(path + ": cannot be written", status);
}

void PutU16(std::vector<uint8_t> &b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v));
  b.push_back(static_cast<uint8_t>(v >> 8));
}
void PutU32(std::vector<uint8_t> &b, uint32_t v) {
  PutU16(b, static_cast<uint16_t>(v));
  PutU16(b, static_cast<uint16_t>(v >> 16));
}

// The image's samples, top row first, red first, each in 1 or 2 bytes
// little-endian: the strip of a TIFF file and a frame of raw video.
void LittleEndianSamples(const ImageRows &img, std::vector<uint8_t> *out) {
  const uint64_t samples = img.rowSamples();
  out->resize(samples * img.height() * img.outBytes());
  std::vector<uint16_t> row(samples);
  uint8_t *p = out->data();
  for (uint32_t y = 0; y < img.height(); ++y) {
    img.Row(y, row.data());
    for (const uint16_t v : row) {
      *p++ = static_cast<uint8_t>(v);
      if (img.outBytes() == 2) *p++ = static_cast<uint8_t>(v >> 8);
    }
  }
}

// Stored samples to a baseline TIFF of one strip, little-endian, 8 or 16
// bits per sample as delivered, with SMaxSampleValue at the top of their
// depth, so that a reader knows a 12-bit image from a dark 16-bit one.
void WriteStoredTiff(const std::string &path, const ImageRows &img) {
  constexpr uint16_t kShort = 3, kLong = 4;
  const uint16_t spp = static_cast<uint16_t>(img.channels());
  const uint16_t bits = static_cast<uint16_t>(8 * img.outBytes());
  const uint64_t dataBytes = img.rowSamples() * img.height() * img.outBytes();
  if (dataBytes > 0xFFFF0000u) Fail(path + ": the image is too large for a TIFF file", XE_ERR_NOT_SUPPORTED);
  struct Entry { uint16_t tag, type; uint32_t count, value; };
  constexpr uint16_t kEntries = 11;
  const uint32_t ifd = 8, extra = ifd + 2 + 12 * kEntries + 4;  // BitsPerSample, SMaxSampleValue of RGB
  const uint32_t data = extra + (spp == 3 ? 12 : 0);
  const Entry entries[kEntries] = {
      {256, kLong, 1, img.width()},
      {257, kLong, 1, img.height()},
      {258, kShort, spp, spp == 3 ? extra : bits},
      {259, kShort, 1, 1},
      {262, kShort, 1, spp == 3 ? 2u : 1u},
      {273, kLong, 1, data},
      {277, kShort, 1, spp},
      {278, kLong, 1, img.height()},
      {279, kLong, 1, static_cast<uint32_t>(dataBytes)},
      {284, kShort, 1, 1},
      {341, kShort, spp, spp == 3 ? extra + 6 : img.maxval()},
  };
  std::vector<uint8_t> b{'I', 'I', 42, 0};
  PutU32(b, ifd);
  PutU16(b, kEntries);
  for (const Entry &e : entries) {
    PutU16(b, e.tag);
    PutU16(b, e.type);
    PutU32(b, e.count);
    PutU32(b, e.value);  // a single SHORT stands in the low half of the field
  }
  PutU32(b, 0);
  if (spp == 3) {
    for (int i = 0; i < 3; ++i) PutU16(b, bits);
    for (int i = 0; i < 3; ++i) PutU16(b, static_cast<uint16_t>(img.maxval()));
  }
  std::vector<uint8_t> strip;
  LittleEndianSamples(img, &strip);
  File f(std::fopen(path.c_str(), "wb"));
  if (!f) Fail(path + ": " + std::strerror(errno), XE_ERR_FILE_OPEN);
  bool ok = std::fwrite(b.data(), 1, b.size(), f.get()) == b.size() &&
            std::fwrite(strip.data(), 1, strip.size(), f.get()) == strip.size();
  if (std::fclose(f.release()) != 0) ok = false;
  if (!ok) {
    std::remove(path.c_str());
    Fail(path + ": cannot be written", XE_ERR_FILE_WRITE);
  }
}

}  // namespace

bool IsImageFileName(const std::string &path) { return FormatOf(path) != Format::kNone; }

std::string WriteImageFile(const std::string &path, const ImageHeader &h, const uint8_t *pixels,
                           bool topDown, bool stored) {
  const Format format = FormatOf(path);
  if (format == Format::kNone)
    FailWith(path + ": unknown image format (use .pgm, .ppm, .pnm, .tif or .tiff)");
  if (!ImageRows::Supported(h.biBitCount))
    Fail(path + ": images of " + std::to_string(h.biBitCount) + " bits cannot be written",
         XE_ERR_NOT_SUPPORTED);
  const ImageRows img(h, pixels, topDown, stored);
  if (format == Format::kPgm && img.channels() == 3)
    FailWith(path + ": the image is in colour; write it as .ppm, .pnm or .tif");
  // A gray image asked for as .ppm is written with three equal channels.
  const uint32_t outChannels = format == Format::kPpm ? 3 : img.channels();
  const std::string what = std::to_string(img.width()) + " x " + std::to_string(img.height()) +
                           ", " + (img.channels() == 3 ? "colour" : "gray") + ", " +
                           (stored ? "values to " + std::to_string(img.maxval()) + " as stored in "
                                   : std::string()) +
                           std::to_string(img.outBytes() * 8) + " bits per sample";
  if (format == Format::kTiff) {
    if (stored)
      WriteStoredTiff(path, img);
    else
      WriteTiff(path, h, pixels, topDown);
    return what;
  }
  File f(std::fopen(path.c_str(), "wb"));
  if (!f) Fail(path + ": " + std::strerror(errno), XE_ERR_FILE_OPEN);
  char text[64];
  std::snprintf(text, sizeof text, "%s\n%u %u\n%u\n", outChannels == 3 ? "P6" : "P5", img.width(),
                img.height(), img.maxval());
  const std::string head = text;
  bool ok = std::fwrite(head.data(), 1, head.size(), f.get()) == head.size();
  std::vector<uint16_t> row(img.rowSamples());
  std::vector<uint8_t> bytes(uint64_t{img.width()} * outChannels * img.outBytes());
  for (uint32_t y = 0; ok && y < img.height(); ++y) {
    img.Row(y, row.data());
    for (uint64_t x = 0; x < img.width(); ++x)
      for (uint32_t c = 0; c < outChannels; ++c) {
        const uint16_t v = row[x * img.channels() + (img.channels() == 3 ? c : 0)];
        const uint64_t at = (x * outChannels + c) * img.outBytes();
        if (img.outBytes() == 1) {
          bytes[at] = static_cast<uint8_t>(v);
        } else {
          bytes[at] = static_cast<uint8_t>(v >> 8);  // PNM samples are big-endian
          bytes[at + 1] = static_cast<uint8_t>(v & 0xFF);
        }
      }
    ok = std::fwrite(bytes.data(), 1, bytes.size(), f.get()) == bytes.size();
  }
  if (std::fclose(f.release()) != 0) ok = false;
  if (!ok) {
    std::remove(path.c_str());
    Fail(path + ": cannot be written", XE_ERR_FILE_WRITE);
  }
  return what;
}

uint32_t VideoFrameBytes(const ImageHeader &h, const uint8_t *pixels, bool topDown, bool stored,
                         std::vector<uint8_t> *out) {
  if (!ImageRows::Supported(h.biBitCount))
    Fail("images of " + std::to_string(h.biBitCount) + " bits cannot be written", XE_ERR_NOT_SUPPORTED);
  const ImageRows img(h, pixels, topDown, stored);
  LittleEndianSamples(img, out);
  return img.maxval();
}

}  // namespace xetool
