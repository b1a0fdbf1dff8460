// Demosaic results stay within the white of the header: sharpening
// interpolations overshoot at a hard edge, and a 12-bit sample above 4095
// would be scaled by later writers into a wrong (or wrapped) value.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "companions/int/demosaic.h"
#include "support/bitmap.h"

namespace {

using namespace xe::intl;

TEST(DemosaicWhite, SharpEdgesStayWithinTheWhiteOfTheHeader) {
  constexpr uint32_t kW = 32, kH = 16;
  // (bits, grey levels, white): 12 bits in 16-bit samples, and 8 bits.
  const struct { uint16_t bits; uint32_t levels, white; } depths[] = {{16, 4096, 4095}, {8, 0, 255}};
  for (const auto &d : depths)
    for (uint32_t code : {1u, 3u, 4u})
      for (uint32_t id : {kDemosaicFastest, kDemosaicFast, kDemosaicMedium, kDemosaicGood, kDemosaicBest}) {
        SCOPED_TRACE(testing::Message() << "bits " << d.bits << " code " << code << " id " << id);
        BitmapInfoHeader h = testsupport::Bitmap(kW, kH, d.bits, 0, d.levels);
        const uint32_t sampleBytes = d.bits / 8;
        std::vector<uint8_t> px(3 * kW * kH * sampleBytes);
        // White on the left, near black on the right, every site at the limits.
        for (uint32_t r = 0; r < kH; ++r)
          for (uint32_t x = 0; x < kW; ++x) {
            const uint32_t v = x < kW / 2 ? d.white : d.white / 40;
            if (sampleBytes == 1)
              px[r * kW + x] = static_cast<uint8_t>(v);
            else
              reinterpret_cast<uint16_t *>(px.data())[r * kW + x] = static_cast<uint16_t>(v);
          }
        ASSERT_EQ(XeInterpolateColor(&h, px.data(), code, id), 0);
        uint32_t top = 0;
        for (uint32_t i = 0; i < 3 * kW * kH; ++i)
          top = std::max<uint32_t>(top, sampleBytes == 1 ? px[i] : reinterpret_cast<uint16_t *>(px.data())[i]);
        EXPECT_EQ(top, d.white);
      }
}

}  // namespace
