// Headers whose image geometry cannot be delivered or cannot lie in the file
// are refused at open with the status of a file that does not hold what its
// header says, before any buffer is sized from them.
#include "cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

// Three 16 x 4 gray images of 12 bits in 16-bit samples.
CineBuilder Sound() {
  CineBuilder b;
  b.Images(0, 3).Image(16, 4, 16, 0, 4096);
  b.setup().SetU32(setup::kRealBPP, 12);
  return b;
}

TEST(HeaderChecks, GeometriesTheFileCannotHoldAreRefused) {
  const struct {
    const char *what;
    int32_t width, height;
    uint16_t bits;
    uint32_t compression;
  } cases[] = {
      {"height of millions in a small file", 16, 15597679, 16, 0},
      {"width of a million", 1000000, 4, 16, 0},
      {"negative width", -16, 4, 16, 0},
      {"12 bits per pixel", 16, 4, 12, 0},
      {"run-length compression", 16, 4, 16, 1},
      {"packed 8-bit samples", 16, 4, 8, 256},
  };
  for (const auto &k : cases) {
    CineBuilder b = Sound();
    b.PayloadSize(128);  // the pixels stay those of 16 x 4 x 16 bits
    b.bmih().biWidth = k.width;
    b.bmih().biHeight = k.height;
    b.bmih().biBitCount = k.bits;
    b.bmih().biCompression = k.compression;
    Opened o(b.Build());
    EXPECT_EQ(o.status, XE_ERR_FILE_READ) << k.what;
    EXPECT_EQ(o.cine, nullptr) << k.what;
  }
}

TEST(HeaderChecks, AWidthBeyondAnySensorIsRefusedEvenWhenTheFileIsLargeEnough) {
  for (int32_t width : {65536, 65537}) {
    CineBuilder b;
    b.Images(0, 2).Image(width, 1, 8);
    Opened o(b.Build());
    EXPECT_EQ(o.status, width == 65536 ? 0 : XE_ERR_FILE_READ) << width;
  }
}

TEST(HeaderChecks, OffsetsThatAllPointPastTheEndAreRefusedButATruncationIsNot) {
  CineBuilder b = Sound();
  const uint64_t size = b.Build().size();
  for (uint32_t i = 0; i < 3; ++i) b.OffsetOverride(i, size + 1000 * i);
  Opened none(b.Build());
  EXPECT_EQ(none.status, XE_ERR_FILE_READ);

  // The first image still lies in the file: a truncated recording opens.
  b.OffsetOverride(0, b.layout().ImagePixels[0] - 8);
  Opened first(b.Build());
  EXPECT_EQ(first.status, 0);
}

}  // namespace
