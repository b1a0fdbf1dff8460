// A raw fetch of many images takes no memory from the heap: every image is
// read straight into the caller's buffer. This program is linked with malloc,
// calloc and realloc wrapped, so that it can count the calls.
#include <atomic>
#include <cstdlib>

#include "access/image_fetch.h"
#include "cinefile/cine_test_support.h"

extern "C" {
void *__real_malloc(size_t);
void *__real_calloc(size_t, size_t);
void *__real_realloc(void *, size_t);

std::atomic<long> g_heapCalls{0};

void *__wrap_malloc(size_t n) {
  g_heapCalls.fetch_add(1, std::memory_order_relaxed);
  return __real_malloc(n);
}
void *__wrap_calloc(size_t n, size_t m) {
  g_heapCalls.fetch_add(1, std::memory_order_relaxed);
  return __real_calloc(n, m);
}
void *__wrap_realloc(void *p, size_t n) {
  g_heapCalls.fetch_add(1, std::memory_order_relaxed);
  return __real_realloc(p, n);
}
}

namespace {

using namespace fixture;

TEST(FetchAllocations, ManyImagesTakeNoHeapMemory) {
  CineBuilder b;
  b.Compression(2).Images(-50, 100).Image(32, 8, 16, 0, 4096);
  b.setup().SetU32(setup::kRealBPP, 12);
  cinetest::Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  std::vector<uint8_t> pixels(100 * 32 * 8 * 6);
  ImageHeader h{};
  ImageRange r{-50, 100};
  long before = g_heapCalls.load();
  ASSERT_EQ(xe::GetCineRawImage(o.cine, &r, pixels.data(), static_cast<uint32_t>(pixels.size()), &h),
            0);
  EXPECT_EQ(g_heapCalls.load() - before, 0);
  EXPECT_EQ(pixels[99 * 32 * 8 * 2], PixelByte(99, 0));

  // Through the public fetch in the raw use case, the same holds.
  ASSERT_EQ(XeSetUseCase(o.cine, 3), 0);
  before = g_heapCalls.load();
  ASSERT_EQ(XeGetCineImage(o.cine, &r, pixels.data(), static_cast<uint32_t>(pixels.size()), &h), 0);
  EXPECT_EQ(g_heapCalls.load() - before, 0);

  // The count does see the library's allocations: a duplicate makes two.
  before = g_heapCalls.load();
  CineHandle dup = nullptr;
  ASSERT_EQ(XeDuplicateCine(&dup, o.cine), 0);
  EXPECT_GE(g_heapCalls.load() - before, 2);
  XeDestroyCine(dup);
}

}  // namespace
