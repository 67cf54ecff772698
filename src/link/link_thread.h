#pragma once
#include <QObject>
#include <QThread>

#include <functional>

#include "link/link_runner.h"

namespace tavrix {

// The link thread: runs posted work in order, one item at a time, off the UI thread.
class LinkThread : public LinkRunner {
 public:
  LinkThread();
  ~LinkThread() override;  // finishes the item in progress (bounded by the client's time-outs)
  LinkThread(const LinkThread&) = delete;
  LinkThread& operator=(const LinkThread&) = delete;

  void Post(std::function<void()> work) override;
  void Pause(int ms) override;  // the thread sleeps: it serves this one cycle alone
  void Finish() override;

 private:
  QThread thread_;
  QObject* context_;  // lives on thread_
};

}  // namespace tavrix
