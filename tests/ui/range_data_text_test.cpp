// The range record of an image as text, in the forms of the range code.
#include "ui/range_data_text.h"

#include <string>

#include "cinefile/cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

// Images 5 to 7 with records of `size` bytes each.
Bytes RangeCine(uint32_t size, const Bytes &records) {
  CineBuilder b;
  b.Images(5, 3);
  b.setup().SetU32(setup::kRangeSize, size);
  b.AddBlock(1004, records);
  return b.Build();
}

std::string Text(CineHandle c, int32_t image, uint32_t mode, uint32_t item) {
  char out[256] = "untouched";
  XefFormatRangeData(c, image, mode, item, out);
  return out;
}

TEST(RangeDataText, AnglesAreDegreesMinutesSeconds) {
  Payload p;
  p.Raw({0, 0, 0, 0, 0, 0});
  p.Raw({0x00, 0x00, 0x40, 0x01, 0x00, 0x00});  // image 6: 90 degrees, 1/16777216 circle
  p.Raw({0, 0, 0, 0, 0, 0});
  Opened o(RangeCine(6, p));
  ASSERT_EQ(o.status, 0);
  // Whole angles are checked through the XML header; here the smallest step.
  EXPECT_EQ(Text(o.cine, 6, 1, 2), "0\26000'00.08\"");
  EXPECT_EQ(Text(o.cine, 6, 1, 3), "untouched");
  EXPECT_EQ(Text(o.cine, 6, 0, 0), "");
  // Records outside the block leave the text alone.
  EXPECT_EQ(Text(o.cine, 4, 1, 1), "untouched");
  EXPECT_EQ(Text(o.cine, 8, 1, 1), "untouched");
}

TEST(RangeDataText, TrackingRecordWithNegativeAzimuth) {
  Payload p;
  p.U32((12 << 4) | 3);                                 // 12300 m
  p.U32(456 | (123 << 10) | (1u << 22) | (200u << 23));  // -123.456, day 200
  p.U32(7 | (250 << 10) | (30 << 20) | (45u << 26));     // site 7, 45:30.250
  p.U32(13 | (5 << 5) | (10 << 15) | (3u << 28));        // 13 h, 10.005, status bits
  // The record of the second image, between two zero ones.
  Opened o(RangeCine(16, Payload().Raw(Bytes(16, 0)).Raw(p).Raw(Bytes(16, 0))));
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(Text(o.cine, 6, 2, 0),
            "Site ID: 7  200 13:45:30.250 AZ: -123.456 EL: 10.005 RNG: 12300.00");
}

}  // namespace
