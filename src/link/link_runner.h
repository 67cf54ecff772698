#pragma once
#include <functional>

namespace tavrix {

// Where the network steps of one acquisition cycle run: posted work runs in order, one item
// at a time, off the thread that posts it. The viewer's cycle has a link thread of its own;
// a daemon's many cycles each have a strand of a shared pool.
class LinkRunner {
 public:
  virtual ~LinkRunner() = default;
  virtual void Post(std::function<void()> work) = 0;
  // The work posted after this starts `ms` later at the earliest (the pause a unit is given
  // after a client is released). A pool's strand waits without holding a thread.
  virtual void Pause(int ms) = 0;
  // Drops the work not yet started and waits for the item in progress, whose length the
  // client's time-outs bound. Nothing posted runs afterwards.
  virtual void Finish() = 0;
};

}  // namespace tavrix
