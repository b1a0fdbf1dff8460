// White balance and colour cross-talk compensation on mosaic data.
#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <vector>

#include "companions/int/mosaic.h"
#include "companions/int/parallel.h"
#include "xefile/xefile_status.h"

namespace xe::intl {

using namespace mosaic_detail;

namespace {

// ---- White balance --------------------------------------------------------

// gains holds one factor per column for memory rows of even index, then one
// per column for odd rows. A sample is limited to the larger of the top and
// its own value, so a factor of exactly 1.0 gives it back unchanged.
template <typename Sample>
void Balance(const ImageView &v, const float *gains, float top) {
  ParallelFor(v.height, RowGrain(v), [v, gains, top](uint32_t begin, uint32_t end) {
    const uint32_t w = v.width;
    for (uint32_t r = begin; r < end; ++r) {
      Sample *s = reinterpret_cast<Sample *>(v.Row(r));
      const float *g = gains + (r & 1u) * w;
      for (uint32_t x = 0; x < w; ++x) {
        const float in = static_cast<float>(s[x]);
        const float limit = std::max(top, in);
        s[x] = static_cast<Sample>(static_cast<int32_t>(std::min(in * g[x] + 0.5f, limit)));
      }
    }
  });
}

// ---- Cross-talk ------------------------------------------------------------

// Rows per band. Each band remembers the original values of its rows as it
// overwrites them; the first and last rows of all bands are copied before
// any band starts, so that a band reads its neighbours' rows as they were.
constexpr uint32_t kBandRows = 64;

template <typename Sample>
class CrossTalk {
 public:
  CrossTalk(const ImageView &v, uint32_t code, uint32_t kct, float top)
      : v_(v), code_(code), k_(static_cast<float>(kct) / static_cast<float>(kCrossTalkScale)), top_(top) {}

  int32_t Run() {
    const uint32_t w = v_.width, h = v_.height;
    const uint32_t bands = (h + kBandRows - 1) / kBandRows;
    // Per band: its first and last rows as they were, and two rolling rows.
    // One more row of zeros stands for the rows beyond the image.
    std::vector<Sample> store;
    try {
      store.resize((static_cast<size_t>(bands) * 4 + 1) * w);
      weights_.resize(static_cast<size_t>(kSets) * 4 * w);
    } catch (const std::bad_alloc &) {
      return XE_ERR_NO_MEMORY;
    }
    FillWeights();
    Sample *zeros = store.data() + static_cast<size_t>(bands) * 4 * w;
    auto slot = [&](uint32_t band, uint32_t i) { return store.data() + (static_cast<size_t>(band) * 4 + i) * w; };
    auto row = [&](uint32_t r) { return reinterpret_cast<Sample *>(v_.Row(r)); };

    ParallelFor(bands, 1, [&](uint32_t begin, uint32_t end) {
      for (uint32_t b = begin; b < end; ++b) {
        const uint32_t r0 = b * kBandRows, r1 = std::min(h, r0 + kBandRows);
        std::copy_n(row(r0), w, slot(b, 0));
        std::copy_n(row(r1 - 1), w, slot(b, 1));
      }
    });
    ParallelFor(bands, 1, [&](uint32_t begin, uint32_t end) {
      for (uint32_t b = begin; b < end; ++b) {
        const uint32_t r0 = b * kBandRows, r1 = std::min(h, r0 + kBandRows);
        const Sample *below = r0 > 0 ? slot(b - 1, 1) : zeros;
        Sample *cur = slot(b, 2), *spare = slot(b, 3);
        for (uint32_t r = r0; r < r1; ++r) {
          std::copy_n(row(r), w, cur);
          const Sample *above = r + 1 == h ? zeros : r + 1 < r1 ? row(r + 1) : slot(b + 1, 0);
          const uint32_t rowsNear = (r > 0 ? 1u : 0u) + (r + 1 < h ? 1u : 0u);
          CorrectRow(Set(r & 1u, rowsNear), cur, below, above, row(r));
          below = cur;
          std::swap(cur, spare);
        }
      }
    });
    return XE_OK;
  }

 private:
  // Weight rows for each parity of the memory row and each number (0 to 2)
  // of rows next to it; per set four rows: own, left, right, vertical.
  static constexpr uint32_t kSets = 6;
  static uint32_t Set(uint32_t parity, uint32_t rowsNear) { return parity * 3 + rowsNear; }
  const float *Weights(uint32_t set, uint32_t which) const {
    return weights_.data() + (static_cast<size_t>(set) * 4 + which) * v_.width;
  }

  // true = measured * own - (left * wl + right * wr + (below + above) * wv),
  // with own = 1 / (1 - k) and each counted neighbour's weight
  // k / ((1 - k) * count); a site without counted neighbours keeps its value.
  void FillWeights() {
    const uint32_t w = v_.width, h = v_.height;
    for (uint32_t p = 0; p < 2; ++p)
      for (uint32_t near = 0; near <= 2; ++near) {
        float *own = weights_.data() + static_cast<size_t>(Set(p, near)) * 4 * w;
        float *wl = own + w, *wr = wl + w, *wv = wr + w;
        for (uint32_t x = 0; x < w; ++x) {
          const Colour c = CfaColour(code_, x, p, h);
          const bool l = x > 0 && CfaColour(code_, x - 1, p, h) != c;
          const bool r = x + 1 < w && CfaColour(code_, x + 1, p, h) != c;
          const bool vert = CfaColour(code_, x, p ^ 1u, h) != c;
          const uint32_t count = (l ? 1u : 0u) + (r ? 1u : 0u) + (vert ? near : 0u);
          const float share = count ? k_ / ((1.0f - k_) * static_cast<float>(count)) : 0.0f;
          own[x] = count ? 1.0f / (1.0f - k_) : 1.0f;
          wl[x] = l ? share : 0.0f;
          wr[x] = r ? share : 0.0f;
          wv[x] = vert ? share : 0.0f;
        }
      }
  }

  // Rounded and limited to 0..top; `limit` is top + 0.5.
  static Sample Finish(float t, float limit) {
    return static_cast<Sample>(static_cast<int32_t>(std::min(std::max(t + 0.5f, 0.5f), limit)));
  }

  // One row from the original values of itself (cur) and of the rows next
  // to it (zeros where there is none).
  void CorrectRow(uint32_t set, const Sample *cur, const Sample *below, const Sample *above,
                  Sample *out) const {
    // Locals, so that stores to 8-bit samples cannot alias them.
    const uint32_t w = v_.width;
    const float limit = top_ + 0.5f;
    const float *own = Weights(set, 0), *wl = Weights(set, 1), *wr = Weights(set, 2), *wv = Weights(set, 3);
    // The same expression at the ends, with 0 for the missing neighbour.
    auto end = [&](uint32_t x) {
      const float l = x > 0 ? static_cast<float>(cur[x - 1]) : 0.0f;
      const float r = x + 1 < w ? static_cast<float>(cur[x + 1]) : 0.0f;
      out[x] = Finish(static_cast<float>(cur[x]) * own[x] -
                      (l * wl[x] + r * wr[x] + (static_cast<float>(below[x]) + static_cast<float>(above[x])) * wv[x]),
                      limit);
    };
    end(0);
    if (w < 2) return;
    for (uint32_t x = 1; x + 1 < w; ++x)
      out[x] = Finish(static_cast<float>(cur[x]) * own[x] -
                      (static_cast<float>(cur[x - 1]) * wl[x] + static_cast<float>(cur[x + 1]) * wr[x] +
                       (static_cast<float>(below[x]) + static_cast<float>(above[x])) * wv[x]),
                      limit);
    end(w - 1);
  }

  const ImageView &v_;
  uint32_t code_;
  float k_;
  float top_;
  std::vector<float> weights_;
};

// Camera models whose sensors need cross-talk compensation, with their
// measured coefficient in thousandths. None does at present; a model is
// added here once its coefficient has been measured.
struct CrossTalkModel {
  uint32_t cameraVersion;
  uint32_t kct;
};
constexpr std::array<CrossTalkModel, 0> kCrossTalkModels{};

}  // namespace

int32_t XeWBAdjustUnint(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, const float gains[2]) {
  if (!h || !pixels || !gains) return XE_ERR_NULL_ARGUMENT;
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptSingle, &v);
  if (status != XE_OK) return status;
  for (int i = 0; i < 2; ++i)
    if (!std::isfinite(gains[i]) || gains[i] < 0.0f) return XE_ERR_NOT_SUPPORTED;
  const uint32_t code = CfaCode(cfa);
  if (code == 0 || v.width == 0 || (gains[0] == 1.0f && gains[1] == 1.0f)) return XE_OK;

  std::vector<float> perColumn;
  try {
    perColumn.resize(2 * static_cast<size_t>(v.width));
  } catch (const std::bad_alloc &) {
    return XE_ERR_NO_MEMORY;
  }
  // The colour of a site depends only on the parity of its memory row.
  for (uint32_t p = 0; p < 2; ++p)
    for (uint32_t x = 0; x < v.width; ++x) {
      const Colour c = CfaColour(code, x, p, v.height);
      perColumn[p * v.width + x] = c == kRed ? gains[0] : c == kBlue ? gains[1] : 1.0f;
    }
  const float top = static_cast<float>(TopSample(h, v));
  if (v.bits == 8)
    Balance<uint8_t>(v, perColumn.data(), top);
  else
    Balance<uint16_t>(v, perColumn.data(), top);
  return XE_OK;
}

int32_t XefCompCT(BitmapInfoHeader *h, uint8_t *pixels, uint32_t cfa, uint32_t kct) {
  ImageView v;
  const int32_t status = OpenImage(h, pixels, kAcceptSingle, &v);
  const uint32_t code = CfaCode(cfa);
  if (status != XE_OK || v.width == 0 || kct == 0 || code == 0) return status;
  kct = std::min(kct, kMaxCrossTalk);
  const float top = static_cast<float>(TopSample(h, v));
  if (v.bits == 8) return CrossTalk<uint8_t>(v, code, kct, top).Run();
  return CrossTalk<uint16_t>(v, code, kct, top).Run();
}

uint32_t XefGetCompCTCoef(uint32_t cameraVersion) {
  for (const CrossTalkModel &m : kCrossTalkModels)
    if (m.cameraVersion == cameraVersion) return m.kct;
  return 0;
}

}  // namespace xe::intl
