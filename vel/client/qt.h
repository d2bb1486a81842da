// Callbacks of vel::Client on the event loop of a Qt thread.
//
//   auto plugged = client.onDevice([this](const vel::DeviceEvent& event) { ... }, vel::on(*this));
//
// Needs Qt Core, 5.10 or later. Callbacks run while the loop of the thread does; those that wait
// when the thread ends are dropped.

#ifndef VEL_CLIENT_QT_H
#define VEL_CLIENT_QT_H

#include <memory>
#include <utility>

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include "vel/client/executor.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

namespace internal {

// An object in a thread, whose events are actions.
class LoopReceiver {
 public:
  explicit LoopReceiver(QThread* thread) { object_->moveToThread(thread); }
  // An object takes along what waits for it, and an event of it may be what is being handled.
  // Deleted later, it goes behind what waits; without a loop it would stay.
  ~LoopReceiver() {
    const bool isIdle = posted_.use_count() == 1;
    const QThread* thread = object_->thread();
    if (isIdle && thread == QThread::currentThread() && thread->loopLevel() == 0) {
      delete object_;
    } else {
      object_->deleteLater();
    }
  }
  LoopReceiver(const LoopReceiver&) = delete;
  LoopReceiver& operator=(const LoopReceiver&) = delete;

  void post(Action action) const {
    QMetaObject::invokeMethod(
        object_, [action = std::move(action), posted = posted_] { action(); },
        Qt::QueuedConnection);
  }

 private:
  QObject* const object_ = new QObject;
  // Each action that waits or runs has a copy.
  const std::shared_ptr<const char> posted_ = std::make_shared<const char>();
};

inline Executor onLoopOf(QThread* thread) {
  return [receiver = std::make_shared<const LoopReceiver>(thread)](Action action) {
    receiver->post(std::move(action));
  };
}

}  // namespace internal

// The thread in which an object lives, such as a widget. The object itself is not used later.
inline Executor on(const QObject& object) {
  return internal::onLoopOf(object.thread());
}

inline Executor on(QThread& thread) {
  return internal::onLoopOf(&thread);
}

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_QT_H
