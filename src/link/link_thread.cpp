#include "link/link_thread.h"

#include <QMetaObject>

namespace tavrix {

LinkThread::LinkThread() : context_(new QObject) {
  thread_.setObjectName("link");
  context_->moveToThread(&thread_);
  QObject::connect(&thread_, &QThread::finished, context_, &QObject::deleteLater);
  thread_.start();
}

LinkThread::~LinkThread() {
  thread_.quit();
  thread_.wait();
}

void LinkThread::Post(std::function<void()> work) {
  QMetaObject::invokeMethod(context_, std::move(work), Qt::QueuedConnection);
}

}  // namespace tavrix
