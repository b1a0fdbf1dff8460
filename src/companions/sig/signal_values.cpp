#include "companions/sig/signal_values.h"

#include <cmath>

namespace xe::sig {
namespace {

// Full scale in volts of each input range code.
constexpr double kFullScale[] = {10.0, 5.0, 2.5, 1.25, 0.625};

uint32_t OptionChannel(uint32_t channel) {
  return channel < kNamedChannels ? channel : kNamedChannels - 1;
}

double FullScale(const Setup *s, uint32_t channel) {
  if (!s) return kFullScale[0];
  uint32_t code = static_cast<uint16_t>(s->ChOption[OptionChannel(channel)]) & 15u;
  return code < sizeof kFullScale / sizeof kFullScale[0] ? kFullScale[code] : kFullScale[0];
}

double Gain(const Setup *s, uint32_t channel) {
  if (!s) return 1.0;
  float g = s->AnaGain[OptionChannel(channel)];
  return (g == 0.0f || !std::isfinite(g)) ? 1.0 : static_cast<double>(g);
}

}  // namespace

int32_t XefBinSigVal(const uint8_t *block, uint32_t blockBytes, uint32_t sampleNo,
                     uint32_t channel, const Setup *s) {
  if (!block || !s || s->BinChannels <= 0) return 0;
  uint32_t channels = static_cast<uint32_t>(s->BinChannels);
  if (channel >= channels) return 0;
  uint64_t rowBytes = (channels + 7) / 8;
  uint64_t at = static_cast<uint64_t>(sampleNo) * rowBytes + channel / 8;
  if (at >= blockBytes) return 0;
  return (block[at] >> (channel % 8)) & 1;
}

int32_t XefAnaSigVal(const uint8_t *block, uint32_t blockBytes, const Setup *s,
                     uint32_t sampleNo, uint32_t channel) {
  if (!block || !s || s->AnaChannels <= 0) return 0;
  uint32_t channels = static_cast<uint32_t>(s->AnaChannels);
  if (channel >= channels) return 0;
  uint64_t at = (static_cast<uint64_t>(sampleNo) * channels + channel) * 2;
  if (at + 2 > blockBytes) return 0;
  auto value = static_cast<uint16_t>(block[at] | (block[at + 1] << 8));
  return static_cast<int16_t>(value);
}

double XefRealSigVal(int32_t raw, uint32_t channel, const Setup *s) {
  return raw / 32768.0 * FullScale(s, channel) * Gain(s, channel);
}

void XefAnaMinMaxRng(const Setup *s, uint32_t channel, double *min, double *max) {
  if (min) *min = XefRealSigVal(-32768, channel, s);
  if (max) *max = XefRealSigVal(32767, channel, s);
}

}  // namespace xe::sig
