// The library's TIFF files byte by byte: the heads of single files of the
// three depths, the pages of a multipage save and its stop, and the reader
// on the writer's files, on a big-endian file with strips and on broken ones.
#include "formats/tiff/tiff.h"
#include "saving/multipage_tiff.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "support/bitmap.h"
#include "xefile/xefile.h"

using namespace xe;
using cinetest::Fields;
using fixture::Bytes;
using fixture::GetU16;
using fixture::GetU32;

namespace {

constexpr uint32_t kTime = 1700000000;  // 2023-11-14 22:13:20 UTC

uint32_t Stride(int32_t w, uint16_t bits) {
  return (static_cast<uint32_t>(w) * bits + 31) / 32 * 4;
}

struct Bitmap {
  BitmapInfoHeader h;
  Bytes px;
  Bitmap(int32_t w, int32_t rows, uint16_t bits, uint32_t levels = 0)
      : h(testsupport::Bitmap(w, rows, bits, 0, levels)), px(Stride(w, bits) * rows, 0) {
    h.biXPelsPerMeter = 62500;
    h.biYPelsPerMeter = 40000;
  }
  uint8_t *Row(int r) { return &px[Stride(h.biWidth, h.biBitCount) * r]; }
  void Put16(int r, int i, uint16_t v) { std::memcpy(Row(r) + 2 * i, &v, 2); }
};

struct Tag {
  uint16_t tag, type;
  uint32_t count, value;
};
Tag TagAt(const Bytes &f, uint32_t dir, uint32_t k) {
  uint32_t e = dir + 2 + 12 * k;
  return {GetU16(f, e), GetU16(f, e + 2), GetU32(f, e + 4), GetU32(f, e + 8)};
}
uint32_t ValueOf(const Bytes &f, uint32_t dir, uint16_t tag) {
  for (uint32_t k = 0; k < GetU16(f, dir); ++k)
    if (TagAt(f, dir, k).tag == tag) return TagAt(f, dir, k).value;
  ADD_FAILURE() << "no tag " << tag;
  return 0;
}

std::string Date(uint32_t seconds, bool ut) {
  time_t t = seconds;
  std::tm tm{};
  if (ut)
    gmtime_r(&t, &tm);
  else
    localtime_r(&t, &tm);
  char s[32];
  std::strftime(s, sizeof s, "%Y:%m:%d %H:%M:%S", &tm);
  return s;
}

Bytes Write(const Bitmap &b, int16_t type) {
  fixture::TempFile out(".tif");
  Time64 t{3, kTime};
  EXPECT_EQ(WriteTiffFile(out.c_str(), type, &b.h, &t, b.px.data()), 0);
  return out.Read();
}

// The head every single file shares; `extra` is 6 with three depths.
void ExpectHead(const Bytes &f, uint32_t extra, uint32_t dataBytes) {
  ASSERT_GE(f.size(), 284u + extra);
  EXPECT_EQ(Fields(GetU32(f, 0), GetU32(f, 4), +GetU16(f, 8)), Fields(0x002A4949u, 8u, 16));
  const uint16_t tags[16] = {254, 256, 257, 258, 259, 262, 273, 277,
                             278, 279, 282, 283, 284, 296, 305, 306};
  for (uint32_t k = 0; k < 16; ++k) EXPECT_EQ(TagAt(f, 8, k).tag, tags[k]);
  EXPECT_EQ(GetU32(f, 202), 0u);
  const uint32_t x = 206 + extra;
  EXPECT_EQ(ValueOf(f, 8, 282), x);
  EXPECT_EQ(Fields(GetU32(f, x), GetU32(f, x + 4), GetU32(f, x + 8)), Fields(62500u * 254, 10000u, 40000u * 254));
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(&f[x + 16])),
            "Velorin software and camera from Orlimar");
  EXPECT_EQ(TagAt(f, 8, 14).count, 42u);
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(&f[x + 58])), Date(kTime, false));
  EXPECT_EQ(ValueOf(f, 8, 273), x + 78);
  EXPECT_EQ(f.size(), x + 78 + dataBytes);
}

TEST(TiffSingle, TwelveBitsCutTheWidthToFourButNotTheByteCount) {
  Bitmap b(1001, 2, 16, 0x10000);
  b.Put16(1, 0, 0xABCD);  // the top row of the picture comes first
  b.Put16(1, 1, 0x1234);
  Bytes f = Write(b, -9);
  ExpectHead(f, 0, 1000 * 2 * 3 / 2);
  EXPECT_EQ(Fields(ValueOf(f, 8, 256), ValueOf(f, 8, 279), ValueOf(f, 8, 258), TagAt(f, 8, 3).count),
            Fields(1000u, 12u * 1001 * 2 / 8, 12u, 1u));
  EXPECT_EQ(Bytes(f.begin() + 284, f.begin() + 287), (Bytes{0xAB, 0xC1, 0x23}));
}

TEST(TiffSingle, ScalingToFullScaleSaturatesInsteadOfWrapping) {
  // levels, sample, scaled: a sample above the white of its depth (a
  // sharpened edge) becomes full white, not the dark value of 16-bit wrap.
  const struct { uint32_t levels; uint16_t in, out; } cases[] = {
      {4096, 4095, 65520}, {4096, 4096, 65535}, {4096, 65535, 65535}, {1024, 1023, 65472},
      {1024, 1025, 65535}, {0, 4095, 65520}, {0, 4097, 65535}, {0x10000, 65535, 65535}, {0x10000, 7, 7}};
  for (const auto &c : cases) {
    uint8_t s[2];
    std::memcpy(s, &c.in, 2);
    tiff::ScaleToFullScale(s, 1, c.levels);
    EXPECT_EQ(GetU16(Bytes(s, s + 2), 0), c.out) << c.levels << " " << c.in;
  }
}

TEST(TiffSingle, ColourIsWrittenRedFirstWithThreeDepths) {
  Bitmap b(1, 1, 24);
  b.px[0] = 1, b.px[1] = 2, b.px[2] = 3;
  Bytes f = Write(b, -8);
  ExpectHead(f, 6, 3);
  // Three depths at 206, RGB photometric, three samples, red first.
  EXPECT_EQ(Fields(TagAt(f, 8, 3).count, ValueOf(f, 8, 258), GetU16(f, 206), GetU16(f, 210)),
            Fields(3u, 206u, uint16_t{8}, uint16_t{8}));
  EXPECT_EQ(Fields(ValueOf(f, 8, 262), ValueOf(f, 8, 277), +f[290], +f[292]), Fields(2u, 3u, 3, 1));
}

// A big-endian gray 16-bit file of 2 x 3, one row per strip, offsets in a
// LONG array and byte counts as SHORTs, resolution in centimetres.
Bytes BigEndianFile() {
  Bytes f(200, 0);
  auto be16 = [&](size_t o, uint16_t v) { f[o] = v >> 8, f[o + 1] = v & 0xFF; };
  auto be32 = [&](size_t o, uint32_t v) { be16(o, v >> 16), be16(o + 2, v & 0xFFFF); };
  f[0] = f[1] = 'M';
  be16(2, 42), be32(4, 8);
  const uint32_t entries[][4] = {{256, 4, 1, 2},   {257, 4, 1, 3},   {258, 3, 1, 16},
                                 {273, 4, 3, 120}, {278, 4, 1, 1},   {279, 3, 3, 132},
                                 {282, 5, 1, 140}, {283, 5, 1, 140}, {296, 3, 1, 3}};
  be16(8, 9);
  for (uint32_t k = 0; k < 9; ++k) {
    size_t e = 10 + 12 * k;
    be16(e, entries[k][0]), be16(e + 2, entries[k][1]), be32(e + 4, entries[k][2]);
    if (entries[k][1] == 3 && entries[k][2] == 1)
      be16(e + 8, entries[k][3]);
    else
      be32(e + 8, entries[k][3]);
  }
  be32(120, 160), be32(124, 164), be32(128, 168);
  be16(132, 4), be16(134, 4), be16(136, 4);
  be32(140, 12345), be32(144, 2);  // 61.725 per cm
  for (uint16_t i = 0; i < 6; ++i) be16(160 + 2 * i, static_cast<uint16_t>(0x0102 * (i + 1)));
  return f;
}

TEST(TiffReader, BigEndianStripsComeBackInHostOrder) {
  fixture::TempFile file(BigEndianFile(), ".tif");
  BitmapInfoHeader h{};
  std::vector<uint8_t> px;
  bool little = true;
  ASSERT_EQ(ReadTiffFile(file.c_str(), &little, &h, &px), 0);
  EXPECT_EQ(Fields(little, h.biWidth, h.biHeight, +h.biBitCount, h.biXPelsPerMeter),
            Fields(false, 2, 3, 16, 62));
  ASSERT_EQ(px.size(), 12u);
  std::vector<uint16_t> v(6);
  std::memcpy(v.data(), px.data(), 12);
  EXPECT_EQ(v, (std::vector<uint16_t>{0x0102, 0x0204, 0x0306, 0x0408, 0x050A, 0x060C}));
}

TEST(TiffReader, BrokenFilesFailCleanly) {
  BitmapInfoHeader h{};
  std::vector<uint8_t> px;
  bool little;
  auto read = [&](const Bytes &bytes) {
    fixture::TempFile f(bytes, ".tif");
    return ReadTiffFile(f.c_str(), &little, &h, &px);
  };
  Bytes good = Write(Bitmap(3, 2, 48, 0x10000), -10);
  ASSERT_EQ(read(good), 0);  // the writer's own file reads back with its head
  EXPECT_EQ(Fields(little, +h.biBitCount, h.biXPelsPerMeter, h.biYPelsPerMeter, h.biClrImportant),
            Fields(true, 48, 62500, 40000, 0x10000u));
  for (size_t n = 0; n < good.size(); ++n)
    EXPECT_LT(read(Bytes(good.begin(), good.begin() + n)), 0) << "cut at " << n;

  Bytes f = good;
  f[0] = 'X';
  EXPECT_EQ(read(f), -1);
  f = good, f[2] = 43;
  EXPECT_EQ(read(f), -1);
  f = good, fixture::PutU16(f, 208, 12);  // the three depths disagree
  EXPECT_EQ(read(f), -1);
  f = good, fixture::PutU32(f, 10 + 12 * 1 + 8, 0x40000000);  // width beyond the data
  EXPECT_EQ(read(f), XE_ERR_TIFF_FORMAT);
  f = good, fixture::PutU16(f, 8, 0xFFFF);  // entries past the end
  EXPECT_LT(read(f), 0);
  f = good, fixture::PutU32(f, 4, 0xFFFFFFF0);
  EXPECT_LT(read(f), 0);
  f = BigEndianFile(), f[128] = 0xFF;  // a strip past the end
  EXPECT_LT(read(f), 0);
}

// A multipage save of a 10 x 3 gray file cine (rows padded to 12 bytes).
class TiffPages : public testing::Test {
 protected:
  void SetUp() override {
    fixture::CineBuilder b;
    b.Image(10, 3, 8).Images(5, 3).TriggerTime(0, kTime);
    opened = std::make_unique<cinetest::Opened>(b.Build());
    ASSERT_EQ(opened->status, 0);
    ASSERT_EQ(XefDuplicateCine(&dup, opened->cine), 0);
    ASSERT_EQ(XeSetUseCase(dup, 2), 0);
    std::snprintf(dup->FileName, sizeof dup->FileName, "%s", out.c_str());
    dup->Saving.SaveFirst = 5;
    dup->Saving.SaveCount = 3;
  }
  void TearDown() override { XeDestroyCine(dup); }
  // The images as a fetch delivers them, bottom-up.
  Bytes Image(int32_t n) {
    Bytes px(4096);
    ImageRange r{n, 1};
    ImageHeader ih{};
    EXPECT_GE(XeGetCineImage(dup, &r, px.data(), static_cast<uint32_t>(px.size()), &ih), 0);
    px.resize(36);
    return px;
  }

  std::unique_ptr<cinetest::Opened> opened;
  CineHandle dup = nullptr;
  fixture::TempFile out{".tif"};
};

TEST_F(TiffPages, PagesChainToTheLastAndReadBackAsTheCine) {
  std::vector<Bytes> images = {Image(5), Image(6), Image(7)};
  dup->TimeFormat = 1;
  ASSERT_EQ(SaveMultipageTiff(opened->cine, dup, dup, nullptr), 0);
  Bytes f = out.Read();
  constexpr uint32_t kPage = 240 + 36;
  ASSERT_EQ(f.size(), 8 + 3 * kPage);
  for (uint32_t p = 0; p < 3; ++p) {
    const uint32_t at = 8 + p * kPage;
    ASSERT_EQ(GetU16(f, at), 13u);
    const uint16_t tags[13] = {254, 256, 257, 258, 259, 262, 273, 277, 279, 282, 283, 305, 306};
    for (uint32_t k = 0; k < 13; ++k) EXPECT_EQ(TagAt(f, at, k).tag, tags[k]);
    EXPECT_EQ(GetU32(f, at + 158), p == 2 ? 0 : at + kPage);
    EXPECT_EQ(ValueOf(f, at, 273), at + 240);
    EXPECT_EQ(ValueOf(f, at, 279), 36u);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&f[at + 220])), Date(kTime, true));
    for (uint32_t r = 0; r < 3; ++r)  // top row first; the padding stays where it was
      EXPECT_EQ(0, std::memcmp(&f[at + 240 + 12 * r], &images[p][12 * (2 - r)], 10)) << p << r;
  }

  // A cine whose images are these pages, opened from a header beside them.
  std::string header = out.path().substr(0, out.path().size() - 4) + ".chd";
  std::snprintf(dup->OpenedFileName, sizeof dup->OpenedFileName, "%s", header.c_str());
  Bytes px(36, 0xEE);
  for (int32_t n = 5; n < 8; ++n) {
    dup->ImageRangeFirst = n;
    ASSERT_EQ(ReadTiffCineImage(dup, px.data()), 0);
    EXPECT_EQ(px, images[n - 5]) << n;
  }
  dup->ImageRangeFirst = 8;
  EXPECT_EQ(ReadTiffCineImage(dup, px.data()), XE_ERR_FILE_READ);
  dup->ImageRangeFirst = 6;
  fixture::PutU32(f, 8 + 158, 8);  // a chain that turns back is not followed
  fixture::PutU32(f, 8 + kPage + 158, 8);
  out.Write(f);
  EXPECT_EQ(ReadTiffCineImage(dup, px.data()), XE_ERR_FILE_READ);
}

std::vector<uint32_t> g_percents;
int32_t StopAtSecond(uint32_t percent, CineHandle) {
  g_percents.push_back(percent);
  return g_percents.size() < 2;
}

TEST_F(TiffPages, AStopLeavesTheChainOpenAndTheCountAtThePageNumber) {
  g_percents.clear();
  ASSERT_EQ(SaveMultipageTiff(opened->cine, dup, dup, StopAtSecond), 0);
  EXPECT_EQ(g_percents, (std::vector<uint32_t>{0, 33}));
  EXPECT_EQ(dup->Saving.SaveCount, 1u);
  EXPECT_EQ(dup->H.Header.ImageCount, 1u);
  Bytes f = out.Read();
  ASSERT_EQ(f.size(), 8 + 2 * 276u);
  EXPECT_EQ(GetU32(f, 8 + 276 + 158), 8 + 2 * 276u);
}

TEST_F(TiffPages, TheTwoGigabyteEstimateCutsTheCount) {
  // 36 + 280 bytes a page: 6795834 pages estimate 0x7FFFFF9E, one more passes.
  std::snprintf(dup->FileName, sizeof dup->FileName, "%s/none/x.tif",
                fixture::TestTmpRoot().c_str());
  dup->Saving.SaveCount = 6795834;
  EXPECT_EQ(SaveMultipageTiff(opened->cine, dup, dup, nullptr), XE_ERR_FILE_OPEN);
  EXPECT_EQ(dup->Saving.SaveCount, 6795834u);
  dup->Saving.SaveCount = 6795836;  // 0x80000216: 534 / 36 + 1 fewer
  EXPECT_EQ(SaveMultipageTiff(opened->cine, dup, dup, nullptr), XE_ERR_FILE_OPEN);
  EXPECT_EQ(dup->Saving.SaveCount, 6795836u - 15);
}

}  // namespace
