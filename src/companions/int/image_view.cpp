#include "companions/int/image_view.h"

#include <cstdlib>

#include "companions/int/dib.h"

namespace xe::intl {
namespace {

constexpr Colour kPattern1[2][4] = {{kGreen, kBlue, kRed, kGreen}, {kRed, kGreen, kGreen, kBlue}};
constexpr Colour kPattern2[2][4] = {{kBlue, kGreen, kGreen, kRed}, {kGreen, kRed, kBlue, kGreen}};
constexpr Colour kPattern3[2][2] = {{kGreen, kBlue}, {kRed, kGreen}};
constexpr Colour kPattern4[2][2] = {{kRed, kGreen}, {kGreen, kBlue}};

}  // namespace

bool MakeView(const BitmapInfoHeader *h, uint8_t *pixels, ImageView *view) {
  if (!h || !pixels || !view || h->biCompression != 0 || h->biWidth <= 0 || h->biHeight == 0)
    return false;
  uint32_t bits = 0, channels = 0;
  switch (h->biBitCount) {
    case 8: bits = 8; channels = 1; break;
    case 16: bits = 16; channels = 1; break;
    case 24: bits = 8; channels = 3; break;
    case 48: bits = 16; channels = 3; break;
    default: return false;
  }
  uint32_t stride = XefMemWidth(h);
  if (stride == 0xFFFFFFFFu) return false;
  view->data = pixels;
  view->width = static_cast<uint32_t>(h->biWidth);
  view->height = static_cast<uint32_t>(std::labs(static_cast<long>(h->biHeight)));
  view->stride = stride;
  view->bits = bits;
  view->channels = channels;
  return true;
}

uint32_t CfaCode(uint32_t cfa) {
  uint32_t code = cfa & 0xFFu;
  return code >= 1 && code <= 4 ? code : 0;
}

Colour CfaColour(uint32_t code, uint32_t x, uint32_t r, uint32_t height) {
  uint32_t row = (height - 1 - r) & 1u;
  switch (code) {
    case 1: return kPattern1[row][x & 3u];
    case 2: return kPattern2[row][x & 3u];
    case 3: return kPattern3[row][x & 1u];
    case 4: return kPattern4[row][x & 1u];
    default: return kGreen;
  }
}

}  // namespace xe::intl
