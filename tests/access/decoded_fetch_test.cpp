// The older, decoding fetch paths of file cines, and the depth switches:
// packed and raw images come back as colour in the caller's buffer, the cine
// keeps its own header, and nothing is written past the documented room.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "access/decoded_image.h"
#include "access/file_image.h"
#include "cinefile/cine_test_support.h"
#include "companions/int/packing.h"
#include "support/bitmap.h"

using namespace fixture;
using cinetest::Fields;
using cinetest::Opened;

namespace {

constexpr uint8_t kUntouched = 0xCD;

// Bytes of one row of `bits` per pixel, padded to whole 32-bit words.
uint32_t RowBytes(int32_t width, uint32_t bits) { return (width * bits + 31) / 32 * 4; }

// The documented room of the older calls: the colour image at 16 bits a
// sample, in both orientations.
uint32_t DocumentedRoom(int32_t w, int32_t h) {
  return std::max(RowBytes(w, 48) * h, RowBytes(h, 48) * w);
}

Bytes Flat16(int32_t w, int32_t h, uint16_t v) {
  Bytes b(RowBytes(w, 16) * h, 0);
  for (int32_t y = 0; y < h; ++y)
    for (int32_t x = 0; x < w; ++x) PutU16(b, y * RowBytes(w, 16) + 2 * x, v);
  return b;
}

// Sample c (0 blue, 1 green, 2 red) of pixel (x, y) of a 48-bit image.
uint16_t At48(const Bytes &px, int32_t w, int32_t x, int32_t y, int c) {
  return GetU16(px, y * RowBytes(w, 48) + 6 * x + 2 * c);
}

// Row r of an image whose rows take `row` bytes.
Bytes RowOf(const Bytes &px, int32_t r, uint32_t row) {
  return Bytes(px.begin() + r * row, px.begin() + (r + 1) * row);
}

// Settings under which the adjustments of the Setup change nothing.
void NeutralAdjustments(SetupBytes &s) {
  s.SetF32(6012, 1.0f).SetF32(6016, 1.0f).SetF32(6024, 1.0f);  // fGain, fSaturation, fGamma
  s.SetF32(setup::kWBView, 1.0f).SetF32(setup::kWBView + 4, 1.0f);
}

// A raw 12-bit colour file of flat mosaic images.
CineBuilder RawColour(int32_t w, int32_t h, uint16_t level) {
  CineBuilder b;
  b.Compression(2).Images(0, 2).Image(w, h, 16, 0, 4096);
  b.setup().SetU32(setup::kCFA, 3).SetU32(setup::kRealBPP, 12).SetI32(setup::kWhiteLevel, 4095);
  NeutralAdjustments(b.setup());
  b.ImagePayload(0, Flat16(w, h, level)).ImagePayload(1, Flat16(w, h, level));
  return b;
}

struct CineDeleter {
  void operator()(Cine *c) const { xe::FreeCine(c); }
};
using Record = std::unique_ptr<Cine, CineDeleter>;

// A bare record, as a camera or file cine, for the rules that need no image.
Record Bare(bool file) {
  Record c(xe::AllocateCine(0));
  c->IsFileCine = file ? 1 : 0;
  c->CN = file ? -1 : 1;
  c->CineNr = 1;
  c->BmihOpened = BitmapInfoHeader{40, 8, 4, 1, 16, 0, 64, 0, 0, 0, 4096};
  c->H.Bmih = c->BmihOpened;
  c->H.Header.ImageCount = 1;
  c->H.Setup.RealBPP = 12;
  return c;
}

TEST(DecodedFetch, RawColourComesBackAsInterpolatedColour) {
  struct Case { int32_t black, white; uint32_t metaWB; uint16_t in, blue, green, red; };
  // Levels stretch the 12-bit range; with the balance kept as metadata the
  // gains are applied before the interpolation, else left alone.
  for (Case k : {Case{1000, 3000, 0, 2000, 2048, 2048, 2048},
                 Case{0, 4095, 1, 1000, 500, 1000, 2000},
                 Case{0, 4095, 0, 1000, 1000, 1000, 1000}}) {
    CineBuilder b = RawColour(8, 4, k.in);
    b.setup().SetI32(setup::kBlackLevel, k.black).SetI32(setup::kWhiteLevel, k.white);
    b.setup().SetU32(5724, k.metaWB).SetF32(setup::kWBGain, 2.0f).SetF32(setup::kWBGain + 4, 0.5f);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    const BitmapInfoHeader before = o.cine->H.Bmih;
    Bytes px(DocumentedRoom(8, 4) + 16, kUntouched);
    ASSERT_EQ(XeReadCineFileImage(o.cine, 1, px.data()), 0);
    const std::array<uint16_t, 3> bgr{k.blue, k.green, k.red};
    for (int32_t y = 0; y < 4; ++y)
      for (int32_t x = 0; x < 8; ++x)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(At48(px, 8, x, y, c), bgr[c], 1) << x << "," << y;
    EXPECT_EQ(px[RowBytes(8, 48) * 4], kUntouched);
    // The cine's header is the stored one still.
    EXPECT_EQ(std::memcmp(&before, &o.cine->H.Bmih, sizeof before), 0);
  }
}

TEST(DecodedFetch, PackedFileIsLinearisedToFourteenBits) {
  const int32_t w = 8, h = 2;
  CineBuilder b;
  b.Compression(2).Images(0, 1).Image(w, h, 16, 256, 1024);
  b.setup().SetU32(setup::kCFA, 3).SetU32(setup::kRealBPP, 10).SetI32(setup::kWhiteLevel, 1023)
      .SetI32(setup::kBlackLevel, 64).SetF32(setup::kWBGain, 1.5f)
      .SetF32(setup::kWBGain + 4, 1.25f);
  b.ImagePayload(0, testsupport::Packed10(std::vector<uint16_t>(w * h, 512)));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  // The stored image is read by its stored header whatever the cine's says,
  // and the cine's header outlives the decode.
  ASSERT_EQ(XeEnableCine16Bpp(o.cine, 0), 0);
  const BitmapInfoHeader switched = o.cine->H.Bmih;
  Bytes px(DocumentedRoom(w, h), kUntouched);
  ASSERT_EQ(XeReadCineFileImage(o.cine, 0, px.data()), 0);
  EXPECT_EQ(std::memcmp(&switched, &o.cine->H.Bmih, sizeof switched), 0);
  EXPECT_EQ(Fields(o.cine->H.Setup.WhiteLevel, o.cine->H.Setup.BlackLevel), Fields(16383, 0));
  // No stretch by the old levels: the linear value of the code, in colour.
  const uint16_t linear = xe::intl::LinearizationTable()[512];
  for (int c = 0; c < 3; ++c) EXPECT_EQ(At48(px, w, 3, 1, c), linear) << c;
}

TEST(DecodedFetch, ImagesOutsideTheCineAndCamerasLeaveThePixels) {
  CineBuilder b = RawColour(8, 4, 100);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Bytes px(DocumentedRoom(8, 4), kUntouched);
  EXPECT_EQ(XeReadCineFileImage(o.cine, 2, px.data()), 0);
  EXPECT_EQ(XeReadCineProcessedImage(o.cine, -1, px.data()), 0);
  EXPECT_EQ(XeReadCineImage(o.cine, 5, -1, px.data()), XE_WARN_RANGE_EMPTY);
  EXPECT_EQ(px, Bytes(px.size(), kUntouched));

  EXPECT_EQ(XeReadCineImage(nullptr, 0, -1, px.data()), XE_ERR_NULL_CINE);
  EXPECT_EQ(XeReadCineProcessedImage(o.cine, 0, nullptr), XE_ERR_NULL_ARGUMENT);

  Record cam = Bare(false);
  EXPECT_EQ(XeReadCineImage(cam.get(), 0, -1, px.data()), XE_INFO_NOT_RECORDED);
  EXPECT_EQ(XeReadCineFileImage(cam.get(), 0, px.data()), XE_INFO_NOT_RECORDED);
  EXPECT_EQ(px, Bytes(px.size(), kUntouched));
}

TEST(DecodedFetch, ProcessedImagesTakeTheSetupAdjustments) {
  // A mosaic whose rows differ, flipped vertically by the Setup: the
  // processed image is the decoded one upside down, and the older fetch
  // delivers the same.
  const int32_t w = 6, h = 4;
  CineBuilder b = RawColour(w, h, 0);
  b.setup().SetU32(setup::kFlipV, 1);
  Bytes mosaic = Flat16(w, 2, 400), top = Flat16(w, 2, 800);
  mosaic.insert(mosaic.end(), top.begin(), top.end());
  b.ImagePayload(0, mosaic);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const uint32_t room = DocumentedRoom(w, h), row = RowBytes(w, 48);
  Bytes decoded(room, 0), processed(room, 0), older(room, 0);
  ASSERT_EQ(XeReadCineFileImage(o.cine, 0, decoded.data()), 0);
  ASSERT_EQ(XeReadCineProcessedImage(o.cine, 0, processed.data()), 0);
  ASSERT_EQ(XeReadCineImage(o.cine, 0, -1, older.data()), 0);
  for (int32_t y = 0; y < h; ++y) {
    EXPECT_EQ(RowOf(processed, y, row), RowOf(decoded, h - 1 - y, row)) << y;
    EXPECT_EQ(RowOf(older, y, row), RowOf(processed, y, row)) << y;
  }
  EXPECT_NE(RowOf(decoded, 0, row), RowOf(processed, 0, row));
}

TEST(DecodedFetch, QuarterTurnStaysInsideTheDocumentedRoom) {
  // 5 x 3 at 48 bits: the turned rows need more padding than the upright.
  CineBuilder b = RawColour(5, 3, 700);
  b.setup().SetI32(setup::kRotate, 90);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Bytes px(DocumentedRoom(5, 3));  // exact: ASan sees any byte beyond
  EXPECT_EQ(XeReadCineProcessedImage(o.cine, 0, px.data()), 0);
  EXPECT_EQ(XeReadCineImage(o.cine, 1, -1, px.data()), 0);
  EXPECT_EQ(At48(px, 3, 2, 4, 1), 700);
}

TEST(DepthSwitch, SixteenBitsOnFilesAndCameras) {
  CineBuilder b;
  b.Images(0, 1).Image(10, 3, 16, 0, 4096);
  b.setup().SetU32(setup::kRealBPP, 12);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const BitmapInfoHeader before = o.cine->H.Bmih;
  EXPECT_EQ(XeEnableCine16Bpp(o.cine, 1), 0);
  EXPECT_EQ(o.cine->H.Setup.RealBPP, 12u);
  EXPECT_EQ(std::memcmp(&before, &o.cine->H.Bmih, sizeof before), 0);
  o.cine->Saving.Save16Bit = 12;
  EXPECT_EQ(XeEnableCine16Bpp(o.cine, 0), 0);
  const BitmapInfoHeader &fb = o.cine->H.Bmih;
  EXPECT_EQ(Fields(o.cine->H.Setup.RealBPP, +fb.biBitCount, fb.biClrImportant, fb.biSizeImage),
            Fields(8u, 8, 0u, 12u * 3));
  EXPECT_EQ(o.cine->Saving.Save16Bit, 0u);
  EXPECT_EQ(XeEnableCine16Bpp(nullptr, 0), XE_ERR_NULL_CINE);
}

TEST(DepthSwitch, WhiteBalanceAsMetadata) {
  struct Case { bool file; int16_t source; uint32_t cfa, metaWB, firmware; int32_t expected; };
  for (Case k : {Case{true, 0, 3, 1, 0, 1}, Case{true, 0, 3, 0, 0, 0}, Case{true, 1, 0, 1, 0, 1},
                 Case{true, 1, 3, 1, 0, 0}, Case{true, 2, 0, 1, 0, 0}, Case{false, 0, 3, 0, 584, 1},
                 Case{false, 0, 3, 1, 583, 0}}) {
    Record r = Bare(k.file);
    r->SourceFileType = k.source;
    r->H.Setup.CFA = k.cfa;
    r->H.Setup.bMetaWB = k.metaWB;
    r->H.Setup.FirmwareVersion = k.firmware;
    EXPECT_EQ(XefSupportsMetaWB(r.get()), k.expected) << k.file << " " << k.source << " " << k.cfa;
  }
  EXPECT_EQ(XefSupportsMetaWB(nullptr), 0);
}

}  // namespace
