// The bodies of the fuzz harnesses. Each takes one input as the fuzzer hands
// it over, runs it through one reader of outside data and what follows it,
// and removes whatever it wrote. The libFuzzer programs and the replay test
// of the kept inputs call the same bodies.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xefuzz {

// The input as a cine file (and once more as a header file): opened,
// questioned through selectors and per-image data, images fetched raw and
// processed, two images saved in a type the last input byte chooses.
void RunCineInput(const uint8_t *data, size_t size);
// The input as a TIFF file: read as the file holds it and as a bitmap, and
// read page by page as the images of a TIFF cine beside a header file.
void RunTiffInput(const uint8_t *data, size_t size);

// Starts the library once for the process.
void StartLibraryOnce();

}  // namespace xefuzz
