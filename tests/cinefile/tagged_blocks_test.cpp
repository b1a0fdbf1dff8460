// The tagged area: old TIME_1 blocks converted on load, the chain walks, and
// the per-image answers of XeGetCineAuxData.
#include <cstring>
#include <optional>

#include "cine_test_support.h"

using namespace fixture;
using cinetest::Fields;
using cinetest::Opened;

namespace {

// A TIME_1 block of a recording of T images: time i has seconds 1000 + i;
// with exposures, exposure i is 500 + i.
Bytes Time1Payload(uint32_t T, bool withExposures) {
  Payload p;
  for (uint32_t i = 0; i < T; ++i) p.Time(3, 1000 + i);
  if (withExposures)
    for (uint32_t i = 0; i < T; ++i) p.U32(500 + i);
  return p;
}

// The entry of `image` in the answers of `tag`, the call expected to succeed.
template <class T>
T Aux(CineHandle c, int32_t image, uint32_t tag) {
  T v{};
  EXPECT_EQ(XeGetCineAuxData(c, image, tag, sizeof v, &v), 0) << tag << " image " << image;
  return v;
}
Time64 TimeOf(CineHandle c, int32_t image) { return Aux<Time64>(c, image, 1002); }

TEST(Time1Block, BecomesTimeAndExposureBlocksOfTheStoredImagesThatItHolds) {
  // Stored images 5 to 14 keep 10 times (88 bytes) and exposures (48 bytes);
  // images 95 to 104, past the 100 entries, drop the block.
  struct Case { int32_t first; bool exposures, behindSkipBlock; uint32_t grown; };
  for (Case k : {Case{5, true, false, 88 + 48}, Case{5, true, true, 20 + 88 + 48}, Case{5, false, false, 88},
                 Case{95, false, false, 0}}) {
    CineBuilder b;
    b.Range(0, 100, k.first, 10).Image(4, 2, 8);
    if (k.behindSkipBlock) b.AddBlock(1000, Bytes(12, 0xAB));
    Opened o(b.AddBlock(1001, Time1Payload(100, k.exposures)).Build());
    ASSERT_EQ(o.status, 0);
    // The image offsets follow the rewritten blocks.
    EXPECT_EQ(o.cine->H.Header.OffImageOffsets, 7324u + k.grown) << k.grown;
    EXPECT_EQ(cinetest::OffsetOf(o.cine, 9), b.layout().ImageRecords[9]);
    uint8_t *block = nullptr;
    EXPECT_EQ(xe::FindTaggedBlock(o.cine, 1003, &block), k.grown > 88 ? 1 : 0) << k.grown;
    if (!k.grown) continue;
    auto *times = static_cast<Time64 *>(XefGetCineTaggedBlock(o.cine, 1002));
    auto *exposures = static_cast<uint32_t *>(k.exposures ? XefGetCineTaggedBlock(o.cine, 1003) : nullptr);
    ASSERT_NE(times, nullptr);
    for (uint32_t i = 0; i < 10; ++i) EXPECT_EQ(times[i].seconds, 1005 + i);
    for (uint32_t i = 0; exposures && i < 10; ++i) EXPECT_EQ(exposures[i], 505 + i);
    EXPECT_EQ(TimeOf(o.cine, 14).seconds, 1014u);
  }
}

TEST(TaggedBlocks, InvalidFirstBlockIsReportedAndTheAreaIgnored) {
  CineBuilder b;
  b.AddBlock(1002, Payload().Time(3, 1).Time(3, 2).Time(3, 3), uint16_t{2});
  b.setup().SetU32(setup::kFrameRate, 1000);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(TimeOf(o.cine, 1).seconds, 1700000000u);  // computed: the block's 2 is not read
  uint32_t v;
  EXPECT_EQ(XeGetCineAuxData(o.cine, 0, 1004, 4, &v), XE_ERR_AUX_TAG_ABSENT);
}

TEST(TaggedBlocks, TaggedSizeBelowEightIsNoArea) {
  CineBuilder b;
  b.RawTagged(Bytes{1, 2, 3, 4});
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(o.cine->H.Header.OffImageOffsets, 7324u);
  EXPECT_EQ(cinetest::OffsetOf(o.cine, 0), b.layout().ImageRecords[0]);
}

TEST(TaggedBlocks, SignalBlocksNeedChannelsAndSamples) {
  CineBuilder b;
  b.AddBlock(1005, Bytes(3, 0xFF)).AddBlock(1006, Bytes(12, 0x11));
  b.setup().SetI16(setup::kBinChannels, 4).SetI16(setup::kAnaChannels, 2);
  b.setup().SetU8(setup::kSamplesPerImage, 0);
  {
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    EXPECT_EQ(XefGetCineTaggedBlock(o.cine, 1005), nullptr);
    EXPECT_EQ(XefGetCineTaggedBlock(o.cine, 1006), nullptr);
  }
  b.setup().SetU8(setup::kSamplesPerImage, 1);
  Opened o(b.Build());
  // Analog entries are channels x samples x 2 bytes for each image.
  uint8_t entry[4];
  EXPECT_EQ(XeGetCineAuxData(o.cine, 2, 1006, 4, entry), 0);
  EXPECT_EQ(XeGetCineAuxData(o.cine, 3, 1006, 4, entry), XE_ERR_AUX_OUT_OF_RANGE);
  EXPECT_EQ(XeGetCineAuxData(o.cine, 2, 1005, 1, entry), 0);
}

TEST(AuxData, RangeDataByImage) {
  CineBuilder b;
  b.Images(-2, 4).AddBlock(1002, Payload().Time(3, 1).Time(3, 2).Time(3, 3).Time(3, 4))
      .AddBlock(1004, U32s({10, 11, 12, 13}));
  b.setup().SetU32(setup::kRangeSize, 4);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(Fields(Aux<uint32_t>(o.cine, -2, 1004), Aux<uint32_t>(o.cine, 1, 1004)), Fields(10u, 13u));
  uint32_t v = 0;
  EXPECT_EQ(XeGetCineAuxData(o.cine, 2, 1004, 4, &v), XE_ERR_AUX_OUT_OF_RANGE);  // one past the end
  EXPECT_EQ(XeGetCineAuxData(o.cine, -3, 1004, 4, &v), XE_ERR_AUX_OUT_OF_RANGE);
  // Entries are not copied beyond the block.
  uint8_t big[8];
  EXPECT_EQ(XeGetCineAuxData(o.cine, 1, 1004, 8, big), XE_ERR_AUX_OUT_OF_RANGE);
}

TEST(AuxData, TimesAndExposures) {
  CineBuilder b;
  b.Images(-1, 3).AddBlock(1002, Payload().Time(0x80000003, 100).Time(7, 101).Time(3, 102))
      .AddBlock(1003, U32s({4294967, 0, 42949673}));
  b.setup().SetU32(setup::kShutterNs, 2000000);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Time64 t = TimeOf(o.cine, 0);
  EXPECT_EQ(Fields(t.seconds, t.fractions), Fields(101u, 7u));
  EXPECT_EQ(XeGetCineAuxData(o.cine, 0, 1002, 7, &t), XE_ERR_AUX_TOO_SMALL);
  // Exposures in microseconds; image 9 has the nominal shutter.
  auto us = [&](int32_t n) { return Aux<uint32_t>(o.cine, n, 1003); };
  EXPECT_EQ(Fields(us(-1), us(1), us(9)), Fields(1000u, 10000u, 2000u));
}

TEST(AuxData, TimecodeAndUserBitsFromTheBlock) {
  CineBuilder b;
  b.Images(0, 2).AddBlock(1007, Payload().U8(0x01).U8(0).U8(0).U8(0x12).U32(0xCAFE)
                                    .U8(0x02).U8(0).U8(0).U8(0x12).U32(0));
  Opened stored(b.Build());
  ASSERT_EQ(stored.status, 0);
  TCU u = Aux<TCU>(stored.cine, 0, 1008);
  EXPECT_EQ(Fields(u.hours, u.frames, u.TCUserBits), Fields(12u, 1u, 0xCAFEu));
  EXPECT_EQ(XeGetCineAuxData(stored.cine, 0, 1008, 43, &u), XE_ERR_AUX_TOO_SMALL);
}

TEST(TaggedBlocks, ChainWalksStopAtTheEndOfTheChain) {
  // The second block is found through Reserved bit 0 of the first; a first
  // block whose Reserved says it is the last hides the rest.
  for (bool hidden : {false, true}) {
    CineBuilder b;
    b.AddBlock(1003, U32s({1, 2, 3}), hidden ? std::optional<uint16_t>(0) : std::nullopt);
    Opened o(b.AddBlock(1004, U32s({4, 5, 6})).Build());
    ASSERT_EQ(o.status, 0);
    uint8_t *block = nullptr;
    EXPECT_EQ(xe::FindTaggedBlock(o.cine, 1004, &block), hidden ? 0 : 1);
    EXPECT_EQ(block == nullptr, hidden);
  }
}

}  // namespace
