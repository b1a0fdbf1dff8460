// The TIFF files of the library as other readers see them: libtiff's
// tiffinfo and the tifffile module of Python. A test whose
// tool is not installed is skipped.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fixtures/cine_builder.h"
#include "formats/tiff/tiff.h"
#include "support/bitmap.h"
#include "support/shell.h"
#include "xefile/xefile.h"

using namespace xe;

namespace {

using testsupport::Has;
using testsupport::Shell;

// A Python that has tifffile, or "".
std::string Python() {
  for (const char *py : {"python3", "/usr/bin/python3"})
    if (Shell(std::string(py) + " -c 'import tifffile; print(\"ok\")'").find("ok") == 0) return py;
  return "";
}

// Shape, type and samples of every page, one line for each page:
// "(3, 5) uint8 1 2 3 ...".
std::string Pages(const std::string &py, const std::string &file) {
  return Shell(py +
               " -c 'import sys, tifffile\n"
               "with tifffile.TiffFile(sys.argv[1]) as t:\n"
               "  for p in t.pages:\n"
               "    a = p.asarray()\n"
               "    print(a.shape, a.dtype, *a.ravel().tolist())' " +
               file);
}

struct Image {
  BitmapInfoHeader h;
  std::vector<uint8_t> px;
  // Samples 1, 2, 3 ... in picture order (top row first), times `scale`.
  Image(int32_t w, int32_t rows, uint16_t bits, uint32_t scale)
      : h(testsupport::Bitmap(w, rows, bits, 0, 0x10000)) {
    h.biXPelsPerMeter = h.biYPelsPerMeter = 5000;  // 127 per inch
    const uint32_t samplesPerRow = w * (bits == 24 || bits == 48 ? 3 : 1);
    const uint32_t bytes = bits == 16 || bits == 48 ? 2 : 1;
    const uint32_t stride = (samplesPerRow * bytes + 3) / 4 * 4;
    px.assign(stride * rows, 0);
    for (int32_t r = 0; r < rows; ++r)
      for (uint32_t i = 0; i < samplesPerRow; ++i) {
        uint32_t v = (r * samplesPerRow + i + 1) * scale;
        std::memcpy(&px[stride * (rows - 1 - r) + bytes * i], &v, bytes);
      }
  }
};

// The samples a reader gives back: red first, so each pixel's samples
// reversed against the bitmap's.
std::string Expected(uint32_t count, uint32_t samples, uint32_t scale) {
  std::string s;
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t within = i % samples;
    uint32_t v = (i - within + (samples - 1 - within) + 1) * scale;
    s += " " + std::to_string(v);
  }
  return s;
}

TEST(TiffInterop, SingleFilesReadWithTheirDepthAndSamples) {
  const bool info = Has("tiffinfo");
  const std::string py = Python();
  if (!info && py.empty()) GTEST_SKIP() << "neither tiffinfo nor tifffile";
  struct Case {
    int16_t type;
    uint16_t bits;
    uint32_t scale;
    const char *bitsText, *samplesText, *python;
  } cases[] = {
      {-8, 8, 1, "Bits/Sample: 8", "Samples/Pixel: 1", "(3, 5) uint8"},
      {-8, 24, 1, "Bits/Sample: 8", "Samples/Pixel: 3", "(3, 5, 3) uint8"},
      {-10, 16, 1000, "Bits/Sample: 16", "Samples/Pixel: 1", "(3, 5) uint16"},
      {-10, 48, 300, "Bits/Sample: 16", "Samples/Pixel: 3", "(3, 5, 3) uint16"},
      {-9, 16, 16, "Bits/Sample: 12", "Samples/Pixel: 1", nullptr},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.type * 100 - c.bits);
    Image im(c.type == -9 ? 4 : 5, 3, c.bits, c.scale);
    fixture::TempFile out(".tif");
    Time64 t{0, 1700000000};
    ASSERT_EQ(WriteTiffFile(out.c_str(), c.type, &im.h, &t, im.px.data()), 0);
    if (info) {
      std::string text = Shell("tiffinfo " + out.path());
      const std::string size = c.type == -9 ? "Image Width: 4 Image Length: 3" : "Image Width: 5 Image Length: 3";
      for (const std::string &part : {size, std::string(c.bitsText), std::string(c.samplesText),
                                     std::string("Resolution: 127, 127 pixels/inch")})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    }
    if (!py.empty() && c.python) {
      const uint32_t samples = c.bits == 24 || c.bits == 48 ? 3 : 1;
      EXPECT_EQ(Pages(py, out.path()), c.python + Expected(15 * samples, samples, c.scale) + "\n");
    }
  }
}

}  // namespace
