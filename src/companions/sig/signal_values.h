// Signal values: the samples of the binary (1005) and analog (1006) signal
// blocks of a recording, and the analog samples in their physical unit.
//
// Both blocks hold SamplesPerImage samples for each image, image after image,
// so a sample is addressed by its running number: image index x
// SamplesPerImage + sample within the image.
//
// Binary signals. One bit row for each sample, (BinChannels + 7) / 8 bytes
// long. Channel c is bit c % 8 of byte c / 8 of the row, least significant
// bit first: channel 0 is bit 0 of byte 0, channel 9 bit 1 of byte 1. Bits
// of the last byte past BinChannels are padding.
//
// Analog signals. For each sample AnaChannels signed 16-bit little-endian
// values, channel 0 first; so the value of sample k, channel c stands at
// byte (k x AnaChannels + c) x 2. A raw value spans the channel's full scale
// from -32768 (-full scale) to 32767 (just below +full scale).
//
// Physical values. The low 4 bits of the channel's ChOption give its input
// range: 0 +-10 V, 1 +-5 V, 2 +-2.5 V, 3 +-1.25 V, 4 +-0.625 V; other codes
// count as +-10 V. The channel's AnaGain converts volts into its unit
// (AnaUnit); a gain of 0 or one that is not a finite number counts as 1.
// Only channels 0 to 7 have options of their own: higher channels use those
// of channel 7.
//
// Every read stays inside the bytes of the block that the caller names: a
// sample or channel outside them is 0.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::sig {

// Channels that have their own entries in ChOption, AnaGain, AnaUnit and
// AnaName; higher channels share the last.
constexpr uint32_t kNamedChannels = 8;

// The bit of binary channel `channel` in sample `sampleNo` of the data of a
// 1005 block of `blockBytes` bytes: 0 or 1. 0 for a channel at or past
// BinChannels and for a row not wholly held.
int32_t XefBinSigVal(const uint8_t *block, uint32_t blockBytes, uint32_t sampleNo,
                     uint32_t channel, const Setup *s);

// The raw value of analog channel `channel` in sample `sampleNo` of the data
// of a 1006 block: -32768 to 32767. 0 for a channel at or past AnaChannels
// and for a value not held.
int32_t XefAnaSigVal(const uint8_t *block, uint32_t blockBytes, const Setup *s,
                     uint32_t sampleNo, uint32_t channel);

// A raw analog value in the channel's unit: raw / 32768 x full scale x gain.
// A null Setup counts as range code 0 with a gain of 1.
double XefRealSigVal(int32_t raw, uint32_t channel, const Setup *s);

// The values of raw -32768 and 32767 in the channel's unit.
void XefAnaMinMaxRng(const Setup *s, uint32_t channel, double *min, double *max);

}  // namespace xe::sig
