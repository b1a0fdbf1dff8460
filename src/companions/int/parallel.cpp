#include "companions/int/parallel.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "companions/con/settings.h"

namespace xe::intl {
namespace {

std::atomic<uint32_t> g_override{0};

uint32_t Cores() { return std::max(1u, std::thread::hardware_concurrency()); }

uint32_t FromSettings() {
  static const uint32_t threads = [] {
    uint32_t v = 0;
    con::XefGetIntAlgoRegistryVal("Threads", &v);
    return v == 0 ? Cores() : std::min(v, Cores());
  }();
  return threads;
}

// True on the threads of the pool, and on a caller while it takes part in a
// job: work started from there runs on the calling thread.
thread_local bool t_insideJob = false;

// Worker threads that sleep on a condition variable between jobs, so that an
// idle pool takes no processor time. One job runs at a time; a caller that
// finds the pool busy does its work alone.
class Pool {
 public:
  static Pool &Instance() {
    static Pool pool;
    return pool;
  }

  bool TryRun(uint32_t tasks, const std::function<void(uint32_t)> &task) {
    std::unique_lock<std::mutex> busy(busy_, std::try_to_lock);
    if (!busy.owns_lock()) return false;
    Grow(tasks - 1);
    {
      std::lock_guard<std::mutex> g(lock_);
      task_ = &task;
      tasks_ = tasks;
      next_.store(1);  // the caller takes task 0
      pending_ = tasks - 1;
      ++generation_;
    }
    wake_.notify_all();
    t_insideJob = true;
    task(0);
    RunTasks(task);
    t_insideJob = false;
    // The job ends when every task ran and no worker still holds it.
    std::unique_lock<std::mutex> g(lock_);
    done_.wait(g, [&] { return pending_ == 0 && active_ == 0; });
    task_ = nullptr;
    return true;
  }

  ~Pool() {
    {
      std::lock_guard<std::mutex> g(lock_);
      stopping_ = true;
    }
    wake_.notify_all();
    for (auto &t : workers_) t.join();
  }

 private:
  void Grow(uint32_t workers) {
    while (workers_.size() < workers) workers_.emplace_back([this] { Work(); });
  }

  // Takes task numbers until none is left.
  void RunTasks(const std::function<void(uint32_t)> &task) {
    for (uint32_t t = next_.fetch_add(1); t < tasks_; t = next_.fetch_add(1)) {
      task(t);
      std::lock_guard<std::mutex> g(lock_);
      if (--pending_ == 0) done_.notify_all();
    }
  }

  void Work() {
    t_insideJob = true;
    uint64_t seen = 0;
    for (;;) {
      const std::function<void(uint32_t)> *task = nullptr;
      {
        std::unique_lock<std::mutex> g(lock_);
        wake_.wait(g, [&] { return stopping_ || generation_ != seen; });
        if (stopping_) return;
        seen = generation_;
        if (!task_) continue;  // that job is over already
        task = task_;
        ++active_;
      }
      RunTasks(*task);
      std::lock_guard<std::mutex> g(lock_);
      if (--active_ == 0) done_.notify_all();
    }
  }

  std::mutex busy_;
  std::mutex lock_;
  std::condition_variable wake_, done_;
  std::vector<std::thread> workers_;
  const std::function<void(uint32_t)> *task_ = nullptr;
  uint32_t tasks_ = 0;
  std::atomic<uint32_t> next_{0};
  uint32_t pending_ = 0;  // tasks not finished
  uint32_t active_ = 0;   // workers inside the present job
  uint64_t generation_ = 0;
  bool stopping_ = false;
};

}  // namespace

uint32_t PixelThreads() {
  uint32_t o = g_override.load();
  return o ? o : FromSettings();
}

void SetPixelThreads(uint32_t threads) { g_override.store(threads); }

void ParallelFor(uint32_t count, uint32_t grain, const std::function<void(uint32_t, uint32_t)> &body) {
  if (count == 0) return;
  grain = std::max(grain, 1u);
  uint32_t tasks = std::min(PixelThreads(), (count + grain - 1) / grain);
  if (tasks > 1 && !t_insideJob) {
    auto range = [&](uint32_t t) {
      uint32_t begin = static_cast<uint32_t>(static_cast<uint64_t>(count) * t / tasks);
      uint32_t end = static_cast<uint32_t>(static_cast<uint64_t>(count) * (t + 1) / tasks);
      body(begin, end);
    };
    if (Pool::Instance().TryRun(tasks, range)) return;
  }
  body(0, count);
}

}  // namespace xe::intl
