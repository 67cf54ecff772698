#pragma once
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "link/link_runner.h"

namespace tavrix {

// A few link threads shared by many acquisition cycles. Each cycle posts to a strand of its
// own: a strand's work runs in order, one item at a time, on whichever thread is free, so a
// unit's steps keep their order while a slow unit holds one thread and delays only its own
// strand. A strand's pause holds no thread. Strands are served in turn, so none starves.
// When a strand's work is ready and every thread is held by a step (units stalling until
// the client gives up), one more thread is started, up to one a strand, so that no number
// of slow units delays the others; the threads stay for the pool's life.
class LinkPool {
 public:
  explicit LinkPool(int threads);
  ~LinkPool();  // every strand must have been finished (destroyed) before
  LinkPool(const LinkPool&) = delete;
  LinkPool& operator=(const LinkPool&) = delete;

  std::unique_ptr<LinkRunner> NewStrand();
  int Threads() const;
  // More threads for more units.
  void AddThreads(int count);

 private:
  using Clock = std::chrono::steady_clock;
  struct Item {
    std::function<void()> work;  // empty for a pause
    int pauseMs = 0;
  };
  struct Queue {
    std::deque<Item> items;
    bool scheduled = false;  // waiting in ready_ or paused_, or running
    bool running = false;
    bool closed = false;
  };
  class Strand;

  void Work();
  void Post(const std::shared_ptr<Queue>& queue, Item item);
  void Close(const std::shared_ptr<Queue>& queue);
  void Schedule(const std::shared_ptr<Queue>& queue);  // with mutex_ held
  void StartThread();                                  // with mutex_ held

  mutable std::mutex mutex_;
  std::condition_variable wake_;  // work is ready, or a pause ends sooner
  std::condition_variable idle_;  // an item has finished
  std::deque<std::shared_ptr<Queue>> ready_;
  std::multimap<Clock::time_point, std::shared_ptr<Queue>> paused_;
  bool quit_ = false;
  int strands_ = 0;      // not yet finished
  int idleThreads_ = 0;  // waiting for work
  std::vector<std::thread> threads_;
};

}  // namespace tavrix
