// Opening cine files: layout variants of old and new files, the corrections
// made on load, and the record that results.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "cine_test_support.h"

using namespace fixture;
using cinetest::Fields;
using cinetest::Opened;

namespace {

TEST(CineOpen, RefusedFilesLeaveNoCine) {
  CineBuilder v2, jpeg, shortSetup;
  v2.Version(2);
  jpeg.Compression(1);  // needs the imaging plugin
  shortSetup.setup().SetLength(100);  // below its own head: a short read
  Bytes huge = v2.Build();
  PutU32(huge, 20, 0xFFFFFFFF);  // refused before the offsets would be allocated
  const std::pair<Bytes, int32_t> cases[] = {{huge, XE_ERR_FILE_VERSION},
                                             {jpeg.Build(), XE_ERR_NOT_SUPPORTED},
                                             {shortSetup.Build(), XE_ERR_FILE_READ}};
  for (const auto &[bytes, status] : cases) {
    Opened o(bytes);
    EXPECT_EQ(o.status, status);
    EXPECT_EQ(o.cine, nullptr);
  }
  CineHandle c = reinterpret_cast<CineHandle>(0x1);
  EXPECT_EQ(XeNewCineFromFile("/nonexistent/dir/x.cine", &c), XE_ERR_FILE_OPEN);
  EXPECT_EQ(c, nullptr);
}

TEST(CineOpen, VersionZeroOffsetsAreWidenedInPlace) {
  CineBuilder b;
  b.Version(0).Images(-1, 2).Image(20, 3, 8);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const CineFileHeader &h = o.cine->H.Header;
  EXPECT_EQ(Fields(h.Version, h.OffImageHeader, h.OffSetup, h.OffImageOffsets),
            Fields(1, 44u, 84u, 7324u));
  for (uint32_t i : {0u, 1u}) EXPECT_EQ(cinetest::OffsetOf(o.cine, i), b.layout().ImageRecords[i]);
}

TEST(CineOpen, ShortSetupReadsOverZerosAndFindsTheTaggedAreaBehindIt) {
  CineBuilder b;
  b.Images(0, 2).AddBlock(1004, U32s({7, 8}));
  b.setup().SetU16(setup::kImWidth, 16).SetU16(setup::kImHeight, 4).SetU32(setup::kRangeSize, 4);
  b.setup().SetLength(738);  // ImWidth is in, ImHeight and RangeSize are not
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  const ::Setup &s = o.cine->H.Setup;
  EXPECT_EQ(Fields(+s.Length, +s.ImWidth, +s.ImHeight, s.RangeSize), Fields(7240, 16, 0, 0u));
  // Gains and tone factors the record did not reach are neutral.
  EXPECT_EQ(Fields(s.WBGain[2].B, s.fGain, s.fSaturation, s.fGain16_8, s.fOffset),
            Fields(1.0f, 1.0f, 1.0f, 1.0f, 0.0f));
  // The block is there even though no field says how large its entries are.
  EXPECT_NE(XefGetCineTaggedBlock(o.cine, 1004), nullptr);
}

TEST(CineOpen, LongSetupReadsOnly7240Bytes) {
  CineBuilder b;
  b.Images(0, 2).AddBlock(1004, U32s({0xA1, 0xB2}));
  b.setup().SetU32(setup::kRangeSize, 4).SetLength(7300);
  b.setup().bytes()[7250] = 0x77;  // past the present record
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(+o.cine->H.Setup.Length, 7240);
  uint32_t v = 0;
  EXPECT_EQ(XeGetCineAuxData(o.cine, 1, 1004, 4, &v), 0);
  EXPECT_EQ(v, 0xB2u);
}

TEST(CineOpen, BitmapHeaderAfterTheSetupIsFollowed) {
  CineBuilder b;
  b.Image(24, 2, 16, 0, 4096).BitmapAfterSetup();
  b.setup().SetU32(setup::kRealBPP, 12);
  Opened o(b.Build(), ".tif");  // the content decides the type, not the name
  ASSERT_EQ(o.status, 0);
  const BitmapInfoHeader &h = o.cine->H.Bmih;
  EXPECT_EQ(Fields(h.biWidth, h.biBitCount, h.biSizeImage, h.biClrImportant, o.cine->SourceFileType),
            Fields(24, 16, 24u * 2 * 2, 4096u, 1));
}

TEST(CineOpen, GreyLevelsComeFromRealBPP) {
  struct Case { uint32_t bpp; uint32_t stored; uint32_t expected; };
  for (Case k : {Case{8, 256, 0}, Case{10, 0, 1024}, Case{16, 0, 65536}, Case{9, 777, 777}}) {
    CineBuilder b;
    b.Image(8, 2, k.bpp > 8 ? 16 : 8, 0, k.stored);
    b.setup().SetU32(setup::kRealBPP, k.bpp);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0) << k.bpp;
    EXPECT_EQ(o.cine->H.Bmih.biClrImportant, k.expected) << k.bpp;
  }
}

TEST(CineOpen, OldTriggerTimesArePutRight) {
  struct Case { uint32_t fractions, seconds, software, expected; };
  // The oldest files kept the seconds in the first word; old software of
  // newer cameras kept microseconds; from version 604 on it is a fraction.
  for (Case k : {Case{1234567890, 0, 0, 3}, Case{500000, 1700000000, 603, 0x80000000u | 3u},
                 Case{500000, 1700000000, 604, 500000}}) {
    CineBuilder b;
    b.TriggerTime(k.fractions, k.seconds);
    if (k.software) b.setup().SetU32(setup::kCameraVersion, 7).SetU32(setup::kSoftwareVersion, k.software);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    Time64 t{};
    XeGetCineTriggerTime(o.cine, &t);
    EXPECT_EQ(t.fractions, k.expected) << k.software;
    EXPECT_EQ(t.seconds, k.seconds ? k.seconds : k.fractions) << k.software;
  }
}

TEST(CineOpen, LoadCorrectionsOfTheSetup) {
  {  // a raw colour file from before CFA opens as colour; version is this library's
    CineBuilder b;
    b.Compression(2);
    b.setup().SetU32(setup::kSoftwareVersion, 500).SetU32(setup::kCameraVersion, 6);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    const ::Setup &s = o.cine->H.Setup;
    EXPECT_EQ(Fields(s.CFA, s.bEnableColor, s.SoftwareVersion, XefIsColorCine(o.cine)),
              Fields(2u, 1u, 705u, 1));
  }
  {  // processed colour images get neutral settings
    CineBuilder b;
    b.Compression(0).Image(8, 2, 24);
    b.setup().SetU32(setup::kCFA, 1).SetI32(setup::kBright, 40).SetI32(setup::kRotate, 90)
        .SetF32(setup::kWBView, 2.0f).SetF32(setup::kfGain, 3.0f).SetU32(setup::kRealBPP, 8);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    const ::Setup &s = o.cine->H.Setup;
    EXPECT_EQ(Fields(s.Bright, s.Rotate, s.WBView.R, s.fGain, s.WhiteLevel), Fields(0, 0, 1.0f, 1.0f, 255));
  }
  {  // a gray processed file keeps its settings, even from old software
    CineBuilder b;
    b.Compression(0);
    b.setup().SetI32(setup::kBright, 40).SetU32(setup::kSoftwareVersion, 500);
    Opened o(b.Build());
    ASSERT_EQ(o.status, 0);
    EXPECT_EQ(o.cine->H.Setup.Bright, 40);
  }
}

TEST(CineOpen, FilesOlderThanTimecodeGetOneInvented) {
  // The rate of the video output, 30 images per second unless set otherwise.
  auto timecodeOf = [](int32_t first) {
    CineBuilder b;
    b.Images(first, 2);
    b.setup().SetLength(6900);
    Opened o(b.Build());
    EXPECT_EQ(o.status, 0);
    EXPECT_EQ(o.cine->H.Setup.TCRate, 30.0f);
    return o.cine->H.Setup.TimeCode;
  };
  auto hmsf = [](TC t) { return Fields<int, int, int, int>(t.hours, t.minutes, t.seconds, t.frames); };
  EXPECT_EQ(hmsf(timecodeOf(-10)), Fields(0x01, 0x00, 0x00, 0x10));  // 01:00:00:00 plus 10 frames
  EXPECT_EQ(hmsf(timecodeOf(5)), Fields(0x00, 0x59, 0x59, 0x25));    // 01:00:00:00 minus 5 frames
}

TEST(CineOpen, HeaderFileHasNoImageOffsets) {
  CineBuilder b;
  b.HeaderOnly().Images(0, 3).Image(1024, 1024, 16);  // a size no images follow: not refused
  b.setup().SetU32(setup::kRealBPP, 12);
  Opened o(b.Build(), ".chd");
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(o.cine->SourceFileType, 4);
  EXPECT_EQ(o.cine->H.Setup.RealBPP, 8u);  // a TIFF set carries 8 bits
}

TEST(CineOpen, DuplicateOwnsItsFilePositionAndOutlivesTheSource) {
  CineBuilder b;
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  CineHandle dup = nullptr;
  ASSERT_EQ(XeDuplicateCine(&dup, o.cine), 0);
  lseek(o.cine->FileHandle, 100, SEEK_SET);
  EXPECT_EQ(lseek(dup->FileHandle, 0, SEEK_CUR), 0);
  XeDestroyCine(o.cine);
  o.cine = nullptr;
  EXPECT_GE(fcntl(dup->FileHandle, F_GETFD), 0);
  XeDestroyCine(dup);
}

TEST(CineLifecycle, LiveCinesAreNeitherDuplicatedNorDestroyed) {
  CineHandle c = nullptr;
  ASSERT_EQ(XefNewCine(&c, 8, 8, 8, 0, 1), 0);
  c->CineKind = 1;
  CineHandle dup = reinterpret_cast<CineHandle>(0x1);
  EXPECT_EQ(XeDuplicateCine(&dup, c), XE_INFO_NOT_RECORDED);
  EXPECT_EQ(dup, nullptr);
  EXPECT_EQ(XeDestroyCine(c), 0);
  EXPECT_EQ(c->H.Header.ImageCount, 1u);  // still usable
  c->CineKind = 0;
  XeDestroyCine(c);
  EXPECT_EQ(XeDuplicateCine(&dup, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeDestroyCine(nullptr), 0);
}

TEST(CineLifecycle, NewCineInMemory) {
  CineHandle c = nullptr;
  ASSERT_EQ(XefNewCine(&c, 33, 7, 16, -5, 12), 0);
  EXPECT_EQ(Fields(c->H.Header.FirstMovieImage, c->H.Header.ImageCount), Fields(-5, 12u));
  EXPECT_EQ(c->H.Bmih.biSizeImage, 68u * 7);  // 33 x 2 bytes padded to 68
  EXPECT_TRUE(xe::SetImageOffset(c, 11, 99));
  EXPECT_FALSE(xe::SetImageOffset(c, 12, 99));
  XeDestroyCine(c);

  EXPECT_EQ(XefNewCine(&c, 0, 7, 8, 0, 1), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XefNewCine(&c, 8, 7, 12, 0, 1), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(c, nullptr);
  EXPECT_EQ(XefNewCine(&c, 8, 8, 8, 0, 0xFFFFFFFF), XE_ERR_CINE_ALLOC);
  EXPECT_EQ(c, nullptr);
}

TEST(CinePredicates, HeadsAndDepths) {
  CineHandle c = nullptr;
  ASSERT_EQ(XefNewCine(&c, 8, 8, 16, 0, 1), 0);
  ::Setup &s = c->H.Setup;
  s.CFA = 0x40000001;  // head 1 is gray
  EXPECT_EQ(Fields(XefIsColorCineHead(c, 0), XefIsColorCineHead(c, 1), XefIsColorCineHead(c, -1)),
            Fields(1, 0, 1));
  s.CFA = 0x80000000;  // no pattern at all
  EXPECT_EQ(XefIsColorCineHead(c, -1), 0);

  s.RealBPP = 12;
  EXPECT_EQ(XefMaxPixLin(c), 4095);
  c->BmihOpened.biCompression = 256;
  EXPECT_EQ(XefMaxPixLin(c), 16383);
  s.CFA = 0;
  EXPECT_EQ(XefIsBWPackedCine(c), 1);
  XeDestroyCine(c);
}

TEST(CineBmih, DeliveredHeaderOfRawAndRotatedCines) {
  CineBuilder b;
  b.Compression(2).Image(40, 10, 16, 0, 4096);
  b.setup().SetU32(setup::kRealBPP, 12).SetU32(setup::kCFA, 1).SetI32(setup::kRotate, -90);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  BitmapInfoHeader h{};
  ASSERT_EQ(XeGetCineBMIH(o.cine, &h), 0);
  // 60-byte rows need no padding.
  EXPECT_EQ(Fields(+h.biBitCount, h.biWidth, h.biHeight, h.biClrImportant, h.biSizeImage),
            Fields(48, 10, 40, 4096u, 10u * 6 * 40));

  ASSERT_EQ(XeEnableCineColor(o.cine, 0), 0);
  EXPECT_EQ(Fields(+o.cine->H.Bmih.biBitCount, o.cine->ParamsChanged), Fields(16, 1u));
}

}  // namespace
