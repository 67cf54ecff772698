#include "link/link_pool.h"

#include <algorithm>
#include <iterator>

namespace tavrix {

class LinkPool::Strand : public LinkRunner {
 public:
  explicit Strand(LinkPool& pool) : pool_(pool), queue_(std::make_shared<Queue>()) {}
  ~Strand() override { Finish(); }
  void Post(std::function<void()> work) override { pool_.Post(queue_, Item{std::move(work), 0}); }
  void Pause(int ms) override {
    if (ms > 0) pool_.Post(queue_, Item{{}, ms});
  }
  void Finish() override { pool_.Close(queue_); }

 private:
  LinkPool& pool_;
  std::shared_ptr<Queue> queue_;
};

LinkPool::LinkPool(int threads) { AddThreads(std::max(1, threads)); }

void LinkPool::AddThreads(int count) {
  std::lock_guard lock(mutex_);
  for (int i = 0; i < count; ++i) StartThread();
}

void LinkPool::StartThread() {
  if (!quit_) threads_.emplace_back([this] { Work(); });
}

int LinkPool::Threads() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(threads_.size());
}

LinkPool::~LinkPool() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_all();
  for (std::thread& t : threads_) t.join();  // none is started once quit_ is set
}

std::unique_ptr<LinkRunner> LinkPool::NewStrand() {
  std::lock_guard lock(mutex_);
  ++strands_;
  return std::make_unique<Strand>(*this);
}

void LinkPool::Schedule(const std::shared_ptr<Queue>& queue) {
  if (queue->scheduled || queue->items.empty()) return;
  queue->scheduled = true;
  ready_.push_back(queue);
  // Work waiting while every thread is held by a step: a thread more, up to one a strand.
  if (idleThreads_ < static_cast<int>(ready_.size()) && std::ssize(threads_) < strands_) StartThread();
  wake_.notify_one();
}

void LinkPool::Post(const std::shared_ptr<Queue>& queue, Item item) {
  std::lock_guard lock(mutex_);
  if (queue->closed) return;
  queue->items.push_back(std::move(item));
  Schedule(queue);
}

void LinkPool::Close(const std::shared_ptr<Queue>& queue) {
  std::unique_lock lock(mutex_);
  if (!queue->closed) --strands_;
  queue->closed = true;
  queue->items.clear();
  std::erase(ready_, queue);
  std::erase_if(paused_, [&](const auto& entry) { return entry.second == queue; });
  idle_.wait(lock, [&] { return !queue->running; });
  queue->scheduled = false;
}

void LinkPool::Work() {
  std::unique_lock lock(mutex_);
  while (true) {
    // Strands whose pause is over are served again, behind those waiting already.
    const Clock::time_point now = Clock::now();
    while (!paused_.empty() && paused_.begin()->first <= now) {
      ready_.push_back(paused_.begin()->second);
      paused_.erase(paused_.begin());
    }
    if (quit_) return;
    if (ready_.empty()) {
      ++idleThreads_;
      if (paused_.empty()) {
        wake_.wait(lock);
      } else {
        // A copy: the strand may be finished, and its entry gone, while this thread waits.
        const Clock::time_point until = paused_.begin()->first;
        wake_.wait_until(lock, until);
      }
      --idleThreads_;
      continue;
    }
    std::shared_ptr<Queue> queue = std::move(ready_.front());
    ready_.pop_front();
    if (queue->items.empty()) {  // a pause was its last item
      queue->scheduled = false;
      continue;
    }
    Item item = std::move(queue->items.front());
    queue->items.pop_front();
    if (!item.work) {
      const Clock::time_point until = Clock::now() + std::chrono::milliseconds(item.pauseMs);
      const bool sooner = paused_.empty() || until < paused_.begin()->first;
      paused_.emplace(until, std::move(queue));
      if (sooner) wake_.notify_one();  // a sleeping thread may be waiting for a later pause
      continue;
    }
    queue->running = true;
    lock.unlock();
    item.work();
    item.work = nullptr;  // what it holds goes before the strand may be finished
    lock.lock();
    queue->running = false;
    queue->scheduled = false;
    if (!queue->closed) Schedule(queue);  // its next item goes behind the other strands'
    idle_.notify_all();
  }
}

}  // namespace tavrix
