// Writes the seed corpus of the fuzz harnesses into OUT/cine and OUT/tiff:
// small cine files of every form the reader takes, made by the tests'
// fixture builder, and TIFF files made by saving two of them through the
// library (stills of each depth, a multipage file), plus a big-endian file
// in strips that the library never writes.
//
//   xefile_fuzz_seeds OUT
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "fixtures/cine_builder.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
using fixture::CineBuilder;
using fixture::Payload;
namespace su = fixture::setup;
namespace fs = std::filesystem;

// Per-image blocks of every tag for `count` images.
void AddAllBlocks(CineBuilder &b, uint32_t count) {
  Payload times, exposures, bin, ana, range, tc;
  for (uint32_t i = 0; i < count; ++i) {
    times.Time(i * 4294967u & ~3u, 1700000000 + i);
    exposures.U32(1000 + i);
    bin.U8(static_cast<uint8_t>(i & 0xF));
    ana.U16(static_cast<uint16_t>(100 * i)).U16(static_cast<uint16_t>(65535 - i));
    range.U32(i).U16(static_cast<uint16_t>(i));
    tc.U64(0x10000000ull + i);
  }
  b.setup().SetU16(su::kBinChannels, 4).SetU16(su::kSamplesPerImage, 1).SetU16(su::kAnaChannels, 2);
  b.setup().SetU32(su::kRangeCode, 1).SetU32(su::kRangeSize, 6);
  b.AddBlock(1002, times).AddBlock(1003, exposures).AddBlock(1005, bin).AddBlock(1006, ana);
  b.AddBlock(1004, range).AddBlock(1007, tc);
}

std::vector<std::pair<std::string, Bytes>> CineSeeds() {
  std::vector<std::pair<std::string, Bytes>> seeds;
  seeds.emplace_back("gray8", CineBuilder().Build());
  {
    CineBuilder b;  // raw colour, 12 significant bits, every block
    b.Compression(2).Images(-2, 4).Image(8, 4, 16, 0, 4096);
    b.setup().SetU32(su::kCFA, 1).SetU32(su::kEnableColor, 1).SetU32(su::kRealBPP, 12);
    b.setup().SetU32(su::kFrameRate, 1000).SetU32(su::kWhiteLevel, 4095);
    AddAllBlocks(b, 4);
    seeds.emplace_back("raw_colour16_blocks", b.Build());
  }
  {
    CineBuilder b;  // packed 10-bit samples of a Bayer pattern
    b.Compression(2).Images(-2, 3).Image(8, 3, 16, 256, 1024);
    b.setup().SetU32(su::kCFA, 3).SetU32(su::kEnableColor, 1).SetU32(su::kRealBPP, 10);
    seeds.emplace_back("packed10", b.Build());
  }
  for (uint16_t bits : {24, 48}) {
    CineBuilder b;  // processed colour
    b.Images(0, 2).Image(5, 3, bits, 0, bits == 48 ? 4096 : 0);
    b.setup().SetU32(su::kEnableColor, 1).SetU32(su::kFlipH, 1).SetI32(su::kRotate, 90);
    seeds.emplace_back("colour" + std::to_string(bits), b.Build());
  }
  {
    CineBuilder b;  // an old file: 32-bit offsets, records out of order
    b.Version(0).Images(0, 3).Image(9, 2, 8).ShuffleImages().AnnotationSize(20).GapBetweenImages(3);
    seeds.emplace_back("version0_shuffled", b.Build());
  }
  {
    CineBuilder b;  // a partial recording with old-style times and exposures
    Payload time1;
    for (uint32_t i = 0; i < 12; ++i) time1.Time(3, 1000 + i);
    for (uint32_t i = 0; i < 12; ++i) time1.U32(500 + i);
    b.Range(0, 12, 5, 3).AddBlock(1000, Bytes(12, 0xAB)).AddBlock(1001, time1);
    seeds.emplace_back("time1_partial", b.Build());
  }
  {
    CineBuilder b;  // 16-bit gray, bitmap header behind the Setup, crop and filter set
    b.Images(-1, 3).Image(12, 4, 16, 0, 4096).BitmapAfterSetup();
    b.setup().SetU32(su::kRealBPP, 12).SetU32(su::kEnableCrop, 1).SetU32(su::kFilterCode, 1);
    b.setup().SetF32(su::kfGamma, 0.5f).SetF32(su::kfGain, 1.5f).SetI32(su::kBright, 40);
    seeds.emplace_back("gray16_crop_filter", b.Build());
  }
  {
    CineBuilder b;  // a raw 8-bit mosaic with white-balance gains
    b.Compression(2).Images(0, 2).Image(8, 4, 8);
    b.setup().SetU32(su::kCFA, 2).SetU32(su::kEnableColor, 1).SetF32(su::kWBGain, 1.8f);
    b.setup().SetF32(su::kWBGain + 4, 0.6f).SetF32(su::kfSaturation, 1.4f);
    seeds.emplace_back("raw_mosaic8", b.Build());
  }
  return seeds;
}

void WriteFile(const fs::path &path, const Bytes &bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Saves the first `count` images of the cine file `from` as `type` to `to`.
void SaveAs(const fs::path &from, const fs::path &to, int16_t type, int32_t count) {
  CineHandle c = nullptr;
  if (XeNewCineFromFile(from.c_str(), &c) < 0) return;
  int32_t first = 0;
  XeGetCineInfo(c, CIS_FirstImageNo, &first);
  XeSetCineSaveOptions(c, to.c_str(), static_cast<uint16_t>(type), 0, 90);
  XeSetCineSaveRange(c, first, first + count - 1);
  if (XeWriteCineFile(c, nullptr) < 0) std::fprintf(stderr, "seed %s not written\n", to.c_str());
  XeDestroyCine(c);
}

// A big-endian 8-bit gray TIFF of 6 x 4 pixels in two strips of two rows.
Bytes BigEndianStrips() {
  Bytes b;
  auto u16 = [&b](uint32_t v) { b.push_back(uint8_t(v >> 8)); b.push_back(uint8_t(v)); };
  auto u32 = [&](uint32_t v) { u16(v >> 16); u16(v & 0xFFFF); };
  b = {'M', 'M'};
  u16(42);
  u32(8);
  const uint32_t entries = 9, afterIfd = 8 + 2 + 12 * entries + 4;
  u16(entries);
  auto entry = [&](uint16_t tag, uint16_t type, uint32_t count, uint32_t value) {
    u16(tag), u16(type), u32(count);
    if (type == 3 && count == 1) u16(value), u16(0); else u32(value);
  };
  entry(256, 3, 1, 6);
  entry(257, 3, 1, 4);
  entry(258, 3, 1, 8);
  entry(259, 3, 1, 1);
  entry(262, 3, 1, 1);
  entry(273, 4, 2, afterIfd);       // strip offsets, out of line
  entry(277, 3, 1, 1);
  entry(278, 3, 1, 2);
  entry(279, 4, 2, afterIfd + 8);   // strip byte counts, out of line
  u32(0);
  const uint32_t pixels = afterIfd + 16;
  u32(pixels), u32(pixels + 12), u32(12), u32(12);
  for (uint32_t k = 0; k < 24; ++k) b.push_back(static_cast<uint8_t>(10 * k));
  return b;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUT\n", argv[0]);
    return 2;
  }
  const fs::path out = argv[1], cines = out / "cine", tiffs = out / "tiff";
  fs::create_directories(cines);
  fs::create_directories(tiffs);
  XeStartXeFile();
  // A seed the library refuses would leave its form unfuzzed.
  int refused = 0;
  for (const auto &[name, bytes] : CineSeeds()) {
    const fs::path path = cines / (name + ".cine");
    WriteFile(path, bytes);
    CineHandle c = nullptr;
    const int32_t status = XeNewCineFromFile(path.c_str(), &c);
    if (status < 0) std::fprintf(stderr, "seed %s does not open: %d\n", name.c_str(), status), ++refused;
    XeDestroyCine(c);
  }
  const fs::path work = out / "work";
  fs::create_directories(work);
  for (const char *name : {"gray8", "raw_colour16_blocks"}) {
    const fs::path from = cines / (std::string(name) + ".cine");
    SaveAs(from, work / (std::string(name) + "_8.tif"), -8, 1);
    SaveAs(from, work / (std::string(name) + "_12.tif"), -9, 1);
    SaveAs(from, work / (std::string(name) + "_16.tif"), -10, 1);
    SaveAs(from, work / (std::string(name) + "_pages.tif"), 4, 3);
  }
  for (const auto &f : fs::directory_iterator(work))
    if (f.path().extension() == ".tif") fs::copy_file(f.path(), tiffs / f.path().filename(),
                                                      fs::copy_options::overwrite_existing);
  fs::remove_all(work);
  WriteFile(tiffs / "big_endian_strips.tif", BigEndianStrips());
  XeStopXeFile();
  return refused ? 1 : 0;
}
