#include "link/link_thread.h"

#include <QMetaObject>

namespace tavrix {

LinkThread::LinkThread() : context_(new QObject) {
  thread_.setObjectName("link");
  context_->moveToThread(&thread_);
  QObject::connect(&thread_, &QThread::finished, context_, &QObject::deleteLater);
  thread_.start();
}

LinkThread::~LinkThread() { Finish(); }

void LinkThread::Post(std::function<void()> work) {
  QMetaObject::invokeMethod(context_, std::move(work), Qt::QueuedConnection);
}

void LinkThread::Pause(int ms) {
  Post([ms] { QThread::msleep(static_cast<unsigned long>(ms)); });
}

void LinkThread::Finish() {
  thread_.quit();
  thread_.wait();
}

}  // namespace tavrix
