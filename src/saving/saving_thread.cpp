#include "saving/saving_thread.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

#include "companions/con/log.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "saving/save_loop.h"

namespace xe {

namespace {

constexpr uint32_t MSG_SAVE_BUFFER = 14555;
constexpr uint32_t MSG_FINISH_JOB = 14556;
std::atomic<int64_t> g_writerFreeTimeoutMs{60000};
std::atomic<int64_t> g_endTimeoutMs{10000};

struct FreeDeleter {
  void operator()(uint8_t *p) const { std::free(p); }
};

// One group for the thread, or the end of the job.
struct SaveMessage {
  uint32_t Number;
  Cine *Writer;
  uint32_t BufIndex;
  ImageRange Rng;
  ImageHeader Bmih;
};

uint32_t PtrWord(const void *p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)); }

// A semaphore of count 1 that sleeps while it waits. (The timed wait of the
// standard library's semaphore spins here: a save on two cores spent five
// times the processor time of its writes in it.)
class BinarySemaphore {
 public:
  bool TryAcquireFor(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!signal_.wait_for(lock, timeout, [&] { return free_; })) return false;
    free_ = false;
    return true;
  }
  void Release() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      free_ = true;
    }
    signal_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable signal_;
  bool free_ = true;
};

}  // namespace

struct ThreadySave {
  ImageWriter *Output = nullptr;  // the job's open writer
  uint8_t *Buffer[2] = {nullptr, nullptr};
  std::unique_ptr<uint8_t, FreeDeleter> Second;  // Buffer[1], made here
  uint32_t MainThreadId = 0;
  std::atomic<uint32_t> SavingThreadId{0};
  uint32_t Iteration = 0;
  BinarySemaphore Semaphore;
  std::atomic<int32_t> LastResult{0};
  // First image (from SaveFirst) of the first group whose write failed.
  std::atomic<uint32_t> FirstFailed{UINT32_MAX};

  // The thread's message queue: messages are taken in the order sent.
  std::mutex QueueMutex;
  std::condition_variable QueueSignal;
  std::deque<SaveMessage> Queue;
  std::condition_variable Ended;
  bool Done = false;  // the thread has left its loop; under QueueMutex
  std::thread Thread;

  void Post(const SaveMessage &m) {
    {
      std::lock_guard<std::mutex> lock(QueueMutex);
      Queue.push_back(m);
    }
    QueueSignal.notify_one();
  }

  // A context is only freed once its thread has ended: the thread writes
  // through the writer's file and both buffers until it leaves its loop.
  ~ThreadySave() {
    if (!Thread.joinable()) return;
    Post(SaveMessage{MSG_FINISH_JOB, nullptr, Iteration, ImageRange{}, ImageHeader{}});
    Thread.join();
  }

  SaveMessage Take() {
    std::unique_lock<std::mutex> lock(QueueMutex);
    QueueSignal.wait(lock, [&] { return !Queue.empty(); });
    SaveMessage m = Queue.front();
    Queue.pop_front();
    return m;
  }
};

namespace {

void SavingThreadProc(ThreadySave *t) {
  pthread_setname_np(pthread_self(), "Saving Thread");
  t->SavingThreadId.store(static_cast<uint32_t>(gettid()));
  if (LogOn())
    con::Debprintf("\nInitializing SavingThreadProc Id %d = %d main: %d Iteration=%d",
                   static_cast<int>(gettid()), static_cast<int>(t->SavingThreadId.load()),
                   static_cast<int>(t->MainThreadId), static_cast<int>(t->Iteration));
  for (;;) {
    SaveMessage m = t->Take();
    if (LogOn())
      con::Debprintf("\n(Saving Thread) message =%d time=%d Iteration=%d", m.Number,
                     con::XefMilisec(), m.BufIndex);
    if (m.Number == MSG_FINISH_JOB) {
      if (LogOn())
        con::Debprintf("\n(Saving Thread) got message=MSG_FINISH_JOB Iteration=%d this thread will exit",
                       m.BufIndex);
      break;
    }
    uint8_t *buffer = t->Buffer[m.BufIndex];
    if (LogOn())
      con::Debprintf("\n                WriteImageToFile started , Rng.First=%d, Rng.Cnt=%d, "
                     "Iteration= %d, BufIndex=%d buffer:0x%x",
                     m.Rng.First, m.Rng.Cnt, m.BufIndex, m.BufIndex, PtrWord(buffer));
    uint32_t start = con::XefMilisec();
    int32_t result = WriteImageToFile(m.Writer, buffer, t->Output, &m.Bmih, true, m.Rng.First, m.Rng.Cnt);
    t->LastResult.store(result);
    if (result < 0 && t->FirstFailed.load() == UINT32_MAX)
      t->FirstFailed.store(static_cast<uint32_t>(static_cast<int64_t>(m.Rng.First) - m.Writer->Saving.SaveFirst));
    if (LogOn())
      con::Debprintf("\n                WriteImageToFile returned error code:%d, Duration:%d  "
                     "Iteration=%d, FirstIm=%d",
                     result, con::XefMilisec() - start, m.BufIndex, m.Rng.First);
    t->Semaphore.Release();
    if (LogOn()) con::Debprintf("\nIncrement semaphore by 1, previous value %d, ret %d err %d", 0, 1, 0);
  }
  {
    std::lock_guard<std::mutex> lock(t->QueueMutex);
    t->SavingThreadId.store(0);
    t->Done = true;
  }
  t->Ended.notify_all();
}

}  // namespace

bool ThreadySaveRunning(const ThreadySave *t) { return t && t->Thread.joinable(); }

int32_t BeginThreadySave(ImageWriter *output, ThreadySave **out, uint8_t **pixBuffer, uint32_t groupBytes) {
  *out = nullptr;
  auto *t = new (std::nothrow) ThreadySave;
  if (!t) return XE_ERR_NO_MEMORY;
  *out = t;
  t->Output = output;
  t->Buffer[0] = *pixBuffer;
  t->Second.reset(static_cast<uint8_t *>(std::malloc(groupBytes ? groupBytes : 1)));
  t->Buffer[1] = t->Second.get();
  if (!t->Buffer[1]) return XE_ERR_NO_MEMORY;
  t->MainThreadId = static_cast<uint32_t>(gettid());
  try {
    t->Thread = std::thread(SavingThreadProc, t);
  } catch (...) {
    return XE_ERR_THREAD_CREATE;
  }
  if (LogOn())
    con::Debprintf("\nBegin Thready Save main thread %d, saving thread %d Iteration %d buffer 0x%x "
                   "Semaphore 0x%x",
                   static_cast<int>(t->MainThreadId), static_cast<int>(t->SavingThreadId.load()),
                   static_cast<int>(t->Iteration), PtrWord(t->Buffer[1]), PtrWord(&t->Semaphore));
  return XE_OK;
}

int32_t QueueReadBuffer(ThreadySave *t, Cine *writer, uint8_t **pixBuffer, const ImageHeader *h) {
  SaveMessage m{MSG_SAVE_BUFFER, writer, t->Iteration & 1,
                ImageRange{writer->ImageRangeFirst, static_cast<uint32_t>(writer->ImageRangeCnt)}, *h};
  if (LogOn())
    con::Debprintf("\nQueueReadBuffer, Main Thread %d Rng.First=%d, Rng.Cnt=%d Iteration=%d "
                   "BufIndex=%d buffer=0x%x begin wait for semaphore ... ",
                   static_cast<int>(t->MainThreadId), m.Rng.First, m.Rng.Cnt,
                   static_cast<int>(t->Iteration), m.BufIndex, PtrWord(*pixBuffer));
  uint32_t start = con::XefMilisec();
  if (!t->Semaphore.TryAcquireFor(std::chrono::milliseconds(g_writerFreeTimeoutMs.load()))) {
    if (LogOn()) con::Debprintf("\nTimeOut: Semaphore for overlapped transfer/save, save aborted");
    return XE_ERR_SEMAPHORE_TIMEOUT;
  }
  if (LogOn()) con::Debprintf("   Ok, Wait for semaphore,  duration: %d", con::XefMilisec() - start);
  t->Post(m);
  if (LogOn()) con::Debprintf("\nIteration %d finishes.", static_cast<int>(t->Iteration));
  ++t->Iteration;
  *pixBuffer = t->Buffer[t->Iteration & 1];
  // The writer was free, so the result of the group before is final here.
  return MergeStatus(XE_OK, t->LastResult.load());
}

int32_t EndThreadySave(ThreadySave *t, uint8_t **pixBuffer, uint32_t *firstFailed) {
  if (!t) return XE_OK;
  std::unique_ptr<ThreadySave> owned(t);
  int32_t status = XE_OK;
  if (t->Thread.joinable()) {
    if (LogOn()) con::Debprintf("\nEndThreadySave, PostThreadMessage / MSG_FINISH_JOB returned");
    t->Post(SaveMessage{MSG_FINISH_JOB, nullptr, t->Iteration, ImageRange{}, ImageHeader{}});
    auto start = std::chrono::steady_clock::now();
    bool ended;
    {
      std::unique_lock<std::mutex> lock(t->QueueMutex);
      ended = t->Ended.wait_for(lock, std::chrono::milliseconds(g_endTimeoutMs.load()), [&] { return t->Done; });
    }
    if (!ended) {
      // A thread left behind would go on writing through the writer's file
      // and the job's buffer after the job has closed and freed them, and
      // its context would never be freed: the time-out is reported and the
      // thread is waited for all the same.
      if (LogOn()) con::Debprintf("\nTimeout at the termination of the saving thread");
      status = XE_ERR_SEMAPHORE_TIMEOUT;
    }
    t->Thread.join();
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (LogOn()) con::Debprintf("\nSaving thread terminated in %5.1f sec. from request", seconds);
  }
  if (firstFailed) *firstFailed = t->FirstFailed.load();
  *pixBuffer = t->Buffer[0];
  return status;
}

void SetSavingThreadTimeouts(int64_t writerFreeMs, int64_t endMs) {
  g_writerFreeTimeoutMs.store(writerFreeMs);
  g_endTimeoutMs.store(endMs);
}

}  // namespace xe
