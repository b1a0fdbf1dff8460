// The printing-density curves between linear samples and 10-bit log code
// values, and the LUT text files that carry them beside a DPX image.
#pragma once

#include <cstdint>
#include <string>

#include "formats/dpx/dpx_options.h"

namespace xe {

constexpr uint32_t kLogCodes = 1024;    // entries of the log-to-lin table
constexpr uint32_t kMaxLutDepth = 16;

// Fills (1 << depth) entries (depth 1 to 16): the 10-bit log code of each
// linear value, reference white at the top of the linear range.
void BuildLinToLogLut(uint16_t *table, uint32_t depth, const DpxOptions &p);

// Fills kLogCodes entries: the linear value of each log code, 0 below
// reference black and the top linear value above reference white.
void BuildLogToLinLut(uint16_t *table, uint32_t depth, const DpxOptions &p);

// The two LUT names of a DPX file: its last four characters (".dpx")
// replaced by "log2lin.lut" and "lin2log.lut".
std::string LutFileName(const char *imageName, bool logToLin);

// Builds both tables and writes both text files. With `eightBit` the
// log-to-lin file is made for 8-bit linear values; the lin-to-log file keeps
// `depth`. Answers the DPX writer's codes: 0, 1 (not created), 2 (short
// write), 8 (no memory).
int32_t WriteLutFiles(const char *logToLinName, const char *linToLogName, uint32_t depth,
                      const DpxOptions &p, bool eightBit);

}  // namespace xe
