// Binary and analog signal samples and their physical values.
#include "companions/sig/signal_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace xe::sig;

::Setup Channels(int16_t binary, int16_t analog) {
  ::Setup s{};
  s.BinChannels = binary;
  s.AnaChannels = analog;
  return s;
}

TEST(SignalValues, BinaryBitsAreLeastSignificantFirstInRowsOfWholeBytes) {
  ::Setup s = Channels(10, 0);  // rows of 2 bytes
  const std::vector<uint8_t> block = {0x05, 0x02,   // sample 0: channels 0, 2 and 9
                                      0x80, 0x01};  // sample 1: channels 7 and 8
  auto bit = [&](uint32_t sample, uint32_t ch, uint32_t bytes = 4) {
    return XefBinSigVal(block.data(), bytes, sample, ch, &s);
  };
  // Sample, channel, bytes held and the bit; past the channels, the row or
  // the bytes held: 0.
  const uint32_t cases[][4] = {{0, 0, 4, 1}, {0, 1, 4, 0}, {0, 9, 4, 1}, {1, 7, 4, 1}, {1, 8, 4, 1},
                               {1, 15, 4, 0}, {2, 0, 4, 0}, {0xFFFFFFFFu, 9, 4, 0}, {1, 8, 3, 0}, {1, 7, 3, 1}};
  for (auto [sample, ch, bytes, expected] : cases)
    EXPECT_EQ(bit(sample, ch, bytes), static_cast<int32_t>(expected)) << sample << " " << ch << " " << bytes;
}

TEST(SignalValues, AnalogValuesAreSignedLittleEndianChannelByChannel) {
  ::Setup s = Channels(0, 3);
  const std::vector<uint8_t> block = {0x01, 0x00, 0xFF, 0x7F, 0x00, 0x80,   // sample 0
                                      0x34, 0x12, 0x02, 0x00, 0xFE, 0xFF};  // sample 1
  // Bytes held, sample, channel and the value; 11 bytes hold half of the last.
  const int64_t cases[][4] = {{12, 0, 0, 1},      {12, 0, 1, 32767}, {12, 0, 2, -32768},
                              {12, 1, 0, 0x1234}, {12, 1, 2, -2},    {12, 1, 3, 0},
                              {12, 2, 0, 0},      {11, 1, 2, 0},     {0xFFFFFFFF, 0x7FFFFFFF, 2, 0}};
  for (auto [bytes, sample, ch, expected] : cases)
    EXPECT_EQ(XefAnaSigVal(block.data(), uint32_t(bytes), &s, uint32_t(sample), uint32_t(ch)), expected)
        << bytes << " " << sample << " " << ch;
}

TEST(SignalValues, RealValuesFollowRangeCodeAndGain) {
  ::Setup s = Channels(0, 10);
  s.ChOption[0] = 1;     // +-5 V
  s.ChOption[1] = 0x14;  // only the low 4 bits count: +-0.625 V
  s.ChOption[2] = 9;     // unknown code: +-10 V
  s.ChOption[7] = 3;     // +-1.25 V, also for every channel above 7
  s.AnaGain[0] = 2.0f;
  s.AnaGain[1] = 0.0f;   // counts as 1
  s.AnaGain[2] = NAN;    // counts as 1
  s.AnaGain[7] = -4.0f;
  EXPECT_DOUBLE_EQ(XefRealSigVal(16384, 0, &s), 5.0);
  EXPECT_DOUBLE_EQ(XefRealSigVal(-32768, 1, &s), -0.625);
  EXPECT_DOUBLE_EQ(XefRealSigVal(-16384, 2, &s), -5.0);
  EXPECT_DOUBLE_EQ(XefRealSigVal(8192, 9, &s), -1.25);
  EXPECT_DOUBLE_EQ(XefRealSigVal(16384, 0, nullptr), 5.0);
}

}  // namespace
