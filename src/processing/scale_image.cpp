#include "processing/scale_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/image_view.h"
#include "companions/int/parallel.h"
#include "frame/memory.h"

namespace xe {
namespace {

constexpr float kPi = 3.14159265358979f;
// Below this magnitude the filter's sinc counts as 1.
constexpr float kSincZero = 1.1754943508222875e-38f;
// Output samples summed at once in the vertical pass.
constexpr uint32_t kBlock = 512;

// A block from AllocZeroed, freed on scope exit.
class Block {
 public:
  explicit Block(uint64_t bytes) : p_(AllocZeroed(bytes)) {}
  ~Block() { FreeMemory(p_); }
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  void *get() const { return p_; }

 private:
  void *p_;
};

// The filter value at distance x for the ratio r of the two sizes: a sinc
// scaled to the lower of the two sample rates, under a raised-cosine window.
float FilterAt(float x, float r) {
  float sinc = std::fabs(x) <= kSincZero ? 1.0f : std::sin(x * kPi * r) / (x * kPi * r);
  return (std::cos(kPi * x * 0.25f) * 0.5f + 0.5f) * sinc;
}

// How one axis of S samples becomes D samples. With g = gcd(S, D) there are
// L = D / g phases and the input advances M = S / g per L outputs. Output i
// starts at input base[i] = i*M / L and reads `taps` samples backwards from
// there (indices below 0 read sample 0), weighted by the `taps` coefficients
// at coef + offset[i], those of phase (i*M) % L.
struct AxisPlan {
  uint32_t taps = 0;
  const float *coef = nullptr;
  const uint32_t *base = nullptr;
  const uint32_t *offset = nullptr;
};

uint64_t PlanBytes(uint32_t source, uint32_t dest, uint32_t kernel) {
  uint64_t phases = dest / std::gcd(source, dest);
  uint64_t taps = std::min(kernel, source);
  return phases * taps * sizeof(float) + 2ull * dest * sizeof(uint32_t);
}

// Lays the plan out in `memory`, which holds PlanBytes(source, dest, kernel).
AxisPlan MakePlan(uint32_t source, uint32_t dest, uint32_t kernel, void *memory) {
  const uint32_t g = std::gcd(source, dest);
  const uint32_t phases = dest / g;
  const uint32_t step = source / g;
  const uint32_t taps = std::min(kernel, source);
  float *coef = static_cast<float *>(memory);
  uint32_t *base = reinterpret_cast<uint32_t *>(coef + static_cast<uint64_t>(phases) * taps);
  uint32_t *offset = base + dest;

  const float up = static_cast<float>(phases) / static_cast<float>(step);
  const float down = static_cast<float>(step) / static_cast<float>(phases);
  const float r = std::min(up, down);
  for (uint32_t p = 0; p < phases; ++p) {
    float *c = coef + static_cast<uint64_t>(p) * taps;
    float sum = 0.0f;
    for (uint32_t t = 0; t < taps; ++t) {
      float x = static_cast<float>(t) - static_cast<float>(taps) * 0.5f +
                static_cast<float>(p) / static_cast<float>(phases);
      c[t] = FilterAt(x, r);
      sum += c[t];
    }
    if (sum != 0.0f && std::isfinite(sum))
      for (uint32_t t = 0; t < taps; ++t) c[t] /= sum;
  }
  for (uint32_t i = 0; i < dest; ++i) {
    uint64_t pos = static_cast<uint64_t>(i) * step;
    base[i] = static_cast<uint32_t>(pos / phases);  // below source, as i < dest
    offset[i] = static_cast<uint32_t>(pos % phases) * taps;
  }
  return AxisPlan{taps, coef, base, offset};
}

// A filtered sum as a sample: limited to 0 and `top`, then rounded half away
// from zero. NaN becomes 0.
template <class T>
T ToSample(float v, float top) {
  if (!(v > 0.0f)) v = 0.0f;
  else if (v > top) v = top;
  v = v <= 0.0f ? v - 0.5f : v + 0.5f;
  return static_cast<T>(static_cast<int32_t>(v));
}

// Rows [begin, end) of the horizontal pass: source rows of `src` to rows of
// `dest` samples each, without padding, in `tmp`.
template <class T>
void HorizontalRows(const intl::ImageView &src, const AxisPlan &plan, uint32_t dest, float top, T *tmp,
                    uint32_t begin, uint32_t end) {
  const uint32_t ch = src.channels;
  for (uint32_t y = begin; y < end; ++y) {
    const T *in = reinterpret_cast<const T *>(src.Row(y));
    T *row = tmp + static_cast<uint64_t>(y) * dest * ch;
    for (uint32_t x = 0; x < dest; ++x) {
      const uint32_t base = plan.base[x];
      const float *c = plan.coef + plan.offset[x];
      for (uint32_t k = 0; k < ch; ++k) {
        float sum = 0.0f;
        for (uint32_t t = 0; t < plan.taps; ++t) {
          uint32_t at = base >= t ? base - t : 0;
          sum += c[t] * static_cast<float>(in[static_cast<uint64_t>(at) * ch + k]);
        }
        row[static_cast<uint64_t>(x) * ch + k] = ToSample<T>(sum, top);
      }
    }
  }
}

// Rows [begin, end) of the vertical pass: rows of `samples` samples in `tmp`
// to the padded rows of `dst`. The sums over the taps run in the same order
// as in the horizontal pass.
template <class T>
void VerticalRows(const T *tmp, uint64_t samples, const AxisPlan &plan, float top, const intl::ImageView &dst,
                  uint32_t begin, uint32_t end) {
  for (uint32_t j = begin; j < end; ++j) {
    const uint32_t base = plan.base[j];
    const float *c = plan.coef + plan.offset[j];
    T *out = reinterpret_cast<T *>(dst.Row(j));
    for (uint64_t x0 = 0; x0 < samples; x0 += kBlock) {
      const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(kBlock, samples - x0));
      float acc[kBlock] = {};
      for (uint32_t t = 0; t < plan.taps; ++t) {
        const uint32_t at = base >= t ? base - t : 0;
        const T *in = tmp + static_cast<uint64_t>(at) * samples + x0;
        const float ct = c[t];
        for (uint32_t k = 0; k < n; ++k) acc[k] += ct * static_cast<float>(in[k]);
      }
      for (uint32_t k = 0; k < n; ++k) out[x0 + k] = ToSample<T>(acc[k], top);
    }
    const uint64_t used = samples * sizeof(T);
    std::memset(dst.Row(j) + used, 0, dst.stride - used);
  }
}

template <class T>
void Resample(const intl::ImageView &src, const intl::ImageView &dst, const AxisPlan &across,
              const AxisPlan &down, float top, T *tmp) {
  const uint64_t samples = static_cast<uint64_t>(dst.width) * src.channels;
  // Rows of a few ten thousand filter taps make a task worth sharing.
  auto grain = [](uint64_t work) { return static_cast<uint32_t>(std::max<uint64_t>(1, 32768 / (work + 1))); };
  intl::ParallelFor(src.height, grain(samples * across.taps), [&](uint32_t b, uint32_t e) {
    HorizontalRows<T>(src, across, dst.width, top, tmp, b, e);
  });
  intl::ParallelFor(dst.height, grain(samples * down.taps), [&](uint32_t b, uint32_t e) {
    VerticalRows<T>(tmp, samples, down, top, dst, b, e);
  });
}

int32_t Refuse(const ImageHeader *h, uint32_t width, uint32_t height, uint32_t kernel) {
  if (LogOn())
    con::Debprintf("\nScaleImage(%dx%dx%u to %ux%u, kernel %u) refused", h->biWidth, h->biHeight,
                   static_cast<unsigned>(h->biBitCount), width, height, kernel);
  return XE_WARN_RESAMPLE_REFUSED;
}

}  // namespace

int32_t ScaleImage(const uint8_t *in, ImageHeader *h, uint8_t *out, uint32_t width, uint32_t height,
                   uint32_t kernel) {
  if (!in || !h || !out) return XE_ERR_NULL_ARGUMENT;
  if (width == 0 || height == 0 || kernel > kScaleMaxKernel || width > kScaleMaxWidth ||
      height > kScaleMaxHeight)
    return Refuse(h, width, height, kernel);
  intl::ImageView src;
  if (!intl::MakeView(intl::AsBmih(h), const_cast<uint8_t *>(in), &src)) return Refuse(h, width, height, kernel);
  if (src.width == width && src.height == height) return XE_OK;

  ImageHeader next = *h;
  next.biWidth = static_cast<int32_t>(width);
  next.biHeight = h->biHeight < 0 ? -static_cast<int32_t>(height) : static_cast<int32_t>(height);
  const uint32_t nextSize = intl::XefPixarSize(intl::AsBmih(&next));
  intl::ImageView dst;
  // A size of 0xFFFFFFFF is the saturated answer: no buffer holds such an image.
  if (nextSize == 0xFFFFFFFFu || !intl::MakeView(intl::AsBmih(&next), out, &dst)) return XE_ERR_NO_MEMORY;

  const uint64_t sampleBytes = src.bits / 8;
  const uint64_t tmpBytes = static_cast<uint64_t>(width) * src.channels * src.height * sampleBytes;
  Block tmp(tmpBytes);
  Block acrossMemory(PlanBytes(src.width, width, kernel));
  Block downMemory(PlanBytes(src.height, height, kernel));
  if (!tmp.get() || !acrossMemory.get() || !downMemory.get()) {
    if (LogOn()) con::Debprintf("\nScaleImage: cannot allocate %llu bytes", static_cast<unsigned long long>(tmpBytes));
    return XE_ERR_NO_MEMORY;
  }
  const AxisPlan across = MakePlan(src.width, width, kernel, acrossMemory.get());
  const AxisPlan down = MakePlan(src.height, height, kernel, downMemory.get());

  const float top = static_cast<float>(std::min(intl::XefMaxPixDIB(intl::AsBmih(h)), intl::MaxSample(src)));
  if (src.bits == 8)
    Resample<uint8_t>(src, dst, across, down, top, static_cast<uint8_t *>(tmp.get()));
  else
    Resample<uint16_t>(src, dst, across, down, top, static_cast<uint16_t *>(tmp.get()));

  h->biWidth = next.biWidth;
  h->biHeight = next.biHeight;
  h->biSizeImage = nextSize;
  return XE_OK;
}

}  // namespace xe
