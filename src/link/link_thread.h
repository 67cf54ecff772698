#pragma once
#include <QObject>
#include <QThread>

#include <functional>

namespace tavrix {

// The link thread: runs posted work in order, one item at a time, off the UI thread.
class LinkThread {
 public:
  LinkThread();
  ~LinkThread();  // finishes the item in progress (bounded by the client's time-outs)
  LinkThread(const LinkThread&) = delete;
  LinkThread& operator=(const LinkThread&) = delete;

  void Post(std::function<void()> work);

 private:
  QThread thread_;
  QObject* context_;  // lives on thread_
};

}  // namespace tavrix
