// Files that lie: truncated at any byte, offsets and sizes that point outside
// the file or the record. Each gets a failure status or a safe answer, never
// a read outside what is held (the sanitizer build checks that).

#include "cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

// A file with every kind of header part: a tagged area of two blocks and
// three image offsets.
CineBuilder RichFile() {
  CineBuilder b;
  b.Images(-1, 3).Image(8, 2, 8);
  b.AddBlock(1002, Payload().Time(3, 1).Time(3, 2).Time(3, 3)).AddBlock(1004, U32s({1, 2, 3}));
  b.setup().SetU32(setup::kRangeSize, 4);
  return b;
}

// Asks the opened cine every question this layer answers.
void Exercise(CineHandle c) {
  if (!c) return;
  uint8_t out[64];
  for (uint32_t tag = 1000; tag <= 1008; ++tag) {
    XeGetCineAuxData(c, -1, tag, 8, out);
    XeGetCineAuxData(c, 1, tag, 44, out);
    XefGetCineTaggedBlock(c, tag);
  }
  int32_t first, last;
  XeGetCineRange(c, &first, &last);
  BitmapInfoHeader h;
  XeGetCineBMIH(c, &h);
}

TEST(HostileFiles, TruncationAtEveryByteOfTheHeaderParts) {
  CineBuilder b = RichFile();
  Bytes whole = b.Build();
  const size_t headerParts = b.layout().OffImageOffsets + 3 * 8;
  TempFile file{InMemory{}};  // rewritten some 7400 times
  for (size_t n = 0; n < headerParts; ++n) {
    file.Write(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)));
    CineHandle c = reinterpret_cast<CineHandle>(0x1);
    int32_t status = XeNewCineFromFile(file.c_str(), &c);
    ASSERT_LT(status, 0) << "truncated at " << n;
    ASSERT_EQ(c, nullptr) << "truncated at " << n;
  }
  // Cut inside the images, the header parts are all there.
  file.Write(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(headerParts) + 5));
  CineHandle c = nullptr;
  EXPECT_EQ(XeNewCineFromFile(file.c_str(), &c), 0);
  XeDestroyCine(c);
}

TEST(HostileFiles, OffsetsAndCountsPointingOutsideTheFile) {
  struct Case { uint32_t at, value; int32_t status; };
  // OffImageHeader, OffSetup, OffImageOffsets (a huge tagged area), and an
  // ImageCount beyond the allocation limit.
  for (Case k : {Case{24, 0xFFFFFFF0, XE_ERR_FILE_READ}, Case{28, 0x7FFFFFF0, XE_ERR_FILE_READ},
                 Case{32, 0xFFFFFF00, XE_ERR_FILE_READ}, Case{20, 0xFFFFFFF0, XE_ERR_CINE_ALLOC}}) {
    Bytes bytes = RichFile().Build();
    PutU32(bytes, k.at, k.value);
    Opened o(bytes);
    EXPECT_EQ(o.status, k.status) << k.at;
    EXPECT_EQ(o.cine, nullptr) << k.at;
  }
  CineBuilder b = RichFile();
  b.header().OffImageOffsets = 100;  // before the end of the Setup: no tagged area
  Opened o(b.Build());
  // The offsets are read from inside the Setup: nonsense, but held.
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(o.cine->H.Header.OffImageOffsets, 7324u);
  Exercise(o.cine);
}

TEST(HostileFiles, BlocksThatRunPastTheArea) {
  for (uint32_t size : {0u, 4u, 7u, 1000000u, 80000000u, 0xFFFFFFFFu}) {
    CineBuilder b;
    b.Images(0, 3)
        .AddBlock(1004, U32s({1, 2, 3}), uint16_t{1}, size)
        .AddBlock(1007, Bytes(24, 0x11));
    b.setup().SetU32(setup::kRangeSize, 4);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0) << size;
    Exercise(o.cine);
    uint32_t v = 0;
    int32_t r = XeGetCineAuxData(o.cine, 2, 1004, 4, &v);
    if (size >= 8 && size <= 80000000) {
      EXPECT_TRUE(r == 0 || r == XE_ERR_AUX_OUT_OF_RANGE) << size;
    } else {
      EXPECT_EQ(r, XE_ERR_AUX_TAG_ABSENT) << size;  // an invalid first block hides the area
    }
  }
}

TEST(HostileFiles, ZeroSizedBlockInTheMiddleOfAChainEndsTheWalk) {
  CineBuilder b;
  b.AddBlock(1003, U32s({1, 2, 3})).AddBlock(1004, Bytes{}, uint16_t{1}, 0u)
      .AddBlock(1007, Bytes(24, 0));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Exercise(o.cine);
  uint8_t tc[8];
  EXPECT_EQ(XeGetCineAuxData(o.cine, 0, 1007, 8, tc), 0);  // computed, the block is not reached
}

}  // namespace
