#include "companions/int/dib.h"

#include <algorithm>
#include <cstdlib>

namespace xe::intl {
namespace {

uint64_t Width(const BitmapInfoHeader *h) { return h->biWidth > 0 ? static_cast<uint64_t>(h->biWidth) : 0; }
uint64_t Height(const BitmapInfoHeader *h) {
  return static_cast<uint64_t>(std::llabs(static_cast<long long>(h->biHeight)));
}
uint32_t Saturate(uint64_t v) { return static_cast<uint32_t>(std::min<uint64_t>(v, 0xFFFFFFFFull)); }

}  // namespace

uint32_t XefMemWidth(const BitmapInfoHeader *h) {
  if (!h) return 0;
  uint64_t bits = Width(h) * h->biBitCount;
  return Saturate((bits + 31) / 32 * 4);
}

uint32_t XefPixarSize(const BitmapInfoHeader *h) {
  if (!h) return 0;
  if (XefIsPacked(h)) return Saturate((Width(h) * Height(h) * kPackedBits + 7) / 8);
  uint64_t bits = Width(h) * h->biBitCount;
  return Saturate((bits + 31) / 32 * 4 * Height(h));
}

uint32_t XefEffectiveBits(const BitmapInfoHeader *h) {
  if (!h) return 0;
  if (XefIsPacked(h)) return kPackedBits;
  uint32_t c = h->biClrImportant;
  if (c >= 256 && c <= 65536 && (c & (c - 1)) == 0) {
    uint32_t bits = 0;
    while ((1u << bits) < c) ++bits;
    return bits;
  }
  return XefIs16BitDIB(h) ? 16 : 8;
}

bool XefIs16BitDIB(const BitmapInfoHeader *h) {
  return h && (h->biBitCount == 16 || h->biBitCount == 48);
}

bool XefIsColorDIB(const BitmapInfoHeader *h) {
  return h && (h->biBitCount == 24 || h->biBitCount == 48);
}

bool XefIsPacked(const BitmapInfoHeader *h) { return h && h->biCompression == kPackedCompression; }

uint32_t XefMaxPixDIB(const BitmapInfoHeader *h) {
  uint32_t bits = XefEffectiveBits(h);
  return bits >= 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
}

uint32_t XefDIBHeaderSize(const BitmapInfoHeader *dib) {
  if (!dib || dib->biSize < sizeof(BitmapInfoHeader)) return 0;
  uint64_t colours = dib->biClrUsed;
  if (colours == 0 && dib->biBitCount <= 8) colours = uint64_t{1} << dib->biBitCount;
  return Saturate(uint64_t{dib->biSize} + 4 * colours);
}

uint32_t XefDIBSize(const BitmapInfoHeader *dib) {
  const uint32_t head = XefDIBHeaderSize(dib);
  return head ? Saturate(uint64_t{head} + XefPixarSize(dib)) : 0;
}

uint32_t XefDIBSizeAlloc(const BitmapInfoHeader *dib) { return XefDIBSize(dib); }

const uint8_t *XefDIBPixar(const BitmapInfoHeader *dib) {
  const uint32_t head = XefDIBHeaderSize(dib);
  if (!head || head == 0xFFFFFFFFu) return nullptr;
  return reinterpret_cast<const uint8_t *>(dib) + head;
}

uint32_t GreyLevelsForDepth(uint32_t bits) { return bits > 8 && bits <= 16 ? 1u << bits : 0; }

}  // namespace xe::intl
