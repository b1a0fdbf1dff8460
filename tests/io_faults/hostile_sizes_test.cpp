// Sizes in a file or a call that do not fit what is held: refused before
// anything of that size is allocated or written.
#include <gtest/gtest.h>

#include "cinefile/cine_test_support.h"
#include "io_faults.h"
#include "xefile/xefile.h"

namespace {

using namespace fixture;

TEST(HostileSizes, HundredsOfMillionsOfImageOffsetsAreRefusedBeforeTheRecordIsAllocated) {
  for (uint16_t version : {0, 1}) {
    CineBuilder b;
    b.Version(version).Images(0, 3).Image(8, 2, 8);
    Bytes bytes = b.Build();
    PutU32(bytes, 20, 300000000);  // ImageCount: 1.2 or 2.4 GB of offsets in a small file
    faults::TakeLargestAllocation();
    cinetest::Opened o(bytes);
    EXPECT_EQ(o.status, XE_ERR_FILE_READ) << version;
    EXPECT_EQ(o.cine, nullptr);
    EXPECT_LT(faults::TakeLargestAllocation(), 16u << 20) << version;
  }
}

TEST(HostileSizes, ARangeWhoseBufferBoundPasses32BitsIsRefused) {
  CineBuilder b;
  b.Image(8, 4, 8);
  cinetest::Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const uint32_t bound = XevGetCineInfo(o.cine, CIS_MaxImageSizeColor);
  ASSERT_EQ(bound, 96u);  // 8 x 4 colour pixels
  // 96 x 0x8000001 is 0x300000060: taken modulo 2^32 it would be 96 bytes.
  for (uint32_t useCase : {1u, 3u}) {
    XeSetUseCase(o.cine, useCase);
    Bytes px(2 * bound, 0xEE);
    ImageRange r{0, 0x8000001};
    ImageHeader h{};
    EXPECT_EQ(XeGetCineImage(o.cine, &r, px.data(), static_cast<uint32_t>(px.size()), &h),
              XE_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(px, Bytes(2 * bound, 0xEE)) << useCase;
  }
}

}  // namespace
