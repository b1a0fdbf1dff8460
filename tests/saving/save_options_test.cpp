// The save options of a cine: the exported setters and their edges, the copy
// of the options between cines, the list of save formats, and the estimate of
// the size of a save.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "cinefile/cine_test_support.h"
#include "frame/plugins.h"
#include "info/selectors.h"
#include "saving/filter_list.h"
#include "saving/output_formats.h"
#include "saving/size_estimate.h"
#include "support/bitmap.h"

using cinetest::Opened;
using cinetest::Fields;
using fixture::CineBuilder;

namespace {

// A 16 x 4 gray 8-bit file cine of 20 images numbered -5 to 14.
fixture::Bytes TwentyImages() { return CineBuilder().Images(-5, 20).Build(); }

TEST(SaveOptions, SetterStoresWithoutTypeDefaultsAndConvertsQuality) {
  Opened o(TwentyImages());
  ASSERT_EQ(o.status, 0);
  CineHandle c = o.cine;
  ASSERT_EQ(XeSetCineSaveOptions(c, "/out/clip!3.dpx", static_cast<uint16_t>(-27), 3, 50), 0);
  EXPECT_STREQ(c->FileName, "/out/clip!3.dpx");
  // DpxFlags stays 0: selector 502 would have set 4.
  EXPECT_EQ(Fields(c->Saving.FileType, c->Saving.StampTime, c->Saving.DpxFlags,
                   XevGetCineInfo(c, CIS_Quality)),
            Fields(int16_t{-27}, 3u, 0u, 50u));
  // Quality 0 counts as 1; above 100, and negative taken as unsigned, as 100.
  const struct {
    int32_t quality;
    uint32_t qFactor;
  } edges[] = {{0, 255}, {1, 255}, {100, 2}, {101, 2}, {-1, 2}};
  for (const auto &e : edges) {
    ASSERT_EQ(XeSetCineSaveOptions(c, "/out/x", 1, 0, e.quality), 0);
    EXPECT_EQ(c->Saving.QFactor, e.qFactor) << e.quality;
  }
}

TEST(SaveOptions, RangeSetterMarkerEdgeAndGetterAsymmetry) {
  Opened o(TwentyImages());
  CineHandle c = o.cine;
  int32_t first = 0, last = 0;

  // first, last set; SaveFirst and SaveCount stored. The whole-range marker
  // ends at 0x7FFFFFFE; one image short of it is plain arithmetic, and a
  // first of -0x7FFFFFFE is not below the limit.
  const struct { int32_t first, last, saveFirst; uint32_t count; } sets[] = {
      {10, 20, 10, 11u},
      {INT32_MIN, 0x7FFFFFFE, INT32_MIN, 0xFFFFFFFFu},
      {INT32_MIN, 0x7FFFFFFD, INT32_MIN, 0xFFFFFFFEu},
      {-0x7FFFFFFE, 0x7FFFFFFF, -0x7FFFFFFE, 0xFFFFFFFEu}};
  for (const auto &k : sets) {
    ASSERT_EQ(XeSetCineSaveRange(c, k.first, k.last), 0);
    EXPECT_EQ(Fields(c->Saving.SaveFirst, c->Saving.SaveCount), Fields(k.saveFirst, k.count))
        << k.first << " " << k.last;
  }
  // The getter answers the cine's own range, never the one just set.
  ASSERT_EQ(XeGetCineSaveRange(c, &first, &last), 0);
  EXPECT_EQ(Fields(first, last), Fields(-5, 14));

  // A header that spans everything answers the widest range.
  c->H.Header.FirstImageNo = INT32_MIN;
  c->H.Header.ImageCount = 0xFFFFFFFE;
  ASSERT_EQ(XeGetCineSaveRange(c, &first, &last), 0);
  EXPECT_EQ(Fields(first, last), Fields(INT32_MIN, 0x7FFFFFFF));
}

TEST(SaveOptions, CopyTakesTheListedFieldsAndKeepsTheWriterAndStamps) {
  Opened a(TwentyImages()), b(TwentyImages());
  xe::SavingOptions &s = a.cine->Saving;
  xe::SavingOptions &d = b.cine->Saving;
  std::memset(&s, 0x5A, sizeof s);
  std::memset(&d, 0x00, sizeof d);
  int graph = 0;
  d.WriteGraph = &graph;
  d.KeepWriteGraph = 1;
  std::memset(&d.Stamps, 0x33, sizeof d.Stamps);
  const xe::StampOptions stamps = d.Stamps;

  ASSERT_EQ(XefCopySavingOptions(b.cine, a.cine), 0);
  // Every byte of the 25 listed fields (160 bytes), from SaveFirst to PlaybackRate.
  size_t copied = 0;
  for (size_t k = 0; k < sizeof d; ++k) copied += reinterpret_cast<const uint8_t *>(&d)[k] == 0x5A;
  EXPECT_EQ(copied, 160u);
  EXPECT_EQ(d.WriteGraph, &graph);
  EXPECT_EQ(d.KeepWriteGraph, 1u);
  EXPECT_EQ(std::memcmp(&d.Stamps, &stamps, sizeof stamps), 0);
}

// Without the plugins: no JPEG cine, no MXF, no imaging still formats.
TEST(SaveFilterList, ListWithoutPluginsAndEntryTexts) {
  ASSERT_FALSE(xe::frame::ImagingAvailable());
  ASSERT_FALSE(xe::frame::EncoderAvailable());
  xe::SaveFilterList list = xe::BuildSaveFilterList();
  EXPECT_EQ(list.codes, (std::vector<int16_t>{1, 0, 3, 4, 8, 0, -8, -9, -10, -25, -26, -27}));

  char out[256];
  EXPECT_EQ(XefGetCineSaveFilterText(out, 12), 1);  // past the list
  EXPECT_STREQ(out, "");
  std::strcpy(out, "x");
  EXPECT_EQ(XefGetCineSaveFilterText(out, 128), 0);
  EXPECT_STREQ(out, "");
  EXPECT_EQ(xe::FindOutputFormat(9), nullptr);
}

// The cine's own header in the save use case: 16 x 4 gray, 64 bytes an image.
TEST(SaveSizeEstimate, CineAndStillTypesOnAFileCine) {
  Opened o(TwentyImages());
  CineHandle c = o.cine;
  uint64_t bytes = 0;
  XeSetCineSaveOptions(c, "/o/a", 1, 0, 100);
  XeSetCineSaveRange(c, 10, 40);  // 10 to 14 lie in the cine: 5 images
  ASSERT_EQ(XefGetCineSaveSize(c, 4096, &bytes), 0);
  EXPECT_EQ(bytes, 5u * 64 + (5 * 5 + 1835) * 4 + 5 * 8);  // one file, no rounding

  XeSetCineSaveOptions(c, "/o/a", static_cast<uint16_t>(-8), 0, 100);
  EXPECT_EQ(xe::EstimateSaveSize(c, 4096), 5u * 8192);
  EXPECT_EQ(xe::EstimateSaveSize(c, 0), 5u * (64 + 4096));
  // 16-bit TIFF counts the 8-bit image at 16 bits.
  XeSetCineSaveOptions(c, "/o/a", static_cast<uint16_t>(-10), 0, 100);
  EXPECT_EQ(xe::EstimateSaveSize(c, 1), 5u * (128 + 4096));
  XeSetCineSaveRange(c, INT32_MIN, INT32_MAX);  // whole cine
  XeSetCineSaveOptions(c, "/o/a", 9, 0, 100);
  EXPECT_EQ(xe::EstimateSaveSize(c, 1), 0u);  // no such type
  EXPECT_EQ(c->CineUseCase, 1u);              // the caller's cine stays in view
}

BitmapInfoHeader Header(int32_t w, int32_t h, uint16_t bits, uint32_t clrImportant = 0) {
  return testsupport::Bitmap(w, h, bits, 0, clrImportant);
}

TEST(SaveSizeEstimate, DepthRulesAndThirtyTwoBitCuts) {
  xe::SavingOptions o{};
  // 10 x 10 at 12 bits in 16-bit words: 200 bytes held, 150 at 12 bits.
  o.FileType = -27;
  o.DpxFlags = 4;
  EXPECT_EQ(xe::EstimateSaveSize(Header(10, 10, 16, 4096), o, 2, 1), 2u * (200 + 4096));
  o.FileType = -9;  // 24-bit counted as 48: three samples at 1.5 bytes
  EXPECT_EQ(xe::EstimateSaveSize(Header(10, 10, 24), o, 1, 1), 100u * 3 / 2 * 3 + 4096);

  // One file of 100 images of 48 MiB: the image bytes wrap at 32 bits.
  o.FileType = 1;
  EXPECT_EQ(xe::EstimateSaveSize(Header(4096, 4096, 24), o, 100, 1), 738207644u);
  // An image too large to size is counted as 0xFFFFFFFF bytes, unrounded.
  o.FileType = -23;
  EXPECT_EQ(xe::EstimateSaveSize(Header(100000, 100000, 24), o, 3, 4096), 0xFFFFFFFFull * 3);
}

}  // namespace
