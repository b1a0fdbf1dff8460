// What a fetch delivers for the forms a file holds: processed colour images
// in every use case, packed 10-bit images through the unpack and repack
// steps, the demosaic id "None", and the integer mirrors of the tone floats.
#include <gtest/gtest.h>

#include <cstring>

#include "cinefile/cine_test_support.h"
#include "companions/int/packing.h"
#include "processing/chain_steps.h"
#include "processing/use_case.h"
#include "support/bitmap.h"
#include "support/log_to_file.h"
#include "xefile/xefile_selectors.h"

using namespace fixture;
using cinetest::Opened;

namespace {

// Fetches image 0 into a buffer of the cine's colour bound; checks that the
// header delivered is the one the chain announces, but for the white level,
// which goes to `announcedWhite` when asked for.
Bytes Fetch(CineHandle c, ImageHeader *h, int32_t *announcedWhite = nullptr) {
  Bytes px(XevGetCineInfo(c, CIS_MaxImageSizeColor), 0xEE);
  ImageRange r{0, 1};
  EXPECT_EQ(XeGetCineImage(c, &r, px.data(), static_cast<uint32_t>(px.size()), h), 0);
  ImageHeader announced{};
  EXPECT_EQ(XeGetCineInfo(c, CIS_ProcessedHeader, &announced), 0);
  if (announcedWhite) {
    *announcedWhite = announced.WhiteLevel;
    announced.WhiteLevel = h->WhiteLevel;
  }
  EXPECT_EQ(std::memcmp(&announced, h, sizeof *h), 0) << "announced header";
  return px;
}

// The pixel bytes of memory row r, without the row's padding.
Bytes Row(const Bytes &px, int32_t r, uint32_t stride, uint32_t used) {
  return Bytes(px.begin() + r * stride, px.begin() + r * stride + used);
}

// A processed colour file (Compression 0) of 24 or 48 bits: the chain neither
// demosaics nor reduces it; only the view turns its rows top-down.
TEST(ProcessedColour, EveryUseCaseDeliversTheStoredColourImage) {
  for (uint16_t bits : {24, 48}) {
    const int32_t w = 6, h = 5;
    CineBuilder b;
    b.Compression(0).Images(0, 1).Image(w, h, bits, 0, bits == 48 ? 4096 : 0);
    b.setup().SetU32(setup::kCFA, 3).SetU32(setup::kRealBPP, bits == 48 ? 12 : 8);
    Bytes stored = PixelBytes(0, ImageBytes(w, h, bits, 0));
    if (bits == 48)  // samples within 12 bits, so that no level stretch is due
      for (size_t i = 1; i < stored.size(); i += 2) stored[i] &= 0x0F;
    b.ImagePayload(0, stored);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    const uint32_t stride = ImageBytes(w, 1, bits, 0);
    struct Case { uint32_t useCase; bool topDown; };
    // Use case 0 keeps the steps the last refresh left: here the save's.
    for (Case k : {Case{1, true}, Case{2, false}, Case{3, false}, Case{0, false}}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, use case " << k.useCase);
      if (k.useCase == 0)
        o.cine->CineUseCase = 0, o.cine->ParamsChanged = 1;
      else
        ASSERT_EQ(XeSetUseCase(o.cine, k.useCase), 0);
      ImageHeader ih{};
      const Bytes px = Fetch(o.cine, &ih);
      EXPECT_EQ(cinetest::Fields(ih.biBitCount, ih.biWidth, size_t{ih.biSizeImage}),
                cinetest::Fields(bits, w, stored.size()));
      for (int32_t r = 0; r < h; ++r)
        ASSERT_EQ(Row(px, r, stride, w * bits / 8), Row(stored, k.topDown ? h - 1 - r : r, stride, w * bits / 8))
            << "row " << r;
      if (k.useCase == 2) o.cine->CineUseCase = 2;  // for use case 0 next
    }
  }
}

using testsupport::Packed10;

// A packed gray file: unpacked to 14 linear bits for the view and the raw
// use case; repacked, with its header back to the packed form, for a packed
// save that repairs pixels.
TEST(PackedChain, UnpackAndRepackWithTheirHeaders) {
  const int32_t w = 8, h = 3;
  std::vector<uint16_t> codes(w * h);
  for (size_t i = 0; i < codes.size(); ++i) codes[i] = static_cast<uint16_t>(i * 41 % 1024);
  CineBuilder b;
  b.Compression(0).Images(0, 1).Image(w, h, 16, 256, 1024);
  b.setup().SetU32(setup::kRealBPP, 10).SetI32(setup::kWhiteLevel, 1023);
  b.setup().SetF32(setup::kfGain, 1.0f).SetF32(setup::kfGamma, 1.0f).SetF32(setup::kfSaturation, 1.0f);
  b.ImagePayload(0, Packed10(codes));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const uint16_t *lin = xe::intl::LinearizationTable();

  for (uint32_t useCase : {1u, 3u}) {
    SCOPED_TRACE(testing::Message() << "use case " << useCase);
    ASSERT_EQ(XeSetUseCase(o.cine, useCase), 0);
    ImageHeader ih{};
    int32_t announcedWhite = 0;
    const Bytes px = Fetch(o.cine, &ih, &announcedWhite);
    EXPECT_TRUE(xe::StepActive(o.cine, xe::kStepUnpack));
    EXPECT_FALSE(xe::StepActive(o.cine, xe::kStepToMaxLev));
    EXPECT_EQ(cinetest::Fields(ih.biCompression, +ih.biBitCount, ih.biClrImportant, ih.biSizeImage,
                               ih.BlackLevel, ih.WhiteLevel),
              cinetest::Fields(0u, 16, 16384u, static_cast<uint32_t>(w * 2 * h), 0, 16383));
    // Quirk of the unpack's header rule: the announced white is the cine
    // header's grey levels less one (10 bits), not the 14 bits delivered.
    EXPECT_EQ(announcedWhite, 1023);
    for (int32_t r = 0; r < h; ++r)
      for (int32_t x = 0; x < w; ++x) {
        const int32_t pr = useCase == 1 ? h - 1 - r : r;  // the view turns the rows
        ASSERT_EQ(GetU16(px, r * w * 2 + 2 * x), lin[codes[pr * w + x]]) << x << "," << r;
      }
  }

  // A packed save of the raw image unpacks and packs again; the repack turns
  // the rows top-down first, so the stored rows come back in reverse order.
  ASSERT_EQ(XeSetUseCase(o.cine, 2), 0);
  o.cine->Saving.SavePacked = 1;
  o.cine->Saving.FileType = -10;
  ASSERT_EQ(XevSetCineInfo(o.cine, CIS_RawImage, 1), 0);
  Bytes px(XevGetCineInfo(o.cine, CIS_MaxImageSizeColor));
  ImageRange r{0, 1};
  ImageHeader ih{}, announced{};
  ASSERT_EQ(XeGetCineImage(o.cine, &r, px.data(), static_cast<uint32_t>(px.size()), &ih), 0);
  EXPECT_TRUE(xe::StepActive(o.cine, xe::kStepUnpack));
  EXPECT_TRUE(xe::StepActive(o.cine, xe::kStepRepack));
  EXPECT_EQ(cinetest::Fields(ih.biCompression, ih.biClrImportant, ih.biSizeImage, ih.WhiteLevel),
            cinetest::Fields(256u, 1024u, static_cast<uint32_t>(w * h * 10 / 8), 1023));
  std::vector<uint16_t> reversed;
  for (int32_t row = h - 1; row >= 0; --row)
    reversed.insert(reversed.end(), codes.begin() + row * w, codes.begin() + (row + 1) * w);
  const Bytes expected = Packed10(reversed);
  EXPECT_EQ(Bytes(px.begin(), px.begin() + expected.size()), expected);
  // Quirk of the header walk: it knows no repack, so the announced header
  // is the unpacked one.
  ASSERT_EQ(XeGetCineInfo(o.cine, CIS_ProcessedHeader, &announced), 0);
  EXPECT_EQ(announced.biCompression, 0u);
}

// The "None" demosaic: kept in the view's setting, answered by the
// selector, taken up again by a new view, and the raw mosaic comes back.
TEST(DemosaicNone, StoredAnsweredAndLeavesTheMosaic) {
  testsupport::LogToFile settings(false);  // the stored id stays in the test's own settings
  const int32_t w = 8, h = 4;
  CineBuilder b;
  b.Compression(2).Images(0, 1).Image(w, h, 16, 0, 4096);
  b.setup().SetU32(setup::kCFA, 3).SetU32(setup::kRealBPP, 12);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(XevSetCineInfo(o.cine, CIS_Algo, 6), 0);
  EXPECT_EQ(XevGetCineInfo(o.cine, CIS_Algo), 6u);
  ASSERT_EQ(XeSetUseCase(o.cine, 2), 0);
  ASSERT_EQ(XeSetUseCase(o.cine, 1), 0);
  EXPECT_EQ(XevGetCineInfo(o.cine, CIS_Algo), 6u);
  ImageHeader ih{};
  Fetch(o.cine, &ih);
  EXPECT_FALSE(xe::StepActive(o.cine, xe::kStepDemosaic));
  EXPECT_EQ(ih.biBitCount, 16);
  EXPECT_EQ(ih.biSizeImage, static_cast<uint32_t>(w * 2 * h));
}

// Setting a tone float brings its integer field along (saturation is a
// packed 16-bit field, read through a lambda like the others).
TEST(ToneMirrors, EachFloatSelectorSetsItsIntegerField) {
  struct Case { uint32_t selector; float value; int32_t (*field)(const ::Setup &); int32_t expected; };
  const Case cases[] = {
      {CIS_fOffset, 0.25f, [](const ::Setup &s) { return s.Bright; }, 250},
      {CIS_fGain, 0.55f, [](const ::Setup &s) { return s.Contrast; }, -50},
      {CIS_fGamma, 2.2f, [](const ::Setup &s) { return s.Gamma; }, 220},
      {CIS_fHue, 44.6f, [](const ::Setup &s) { return s.Hue; }, 45},
      {CIS_fSaturation, 1.4f, [](const ::Setup &s) { return int32_t{s.Saturation}; }, 40},
  };
  for (const Case &k : cases) {
    CineHandle c = nullptr;
    ASSERT_EQ(XefNewCine(&c, 8, 4, 24, 0, 1), 0);
    c->IsFileCine = 1;
    float v = k.value;
    ASSERT_EQ(XeSetCineInfo(c, k.selector, &v), 0);
    EXPECT_EQ(k.field(c->H.Setup), k.expected) << k.selector;
    XeDestroyCine(c);
  }
}

}  // namespace
