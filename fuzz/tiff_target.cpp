// The TIFF harness: the reader of TIFF files as a still reader, and as the
// page reader of a TIFF cine (a header file with a multipage TIFF beside it).
// The header file is made for each input by the tests' fixture builder, with
// the geometry of the input's first page when that page can be read, so that
// pages that agree with the header and pages that do not are both tried.
#include <string>
#include <vector>

#include "fixtures/cine_builder.h"
#include "formats/tiff/tiff.h"
#include "fuzz_targets.h"
#include "scratch.h"
#include "xefile/xefile.h"

namespace xefuzz {
namespace {

// The largest page that becomes the geometry of the header file.
constexpr uint64_t kMaxHeaderImageBytes = 1u << 20;
// Pages tried: the first three and one past them.
constexpr uint32_t kPages = 4;

bool LooksLikeTiff(const uint8_t *data, size_t size) {
  return size >= 4 && ((data[0] == 'I' && data[1] == 'I') || (data[0] == 'M' && data[1] == 'M'));
}

// A header file of kPages - 1 images of the given geometry, 8-bit samples
// gray or colour, 16-bit samples with 12 significant bits.
fixture::Bytes HeaderFile(int32_t width, int32_t height, uint16_t bits) {
  fixture::CineBuilder b;
  const bool deep = bits == 16 || bits == 48;
  b.HeaderOnly().Images(0, kPages - 1).Image(width, height, bits, 0, deep ? 4096 : 0);
  if (deep) b.setup().SetU32(fixture::setup::kRealBPP, 12);
  return b.Build();
}

void ReadPages(const BitmapInfoHeader &first, bool firstRead) {
  int32_t width = 16, height = 4;
  uint16_t bits = 8;
  if (firstRead && first.biBitCount % 8 == 0 &&
      uint64_t(first.biWidth) * uint64_t(first.biHeight) * first.biBitCount / 8 <=
          kMaxHeaderImageBytes) {
    width = first.biWidth;
    height = first.biHeight;
    bits = first.biBitCount;
  }
  const fixture::Bytes header = HeaderFile(width, height, bits);
  const std::string path = WriteScratch("page.chd", header.data(), header.size());
  CineHandle c = nullptr;
  if (path.empty() || XeNewCineFromFile(path.c_str(), &c) < 0 || !c) return;
  uint32_t one = 0;
  if (XeGetCineInfo(c, CIS_MaxImageSizeColor, &one) >= 0 && one > 0) {
    std::vector<uint8_t> pixels(uint64_t{one} * kPages);
    ImageHeader h;
    for (uint32_t useCase : {3u, 1u}) {
      XeSetUseCase(c, useCase);
      ImageRange all{0, kPages};
      XeGetCineImage(c, &all, pixels.data(), static_cast<uint32_t>(pixels.size()), &h);
      // The last page alone, into a buffer of exactly one image.
      std::vector<uint8_t> single(one);
      ImageRange last{static_cast<int32_t>(kPages - 2), 1};
      XeGetCineImage(c, &last, single.data(), one, &h);
    }
  }
  XeDestroyCine(c);
}

}  // namespace

void RunTiffInput(const uint8_t *data, size_t size) {
  StartLibraryOnce();
  // The pages of the cine "page.chd" are read from "page.tif".
  const std::string path = WriteScratch("page.tif", data, size);
  if (path.empty()) return;
  BitmapInfoHeader header{};
  std::vector<uint8_t> pixels;
  bool little = true;
  const bool firstRead = xe::ReadTiffFile(path.c_str(), &little, &header, &pixels) >= 0;
  const BitmapInfoHeader first = header;
  xe::ReadTiffToDib(path.c_str(), &header, &pixels);
  if (LooksLikeTiff(data, size)) ReadPages(first, firstRead);
}

}  // namespace xefuzz
