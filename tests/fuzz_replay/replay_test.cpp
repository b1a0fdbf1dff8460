// Every input kept from fuzzing (fuzz/regressions/<harness>/) replayed
// through the body of its harness, in the normal and the sanitizer builds.
// Each input once crashed, hung, leaked or allocated without bound, or takes
// a hostile path of the readers; a sanitizer stops the run if one does again.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_targets.h"

namespace {

namespace fs = std::filesystem;

struct Harness {
  const char *folder;
  void (*run)(const uint8_t *, size_t);
};

TEST(FuzzReplay, EveryKeptInputRunsThroughItsHarness) {
  for (const Harness &h : {Harness{"cine", xefuzz::RunCineInput}, Harness{"tiff", xefuzz::RunTiffInput}}) {
    size_t replayed = 0;
    for (const auto &entry : fs::directory_iterator(fs::path(XEFUZZ_REGRESSIONS) / h.folder)) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
      SCOPED_TRACE(entry.path().string());
      h.run(bytes.data(), bytes.size());
      ++replayed;
    }
    EXPECT_GT(replayed, 0u) << h.folder;
  }
}

}  // namespace
