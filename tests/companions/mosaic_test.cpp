// Raw image steps: white balance and cross-talk on mosaics, level stretch,
// shifts, bad pixels and the channel view.
#include "companions/int/mosaic.h"

#include <gtest/gtest.h>

#include "companions/sample_image.h"

#include <cmath>
#include <tuple>
#include <vector>

#include "companions/int/dib.h"
#include "xefile/xefile_status.h"

namespace {

using namespace xe::intl;

// The filter patterns as the camera documentation draws them, picture rows
// top first; written out here rather than taken from the library.
const char *const kPatterns[5][2] = {
    {"GGGG", "GGGG"}, {"GBRG", "RGGB"}, {"BGGR", "GRBG"}, {"GBGB", "RGRG"}, {"RGRG", "GBGB"}};
char SiteColour(uint32_t code, uint32_t x, uint32_t y) { return kPatterns[code][y & 1][x & 3]; }

using companiontest::Image;

// ---- White balance -----------------------------------------------------------

TEST(WhiteBalance, GrayImagesAndGainsOfOneStayBitIdentical) {
  Image img(7, 5, 16, 4096);
  img.FillRandom(1, 65535);  // samples above the 12-bit top included
  const std::vector<uint8_t> before = img.px;
  const float strong[2] = {2.0f, 0.5f};
  EXPECT_EQ(XeWBAdjustUnint(&img.h, img.P(), 0, strong), XE_OK);
  EXPECT_EQ(XeWBAdjustUnint(&img.h, img.P(), 9, strong), XE_OK);  // unknown code: gray
  EXPECT_EQ(img.px, before);
}

// A gain of 0 is a usable gain, not a missing one: its sites go dark.
TEST(WhiteBalance, EachPatternInPictureCoordinatesWhateverTheHeight) {
  const float gainPairs[2][2] = {{1.5f, 0.5f}, {0.0f, 2.0f}};
  for (const float *gains : gainPairs)
    for (uint32_t code = 1; code <= 4; ++code)
      for (int32_t height : {1, 2, 3, 4})
        for (int32_t width : {4, 5}) {
          SCOPED_TRACE(::testing::Message() << "code " << code << " " << width << "x" << height);
          Image img(width, height, 8);
          img.Fill([](uint32_t, uint32_t, uint32_t) { return 100u; });
          ASSERT_EQ(XeWBAdjustUnint(&img.h, img.P(), 0x100 | code, gains), XE_OK);
          for (uint32_t y = 0; y < img.H(); ++y)
            for (uint32_t x = 0; x < img.W(); ++x) {
              const char c = SiteColour(code, x, y);
              const float gain = c == 'R' ? gains[0] : c == 'B' ? gains[1] : 1.0f;
              EXPECT_EQ(img.Get(x, y), static_cast<uint32_t>(100 * gain)) << x << "," << y;
            }
        }
}

TEST(WhiteBalance, RoundsAndSaturatesAtTheTopOfTheDepth) {
  Image twelve(2, 2, 16, 4096);  // code 4: R G / G B
  twelve.Fill([](uint32_t x, uint32_t y, uint32_t) { return x == y ? 3000u : 4000u; });
  const float gains[2] = {2.0f, 0.25f};
  ASSERT_EQ(XeWBAdjustUnint(&twelve.h, twelve.P(), 4, gains), XE_OK);
  // Red 6000 limited to 12 bits, blue, green.
  EXPECT_EQ(std::tuple(twelve.Get(0, 0), twelve.Get(1, 1), twelve.Get(1, 0)), std::tuple(4095u, 750u, 4000u));

  Image eight(2, 2, 8);
  eight.Fill([](uint32_t x, uint32_t y, uint32_t) { return x == 0 && y == 0 ? 200u : 3u; });
  const float half[2] = {2.0f, 0.5f};
  ASSERT_EQ(XeWBAdjustUnint(&eight.h, eight.P(), 4, half), XE_OK);
  EXPECT_EQ(std::tuple(eight.Get(0, 0), eight.Get(1, 1)), std::tuple(255u, 2u));  // 1.5 rounds up

  const std::vector<uint8_t> before = eight.px;
  const float negative[2] = {-1.0f, 1.0f}, notANumber[2] = {1.0f, std::nanf("")};
  EXPECT_EQ(XeWBAdjustUnint(&eight.h, eight.P(), 4, negative), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeWBAdjustUnint(&eight.h, eight.P(), 4, notANumber), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeWBAdjustUnint(&eight.h, eight.P(), 4, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(eight.px, before);
}

// ---- Cross-talk ----------------------------------------------------------------

TEST(CrossTalk, WholeImageFollowsTheModelAcrossBands) {
  // Against the model computed directly from an untouched copy: a step that
  // read a neighbour it had already corrected (at a band edge, say) is off
  // by far more than rounding.
  for (uint32_t code : {1u, 4u}) {
    Image img(37, 203, 16, 16384);
    img.FillRandom(3 + code, 16383);
    Image orig = img;
    ASSERT_EQ(XefCompCT(&img.h, img.P(), code, 300), XE_OK);
    const double k = 0.3;
    for (uint32_t y = 0; y < img.H(); ++y)
      for (uint32_t x = 0; x < img.W(); ++x) {
        double sum = 0;
        int n = 0;
        const int dx[4] = {-1, 1, 0, 0}, dy[4] = {0, 0, -1, 1};
        for (int i = 0; i < 4; ++i) {
          const int nx = int(x) + dx[i], ny = int(y) + dy[i];
          if (nx < 0 || ny < 0 || nx >= int(img.W()) || ny >= int(img.H())) continue;
          // Neighbours of the site's own colour (adjacent greens of the wide
          // patterns) do not count.
          if (SiteColour(code, nx, ny) == SiteColour(code, x, y)) continue;
          sum += orig.Get(nx, ny);
          ++n;
        }
        const double t = (orig.Get(x, y) - k * sum / n) / (1 - k);
        const double expected = std::min(std::max(t, 0.0), 16383.0);
        ASSERT_NEAR(img.Get(x, y), expected, 0.51) << x << "," << y;
      }
  }
}

// ---- Levels and shifts --------------------------------------------------------------

TEST(Levels, BlackGoesToZeroAndWhiteToTheTop) {
  Image img(5, 1, 16, 4096);
  const uint32_t in[5] = {50, 100, 1100, 2100, 3000};
  img.Fill([&](uint32_t x, uint32_t, uint32_t) { return in[x]; });
  // Only the low 16 bits of the levels count.
  ASSERT_EQ(XeAdjustToMaxLevels(&img.h, img.P(), 0x10000 + 100, 2100), XE_OK);
  const uint32_t out[5] = {0, 0, 2048, 4095, 4095};
  for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(img.Get(x, 0), out[x]) << x;

  // White not above black is refused and leaves the image.
  const std::vector<uint8_t> before = img.px;
  for (auto [black, white] : {std::pair(500, 500), std::pair(600, 500), std::pair(0, 0x10000)})
    EXPECT_EQ(XeAdjustToMaxLevels(&img.h, img.P(), black, white), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(img.px, before);
}

TEST(Shift, LeftThenRightRestoresAndLeftSaturates) {
  Image img(5, 3, 48, 4096);
  img.FillRandom(6, 4095);
  const std::vector<uint8_t> before = img.px;
  ASSERT_EQ(XefShiftPixar(&img.h, 4, img.P()), XE_OK);
  EXPECT_EQ(img.Get(2, 1, 1) & 15u, 0u);
  ASSERT_EQ(XefShiftPixar(&img.h, -4, img.P()), XE_OK);
  EXPECT_EQ(img.px, before);

  Image big(3, 1, 16);
  const uint32_t in[3] = {0xF000, 0x0FFF, 0x8001};
  big.Fill([&](uint32_t x, uint32_t, uint32_t) { return in[x]; });
  ASSERT_EQ(XefShiftPixar(&big.h, 4, big.P()), XE_OK);
  EXPECT_EQ(std::tuple(big.Get(0, 0), big.Get(1, 0), big.Get(2, 0)), std::tuple(65535u, 0xFFF0u, 65535u));
  ASSERT_EQ(XefShiftPixar(&big.h, -20, big.P()), XE_OK);
  EXPECT_EQ(big.Get(0, 0), 0u);

  Image eight(3, 3, 8);
  EXPECT_EQ(XefShiftPixar(&eight.h, 2, eight.P()), XE_ERR_NOT_SUPPORTED);
}

// ---- Bad pixels ----------------------------------------------------------------------

// Each colour of the mosaic on its own level; gray 500.
uint32_t FlatLevel(uint32_t code, uint32_t x, uint32_t y) {
  if (code == 0) return 500;
  const char c = SiteColour(code, x, y);
  return c == 'R' ? 300 : c == 'B' ? 700 : 500;
}

TEST(BadPixels, HotPixelsAndPairsTakeTheirColoursFlatValue) {
  for (uint32_t code = 0; code <= 4; ++code)
    for (bool pair : {false, true}) {
      SCOPED_TRACE(::testing::Message() << "code " << code << (pair ? " pair" : " single"));
      Image img(7, 6, 16);
      img.Fill([&](uint32_t x, uint32_t y, uint32_t) { return FlatLevel(code, x, y); });
      const Image flat = img;
      std::vector<uint32_t> table = {BadPixelEntry(3, 2), BadPixelEntry(0, 5)};
      if (pair) table.push_back(BadPixelEntry(4, 2));
      for (uint32_t e : table) img.Set(BadPixelX(e), BadPixelY(e), 4000);
      ASSERT_EQ(XefRepairPix(&img.h, code, static_cast<uint32_t>(table.size()), table.data(), img.P()), XE_OK);
      EXPECT_EQ(img.px, flat.px);
    }
}

TEST(BadPixels, GrayTakesTheMeanOfItsGoodNeighbours) {
  Image img(5, 5, 8);
  img.Fill([](uint32_t x, uint32_t y, uint32_t) { return 10 * x + 40 * y; });
  img.Set(2, 2, 255);
  img.Set(3, 2, 255);
  // Out-of-image entries are ignored, repeats do not matter.
  const uint32_t table[] = {BadPixelEntry(3, 2), BadPixelEntry(7, 1), BadPixelEntry(2, 2),
                            BadPixelEntry(1, 9), BadPixelEntry(3, 2)};
  ASSERT_EQ(XefRepairPix(&img.h, 0, 5, table, img.P()), XE_OK);
  // Each from its seven good neighbours, the other bad pixel left out:
  // (2,2): (130 + 560) / 7 = 98.6; (3,2): (220 + 560) / 7 = 111.4.
  EXPECT_EQ(std::tuple(img.Get(2, 2), img.Get(3, 2), img.Get(4, 4)), std::tuple(99u, 111u, 200u));
}

// ---- Channel view --------------------------------------------------------------------

// Samples are 10 * y + x. Each pair of columns and of rows parts into its two
// sites; an odd last column or row stays where it is. Joining restores.
TEST(ChannelView, SitesOfAColourComeTogetherAndJoinBack) {
  const std::vector<uint32_t> fourByFour = {0, 2, 1, 3, 20, 22, 21, 23, 10, 12, 11, 13, 30, 32, 31, 33};
  const std::vector<uint32_t> fiveByThree = {0, 2, 1, 3, 4, 10, 12, 11, 13, 14, 20, 21, 22, 23, 24};
  for (const auto &[w, h, bits, expected] :
       {std::tuple(4, 4, 16, fourByFour), std::tuple(5, 3, 8, fiveByThree)}) {
    Image img(w, h, static_cast<uint16_t>(bits));
    img.Fill([](uint32_t x, uint32_t y, uint32_t) { return 10 * y + x; });
    const std::vector<uint8_t> before = img.px;
    ASSERT_EQ(XefSeparateChannels(&img.h, img.P(), 0, kSeparateChannels), XE_OK);
    std::vector<uint32_t> got;
    for (uint32_t y = 0; y < img.H(); ++y)
      for (uint32_t x = 0; x < img.W(); ++x) got.push_back(img.Get(x, y));
    EXPECT_EQ(got, expected);
    ASSERT_EQ(XefSeparateChannels(&img.h, img.P(), 0, kJoinChannels), XE_OK);
    EXPECT_EQ(img.px, before);
    EXPECT_EQ(XefSeparateChannels(&img.h, img.P(), 0, 7), XE_ERR_NOT_SUPPORTED);
  }
}

// ---- Every step: bad input and small sizes -------------------------------------

// Runs every step once on the image with fixed arguments.
std::vector<int32_t> RunAll(Image &img, uint32_t cfa) {
  const float gains[2] = {1.7f, 0.6f};
  std::vector<uint32_t> table;
  for (uint32_t i = 0; i < 700; ++i) table.push_back(BadPixelEntry((i * 37) % 601, (i * 53) % 307));
  return {XeWBAdjustUnint(&img.h, img.P(), cfa, gains),
          XefCompCT(&img.h, img.P(), cfa, 250),
          XeAdjustToMaxLevels(&img.h, img.P(), 30, 3000),
          XefShiftPixar(&img.h, 1, img.P()),
          XefRepairPix(&img.h, cfa, static_cast<uint32_t>(table.size()), table.data(), img.P()),
          XefSeparateChannels(&img.h, img.P(), 0, kSeparateChannels),
          XefShowBadPixels(&img.h, static_cast<uint32_t>(table.size()), table.data(), img.P())};
}

TEST(MosaicSteps, SmallAndOddSizesStayInsideTheImage) {
  for (uint16_t bits : {8, 16, 24, 48})
    for (int32_t w : {0, 1, 2, 3, 5})
      for (int32_t h : {0, 1, 2, 3, 5})
        for (uint32_t cfa : {0u, 1u, 2u, 3u, 4u}) {
          Image img(w, h, bits);
          img.FillRandom(w * 31 + h, 255);
          RunAll(img, cfa);  // the sanitizers watch the buffer of exactly the image's size
          const uint32_t row = XefMemWidth(&img.h), used = static_cast<uint32_t>(w) * bits / 8;
          for (uint32_t r = 0; r < img.H(); ++r)
            for (uint32_t b = used; b < row; ++b) ASSERT_EQ(img.px[r * row + b], 0xCD) << "padding";
        }
}

TEST(MosaicSteps, RefuseWhatTheyDoNotHandleAndLeaveTheImage) {
  for (uint16_t bits : {1, 4, 32}) {
    Image img(4, 4, 8);
    img.h.biBitCount = bits;
    img.px.assign(64, 0x5A);
    const std::vector<int32_t> results = RunAll(img, 4);
    for (int32_t r : results) EXPECT_EQ(r, XE_ERR_NOT_SUPPORTED) << bits;
    EXPECT_EQ(img.px, std::vector<uint8_t>(64, 0x5A));
  }
  Image packed(4, 4, 16);
  packed.h.biCompression = kPackedCompression;
  for (int32_t r : RunAll(packed, 4)) EXPECT_EQ(r, XE_ERR_NOT_SUPPORTED);
  // Per bit count, which steps take colour images.
  Image colour(4, 4, 48);
  const std::vector<int32_t> expected = {XE_ERR_NOT_SUPPORTED, XE_ERR_NOT_SUPPORTED, XE_OK, XE_OK,
                                         XE_OK, XE_ERR_NOT_SUPPORTED, XE_OK};
  EXPECT_EQ(RunAll(colour, 4), expected);

  BitmapInfoHeader h = packed.h;
  const float gains[2] = {1, 1};
  uint32_t entry = 0;
  EXPECT_EQ(XeWBAdjustUnint(nullptr, packed.P(), 4, gains), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefCompCT(&h, nullptr, 4, 10), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeAdjustToMaxLevels(nullptr, packed.P(), 0, 10), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefShiftPixar(&h, 1, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefRepairPix(&h, 4, 1, &entry, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefShowBadPixels(nullptr, 1, &entry, packed.P()), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefSeparateChannels(&h, nullptr, 0, 1), XE_ERR_NULL_ARGUMENT);
}

}  // namespace
