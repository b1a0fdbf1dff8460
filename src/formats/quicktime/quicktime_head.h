// The head of an uncompressed QuickTime movie: the whole `moov` atom and the
// head of an `mdat` atom of size 0, which runs to the end of the file. Every
// sample has the same size, so the index of all frames (sample sizes and
// 64-bit chunk offsets) is known before the first frame exists, and the
// frames are only appended after the head: nothing is patched afterwards.
//
// All numbers are big-endian. Every atom is a 32-bit size that counts its
// own 8-byte head, then four characters; its size is stored once its body
// and children are written.
#pragma once

#include <cstdint>
#include <vector>

namespace xe {

// What every atom of a head is computed from.
struct QuickTimeParams {
  uint32_t Width = 0;       // biWidth of the bitmap header
  uint32_t Height = 0;      // biHeight
  uint32_t Depth = 0;       // biBitCount: 8, 16, 24 or 48
  uint32_t TimeScale = 0;   // ticks per second; each frame lasts one tick
  uint32_t FrameCount = 0;  // frames promised in the index
  uint32_t FirstFrameOffset = 0;
};

// Bytes of one frame, Width x Height x Depth / 8 in 32 bits (rows without
// padding).
uint32_t QuickTimeFrameSize(const QuickTimeParams &p);

// Calendar time in seconds since 1970. The movie, track and media atoms
// each read it for themselves.
using QuickTimeClock = int64_t (*)();
int64_t QuickTimeClockNow();

// Lays the head out in `head` in two passes: the first, with
// FirstFrameOffset 0, measures it; the second, with FirstFrameOffset set to
// that length, is the head kept. `p.FirstFrameOffset` is left at the head's
// length. False when memory for it is short.
bool BuildQuickTimeHead(QuickTimeParams &p, std::vector<uint8_t> &head, QuickTimeClock clock = QuickTimeClockNow);

}  // namespace xe
