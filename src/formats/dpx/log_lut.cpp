#include "formats/dpx/log_lut.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "companions/con/status.h"
#include "frame/file_io.h"

namespace xe {
namespace {

constexpr double kDensityPerCode = 0.002;  // printing density of one log code

// A table value as the curves have always stored it: truncated to a 32-bit
// integer, whose low 16 bits are kept. A value beyond 32 bits, or no number
// at all (the log of 0), becomes the integer 0x80000000 and so 0.
uint16_t StoreU16(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return 0;
  return static_cast<uint16_t>(static_cast<uint32_t>(static_cast<int32_t>(v)));
}

struct Curve {
  double max, gain, offset;
};

Curve CurveOf(uint32_t depth, const DpxOptions &p) {
  Curve c;
  c.max = static_cast<double>((1u << depth) - 1);
  const double black = std::pow(10.0, (int{p.DpxRefBlack} - int{p.DpxRefWhite}) * kDensityPerCode /
                                          double{p.DpxFilmGamma});
  c.gain = c.max / std::pow(1.0 - black, double{p.DpxGamma});
  c.offset = c.gain - c.max;
  return c;
}

int32_t WriteText(const char *name, const std::string &text) {
  FileHandle f = kNoFile;
  if (XefFileCreate(name, &f) < 0) return kDpxNotCreated;
  int32_t status = XefFileWrite(f, text.data(), static_cast<uint32_t>(text.size())) < 0 ? kDpxWriteFailed : 0;
  XefFileClose(f);
  return status;
}

void AppendF(std::string &out, const char *format, auto... values) {
  char line[96];
  const int n = std::snprintf(line, sizeof line, format, values...);
  if (n > 0) out.append(line, static_cast<size_t>(n) < sizeof line ? static_cast<size_t>(n) : sizeof line - 1);
}

// The header lines and `entries` values of `table`, three times over (one
// pass per colour channel, all alike).
std::string LutText(const char *title, uint32_t titleDepth, uint32_t announced, const uint16_t *table,
                    uint32_t entries, const DpxOptions &p) {
  std::string out;
  out.reserve(3 * 6 * entries + 256);
  AppendF(out, title, titleDepth);
  AppendF(out, "# Reference white value %d\n", int{p.DpxRefWhite});
  AppendF(out, "# Reference black value %d\n", int{p.DpxRefBlack});
  AppendF(out, "# Gamma %.2f\n", double{p.DpxGamma});
  AppendF(out, "# Film gamma value %.2f\n", double{p.DpxFilmGamma});
  AppendF(out, "# Soft clip value %d\n", static_cast<int>(p.DpxSoftClip));
  AppendF(out, "\n\nLUT: 3 %d\n\n", static_cast<int>(announced));
  for (int pass = 0; pass < 3; ++pass)
    for (uint32_t v = 0; v < entries; ++v) AppendF(out, "%d\n", int{table[v]});
  return out;
}

}  // namespace

void BuildLinToLogLut(uint16_t *table, uint32_t depth, const DpxOptions &p) {
  const Curve c = CurveOf(depth, p);
  // The exponent is formed in single precision, as the curve always was.
  const double e = static_cast<double>(1.0f / p.DpxGamma);
  const uint32_t top = (1u << depth) - 1;
  for (uint32_t v = 0; v <= top; ++v)
    table[v] = StoreU16(std::trunc(
        p.DpxRefWhite + std::log10(std::pow((v + c.offset) / c.gain, e)) * p.DpxFilmGamma / kDensityPerCode + 0.5));
}

void BuildLogToLinLut(uint16_t *table, uint32_t depth, const DpxOptions &p) {
  const Curve c = CurveOf(depth, p);
  for (uint32_t v = 0; v < kLogCodes; ++v) {
    if (v < p.DpxRefBlack) table[v] = 0;
    else if (v > p.DpxRefWhite) table[v] = StoreU16(c.max);
    else
      table[v] = StoreU16(std::trunc(
          std::pow(10.0, ((int(v) - int{p.DpxRefWhite}) * kDensityPerCode / p.DpxFilmGamma) * p.DpxGamma) * c.gain -
          c.offset + 0.5));
  }
}

std::string LutFileName(const char *imageName, bool logToLin) {
  std::string name(imageName);
  name.resize(name.size() >= 4 ? name.size() - 4 : 0);
  return name + (logToLin ? "log2lin.lut" : "lin2log.lut");
}

int32_t WriteLutFiles(const char *logToLinName, const char *linToLogName, uint32_t depth,
                      const DpxOptions &p, bool eightBit) {
  if (depth < 1 || depth > kMaxLutDepth) return kDpxBadDepth;
  int32_t status = 0;
  try {
    std::vector<uint16_t> table(std::max<size_t>(size_t{1} << depth, kLogCodes));
    const uint32_t linear = eightBit ? 8 : depth;
    BuildLogToLinLut(table.data(), linear, p);
    Merge(status, WriteText(logToLinName, LutText("# LUT to convert 10bit log to %d bit linear\n", linear,
                                                  kLogCodes, table.data(), kLogCodes, p)));
    // The lin-to-log file announces 1 << depth entries and holds one fewer
    // in each pass: readers of these files expect that count.
    BuildLinToLogLut(table.data(), depth, p);
    Merge(status, WriteText(linToLogName, LutText("# LUT to convert %d bit linear to 10bit log\n", depth,
                                                  1u << depth, table.data(), (1u << depth) - 1, p)));
  } catch (const std::bad_alloc &) {
    Merge(status, kDpxNoMemory);
  }
  return status;
}

}  // namespace xe
