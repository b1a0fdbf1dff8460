// The sample values extract writes: raw images as stored (PNM maxval and
// TIFF SMaxSampleValue at the top of the stored depth), and processed images
// whose PPM and TIFF files agree even where interpolation overshoots white.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "cli_support.h"

namespace clitest {
namespace {

uint32_t U16(const std::string &b, size_t at) {
  return static_cast<uint8_t>(b[at]) | static_cast<uint32_t>(static_cast<uint8_t>(b[at + 1])) << 8;
}
uint32_t U32(const std::string &b, size_t at) { return U16(b, at) | U16(b, at + 2) << 16; }

// The value (or offset) of a tag of the first directory of a TIFF.
uint32_t TiffTag(const std::string &b, uint16_t tag) {
  const uint32_t ifd = U32(b, 4);
  for (uint32_t k = 0; k < U16(b, ifd); ++k)
    if (U16(b, ifd + 2 + 12 * k) == tag) return U32(b, ifd + 2 + 12 * k + 8);
  ADD_FAILURE() << "no tag " << tag;
  return 0;
}

// The 16-bit samples of a single-strip TIFF, in file order.
std::vector<uint16_t> TiffSamples(const std::string &b) {
  const uint32_t at = TiffTag(b, 273), bytes = TiffTag(b, 279);
  std::vector<uint16_t> v;
  for (uint32_t i = 0; i + 1 < bytes && at + i + 1 < b.size(); i += 2) v.push_back(static_cast<uint16_t>(U16(b, at + i)));
  return v;
}

// The samples of a 16-bit PNM after its three-line head, and its maxval.
std::vector<uint16_t> PnmSamples(const std::string &b, uint32_t *maxval) {
  size_t at = 0;
  for (int line = 0; line < 3; ++line) at = b.find('\n', at) + 1;
  *maxval = static_cast<uint32_t>(std::stoul(b.substr(b.rfind('\n', at - 2) + 1)));
  std::vector<uint16_t> v;
  for (size_t i = at; i + 1 < b.size(); i += 2)
    v.push_back(static_cast<uint16_t>(static_cast<uint8_t>(b[i]) << 8 | static_cast<uint8_t>(b[i + 1])));
  return v;
}

TEST_F(CliTest, RawImagesKeepTheStoredValuesInPgmAndTiff) {
  const std::string file = Recording(Path("rec.cine"));
  ASSERT_EQ(Tool({"extract", file, "-i", "1", "--raw", "-o", Path("r.pgm")}).code, 0);
  ASSERT_EQ(Tool({"extract", file, "-i", "1", "--raw", "-o", Path("r.tif")}).code, 0);
  uint32_t maxval = 0;
  const std::vector<uint16_t> pgm = PnmSamples(ReadText(Path("r.pgm")), &maxval);
  const std::string tif = ReadText(Path("r.tif"));
  EXPECT_EQ(maxval, 4095u);
  EXPECT_EQ(TiffTag(tif, 258), 16u);
  EXPECT_EQ(TiffTag(tif, 341) & 0xFFFF, 4095u);  // SMaxSampleValue
  EXPECT_EQ(TiffSamples(tif), pgm);

  // The values the library delivers for the stored image, in any order.
  Opened c(file);
  ASSERT_EQ(XeSetUseCase(c.h, 3), 0);
  std::vector<uint8_t> px(c.Get(CIS_MaxImageSizeColor));
  ImageRange r{1, 1};
  ImageHeader h{};
  ASSERT_EQ(XeGetCineImage(c.h, &r, px.data(), static_cast<uint32_t>(px.size()), &h), 0);
  std::vector<uint16_t> stored(16 * 8), written = pgm;
  std::memcpy(stored.data(), px.data(), stored.size() * 2);
  std::sort(stored.begin(), stored.end());
  std::sort(written.begin(), written.end());
  EXPECT_EQ(written, stored);
}

TEST_F(CliTest, ProcessedTiffAndPpmAgreeAtEdgesBrighterThanWhite) {
  // A 12-bit colour mosaic of white and black halves: sharpening
  // interpolation overshoots white at the edge.
  fixture::CineBuilder b;
  b.Compression(2).Image(32, 16, 16, 0, 4096).Images(0, 1);
  b.setup().SetU32(su::kCFA, 1).SetU32(su::kEnableColor, 1).SetU32(su::kRealBPP, 12)
      .SetU32(su::kWhiteLevel, 4095).SetF32(su::kfGain, 1.0f).SetF32(su::kfSaturation, 1.0f)
      .SetF32(su::kfGamma, 1.0f).SetF32(su::kWBView, 1.0f).SetF32(su::kWBView + 4, 1.0f);
  Payload pixels;
  for (uint32_t i = 0; i < 32 * 16; ++i) pixels.U16(i % 32 < 16 ? 4095 : 100);
  b.ImagePayload(0, pixels);
  const Bytes bytes = b.Build();
  const std::string file = Path("edge.cine");
  std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char *>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
  for (const char *algo : {"Medium", "Good", "Best"}) {
    ASSERT_EQ(Tool({"extract", file, "-i", "0", "--demosaic", algo, "-o", Path("e.ppm")}).code, 0) << algo;
    ASSERT_EQ(Tool({"extract", file, "-i", "0", "--demosaic", algo, "-o", Path("e.tif")}).code, 0) << algo;
    uint32_t maxval = 0;
    const std::vector<uint16_t> ppm = PnmSamples(ReadText(Path("e.ppm")), &maxval);
    const std::vector<uint16_t> tif = TiffSamples(ReadText(Path("e.tif")));
    ASSERT_EQ(ppm.size(), tif.size()) << algo;
    // The TIFF scales by 16, the PPM by 65535 / 4095: they differ by rounding only.
    for (size_t i = 0; i < ppm.size(); ++i) ASSERT_LE(std::abs(int(ppm[i]) - int(tif[i])), 15) << algo << " " << i;
  }
}

}  // namespace
}  // namespace clitest
