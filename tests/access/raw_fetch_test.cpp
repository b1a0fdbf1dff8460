// Raw fetches from cine files: the stored bytes, straight into the caller's
// buffer, for every storage form; and the bounds around them. The fetch is
// taken ahead of the processing chain, which XeGetCineImage runs after it.
#include <cstring>

#include "access/image_fetch.h"
#include "cinefile/cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

constexpr uint8_t kUntouched = 0xCD;

struct Fetch {
  int32_t status;
  ImageHeader header;
  Bytes pixels;
};

Fetch FetchImages(CineHandle c, int32_t first, uint32_t count, uint32_t bufferSize) {
  Fetch f{};
  f.pixels.assign(bufferSize, kUntouched);
  ImageRange r{first, count};
  f.status = xe::GetCineRawImage(c, &r, f.pixels.data(), bufferSize, &f.header);
  return f;
}

// Image `index` of the file as the builder stored it.
Bytes Stored(CineBuilder &b, uint32_t index) {
  return PixelBytes(index, b.layout().PayloadSizes[index]);
}

Bytes Slice(const Bytes &b, size_t at, size_t n) {
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(at),
               b.begin() + static_cast<std::ptrdiff_t>(at + n));
}

TEST(RawFetch, ReturnsTheStoredBytesOfEveryForm) {
  struct Form { uint16_t compression, bits; uint32_t biCompression, clr, realBpp; int32_t w; };
  for (Form f : {Form{0, 8, 0, 0, 8, 21}, Form{2, 16, 0, 4096, 12, 13},
                 Form{2, 16, 256, 1024, 10, 6}, Form{0, 24, 0, 0, 8, 5}}) {
    CineBuilder b;
    b.Compression(f.compression).Images(-2, 4).Image(f.w, 3, f.bits, f.biCompression, f.clr);
    b.setup().SetU32(setup::kRealBPP, f.realBpp).SetI32(setup::kBlackLevel, 7)
        .SetI32(setup::kWhiteLevel, 1000);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    const uint32_t size = b.layout().PayloadSizes[0];
    Fetch r = FetchImages(o.cine, -1, 2, 4 * 6 * 64);
    ASSERT_EQ(r.status, 0) << f.bits;
    EXPECT_EQ(Slice(r.pixels, 0, size), Stored(b, 1)) << f.bits;
    EXPECT_EQ(Slice(r.pixels, size, size), Stored(b, 2)) << f.bits;  // the tight stride
    EXPECT_EQ(r.pixels[2 * size], kUntouched);
    // Packed stays packed; processed colour images carry neutral levels after the open.
    const ImageHeader &h = r.header;
    const bool processedColour = f.bits == 24;
    EXPECT_EQ(cinetest::Fields(h.biSize, h.biWidth, h.biBitCount, h.biCompression, h.BlackLevel, h.WhiteLevel),
              cinetest::Fields(48u, f.w, f.bits, f.biCompression, processedColour ? 0 : 7,
                               processedColour ? 255 : 1000))
        << f.bits;
  }
}

TEST(RawFetch, VersionZeroWithShuffledRecordsAndLongAnnotations) {
  CineBuilder b;
  b.Version(0).Images(0, 5).Image(9, 2, 8).ShuffleImages().AnnotationSize(20).GapBetweenImages(3);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  for (int32_t n = 0; n < 5; ++n) {
    Fetch r = FetchImages(o.cine, n, 1, 1024);
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(Slice(r.pixels, 0, 24), Stored(b, static_cast<uint32_t>(n))) << n;
  }
}

TEST(RawFetch, ImagesOutsideTheCineAreLeftAsTheyWere) {
  CineBuilder b;
  b.Images(10, 3).Image(8, 1, 8);
  Opened o(b.Build());
  Fetch r = FetchImages(o.cine, 11, 4, 4 * 24);  // 11, 12 stored; 13, 14 beyond
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(Slice(r.pixels, 0, 8), Stored(b, 1));
  EXPECT_EQ(Slice(r.pixels, 8, 8), Stored(b, 2));
  EXPECT_EQ(Slice(r.pixels, 16, 16), Bytes(16, kUntouched));
  // One byte short of the room of four images as 8 x 1 colour pixels: nothing is read.
  Fetch small = FetchImages(o.cine, 11, 4, 4 * 24 - 1);
  EXPECT_EQ(small.status, XE_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(small.pixels, Bytes(4 * 24 - 1, kUntouched));
  Fetch far = FetchImages(o.cine, INT32_MIN, 1, 24);
  EXPECT_EQ(far.status, 0);
  EXPECT_EQ(far.pixels, Bytes(24, kUntouched));
  EXPECT_EQ(far.header.biWidth, 8);  // the header is filled all the same
}

TEST(RawFetch, AReadFailureOfOneImageLetsTheOthersRun) {
  CineBuilder b;
  b.Images(0, 3).Image(8, 1, 8).OffsetOverride(1, 1ull << 40);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Fetch r = FetchImages(o.cine, 0, 3, 3 * 24);
  EXPECT_EQ(r.status, XE_ERR_FILE_READ);
  EXPECT_EQ(Slice(r.pixels, 0, 8), Stored(b, 0));
  EXPECT_EQ(Slice(r.pixels, 16, 8), Stored(b, 2));
}

TEST(RawFetch, ImagesBeyondFourGigabytes) {
  CineBuilder b;
  b.Images(0, 2).Image(8, 2, 8).ImagesAt((4ull << 30) + 12345);
  TempFile file(b.BuildSegments());
  CineHandle c = nullptr;
  ASSERT_EQ(XeNewCineFromFile(file.c_str(), &c), 0);
  Fetch r = FetchImages(c, 1, 1, 48);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(Slice(r.pixels, 0, 16), Stored(b, 1));
  XeDestroyCine(c);
}

TEST(RawFetch, NullArgumentsAndCamerasWithoutACamera) {
  CineBuilder b;
  Opened o(b.Build());
  uint8_t px[256];
  ImageHeader h{};
  ImageRange r{0, 1};
  EXPECT_EQ(XeGetCineImage(nullptr, &r, px, sizeof px, &h), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeGetCineImage(o.cine, &r, nullptr, sizeof px, &h), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeGetCineImage(o.cine, &r, px, sizeof px, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeGetCineImage(o.cine, nullptr, px, sizeof px, &h), XE_ERR_NULL_ARGUMENT);

  CineHandle memory = nullptr;
  ASSERT_EQ(XefNewCine(&memory, 4, 4, 8, 0, 1), 0);
  EXPECT_EQ(XeGetCineImage(memory, &r, px, sizeof px, &h), XE_INFO_NOT_RECORDED);
  XeDestroyCine(memory);
}

}  // namespace
