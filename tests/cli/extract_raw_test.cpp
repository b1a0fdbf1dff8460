// The sample values extract writes: raw images as stored (PNM maxval and
// TIFF SMaxSampleValue at the top of the stored depth), and processed images
// whose PPM and TIFF files agree even where interpolation overshoots white.
#include <algorithm>
#include <cstdlib>
#include <tuple>

#include "cli_support.h"

namespace clitest {
namespace {

TEST_F(CliTest, RawImagesKeepTheStoredValuesInPgmAndTiff) {
  const std::string file = Recording(Path("rec.cine"));
  ASSERT_EQ(Tool({"extract", file, "-i", "1", "--raw", "-o", Path("r.pgm")}).code, 0);
  ASSERT_EQ(Tool({"extract", file, "-i", "1", "--raw", "-o", Path("r.tif")}).code, 0);
  EXPECT_EQ(ReadText(Path("r.pgm")).substr(0, 13), "P5\n16 8\n4095\n");
  const std::vector<uint16_t> pgm = PnmSamples(ReadText(Path("r.pgm")));
  const std::string tif = ReadText(Path("r.tif"));
  EXPECT_EQ(TiffTag(tif, 258), 16u);
  EXPECT_EQ(TiffTag(tif, 341) & 0xFFFF, 4095u);  // SMaxSampleValue
  EXPECT_EQ(TiffSamples(tif), pgm);

  // The values the library delivers for the stored image, in any order.
  std::vector<uint16_t> stored = StoredSamples(file, 1), written = pgm;
  std::sort(stored.begin(), stored.end());
  std::sort(written.begin(), written.end());
  EXPECT_EQ(written, stored);
}

TEST_F(CliTest, ProcessedTiffAndPpmAgreeAtEdgesBrighterThanWhite) {
  // A 12-bit colour mosaic of white and black halves: sharpening
  // interpolation overshoots white at the edge.
  fixture::CineBuilder b = ColourMosaic(32, 16);
  Payload pixels;
  for (uint32_t i = 0; i < 32 * 16; ++i) pixels.U16(i % 32 < 16 ? 4095 : 100);
  const std::string file = Path("edge.cine");
  WriteBytes(file, b.Images(0, 1).ImagePayload(0, pixels).Build());
  for (const char *algo : {"Medium", "Good", "Best"}) {
    ASSERT_EQ(Tool({"extract", file, "-i", "0", "--demosaic", algo, "-o", Path("e.ppm")}).code, 0) << algo;
    ASSERT_EQ(Tool({"extract", file, "-i", "0", "--demosaic", algo, "-o", Path("e.tif")}).code, 0) << algo;
    const std::vector<uint16_t> ppm = PnmSamples(ReadText(Path("e.ppm")));
    const std::string tif = ReadText(Path("e.tif"));
    EXPECT_EQ(std::tuple(TiffTag(tif, 256), TiffTag(tif, 257)), std::tuple(32u, 16u)) << algo;
    const std::vector<uint16_t> samples = TiffSamples(tif);
    ASSERT_EQ(ppm.size(), samples.size()) << algo;
    // The TIFF scales by 16, the PPM by 65535 / 4095: they differ by rounding only.
    for (size_t i = 0; i < ppm.size(); ++i)
      ASSERT_LE(std::abs(int(ppm[i]) - int(samples[i])), 15) << algo << " " << i;
  }
}

}  // namespace
}  // namespace clitest
